// The exported functions, in the order of the header. Each is a sentence inside the frame of the
// call guard; what it does for the caller stands in zerovaapi.h.
#include "zerovaapi.h"

#include "platform/clock.h"
#include "platform/export_alias.h"
#include "source/zerovaapi/call_guard.h"
#include "source/zerovaapi/handles.h"
#include "source/zerovaapi/reply_reader.h"
#include "source/zerovaapi/retry.h"
#include "source/zerovaapi/string_array.h"
#include "transport/client_session.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

using namespace zerova;

namespace {

constexpr const char* kLocalPipe = "com.zerova";
constexpr const char* kImmediatePipe = "com.zerova.immediate";
// The pipe of a remote session whose host is empty, which is wanted as it is.
constexpr const char* kServicePath = "Trevanta/Zerova";
constexpr const char* kProtocolVersion = "1.0";

APIv1If& service(zerovaapi_Session session)
{
   return unwrap(session)->client;
}

struct SystemClock
{
   static int64_t nowMs() { return platform::monotonicMs(); }
   static int64_t tickMs() { return platform::clockTickMs(); }
   static void pauseMs(int64_t ms) { platform::pauseMs(ms); }
};

// One attempt. The service refuses a version by an exception; a connection whose first call failed
// does not survive it.
std::unique_ptr<ClientSession> connectOnce(const std::string& name, const std::string& host,
                                           quelerr_Status* status)
{
   return guarded(status, GuardSite{__LINE__, kServiceNotAvailable}, nullptr, [&] {
      std::unique_ptr<ClientSession> session = openClientSession(name, host);
      APIv1If& client = session->client;
      client.version(kProtocolVersion);
      return session;
   });
}

zerovaapi_Session connectWithRetry(const std::string& name, const std::string& host,
                                   quelerr_Status* status)
{
   const auto attempt = [&](quelerr_Status* outcome) { return connectOnce(name, host, outcome); };
   return wrap<zerovaapi_Session>(retryWhileUnavailable(SystemClock{}, status, attempt).release());
}

// The entry is addressed anew for each step, so what memory running out leaves behind is what the
// steps before have done.
void setEntry(AttributeMap& map, const char* name, bool value)
{
   map[name].attr_type = AttrType::BOOL;
   map[name].__isset.bool_attr = true;
   map[name].bool_attr = value;
}

void setEntry(AttributeMap& map, const char* name, const char* value)
{
   map[name].attr_type = AttrType::STRING;
   map[name].__isset.str_attr = true;
   map[name].str_attr = value;
}

// The two large replies are read from their bytes, and by the stub if they are not as usual.

std::unique_ptr<DeviceReply> routeInfo(ClientSession& session, int32_t ticket)
{
   session.client.send_getRouteInfo(ticket);
   if (auto reply = readDeviceReply(receiveWholeReply(session))) {
      endWholeReply(session);
      return reply;
   }
   std::vector<DeviceInfo> devices;
   session.client.recv_getRouteInfo(devices);
   return makeDevices(devices);
}

std::unique_ptr<TerminalReply> terminalsOf(ClientSession& session, const std::string& device,
                                           const std::vector<std::string>& names)
{
   session.client.send_getTerminalNamesAndAttributesForDevice(device, names);
   std::optional<ReplyContent> content = readTerminalReply(receiveWholeReply(session));
   if (content) {
      endWholeReply(session);
   } else {
      std::vector<AttributeMap> terminals;
      session.client.recv_getTerminalNamesAndAttributesForDevice(terminals);
      content = makeContent(terminals);
   }
   return std::make_unique<TerminalReply>(std::move(*content));
}

size_t sizeOf(const Terminals& terminals)
{
   return terminals.size();
}

size_t sizeOf(const DeviceReply& reply)
{
   return reply.devices.size();
}

// Nothing is in a null container, which is what a failed call gives: callers walk it as an empty one.
template <typename Container>
bool isAtEnd(Container container, zerovaapi_Iterator iterator)
{
   return !container || iterator >= sizeOf(*unwrap(container));
}

Device& deviceAt(zerovaapi_DeviceContainer container, zerovaapi_Iterator iterator)
{
   if (isAtEnd(container, iterator)) throw std::out_of_range("invalid vector subscript");
   return unwrap(container)->devices[iterator];
}

// Null unless the terminal has an attribute of that name and type. The type tag alone counts.
const TerminalAttribute* findAttribute(zerovaapi_TerminalContainer container,
                                       zerovaapi_Iterator iterator, const std::string& name,
                                       AttrType::type type)
{
   const TerminalAttribute* const found = unwrap(container)->find(iterator, name);
   return found && found->type == type ? found : nullptr;
}

constexpr const char* kIteratorAtEnd = "Input iterator must not point to the end of the sequence";

// Both readers name the string function: tools match this text.
void failForName(quelerr_Status* status, int32_t line, const char* name)
{
   if (!setFailure(status, kInvalidParameter, line)) return;
   const std::string lead = "Invalid attribute name passed to zerovaapi_getStringAttribute: ";
   describeFailure(status, (lead + name).c_str());
}

} // namespace

zerovaapi_Session zerovaapi_createSession(quelerr_Status* status)
{
   return guarded(status, ZEROVAAPI_SITE, nullptr,
                  [&] { return connectWithRetry(kLocalPipe, "", status); });
}

zerovaapi_Session zerovaapi_createRemoteSession(const char* host, quelerr_Status* status)
{
   return guarded(status, ZEROVAAPI_SITE, nullptr,
                  [&] { return connectWithRetry(kServicePath, host, status); });
}

zerovaapi_Session zerovaapi_createImmediateSession(quelerr_Status* status)
{
   return guarded(status, ZEROVAAPI_SITE, nullptr,
                  [&] { return connectWithRetry(kImmediatePipe, "", status); });
}

void zerovaapi_destroySession(zerovaapi_Session session)
{
   delete unwrap(session);
}

int32_t zerovaapi_calculateRoute(zerovaapi_Session session, const char* src_uri,
                                 const char* dest_uri, zerovaapi_RouteAttributes attrs,
                                 quelerr_Status* status)
{
   const RouteAttributes defaults;
   return guarded(status, ZEROVAAPI_CALL_SITE(session), 0, [&] {
      return service(session).calculateRoute(src_uri, dest_uri, attrs ? *unwrap(attrs) : defaults);
   });
}

void zerovaapi_reserveRoute(zerovaapi_Session session, int32_t ticket, quelerr_Status* status)
{
   guarded(status, ZEROVAAPI_CALL_SITE(session), [&] { service(session).reserveRoute(ticket); });
}

void zerovaapi_programRoute(zerovaapi_Session session, int32_t ticket, quelerr_Status* status)
{
   guarded(status, ZEROVAAPI_CALL_SITE(session), [&] { service(session).programRoute(ticket); });
}

void zerovaapi_unprogramRoute(zerovaapi_Session session, int32_t ticket, quelerr_Status* status)
{
   guarded(status, ZEROVAAPI_CALL_SITE(session), [&] { service(session).unprogramRoute(ticket); });
}

void zerovaapi_unreserveRoute(zerovaapi_Session session, int32_t ticket, quelerr_Status* status)
{
   guarded(status, ZEROVAAPI_CALL_SITE(session), [&] { service(session).unreserveRoute(ticket); });
}

void zerovaapi_destroyRoute(zerovaapi_Session session, int32_t ticket, quelerr_Status* status)
{
   guarded(status, ZEROVAAPI_CALL_SITE(session), [&] { service(session).destroyRoute(ticket); });
}

zerovaapi_DeviceContainer zerovaapi_getRouteInfo(zerovaapi_Session session, int32_t ticket,
                                                 quelerr_Status* status)
{
   return guarded(status, ZEROVAAPI_CALL_SITE(session), nullptr, [&] {
      return wrap<zerovaapi_DeviceContainer>(routeInfo(*unwrap(session), ticket).release());
   });
}

char* zerovaapi_showRoute(zerovaapi_Session, int32_t, quelerr_Status* status)
{
   static constexpr char kEmptyList[] = "[]";
   if (status->code < 0) return nullptr;
   char* const text = static_cast<char*>(std::malloc(sizeof kEmptyList));
   if (!text) {
      fail(status, kMemoryFull, __LINE__, nullptr);
      return nullptr;
   }
   std::memcpy(text, kEmptyList, sizeof kEmptyList);
   return text;
}

void zerovaapi_destroyImmediateRoute(zerovaapi_Session session, const char* src_uri,
                                     const char* dest_uri, quelerr_Status* status)
{
   guarded(status, ZEROVAAPI_CALL_SITE(session),
           [&] { service(session).destroyImmediateRoute(src_uri, dest_uri); });
}

void zerovaapi_destroyImmediateRoutesOnDevice(zerovaapi_Session session, const char* deviceAlias,
                                              quelerr_Status* status)
{
   guarded(status, ZEROVAAPI_CALL_SITE(session),
           [&] { service(session).destroyImmediateRoutesOnDevice(deviceAlias); });
}

void zerovaapi_destroyImmediateRoutesFromSource(zerovaapi_Session session, const char* src_uri,
                                                quelerr_Status* status)
{
   guarded(status, ZEROVAAPI_CALL_SITE(session),
           [&] { service(session).destroyImmediateRoutesFromSource(src_uri); });
}

void zerovaapi_destroyImmediateRoutesToDest(zerovaapi_Session session, const char* dest_uri,
                                            quelerr_Status* status)
{
   guarded(status, ZEROVAAPI_CALL_SITE(session),
           [&] { service(session).destroyImmediateRoutesToDest(dest_uri); });
}

void zerovaapi_destroyAllImmediateRoutes(zerovaapi_Session, quelerr_Status* status)
{
   if (status->code < 0) return;
   fail(
      status, kFeatureUnsupported, __LINE__,
      "destroyAllImmediateRoutes is deprecated -- use destroyImmediateRoutesOnDevice or reset the "
      "device instead");
}

zerovaapi_RouteAttributes zerovaapi_RouteAttributes_new(quelerr_Status* status)
{
   return guarded(status, ZEROVAAPI_SITE, nullptr,
                  [] { return wrap<zerovaapi_RouteAttributes>(new RouteAttributes); });
}

void zerovaapi_RouteAttributes_destroy(zerovaapi_RouteAttributes attrs)
{
   delete unwrap(attrs);
}

void zerovaapi_RouteAttributes_setLifetime(zerovaapi_RouteAttributes attrs, int32_t lifetime,
                                           quelerr_Status* status)
{
   if (status->code < 0) return;
   RouteAttributes& attributes = *unwrap(attrs);
   attributes.__isset.lifetime = true;
   attributes.lifetime =
      lifetime == zerovaapi_kLifetimeImmediate ? RouteLifetime::IMMEDIATE : RouteLifetime::SESSION;
}

void zerovaapi_RouteAttributes_setCalculationTargetState(zerovaapi_RouteAttributes attrs,
                                                         int32_t state, quelerr_Status* status)
{
   if (status->code < 0) return;
   RouteAttributes& attributes = *unwrap(attrs);
   attributes.__isset.routeState = true;
   attributes.routeState = state == zerovaapi_kStateReserved     ? RouteState::RESERVED
                           : state == zerovaapi_kStateProgrammed ? RouteState::PROGRAMMED
                                                                 : RouteState::CALCULATED;
}

void zerovaapi_RouteAttributes_setForceMultiDeviceRoute(zerovaapi_RouteAttributes attrs, bool force,
                                                        quelerr_Status* status)
{
   if (status->code < 0) return;
   RouteAttributes& attributes = *unwrap(attrs);
   attributes.__isset.force_multi_device_route = true;
   attributes.force_multi_device_route = force;
}

void zerovaapi_RouteAttributes_setOwnerName(zerovaapi_RouteAttributes attrs, const char* name,
                                            quelerr_Status* status)
{
   if (status->code < 0) return;
   RouteAttributes& attributes = *unwrap(attrs);
   attributes.__isset.owner_name = true;
   attributes.owner_name = name;
}

// The getters mark their map: there is no other way to it, so no entry can be left unsent.

zerovaapi_AttributeMap zerovaapi_RouteAttributes_getConstraints(zerovaapi_RouteAttributes attrs)
{
   unwrap(attrs)->__isset.constraints = true;
   return wrap<zerovaapi_AttributeMap>(&unwrap(attrs)->constraints);
}

zerovaapi_AttributeMap
zerovaapi_RouteAttributes_getSourceConstraints(zerovaapi_RouteAttributes attrs)
{
   unwrap(attrs)->__isset.source_constraints = true;
   return wrap<zerovaapi_AttributeMap>(&unwrap(attrs)->source_constraints);
}

zerovaapi_AttributeMap
zerovaapi_RouteAttributes_getDestinationConstraints(zerovaapi_RouteAttributes attrs)
{
   unwrap(attrs)->__isset.destination_constraints = true;
   return wrap<zerovaapi_AttributeMap>(&unwrap(attrs)->destination_constraints);
}

zerovaapi_AttributeMap
zerovaapi_RouteAttributes_getOptionalModifiers(zerovaapi_RouteAttributes attrs)
{
   unwrap(attrs)->__isset.optional_modifiers = true;
   return wrap<zerovaapi_AttributeMap>(&unwrap(attrs)->optional_modifiers);
}

zerovaapi_AttributeMap
zerovaapi_RouteAttributes_getRequiredModifiers(zerovaapi_RouteAttributes attrs)
{
   unwrap(attrs)->__isset.required_modifiers = true;
   return wrap<zerovaapi_AttributeMap>(&unwrap(attrs)->required_modifiers);
}

zerovaapi_AttributeMap
zerovaapi_RouteAttributes_getDestinationRequiredModifiers(zerovaapi_RouteAttributes attrs)
{
   unwrap(attrs)->__isset.destination_required_modifiers = true;
   return wrap<zerovaapi_AttributeMap>(&unwrap(attrs)->destination_required_modifiers);
}

void zerovaapi_RouteConstraints_setBoolConstraint(zerovaapi_AttributeMap map, const char* name,
                                                  bool value, quelerr_Status* status)
{
   guarded(status, ZEROVAAPI_SITE, [&] { setEntry(*unwrap(map), name, value); });
}

void zerovaapi_RouteConstraints_setStringConstraint(zerovaapi_AttributeMap map, const char* name,
                                                    const char* value, quelerr_Status* status)
{
   guarded(status, ZEROVAAPI_SITE, [&] { setEntry(*unwrap(map), name, value); });
}

void zerovaapi_RouteModifiers_setBoolModifier(zerovaapi_AttributeMap map, const char* name,
                                              bool value, quelerr_Status* status)
{
   guarded(status, ZEROVAAPI_SITE, [&] { setEntry(*unwrap(map), name, value); });
}

void zerovaapi_RouteModifiers_setStringModifier(zerovaapi_AttributeMap map, const char* name,
                                                const char* value, quelerr_Status* status)
{
   guarded(status, ZEROVAAPI_SITE, [&] { setEntry(*unwrap(map), name, value); });
}

char** zerovaapi_getRoutableDevices(zerovaapi_Session session, quelerr_Status* status)
{
   return guarded(status, ZEROVAAPI_CALL_SITE(session), nullptr, [&] {
      std::vector<std::string> names;
      service(session).getRoutableDevices(names);
      return makeStringArray(names);
   });
}

zerovaapi_TerminalContainer
zerovaapi_getTerminalNamesAndAttributesForDevice(zerovaapi_Session session, const char* dev_name,
                                                 const char* const* attribute_names,
                                                 quelerr_Status* status)
{
   return guarded(status, ZEROVAAPI_CALL_SITE(session), nullptr, [&] {
      const std::vector<std::string> names = copyTexts(attribute_names);
      return wrap<zerovaapi_TerminalContainer>(
         terminalsOf(*unwrap(session), dev_name, names).release());
   });
}

zerovaapi_Iterator zerovaapi_DeviceContainer_begin(zerovaapi_DeviceContainer)
{
   return 0;
}

zerovaapi_Iterator zerovaapi_TerminalContainer_begin(zerovaapi_TerminalContainer)
   PLATFORM_SAME_ENTRY_AS(zerovaapi_DeviceContainer_begin);

void zerovaapi_DeviceIterator_next(zerovaapi_Iterator* iterator)
{
   ++*iterator;
}

void zerovaapi_TerminalIterator_next(zerovaapi_Iterator*)
   PLATFORM_SAME_ENTRY_AS(zerovaapi_DeviceIterator_next);

bool zerovaapi_DeviceIterator_isEnd(zerovaapi_DeviceContainer container,
                                    zerovaapi_Iterator iterator)
{
   return isAtEnd(container, iterator);
}

bool zerovaapi_TerminalIterator_isEnd(zerovaapi_TerminalContainer container,
                                      zerovaapi_Iterator iterator)
{
   return isAtEnd(container, iterator);
}

const char* zerovaapi_DeviceIterator_getDeviceName(zerovaapi_DeviceContainer container,
                                                   zerovaapi_Iterator iterator)
{
   return deviceAt(container, iterator).name;
}

zerovaapi_TerminalContainer
zerovaapi_DeviceIterator_getTerminalContainer(zerovaapi_DeviceContainer container,
                                              zerovaapi_Iterator iterator)
{
   return wrap<zerovaapi_TerminalContainer>(&deviceAt(container, iterator).terminals);
}

// The readers do not look at the status on entry: a caller may read on after an error.

const char* zerovaapi_TerminalIterator_getStringAttribute(zerovaapi_TerminalContainer container,
                                                          zerovaapi_Iterator iterator,
                                                          const char* name, quelerr_Status* status)
{
   if (isAtEnd(container, iterator)) {
      fail(status, kInvalidParameter, __LINE__, kIteratorAtEnd);
      return nullptr;
   }
   return caught(status, ZEROVAAPI_SITE, nullptr, [&]() -> const char* {
      const auto* const attribute = findAttribute(container, iterator, name, AttrType::STRING);
      if (attribute) return attribute->text;
      failForName(status, __LINE__, name);
      return nullptr;
   });
}

bool zerovaapi_TerminalIterator_getBoolAttribute(zerovaapi_TerminalContainer container,
                                                 zerovaapi_Iterator iterator, const char* name,
                                                 quelerr_Status* status)
{
   if (isAtEnd(container, iterator)) {
      fail(status, kInvalidParameter, __LINE__, kIteratorAtEnd);
      return false;
   }
   return caught(status, ZEROVAAPI_SITE, false, [&] {
      const auto* const attribute = findAttribute(container, iterator, name, AttrType::BOOL);
      if (attribute) return attribute->flag;
      failForName(status, __LINE__, name);
      return false;
   });
}

void zerovaapi_DeviceContainer_destroy(zerovaapi_DeviceContainer container)
{
   delete unwrap(container);
}

void zerovaapi_TerminalContainer_destroy(zerovaapi_TerminalContainer container)
{
   delete static_cast<TerminalReply*>(unwrap(container)); // those of a device are not destroyed
}

void zerovaapi_destroyString(char* text)
{
   std::free(text);
}

void zerovaapi_destroyStringArray(char**) PLATFORM_SAME_ENTRY_AS(zerovaapi_destroyString);

bool zerovaapi_validateTerminalURI(zerovaapi_Session session, const char* uri,
                                   quelerr_Status* status)
{
   return guarded(status, ZEROVAAPI_CALL_SITE(session), false,
                  [&] { return service(session).validateTerminalURI(uri); });
}

bool zerovaapi_areTerminalURIsEqual(zerovaapi_Session session, const char* uri1, const char* uri2,
                                    quelerr_Status* status)
{
   return guarded(status, ZEROVAAPI_CALL_SITE(session), false,
                  [&] { return service(session).areTerminalURIsEqual(uri1, uri2); });
}

void zerovaapi_resetTerminal(zerovaapi_Session session, const char* terminal_uri,
                             const char* type_of_reset, quelerr_Status* status)
{
   guarded(status, ZEROVAAPI_CALL_SITE(session),
           [&] { service(session).resetTerminal(terminal_uri, type_of_reset); });
}

int32_t zerovaapi_calculateResetTerminal(zerovaapi_Session session, const char* terminal_uri,
                                         const char* type_of_reset, quelerr_Status* status)
{
   return guarded(status, ZEROVAAPI_CALL_SITE(session), 0, [&] {
      return service(session).calculateResetTerminal(terminal_uri, type_of_reset);
   });
}

void zerovaapi_initiateDeviceReset(zerovaapi_Session session, const char* dev_name,
                                   quelerr_Status* status)
{
   guarded(status, ZEROVAAPI_CALL_SITE(session),
           [&] { service(session).initiateDeviceReset(dev_name); });
}

void zerovaapi_completeDeviceReset(zerovaapi_Session session, const char* dev_name,
                                   quelerr_Status* status)
{
   guarded(status, ZEROVAAPI_CALL_SITE(session),
           [&] { service(session).completeDeviceReset(dev_name); });
}

int32_t zerovaapi_getSystemChangeNumber(zerovaapi_Session session, quelerr_Status* status)
{
   return guarded(status, ZEROVAAPI_CALL_SITE(session), 0,
                  [&] { return service(session).getSystemChangeNumber(); });
}

bool zerovaapi_hasTerminalInformationChanged(zerovaapi_Session session, int32_t change_number,
                                             quelerr_Status* status)
{
   return guarded(status, ZEROVAAPI_CALL_SITE(session), false,
                  [&] { return service(session).hasTerminalInformationChanged(change_number); });
}

// True on failure, unlike all others: callers rely on it.
bool zerovaapi_isDebug(zerovaapi_Session session, quelerr_Status* status)
{
   return guarded(status, ZEROVAAPI_CALL_SITE(session), true,
                  [&] { return service(session).isDebug(); });
}
