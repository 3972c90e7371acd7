// Whether a text is one JSON object or array and nothing else, by the JSON grammar without
// leniency.
#ifndef TESTS_SERVICE_JSON_CHECK_H
#define TESTS_SERVICE_JSON_CHECK_H

#include <string_view>

namespace zerova::test {

bool isJsonDocument(std::string_view text);

} // namespace zerova::test

#endif
