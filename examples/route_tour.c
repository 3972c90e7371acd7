/* A tour of the library: everything a driver does with routes, step by step, told on the terminal.
 *
 *    route_tour [REMOTE_HOST [UNREACHABLE_HOST]]
 *
 * Needs a routing service on this machine and one on REMOTE_HOST (127.0.0.1 if it is not given)
 * that has the devices of the laboratory. On UNREACHABLE_HOST nobody may listen. Ends with 0
 * if every step went as it should. */
#include <zerovaapi.h>

#include <quelerr_status.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/* Telling and checking. */

static void chapter(const char* title)
{
   printf("\n== %s\n", title);
}

/* Ends the tour if the chain of calls before has left anything in the status: a code above 0 is a
 * call that failed, too. */
static void expectSuccess(const quelerr_Status* status, const char* what)
{
   if (status->code == 0) return;
   fprintf(stderr, "route_tour: %s: status %d %s\n", what, (int)status->code,
           status->json ? status->json : "");
   exit(EXIT_FAILURE);
}

/* The same for a call whose result is a pointer. A service can refuse without a code; then only the
 * null tells. */
static void expectResult(const void* result, const quelerr_Status* status, const char* what)
{
   expectSuccess(status, what);
   if (result) return;
   fprintf(stderr, "route_tour: %s: no result, and no code that tells why\n", what);
   exit(EXIT_FAILURE);
}

static void expect(bool condition, const char* what)
{
   if (condition) return;
   fprintf(stderr, "route_tour: it does not hold that %s\n", what);
   exit(EXIT_FAILURE);
}

/* Shows a failure that the tour wanted, and makes the status usable again. */
static void showFailure(quelerr_Status* status, const char* what)
{
   if (status->code == 0) {
      fprintf(stderr, "route_tour: %s did not fail\n", what);
      exit(EXIT_FAILURE);
   }
   printf("%s failed, as it should.\n   code %d\n   json %s\n", what, (int)status->code,
          status->json ? status->json : "(none)");
   status->code = 0;
}

/* Devices and terminals. */

static bool isListed(zerovaapi_Session session, const char* device, quelerr_Status* status)
{
   bool found = false;
   char** const devices = zerovaapi_getRoutableDevices(session, status);
   char** name;
   expectResult(devices, status, "listing the devices");
   for (name = devices; *name; ++name)
      found = found || strcmp(*name, device) == 0;
   zerovaapi_destroyStringArray(devices);
   return found;
}

static void listDevices(zerovaapi_Session session, quelerr_Status* status)
{
   char** const devices = zerovaapi_getRoutableDevices(session, status);
   char** name;
   expectResult(devices, status, "listing the devices");
   printf("The service can route on:");
   for (name = devices; *name; ++name)
      printf(" %s", *name);
   printf("\n");
   zerovaapi_destroyStringArray(devices);
}

/* Attributes that every terminal has. */

static const char* textOf(zerovaapi_TerminalContainer terminals, zerovaapi_Iterator i,
                          const char* name, quelerr_Status* status)
{
   const char* const text =
      zerovaapi_TerminalIterator_getStringAttribute(terminals, i, name, status);
   char what[64];
   snprintf(what, sizeof what, "reading the attribute %s", name);
   expectResult(text, status, what);
   return text;
}

static bool flagOf(zerovaapi_TerminalContainer terminals, zerovaapi_Iterator i, const char* name,
                   quelerr_Status* status)
{
   const bool flag = zerovaapi_TerminalIterator_getBoolAttribute(terminals, i, name, status);
   char what[64];
   snprintf(what, sizeof what, "reading the attribute %s", name);
   expectSuccess(status, what);
   return flag;
}

/* Prints the terminals with some attributes: a string or two, flags that are set, and the owner. A
 * terminal has an owner only while it is in use, and one that is not there leaves an error: it is
 * read with a status of its own, so that the tour's stays clean. */
static void printTerminals(zerovaapi_TerminalContainer terminals, quelerr_Status* status)
{
   zerovaapi_Iterator i = zerovaapi_TerminalContainer_begin(terminals);
   quelerr_Status own;
   quelerr_heapStatus_init(&own);
   for (; !zerovaapi_TerminalIterator_isEnd(terminals, i); zerovaapi_TerminalIterator_next(&i)) {
      const char* const name = textOf(terminals, i, "Name", status);
      const char* const kind = textOf(terminals, i, "Kind", status);
      const bool isSource = flagOf(terminals, i, "IsSource", status);
      const bool isDestination = flagOf(terminals, i, "IsDestination", status);
      const char* const owner =
         zerovaapi_TerminalIterator_getStringAttribute(terminals, i, "Owner", &own);
      printf("   %-26s %s%s%s%s%s\n", name, kind, isSource ? ", source" : "",
             isDestination ? ", destination" : "", owner ? ", owned by " : "", owner ? owner : "");
      own.code = 0;
   }
   quelerr_heapStatus_release(&own);
}

static void listTerminals(zerovaapi_Session session, const char* device, quelerr_Status* status)
{
   static const char* const kNames[] = {"Name", "Kind", "IsSource", "IsDestination", "Owner", NULL};
   zerovaapi_TerminalContainer const terminals =
      zerovaapi_getTerminalNamesAndAttributesForDevice(session, device, kNames, status);
   expectResult(terminals, status, "listing terminals");
   printf("The terminals of %s:\n", device);
   printTerminals(terminals, status);
   zerovaapi_TerminalContainer_destroy(terminals);
}

/* True while a reserved route uses the terminal of the device. */
static bool isInUse(zerovaapi_Session session, const char* device, const char* uri,
                    quelerr_Status* status)
{
   zerovaapi_TerminalContainer const terminals =
      zerovaapi_getTerminalNamesAndAttributesForDevice(session, device, NULL, status);
   zerovaapi_Iterator i = zerovaapi_TerminalContainer_begin(terminals);
   bool inUse = false;
   expectResult(terminals, status, "reading terminals");
   for (; !zerovaapi_TerminalIterator_isEnd(terminals, i); zerovaapi_TerminalIterator_next(&i))
      if (strcmp(textOf(terminals, i, "Name", status), uri) == 0)
         inUse = flagOf(terminals, i, "InUse", status);
   zerovaapi_TerminalContainer_destroy(terminals);
   return inUse;
}

/* A route through all its states. */

static void printRoute(zerovaapi_Session session, int32_t ticket, quelerr_Status* status)
{
   zerovaapi_DeviceContainer const devices = zerovaapi_getRouteInfo(session, ticket, status);
   zerovaapi_Iterator i = zerovaapi_DeviceContainer_begin(devices);
   expectResult(devices, status, "reading a route's devices");
   for (; !zerovaapi_DeviceIterator_isEnd(devices, i); zerovaapi_DeviceIterator_next(&i)) {
      printf("It passes %s:\n", zerovaapi_DeviceIterator_getDeviceName(devices, i));
      /* The terminals belong to the device container and go with it. */
      printTerminals(zerovaapi_DeviceIterator_getTerminalContainer(devices, i), status);
   }
   zerovaapi_DeviceContainer_destroy(devices);
}

static zerovaapi_RouteAttributes makeAttributes(quelerr_Status* status)
{
   zerovaapi_RouteAttributes const attributes = zerovaapi_RouteAttributes_new(status);
   expectResult(attributes, status, "making route attributes"); /* the maps are taken from it */
   /* All of these do nothing once the status holds an error, so one test at the end is enough. */
   zerovaapi_RouteAttributes_setOwnerName(attributes, "route tour", status);
   zerovaapi_RouteAttributes_setLifetime(attributes, zerovaapi_kLifetimeSession, status);
   zerovaapi_RouteConstraints_setStringConstraint(
      zerovaapi_RouteAttributes_getConstraints(attributes), "Line", "trigger_line1", status);
   zerovaapi_RouteConstraints_setStringConstraint(
      zerovaapi_RouteAttributes_getSourceConstraints(attributes), "Connector", "front", status);
   zerovaapi_RouteConstraints_setBoolConstraint(
      zerovaapi_RouteAttributes_getDestinationConstraints(attributes), "IsSource", false, status);
   zerovaapi_RouteModifiers_setBoolModifier(
      zerovaapi_RouteAttributes_getRequiredModifiers(attributes), "Invert", true, status);
   zerovaapi_RouteModifiers_setStringModifier(
      zerovaapi_RouteAttributes_getOptionalModifiers(attributes), "Filter", "fast", status);
   zerovaapi_RouteModifiers_setStringModifier(
      zerovaapi_RouteAttributes_getDestinationRequiredModifiers(attributes), "Filter", "slow",
      status);
   expectSuccess(status, "setting route attributes");
   return attributes;
}

static void tourRoute(zerovaapi_Session session, quelerr_Status* status)
{
   zerovaapi_RouteAttributes const attributes = makeAttributes(status);
   const int32_t ticket =
      zerovaapi_calculateRoute(session, "/timer1/pulse", "/digitizer3/start", attributes, status);
   zerovaapi_RouteAttributes_destroy(attributes);
   expectSuccess(status, "calculating a route");
   printf("Calculated a route from /timer1/pulse to /digitizer3/start by way of trigger_line1,\n"
          "inverted, and got the ticket %d.\n",
          (int)ticket);
   printRoute(session, ticket, status);

   zerovaapi_reserveRoute(session, ticket, status);
   expectSuccess(status, "reserving the route");
   expect(isInUse(session, "digitizer3", "/digitizer3/start", status),
          "the destination of a reserved route is in use");
   printf("Reserved it: /digitizer3/start is now in use, and its terminals have an owner.\n");
   printRoute(session, ticket, status);

   zerovaapi_programRoute(session, ticket, status);
   expectSuccess(status, "programming the route");
   printf("Programmed it: the devices are connected.\n");

   zerovaapi_unprogramRoute(session, ticket, status);
   zerovaapi_unreserveRoute(session, ticket, status);
   zerovaapi_destroyRoute(session, ticket, status);
   expectSuccess(status, "taking the route back");
   expect(!isInUse(session, "digitizer3", "/digitizer3/start", status),
          "the destination is free again");
   printf("Unprogrammed, unreserved and destroyed it.\n");
}

static void tourUris(zerovaapi_Session session, quelerr_Status* status)
{
   const bool valid = zerovaapi_validateTerminalURI(session, "/timer1/pulse", status);
   const bool invalid = zerovaapi_validateTerminalURI(session, "/timer1/teapot", status);
   const bool same =
      zerovaapi_areTerminalURIsEqual(session, "/timer1/pulse", "TIMER1//pulse/", status);
   const bool other =
      zerovaapi_areTerminalURIsEqual(session, "/timer1/pulse", "/timer1/gate", status);
   expectSuccess(status, "asking about URIs");
   expect(valid && !invalid, "/timer1/pulse is a terminal and /timer1/teapot is none");
   expect(same && !other, "two spellings name one terminal, two terminals are two");
   printf("/timer1/pulse is a terminal, /timer1/teapot is not.\n"
          "/timer1/pulse and TIMER1//pulse/ are the same terminal, /timer1/gate is another.\n");
}

/* Immediate routes. */

static void makeImmediateRoute(zerovaapi_Session session, const char* source,
                               const char* destination, quelerr_Status* status)
{
   zerovaapi_RouteAttributes const attributes = zerovaapi_RouteAttributes_new(status);
   expectResult(attributes, status, "making route attributes");
   zerovaapi_RouteAttributes_setLifetime(attributes, zerovaapi_kLifetimeImmediate, status);
   zerovaapi_RouteAttributes_setCalculationTargetState(attributes, zerovaapi_kStateProgrammed,
                                                       status);
   zerovaapi_calculateRoute(session, source, destination, attributes, status);
   zerovaapi_RouteAttributes_destroy(attributes);
   expectSuccess(status, "making an immediate route");
   printf("Made the immediate route %s to %s, programmed at once.\n", source, destination);
}

static void expectReleased(zerovaapi_Session session, const char* device, const char* uri,
                           const char* how, quelerr_Status* status)
{
   expectSuccess(status, "releasing immediate routes");
   expect(!isInUse(session, device, uri, status), "a released route's destination is free");
   printf("   Released %s: %s is free.\n", how, uri);
}

static void tourImmediateRoutes(zerovaapi_Session session, quelerr_Status* status)
{
   makeImmediateRoute(session, "/matrix1/ch0", "/matrix1/ch1", status);
   zerovaapi_destroyImmediateRoute(session, "/matrix1/ch0", "/matrix1/ch1", status);
   expectReleased(session, "matrix1", "/matrix1/ch1", "by its two ends", status);

   makeImmediateRoute(session, "/matrix1/ch0", "/matrix1/ch2", status);
   makeImmediateRoute(session, "/matrix1/ch0", "/matrix1/ch3", status);
   zerovaapi_destroyImmediateRoutesFromSource(session, "/matrix1/ch0", status);
   expectReleased(session, "matrix1", "/matrix1/ch2", "by their source", status);
   expectReleased(session, "matrix1", "/matrix1/ch3", "by their source", status);

   makeImmediateRoute(session, "/scanner2/in0", "/digitizer3/input0", status);
   zerovaapi_destroyImmediateRoutesToDest(session, "/digitizer3/input0", status);
   expectReleased(session, "digitizer3", "/digitizer3/input0", "by its destination", status);

   makeImmediateRoute(session, "/timer1/osc", "/digitizer3/refclk", status);
   zerovaapi_destroyImmediateRoutesOnDevice(session, "timer1", status);
   expectReleased(session, "digitizer3", "/digitizer3/refclk", "by a device on its way", status);
}

/* Resets and change numbers. */

static void tourResets(zerovaapi_Session session, quelerr_Status* status)
{
   const int32_t ticket =
      zerovaapi_calculateRoute(session, "/matrix1/ch0", "/matrix1/ch1", NULL, status);
   int32_t reset;
   zerovaapi_reserveRoute(session, ticket, status);
   zerovaapi_resetTerminal(session, "/matrix1/ch1", "disconnect", status);
   expectSuccess(status, "resetting a terminal");
   expect(!isInUse(session, "matrix1", "/matrix1/ch1", status), "a reset terminal is free");
   printf("Reset the terminal /matrix1/ch1: the route to it is no longer reserved.\n");

   zerovaapi_reserveRoute(session, ticket, status);
   reset = zerovaapi_calculateResetTerminal(session, "/matrix1/ch1", "disconnect", status);
   zerovaapi_reserveRoute(session, reset, status);
   zerovaapi_programRoute(session, reset, status);
   expectSuccess(status, "carrying out a calculated reset");
   expect(!isInUse(session, "matrix1", "/matrix1/ch1", status), "a reset terminal is free");
   printf("Did the same with a reset that was calculated first and then programmed.\n");
   zerovaapi_unprogramRoute(session, reset, status);
   zerovaapi_unreserveRoute(session, reset, status);
   zerovaapi_destroyRoute(session, reset, status);
   zerovaapi_destroyRoute(session, ticket, status);
   expectSuccess(status, "cleaning up");

   zerovaapi_initiateDeviceReset(session, "matrix1", status);
   expect(!isListed(session, "matrix1", status), "a device in reset cannot be routed on");
   printf("Initiated a reset of matrix1: it takes no routes.\n");
   zerovaapi_completeDeviceReset(session, "matrix1", status);
   expect(isListed(session, "matrix1", status), "a device takes routes after its reset");
   printf("Completed it: matrix1 takes routes again.\n");
}

static void tourChanges(zerovaapi_Session session, quelerr_Status* status)
{
   const int32_t number = zerovaapi_getSystemChangeNumber(session, status);
   const bool before = zerovaapi_hasTerminalInformationChanged(session, number, status);
   const int32_t ticket =
      zerovaapi_calculateRoute(session, "/matrix1/ch0", "/matrix1/ch1", NULL, status);
   bool after;
   zerovaapi_reserveRoute(session, ticket, status);
   after = zerovaapi_hasTerminalInformationChanged(session, number, status);
   zerovaapi_unreserveRoute(session, ticket, status);
   zerovaapi_destroyRoute(session, ticket, status);
   expectSuccess(status, "polling the change number");
   expect(!before && after, "reserving a route changes terminal information");
   printf("The change number is %d. Terminals had not changed since; after a route was reserved\n"
          "they had.\n",
          (int)number);
}

/* Two sessions, two failures. */

static void tourRemote(zerovaapi_Session remote, zerovaapi_Session local, quelerr_Status* status)
{
   const int32_t ticket =
      zerovaapi_calculateRoute(remote, "/scanner2/in1", "/digitizer3/input1", NULL, status);
   expectSuccess(status, "calculating a route over the remote session");
   printf("Calculated the route %d over TCP. The session on this machine sees it too.\n",
          (int)ticket);
   printRoute(local, ticket, status);
   zerovaapi_destroyRoute(remote, ticket, status);
   expectSuccess(status, "destroying a route over the remote session");
}

static void tourFailures(zerovaapi_Session session, const char* unreachable, quelerr_Status* status)
{
   const int32_t ticket =
      zerovaapi_calculateRoute(session, "/matrix1/ch0", "/matrix1/ch1", NULL, status);
   expectSuccess(status, "calculating a route");
   zerovaapi_programRoute(session, ticket, status);
   showFailure(status, "Programming a route that is not reserved");
   zerovaapi_destroyRoute(session, ticket, status);
   expectSuccess(status, "going on after a refusal");
   printf("The session goes on working.\n\n");

   printf("Nobody serves on %s. The library tries for 5 seconds ...\n", unreachable);
   fflush(stdout);
   expect(zerovaapi_createRemoteSession(unreachable, status) == NULL,
          "there is no session without a service");
   expect(status->code == -89168, "a service that is not there gives -89168");
   showFailure(status, "Opening a session");
}

int main(int argc, char** argv)
{
   const char* const host = argc > 1 ? argv[1] : "127.0.0.1";
   const char* const unreachable = argc > 2 ? argv[2] : "127.255.255.254";
   zerovaapi_Session local;
   zerovaapi_Session immediate;
   zerovaapi_Session remote;
   quelerr_Status status;
   quelerr_heapStatus_init(&status);

   chapter("Sessions");
   local = zerovaapi_createSession(&status);
   expectResult(local, &status, "opening a session on this machine");
   immediate = zerovaapi_createImmediateSession(&status);
   expectResult(immediate, &status, "opening a session for immediate routes");
   remote = zerovaapi_createRemoteSession(host, &status);
   expectResult(remote, &status, "opening a remote session");
   printf("Opened one on this machine, one for immediate routes and one to %s.\n", host);
   printf("The service is a %s one.\n", zerovaapi_isDebug(local, &status) ? "debug" : "release");
   expectSuccess(&status, "asking for the kind of service");

   chapter("Devices and terminals");
   listDevices(local, &status);
   listTerminals(local, "timer1", &status);

   chapter("A route and its states");
   tourRoute(local, &status);

   chapter("Terminal URIs");
   tourUris(local, &status);

   chapter("Immediate routes");
   tourImmediateRoutes(immediate, &status);

   chapter("Resets");
   tourResets(local, &status);

   chapter("Changes");
   tourChanges(local, &status);

   chapter("The remote session");
   tourRemote(remote, local, &status);

   chapter("Failures");
   tourFailures(local, unreachable, &status);

   zerovaapi_destroySession(remote);
   zerovaapi_destroySession(immediate);
   zerovaapi_destroySession(local);
   quelerr_heapStatus_release(&status);
   printf("\nThe tour is over: every step went as it should.\n");
   return EXIT_SUCCESS;
}
