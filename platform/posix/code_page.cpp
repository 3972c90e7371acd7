// The constant tables of the known pages, and the system's iconv for the code set of the locale.
#include "platform/code_page.h"

#include "platform/posix/code_page_tables.h"

#include <bit>
#include <cstring>
#include <iconv.h>
#include <langinfo.h>

namespace {

using platform::DoubleByteTable;
using platform::kFirstHigh;
using platform::kFirstLead;
using platform::kFirstTrail;
using platform::kLastLead;
using platform::kLastTrail;
using platform::kRefused;

constexpr const char* kUtf16 = std::endian::native == std::endian::little ? "UTF-16LE" : "UTF-16BE";
const iconv_t kNoConverter = reinterpret_cast<iconv_t>(-1);
constexpr size_t kIconvFailed = static_cast<size_t>(-1);

struct Page
{
   const uint16_t* singles;      // null for a page that is not known
   const DoubleByteTable* table; // null for a single-byte page
};

// A switch and not a table, which would hold addresses for the loader to fill in.
Page pageOf(uint32_t codePage)
{
   switch (codePage) {
   case 1252:
      return {platform::kTable1252.singles, nullptr};
   case 932:
      return {platform::kTable932.singles, &platform::kTable932};
   case 949:
      return {platform::kTable949.singles, &platform::kTable949};
   case 936:
      return {platform::kTable936.singles, &platform::kTable936};
   default:
      return {};
   }
}

uint16_t unitOfPair(const DoubleByteTable& table, unsigned lead, unsigned trail)
{
   if (lead < kFirstLead || lead > kLastLead) return kRefused;
   if (trail < kFirstTrail || trail > kLastTrail) return kRefused;
   return table.pairs[lead - kFirstLead][trail - kFirstTrail];
}

// Calls write with each unit; false if a sequence is refused.
template <typename Write>
bool decode(const Page& page, const char* text, size_t length, Write write)
{
   const auto* byte = reinterpret_cast<const unsigned char*>(text);
   const auto* const end = byte + length;
   while (byte != end) {
      const unsigned lead = *byte++;
      if (lead < kFirstHigh) {
         write(static_cast<uint16_t>(lead));
         continue;
      }
      uint16_t unit = page.singles[lead - kFirstHigh];
      if (unit == kRefused && page.table && byte != end)
         unit = unitOfPair(*page.table, lead, *byte++);
      if (unit == kRefused) return false;
      write(unit);
   }
   return true;
}

// Hands the units of text, in the code set of the process's locale, to write in blocks. False if
// the text is refused.
template <typename Write>
bool decodeCurrent(const char* text, size_t length, Write write)
{
   const iconv_t converter = iconv_open(kUtf16, nl_langinfo(CODESET));
   if (converter == kNoConverter) return false;
   char* input = const_cast<char*>(text);
   size_t inputLeft = length;
   bool isFlushed = false; // a code set may hold a character back until the end
   size_t result = 0;
   do {
      uint16_t block[256];
      char* output = reinterpret_cast<char*>(block);
      size_t outputLeft = sizeof block;
      isFlushed = inputLeft == 0;
      result = iconv(converter, isFlushed ? nullptr : &input, &inputLeft, &output, &outputLeft);
      const size_t count = (sizeof block - outputLeft) / sizeof block[0];
      // A full block is no failure. A failure behind written units comes again in the next round.
      if (count > 0) result = 0;
      if (result != kIconvFailed) write(block, count);
   } while (result != kIconvFailed && !isFlushed);
   iconv_close(converter);
   return result != kIconvFailed;
}

} // namespace

namespace platform {

size_t measureUtf16(uint32_t codePage, const char* text, size_t length)
{
   size_t count = 0;
   bool isAccepted = false;
   if (codePage == kSystemCodePage)
      isAccepted = decodeCurrent(text, length, [&](const uint16_t*, size_t n) { count += n; });
   else if (const Page page = pageOf(codePage); page.singles)
      isAccepted = decode(page, text, length, [&](uint16_t) { ++count; });
   return isAccepted ? count : 0;
}

size_t convertToUtf16(uint32_t codePage, const char* text, size_t length, uint16_t* units,
                      size_t capacity)
{
   size_t count = 0;
   bool isAccepted = false;
   if (codePage == kSystemCodePage) {
      isAccepted = decodeCurrent(text, length, [&](const uint16_t* block, size_t n) {
         if (count <= capacity && n <= capacity - count)
            std::memcpy(units + count, block, n * sizeof *units);
         count += n;
      });
   } else if (const Page page = pageOf(codePage); page.singles) {
      isAccepted = decode(page, text, length, [&](uint16_t unit) {
         if (count < capacity) units[count] = unit;
         ++count;
      });
   }
   return isAccepted && count <= capacity ? count : 0;
}

} // namespace platform
