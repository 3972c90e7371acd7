// How the code of the translator road reports a failure at the place that knows of it.
#ifndef QUELERR_REPORT_H
#define QUELERR_REPORT_H

#include "quelerr/status.h"

// Puts code into status, with the site of this line. The error_constant is the code as spelled
// here, so spell it by name. True: it was applied, and members may be added.
#define QUELERR_REPORT(status, file, code)                                                         \
   quelerr_Status_setWithSite((status), (code),                                                    \
                              quelerr_Location{(file), __LINE__, "zerovaapi", #code})

constexpr int32_t tamrixerr_memoryFull = -52000;
constexpr int32_t tamrixerr_softwareFaultTAMRIXInternalUseOnly = -52003;
constexpr int32_t tamrixerr_invalidParameter = -52005;
constexpr int32_t tamrixerr_resourceNotFound = -52006;

#endif
