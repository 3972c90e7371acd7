// Takes all descriptors that the process may have.
#ifndef TESTS_SUPPORT_FILLED_DESCRIPTORS_H
#define TESTS_SUPPORT_FILLED_DESCRIPTORS_H

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <stdexcept>
#include <vector>

namespace zerova::test {

// As long as it lives no more can be opened.
class FilledDescriptors
{
public:
   FilledDescriptors()
   {
      constexpr rlim_t kSoonReached = 256;
      getrlimit(RLIMIT_NOFILE, &usual_);
      rlimit bounded = usual_;
      bounded.rlim_cur = kSoonReached;
      if (setrlimit(RLIMIT_NOFILE, &bounded) != 0)
         throw std::runtime_error("no limit of descriptors");
      for (int next = open(); next >= 0; next = open())
         open_.push_back(next);
   }
   ~FilledDescriptors()
   {
      for (const int descriptor : open_)
         close(descriptor);
      setrlimit(RLIMIT_NOFILE, &usual_);
   }
   FilledDescriptors(const FilledDescriptors&) = delete;
   FilledDescriptors& operator=(const FilledDescriptors&) = delete;

private:
   static int open() { return ::open("/dev/null", O_RDONLY | O_CLOEXEC); }

   rlimit usual_ = {};
   std::vector<int> open_;
};

} // namespace zerova::test

#endif
