// Arrays of texts as they cross the boundary.
#ifndef ZEROVAAPI_STRING_ARRAY_H
#define ZEROVAAPI_STRING_ARRAY_H

#include <cstdint>
#include <string>
#include <vector>

namespace zerova {

// Throw std::overflow_error when the result does not fit.
uint64_t checkedSum(uint64_t a, uint64_t b);
uint64_t checkedProduct(uint64_t a, uint64_t b);

// One block of malloc: the addresses of the texts and a null, then the texts, each with its NUL.
// The caller owns it. Throws std::bad_alloc.
char** makeStringArray(const std::vector<std::string>& texts);

// Copies an array that ends with a null pointer; a null array gives no texts.
std::vector<std::string> copyTexts(const char* const* texts);

} // namespace zerova

#endif
