// Tells whether bytes are the whole reply to a call. Keeps none of them and allocates nothing, for
// when memory has run out.
#ifndef TRANSPORT_REPLY_SCAN_H
#define TRANSPORT_REPLY_SCAN_H

#include <thrift/TConfiguration.h>
#include <thrift/protocol/TEnum.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
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
      return takesHeader(method) && (skipsStruct() || isLie_);
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

   // What is still to come of a struct, or of a list, a set or a map.
   struct Level
   {
      bool isStruct;
      uint8_t types[2]; // of an element, or of a key and a value
      uint8_t kinds;    // how many of these there are
      uint8_t next;     // which of them is next
      uint32_t count;   // of elements
   };

   // Without recursion: what is scanned when memory has run out should not need much stack either.
   bool skipsStruct()
   {
      std::array<Level, kDeepest> levels;
      levels[0] = {true, {}, 0, 0, 0};
      for (size_t depth = 1; depth > 0;) {
         Level& level = levels[depth - 1];
         uint32_t type = protocol::T_STOP;
         if (level.isStruct && !takes(1, type)) return false;
         if (level.isStruct ? type == protocol::T_STOP : level.count == 0) {
            --depth;
            continue;
         }
         if (level.isStruct && !skips(2)) return false;
         if (!level.isStruct) type = nextType(level);
         if (!isContainer(type)) {
            if (!skipsScalar(type)) return false;
         } else if (depth == levels.size() || !takesBegin(type, levels[depth++]))
            return false;
      }
      return true;
   }

   static uint32_t nextType(Level& level)
   {
      const uint8_t type = level.types[level.next++];
      if (level.next == level.kinds) {
         level.next = 0;
         --level.count;
      }
      return type;
   }

   static bool isContainer(uint32_t type)
   {
      using namespace protocol;
      return type == T_STRUCT || type == T_MAP || type == T_SET || type == T_LIST;
   }

   bool skipsScalar(uint32_t type)
   {
      using namespace protocol;
      uint32_t length = 0;
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
         return takes(4, length) && skips(length);
      default:
         return false;
      }
   }

   bool takesBegin(uint32_t type, Level& level)
   {
      level = {type == protocol::T_STRUCT, {}, 0, 0, 0};
      if (level.isStruct) return true;
      level.kinds = type == protocol::T_MAP ? 2 : 1;
      for (int i = 0; i < level.kinds; ++i) {
         uint32_t byte = 0;
         if (!takes(1, byte)) return false;
         level.types[i] = static_cast<uint8_t>(byte);
      }
      if (!takes(4, level.count)) return false;
      isLie_ = isFalseCount(level.count, left_);
      return !isLie_;
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
