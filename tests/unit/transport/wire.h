// Messages of the service interface, byte by byte.
#ifndef TESTS_UNIT_TRANSPORT_WIRE_H
#define TESTS_UNIT_TRANSPORT_WIRE_H

#include <cstdint>
#include <string>

namespace wire {

inline std::string byte(int value)
{
   return std::string(1, static_cast<char>(value));
}

inline std::string i16(uint32_t value)
{
   return byte(static_cast<int>(value >> 8 & 0xFF)) + byte(static_cast<int>(value & 0xFF));
}

inline std::string i32(uint32_t value)
{
   return i16(value >> 16) + i16(value & 0xFFFF);
}

inline std::string text(const std::string& value)
{
   return i32(static_cast<uint32_t>(value.size())) + value;
}

inline std::string field(int type, int id)
{
   return byte(type) + i16(static_cast<uint32_t>(id));
}

enum MessageType
{
   call = 1,
   reply = 2,
   exception = 3
};
enum FieldType
{
   stop = 0,
   boolean = 2,
   int32 = 8,
   string = 11,
   structure = 12,
   map = 13,
   set = 14,
   list = 15
};

inline std::string header(MessageType type, const std::string& name, uint32_t sequenceId = 0)
{
   return i32(0x80010000u | static_cast<uint32_t>(type)) + text(name) + i32(sequenceId);
}

inline std::string frame(const std::string& body)
{
   return i32(static_cast<uint32_t>(body.size())) + body;
}

// What a method without a result answers.
inline std::string voidReply(const std::string& name)
{
   return frame(header(reply, name) + byte(stop));
}

} // namespace wire

#endif
