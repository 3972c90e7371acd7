// What a host pays for loading the library, beside the library that is built on the system's shared
// Thrift and Lua. Each measurement is a process of its own, since a process loads for the first time
// only once; what is the reference's own is what it brings in beyond the runtime that ours needs too.
#include "bench/report.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr int kRounds = 51;

[[noreturn]] void fail(const std::string& what)
{
   std::fprintf(stderr, "%s\n", what.c_str());
   std::exit(1);
}

struct SharedObject
{
   std::string file;
   double relocations;
};

// As load_once tells them.
struct Loading
{
   double first;
   double whileLoaded;
   double afterUnloading;
   double memory; // KiB, among it pages of files that this process alone has mapped
   double written;
   double pageFaults; // of the first
   std::vector<SharedObject> objects;
};

// The output of load_once, run as a process of its own.
std::string run(const std::vector<const char*>& arguments)
{
   int ends[2];
   if (pipe(ends) != 0) fail("no pipe");
   const pid_t child = fork();
   if (child < 0) fail("no process");
   if (child == 0) {
      dup2(ends[1], STDOUT_FILENO);
      close(ends[0]);
      close(ends[1]);
      std::vector<char*> argv;
      for (const char* argument : arguments)
         argv.push_back(const_cast<char*>(argument));
      argv.push_back(nullptr);
      execv(argv[0], argv.data());
      _exit(127);
   }
   close(ends[1]);
   std::string output;
   char piece[4096];
   for (ssize_t size = 0; (size = read(ends[0], piece, sizeof piece)) > 0;)
      output.append(piece, static_cast<size_t>(size));
   close(ends[0]);
   int status = 0;
   if (waitpid(child, &status, 0) != child || !WIFEXITED(status) || WEXITSTATUS(status) != 0)
      fail(std::string(arguments[0]) + " failed on " + arguments[1]);
   return output;
}

struct Host
{
   const char* name;
   std::vector<const char*> libraries; // that it has loaded for itself
};

Loading loadOnce(const char* library, const Host& host)
{
   std::vector<const char*> arguments = {ZEROVA_LOAD_ONCE, library};
   arguments.insert(arguments.end(), host.libraries.begin(), host.libraries.end());
   std::istringstream output(run(arguments));
   Loading result{};
   output >> result.first >> result.whileLoaded >> result.afterUnloading >> result.memory >>
      result.written >> result.pageFaults;
   if (!output) fail(std::string("load_once tells nothing of ") + library);
   for (SharedObject object; output >> object.relocations >> object.file;)
      result.objects.push_back(object);
   return result;
}

std::vector<double> samplesOf(const std::vector<Loading>& loadings, double Loading::*figure)
{
   std::vector<double> samples;
   for (const Loading& loading : loadings)
      samples.push_back(loading.*figure);
   return samples;
}

void measureHost(bench::Report& report, const Host& host)
{
   std::vector<Loading> ours;
   std::vector<Loading> system;
   for (int round = 0; round < kRounds; ++round) {
      ours.push_back(loadOnce(ZEROVA_LIBRARY, host));
      system.push_back(loadOnce(ZEROVA_SYSTEM_LIBRARY, host));
   }
   const auto compare = [&](const char* what, double Loading::*figure, const char* unit,
                            bench::Goal goal) {
      report.compare(std::string(what) + ", " + host.name,
                     {samplesOf(ours, figure), samplesOf(system, figure)}, unit, goal);
   };
   const bench::Goal goal = bench::atMost(0.4);
   compare("first load", &Loading::first, "us", goal);
   compare("load after unloading", &Loading::afterUnloading, "us", goal);
   compare("load while loaded", &Loading::whileLoaded, "us", bench::noGoal());
   compare("private memory", &Loading::written, "KiB", goal);
   compare("with pages of files that nobody shares", &Loading::memory, "KiB", bench::noGoal());
   compare("page faults", &Loading::pageFaults, "", bench::noGoal());
}

// Pages of a file that was only just built, and is not on the disk yet, count as written to.
void writeBack(const char* library)
{
   const int file = open(library, O_RDONLY | O_CLOEXEC);
   if (file < 0 || fsync(file) != 0) fail(std::string("cannot write back ") + library);
   close(file);
}

double megabytes(const std::string& file)
{
   struct stat status;
   if (stat(file.c_str(), &status) != 0) fail("no file " + file);
   return static_cast<double>(status.st_size) / 1e6;
}

struct Weight
{
   double relocations = 0;
   double megabytes = 0;
};

// The library, and of what it brings into a program in C that which is not the runtime of C++.
Weight weigh(const char* library, const std::set<std::string>& runtime)
{
   Weight sum;
   for (const SharedObject& object : loadOnce(library, {"", {}}).objects) {
      if (runtime.contains(object.file)) continue;
      sum.relocations += object.relocations;
      sum.megabytes += megabytes(object.file);
   }
   return sum;
}

void weighBoth(bench::Report& report, const Host& plain)
{
   std::set<std::string> runtime;
   for (const SharedObject& object : loadOnce("libstdc++.so.6", plain).objects)
      runtime.insert(object.file);
   const Weight ours = weigh(ZEROVA_LIBRARY, runtime);
   const Weight system = weigh(ZEROVA_SYSTEM_LIBRARY, runtime);
   report.compare("relocations", ours.relocations, system.relocations, "", bench::noGoal());
   report.compare("size on disk, stripped", ours.megabytes, system.megabytes, "MB",
                  bench::noGoal());
   report.figure("size of the library, stripped", megabytes(ZEROVA_LIBRARY), "MB",
                 bench::atMost(1.6));
}

} // namespace

int main(int argc, char** argv)
{
   bench::Report report("bench_load", argc, argv);
   if (access(ZEROVA_SYSTEM_LIBRARY, R_OK) != 0)
      fail("no " ZEROVA_SYSTEM_LIBRARY " to compare with; ./dev bench builds it");
   writeBack(ZEROVA_LIBRARY);
   writeBack(ZEROVA_SYSTEM_LIBRARY);
   const Host plain{"program in C", {}};
   const Host cxx{"program in C++", {"libstdc++.so.6"}};
   measureHost(report, plain);
   measureHost(report, cxx);
   weighBoth(report, plain);
   return report.finish();
}
