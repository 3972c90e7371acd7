#include "faults/export_uses.h"

#include "faults/fixed_status.h"
#include "lorvex_translator.h"
#include "service/wire_bytes.h"

#include <stdexcept>
#include <utility>

namespace zerova::test {

namespace {

// So long that the buffer for a request grows while it is being written.
const std::string kLongUri = "first-device-with-a-long-name/" + std::string(2000, 't');
const char* const kUri1 = kLongUri.c_str();
// Each too long to live inside a string object.
constexpr const char* kUri2 = "second-device-with-a-long-name/terminal-with-a-long-name";
constexpr const char* kDevice = "first-device-with-a-long-name";
constexpr const char* kName = "an-attribute-whose-name-is-long";
constexpr const char* kFlag = "a-flag-whose-name-is-rather-long";
constexpr const char* kReset = "a-kind-of-reset-with-a-long-name";
constexpr const char* kAttributeNames[] = {kName, kFlag, nullptr};

WireBytes& terminalList(WireBytes& out)
{
   out.listHeader(wire::kMap, 2);
   for (int i = 0; i < 2; ++i) {
      out.mapHeader(wire::kString, wire::kStruct, 2).stringAttribute(kName, kUri1);
      out.boolAttribute(kFlag, true);
   }
   return out;
}

template <void (*call)(zerovaapi_Session, int32_t, quelerr_Status*)>
bool withTicket(UseObjects& on, quelerr_Status* status)
{
   call(on.session, 7, status);
   return status->code == 0;
}

template <void (*call)(zerovaapi_Session, const char*, quelerr_Status*)>
bool withText(UseObjects& on, quelerr_Status* status)
{
   call(on.session, kUri1, status);
   return status->code == 0;
}

template <zerovaapi_AttributeMap (*get)(zerovaapi_RouteAttributes)>
bool getsMap(UseObjects& on, quelerr_Status*)
{
   return get(on.attributes) != nullptr;
}

template <void (*set)(zerovaapi_RouteAttributes, int32_t, quelerr_Status*)>
bool setsNumber(UseObjects& on, quelerr_Status* status)
{
   set(on.attributes, 1, status);
   return status->code == 0;
}

ExportUse asking(const char* name, bool (*use)(UseObjects&, quelerr_Status*))
{
   return {name, Needs::memory, use, 0, name};
}

ExportUse local(const char* name, Needs needs, bool (*use)(UseObjects&, quelerr_Status*),
                int32_t plainCode = 0)
{
   return {name, needs, use, plainCode};
}

std::vector<ExportUse> allUses()
{
   using On = UseObjects&;
   using Status = quelerr_Status*;
   constexpr Needs nothing = Needs::nothing;
   constexpr Needs memory = Needs::memory;
   return {
      local(
         "createSession", memory,
         [](On on, Status s) { return (on.givenSession = zerovaapi_createSession(s)) != nullptr; }),
      local("createRemoteSession", memory,
            [](On on, Status s) {
               on.givenSession = zerovaapi_createRemoteSession(on.host.c_str(), s);
               return on.givenSession != nullptr;
            }),
      local("createImmediateSession", memory,
            [](On on, Status s) {
               return (on.givenSession = zerovaapi_createImmediateSession(s)) != nullptr;
            }),
      local("destroySession", nothing,
            [](On on, Status) {
               zerovaapi_destroySession(on.session);
               on.session = nullptr;
               return true;
            }),
      asking("calculateRoute",
             [](On on, Status s) {
                return zerovaapi_calculateRoute(on.session, kUri1, kUri2, on.attributes, s) != 0;
             }),
      asking("reserveRoute", withTicket<zerovaapi_reserveRoute>),
      asking("programRoute", withTicket<zerovaapi_programRoute>),
      asking("unprogramRoute", withTicket<zerovaapi_unprogramRoute>),
      asking("unreserveRoute", withTicket<zerovaapi_unreserveRoute>),
      asking("destroyRoute", withTicket<zerovaapi_destroyRoute>),
      asking("getRouteInfo",
             [](On on, Status s) {
                return (on.givenDevices = zerovaapi_getRouteInfo(on.session, 7, s)) != nullptr;
             }),
      local("showRoute", memory,
            [](On on, Status s) {
               return (on.givenText = zerovaapi_showRoute(on.session, 7, s)) != nullptr;
            }),
      asking("destroyImmediateRoute",
             [](On on, Status s) {
                zerovaapi_destroyImmediateRoute(on.session, kUri1, kUri2, s);
                return s->code == 0;
             }),
      asking("destroyImmediateRoutesOnDevice", withText<zerovaapi_destroyImmediateRoutesOnDevice>),
      asking("destroyImmediateRoutesFromSource",
             withText<zerovaapi_destroyImmediateRoutesFromSource>),
      asking("destroyImmediateRoutesToDest", withText<zerovaapi_destroyImmediateRoutesToDest>),
      local(
         "destroyAllImmediateRoutes", nothing,
         [](On on, Status s) {
            zerovaapi_destroyAllImmediateRoutes(on.session, s);
            return true;
         },
         -52002),
      local("RouteAttributes_new", memory,
            [](On on, Status s) {
               return (on.givenAttributes = zerovaapi_RouteAttributes_new(s)) != nullptr;
            }),
      local("RouteAttributes_destroy", nothing,
            [](On on, Status) {
               zerovaapi_RouteAttributes_destroy(on.attributes);
               on.attributes = nullptr;
               return true;
            }),
      local("RouteAttributes_setLifetime", nothing,
            setsNumber<zerovaapi_RouteAttributes_setLifetime>),
      local("RouteAttributes_setCalculationTargetState", nothing,
            setsNumber<zerovaapi_RouteAttributes_setCalculationTargetState>),
      local("RouteAttributes_setForceMultiDeviceRoute", nothing,
            [](On on, Status s) {
               zerovaapi_RouteAttributes_setForceMultiDeviceRoute(on.attributes, true, s);
               return s->code == 0;
            }),
      local("RouteAttributes_setOwnerName", Needs::memoryAndThrows,
            [](On on, Status s) {
               zerovaapi_RouteAttributes_setOwnerName(on.attributes, kUri1, s);
               return s->code == 0;
            }),
      local("RouteAttributes_getConstraints", nothing,
            getsMap<zerovaapi_RouteAttributes_getConstraints>),
      local("RouteAttributes_getSourceConstraints", nothing,
            getsMap<zerovaapi_RouteAttributes_getSourceConstraints>),
      local("RouteAttributes_getDestinationConstraints", nothing,
            getsMap<zerovaapi_RouteAttributes_getDestinationConstraints>),
      local("RouteAttributes_getOptionalModifiers", nothing,
            getsMap<zerovaapi_RouteAttributes_getOptionalModifiers>),
      local("RouteAttributes_getRequiredModifiers", nothing,
            getsMap<zerovaapi_RouteAttributes_getRequiredModifiers>),
      local("RouteAttributes_getDestinationRequiredModifiers", nothing,
            getsMap<zerovaapi_RouteAttributes_getDestinationRequiredModifiers>),
      local("RouteConstraints_setBoolConstraint", memory,
            [](On on, Status s) {
               zerovaapi_RouteConstraints_setBoolConstraint(on.map, kFlag, true, s);
               return s->code == 0;
            }),
      local("RouteConstraints_setStringConstraint", memory,
            [](On on, Status s) {
               zerovaapi_RouteConstraints_setStringConstraint(on.map, kName, kUri1, s);
               return s->code == 0;
            }),
      local("RouteModifiers_setBoolModifier", memory,
            [](On on, Status s) {
               zerovaapi_RouteModifiers_setBoolModifier(on.map, kFlag, true, s);
               return s->code == 0;
            }),
      local("RouteModifiers_setStringModifier", memory,
            [](On on, Status s) {
               zerovaapi_RouteModifiers_setStringModifier(on.map, kName, kUri1, s);
               return s->code == 0;
            }),
      asking("getRoutableDevices",
             [](On on, Status s) {
                return (on.givenTexts = zerovaapi_getRoutableDevices(on.session, s)) != nullptr;
             }),
      asking("getTerminalNamesAndAttributesForDevice",
             [](On on, Status s) {
                on.givenTerminals = zerovaapi_getTerminalNamesAndAttributesForDevice(
                   on.session, kDevice, kAttributeNames, s);
                return on.givenTerminals != nullptr;
             }),
      local("DeviceContainer_begin", nothing,
            [](On on, Status) { return zerovaapi_DeviceContainer_begin(on.devices) == 0; }),
      local("TerminalContainer_begin", nothing,
            [](On on, Status) { return zerovaapi_TerminalContainer_begin(on.terminals) == 0; }),
      local("DeviceIterator_next", nothing,
            [](On, Status) {
               zerovaapi_Iterator i = 0;
               zerovaapi_DeviceIterator_next(&i);
               return i == 1;
            }),
      local("TerminalIterator_next", nothing,
            [](On, Status) {
               zerovaapi_Iterator i = 0;
               zerovaapi_TerminalIterator_next(&i);
               return i == 1;
            }),
      local("DeviceIterator_isEnd", nothing,
            [](On on, Status) { return !zerovaapi_DeviceIterator_isEnd(on.devices, 0); }),
      local("TerminalIterator_isEnd", nothing,
            [](On on, Status) { return !zerovaapi_TerminalIterator_isEnd(on.terminals, 0); }),
      local("DeviceIterator_getDeviceName", nothing,
            [](On on, Status) {
               return zerovaapi_DeviceIterator_getDeviceName(on.devices, 0) != nullptr;
            }),
      local("DeviceIterator_getTerminalContainer", nothing,
            [](On on, Status) {
               return zerovaapi_DeviceIterator_getTerminalContainer(on.devices, 0) != nullptr;
            }),
      local("TerminalIterator_getStringAttribute", memory,
            [](On on, Status s) {
               return zerovaapi_TerminalIterator_getStringAttribute(on.terminals, 1, kName, s) !=
                      nullptr;
            }),
      local("TerminalIterator_getBoolAttribute", memory,
            [](On on, Status s) {
               return zerovaapi_TerminalIterator_getBoolAttribute(on.terminals, 1, kFlag, s);
            }),
      local("DeviceContainer_destroy", nothing,
            [](On on, Status) {
               zerovaapi_DeviceContainer_destroy(on.devices);
               on.devices = nullptr;
               return true;
            }),
      local("TerminalContainer_destroy", nothing,
            [](On on, Status) {
               zerovaapi_TerminalContainer_destroy(on.terminals);
               on.terminals = nullptr;
               return true;
            }),
      local("destroyString", nothing,
            [](On, Status) {
               zerovaapi_destroyString(nullptr);
               return true;
            }),
      local("destroyStringArray", nothing,
            [](On, Status) {
               zerovaapi_destroyStringArray(nullptr);
               return true;
            }),
      asking("validateTerminalURI",
             [](On on, Status s) { return zerovaapi_validateTerminalURI(on.session, kUri1, s); }),
      asking("areTerminalURIsEqual",
             [](On on, Status s) {
                return zerovaapi_areTerminalURIsEqual(on.session, kUri1, kUri2, s);
             }),
      asking("resetTerminal",
             [](On on, Status s) {
                zerovaapi_resetTerminal(on.session, kUri1, kReset, s);
                return s->code == 0;
             }),
      asking("calculateResetTerminal",
             [](On on, Status s) {
                return zerovaapi_calculateResetTerminal(on.session, kUri1, kReset, s) != 0;
             }),
      asking("initiateDeviceReset", withText<zerovaapi_initiateDeviceReset>),
      asking("completeDeviceReset", withText<zerovaapi_completeDeviceReset>),
      asking("getSystemChangeNumber",
             [](On on, Status s) { return zerovaapi_getSystemChangeNumber(on.session, s) != 0; }),
      asking(
         "hasTerminalInformationChanged",
         [](On on, Status s) { return zerovaapi_hasTerminalInformationChanged(on.session, 3, s); }),
      asking("isDebug",
             [](On on, Status s) {
                return zerovaapi_isDebug(on.session, s) && s->code == 0; // true also on failure
             }),
      local(
         "lorvex_exported_create", nothing,
         [](On, Status s) {
            return lorvex_exported_create("no translator has this name", "{}", s) == nullptr;
         },
         -52005),
   };
}

} // namespace

UseObjects::UseObjects(std::string itsHost)
   : host(std::move(itsHost))
{
   FixedStatus status;
   attributes = zerovaapi_RouteAttributes_new(status);
   zerovaapi_RouteConstraints_setStringConstraint(
      zerovaapi_RouteAttributes_getConstraints(attributes), kName, kUri1, status);
   // Empty, so that every entry is a new one.
   map = zerovaapi_RouteAttributes_getOptionalModifiers(attributes);
   session = zerovaapi_createSession(status);
   devices = zerovaapi_getRouteInfo(session, 7, status);
   terminals =
      zerovaapi_getTerminalNamesAndAttributesForDevice(session, kDevice, kAttributeNames, status);
   if (status.code() < 0)
      throw std::runtime_error(std::string("no objects to use: ") + status.text());
   renewSession();
}

UseObjects::~UseObjects()
{
   releaseGiven();
   zerovaapi_TerminalContainer_destroy(terminals);
   zerovaapi_DeviceContainer_destroy(devices);
   zerovaapi_RouteAttributes_destroy(attributes);
   zerovaapi_destroySession(session);
}

void UseObjects::renewSession()
{
   zerovaapi_destroySession(session);
   FixedStatus status;
   session = zerovaapi_createSession(status);
   if (!session) throw std::runtime_error(std::string("no session: ") + status.text());
}

void UseObjects::releaseGiven()
{
   zerovaapi_destroySession(givenSession);
   zerovaapi_RouteAttributes_destroy(givenAttributes);
   zerovaapi_DeviceContainer_destroy(givenDevices);
   zerovaapi_TerminalContainer_destroy(givenTerminals);
   zerovaapi_destroyString(givenText);
   zerovaapi_destroyStringArray(givenTexts);
   givenSession = nullptr;
   givenAttributes = nullptr;
   givenDevices = nullptr;
   givenTerminals = nullptr;
   givenText = nullptr;
   givenTexts = nullptr;
}

const std::vector<ExportUse>& exportUses()
{
   static const std::vector<ExportUse> kUses = allUses();
   return kUses;
}

std::string longReply(const std::string& method)
{
   if (method == "getRoutableDevices") return textListReply(method, {kUri1, kUri2});
   WireBytes out;
   out.message(wire::kReply, method).field(wire::kList, 0);
   if (method == "getTerminalNamesAndAttributesForDevice") return terminalList(out).stop().frame();
   if (method != "getRouteInfo") return plainReply(method);
   out.listHeader(wire::kStruct, 2);
   for (int i = 0; i < 2; ++i)
      terminalList(out.textField(1, kDevice).field(wire::kList, 2)).stop();
   return out.stop().frame();
}

} // namespace zerova::test
