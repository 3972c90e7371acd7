#include "tools/simulator/locator_reply.h"

namespace zerova::simulator {

namespace {

int hexValue(char c)
{
   if (c >= '0' && c <= '9') return c - '0';
   if (c >= 'A' && c <= 'F') return c - 'A' + 10;
   if (c >= 'a' && c <= 'f') return c - 'a' + 10;
   return -1;
}

std::string unescaped(std::string_view text)
{
   std::string out;
   for (std::size_t i = 0; i < text.size(); ++i) {
      const bool isEscape = text[i] == '%' && i + 2 < text.size() && hexValue(text[i + 1]) >= 0 &&
                            hexValue(text[i + 2]) >= 0;
      if (isEscape) {
         out += static_cast<char>(hexValue(text[i + 1]) << 4 | hexValue(text[i + 2]));
         i += 2;
      } else
         out += text[i];
   }
   return out;
}

std::string reply(std::string_view status, const std::string& body)
{
   return "HTTP/1.0 " + std::string(status) +
          "\r\nContent-Type: text/plain\r\nContent-Length: " + std::to_string(body.size()) +
          "\r\n\r\n" + body;
}

} // namespace

std::string locatorReply(std::string_view request, std::uint16_t servicePort)
{
   constexpr std::string_view kMethod = "GET ";
   const std::string_view line = request.substr(0, request.find("\r\n"));
   const std::size_t end = line.rfind(" HTTP/");
   if (!line.starts_with(kMethod) || end == std::string_view::npos || end < kMethod.size())
      return reply("400 Bad Request", "");
   std::string path = unescaped(line.substr(kMethod.size(), end - kMethod.size()));
   if (path.starts_with('/')) path.erase(0, 1);
   if (path != "Trevanta/Zerova") return reply("404 Not Found", "");
   return reply("200 OK", "Mapping=" + std::to_string(servicePort) + "\r\n");
}

} // namespace zerova::simulator
