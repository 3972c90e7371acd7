#include "tools/simulator/refusal.h"

#include <utility>

namespace zerova::simulator {

Refusal::Refusal(const ErrorCode& code, const char* file, int line)
   : code_(code.number)
{
   const std::string_view path = file;
   members_["error_constant"] = code.constant;
   members_["file"] = path.substr(path.find_last_of("/\\") + 1);
   members_["line"] = line;
   members_["component"] = "zerova-simulator";
}

Refusal& Refusal::member(const char* key, const nlohmann::ordered_json& value)
{
   members_[key] = value;
   return *this;
}

Refusal& Refusal::row(const char* key, const nlohmann::ordered_json& value)
{
   rows_.push_back({{"type", "usage"}, {"usage", key}, {"value", value}});
   return *this;
}

Refusal& Refusal::header(const char* key)
{
   rows_.push_back({{"type", "header"}, {"usage", key}});
   return *this;
}

Refusal& Refusal::emptyLine()
{
   rows_.push_back({{"type", "empty"}});
   return *this;
}

ThriftStatus Refusal::status() const
{
   nlohmann::ordered_json document = members_;
   if (!rows_.empty()) document["translator_info"]["ordered_data"] = rows_;
   ThriftStatus status;
   status.__set_code(code_);
   // What a client sent stands in it, and need not be UTF-8.
   status.__set_description(
      document.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace));
   return status;
}

} // namespace zerova::simulator
