// The system's iconv, corrected where it differs from Windows.
//
// iconv costs some ten nanoseconds a byte, and a text is gone over twice, once to measure it. So a
// page asks iconv about each of its sequences once in the life of the process and keeps the answers
// in a table, which costs a page that is not used no memory.
#include "platform/code_page.h"

#include <atomic>
#include <bit>
#include <cstring>
#include <iconv.h>
#include <iterator>
#include <langinfo.h>

namespace {

constexpr const char* kUtf16 = std::endian::native == std::endian::little ? "UTF-16LE" : "UTF-16BE";
const iconv_t kNoConverter = reinterpret_cast<iconv_t>(-1);
constexpr size_t kIconvFailed = static_cast<size_t>(-1);

constexpr unsigned kFirstHigh = 0x80;  // below it every page is ASCII
constexpr unsigned kFirstTrail = 0x40; // of any page
constexpr unsigned kDelete = 0x7F;     // no page has it as a trail byte
constexpr uint16_t kRefused = 0;       // no sequence but the byte 0 becomes the unit 0

// What Windows maps and iconv does not: the sequences of a lead byte firstLead to lastLead and a
// trail byte firstTrail to lastTrail, without kDelete, to consecutive units. A lead of 0 is none.
struct Correction
{
   unsigned firstLead, lastLead;
   unsigned firstTrail, lastTrail;
   uint16_t firstUnit;
};

// Bytes without a character are controls.
constexpr Correction kWesternCorrections[] = {
   {0, 0, 0x81, 0x81, 0x0081},
   {0, 0, 0x8D, 0x8D, 0x008D},
   {0, 0, 0x8F, 0x90, 0x008F},
   {0, 0, 0x9D, 0x9D, 0x009D},
};
constexpr Correction kJapaneseCorrections[] = {
   {0, 0, 0x80, 0x80, 0x0080},
};
// The rows in the private use area are those of user-defined characters.
constexpr Correction kKoreanCorrections[] = {
   {0, 0, 0x80, 0x80, 0x0080},
   {0xC9, 0xC9, 0xA1, 0xFE, 0xE000},
   {0xFE, 0xFE, 0xA1, 0xFE, 0xE05E},
};
constexpr Correction kChineseCorrections[] = {
   {0xAA, 0xAF, 0xA1, 0xFE, 0xE000},
   {0xF8, 0xFE, 0xA1, 0xFE, 0xE234},
   {0xA1, 0xA7, 0x40, 0xA0, 0xE4C6},
};

// The unit of every sequence of one page. Threads that meet an unfilled table each fill it: they
// write the same values, so none has to wait for another.
using Units = std::atomic<uint16_t>;
struct Table
{
   std::atomic<bool> isFilled;
   Units singles[0x80]; // by byte - kFirstHigh
   Units* pairs;        // by (lead - kFirstHigh) * 0x100 + trail; null for a single-byte page
};

Units japanesePairs[0x80 * 0x100];
Units koreanPairs[0x80 * 0x100];
Units chinesePairs[0x80 * 0x100];
Table westernTable{};
Table japaneseTable{{}, {}, japanesePairs};
Table koreanTable{{}, {}, koreanPairs};
Table chineseTable{{}, {}, chinesePairs};

struct CodePage
{
   uint32_t number;
   const char* name; // as iconv knows it
   const Correction* corrections;
   size_t correctionCount;
   Table* table;
};

constexpr CodePage kCodePages[] = {
   {1252, "CP1252", kWesternCorrections, std::size(kWesternCorrections), &westernTable},
   {932, "CP932", kJapaneseCorrections, std::size(kJapaneseCorrections), &japaneseTable},
   {949, "CP949", kKoreanCorrections, std::size(kKoreanCorrections), &koreanTable},
   {936, "CP936", kChineseCorrections, std::size(kChineseCorrections), &chineseTable},
};

uint16_t correctedUnit(const CodePage& page, unsigned lead, unsigned trail)
{
   for (size_t i = 0; i < page.correctionCount; ++i) {
      const Correction& c = page.corrections[i];
      if (lead < c.firstLead || lead > c.lastLead || trail < c.firstTrail || trail > c.lastTrail)
         continue;
      if (trail == kDelete) return kRefused;
      const bool spansDelete = c.firstTrail < kDelete && c.lastTrail > kDelete;
      const unsigned perRow = c.lastTrail - c.firstTrail + (spansDelete ? 0 : 1);
      const unsigned inRow = trail - c.firstTrail - (spansDelete && trail > kDelete ? 1 : 0);
      return static_cast<uint16_t>(c.firstUnit + (lead - c.firstLead) * perRow + inRow);
   }
   return kRefused;
}

// The unit of the sequence of lead and trail, or of trail alone for a lead of 0.
uint16_t unitOf(const CodePage& page, iconv_t converter, unsigned lead, unsigned trail)
{
   const uint16_t corrected = correctedUnit(page, lead, trail);
   if (corrected != kRefused) return corrected;
   char sequence[] = {static_cast<char>(lead), static_cast<char>(trail)};
   uint16_t unit = kRefused;
   char* input = lead ? sequence : sequence + 1;
   char* output = reinterpret_cast<char*>(&unit);
   size_t inputLeft = lead ? 2 : 1;
   size_t outputLeft = sizeof unit;
   iconv(converter, nullptr, nullptr, nullptr, nullptr);
   const size_t result = iconv(converter, &input, &inputLeft, &output, &outputLeft);
   return result == 0 && inputLeft == 0 && outputLeft == 0 ? unit : kRefused;
}

void fill(const CodePage& page, iconv_t converter)
{
   Table& table = *page.table;
   for (unsigned lead = kFirstHigh; lead <= 0xFF; ++lead) {
      const uint16_t single = unitOf(page, converter, 0, lead);
      table.singles[lead - kFirstHigh].store(single, std::memory_order_relaxed);
      if (single != kRefused || !table.pairs) continue;
      Units* const row = table.pairs + size_t{lead - kFirstHigh} * 0x100;
      for (unsigned trail = kFirstTrail; trail <= 0xFF; ++trail)
         row[trail].store(unitOf(page, converter, lead, trail), std::memory_order_relaxed);
   }
   table.isFilled.store(true, std::memory_order_release);
}

// Null for a page that is not known, or that iconv has no converter for at this time.
const Table* tableOf(uint32_t codePage)
{
   for (const CodePage& page : kCodePages) {
      if (page.number != codePage) continue;
      if (!page.table->isFilled.load(std::memory_order_acquire)) {
         const iconv_t converter = iconv_open(kUtf16, page.name);
         if (converter == kNoConverter) return nullptr;
         fill(page, converter);
         iconv_close(converter);
      }
      return page.table;
   }
   return nullptr;
}

// Calls write with each unit; false if a sequence is refused.
template <typename Write>
bool decode(const Table& table, const char* text, size_t length, Write write)
{
   const auto* byte = reinterpret_cast<const unsigned char*>(text);
   const auto* const end = byte + length;
   while (byte != end) {
      const unsigned lead = *byte++;
      if (lead < kFirstHigh) {
         write(static_cast<uint16_t>(lead));
         continue;
      }
      uint16_t unit = table.singles[lead - kFirstHigh].load(std::memory_order_relaxed);
      if (unit == kRefused && table.pairs && byte != end)
         unit = table.pairs[(lead - kFirstHigh) * 0x100 + *byte++].load(std::memory_order_relaxed);
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
   else if (const Table* const table = tableOf(codePage))
      isAccepted = decode(*table, text, length, [&](uint16_t) { ++count; });
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
   } else if (const Table* const table = tableOf(codePage)) {
      isAccepted = decode(*table, text, length, [&](uint16_t unit) {
         if (count < capacity) units[count] = unit;
         ++count;
      });
   }
   return isAccepted && count <= capacity ? count : 0;
}

} // namespace platform
