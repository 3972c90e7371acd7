// Draws by Graphviz, as a program beside this one.
#ifndef TOOLS_SIMULATOR_GRAPHVIZ_H
#define TOOLS_SIMULATOR_GRAPHVIZ_H

#include <atomic>
#include <chrono>
#include <string>

namespace zerova::simulator {

// How long a picture may take. Any thread may make it less.
class Patience
{
public:
   using Clock = std::chrono::steady_clock;

   explicit Patience(std::chrono::milliseconds time)
      : end_(Clock::now() + time)
   {
   }

   void endWithin(std::chrono::milliseconds time)
   {
      const Clock::time_point end = Clock::now() + time;
      if (end < end_.load()) end_ = end;
   }
   bool isOver() const { return Clock::now() >= end_.load(); }

private:
   std::atomic<Clock::time_point> end_;
};

enum class Drawing
{
   kDone,
   kFailed,
   kTookTooLong, // and was ended
   kNoGraphviz
};

// Draws the text of one file as a picture in the other. Throws std::runtime_error when the program is there
// and cannot be started.
Drawing drawByGraphviz(const std::string& text, const std::string& picture,
                       const Patience& patience);

} // namespace zerova::simulator

#endif
