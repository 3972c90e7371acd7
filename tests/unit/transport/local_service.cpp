#include "unit/transport/local_service.h"

#include <atomic>
#include <gtest/gtest.h>
#include <optional>
#include <stdexcept>
#include <utility>

using zerova::test::Listener;
using zerova::test::Stream;

std::string unusedPipeName()
{
   static std::atomic<int> next{0};
   return "unit." + std::to_string(zerova::test::processNumber()) + "." + std::to_string(next++);
}

std::string fullPipeName(const std::string& name)
{
   return "\\\\.\\pipe\\" + name;
}

LocalService::LocalService(int backlog)
   : name_(unusedPipeName())
   , listener_(Listener::local(name_, ZEROVA_ENDPOINT_DIR, backlog))
{
}

Stream LocalService::accept()
{
   return *listener_.accept(never_);
}

std::vector<Stream> LocalService::fill() const
{
   std::vector<Stream> clients;
   while (std::optional<Stream> client = Stream::tryConnectLocal(name_))
      clients.push_back(std::move(*client));
   if (clients.empty()) throw std::runtime_error("there is room for nobody");
   return clients;
}

bool LocalService::nobodyWaits()
{
   const std::string greeting = "the one that looks";
   std::optional<Stream> own = Stream::tryConnectLocal(name_);
   if (!own) return false;
   write(*own, greeting);
   own->close();
   Stream next = accept();
   return readToEnd(next) == greeting;
}

std::string LocalService::read(Stream& stream, size_t count)
{
   std::string bytes(count, '\0');
   size_t have = 0;
   while (have < count) {
      const size_t got = stream.read(bytes.data() + have, count - have, never_);
      if (got == 0) break;
      have += got;
   }
   bytes.resize(have);
   return bytes;
}

std::string LocalService::readToEnd(Stream& stream)
{
   std::string all;
   for (std::string some; !(some = read(stream, 4096)).empty();)
      all += some;
   return all;
}

void LocalService::write(Stream& stream, std::string_view bytes)
{
   EXPECT_TRUE(stream.write(bytes, never_));
}
