// One use of every exported function, for what holds for all of them when memory runs out.
#ifndef TESTS_FAULTS_EXPORT_USES_H
#define TESTS_FAULTS_EXPORT_USES_H

#include "zerovaapi.h"

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace zerova::test {

// What the uses work on, made beforehand, and what they gave, released afterwards.
struct UseObjects
{
   std::string host;
   zerovaapi_Session session = nullptr;
   zerovaapi_RouteAttributes attributes = nullptr;
   zerovaapi_AttributeMap map = nullptr;
   zerovaapi_DeviceContainer devices = nullptr;
   zerovaapi_TerminalContainer terminals = nullptr;

   zerovaapi_Session givenSession = nullptr;
   zerovaapi_RouteAttributes givenAttributes = nullptr;
   zerovaapi_DeviceContainer givenDevices = nullptr;
   zerovaapi_TerminalContainer givenTerminals = nullptr;
   char* givenText = nullptr;
   char** givenTexts = nullptr;

   // A local session, attributes with entries, and answers of the service. host is for a remote
   // session. Throws std::runtime_error when the service is not there.
   explicit UseObjects(std::string host);
   UseObjects(const UseObjects&) = delete;
   UseObjects& operator=(const UseObjects&) = delete;
   ~UseObjects();

   // Begins the session anew: its buffers still have to grow.
   void renewSession();
   void releaseGiven();
};

enum class Needs
{
   nothing,         // no memory at all: works when there is none
   memory,          // ends in out of memory
   memoryAndThrows, // lets std::bad_alloc out
};

struct ExportUse
{
   std::string name; // without the prefix
   Needs needs;
   // Whether the value was not that of a failure. Nothing but the function itself allocates.
   bool (*use)(UseObjects& on, quelerr_Status* status);
   // What it leaves in a clean status when memory is there.
   int32_t plainCode = 0;
   std::string method = {}; // of the service, if it asks for one
};

// All of them, in the order of the list of exports.
const std::vector<ExportUse>& exportUses();

inline void PrintTo(const ExportUse& use, std::ostream* out)
{
   *out << use.name;
}

// What a service answers whose names are too long to live inside a string object.
std::string longReply(const std::string& method);

} // namespace zerova::test

#endif
