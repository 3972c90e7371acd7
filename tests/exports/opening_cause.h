// What a caller sees of a session that does not open, and what docs/when-a-session-does-not-open.md
// says of it.
#ifndef TESTS_EXPORTS_OPENING_CAUSE_H
#define TESTS_EXPORTS_OPENING_CAUSE_H

#include "zerovaapi.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace zerova::test {

struct SeenOpening
{
   bool opened = true;
   std::int32_t code = 0;
   std::string json = {};
   std::chrono::milliseconds time = {};
};

using Opening = std::function<zerovaapi_Session(quelerr_Status*)>;

// Tries to open a session, and destroys one that opens all the same.
SeenOpening tryToOpen(const Opening& open);

// Each on a thread of its own, so that they all wait at the same time.
std::vector<SeenOpening> tryToOpenAtOnce(const std::vector<Opening>& openings);

// What the service sent, in the rows that leave the word to it.
struct ServicesWord
{
   std::int32_t code = 0;
   std::string text = {};
};

// Code, text and time are those of the row, and there is no session.
void expectRow(const std::string& cause, const SeenOpening& seen, const ServicesWord& sent = {});

} // namespace zerova::test

#endif
