#include "transport/locator_client.h"

#include "transport/socket_calls.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace zerova {
namespace {

constexpr int32_t kStepTimeout = 5000; // the connect, the request, each byte of a reply line
constexpr int32_t kLineSize = 1024;
constexpr size_t kRequestOverhead = 64;

struct Freer
{
   void operator()(char* block) const { std::free(block); }
};
using Text = std::unique_ptr<char, Freer>;

// isalnum as it is in the "C" locale, whatever the process has set.
bool isAlphanumeric(unsigned char c)
{
   return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

// As atoi cuts it, but defined for numbers of any length: one too long for 64 bits counts as the
// largest of them.
uint16_t portOf(const char* digits)
{
   return static_cast<uint16_t>(std::strtoll(digits, nullptr, 10));
}

bool takeKey(const char* line, const char* key, uint16_t& port)
{
   const size_t length = std::strlen(key);
   if (std::strncmp(line, key, length) != 0) return false;
   port = portOf(line + length);
   return true;
}

// The status line, headers and blank lines of a reply are lines like any other.
uint16_t readPort(SockRec* rec)
{
   char line[kLineSize];
   uint16_t port = 0;
   while (sockReadLine(rec, line, kLineSize, kStepTimeout)) {
      if (takeKey(line, "Mapping=", port) || takeKey(line, "Port=", port)) break;
   }
   return port;
}

Text makeRequest(const char* path)
{
   if (*path == '/') ++path;
   const Text escaped(urlEscapeAlloc(path));
   if (!escaped) return nullptr;
   const size_t size = std::strlen(escaped.get()) + kRequestOverhead;
   Text request(static_cast<char*>(std::malloc(size)));
   if (request) std::snprintf(request.get(), size, "GET %s HTTP/1.0\r\n\r\n", escaped.get());
   return request;
}

// Leaves the closing to the caller only if no request was sent.
uint16_t askForPort(SockRec* rec, const char* host, uint16_t locatorPort, const char* path,
                    bool& contacted)
{
   if (!path) return 0;
   const Text request = makeRequest(path);
   if (!request || !sockConnect(rec, sockResolve(host), locatorPort, kStepTimeout)) return 0;
   contacted = sockSendString(rec, request.get(), kStepTimeout);
   const uint16_t port = contacted ? readPort(rec) : uint16_t{0};
   sockGracefulClose(rec, true);
   return port;
}

} // namespace

int lookupServicePort(const char* host, const char* path)
{
   return queryServiceLocation(host, LOCATOR_DEFAULT_PORT, path, nullptr);
}

int queryServiceLocation(const char* host, uint16_t locatorPort, const char* path,
                         uint8_t* contacted)
{
   SockRec rec;
   sockOpen(&rec);
   bool requestSent = false;
   const uint16_t port = askForPort(&rec, host, locatorPort, path, requestSent);
   if (contacted) *contacted = requestSent;
   sockClose(&rec);
   return port;
}

char* urlEscapeAlloc(const char* text)
{
   if (!text) return nullptr;
   size_t size = 1;
   for (const char* c = text; *c; ++c)
      size += isAlphanumeric(static_cast<unsigned char>(*c)) ? 1u : 3u;
   char* const escaped = static_cast<char*>(std::malloc(size));
   if (escaped) urlEscapeInto(text, escaped);
   return escaped;
}

void urlEscapeInto(const char* text, char* out)
{
   for (; *text; ++text) {
      const unsigned char c = static_cast<unsigned char>(*text);
      if (isAlphanumeric(c)) {
         *out++ = *text;
         continue;
      }
      *out++ = '%';
      // Right for 7-bit characters, which is all that service paths hold; others give no
      // hexadecimal.
      *out++ = static_cast<char>('0' + c / 16);
      *out++ = "0123456789ABCDEF"[c % 16];
   }
   *out = '\0';
}

} // namespace zerova
