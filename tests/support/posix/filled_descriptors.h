// Another limit on open descriptors, and descriptors on nothing below it.
#ifndef TESTS_SUPPORT_POSIX_FILLED_DESCRIPTORS_H
#define TESTS_SUPPORT_POSIX_FILLED_DESCRIPTORS_H

#include <cstddef>
#include <stdexcept>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace zerova::test {

// For as long as it lives.
class FilledDescriptors
{
public:
   explicit FilledDescriptors(rlim_t limit)
   {
      getrlimit(RLIMIT_NOFILE, &usual_);
      rlimit other = usual_;
      other.rlim_cur = limit;
      if (setrlimit(RLIMIT_NOFILE, &other) != 0)
         throw std::runtime_error("the hard limit of descriptors is too low for this test: raise "
                                  "it to 6000 (ulimit -Hn)");
   }
   ~FilledDescriptors()
   {
      for (const int descriptor : open_)
         close(descriptor);
      setrlimit(RLIMIT_NOFILE, &usual_);
   }
   FilledDescriptors(const FilledDescriptors&) = delete;
   FilledDescriptors& operator=(const FilledDescriptors&) = delete;

   // Opens that many, or as many as there can be, and returns how many that were.
   std::size_t open(std::size_t count)
   {
      while (open_.size() < count) {
         const int next = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
         if (next < 0) break;
         open_.push_back(next);
      }
      return open_.size();
   }

private:
   rlimit usual_ = {};
   std::vector<int> open_;
};

} // namespace zerova::test

#endif
