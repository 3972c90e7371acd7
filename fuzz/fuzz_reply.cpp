// Replies of any content to the calls of a session.
//
// Input: the call, by its place in the table; how the replies are wrapped and delivered; and the
// replies, divided by two bytes 0xFE, one for each of as many calls in a row. Of the second byte,
// bits 0 and 1 say how much is put around a reply: 0 and 1 the message header and the frame, 2 the
// frame alone, 3 nothing. Bits 2 to 4 say where from: 6 a socket, 7 a pipe, 5 memory byte by byte,
// else memory.
#include "fuzz/input.h"
#include "fuzz/reply_calls.h"
#include "fuzz/reply_transports.h"
#include "fuzz/require.h"
#include "source/zerovaapi/handles.h"
#include "support/owned.h"
#include "transport/client_session.h"

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr std::string_view kDivider = "\xFE\xFE";
constexpr size_t kMostCalls = 4;
// Above this the bytes may not fit into a socket.
constexpr size_t kMostSocketBytes = 64 * 1024;

std::string bigEndian(size_t number)
{
   std::string bytes;
   for (int shift = 24; shift >= 0; shift -= 8)
      bytes += static_cast<char>(number >> shift);
   return bytes;
}

std::string wrapped(int how, std::string_view method, std::string_view reply)
{
   std::string message(reply);
   if (how < 2)
      message = std::string("\x80\x01\x00\x02", 4) + bigEndian(method.size()) +
                std::string(method) + bigEndian(0) + message;
   return how < 3 ? bigEndian(message.size()) + message : message;
}

ReplyTransport delivered(int from, const std::string& bytes)
{
   if (from == 6 && bytes.size() <= kMostSocketBytes) return replyFromSocket(bytes);
   if (from == 7 && bytes.size() <= kMostSocketBytes) return replyFromPipe(bytes);
   return replyFromMemory(bytes, from == 5 ? 1 : bytes.size());
}

std::vector<std::string_view> divided(std::string_view rest)
{
   std::vector<std::string_view> parts;
   while (parts.size() + 1 < kMostCalls) {
      const size_t end = rest.find(kDivider);
      if (end == rest.npos) break;
      parts.push_back(rest.substr(0, end));
      rest.remove_prefix(end + kDivider.size());
   }
   parts.push_back(rest);
   return parts;
}

// The bytes of all frames, which is where a text goes on that does not end in its own.
std::string contentOf(std::string_view frames)
{
   std::string content;
   while (frames.size() > 4) {
      size_t length = 0;
      for (int i = 0; i < 4; ++i)
         length = length << 8 | static_cast<unsigned char>(frames[static_cast<size_t>(i)]);
      content += frames.substr(4, length);
      frames.remove_prefix(std::min(frames.size(), 4 + length));
   }
   return content;
}

bool isOurs(const quelerr_Status& status)
{
   constexpr int32_t kCodes[] = {-52000, -52003, -52024};
   if (std::find(std::begin(kCodes), std::end(kCodes), status.code) == std::end(kCodes))
      return false;
   const char* const end = quelerr_json_findEnd(status.json);
   return end && end[1] == 0;
}

// What the library did not write came with a reply as it stands.
void requireSound(const quelerr_Status& status, const std::string& sent)
{
   if (status.code == 0) return;
   require(status.json != nullptr);
   require(std::strlen(status.json) + 2 <= status.capacity);
   require(status.json[status.capacity - 1] == kJsonSentinel);
   if (!isOurs(status)) require(contentOf(sent).find(status.json) != std::string::npos);
}

// True if it seems to hold the field of a list of a thousand to a million elements. The room for
// them is made before the first is missed, which takes as long as many other inputs.
bool announcesLongList(std::string_view content)
{
   constexpr char kList = 0x0F;
   constexpr std::string_view kElementTypes = "\x0B\x0C\x0D\x0F"; // text, struct, map, list
   for (size_t i = 0; i + 7 < content.size(); ++i) { // type, number, type of the elements, count
      if (content[i] != kList || kElementTypes.find(content[i + 3]) == kElementTypes.npos) continue;
      if (content[i + 4] != 0) continue;
      const auto count = static_cast<unsigned char>(content[i + 5]) << 8 |
                         static_cast<unsigned char>(content[i + 6]); // of 256 elements each
      if (count >= 0x04 && count <= 0x1000) return true;
   }
   return false;
}

// Keeps one in many of the inputs that take long.
bool isWorthItsTime(std::string_view content)
{
   const auto sum = std::accumulate(content.begin(), content.end(), 0);
   return sum % 4096 == 0 || !announcesLongList(content);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
   Input input(data, size);
   if (!isWorthItsTime(input.rest())) return 0;
   const auto calls = replyCalls();
   const ReplyCall& call = calls[input.takeByte() % calls.size()];
   const int way = input.takeByte();
   const std::vector<std::string_view> replies = divided(input.rest());
   std::string sent;
   for (const std::string_view reply : replies)
      sent += wrapped(way & 3, call.method, reply);

   const auto session = zerova::makeClientSession(delivered(way >> 2 & 7, sent));
   const auto generic = zerova::makeClientSession(replyFromMemory(sent, sent.size()));
   for (size_t i = 0; i < replies.size(); ++i) {
      OwnedStatus status;
      call.run(zerova::wrap<zerovaapi_Session>(session.get()), *generic, &status);
      requireSound(status, sent);
   }
   return 0;
}
