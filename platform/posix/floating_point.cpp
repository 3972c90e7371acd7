#include "platform/floating_point.h"

#include <cfenv>
#include <new>
#include <type_traits>

namespace platform {

static_assert(sizeof(std::fenv_t) <= sizeof(FloatingPointEnvironment::words));
static_assert(alignof(std::fenv_t) <= alignof(std::uint64_t) &&
              std::is_trivially_copyable_v<std::fenv_t>);

void useUsualFloatingPoint(FloatingPointEnvironment& kept)
{
   std::feholdexcept(new (kept.words) std::fenv_t);
   std::fesetenv(FE_DFL_ENV);
}

void restoreFloatingPoint(const FloatingPointEnvironment& kept)
{
   std::fesetenv(std::launder(reinterpret_cast<const std::fenv_t*>(kept.words)));
}

} // namespace platform
