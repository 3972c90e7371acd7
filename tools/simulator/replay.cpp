#include "tools/simulator/replay.h"

#include "tools/simulator/calls.h"
#include "tools/simulator/fault_plan.h"

#include <istream>
#include <map>
#include <stdexcept>

namespace zerova::simulator {

namespace {

class Player
{
public:
   Player(Bench& bench, bool isDebug, Replay& out)
      : bench_(bench)
      , calls_(bench, isDebug)
      , plan_(bench.topology().faults)
      , out_(out)
   {
      calls_.recordCalls(true);
   }

   // where: "log.jsonl:7"
   void play(const Json& event, const std::string& where)
   {
      const ConnectionId connection = event.at("connection").get<ConnectionId>();
      if (event.contains("event")) {
         if (event["event"] == "end") {
            bench_.endConnection(connection);
            plan_.forget(connection);
         }
         if (event["event"] == "open" && event.value("endpoint", "") == "immediate")
            lifetimes_[connection] = RouteLifetime::IMMEDIATE;
         return;
      }
      const auto method = event.at("method").get<std::string>();
      const Fault* const fault = plan_.next(method, connection);
      if (event.contains("unknown")) return;
      const auto lifetime = lifetimes_.find(connection);
      calls_.setCaller(connection,
                       lifetime == lifetimes_.end() ? RouteLifetime::SESSION : lifetime->second);
      calls_.setError(fault && fault->action == Fault::Action::kError ? fault : nullptr);
      calls_.repeat(method, event.at("arguments"));
      ++out_.calls;
      compare(event, where);
   }

private:
   void compare(const Json& event, const std::string& where)
   {
      const Call& call = calls_.last();
      const auto code = event.at("code").get<std::int32_t>();
      if (call.code != code)
         out_.differences.push_back(where + ": " + call.method + " gave " + std::to_string(code) +
                                    ", and gives " + std::to_string(call.code) + " now");
      else if (const Json result = event.contains("result") ? event["result"] : Json();
               call.result != result)
         out_.differences.push_back(where + ": " + call.method + " gave " + result.dump() +
                                    ", and gives " + call.result.dump() + " now");
   }

   Bench& bench_;
   Calls calls_;
   FaultPlan plan_;
   Replay& out_;
   std::map<ConnectionId, RouteLifetime::type> lifetimes_;
};

} // namespace

Replay replay(Bench& bench, bool isDebug, std::istream& log, const std::string& name)
{
   Replay out;
   Player player(bench, isDebug, out);
   std::size_t number = 0;
   for (std::string line; std::getline(log, line);) {
      const std::string where = name + ":" + std::to_string(++number);
      const Json event = Json::parse(line, nullptr, false);
      if (!event.is_object()) throw BadLog(where + ": no line of a log of calls");
      try {
         player.play(event, where);
      } catch (const Json::exception&) {
         throw BadLog(where + ": no line of a log of calls");
      } catch (const std::invalid_argument& error) {
         throw BadLog(where + ": " + error.what());
      }
   }
   // A folder opens, and fails when it is read.
   if (log.bad()) throw BadLog(name + ": cannot be read to its end");
   return out;
}

} // namespace zerova::simulator
