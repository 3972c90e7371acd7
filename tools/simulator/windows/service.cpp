// Each client is served by a thread of its own: the handles of pipes and of sockets cannot be waited for
// in one place by the thousand here. What is said is decided by one of them at a time.
#include "tools/simulator/service_loop.h"

#include "service/windows/handles.h"

#include <atomic>
#include <condition_variable>
#include <list>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace zerova::simulator {

namespace {

using test::Listener;

struct StreamClient : Client
{
   explicit StreamClient(test::Stream from)
      : stream(std::move(from))
   {
   }

   test::Stream stream; // of the client's thread alone
   test::StopSignal over;
   std::condition_variable mayGoOn;
};

struct Listening
{
   Listener listener;
   Endpoint endpoint;
};

struct Watched
{
   HANDLE handle;
   std::function<void()> ready;
};

class ThreadedLoop final : public Service::Loop
{
public:
   ThreadedLoop(Bench& bench, const ServiceOptions& options)
      : Loop(bench, options)
   {
   }

   void open(const ServiceOptions& options) { openEndpoints(options, Listener::kUsualBacklog); }

   void watch(test::NativeHandle handle, std::function<void()> ready) override
   {
      watched_.push_back({test::handleOf(handle), std::move(ready)});
   }

   void run() override
   {
      std::list<std::thread> accepting;
      for (Listening& listening : listeners_)
         accepting.emplace_back([&] { acceptAll(listening); });
      waitUntilStopped();
      {
         const std::lock_guard lock(busy);
         isStopped_ = true;
         for (const auto& entry : clients())
            wake(*entry.second);
      }
      for (std::thread& thread : accepting)
         thread.join();
      for (Worker& worker : workers_)
         worker.thread.join();
      workers_.clear();
   }

private:
   struct Worker
   {
      std::thread thread;
      std::atomic<bool> isDone = false;
   };

   void listen(Listener listener, Endpoint endpoint) override
   {
      listeners_.push_back({std::move(listener), endpoint});
   }

   void waitUntilStopped()
   {
      std::vector<HANDLE> handles = {test::handleOf(stop.handle())};
      for (const Watched& watched : watched_)
         handles.push_back(watched.handle);
      for (;;) {
         const DWORD index = WaitForMultipleObjects(static_cast<DWORD>(handles.size()),
                                                    handles.data(), FALSE, INFINITE);
         if (index == WAIT_OBJECT_0) return;
         if (index >= handles.size())
            test::fail("cannot wait for what a service watches", GetLastError());
         watched_[index - 1].ready();
      }
   }

   void acceptAll(Listening& listening)
   {
      while (auto stream = listening.listener.accept(stop)) {
         const std::lock_guard lock(busy);
         workers_.remove_if([](Worker& worker) {
            const bool isDone = worker.isDone; // asked once: it may become so in between
            if (isDone) worker.thread.join();
            return isDone;
         });
         if (isStopped_ || !makeRoom()) continue;
         welcome(std::make_shared<StreamClient>(std::move(*stream)), listening.endpoint);
         tellChange();
      }
   }

   void welcome(const std::shared_ptr<StreamClient>& client, Endpoint endpoint)
   {
      begin(client, endpoint);
      Worker& worker = workers_.emplace_back();
      try {
         worker.thread = std::thread([this, client, &worker] {
            serve(*client);
            worker.isDone = true;
         });
      } catch (const std::system_error&) {
         // No more threads are to be had, so this client is one too many.
         workers_.pop_back();
         end(*client);
      }
   }

   void serve(StreamClient& client)
   {
      std::vector<char> buffer(65536);
      for (bool goesOn = true; goesOn;) {
         const std::size_t count = client.stream.read(buffer.data(), buffer.size(), client.over);
         std::unique_lock lock(busy);
         if (client.hasEnded || isStopped_) break;
         if (count == 0)
            end(client);
         else {
            receive(client, {buffer.data(), count});
            writeAnswers(client, lock);
         }
         tellChange();
         goesOn = !client.hasEnded;
      }
      client.stream.close();
   }

   // Nobody waits for a client that does not read.
   void writeAnswers(StreamClient& client, std::unique_lock<std::mutex>& lock)
   {
      while (!client.hasEnded && !isStopped_ && (client.isWaiting || !client.out.empty())) {
         if (client.isWaiting) {
            client.mayGoOn.wait_until(lock, nextDelayedAnswer().value_or(Clock::now()));
            sendDelayedAnswers();
            continue;
         }
         const std::string bytes = client.out; // which stays, and so keeps further requests back
         tellChange();
         lock.unlock();
         const bool isSent = client.stream.write(bytes, client.over);
         lock.lock();
         if (client.hasEnded) return;
         if (!isSent) return end(client);
         client.out.clear();
         sent(client);
      }
   }

   static void wake(Client& client)
   {
      auto& sleeping = static_cast<StreamClient&>(client);
      sleeping.over.raise();
      sleeping.mayGoOn.notify_all();
   }

   void send(Client& client) override { static_cast<StreamClient&>(client).mayGoOn.notify_all(); }
   void disconnect(const std::shared_ptr<Client>& client) override { wake(*client); }

   std::list<Listening> listeners_;
   std::vector<Watched> watched_;
   std::list<Worker> workers_;
   bool isStopped_ = false;
};

} // namespace

std::unique_ptr<Service::Loop> Service::Loop::make(Bench& bench, const ServiceOptions& options)
{
   auto loop = std::make_unique<ThreadedLoop>(bench, options);
   loop->open(options);
   return loop;
}

} // namespace zerova::simulator
