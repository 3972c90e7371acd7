#include "source/zerovaapi/reply_reader.h"

#include <thrift/protocol/TEnum.h>

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <string_view>
#include <utility>

namespace zerova {

namespace {

using namespace apache::thrift::protocol;

constexpr uint32_t kReplyOfVersion1 = 0x80010000 | T_REPLY;
constexpr size_t kSmallestAttribute = 5; // an empty name and the end of a struct
constexpr size_t kSmallestTerminal = 6;  // a map with nothing in it

// Each operation returns false when something else is next, and then nothing more may be taken.
class ReplyReader
{
public:
   // The content takes a copy of the frame, which is where its texts stay.
   ReplyReader(std::span<const uint8_t> frame, ReplyContent& content)
      : content_(content)
   {
      content_.texts.reset(new char[frame.size()]);
      std::copy(frame.begin(), frame.end(), content_.texts.get());
      next_ = content_.texts.get();
      end_ = next_ + frame.size();
   }

   // The reply to the method, whose result is the list that takeList takes.
   template <typename TakeList>
   bool take(std::string_view method, TakeList takeList)
   {
      uint32_t word = 0;
      std::string_view name;
      uint32_t sequence = 0;
      return takeNumber(word) && word == kReplyOfVersion1 && takeText(name) && name == method &&
             takeNumber(sequence) && takesField(T_LIST, 0) && takeList() && takesType(T_STOP) &&
             next_ == end_;
   }

   bool takeTerminals()
   {
      uint32_t count = 0;
      if (!takeCount({T_MAP}, count)) return false;
      const size_t first = content_.attributes.size();
      for (uint32_t i = 0; i < count; ++i) {
         if (!takeTerminal()) return false;
         if (i == 0 && first == 0) expectAlike(count);
      }
      return true;
   }

   bool takeDevices(std::vector<Device>& devices)
   {
      uint32_t count = 0;
      if (!takeCount({T_STRUCT}, count)) return false;
      for (uint32_t i = 0; i < count; ++i) {
         const size_t first = content_.ends.size();
         std::string_view name;
         if (!takesField(T_STRING, 1) || !takeText(name) || !takesField(T_LIST, 2) ||
             !takeTerminals() || !takesType(T_STOP))
            return false;
         devices.push_back({name.data(), {content_, first, content_.ends.size() - first}});
      }
      return true;
   }

private:
   size_t left() const { return static_cast<size_t>(end_ - next_); }

   uint8_t byte(size_t index) const { return static_cast<uint8_t>(next_[index]); }

   bool takeNumber(uint32_t& number)
   {
      if (left() < 4) return false;
      number = static_cast<uint32_t>(byte(0)) << 24 | static_cast<uint32_t>(byte(1)) << 16 |
               static_cast<uint32_t>(byte(2)) << 8 | byte(3);
      next_ += 4;
      return true;
   }

   bool takeText(std::string_view& text)
   {
      uint32_t length = 0;
      if (!takeNumber(length) || length > left()) return false;
      text = {next_, length};
      next_ += length;
      return true;
   }

   // What follows a text is such a byte: once it is known it serves as the text's terminator.
   bool takeType(uint8_t& type)
   {
      if (left() == 0) return false;
      type = static_cast<uint8_t>(std::exchange(*next_++, '\0'));
      return true;
   }

   bool takesType(uint8_t expected)
   {
      uint8_t type = 0;
      return takeType(type) && type == expected;
   }

   bool takeId(uint32_t& id)
   {
      if (left() < 2) return false;
      id = static_cast<uint32_t>(byte(0)) << 8 | byte(1);
      next_ += 2;
      return true;
   }

   bool takesField(uint8_t type, uint32_t expected)
   {
      uint32_t id = 0;
      return takesType(type) && takeId(id) && id == expected;
   }

   // The begin of a container, of whose elements each takes more than a byte.
   bool takeCount(std::initializer_list<uint8_t> types, uint32_t& count)
   {
      if (left() < types.size()) return false;
      const bool areExpected =
         std::equal(types.begin(), types.end(), next_, [](uint8_t expected, char found) {
            return expected == static_cast<uint8_t>(found);
         });
      next_ += types.size();
      return areExpected && takeNumber(count) && count <= left();
   }

   bool takeTerminal()
   {
      uint32_t count = 0;
      if (!takeCount({T_STRING, T_STRUCT}, count)) return false;
      const auto first = static_cast<std::ptrdiff_t>(content_.attributes.size());
      bool isOrdered = true;
      for (uint32_t i = 0; i < count; ++i) {
         TerminalAttribute attribute{{}, "", AttrType::UNKNOWN, false};
         if (!takeText(attribute.name) || !takeAttribute(attribute)) return false;
         isOrdered = isOrdered && (i == 0 || content_.attributes.back().name < attribute.name);
         content_.attributes.push_back(attribute);
      }
      content_.ends.push_back(content_.attributes.size());
      return isOrdered || putInOrder(content_.attributes.begin() + first);
   }

   bool takeAttribute(TerminalAttribute& attribute)
   {
      uint8_t type = 0;
      uint32_t id = 0;
      while (takeType(type)) {
         if (type == T_STOP) return true;
         if (!takeId(id)) return false;
         if (type == T_I32 && id == 1) {
            uint32_t number = 0;
            if (!takeNumber(number)) return false;
            attribute.type = static_cast<AttrType::type>(static_cast<int32_t>(number));
         } else if (type == T_STRING && id == 2) {
            std::string_view text;
            if (!takeText(text)) return false;
            attribute.text = text.data();
         } else if (type == T_BOOL && id == 3 && left() > 0) {
            attribute.flag = *next_++ != 0;
         } else {
            return false;
         }
      }
      return false;
   }

   // False if a name is there twice.
   bool putInOrder(std::vector<TerminalAttribute>::iterator begin)
   {
      const auto end = content_.attributes.end();
      std::sort(begin, end, [](const auto& a, const auto& b) { return a.name < b.name; });
      return std::adjacent_find(
                begin, end, [](const auto& a, const auto& b) { return a.name == b.name; }) == end;
   }

   // Terminals of one device mostly have attributes of the same names: after the first of them. A count
   // that lies is believed as far as the rest of the frame can hold such terminals.
   void expectAlike(uint32_t count)
   {
      size_t smallest = kSmallestTerminal;
      for (const TerminalAttribute& attribute : content_.attributes)
         smallest += kSmallestAttribute + attribute.name.size();
      const size_t terminals = std::min<size_t>(count, 1 + left() / smallest);
      content_.attributes.reserve(content_.attributes.size() * terminals);
      content_.ends.reserve(terminals);
   }

   ReplyContent& content_;
   char* next_;
   char* end_;
};

} // namespace

std::optional<ReplyContent> readTerminalReply(std::span<const uint8_t> frame)
{
   ReplyContent content;
   ReplyReader reader(frame, content);
   if (!reader.take("getTerminalNamesAndAttributesForDevice",
                    [&] { return reader.takeTerminals(); }))
      return std::nullopt;
   return content;
}

std::unique_ptr<DeviceReply> readDeviceReply(std::span<const uint8_t> frame)
{
   auto reply = std::make_unique<DeviceReply>();
   ReplyReader reader(frame, reply->content);
   if (!reader.take("getRouteInfo", [&] { return reader.takeDevices(reply->devices); }))
      return nullptr;
   return reply;
}

} // namespace zerova
