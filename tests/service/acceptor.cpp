#include "service/acceptor.h"

#include <atomic>
#include <list>
#include <thread>
#include <utility>

namespace zerova::test {

// Touched by the accepting thread alone until that is joined.
class Acceptor::Workers
{
public:
   void start(Stream stream, const Serve& serve, const std::string& name, const StopSignal& stop)
   {
      workers_.remove_if([](Worker& worker) { return worker.joinIfDone(); });
      Worker& worker = workers_.emplace_back();
      worker.thread = std::thread([&, name, stream = std::move(stream)]() mutable {
         nameThread(name);
         serve(stream, stop);
         stream.close();
         worker.done = true;
      });
   }

   std::thread accepting;

   ~Workers()
   {
      accepting.join();
      for (Worker& worker : workers_)
         worker.thread.join();
   }

private:
   struct Worker
   {
      std::thread thread;
      std::atomic<bool> done = false;

      bool joinIfDone()
      {
         const bool isDone = done; // asked once: it may become so in between
         if (isDone) thread.join();
         return isDone;
      }
   };

   std::list<Worker> workers_;
};

Acceptor::Acceptor(Listener listener, std::string threadName, Serve serve)
   : port_(listener.port())
   , description_(listener.description())
   , threadName_(std::move(threadName))
   , serve_(std::move(serve))
   , listener_(std::make_unique<Listener>(std::move(listener)))
   , workers_(std::make_unique<Workers>())
{
   Workers& workers = *workers_;
   workers.accepting = std::thread([this, &workers] {
      nameThread(threadName_);
      acceptAll(workers);
   });
}

Acceptor::~Acceptor()
{
   stop();
}

void Acceptor::acceptAll(Workers& workers)
{
   while (std::optional<Stream> stream = listener_->accept(stop_))
      workers.start(std::move(*stream), serve_, threadName_, stop_);
}

void Acceptor::stop()
{
   stop_.raise();
   workers_.reset();
   listener_.reset();
}

} // namespace zerova::test
