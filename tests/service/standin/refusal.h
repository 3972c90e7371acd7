// How the service says no: a code and a status text that a translator can show to a user.
#ifndef TESTS_SERVICE_STANDIN_REFUSAL_H
#define TESTS_SERVICE_STANDIN_REFUSAL_H

#include "apiv1_types.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zerova::standin {

struct ErrorCode
{
   std::int32_t number;
   const char* constant;
};

inline constexpr ErrorCode kUnknownDevice = {-89301, "zerova::errors::kErrorUnknownDevice"};
inline constexpr ErrorCode kUnknownTerminal = {-89302, "zerova::errors::kErrorUnknownTerminal"};
inline constexpr ErrorCode kMalformedUri = {-89303, "zerova::errors::kErrorMalformedUri"};
inline constexpr ErrorCode kUnknownTicket = {-89304, "zerova::errors::kErrorUnknownTicket"};
inline constexpr ErrorCode kWrongRouteState = {-89305, "zerova::errors::kErrorWrongRouteState"};
inline constexpr ErrorCode kRouteNotPossible = {-89306, "zerova::errors::kErrorRouteNotPossible"};
inline constexpr ErrorCode kTerminalInUse = {-89307, "zerova::errors::kErrorTerminalInUse"};
inline constexpr ErrorCode kLineInUse = {-89308, "zerova::errors::kErrorLineInUse"};
inline constexpr ErrorCode kUnknownConstraint = {-89309, "zerova::errors::kErrorUnknownConstraint"};
inline constexpr ErrorCode kConstraintNotMet = {-89310, "zerova::errors::kErrorConstraintNotMet"};
inline constexpr ErrorCode kUnknownModifier = {-89311, "zerova::errors::kErrorUnknownModifier"};
inline constexpr ErrorCode kModifierNotPossible = {-89312,
                                                   "zerova::errors::kErrorModifierNotPossible"};
inline constexpr ErrorCode kDeviceInReset = {-89313, "zerova::errors::kErrorDeviceInReset"};
inline constexpr ErrorCode kNoResetInitiated = {-89314, "zerova::errors::kErrorNoResetInitiated"};
inline constexpr ErrorCode kUnknownResetType = {-89315, "zerova::errors::kErrorUnknownResetType"};
inline constexpr ErrorCode kNoImmediateRoute = {-89316, "zerova::errors::kErrorNoImmediateRoute"};
inline constexpr ErrorCode kRouteIsImmediate = {-89317, "zerova::errors::kErrorRouteIsImmediate"};
inline constexpr ErrorCode kUnsupportedVersion = {-89318,
                                                  "zerova::errors::kErrorUnsupportedVersion"};

// Collects what a refusal says, in order, and makes the exception that carries it:
//    throw Refusal(kUnknownTicket).member("ticket", ticket).status();
// The text begins with error_constant, file, line and component. Members stand behind them as they
// are, and what is meant for a user stands at the end, under translator_info.
class Refusal
{
public:
   // The place is that of the caller; std::source_location is not in all compilers that we use.
   explicit Refusal(ErrorCode code, const char* file = __builtin_FILE(),
                    int line = __builtin_LINE());

   Refusal& member(std::string_view key, std::string_view text);
   Refusal& member(std::string_view key, std::int32_t number);

   // A labelled value: the key is one of the translator's dictionary, such as "kUsageTypeDevice".
   Refusal& usage(std::string_view key, std::string_view text);
   Refusal& usageList(std::string_view key, const std::vector<std::string>& texts);
   // The number of an attribute, for the keys that mean one, such as "kUsageTypeAttributeId".
   Refusal& usage(std::string_view key, std::int32_t number);
   // A sentence that is shown as it stands.
   Refusal& elaboration(std::string_view text);
   // A line of text, and one without any.
   Refusal& header(std::string_view key);
   Refusal& emptyLine();

   ThriftStatus status() const;

private:
   Refusal& row(const std::string& row);

   std::int32_t code_;
   std::string members_; // each with a comma behind it
   std::string rows_;    // with commas between them
};

} // namespace zerova::standin

#endif
