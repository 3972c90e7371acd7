#include "faults/many_descriptors.h"

#include "support/posix/filled_descriptors.h"

namespace zerova::test {

struct ManyDescriptors::Open : FilledDescriptors
{
   using FilledDescriptors::FilledDescriptors;
};

ManyDescriptors::ManyDescriptors(std::size_t count)
   : open_(std::make_unique<Open>(count + 1000))
{
   if (open_->open(count) != count)
      throw std::runtime_error("there are no more descriptors to be had");
}

ManyDescriptors::~ManyDescriptors() = default;

} // namespace zerova::test
