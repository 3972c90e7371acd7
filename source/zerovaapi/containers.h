// What the containers of devices and terminals hold: the bytes of a reply, and where in them what is.
#ifndef ZEROVAAPI_CONTAINERS_H
#define ZEROVAAPI_CONTAINERS_H

#include "APIv1.h"

#include <cstddef>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zerova {

using AttributeMap = std::map<std::string, Attribute>;

struct TerminalAttribute
{
   std::string_view name;
   const char* text; // with its terminator, empty where there is none
   AttrType::type type;
   bool flag;
};

struct ReplyContent
{
   std::unique_ptr<char[]> texts;             // which the attributes point into
   std::vector<TerminalAttribute> attributes; // of one terminal after the other, by name
   std::vector<size_t> ends;                  // of each terminal's attributes
};

// A sequence of the terminals of a content, which outlives it.
class Terminals
{
public:
   Terminals(const ReplyContent& content, size_t first, size_t count)
      : content_(&content)
      , first_(first)
      , count_(count)
   {
   }

   size_t size() const { return count_; }

   // index must be below size.
   size_t attributeCount(size_t index) const { return attributesOf(index).size(); }

   // Null if the terminal has no attribute of that name.
   const TerminalAttribute* find(size_t index, const std::string& name) const;

private:
   std::span<const TerminalAttribute> attributesOf(size_t index) const;

   const ReplyContent* content_;
   size_t first_;
   size_t count_;
};

struct Device
{
   const char* name;
   Terminals terminals;
};

// Stays where it is: what it holds points into its content.
struct DeviceReply
{
   DeviceReply() = default;
   DeviceReply(const DeviceReply&) = delete;
   DeviceReply& operator=(const DeviceReply&) = delete;

   ReplyContent content;
   std::vector<Device> devices;
};

class TerminalReply : public Terminals
{
public:
   explicit TerminalReply(ReplyContent content)
      : Terminals(content_, 0, content.ends.size())
      , content_(std::move(content))
   {
   }
   TerminalReply(const TerminalReply&) = delete;
   TerminalReply& operator=(const TerminalReply&) = delete;

private:
   ReplyContent content_;
};

// What the generic reader has read.
ReplyContent makeContent(const std::vector<AttributeMap>& terminals);
std::unique_ptr<DeviceReply> makeDevices(const std::vector<DeviceInfo>& devices);

} // namespace zerova

#endif
