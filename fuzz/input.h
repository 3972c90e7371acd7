// An input of the fuzzer, taken apart from its front.
#ifndef FUZZ_INPUT_H
#define FUZZ_INPUT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

class Input
{
public:
   Input(const uint8_t* data, size_t size)
      : rest_(reinterpret_cast<const char*>(data), size)
   {
   }

   bool isAtEnd() const { return rest_.empty(); }
   std::string_view rest() const { return rest_; }

   // 0 when nothing is left.
   uint8_t takeByte()
   {
      if (rest_.empty()) return 0;
      const auto byte = static_cast<uint8_t>(rest_.front());
      rest_.remove_prefix(1);
      return byte;
   }

   // Up to the next end byte, which is taken too; else all that is left.
   std::string takeUpTo(char end)
   {
      const std::string text(rest_.substr(0, rest_.find(end)));
      rest_.remove_prefix(std::min(rest_.size(), text.size() + 1));
      return text;
   }

private:
   std::string_view rest_;
};

#endif
