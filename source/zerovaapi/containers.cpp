#include "source/zerovaapi/containers.h"

#include <algorithm>
#include <cstring>

namespace zerova {

namespace {

size_t textSize(const std::vector<AttributeMap>& terminals)
{
   size_t size = 0;
   for (const AttributeMap& terminal : terminals)
      for (const auto& [name, attribute] : terminal)
         size += name.size() + attribute.str_attr.size() + 2;
   return size;
}

// Copies texts, each with a terminator, into a block that has room for them.
class TextWriter
{
public:
   explicit TextWriter(char* block)
      : next_(block)
   {
   }

   std::string_view add(const std::string& text)
   {
      char* const copy = next_;
      std::memcpy(copy, text.c_str(), text.size() + 1);
      next_ += text.size() + 1;
      return {copy, text.size()};
   }

private:
   char* next_;
};

void append(ReplyContent& content, TextWriter& texts, const std::vector<AttributeMap>& terminals)
{
   for (const AttributeMap& terminal : terminals) {
      for (const auto& [name, attribute] : terminal) {
         const std::string_view copy = texts.add(name);
         content.attributes.push_back(
            {copy, texts.add(attribute.str_attr).data(), attribute.attr_type, attribute.bool_attr});
      }
      content.ends.push_back(content.attributes.size());
   }
}

} // namespace

std::span<const TerminalAttribute> Terminals::attributesOf(size_t index) const
{
   const size_t terminal = first_ + index;
   const size_t begin = terminal == 0 ? 0 : content_->ends[terminal - 1];
   return std::span(content_->attributes).subspan(begin, content_->ends[terminal] - begin);
}

const TerminalAttribute* Terminals::find(size_t index, const std::string& name) const
{
   const std::span<const TerminalAttribute> attributes = attributesOf(index);
   const auto found =
      std::lower_bound(attributes.begin(), attributes.end(), name,
                       [](const TerminalAttribute& attribute, const std::string& wanted) {
                          return attribute.name < wanted;
                       });
   return found != attributes.end() && found->name == name ? &*found : nullptr;
}

ReplyContent makeContent(const std::vector<AttributeMap>& terminals)
{
   ReplyContent content;
   content.texts.reset(new char[textSize(terminals)]);
   TextWriter texts(content.texts.get());
   append(content, texts, terminals);
   return content;
}

std::unique_ptr<DeviceReply> makeDevices(const std::vector<DeviceInfo>& devices)
{
   auto reply = std::make_unique<DeviceReply>();
   ReplyContent& content = reply->content;
   size_t size = 0;
   for (const DeviceInfo& device : devices)
      size += device.deviceName.size() + 1 + textSize(device.terminals);
   content.texts.reset(new char[size]);
   TextWriter texts(content.texts.get());
   for (const DeviceInfo& device : devices) {
      const char* const name = texts.add(device.deviceName).data();
      reply->devices.push_back({name, {content, content.ends.size(), device.terminals.size()}});
      append(content, texts, device.terminals);
   }
   return reply;
}

} // namespace zerova
