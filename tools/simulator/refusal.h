// How the service says no: a code, and a status text that a translator can show to a user.
#ifndef TOOLS_SIMULATOR_REFUSAL_H
#define TOOLS_SIMULATOR_REFUSAL_H

#include "apiv1_types.h"
#include "tools/simulator/error_codes.h"

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>

namespace zerova::simulator {

// Collects what a refusal says, in order, and makes the exception that carries it. Members stand as
// they are; rows are meant for a user, who reads them in his language.
class Refusal
{
public:
   explicit Refusal(const ErrorCode& code, const char* file = __builtin_FILE(),
                    int line = __builtin_LINE());

   Refusal& member(const char* key, const nlohmann::ordered_json& value);
   // A labelled value, or a list of them. The key is one of the translator's dictionary.
   Refusal& row(const char* key, const nlohmann::ordered_json& value);
   Refusal& header(const char* key);
   Refusal& emptyLine();

   ThriftStatus status() const;

private:
   std::int32_t code_;
   nlohmann::ordered_json members_;
   nlohmann::ordered_json rows_ = nlohmann::ordered_json::array();
};

} // namespace zerova::simulator

#endif
