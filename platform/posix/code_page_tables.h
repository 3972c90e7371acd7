// What every sequence of the code pages becomes, as constant data.
//
// The build writes the tables; see generate_code_pages.py. They hold no pointers, so that no copy
// of them is made when the library is loaded: all processes share the one in the file.
#ifndef PLATFORM_POSIX_CODE_PAGE_TABLES_H
#define PLATFORM_POSIX_CODE_PAGE_TABLES_H

#include <cstdint>

namespace platform {

constexpr unsigned kFirstHigh = 0x80; // below it every page is ASCII
constexpr unsigned kFirstLead = 0x81; // of any page
constexpr unsigned kLastLead = 0xFE;
constexpr unsigned kFirstTrail = 0x40;
constexpr unsigned kLastTrail = 0xFE;
constexpr uint16_t kRefused = 0; // no sequence but the byte 0 becomes the unit 0

struct SingleByteTable
{
   uint16_t singles[0x100 - kFirstHigh]; // by byte - kFirstHigh
};

struct DoubleByteTable
{
   uint16_t singles[0x100 - kFirstHigh];
   // By lead - kFirstLead and trail - kFirstTrail. A byte that stands in singles leads nothing.
   uint16_t pairs[kLastLead - kFirstLead + 1][kLastTrail - kFirstTrail + 1];
};

extern const SingleByteTable kTable1252;
extern const DoubleByteTable kTable932;
extern const DoubleByteTable kTable949;
extern const DoubleByteTable kTable936;

} // namespace platform

#endif
