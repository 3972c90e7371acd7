#include "tools/zerovactl/commands.h"
#include "tools/zerovactl/service_connection.h"
#include "tools/zerovactl/shown_text.h"
#include "tools/zerovactl/system.h"

#include "tools/support/utf8_path.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>

namespace zerovactl {

using zerova::tools::textOf;

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::seconds;

constexpr seconds kLongestStep{5};
constexpr std::uint16_t kLocatorPort = 3580;
constexpr std::int32_t kLongestQueueMs = 3000; // as long as the library waits for room

struct NotReady
{
};

std::string numberText(double number, int digits)
{
   std::array<char, 32> text;
   std::snprintf(text.data(), text.size(), "%.*f", digits, number);
   return text.data();
}

class Opening
{
public:
   Opening(Context& context, const PingOptions& options)
      : context_(context)
      , options_(options)
   {
   }

   int run()
   {
      bool isReady = true;
      try {
         library();
         auto connection = context_.target.host.empty() ? openLocal() : openRemote();
         version(*connection);
         roundTrips(*connection);
         if (!options_.isQuiet && !context_.output.asJson())
            context_.output.line({Part{"ready", Colour::kGood}});
      } catch (const NotReady&) {
         isReady = false;
      }
      if (context_.output.asJson() && !options_.isQuiet)
         context_.output.document({{"ready", isReady}, {"steps", steps_}});
      if (options_.isQuiet) return isReady ? kDone : kNo;
      return isReady ? kDone : kNoSession;
   }

private:
   static constexpr std::size_t kLabelWidth = 17;
   static constexpr std::size_t kSubjectWidth = 34;

   // failure: empty for a step that has worked.
   void tell(const std::string& label, const std::string& subject, const std::string& result,
             const std::string& failure = {}, std::optional<double> ms = {})
   {
      Json step = {{"step", label}, {"subject", subject}, {"result", result}};
      if (ms) step["ms"] = *ms;
      if (!failure.empty()) step["failure"] = failure;
      steps_.push_back(step);
      if (options_.isQuiet || context_.output.asJson()) return;
      std::vector<Part> parts = {
         {padded(label, kLabelWidth) +
          (result.empty() ? subject : padded(shown(subject) + "  ", kSubjectWidth) + result)}};
      if (!failure.empty()) parts.push_back({"   FAILED: " + failure, Colour::kBad});
      context_.output.line(parts);
      context_.output.flush();
   }

   [[noreturn]] void fail(const std::string& label, const std::string& subject,
                          const std::string& result, const std::string& failure,
                          const std::string& hint)
   {
      tell(label, subject, result, failure);
      steps_.back()["hint"] = hint;
      if (!options_.isQuiet && !context_.output.asJson()) {
         context_.output.line(padded("hint", kLabelWidth) + hint);
         context_.output.flush();
      }
      throw NotReady();
   }

   static double msSince(Moment start)
   {
      return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
   }

   void library()
   {
      std::string text = textOf(libraryPath().filename()) + " (" + libraryVersion() + ")";
      if (context_.target.host.empty()) text += ", endpoints in " + endpointFolder();
      tell("library", text, "");
   }

   std::unique_ptr<Connection> openLocal()
   {
      const std::string name = context_.target.isImmediate ? "com.zerova.immediate" : "com.zerova";
      for (const EndpointStep& step : lookAtEndpoint(name)) {
         if (!step.failure.empty()) fail(step);
         tell(step.label, step.subject, step.result);
      }
      return listener(name);
   }

   [[noreturn]] void fail(const EndpointStep& step)
   {
      fail(step.label, step.subject, step.result, step.failure, step.hint);
   }

   std::unique_ptr<Connection> listener(const std::string& name)
   {
      const std::string fullName = "\\\\.\\pipe\\" + name;
      platform::PipeOpener opener(fullName.c_str());
      const auto start = Clock::now();
      auto opened = opener.open(0);
      while (opened.result == platform::PipeOpening::busy && msSince(start) < kLongestQueueMs) {
         context_.output.progress("waiting for room in the service's queue");
         if (!opener.waitWhileBusy(kLongestQueueMs)) break;
         opened = opener.open(0);
      }
      if (opened.result == platform::PipeOpening::busy)
         fail("connection", endpointPath(name),
              "no room for " + numberText(kLongestQueueMs / 1000.0, 1) + " s",
              "the service takes no connections", hintForFullQueue());
      if (opened.result == platform::PipeOpening::failed) fail(refusedOpening(name, opened.error));
      auto connection = connectionOver(opened.pipe);
      const double ms = msSince(start);
      tell("connection", endpointPath(name), "open in " + numberText(ms, 2) + " ms", {}, ms);
      return connection;
   }

   std::unique_ptr<Connection> openRemote()
   {
      const std::string& host = context_.target.host;
      std::uint32_t address = 0;
      try {
         context_.output.progress("looking up " + host);
         address = addressOf(host, kLongestStep);
      } catch (const ConnectionFailure& failure) {
         fail("name", host, "no address", failure.what(),
              "correct the name, or give the host's IPv4 address");
      }
      tell("name", host + " -> " + dotted(address), "");
      return service(address, locator(address));
   }

   std::uint16_t locator(std::uint32_t address)
   {
      const std::string place = dotted(address) + ":" + std::to_string(kLocatorPort);
      const auto start = Clock::now();
      const auto until = start + kLongestStep;
      std::unique_ptr<Connection> connection;
      context_.output.progress("asking the locator");
      try {
         connection = connectTo(address, kLocatorPort, until);
      } catch (const ConnectionSilent&) {
         fail("locator", place, "no connection in " + numberText(msSince(start) / 1000, 1) + " s",
              timeOutText(), "the host is off, or a firewall drops what comes to port 3580");
      } catch (const ConnectionFailure& failure) {
         fail("locator", place, "no connection", failure.what(),
              "start the locator on that host, or open port 3580 in the firewall between");
      }
      std::uint16_t port = 0;
      double ms = 0;
      try {
         port = askLocator(*connection, until);
         ms = msSince(start);
      } catch (const ConnectionSilent&) {
         fail("locator", place,
              "connected, no answer in " + numberText(msSince(start) / 1000, 1) + " s",
              timeOutText(),
              "something else may listen on 3580; the library itself would wait 65 s here");
      } catch (const ConnectionFailure& failure) {
         fail("locator", place, "connected", failure.what(),
              "something else may listen on 3580, or the locator does not know the service");
      }
      tell("locator", place, "answers in " + numberText(ms, 2) + " ms", {}, ms);
      tell("port", "Trevanta/Zerova -> " + std::to_string(port), "");
      return port;
   }

   std::unique_ptr<Connection> service(std::uint32_t address, std::uint16_t port)
   {
      const std::string place = dotted(address) + ":" + std::to_string(port);
      const auto start = Clock::now();
      try {
         context_.output.progress("connecting to " + place);
         auto connection = connectTo(address, port, start + kLongestStep);
         const double ms = msSince(start);
         tell("connection", place, "open in " + numberText(ms, 2) + " ms", {}, ms);
         return connection;
      } catch (const ConnectionSilent&) {
         fail("connection", place, "not open in " + numberText(msSince(start) / 1000, 1) + " s",
              timeOutText(), "a firewall drops what comes to the service's port");
      } catch (const ConnectionFailure& failure) {
         fail("connection", place, "not open", failure.what(),
              "the locator knows a port on which nobody listens; restart the service");
      }
   }

   void version(Connection& connection)
   {
      const std::string wanted = "1.0";
      const auto start = Clock::now();
      Message reply;
      context_.output.progress("agreeing on the version");
      try {
         reply = call(connection, "version", &wanted, start + kLongestStep);
      } catch (const ConnectionSilent&) {
         fail("version", wanted, "no answer in " + numberText(msSince(start) / 1000, 1) + " s",
              timeOutText(),
              "the service is stopped or hangs; the library itself would wait without end");
      } catch (const ConnectionFailure& failure) {
         fail("version", wanted, "no answer", failure.what(),
              "another program may have taken the service's place, or the service fails at its "
              "start");
      }
      const double ms = msSince(start);
      if (reply.type == MessageType::kException)
         fail("version", wanted, "not understood", valueText(reply.members),
              "what answers is no routing service");
      if (reply.members.contains("status"))
         fail("version", wanted, "refused", valueText(reply.members["status"]),
              "update the service, or install the library that belongs to it");
      tell("version", wanted + " accepted", numberText(ms, 2) + " ms", {}, ms);
   }

   void roundTrips(Connection& connection)
   {
      std::vector<double> times;
      const std::string of = " of " + std::to_string(options_.count);
      try {
         for (int i = 0; i < options_.count; ++i) {
            if (options_.count > 1)
               context_.output.progress("round trip " + std::to_string(i + 1) + of);
            const auto start = Clock::now();
            call(connection, "isDebug", nullptr, start + kLongestStep);
            times.push_back(msSince(start));
         }
      } catch (const ConnectionFailure& failure) {
         fail("round trips", std::to_string(times.size()) + of, "", failure.what(),
              "the service ended, or hangs, in the middle of the calls");
      }
      std::sort(times.begin(), times.end());
      const auto middle = times.size() / 2;
      const double median =
         times.size() % 2 == 1 ? times[middle] : (times[middle - 1] + times[middle]) / 2;
      tell("round trips",
           std::to_string(times.size()) + of + ", min " + numberText(times.front(), 2) +
              "  median " + numberText(median, 2) + "  max " + numberText(times.back(), 2) + " ms",
           "");
      steps_.back()["min"] = times.front();
      steps_.back()["median"] = median;
      steps_.back()["max"] = times.back();
   }

   Context& context_;
   const PingOptions& options_;
   Json steps_ = Json::array();
};

} // namespace

int ping(Context& context, const PingOptions& options)
{
   return Opening(context, options).run();
}

} // namespace zerovactl
