#include "unit/transport/local_pipe_facts.h"

#include <cerrno>

const std::vector<std::string> kTextsOfABrokenRead = {"getOverlappedResultWithTimeout failed"};
const int kNoSuchPipe = ENOENT;
const int kNoHandle = EBADF;
const int kUnderWay = EAGAIN;
const size_t kOpenForAPipe = 1;
