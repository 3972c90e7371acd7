// The other end of a connection, played by a test itself.
#ifndef TESTS_UNIT_TRANSPORT_PEERS_H
#define TESTS_UNIT_TRANSPORT_PEERS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace peers {

// Owns one descriptor.
class Descriptor
{
public:
   explicit Descriptor(int number = -1)
      : number_(number)
   {
   }
   Descriptor(Descriptor&& other) noexcept
      : number_(other.release())
   {
   }
   Descriptor& operator=(Descriptor&& other) noexcept;
   ~Descriptor() { close(); }

   int get() const { return number_; }
   int release();
   void close();

private:
   int number_;
};

void sendAll(const Descriptor& connection, std::string_view bytes);
std::string receive(const Descriptor& connection,
                    size_t count); // fewer only at the end of the data
std::string receiveThrough(const Descriptor& connection, std::string_view ending);
std::string receiveToEnd(const Descriptor& connection);
// Makes the close of a TCP connection a reset.
void reset(Descriptor& connection);

size_t openDescriptors();
bool isOpen(int descriptor);

class Listener
{
public:
   Descriptor accept() const; // blocks
   bool nobodyWaits() const;  // no connection stands in the queue
   void close() { socket_.close(); }

protected:
   Listener() = default;

   Descriptor socket_;
};

// A local endpoint under a name that no other test has; removed with the object.
class LocalListener : public Listener
{
public:
   explicit LocalListener(int backlog = 8);
   ~LocalListener();
   LocalListener(const LocalListener&) = delete;
   LocalListener& operator=(const LocalListener&) = delete;

   const std::string& name() const { return name_; } // as TPipe takes it
   std::string fullName() const { return "\\\\.\\pipe\\" + name_; }
   // Connects clients until there is no room for another.
   std::vector<Descriptor> fill() const;

private:
   std::string name_;
   std::string path_;
};

// A name like those of LocalListener under which nothing exists.
std::string unusedPipeName();

// A TCP endpoint on a loopback address that no other test uses at the same time.
class TcpListener : public Listener
{
public:
   explicit TcpListener(uint16_t port = 0); // 0: any
   // Another port on the address of a listener.
   static TcpListener beside(const TcpListener& other);

   uint32_t address() const { return address_; }
   uint16_t port() const { return port_; }
   std::string host() const; // the address as dotted text

private:
   bool tryToListen(uint32_t address, uint16_t port); // false: the address is in use

   uint32_t address_ = 0;
   uint16_t port_ = 0;
};

// A port of this machine that refuses connections for as long as the object lives.
class RefusingPort
{
public:
   RefusingPort();
   uint16_t port() const { return port_; }

private:
   Descriptor socket_; // bound and not listening
   uint16_t port_ = 0;
};

} // namespace peers

#endif
