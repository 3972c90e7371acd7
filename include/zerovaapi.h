/* Client of the signal-routing service: sessions, routes, devices, terminals.
 *
 * Conventions, which hold for every function unless its comment says otherwise:
 *
 *  1. Status. The last argument is the caller's record (quelerr_status.h); it must not be null.
 *     Begin with a code of 0. A code other than 0 then says that a call has failed, one above 0 no
 *     less than one below: success writes nothing, and what comes as a warning is a service's
 *     refusal of the call. Test
 *        status.code != 0     at the end of a chain of calls, and before the result of one call is
 *                             given to the next
 *        result == NULL       before a result that is a pointer is used, whatever the code: a
 *                             service may refuse a call with a code of 0, and then only the null
 *                             tells. Of a call that gives no pointer, such a refusal cannot be told
 *                             from success
 *     Every function that takes a status looks at it on entry: if it holds an error (below 0), the
 *     function looks at no other argument, sends nothing, changes nothing and returns its failure
 *     value. So the first error ends a chain, and one test at the end of it is enough where no call
 *     uses the result of another. A warning (above 0) stops nothing: what follows is called.
 *        zerovaapi_Session session = zerovaapi_createSession(&status);
 *        if (session) {
 *           int32_t ticket = zerovaapi_calculateRoute(session, from, to, NULL, &status);
 *           if (status.code == 0) {
 *              zerovaapi_reserveRoute(session, ticket, &status);
 *              zerovaapi_programRoute(session, ticket, &status);
 *           }
 *        }
 *        if (!session || status.code != 0) ... it has failed ...
 *  2. Failure. A failed function returns the failure value that its comment names. A null pointer
 *     is never a right answer; every other failure value can be one, and decides nothing by itself.
 *  3. Text is UTF-8 and NUL-terminated. A text argument is copied before the call goes on and never
 *     kept; it must not be null and may be empty. The library does not interpret names, URIs or
 *     values: they go to the service as they stand.
 *  4. Handles (the pointer types below) are not checked: null, or a handle that was released, is
 *     not allowed, except where null is named. A null that a failed call gave may go on only to a
 *     function that takes a status, and only while that holds an error. Every release function
 *     takes null and then does nothing.
 *  5. Ownership. "Owned" results belong to the caller, who releases them with the function named.
 *     "Borrowed" results live inside another object, die with it, and are never released. Never
 *     free a text of this library yourself: its heap need not be yours.
 *  6. Blocking. A function with a session argument sends one request and blocks until the service
 *     has taken it and answered, or the connection has broken; there is no time-out. Functions
 *     without one do not block, apart from the three that create a session, which say for how long.
 *  7. Threads. One session is used by one thread at a time; so is an attribute object, and a status
 *     during a call. Different objects are independent. Several threads may read one container.
 *  8. Call codes are the codes that any function which asks the service can leave:
 *        any        the service's own code, with the text that the service gave, both unchanged;
 *                   the session goes on working. The function has failed, also when the service
 *                   gave a warning or 0 (rule 1)
 *        -52024     the connection or the protocol failed; nothing repairs a session, so destroy it
 *                   and create a new one
 *        -52000     out of memory, or a reply that announces far more than it holds; the next call
 *                   works, unless it was not to be seen that the whole reply was read: then the
 *                   connection is closed, and every later call gives -52024
 *        -52003     any other failure inside the library
 *  9. Stack. A call needs at most 16 KiB of its thread's stack; what resize and the system's
 *     resolver of host names need comes on top. What else the library needs from the process that
 *     loads it, and what it leaves alone there, stands in docs/host.md.
 */
#ifndef ZEROVAAPI_H
#define ZEROVAAPI_H

#include "quelerr_status.h"

#include <stdbool.h>
#include <stdint.h>

/* A host that links the library's code into its own program on Windows defines ZEROVAAPI_STATIC. */
#if defined(_WIN32)
#if defined(ZEROVAAPI_BUILDING) || defined(ZEROVAAPI_STATIC)
#define ZEROVAAPI_EXPORT
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
 * Each create function makes attempts to connect and to agree on the protocol version, until one
 * succeeds, one fails with another code than -89168, or 5000 ms have passed; two attempts are at
 * most 50 ms apart. The time bounds the start of attempts: one that has begun runs to its end, so
 * a create function can block for 5000 ms and one whole attempt. An attempt blocks for
 *    the endpoint      of this machine: 3000 ms at a time while the service has no room for one
 *                      more connection; not at all if there is no service
 *    another machine   see zerovaapi_createRemoteSession
 *    the version       until the service has answered or the connection has broken: without limit.
 *                      A service that has stopped working may well take connections
 * The result is null on failure, whatever the code: test it before it is used (rule 1). Codes of
 * all three:
 *    -89168     the service could not be reached within that time; the text is the last attempt's
 *    any        the service refused the version: its own code and text, at once, unless the code is
 *               -89168. With a code of 0 or above the status holds no error, and the result is null
 *               all the same
 *    -52000     out of memory
 *    -52003     any other failure inside the library */

/* Connects to the service on this machine.
 *
 * Looks at the status on entry. Returns a session, owned: zerovaapi_destroySession. On failure
 * null. */
ZEROVAAPI_EXPORT zerovaapi_Session QUELERR_CALL zerovaapi_createSession(quelerr_Status* status);

/* Connects to the service on another machine, over TCP at the port that the host's locator names.
 *
 * host: name or address, without a port. An empty one connects to no remote machine but to the
 * local endpoint named "Trevanta/Zerova". Looks at the status on entry. Returns a session, owned:
 * zerovaapi_destroySession. On failure null.
 * An attempt blocks in turn for
 *    the name             twice, for the locator and for the service, for as long as the system's
 *                         resolver does. An address needs no resolver
 *    the locator          5000 ms for the connection, 5000 ms for the request, and 5000 ms for each
 *                         byte of the reply up to the end of the line that names the port. One that
 *                         sends other lines, however slowly, is read without limit
 *    the locator's end    until it closes the connection, 60000 ms for each further byte: 60000 ms
 *                         in all with one that stays silent and open, without limit with one that
 *                         goes on sending
 *    the connection       for as long as the system tries, address by address: about two minutes on
 *                         Linux for a host that does not answer. It is tried when no locator was
 *                         reached, too
 *    the version          without limit, as above */
ZEROVAAPI_EXPORT zerovaapi_Session QUELERR_CALL
zerovaapi_createRemoteSession(const char* host, quelerr_Status* status);

/* Connects to the service on this machine, at its endpoint for immediate routes.
 *
 * The session has the same operations as any other.
 * Looks at the status on entry. Returns a session, owned: zerovaapi_destroySession. On failure
 * null. */
ZEROVAAPI_EXPORT zerovaapi_Session QUELERR_CALL QUELERR_CALL
zerovaapi_createImmediateSession(quelerr_Status* status);

/* Closes a session. The service is told by the closing of the connection alone.
 *
 * session: null is allowed. Takes no status, does not block, cannot fail. */
ZEROVAAPI_EXPORT void QUELERR_CALL zerovaapi_destroySession(zerovaapi_Session session);

/* Routes.
 *
 * A route is known by its ticket, a number that the service hands out. The service alone decides
 * which step is legal in which state, and refuses the others with a code of its own. */

/* Calculates a route between two terminals.
 *
 * src_uri, dest_uri: the terminals. attrs: only read, and free for further calls; null stands for
 * an object on which nothing was set. Looks at the status on entry. Returns the route's ticket,
 * for zerovaapi_destroyRoute. On failure 0, and there is no route. Codes: call codes. */
ZEROVAAPI_EXPORT int32_t QUELERR_CALL zerovaapi_calculateRoute(zerovaapi_Session session,
                                                               const char* src_uri,
                                                               const char* dest_uri,
                                                               zerovaapi_RouteAttributes attrs,
                                                               quelerr_Status* status);

/* Takes a route forward to reserved.
 *
 * ticket: as returned by zerovaapi_calculateRoute; any number is sent unchanged.
 * Looks at the status on entry. Codes: call codes. */
ZEROVAAPI_EXPORT void QUELERR_CALL zerovaapi_reserveRoute(zerovaapi_Session session, int32_t ticket,
                                                          quelerr_Status* status);

/* Takes a route forward to programmed.
 *
 * ticket: as returned by zerovaapi_calculateRoute; any number is sent unchanged.
 * Looks at the status on entry. Codes: call codes. */
ZEROVAAPI_EXPORT void QUELERR_CALL zerovaapi_programRoute(zerovaapi_Session session, int32_t ticket,
                                                          quelerr_Status* status);

/* Takes a route back from programmed.
 *
 * ticket: as returned by zerovaapi_calculateRoute; any number is sent unchanged.
 * Looks at the status on entry. Codes: call codes. */
ZEROVAAPI_EXPORT void QUELERR_CALL zerovaapi_unprogramRoute(zerovaapi_Session session,
                                                            int32_t ticket, quelerr_Status* status);

/* Takes a route back from reserved.
 *
 * ticket: as returned by zerovaapi_calculateRoute; any number is sent unchanged.
 * Looks at the status on entry. Codes: call codes. */
ZEROVAAPI_EXPORT void QUELERR_CALL zerovaapi_unreserveRoute(zerovaapi_Session session,
                                                            int32_t ticket, quelerr_Status* status);

/* Ends a route and its ticket.
 *
 * ticket: as returned by zerovaapi_calculateRoute; any number is sent unchanged.
 * Looks at the status on entry. Codes: call codes. */
ZEROVAAPI_EXPORT void QUELERR_CALL zerovaapi_destroyRoute(zerovaapi_Session session, int32_t ticket,
                                                          quelerr_Status* status);

/* Reads the devices and terminals that a route uses, in the service's order.
 *
 * ticket: as returned by zerovaapi_calculateRoute; any number is sent unchanged.
 * Looks at the status on entry. Returns a container, possibly empty, owned:
 * zerovaapi_DeviceContainer_destroy. It outlives the session. On failure null, which is walked as
 * an empty container; rule 1 tells the two apart. Codes: call codes. */
ZEROVAAPI_EXPORT zerovaapi_DeviceContainer QUELERR_CALL
zerovaapi_getRouteInfo(zerovaapi_Session session, int32_t ticket, quelerr_Status* status);

/* Gives the fixed text "[]" for any route, without asking the service.
 *
 * session, ticket: ignored; a null session is allowed. Does not block.
 * Looks at the status on entry. Returns a text, owned: zerovaapi_destroyString. On failure null.
 * Code: -52000, out of memory. */
ZEROVAAPI_EXPORT char* QUELERR_CALL zerovaapi_showRoute(zerovaapi_Session session, int32_t ticket,
                                                        quelerr_Status* status);

/* Immediate routes.
 *
 * A route whose lifetime is zerovaapi_kLifetimeImmediate is released by its ends or its device. */

/* Destroys the immediate route between two terminals.
 *
 * src_uri, dest_uri: the terminals.
 * Looks at the status on entry. Codes: call codes. */
ZEROVAAPI_EXPORT void QUELERR_CALL zerovaapi_destroyImmediateRoute(zerovaapi_Session session,
                                                                   const char* src_uri,
                                                                   const char* dest_uri,
                                                                   quelerr_Status* status);

/* Destroys all immediate routes on a device.
 *
 * deviceAlias: the device.
 * Looks at the status on entry. Codes: call codes. */
ZEROVAAPI_EXPORT void QUELERR_CALL zerovaapi_destroyImmediateRoutesOnDevice(
   zerovaapi_Session session, const char* deviceAlias, quelerr_Status* status);

/* Destroys all immediate routes that begin at a terminal.
 *
 * src_uri: the terminal.
 * Looks at the status on entry. Codes: call codes. */
ZEROVAAPI_EXPORT void QUELERR_CALL zerovaapi_destroyImmediateRoutesFromSource(
   zerovaapi_Session session, const char* src_uri, quelerr_Status* status);

/* Destroys all immediate routes that end at a terminal.
 *
 * dest_uri: the terminal.
 * Looks at the status on entry. Codes: call codes. */
ZEROVAAPI_EXPORT void QUELERR_CALL zerovaapi_destroyImmediateRoutesToDest(zerovaapi_Session session,
                                                                          const char* dest_uri,
                                                                          quelerr_Status* status);

/* Retired: always fails and sends nothing. Use zerovaapi_destroyImmediateRoutesOnDevice or reset
 * the device instead.
 *
 * session: ignored; null is allowed. Does not block.
 * Looks at the status on entry. Code: -52002, always. */
ZEROVAAPI_EXPORT void QUELERR_CALL zerovaapi_destroyAllImmediateRoutes(zerovaapi_Session session,
                                                                       quelerr_Status* status);

/* Route attributes.
 *
 * Only what was set is sent; for the rest the service applies its own defaults.
 *
 * The six functions that give a map take no status, so a null object must not get as far as them,
 * neither for lack of memory nor because an earlier call had failed:
 *    zerovaapi_RouteAttributes attrs = zerovaapi_RouteAttributes_new(&status);
 *    if (attrs)
 *       zerovaapi_RouteConstraints_setBoolConstraint(
 *          zerovaapi_RouteAttributes_getConstraints(attrs), name, true, &status); */

/* Makes an attribute object on which nothing is set.
 *
 * Looks at the status on entry. Returns the object, owned: zerovaapi_RouteAttributes_destroy. On
 * failure null, also with an error in the status on entry: test it before a map is taken from it.
 * Code: -52000, out of memory. */
ZEROVAAPI_EXPORT zerovaapi_RouteAttributes QUELERR_CALL
zerovaapi_RouteAttributes_new(quelerr_Status* status);

/* Releases an attribute object, and with it the six maps inside.
 *
 * attrs: null is allowed. Takes no status, cannot fail. */
ZEROVAAPI_EXPORT void QUELERR_CALL QUELERR_CALL
zerovaapi_RouteAttributes_destroy(zerovaapi_RouteAttributes attrs);

/* Sets how long the route lives.
 *
 * lifetime: zerovaapi_kLifetimeImmediate; every other number counts as zerovaapi_kLifetimeSession.
 * Looks at the status on entry. Leaves no code. */
ZEROVAAPI_EXPORT void QUELERR_CALL zerovaapi_RouteAttributes_setLifetime(
   zerovaapi_RouteAttributes attrs, int32_t lifetime, quelerr_Status* status);

/* Sets the state to which zerovaapi_calculateRoute takes the route.
 *
 * state: zerovaapi_kStateReserved or zerovaapi_kStateProgrammed; every other number counts as
 * zerovaapi_kStateCalculated.
 * Looks at the status on entry. Leaves no code. */
ZEROVAAPI_EXPORT void QUELERR_CALL zerovaapi_RouteAttributes_setCalculationTargetState(
   zerovaapi_RouteAttributes attrs, int32_t state, quelerr_Status* status);

/* Sets whether the route must span several devices.
 *
 * force: stored as it is given.
 * Looks at the status on entry. Leaves no code. */
ZEROVAAPI_EXPORT void QUELERR_CALL zerovaapi_RouteAttributes_setForceMultiDeviceRoute(
   zerovaapi_RouteAttributes attrs, bool force, quelerr_Status* status);

/* Sets the name of the route's owner.
 *
 * name: an empty one is sent too.
 * Looks at the status on entry. Leaves no code: when memory runs out, a C++ std::bad_alloc leaves
 * the function. */
ZEROVAAPI_EXPORT void QUELERR_CALL zerovaapi_RouteAttributes_setOwnerName(
   zerovaapi_RouteAttributes attrs, const char* name, quelerr_Status* status);

/* Gives the map of constraints on the whole route.
 *
 * attrs: not null, whatever any status holds; so for all six. The call alone marks the map as set:
 * from then on it is sent, even while it is empty.
 * Takes no status, cannot fail. Returns a map, borrowed from attrs. */
ZEROVAAPI_EXPORT zerovaapi_AttributeMap QUELERR_CALL QUELERR_CALL
zerovaapi_RouteAttributes_getConstraints(zerovaapi_RouteAttributes attrs);

/* Gives the map of constraints on the source, and marks it as set.
 *
 * attrs: not null. Takes no status, cannot fail. Returns a map, borrowed from attrs. */
ZEROVAAPI_EXPORT zerovaapi_AttributeMap QUELERR_CALL
zerovaapi_RouteAttributes_getSourceConstraints(zerovaapi_RouteAttributes attrs);

/* Gives the map of constraints on the destination, and marks it as set.
 *
 * attrs: not null. Takes no status, cannot fail. Returns a map, borrowed from attrs. */
ZEROVAAPI_EXPORT zerovaapi_AttributeMap QUELERR_CALL
zerovaapi_RouteAttributes_getDestinationConstraints(zerovaapi_RouteAttributes attrs);

/* Gives the map of optional modifiers, and marks it as set.
 *
 * attrs: not null. Takes no status, cannot fail. Returns a map, borrowed from attrs. */
ZEROVAAPI_EXPORT zerovaapi_AttributeMap QUELERR_CALL
zerovaapi_RouteAttributes_getOptionalModifiers(zerovaapi_RouteAttributes attrs);

/* Gives the map of required modifiers, and marks it as set.
 *
 * attrs: not null. Takes no status, cannot fail. Returns a map, borrowed from attrs. */
ZEROVAAPI_EXPORT zerovaapi_AttributeMap QUELERR_CALL
zerovaapi_RouteAttributes_getRequiredModifiers(zerovaapi_RouteAttributes attrs);

/* Gives the map of required modifiers of the destination, and marks it as set.
 *
 * attrs: not null. Takes no status, cannot fail. Returns a map, borrowed from attrs. */
ZEROVAAPI_EXPORT zerovaapi_AttributeMap QUELERR_CALL
zerovaapi_RouteAttributes_getDestinationRequiredModifiers(zerovaapi_RouteAttributes attrs);

/* Sets an entry of a map to a boolean.
 *
 * map: any of the six; the Constraints and Modifiers functions do the same, so that calls read
 * well. name: any text, the empty one too; an entry of that name is set anew. A string that it
 * held is sent along, marked as not the entry's value. Looks at the status on entry. Code:
 * -52000, out of memory; the entry may then be half set. */
ZEROVAAPI_EXPORT void QUELERR_CALL zerovaapi_RouteConstraints_setBoolConstraint(
   zerovaapi_AttributeMap map, const char* name, bool value, quelerr_Status* status);

/* Sets an entry of a map to a string.
 *
 * map, name: as for zerovaapi_RouteConstraints_setBoolConstraint. A boolean that the entry held is
 * sent along, marked as not the entry's value.
 * Looks at the status on entry. Code: -52000, out of memory; the entry may then be half set. */
ZEROVAAPI_EXPORT void QUELERR_CALL zerovaapi_RouteConstraints_setStringConstraint(
   zerovaapi_AttributeMap map, const char* name, const char* value, quelerr_Status* status);

/* Sets an entry of a map to a boolean, exactly as zerovaapi_RouteConstraints_setBoolConstraint
 * does.
 *
 * map: any of the six. name: any text.
 * Looks at the status on entry. Code: -52000, out of memory; the entry may then be half set. */
ZEROVAAPI_EXPORT void QUELERR_CALL zerovaapi_RouteModifiers_setBoolModifier(
   zerovaapi_AttributeMap map, const char* name, bool value, quelerr_Status* status);

/* Sets an entry of a map to a string, exactly as zerovaapi_RouteConstraints_setStringConstraint
 * does.
 *
 * map: any of the six. name, value: any text.
 * Looks at the status on entry. Code: -52000, out of memory; the entry may then be half set. */
ZEROVAAPI_EXPORT void QUELERR_CALL zerovaapi_RouteModifiers_setStringModifier(
   zerovaapi_AttributeMap map, const char* name, const char* value, quelerr_Status* status);

/* Devices and terminals.
 *
 * A container is walked like this:
 *    for (i = begin(c); !isEnd(c, i); next(&i)) ...
 * It never changes, it holds copies of all that the service answered, and it outlives its
 * session. A null one, as a failed call gives it, has no elements.
 *
 * An attribute that a terminal does not have leaves an error, which would keep every later call
 * with that status from being made. What not every terminal has is read with a status of its own:
 *    quelerr_Status own;
 *    quelerr_heapStatus_init(&own);
 *    for (i = begin(c); !isEnd(c, i); next(&i)) {
 *       const char* owner = zerovaapi_TerminalIterator_getStringAttribute(c, i, "Owner", &own);
 *       bool inverted = zerovaapi_TerminalIterator_getBoolAttribute(c, i, "Invert", &own);
 *       ... owner is null, inverted is false where there is none ...
 *       own.code = 0;
 *    }
 *    quelerr_heapStatus_release(&own);
 * Where an absent boolean is not the same as false, own.code tells, if it was 0 before. */

/* Lists the devices on which the service can route.
 *
 * Looks at the status on entry. Returns an array of texts that ends with a null pointer, one block
 * with its texts, owned: zerovaapi_destroyStringArray. No devices give an array of just the null
 * pointer. On failure null, which is no array: test it before it is walked,
 *    for (name = names; name && *name; ++name) ...
 * Codes: call codes. */
ZEROVAAPI_EXPORT char** QUELERR_CALL zerovaapi_getRoutableDevices(zerovaapi_Session session,
                                                                  quelerr_Status* status);

/* Reads the terminals of a device, in the service's order.
 *
 * dev_name: the device. attribute_names: the attributes wanted, an array of texts that ends with a
 * null pointer; a null array stands for an empty one.
 * Looks at the status on entry. Returns a container, possibly empty, owned:
 * zerovaapi_TerminalContainer_destroy. On failure null, which is walked as an empty container;
 * rule 1 tells the two apart. Codes: call codes. */
ZEROVAAPI_EXPORT zerovaapi_TerminalContainer QUELERR_CALL
zerovaapi_getTerminalNamesAndAttributesForDevice(zerovaapi_Session session, const char* dev_name,
                                                 const char* const* attribute_names,
                                                 quelerr_Status* status);

/* Gives the position of a container's first element.
 *
 * container: ignored. Takes no status, cannot fail. */
ZEROVAAPI_EXPORT zerovaapi_Iterator QUELERR_CALL QUELERR_CALL
zerovaapi_DeviceContainer_begin(zerovaapi_DeviceContainer container);

/* Gives the position of a container's first element; one function with
 * zerovaapi_DeviceContainer_begin.
 *
 * container: ignored. Takes no status, cannot fail. */
ZEROVAAPI_EXPORT zerovaapi_Iterator QUELERR_CALL QUELERR_CALL
zerovaapi_TerminalContainer_begin(zerovaapi_TerminalContainer container);

/* Moves a position on by one element. Nothing stops it at the end.
 *
 * iterator: not null. Takes no status, cannot fail. */
ZEROVAAPI_EXPORT void QUELERR_CALL zerovaapi_DeviceIterator_next(zerovaapi_Iterator* iterator);

/* Moves a position on by one element; one function with zerovaapi_DeviceIterator_next.
 *
 * iterator: not null. Takes no status, cannot fail. */
ZEROVAAPI_EXPORT void QUELERR_CALL zerovaapi_TerminalIterator_next(zerovaapi_Iterator* iterator);

/* Tells whether a position is at or behind the end of a device container.
 *
 * container: null is allowed, and every position is at its end. Takes no status, cannot fail. */
ZEROVAAPI_EXPORT bool QUELERR_CALL
zerovaapi_DeviceIterator_isEnd(zerovaapi_DeviceContainer container, zerovaapi_Iterator iterator);

/* Tells whether a position is at or behind the end of a terminal container.
 *
 * container: null is allowed, and every position is at its end. Takes no status, cannot fail. */
ZEROVAAPI_EXPORT bool QUELERR_CALL zerovaapi_TerminalIterator_isEnd(
   zerovaapi_TerminalContainer container, zerovaapi_Iterator iterator);

/* Gives the name of a device.
 *
 * iterator: ask zerovaapi_DeviceIterator_isEnd first. At or behind the end, and so for every
 * position of a null container, a C++ std::out_of_range leaves the function.
 * Takes no status. Returns a text, borrowed from container. */
ZEROVAAPI_EXPORT const char* QUELERR_CALL zerovaapi_DeviceIterator_getDeviceName(
   zerovaapi_DeviceContainer container, zerovaapi_Iterator iterator);

/* Gives the terminals of a device.
 *
 * iterator: ask zerovaapi_DeviceIterator_isEnd first. At or behind the end, and so for every
 * position of a null container, a C++ std::out_of_range leaves the function.
 * Takes no status. Returns a container, borrowed from container: it must not be destroyed. */
ZEROVAAPI_EXPORT zerovaapi_TerminalContainer QUELERR_CALL QUELERR_CALL
zerovaapi_DeviceIterator_getTerminalContainer(zerovaapi_DeviceContainer container,
                                              zerovaapi_Iterator iterator);

/* Reads an attribute of a terminal that is a string.
 *
 * name: the attribute.
 * Does not look at the status on entry: a present attribute is returned whatever the status holds,
 * and a failure is recorded unless the status holds an error.
 * Returns a text, borrowed from container. On failure null, which is no text: test it before it is
 * read. Codes: -52005, the position is at or behind the end, as every position of a null container
 * is, or the terminal has no string of that name (for an attribute that need not be there, see
 * "Devices and terminals" above); -52000, out of memory. */
ZEROVAAPI_EXPORT const char* QUELERR_CALL zerovaapi_TerminalIterator_getStringAttribute(
   zerovaapi_TerminalContainer container, zerovaapi_Iterator iterator, const char* name,
   quelerr_Status* status);

/* Reads an attribute of a terminal that is a boolean.
 *
 * name: the attribute.
 * Does not look at the status on entry: a present attribute is returned whatever the status holds,
 * and a failure is recorded unless the status holds an error.
 * On failure false. Codes: -52005, the position is at or behind the end, as every position of a
 * null container is, or the terminal has no boolean of that name (for an attribute that need not be
 * there, see "Devices and terminals" above); -52000, out of memory. */
ZEROVAAPI_EXPORT bool QUELERR_CALL zerovaapi_TerminalIterator_getBoolAttribute(
   zerovaapi_TerminalContainer container, zerovaapi_Iterator iterator, const char* name,
   quelerr_Status* status);

/* Releases a device container with all that was borrowed from it.
 *
 * container: null is allowed. Takes no status, cannot fail. */
ZEROVAAPI_EXPORT void QUELERR_CALL QUELERR_CALL
zerovaapi_DeviceContainer_destroy(zerovaapi_DeviceContainer container);

/* Releases a terminal container with all that was borrowed from it.
 *
 * container: null is allowed; none from zerovaapi_DeviceIterator_getTerminalContainer.
 * Takes no status, cannot fail. */
ZEROVAAPI_EXPORT void QUELERR_CALL QUELERR_CALL
zerovaapi_TerminalContainer_destroy(zerovaapi_TerminalContainer container);

/* Releases a text that the caller owns.
 *
 * text: null is allowed. Takes no status, cannot fail. */
ZEROVAAPI_EXPORT void QUELERR_CALL zerovaapi_destroyString(char* text);

/* Releases an array of texts that the caller owns, texts included; one function with
 * zerovaapi_destroyString.
 *
 * array: null is allowed. Takes no status, cannot fail. */
ZEROVAAPI_EXPORT void QUELERR_CALL zerovaapi_destroyStringArray(char** array);

/* Terminal URIs, resets, changes. */

/* Asks whether a terminal URI is valid.
 *
 * uri: any text.
 * Looks at the status on entry. On failure false. Codes: call codes. */
ZEROVAAPI_EXPORT bool QUELERR_CALL zerovaapi_validateTerminalURI(zerovaapi_Session session,
                                                                 const char* uri,
                                                                 quelerr_Status* status);

/* Asks whether two URIs name one terminal.
 *
 * uri1, uri2: any texts.
 * Looks at the status on entry. On failure false. Codes: call codes. */
ZEROVAAPI_EXPORT bool QUELERR_CALL zerovaapi_areTerminalURIsEqual(zerovaapi_Session session,
                                                                  const char* uri1,
                                                                  const char* uri2,
                                                                  quelerr_Status* status);

/* Resets a terminal.
 *
 * terminal_uri: the terminal. type_of_reset: in the service's words.
 * Looks at the status on entry. Codes: call codes. */
ZEROVAAPI_EXPORT void QUELERR_CALL zerovaapi_resetTerminal(zerovaapi_Session session,
                                                           const char* terminal_uri,
                                                           const char* type_of_reset,
                                                           quelerr_Status* status);

/* Asks for the reset of a terminal to be calculated, as a route is.
 *
 * terminal_uri: the terminal. type_of_reset: in the service's words.
 * Looks at the status on entry. Returns the service's number. On failure 0. Codes: call codes. */
ZEROVAAPI_EXPORT int32_t QUELERR_CALL zerovaapi_calculateResetTerminal(zerovaapi_Session session,
                                                                       const char* terminal_uri,
                                                                       const char* type_of_reset,
                                                                       quelerr_Status* status);

/* Begins the reset of a device; zerovaapi_completeDeviceReset ends it.
 *
 * dev_name: the device.
 * Looks at the status on entry. Codes: call codes. */
ZEROVAAPI_EXPORT void QUELERR_CALL zerovaapi_initiateDeviceReset(zerovaapi_Session session,
                                                                 const char* dev_name,
                                                                 quelerr_Status* status);

/* Ends the reset of a device that zerovaapi_initiateDeviceReset began.
 *
 * dev_name: the device.
 * Looks at the status on entry. Codes: call codes. */
ZEROVAAPI_EXPORT void QUELERR_CALL zerovaapi_completeDeviceReset(zerovaapi_Session session,
                                                                 const char* dev_name,
                                                                 quelerr_Status* status);

/* Reads the number that the service changes whenever terminal information changes.
 *
 * Looks at the status on entry. Returns the number, for zerovaapi_hasTerminalInformationChanged. On
 * failure 0. Codes: call codes. */
ZEROVAAPI_EXPORT int32_t QUELERR_CALL zerovaapi_getSystemChangeNumber(zerovaapi_Session session,
                                                                      quelerr_Status* status);

/* Asks whether terminal information has changed since a change number was read.
 *
 * change_number: from zerovaapi_getSystemChangeNumber on a session of the same service.
 * Looks at the status on entry. On failure false. Codes: call codes. */
ZEROVAAPI_EXPORT bool QUELERR_CALL zerovaapi_hasTerminalInformationChanged(
   zerovaapi_Session session, int32_t change_number, quelerr_Status* status);

/* Asks whether the service runs in its debug mode.
 *
 * Looks at the status on entry. On failure true, unlike every other function here. Codes: call
 * codes. */
ZEROVAAPI_EXPORT bool QUELERR_CALL zerovaapi_isDebug(zerovaapi_Session session,
                                                     quelerr_Status* status);

#ifdef __cplusplus
}
#endif

#endif
