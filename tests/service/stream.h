// What the test servers need of the operating system: listening endpoints, byte streams and a
// signal that ends every wait. All of it may be used from several threads at once, each stream from
// one.
#ifndef TESTS_SERVICE_STREAM_H
#define TESTS_SERVICE_STREAM_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zerova::test {

using NativeHandle = std::intptr_t;
inline constexpr NativeHandle kNoHandle = -1;

// The folder for local endpoints that the build was given.
std::string buildEndpointDir();

// Once raised it stays raised, and every wait that was given it ends at once.
class StopSignal
{
public:
   StopSignal();
   ~StopSignal();
   StopSignal(const StopSignal&) = delete;
   StopSignal& operator=(const StopSignal&) = delete;

   void raise();
   NativeHandle handle() const { return handle_; }

private:
   NativeHandle handle_;
};

// Why a stream gives no more bytes.
enum class StreamEnd
{
   kOpen,    // it still may
   kClosed,  // the other side closed
   kReset,   // the other side reset the connection
   kStopped, // the stop signal was raised
};

// A connected byte stream. Closes when it is destroyed.
class Stream
{
public:
   // As a client, waiting until connected. Throw std::runtime_error.
   static Stream connectLocal(const std::string& name,
                              const std::string& folder = buildEndpointDir());
   // Empty if there is no room for a further client at once.
   static std::optional<Stream> tryConnectLocal(const std::string& name,
                                                const std::string& folder = buildEndpointDir());
   static Stream connectTcp(const std::string& address, std::uint16_t port);

   explicit Stream(NativeHandle connected);
   ~Stream();
   Stream(Stream&& other) noexcept;
   Stream& operator=(Stream&&) = delete;

   // Waits for bytes and takes at most length of them. 0: the stream has ended, and end() says why.
   std::size_t read(char* buffer, std::size_t length, const StopSignal& stop);
   // Writes all of bytes. False: the stream has ended, and end() says why.
   bool write(std::string_view bytes, const StopSignal& stop);
   StreamEnd end() const { return end_; }
   NativeHandle handle() const { return handle_; }

   void close();
   // Closes so that the other side sees a reset connection. A local stream has no such way: there
   // the other side sees a reset only if bytes that it sent were not read.
   void reset();

private:
   bool waitUntilReady(short events, const StopSignal& stop);
   void endWith(int error);

   NativeHandle handle_;
   StreamEnd end_ = StreamEnd::kOpen;
};

// A listening endpoint. Its destruction leaves nothing of it in the file system.
class Listener
{
public:
   // Connections that may wait to be accepted.
   static constexpr int kUsualBacklog = 64;

   // The local endpoint that clients know by the pipe name, for example "com.zerova". A name
   // with a slash is a file in a folder of the folder. Folders are made if they are missing, and
   // removed in the end if they were made here and are empty then. A socket file that a dead
   // process left is replaced. Throws std::runtime_error with a text that says what to do.
   static Listener local(const std::string& name, const std::string& folder = buildEndpointDir(),
                         int backlog = kUsualBacklog);

   // A TCP endpoint on one of the machine's loopback addresses; port 0 takes a free one. Throws
   // std::runtime_error, also when the address and port are taken.
   static Listener tcp(const std::string& address, std::uint16_t port = 0,
                       int backlog = kUsualBacklog);

   ~Listener();
   Listener(Listener&& other) noexcept;
   Listener& operator=(Listener&&) = delete;

   // Waits for a connection. Empty: the stop signal was raised.
   std::optional<Stream> accept(const StopSignal& stop);

   std::uint16_t port() const { return port_; }                    // 0 for a local endpoint
   const std::string& description() const { return description_; } // "127.0.0.1:3580" or the file
   NativeHandle handle() const { return handle_; } // for servers that wait for several things

private:
   Listener() = default;

   NativeHandle handle_ = kNoHandle;
   std::uint16_t port_ = 0;
   std::string description_;
   std::string socketFile_;               // empty for TCP
   std::vector<std::string> madeFolders_; // the outermost first
};

// A TCP address and port taken from everybody else, without listening.
class ReservedAddress
{
public:
   // Empty when somebody else has it.
   static std::optional<ReservedAddress> take(const std::string& address, std::uint16_t port);
   ~ReservedAddress();
   ReservedAddress(ReservedAddress&& other) noexcept;
   ReservedAddress& operator=(ReservedAddress&&) = delete;

private:
   explicit ReservedAddress(NativeHandle bound)
      : handle_(bound)
   {
   }
   NativeHandle handle_;
};

// The number of this process.
std::uint32_t processNumber();
// Names the calling thread for debuggers; longer names are cut to 15 characters.
void nameThread(const std::string& name);

} // namespace zerova::test

#endif
