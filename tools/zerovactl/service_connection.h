// A connection to a service whose every wait is bounded, as the library's own are not.
#ifndef TOOLS_ZEROVACTL_SERVICE_CONNECTION_H
#define TOOLS_ZEROVACTL_SERVICE_CONNECTION_H

#include "tools/zerovactl/message.h"

#include "platform/local_pipe.h"
#include "platform/socket.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>

namespace zerovactl {

using Moment = std::chrono::steady_clock::time_point;

class ConnectionFailure : public std::runtime_error
{
public:
   using std::runtime_error::runtime_error;
};

// The time was over before the other side did what it was waited for.
class ConnectionSilent : public ConnectionFailure
{
public:
   using ConnectionFailure::ConnectionFailure;
};

// A stream of bytes. All throw ConnectionFailure.
class Connection
{
public:
   virtual ~Connection() = default;
   // Some bytes, at least one.
   virtual std::size_t receive(char* bytes, std::size_t size, Moment until) = 0;
   virtual void send(const std::string& bytes, Moment until) = 0;
};

// pipe: opened; the connection closes it, and a failure to make one does.
std::unique_ptr<Connection> connectionOver(platform::Handle pipe);
std::unique_ptr<Connection> connectTo(std::uint32_t address, std::uint16_t port, Moment until);

// Makes a call and reads the reply.
Message call(Connection& connection, const std::string& method, const std::string* argument,
             Moment until);

// What a locator answers: the port of the service.
std::uint16_t askLocator(Connection& connection, Moment until);

// The first address of a name; throws ConnectionFailure.
std::uint32_t addressOf(const std::string& host, std::chrono::seconds time);

std::string dotted(std::uint32_t address);

} // namespace zerovactl

#endif
