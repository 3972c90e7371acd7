// Messages of the service's protocol, written byte by byte: what a service would send, and what it
// should never send. Shares no code with the library under test and none with its protocol library.
#ifndef TESTS_SERVICE_WIRE_BYTES_H
#define TESTS_SERVICE_WIRE_BYTES_H

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zerova::test {

namespace wire {

inline constexpr std::uint8_t kStop = 0;
inline constexpr std::uint8_t kBool = 2;
inline constexpr std::uint8_t kI32 = 8;
inline constexpr std::uint8_t kString = 11;
inline constexpr std::uint8_t kStruct = 12;
inline constexpr std::uint8_t kMap = 13;
inline constexpr std::uint8_t kList = 15;

inline constexpr std::uint8_t kCall = 1;
inline constexpr std::uint8_t kReply = 2;
inline constexpr std::uint8_t kException = 3;

inline constexpr std::int32_t kAttributeString = 1;
inline constexpr std::int32_t kAttributeBool = 2;

} // namespace wire

// Collects bytes in network byte order. A struct has no bytes of its own at its begin: write its
// fields and then stop(). Nothing is checked, so nonsense can be written as well as sense.
class WireBytes
{
public:
   WireBytes& raw(std::string_view bytes);
   WireBytes& byte(std::uint8_t value);
   WireBytes& i16(std::int16_t value);
   WireBytes& i32(std::int32_t value);
   WireBytes& text(std::string_view value); // length and bytes

   // The strict header, with a version word, and the older form without one.
   WireBytes& message(std::uint8_t type, std::string_view name, std::int32_t sequenceId = 0);
   WireBytes& messageWithoutVersion(std::uint8_t type, std::string_view name,
                                    std::int32_t sequenceId = 0);

   WireBytes& field(std::uint8_t type, std::int16_t id); // the value follows
   WireBytes& stop();
   WireBytes& i32Field(std::int16_t id, std::int32_t value);
   WireBytes& boolField(std::int16_t id, bool value);
   WireBytes& textField(std::int16_t id, std::string_view value);

   WireBytes& listHeader(std::uint8_t elementType, std::int32_t count);
   WireBytes& mapHeader(std::uint8_t keyType, std::uint8_t valueType, std::int32_t count);

   // A map entry: key and Attribute struct.
   WireBytes& stringAttribute(std::string_view name, std::string_view value);
   WireBytes& boolAttribute(std::string_view name, bool value);

   const std::string& bytes() const { return bytes_; }
   // The bytes behind their length, or behind a length that lies.
   std::string frame() const;
   std::string frameAnnouncing(std::int32_t length) const;

private:
   std::string bytes_;
};

// Whole frames that a service would answer with.
std::string voidReply(std::string_view method);
std::string i32Reply(std::string_view method, std::int32_t value);
std::string boolReply(std::string_view method, bool value);
std::string textListReply(std::string_view method, const std::vector<std::string>& values);
std::string statusReply(std::string_view method, std::int32_t code, std::string_view description);
std::string exceptionReply(std::string_view method, std::int32_t type, std::string_view message);
// One device with one terminal that has a string attribute "Name" and a bool attribute "IsSource".
std::string deviceListReply();
// The same terminal as the answer about one device.
std::string terminalListReply();

// What a request frame asks for; empty if it is no call with a strict header.
std::string methodOf(std::string_view requestFrame);

// One answer for every method that succeeds: the frames above with small values.
std::string plainReply(std::string_view method);
// The names of all methods, in the order of the interface.
const std::vector<std::string>& allMethods();

} // namespace zerova::test

#endif
