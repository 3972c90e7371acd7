// Messages of the service's interface, read without its stubs, so that what is wrong in them can be
// told as well as what is right.
#ifndef TOOLS_ZEROVACTL_MESSAGE_H
#define TOOLS_ZEROVACTL_MESSAGE_H

#include "tools/zerovactl/output.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace zerovactl {

// The frame layer's limit; a length above it is none.
inline constexpr std::uint32_t kLargestFrame = 16384000;

enum class MessageType
{
   kCall = 1,
   kReply = 2,
   kException = 3, // of the protocol, not of the service
   kOneWay = 4
};

struct Message
{
   std::string method;
   MessageType type = MessageType::kCall;
   std::int32_t sequence = 0;
   // The members by their names in the interface, "#7" for one that it does not have. An attribute
   // is its value, an enumeration its name.
   Json members = Json::object();
   std::string problem; // where the bytes are no message
};

// payload: a frame without its length.
Message decodeMessage(std::string_view payload);

// A whole frame with a call whose only argument is a text, or that has none.
std::string encodeCall(const std::string& method, const std::string* argument);

std::uint32_t frameLength(std::string_view fourBytes);

// Arguments as in a program: "/a/b", 7, {lifetime: SESSION}.
std::string argumentText(const Json& members);
std::string valueText(const Json& value);

} // namespace zerovactl

#endif
