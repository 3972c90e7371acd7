// Asks the locator of a host for the port of a service. Both calls need sockInit in force, block
// for as long as the locator keeps the connection open, and return 0 for every failure.
#ifndef TRANSPORT_LOCATOR_CLIENT_H
#define TRANSPORT_LOCATOR_CLIENT_H

#include <cstdint>

namespace zerova {

inline constexpr uint16_t LOCATOR_DEFAULT_PORT = 3580;

// The port of the service at path, asked of the locator at its usual port.
int lookupServicePort(const char* host, const char* path);

// contacted: may be null; becomes 1 if the whole request was sent, else 0.
int queryServiceLocation(const char* host, uint16_t locatorPort, const char* path,
                         uint8_t* contacted);

// A malloc block, the caller's to free; null for a null text or no memory.
char* urlEscapeAlloc(const char* text);
// out: room for three characters for each of the text's, and a NUL.
void urlEscapeInto(const char* text, char* out);

} // namespace zerova

#endif
