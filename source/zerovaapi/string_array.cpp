#include "source/zerovaapi/string_array.h"

#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>

namespace zerova {

namespace {

constexpr uint64_t kMaxSize = std::numeric_limits<uint64_t>::max();

[[noreturn]] void throwOverflow()
{
   throw std::overflow_error("overflow while operating on SafeInt");
}

} // namespace

uint64_t checkedSum(uint64_t a, uint64_t b)
{
   if (b > kMaxSize - a) throwOverflow();
   return a + b;
}

uint64_t checkedProduct(uint64_t a, uint64_t b)
{
   if (b != 0 && a > kMaxSize / b) throwOverflow();
   return a * b;
}

char** makeStringArray(const std::vector<std::string>& texts)
{
   uint64_t size = checkedProduct(checkedSum(texts.size(), 1), sizeof(char*));
   for (const std::string& text : texts)
      size = checkedSum(size, checkedSum(text.size(), 1));

   char** const array = static_cast<char**>(std::malloc(size));
   if (!array) throw std::bad_alloc();
   char* place = reinterpret_cast<char*>(array + texts.size() + 1);
   char** entry = array;
   for (const std::string& text : texts) {
      std::memcpy(place, text.c_str(), text.size() + 1);
      *entry++ = place;
      place += text.size() + 1;
   }
   *entry = nullptr;
   return array;
}

std::vector<std::string> copyTexts(const char* const* texts)
{
   std::vector<std::string> copies;
   if (texts)
      for (; *texts; ++texts)
         copies.emplace_back(*texts);
   return copies;
}

} // namespace zerova
