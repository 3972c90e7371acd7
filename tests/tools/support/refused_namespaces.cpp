#include "tools/support/refused_namespaces.h"

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <system_error>

namespace zerova::test {

void refuseNamespaces()
{
   std::array<sock_filter, 4> filter = {{
      {BPF_LD | BPF_W | BPF_ABS, 0, 0, offsetof(seccomp_data, nr)},
      {BPF_JMP | BPF_JEQ | BPF_K, 0, 1, SYS_unshare},
      {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ERRNO | EPERM},
      {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ALLOW},
   }};
   const sock_fprog program = {static_cast<unsigned short>(filter.size()), filter.data()};
   if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
       ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0)
      throw std::system_error(errno, std::generic_category(), "prctl");
}

} // namespace zerova::test
