// The status codes that the client functions write by themselves.
#ifndef ZEROVAAPI_STATUS_CODES_H
#define ZEROVAAPI_STATUS_CODES_H

#include <cstdint>

namespace zerova {

struct StatusCode
{
   int32_t value;
   const char* constant; // the name under which callers and dictionaries know the value
};

inline constexpr StatusCode kMemoryFull{-52000, "nTamrixS100::tStatus::kMemoryFull"};
inline constexpr StatusCode kFeatureUnsupported{-52002,
                                                "nTamrixS100::tStatus::kFeatureUnsupported"};
inline constexpr StatusCode kSoftwareFault{-52003, "nTamrixS100::tStatus::kSoftwareFault"};
inline constexpr StatusCode kInvalidParameter{-52005, "nTamrixS100::tStatus::kInvalidParameter"};
inline constexpr StatusCode kCommunicationsFault{-52024,
                                                 "nTamrixS100::tStatus::kCommunicationsFault"};
inline constexpr StatusCode kServiceNotAvailable{-89168,
                                                 "zerova::errors::kErrorZerovaServiceNotAvailable"};

} // namespace zerova

#endif
