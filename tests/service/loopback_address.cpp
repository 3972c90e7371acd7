#include "service/loopback_address.h"

#include <atomic>
#include <random>
#include <stdexcept>
#include <utility>

namespace zerova::test {

namespace {

constexpr std::uint16_t kReservationPort = 35800;

// Distinct for all counts of a process until they wrap, and far from those of other processes, also of
// ones that have just ended, as connections to them still may. 127.0.x.y is left to people and other
// programs.
std::string candidate(std::uint32_t count)
{
   constexpr std::uint32_t kLast = 253;
   static const std::uint32_t first = std::random_device()();
   const std::uint32_t number = (first + count) % (kLast * kLast * kLast);
   return "127." + std::to_string(1 + number / (kLast * kLast)) + "." +
          std::to_string(1 + number / kLast % kLast) + "." + std::to_string(1 + number % kLast);
}

std::pair<std::string, ReservedAddress> takeNext()
{
   static std::atomic<std::uint32_t> count = 0;
   for (int tries = 0; tries < 1000; ++tries) {
      std::string text = candidate(count++);
      if (auto reserved = ReservedAddress::take(text, kReservationPort))
         return {std::move(text), std::move(*reserved)};
   }
   throw std::runtime_error("no free loopback address after 1000 tries");
}

} // namespace

LoopbackAddress::LoopbackAddress()
   : LoopbackAddress(takeNext())
{
}

LoopbackAddress::LoopbackAddress(std::pair<std::string, ReservedAddress> taken)
   : text_(std::move(taken.first))
   , reserved_(std::move(taken.second))
{
}

} // namespace zerova::test
