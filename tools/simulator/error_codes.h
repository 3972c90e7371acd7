// The codes that the service refuses with, and the names that its texts give them.
#ifndef TOOLS_SIMULATOR_ERROR_CODES_H
#define TOOLS_SIMULATOR_ERROR_CODES_H

#include <cstdint>

namespace zerova::simulator {

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
inline constexpr ErrorCode kModifierInUse = {-89319, "zerova::errors::kErrorModifierInUse"};
inline constexpr ErrorCode kRouteForbidden = {-89320, "zerova::errors::kErrorRouteForbidden"};
inline constexpr ErrorCode kSearchGivenUp = {-89321, "zerova::errors::kErrorSearchGivenUp"};

} // namespace zerova::simulator

#endif
