/* Client of the signal-routing service: sessions, routes, devices, terminals.
 *
 * Conventions, which hold for every function unless its comment says otherwise:
 *
 *  1. Status. The last argument is the caller's record (quelerr_status.h); it must not be null.
 *     Every function that takes one looks at it on entry: if it holds an error, the function
 *     looks at no other argument, sends nothing, changes nothing and returns its failure value.
 *     So a chain of calls needs one test at its end. A warning stops nothing. Success writes
 *     nothing to it.
 *  2. Failure. A failed function returns the failure value that its comment names. That value alone
 *     decides nothing, since it can be a right answer too: a negative status.code says failure.
 *  3. Text is UTF-8 and NUL-terminated. A text argument is copied before the call goes on and never
 *     kept; it must not be null and may be empty. The library does not interpret names, URIs or
 *     values: they go to the service as they stand.
 *  4. Handles (the pointer types below) are not checked: null, or a handle that was released, is
 *     not allowed, except where null is named. Every release function takes null and then does
 *     nothing.
 *  5. Ownership. "Owned" results belong to the caller, who releases them with the function named.
 *     "Borrowed" results live inside another object, die with it, and are never released.
 *  6. Blocking. A function with a session argument sends one request and blocks until the service
 *     has answered or the connection has broken; there is no time-out. Functions without one do
 *     not block, apart from the three that create a session.
 *  7. Threads. One session is used by one thread at a time; so is an attribute object, and a status
 *     during a call. Different objects are independent. Several threads may read one container.
 *  8. Call codes are the codes that any function which asks the service can leave:
 *        any        the service's own code, with the text that the service gave, both unchanged;
 *                   the session goes on working. The function has failed, also when the service
 *                   gave a warning or 0
 *        -52024     the connection or the protocol failed; nothing repairs a session, so destroy it
 *                   and create a new one
 *        -52000     out of memory
 *        -52003     any other failure inside the library
 */
#ifndef ZEROVAAPI_H
#define ZEROVAAPI_H

#include "quelerr_status.h"

#include <stdbool.h>
#include <stdint.h>

#if defined(_WIN32)
#if defined(ZEROVAAPI_BUILDING)
#define ZEROVAAPI_EXPORT __declspec(dllexport)
#else
#define ZEROVAAPI_EXPORT __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define ZEROVAAPI_EXPORT __attribute__((visibility("default")))
#else
#define ZEROVAAPI_EXPORT
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* A connection to one service. */
typedef struct zerovaapi_Session_* zerovaapi_Session;
/* How a route is to be calculated. */
typedef struct zerovaapi_RouteAttributes_* zerovaapi_RouteAttributes;
/* One of the six maps inside a zerovaapi_RouteAttributes. */
typedef struct zerovaapi_AttributeMap_* zerovaapi_AttributeMap;
/* A sequence of devices, each with a name and a sequence of terminals. */
typedef struct zerovaapi_DeviceContainer_* zerovaapi_DeviceContainer;
/* A sequence of terminals, each a set of named attributes. */
typedef struct zerovaapi_TerminalContainer_* zerovaapi_TerminalContainer;
/* An element index in a container: 0 is the first element, the size is the end. */
typedef uint64_t zerovaapi_Iterator;

/* Values for zerovaapi_RouteAttributes_setLifetime. */
enum
{
   zerovaapi_kLifetimeSession = 0,
   zerovaapi_kLifetimeImmediate = 1
};

/* Values for zerovaapi_RouteAttributes_setCalculationTargetState. */
enum
{
   zerovaapi_kStateCalculated = 0,
   zerovaapi_kStateReserved = 1,
   zerovaapi_kStateProgrammed = 2
};

/* Sessions.
 *
 * Each create function connects and agrees on the protocol version. While the service cannot be
 * reached it tries again, every 50 ms for 5000 ms; an attempt that has begun runs to its end. Codes
 * of all three:
 *    -89168     the service could not be reached within that time; the text is the last attempt's
 *    any        the service refused the version: its own code and text, at once. With a code of 0
 *               or above the status holds no error, and the result is null all the same
 *    -52000     out of memory
 *    -52003     any other failure inside the library */

/* Connects to the service on this machine.
 *
 * Looks at the status on entry. Returns a session, owned: zerovaapi_destroySession. On failure
 * null. */
ZEROVAAPI_EXPORT zerovaapi_Session zerovaapi_createSession(quelerr_Status* status);

/* Connects to the service on another machine, over TCP at the port that the host's locator names.
 *
 * host: name or address, without a port. An empty one connects to no remote machine but to the
 * local endpoint named "Trevanta/Zerova". Looks at the status on entry. Each wait for the locator
 * is bounded by 5000 ms of its own. Returns a session, owned: zerovaapi_destroySession. On
 * failure null. */
ZEROVAAPI_EXPORT zerovaapi_Session zerovaapi_createRemoteSession(const char* host,
                                                                 quelerr_Status* status);

/* Connects to the service on this machine, at its endpoint for immediate routes.
 *
 * The session has the same operations as any other.
 * Looks at the status on entry. Returns a session, owned: zerovaapi_destroySession. On failure
 * null. */
ZEROVAAPI_EXPORT zerovaapi_Session zerovaapi_createImmediateSession(quelerr_Status* status);

/* Closes a session. The service is told by the closing of the connection alone.
 *
 * session: null is allowed. Takes no status, does not block, cannot fail. */
ZEROVAAPI_EXPORT void zerovaapi_destroySession(zerovaapi_Session session);

/* Routes.
 *
 * A route is known by its ticket, a number that the service hands out. The service alone decides
 * which step is legal in which state, and refuses the others with a code of its own. */

/* Calculates a route between two terminals.
 *
 * src_uri, dest_uri: the terminals. attrs: only read, and free for further calls; null stands for
 * an object on which nothing was set. Looks at the status on entry. Returns the route's ticket,
 * for zerovaapi_destroyRoute. On failure 0, and there is no route. Codes: call codes. */
ZEROVAAPI_EXPORT int32_t zerovaapi_calculateRoute(zerovaapi_Session session, const char* src_uri,
                                                  const char* dest_uri,
                                                  zerovaapi_RouteAttributes attrs,
                                                  quelerr_Status* status);

/* Takes a route forward to reserved.
 *
 * ticket: as returned by zerovaapi_calculateRoute; any number is sent unchanged.
 * Looks at the status on entry. Codes: call codes. */
ZEROVAAPI_EXPORT void zerovaapi_reserveRoute(zerovaapi_Session session, int32_t ticket,
                                             quelerr_Status* status);

/* Takes a route forward to programmed.
 *
 * ticket: as returned by zerovaapi_calculateRoute; any number is sent unchanged.
 * Looks at the status on entry. Codes: call codes. */
ZEROVAAPI_EXPORT void zerovaapi_programRoute(zerovaapi_Session session, int32_t ticket,
                                             quelerr_Status* status);

/* Takes a route back from programmed.
 *
 * ticket: as returned by zerovaapi_calculateRoute; any number is sent unchanged.
 * Looks at the status on entry. Codes: call codes. */
ZEROVAAPI_EXPORT void zerovaapi_unprogramRoute(zerovaapi_Session session, int32_t ticket,
                                               quelerr_Status* status);

/* Takes a route back from reserved.
 *
 * ticket: as returned by zerovaapi_calculateRoute; any number is sent unchanged.
 * Looks at the status on entry. Codes: call codes. */
ZEROVAAPI_EXPORT void zerovaapi_unreserveRoute(zerovaapi_Session session, int32_t ticket,
                                               quelerr_Status* status);

/* Ends a route and its ticket.
 *
 * ticket: as returned by zerovaapi_calculateRoute; any number is sent unchanged.
 * Looks at the status on entry. Codes: call codes. */
ZEROVAAPI_EXPORT void zerovaapi_destroyRoute(zerovaapi_Session session, int32_t ticket,
                                             quelerr_Status* status);

/* Reads the devices and terminals that a route uses, in the service's order.
 *
 * ticket: as returned by zerovaapi_calculateRoute; any number is sent unchanged.
 * Looks at the status on entry. Returns a container, possibly empty, owned:
 * zerovaapi_DeviceContainer_destroy. It outlives the session. On failure null. Codes: call codes.
 * */
ZEROVAAPI_EXPORT zerovaapi_DeviceContainer zerovaapi_getRouteInfo(zerovaapi_Session session,
                                                                  int32_t ticket,
                                                                  quelerr_Status* status);

/* Gives the fixed text "[]" for any route, without asking the service.
 *
 * session, ticket: ignored; a null session is allowed. Does not block.
 * Looks at the status on entry. Returns a text, owned: zerovaapi_destroyString. On failure null.
 * Code: -52000, out of memory. */
ZEROVAAPI_EXPORT char* zerovaapi_showRoute(zerovaapi_Session session, int32_t ticket,
                                           quelerr_Status* status);

/* Immediate routes.
 *
 * A route whose lifetime is zerovaapi_kLifetimeImmediate is released by its ends or its device. */

/* Destroys the immediate route between two terminals.
 *
 * src_uri, dest_uri: the terminals.
 * Looks at the status on entry. Codes: call codes. */
ZEROVAAPI_EXPORT void zerovaapi_destroyImmediateRoute(zerovaapi_Session session,
                                                      const char* src_uri, const char* dest_uri,
                                                      quelerr_Status* status);

/* Destroys all immediate routes on a device.
 *
 * deviceAlias: the device.
 * Looks at the status on entry. Codes: call codes. */
ZEROVAAPI_EXPORT void zerovaapi_destroyImmediateRoutesOnDevice(zerovaapi_Session session,
                                                               const char* deviceAlias,
                                                               quelerr_Status* status);

/* Destroys all immediate routes that begin at a terminal.
 *
 * src_uri: the terminal.
 * Looks at the status on entry. Codes: call codes. */
ZEROVAAPI_EXPORT void zerovaapi_destroyImmediateRoutesFromSource(zerovaapi_Session session,
                                                                 const char* src_uri,
                                                                 quelerr_Status* status);

/* Destroys all immediate routes that end at a terminal.
 *
 * dest_uri: the terminal.
 * Looks at the status on entry. Codes: call codes. */
ZEROVAAPI_EXPORT void zerovaapi_destroyImmediateRoutesToDest(zerovaapi_Session session,
                                                             const char* dest_uri,
                                                             quelerr_Status* status);

/* Retired: always fails and sends nothing. Use zerovaapi_destroyImmediateRoutesOnDevice or reset
 * the device instead.
 *
 * session: ignored; null is allowed. Does not block.
 * Looks at the status on entry. Code: -52002, always. */
ZEROVAAPI_EXPORT void zerovaapi_destroyAllImmediateRoutes(zerovaapi_Session session,
                                                          quelerr_Status* status);

/* Route attributes.
 *
 * Only what was set is sent; for the rest the service applies its own defaults. */

/* Makes an attribute object on which nothing is set.
 *
 * Looks at the status on entry. Returns the object, owned: zerovaapi_RouteAttributes_destroy. On
 * failure null. Code: -52000, out of memory. */
ZEROVAAPI_EXPORT zerovaapi_RouteAttributes zerovaapi_RouteAttributes_new(quelerr_Status* status);

/* Releases an attribute object, and with it the six maps inside.
 *
 * attrs: null is allowed. Takes no status, cannot fail. */
ZEROVAAPI_EXPORT void zerovaapi_RouteAttributes_destroy(zerovaapi_RouteAttributes attrs);

/* Sets how long the route lives.
 *
 * lifetime: zerovaapi_kLifetimeImmediate; every other number counts as zerovaapi_kLifetimeSession.
 * Looks at the status on entry. Leaves no code. */
ZEROVAAPI_EXPORT void zerovaapi_RouteAttributes_setLifetime(zerovaapi_RouteAttributes attrs,
                                                            int32_t lifetime,
                                                            quelerr_Status* status);

/* Sets the state to which zerovaapi_calculateRoute takes the route.
 *
 * state: zerovaapi_kStateReserved or zerovaapi_kStateProgrammed; every other number counts as
 * zerovaapi_kStateCalculated.
 * Looks at the status on entry. Leaves no code. */
ZEROVAAPI_EXPORT void
zerovaapi_RouteAttributes_setCalculationTargetState(zerovaapi_RouteAttributes attrs, int32_t state,
                                                    quelerr_Status* status);

/* Sets whether the route must span several devices.
 *
 * force: stored as it is given.
 * Looks at the status on entry. Leaves no code. */
ZEROVAAPI_EXPORT void
zerovaapi_RouteAttributes_setForceMultiDeviceRoute(zerovaapi_RouteAttributes attrs, bool force,
                                                   quelerr_Status* status);

/* Sets the name of the route's owner.
 *
 * name: an empty one is sent too.
 * Looks at the status on entry. Leaves no code: when memory runs out, a C++ std::bad_alloc leaves
 * the function. */
ZEROVAAPI_EXPORT void zerovaapi_RouteAttributes_setOwnerName(zerovaapi_RouteAttributes attrs,
                                                             const char* name,
                                                             quelerr_Status* status);

/* Gives the map of constraints on the whole route.
 *
 * The call alone marks the map as set: from then on it is sent, even while it is empty.
 * Takes no status, cannot fail. Returns a map, borrowed from attrs. */
ZEROVAAPI_EXPORT zerovaapi_AttributeMap
zerovaapi_RouteAttributes_getConstraints(zerovaapi_RouteAttributes attrs);

/* Gives the map of constraints on the source, and marks it as set.
 *
 * Takes no status, cannot fail. Returns a map, borrowed from attrs. */
ZEROVAAPI_EXPORT zerovaapi_AttributeMap
zerovaapi_RouteAttributes_getSourceConstraints(zerovaapi_RouteAttributes attrs);

/* Gives the map of constraints on the destination, and marks it as set.
 *
 * Takes no status, cannot fail. Returns a map, borrowed from attrs. */
ZEROVAAPI_EXPORT zerovaapi_AttributeMap
zerovaapi_RouteAttributes_getDestinationConstraints(zerovaapi_RouteAttributes attrs);

/* Gives the map of optional modifiers, and marks it as set.
 *
 * Takes no status, cannot fail. Returns a map, borrowed from attrs. */
ZEROVAAPI_EXPORT zerovaapi_AttributeMap
zerovaapi_RouteAttributes_getOptionalModifiers(zerovaapi_RouteAttributes attrs);

/* Gives the map of required modifiers, and marks it as set.
 *
 * Takes no status, cannot fail. Returns a map, borrowed from attrs. */
ZEROVAAPI_EXPORT zerovaapi_AttributeMap
zerovaapi_RouteAttributes_getRequiredModifiers(zerovaapi_RouteAttributes attrs);

/* Gives the map of required modifiers of the destination, and marks it as set.
 *
 * Takes no status, cannot fail. Returns a map, borrowed from attrs. */
ZEROVAAPI_EXPORT zerovaapi_AttributeMap
zerovaapi_RouteAttributes_getDestinationRequiredModifiers(zerovaapi_RouteAttributes attrs);

/* Sets an entry of a map to a boolean.
 *
 * map: any of the six; the Constraints and Modifiers functions do the same, so that calls read
 * well. name: any text, the empty one too; an entry of that name is set anew. A string that it
 * held is sent along, marked as not the entry's value. Looks at the status on entry. Code:
 * -52000, out of memory; the entry may then be half set. */
ZEROVAAPI_EXPORT void zerovaapi_RouteConstraints_setBoolConstraint(zerovaapi_AttributeMap map,
                                                                   const char* name, bool value,
                                                                   quelerr_Status* status);

/* Sets an entry of a map to a string.
 *
 * map, name: as for zerovaapi_RouteConstraints_setBoolConstraint. A boolean that the entry held is
 * sent along, marked as not the entry's value.
 * Looks at the status on entry. Code: -52000, out of memory; the entry may then be half set. */
ZEROVAAPI_EXPORT void zerovaapi_RouteConstraints_setStringConstraint(zerovaapi_AttributeMap map,
                                                                     const char* name,
                                                                     const char* value,
                                                                     quelerr_Status* status);

/* Sets an entry of a map to a boolean, exactly as zerovaapi_RouteConstraints_setBoolConstraint
 * does.
 *
 * map: any of the six. name: any text.
 * Looks at the status on entry. Code: -52000, out of memory; the entry may then be half set. */
ZEROVAAPI_EXPORT void zerovaapi_RouteModifiers_setBoolModifier(zerovaapi_AttributeMap map,
                                                               const char* name, bool value,
                                                               quelerr_Status* status);

/* Sets an entry of a map to a string, exactly as zerovaapi_RouteConstraints_setStringConstraint
 * does.
 *
 * map: any of the six. name, value: any text.
 * Looks at the status on entry. Code: -52000, out of memory; the entry may then be half set. */
ZEROVAAPI_EXPORT void zerovaapi_RouteModifiers_setStringModifier(zerovaapi_AttributeMap map,
                                                                 const char* name,
                                                                 const char* value,
                                                                 quelerr_Status* status);

/* Devices and terminals.
 *
 * A container is walked like this:
 *    for (i = begin(c); !isEnd(c, i); next(&i)) ...
 * It never changes, it holds copies of all that the service answered, and it outlives its
 * session. */

/* Lists the devices on which the service can route.
 *
 * Looks at the status on entry. Returns an array of texts that ends with a null pointer, one block
 * with its texts, owned: zerovaapi_destroyStringArray. No devices give an array of just the null
 * pointer. On failure null. Codes: call codes. */
ZEROVAAPI_EXPORT char** zerovaapi_getRoutableDevices(zerovaapi_Session session,
                                                     quelerr_Status* status);

/* Reads the terminals of a device, in the service's order.
 *
 * dev_name: the device. attribute_names: the attributes wanted, an array of texts that ends with a
 * null pointer; a null array stands for an empty one.
 * Looks at the status on entry. Returns a container, possibly empty, owned:
 * zerovaapi_TerminalContainer_destroy. On failure null. Codes: call codes. */
ZEROVAAPI_EXPORT zerovaapi_TerminalContainer zerovaapi_getTerminalNamesAndAttributesForDevice(
   zerovaapi_Session session, const char* dev_name, const char* const* attribute_names,
   quelerr_Status* status);

/* Gives the position of a container's first element.
 *
 * container: ignored. Takes no status, cannot fail. */
ZEROVAAPI_EXPORT zerovaapi_Iterator
zerovaapi_DeviceContainer_begin(zerovaapi_DeviceContainer container);

/* Gives the position of a container's first element; one function with
 * zerovaapi_DeviceContainer_begin.
 *
 * container: ignored. Takes no status, cannot fail. */
ZEROVAAPI_EXPORT zerovaapi_Iterator
zerovaapi_TerminalContainer_begin(zerovaapi_TerminalContainer container);

/* Moves a position on by one element. Nothing stops it at the end.
 *
 * iterator: not null. Takes no status, cannot fail. */
ZEROVAAPI_EXPORT void zerovaapi_DeviceIterator_next(zerovaapi_Iterator* iterator);

/* Moves a position on by one element; one function with zerovaapi_DeviceIterator_next.
 *
 * iterator: not null. Takes no status, cannot fail. */
ZEROVAAPI_EXPORT void zerovaapi_TerminalIterator_next(zerovaapi_Iterator* iterator);

/* Tells whether a position is at or behind the end of a device container.
 *
 * Takes no status, cannot fail. */
ZEROVAAPI_EXPORT bool zerovaapi_DeviceIterator_isEnd(zerovaapi_DeviceContainer container,
                                                     zerovaapi_Iterator iterator);

/* Tells whether a position is at or behind the end of a terminal container.
 *
 * Takes no status, cannot fail. */
ZEROVAAPI_EXPORT bool zerovaapi_TerminalIterator_isEnd(zerovaapi_TerminalContainer container,
                                                       zerovaapi_Iterator iterator);

/* Gives the name of a device.
 *
 * iterator: ask zerovaapi_DeviceIterator_isEnd first. At or behind the end a C++ std::out_of_range
 * leaves the function.
 * Takes no status. Returns a text, borrowed from container. */
ZEROVAAPI_EXPORT const char*
zerovaapi_DeviceIterator_getDeviceName(zerovaapi_DeviceContainer container,
                                       zerovaapi_Iterator iterator);

/* Gives the terminals of a device.
 *
 * iterator: ask zerovaapi_DeviceIterator_isEnd first. At or behind the end a C++ std::out_of_range
 * leaves the function.
 * Takes no status. Returns a container, borrowed from container: it must not be destroyed. */
ZEROVAAPI_EXPORT zerovaapi_TerminalContainer zerovaapi_DeviceIterator_getTerminalContainer(
   zerovaapi_DeviceContainer container, zerovaapi_Iterator iterator);

/* Reads an attribute of a terminal that is a string.
 *
 * name: the attribute.
 * Does not look at the status on entry: a present attribute is returned whatever the status holds,
 * and a failure is recorded unless the status holds an error.
 * Returns a text, borrowed from container. On failure null. Codes: -52005, the position is at or
 * behind the end, or the terminal has no string of that name; -52000, out of memory. */
ZEROVAAPI_EXPORT const char*
zerovaapi_TerminalIterator_getStringAttribute(zerovaapi_TerminalContainer container,
                                              zerovaapi_Iterator iterator, const char* name,
                                              quelerr_Status* status);

/* Reads an attribute of a terminal that is a boolean.
 *
 * name: the attribute.
 * Does not look at the status on entry: a present attribute is returned whatever the status holds,
 * and a failure is recorded unless the status holds an error.
 * On failure false. Codes: -52005, the position is at or behind the end, or the terminal has no
 * boolean of that name; -52000, out of memory. */
ZEROVAAPI_EXPORT bool
zerovaapi_TerminalIterator_getBoolAttribute(zerovaapi_TerminalContainer container,
                                            zerovaapi_Iterator iterator, const char* name,
                                            quelerr_Status* status);

/* Releases a device container with all that was borrowed from it.
 *
 * container: null is allowed. Takes no status, cannot fail. */
ZEROVAAPI_EXPORT void zerovaapi_DeviceContainer_destroy(zerovaapi_DeviceContainer container);

/* Releases a terminal container with all that was borrowed from it.
 *
 * container: null is allowed; none from zerovaapi_DeviceIterator_getTerminalContainer.
 * Takes no status, cannot fail. */
ZEROVAAPI_EXPORT void zerovaapi_TerminalContainer_destroy(zerovaapi_TerminalContainer container);

/* Releases a text that the caller owns.
 *
 * text: null is allowed. Takes no status, cannot fail. */
ZEROVAAPI_EXPORT void zerovaapi_destroyString(char* text);

/* Releases an array of texts that the caller owns, texts included; one function with
 * zerovaapi_destroyString.
 *
 * array: null is allowed. Takes no status, cannot fail. */
ZEROVAAPI_EXPORT void zerovaapi_destroyStringArray(char** array);

/* Terminal URIs, resets, changes. */

/* Asks whether a terminal URI is valid.
 *
 * uri: any text.
 * Looks at the status on entry. On failure false. Codes: call codes. */
ZEROVAAPI_EXPORT bool zerovaapi_validateTerminalURI(zerovaapi_Session session, const char* uri,
                                                    quelerr_Status* status);

/* Asks whether two URIs name one terminal.
 *
 * uri1, uri2: any texts.
 * Looks at the status on entry. On failure false. Codes: call codes. */
ZEROVAAPI_EXPORT bool zerovaapi_areTerminalURIsEqual(zerovaapi_Session session, const char* uri1,
                                                     const char* uri2, quelerr_Status* status);

/* Resets a terminal.
 *
 * terminal_uri: the terminal. type_of_reset: in the service's words.
 * Looks at the status on entry. Codes: call codes. */
ZEROVAAPI_EXPORT void zerovaapi_resetTerminal(zerovaapi_Session session, const char* terminal_uri,
                                              const char* type_of_reset, quelerr_Status* status);

/* Asks for the reset of a terminal to be calculated, as a route is.
 *
 * terminal_uri: the terminal. type_of_reset: in the service's words.
 * Looks at the status on entry. Returns the service's number. On failure 0. Codes: call codes. */
ZEROVAAPI_EXPORT int32_t zerovaapi_calculateResetTerminal(zerovaapi_Session session,
                                                          const char* terminal_uri,
                                                          const char* type_of_reset,
                                                          quelerr_Status* status);

/* Begins the reset of a device; zerovaapi_completeDeviceReset ends it.
 *
 * dev_name: the device.
 * Looks at the status on entry. Codes: call codes. */
ZEROVAAPI_EXPORT void zerovaapi_initiateDeviceReset(zerovaapi_Session session, const char* dev_name,
                                                    quelerr_Status* status);

/* Ends the reset of a device that zerovaapi_initiateDeviceReset began.
 *
 * dev_name: the device.
 * Looks at the status on entry. Codes: call codes. */
ZEROVAAPI_EXPORT void zerovaapi_completeDeviceReset(zerovaapi_Session session, const char* dev_name,
                                                    quelerr_Status* status);

/* Reads the number that the service changes whenever terminal information changes.
 *
 * Looks at the status on entry. Returns the number, for zerovaapi_hasTerminalInformationChanged. On
 * failure 0. Codes: call codes. */
ZEROVAAPI_EXPORT int32_t zerovaapi_getSystemChangeNumber(zerovaapi_Session session,
                                                         quelerr_Status* status);

/* Asks whether terminal information has changed since a change number was read.
 *
 * change_number: from zerovaapi_getSystemChangeNumber on a session of the same service.
 * Looks at the status on entry. On failure false. Codes: call codes. */
ZEROVAAPI_EXPORT bool zerovaapi_hasTerminalInformationChanged(zerovaapi_Session session,
                                                              int32_t change_number,
                                                              quelerr_Status* status);

/* Asks whether the service runs in its debug mode.
 *
 * Looks at the status on entry. On failure true, unlike every other function here. Codes: call
 * codes. */
ZEROVAAPI_EXPORT bool zerovaapi_isDebug(zerovaapi_Session session, quelerr_Status* status);

#ifdef __cplusplus
}
#endif

#endif
