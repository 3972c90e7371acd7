#include "transport/pipe_transport.h"

#include "transport/pipe_transfer.h"

#include <thrift/Thrift.h>
#include <thrift/concurrency/Exception.h>

namespace apache::thrift::transport {
inline namespace verified_pipe {

namespace {

std::string fullPipeName(const std::string& name)
{
   return name.find("\\\\") == std::string::npos ? "\\\\.\\pipe\\" + name : name;
}

} // namespace

TManualResetEvent::TManualResetEvent()
{
   if (const int error = platform::createEvent(event_)) {
      GlobalOutput.perror("TManualResetEvent unable to create event, GLE=", error);
      throw concurrency::SystemResourceException("CreateEvent failed");
   }
}

uint32_t TNamedPipeImpl::read(uint8_t* buffer, uint32_t length)
{
   return pseudo_sync_read(Pipe_.get(), read_event_.get(), buffer, length, readTimeoutMs);
}

void TNamedPipeImpl::write(const uint8_t* buffer, uint32_t length)
{
   pseudo_sync_write(Pipe_.get(), write_event_.get(), buffer, length, writeTimeoutMs);
}

void TNamedPipeImpl::setPipeHandle(platform::Handle pipe)
{
   if (pipe == Pipe_.get()) return;
   Pipe_.reset(pipe);
}

TPipe::TPipe(const std::string& pipename, std::shared_ptr<TConfiguration> config)
   : TVirtualTransport(config)
   , pipename_(fullPipeName(pipename))
{
}

void TPipe::open()
{
   if (isOpen()) return;
   platform::PipeOpener opener(pipename_.c_str());
   for (;;) {
      const platform::OpenedPipe opened = opener.open(verifier->openFlags());
      if (opened.result == platform::PipeOpening::opened) {
         TAutoHandle pipe(opened.pipe);
         return accept(pipe);
      }
      if (opened.result == platform::PipeOpening::busy && opener.waitWhileBusy(connectWaitMs))
         continue;
      GlobalOutput.perror("TPipe::open ::CreateFile errored GLE=", opened.error);
      throw TTransportException(TTransportException::NOT_OPEN, "Unable to open pipe");
   }
}

void TPipe::accept(TAutoHandle& pipe)
{
   if (!verifier->isServerTrusted(pipe.get())) throw TLocalAuthException("Server isn't trusted!");
   const auto impl = std::make_shared<TNamedPipeImpl>();
   impl->setPipeHandle(pipe.release());
   impl_ = impl;
}

uint32_t TPipe::read(uint8_t* buffer, uint32_t length)
{
   // A long of the base's check need not hold every length; no message is as large.
   if (length > INT32_MAX)
      throw TTransportException(TTransportException::END_OF_FILE, "MaxMessageSize reached");
   checkReadBytesAvailable(static_cast<long>(length));
   if (!isOpen()) {
      throw TTransportException(TTransportException::NOT_OPEN, "Called read on non-open pipe");
   }
   return impl_->read(buffer, length);
}

void TPipe::write(const uint8_t* buffer, uint32_t length)
{
   if (!isOpen()) {
      throw TTransportException(TTransportException::NOT_OPEN, "Called write on non-open pipe");
   }
   impl_->write(buffer, length);
}

} // namespace verified_pipe
} // namespace apache::thrift::transport
