// Tells whether bytes are the whole reply to a call. Keeps none of them and allocates nothing, for
// when memory has run out.
#ifndef TRANSPORT_REPLY_SCAN_H
#define TRANSPORT_REPLY_SCAN_H

#include <thrift/TConfiguration.h>
#include <thrift/protocol/TEnum.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <utility>

namespace zerova {

namespace protocol = apache::thrift::protocol;

// No element is smaller than a byte, so a count above that of the bytes left in the frame is false.
// A small one costs little and runs into the end of the data.
inline constexpr uint32_t kElementsTakenOnTrust = 1048576;

inline bool isFalseCount(uint32_t elements, uint32_t bytesLeft)
{
   return elements > kElementsTakenOnTrust && elements > bytesLeft;
}

// more(): the bytes of the frame that follow those which it gave before.
template <typename More>
class ReplyScan
{
public:
   ReplyScan(uint32_t frameLength, More more)
      : left_(frameLength)
      , more_(std::move(more))
   {
   }

   // Whether the frame begins with a result or an exception for the method, and that ends within
   // the frame. One that announces what no frame can hold ends with its frame: nothing follows of
   // what the service has never had.
   bool findsReplyTo(std::string_view method)
   {
      return takesHeader(method) && (skipsValue(protocol::T_STRUCT, 0) || isLie_);
   }

private:
   static constexpr int kDeepest = apache::thrift::TConfiguration::DEFAULT_RECURSION_DEPTH;
   static constexpr uint32_t kVersionMask = 0xFFFF0000;
   static constexpr uint32_t kVersion1 = 0x80010000;

   // A header without a version word has the type behind the name.
   bool takesHeader(std::string_view method)
   {
      uint32_t word = 0;
      if (!takes(4, word)) return false;
      uint32_t type = word & 0xFF;
      const bool isStrict = (word & 0x80000000) != 0;
      if (isStrict && ((word & kVersionMask) != kVersion1 || !takes(4, word))) return false;
      if (word != method.size() || !takesName(method)) return false;
      if (!isStrict && !takes(1, type)) return false;
      return (type == protocol::T_REPLY || type == protocol::T_EXCEPTION) && skips(4);
   }

   bool takesName(std::string_view name)
   {
      return std::all_of(name.begin(), name.end(), [this](char expected) {
         uint32_t byte = 0;
         return takes(1, byte) && byte == static_cast<uint8_t>(expected);
      });
   }

   bool skipsValue(uint32_t type, int depth)
   {
      using namespace protocol;
      if (depth == kDeepest) return false;
      switch (type) {
      case T_BOOL:
      case T_BYTE:
         return skips(1);
      case T_I16:
         return skips(2);
      case T_I32:
         return skips(4);
      case T_I64:
      case T_DOUBLE:
         return skips(8);
      case T_STRING:
         return skipsText();
      case T_STRUCT:
         return skipsStruct(depth);
      case T_MAP:
         return skipsElements(2, depth);
      case T_SET:
      case T_LIST:
         return skipsElements(1, depth);
      default:
         return false;
      }
   }

   bool skipsText()
   {
      uint32_t length = 0;
      return takes(4, length) && skips(length);
   }

   bool skipsStruct(int depth)
   {
      for (;;) {
         uint32_t type = 0;
         if (!takes(1, type)) return false;
         if (type == protocol::T_STOP) return true;
         if (!skips(2) || !skipsValue(type, depth + 1)) return false;
      }
   }

   // kinds: what an element consists of, a value, or a key and a value.
   bool skipsElements(int kinds, int depth)
   {
      uint32_t types[2] = {};
      uint32_t count = 0;
      for (int i = 0; i < kinds; ++i)
         if (!takes(1, types[i])) return false;
      if (!takes(4, count)) return false;
      isLie_ = isFalseCount(count, left_);
      if (isLie_) return false;
      for (; count > 0; --count)
         for (int i = 0; i < kinds; ++i)
            if (!skipsValue(types[i], depth + 1)) return false;
      return true;
   }

   bool takes(int bytes, uint32_t& number)
   {
      for (number = 0; bytes > 0; --bytes) {
         if (!hasMore()) return false;
         number = number << 8 | bytes_.front();
         drop(1);
      }
      return true;
   }

   bool skips(uint32_t count)
   {
      if (count > left_) return false;
      while (count > 0 && hasMore()) {
         const uint32_t part = std::min(count, static_cast<uint32_t>(bytes_.size()));
         drop(part);
         count -= part;
      }
      return count == 0;
   }

   bool hasMore()
   {
      if (left_ > 0 && bytes_.empty()) bytes_ = more_();
      return !bytes_.empty();
   }

   void drop(uint32_t count)
   {
      bytes_ = bytes_.subspan(count);
      left_ -= count;
   }

   uint32_t left_;
   More more_;
   std::span<const uint8_t> bytes_;
   bool isLie_ = false;
};

} // namespace zerova

#endif
