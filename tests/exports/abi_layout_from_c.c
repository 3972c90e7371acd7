#include "exports/abi_layout.h"

#define FACT(what, value, expected) {what, (long)(value), expected},
#define ROW(...) FACT(__VA_ARGS__)

static const AbiFact kFacts[] = {ABI_LAYOUT(ROW)};

const AbiFact* abiFactsFromC(size_t* count)
{
   *count = sizeof kFacts / sizeof kFacts[0];
   return kFacts;
}
