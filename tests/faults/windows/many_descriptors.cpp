#include "faults/many_descriptors.h"

#include <stdexcept>
#include <vector>

#include <windows.h>

namespace zerova::test {

struct ManyDescriptors::Open
{
   ~Open()
   {
      for (const HANDLE handle : handles)
         CloseHandle(handle);
   }

   std::vector<HANDLE> handles;
};

ManyDescriptors::ManyDescriptors(std::size_t count)
   : open_(std::make_unique<Open>())
{
   while (open_->handles.size() < count) {
      const HANDLE next = CreateEventA(nullptr, TRUE, FALSE, nullptr);
      if (!next) throw std::runtime_error("there are no more handles to be had");
      open_->handles.push_back(next);
   }
}

ManyDescriptors::~ManyDescriptors() = default;

} // namespace zerova::test
