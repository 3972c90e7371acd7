#include "unit/transport/local_pipe_facts.h"

#include <windows.h>

const std::vector<std::string> kTextsOfABrokenRead = {"getOverlappedResultWithTimeout failed",
                                                      "TPipe: read failed"};
const int kNoSuchPipe = ERROR_FILE_NOT_FOUND;
const size_t kOpenForAPipe = 3;
