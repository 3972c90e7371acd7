#include "service/standin/refusal.h"

namespace zerova::standin {

namespace {

std::string quoted(std::string_view text)
{
   static constexpr char kDigits[] = "0123456789abcdef";
   std::string out = "\"";
   for (const char c : text) {
      const auto byte = static_cast<unsigned char>(c);
      if (c == '"' || c == '\\')
         out += {'\\', c};
      else if (byte < 0x20 || byte == 0x7F)
         out += {'\\', 'u', '0', '0', kDigits[byte >> 4], kDigits[byte & 15]};
      else
         out += c;
   }
   return out + '"';
}

std::string quotedList(const std::vector<std::string>& texts)
{
   std::string out = "[";
   for (const std::string& text : texts) {
      if (out.size() > 1) out += ',';
      out += quoted(text);
   }
   return out + "]";
}

std::string usageRow(std::string_view key, const std::string& value)
{
   return R"({"type":"usage","usage":)" + quoted(key) + R"(,"value":)" + value + "}";
}

std::string_view fileName(std::string_view path)
{
   return path.substr(path.find_last_of("/\\") + 1);
}

} // namespace

Refusal::Refusal(ErrorCode code, const char* file, int line)
   : code_(code.number)
{
   member("error_constant", code.constant);
   member("file", fileName(file));
   member("line", std::int32_t{line});
   member("component", "zerova_service_standin");
}

Refusal& Refusal::member(std::string_view key, std::string_view text)
{
   members_ += quoted(key) + ":" + quoted(text) + ",";
   return *this;
}

Refusal& Refusal::member(std::string_view key, std::int32_t number)
{
   members_ += quoted(key) + ":" + std::to_string(number) + ",";
   return *this;
}

Refusal& Refusal::usage(std::string_view key, std::string_view text)
{
   return row(usageRow(key, quoted(text)));
}

Refusal& Refusal::usageList(std::string_view key, const std::vector<std::string>& texts)
{
   return row(usageRow(key, quotedList(texts)));
}

Refusal& Refusal::usage(std::string_view key, std::int32_t number)
{
   return row(usageRow(key, std::to_string(number)));
}

Refusal& Refusal::elaboration(std::string_view text)
{
   return row(R"({"type":"elaboration","usage":)" + quoted(text) + "}");
}

Refusal& Refusal::header(std::string_view key)
{
   return row(R"({"type":"header","usage":)" + quoted(key) + "}");
}

Refusal& Refusal::emptyLine()
{
   return row(R"({"type":"empty"})");
}

Refusal& Refusal::row(const std::string& row)
{
   rows_ += (rows_.empty() ? "" : ",") + row;
   return *this;
}

ThriftStatus Refusal::status() const
{
   std::string members = members_;
   if (rows_.empty())
      members.pop_back();
   else
      members += R"("translator_info":{"ordered_data":[)" + rows_ + "]}";
   ThriftStatus status;
   status.__set_code(code_);
   status.__set_description("{" + members + "}");
   return status;
}

} // namespace zerova::standin
