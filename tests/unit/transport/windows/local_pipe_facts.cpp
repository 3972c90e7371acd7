#include "unit/transport/local_pipe_facts.h"

#include <windows.h>

const std::vector<std::string> kTextsOfABrokenRead = {"getOverlappedResultWithTimeout failed",
                                                      "TPipe: read failed"};
const int kNoSuchPipe = ERROR_FILE_NOT_FOUND;
const int kNoHandle = ERROR_INVALID_HANDLE;
const int kUnderWay = ERROR_IO_INCOMPLETE;
const size_t kOpenForAPipe = 3;
