// A bench and its routes as a picture.
#ifndef TOOLS_SIMULATOR_PICTURE_H
#define TOOLS_SIMULATOR_PICTURE_H

#include "tools/simulator/bench.h"
#include "tools/simulator/graphviz.h"

#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace zerova::simulator {

// The text that Graphviz draws: devices with their terminals, lines, connections that the file lists, and
// the routes that hold what they are on, programmed ones in full and reserved ones dashed.
std::string dotOf(const Bench& bench);

// True for the two kinds of pictures, by the file's name.
bool isPictureName(const std::string& file);

// Writes the text as FILE.dot, or what Graphviz draws of it as FILE.svg. Whoever reads the file meanwhile
// sees the old picture or the new one. Returns a sentence for the user, empty if all went well: without
// Graphviz the text stands beside where the picture would be. It does so, too, when Graphviz fails, which
// throws std::runtime_error.
std::string writePicture(const std::string& dot, const std::string& file, const Patience& patience);

// Draws on a thread of its own, so that nobody waits for it. Of pictures that are due at once the last is
// drawn. At the end the last is given five seconds more.
class Painter
{
public:
   // say gets each sentence once.
   Painter(std::string file, std::function<void(const std::string&)> say);
   ~Painter();
   Painter(const Painter&) = delete;
   Painter& operator=(const Painter&) = delete;

   void draw(std::string dot);

private:
   void paint();

   const std::string file_;
   const std::function<void(const std::string&)> say_;
   std::mutex mutex_;
   std::condition_variable changed_;
   std::optional<std::string> due_;
   bool isEnding_ = false;
   std::optional<Patience> patience_; // of the picture that is drawn now
   std::thread thread_;               // last: it uses the rest
};

} // namespace zerova::simulator

#endif
