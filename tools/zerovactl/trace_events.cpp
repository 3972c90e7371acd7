#include "tools/zerovactl/trace_events.h"

#include "tools/zerovactl/shown_text.h"

#include <array>
#include <cstdio>
#include <utility>

namespace zerovactl {

namespace {

constexpr std::size_t kLongestText = 2000;

std::string cut(const std::string& text)
{
   if (text.size() <= kLongestText) return text;
   return text.substr(0, kLongestText) + "... (" + std::to_string(text.size()) + " bytes)";
}

std::string callText(const Message& message)
{
   if (message.method.empty()) return "a frame";
   return shown(message.method) + "(" + cut(argumentText(message.members)) + ")";
}

} // namespace

void CallTracer::tell(const TraceEvent& event, const Json& members, const std::vector<Part>& parts)
{
   if (output_.asJson()) {
      Json line = {{"time", utcText(event.time)}, {"connection", event.connection}};
      line.update(members);
      output_.document(line);
   } else {
      std::vector<Part> all = {
         {timeOfDayText(event.time) + "  #" + std::to_string(event.connection) + "  "}};
      all.insert(all.end(), parts.begin(), parts.end());
      output_.line(all);
   }
   output_.flush();
}

void CallTracer::take(const TraceEvent& event)
{
   Connection& connection = connections_[event.connection];
   switch (event.kind) {
   case TraceKind::kOpened:
      tell(event, {{"event", "opened"}}, {{"opened", Colour::kFaint}});
      break;
   case TraceKind::kUnreachable:
      tell(event, {{"event", "unreachable"}, {"problem", event.bytes}},
           {{"the service cannot be reached: " + event.bytes, Colour::kBad}});
      connections_.erase(event.connection);
      break;
   case TraceKind::kClosed:
      for (const Call& call : connection.calls)
         tellCall(event, call, nullptr);
      tell(event, {{"event", "closed"}}, {{"closed", Colour::kFaint}});
      connections_.erase(event.connection);
      break;
   case TraceKind::kFromClient:
   case TraceKind::kFromService:
      takeBytes(event, connection);
      break;
   }
}

void CallTracer::takeBytes(const TraceEvent& event, Connection& connection)
{
   constexpr std::size_t kLengthSize = 4;
   const bool isCall = event.kind == TraceKind::kFromClient;
   Direction& direction = isCall ? connection.client : connection.service;
   if (direction.isLost) return;
   direction.bytes += event.bytes;
   std::size_t begin = 0;
   while (direction.bytes.size() - begin >= kLengthSize) {
      const std::string_view rest = std::string_view(direction.bytes).substr(begin);
      const std::uint32_t length = frameLength(rest.substr(0, kLengthSize));
      if (length > kLargestFrame) {
         direction.isLost = true;
         direction.bytes.clear();
         const std::string problem =
            std::string(isCall ? "the client" : "the service") +
            " sends what is no frame (length " + std::to_string(length) +
            "); the bytes of that side are handed on and not decoded any more";
         tell(event, {{"event", "undecodable"}, {"problem", problem}}, {{problem, Colour::kBad}});
         return;
      }
      if (rest.size() - kLengthSize < length) break;
      Message message = decodeMessage(rest.substr(kLengthSize, length));
      begin += kLengthSize + length;
      if (!isCall)
         takeReply(event, connection, message);
      else if (message.type == MessageType::kOneWay)
         tellCall(event, {event.time, std::move(message)}, nullptr);
      else
         connection.calls.push_back({event.time, std::move(message)});
   }
   direction.bytes.erase(0, begin);
}

void CallTracer::takeReply(const TraceEvent& event, Connection& connection, const Message& reply)
{
   if (connection.calls.empty()) {
      const std::string problem = "an answer without a call: " + shown(reply.method);
      tell(event, {{"event", "stray"}, {"method", reply.method}, {"members", reply.members}},
           {{problem, Colour::kBad}});
      return;
   }
   const Call call = std::move(connection.calls.front());
   connection.calls.pop_front();
   tellCall(event, call, &reply);
}

void CallTracer::tellCall(const TraceEvent& event, const Call& call, const Message* reply)
{
   Json members = {
      {"event", "call"}, {"method", call.message.method}, {"arguments", call.message.members}};
   std::vector<Part> parts = {{callText(call.message)}};
   const auto add = [&](const char* name, const Json& value, const std::string& text,
                        Colour colour = Colour::kNone) {
      members[name] = value;
      parts.push_back({text, colour});
   };
   if (!call.message.problem.empty())
      add("callProblem", call.message.problem, " [" + call.message.problem + "]", Colour::kBad);
   if (!reply) {
      const bool isWanted = call.message.type != MessageType::kOneWay;
      add("answered", false, isWanted ? "  no answer" : "  wants no answer", Colour::kBad);
   } else if (!reply->problem.empty()) {
      add("problem", reply->problem, "  answer: " + reply->problem, Colour::kBad);
   } else if (reply->type == MessageType::kException) {
      add("exception", reply->members, "  NOT UNDERSTOOD " + valueText(reply->members),
          Colour::kBad);
   } else if (reply->members.contains("status")) {
      const Json& status = reply->members["status"];
      const Json text = status.is_object() ? status.value("description", Json("")) : Json("");
      const std::string code =
         status.contains("code") ? valueText(status["code"]) : "without a code";
      add("refused", status,
          "  REFUSED " + code + " " + cut(shown(text.is_string() ? text.get<std::string>() : "")),
          Colour::kBad);
   } else if (reply->members.contains("success")) {
      const Json& answer = reply->members["success"];
      add("answer", answer, " = " + cut(valueText(answer)));
   }
   if (reply) {
      const double ms = std::chrono::duration<double, std::milli>(event.time - call.begin).count();
      std::array<char, 40> text;
      std::snprintf(text.data(), text.size(), "  %.2f ms", ms);
      add("ms", ms, text.data(), Colour::kFaint);
      if (reply->method != call.message.method)
         add("answerOf", reply->method, " [the answer is one to " + shown(reply->method) + "]",
             Colour::kBad);
   }
   tell(event, members, parts);
}

} // namespace zerovactl
