#include "tools/zerovactl/failure.h"
#include "tools/zerovactl/shown_text.h"
#include "tools/zerovactl/trace_events.h"

#include "tools/support/utf8_path.h"

#include <cerrno>
#include <system_error>

namespace zerovactl {

using zerova::tools::pathOf;

namespace {

// The first line of a record. Behind it stand events: eight bytes of time (nanoseconds since 1970),
// four of the connection, one of the kind, four of the length, then so many bytes; numbers with the
// highest byte first.
constexpr char kFirstLine[] = "zerovactl trace 1\n";
constexpr std::size_t kHeaderSize = 17;
constexpr std::uint64_t kLongestEvent = 1 << 20;

void put(std::string& bytes, std::uint64_t number, int size)
{
   for (int shift = 8 * (size - 1); shift >= 0; shift -= 8)
      bytes += static_cast<char>(number >> shift & 0xFF);
}

std::uint64_t numberAt(const std::string& bytes, std::size_t at, std::size_t size)
{
   std::uint64_t number = 0;
   for (std::size_t i = 0; i < size; ++i)
      number = number << 8 | static_cast<unsigned char>(bytes[at + i]);
   return number;
}

} // namespace

TraceWriter::TraceWriter(const std::string& name)
   : name_(name)
{
   errno = 0;
   file_.open(pathOf(name), std::ios::binary | std::ios::trunc);
   file_ << kFirstLine << std::flush;
   require("cannot be written");
}

void TraceWriter::require(const char* what)
{
   if (!file_)
      throw Failure(kFailed, shown(name_) + " " + what + ": " +
                                (errno != 0 ? std::generic_category().message(errno)
                                            : "the write has failed"));
}

void TraceWriter::write(const TraceEvent& event)
{
   std::string bytes;
   const auto time =
      std::chrono::duration_cast<std::chrono::nanoseconds>(event.time.time_since_epoch());
   put(bytes, static_cast<std::uint64_t>(time.count()), 8);
   put(bytes, event.connection, 4);
   put(bytes, static_cast<std::uint64_t>(event.kind), 1);
   put(bytes, event.bytes.size(), 4);
   bytes += event.bytes;
   errno = 0;
   file_ << bytes << std::flush;
   require("cannot be written any more");
}

TraceReader::TraceReader(const std::string& name)
   : name_(name)
{
   errno = 0;
   file_.open(pathOf(name), std::ios::binary);
   std::string line(sizeof kFirstLine - 1, '\0');
   file_.read(line.data(), static_cast<std::streamsize>(line.size()));
   if (!file_.is_open() || file_.bad())
      throw Failure(kFailed, shown(name) + ": " + std::generic_category().message(errno));
   if (line != kFirstLine)
      throw Failure(kFailed, shown(name) + " is no record of \"zerovactl trace\"");
}

bool TraceReader::read(TraceEvent& event)
{
   const auto isCut = [this] {
      // An error looks like the end but for this.
      if (file_.bad())
         return Failure(kFailed, shown(name_) + ": " + std::generic_category().message(errno) +
                                    "; what stands before it has been shown");
      return Failure(kFailed, shown(name_) + " ends in the middle of an event; what stands "
                                             "before it has been shown");
   };
   std::string header(kHeaderSize, '\0');
   file_.read(header.data(), kHeaderSize);
   if (file_.gcount() == 0 && !file_.bad()) return false;
   if (!file_) throw isCut();
   const std::uint64_t kind = numberAt(header, 12, 1);
   const std::uint64_t length = numberAt(header, 13, 4);
   if (kind < 1 || kind > 5 || length > kLongestEvent)
      throw Failure(kFailed, shown(name_) + " holds what is no event; what stands before it has "
                                            "been shown");
   event.time = std::chrono::system_clock::time_point(
      std::chrono::duration_cast<std::chrono::system_clock::duration>(
         std::chrono::nanoseconds(numberAt(header, 0, 8))));
   event.connection = static_cast<std::uint32_t>(numberAt(header, 8, 4));
   event.kind = static_cast<TraceKind>(kind);
   event.bytes.resize(length);
   file_.read(event.bytes.data(), static_cast<std::streamsize>(length));
   if (!file_) throw isCut();
   return true;
}

} // namespace zerovactl
