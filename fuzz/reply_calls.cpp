#include "fuzz/reply_calls.h"

#include "fuzz/require.h"
#include "source/zerovaapi/handles.h"
#include "support/owned.h"

#include <cstdint>
#include <string_view>

using namespace zerova;

namespace {

using Session = zerovaapi_Session;
using Status = quelerr_Status;

constexpr int32_t kInvalidParameter = -52005;
constexpr int kTicket = 7;
constexpr const char* kText = "text";

void requireAttribute(zerovaapi_TerminalContainer terminals, zerovaapi_Iterator iterator,
                      const std::string& name, const Attribute& attribute)
{
   // The readers take a name that ends at its first NUL byte, which is then another name.
   if (name.find('\0') != name.npos) return;
   OwnedStatus asText;
   const char* const text =
      zerovaapi_TerminalIterator_getStringAttribute(terminals, iterator, name.c_str(), &asText);
   const bool isText = attribute.attr_type == AttrType::STRING;
   require((text != nullptr) == isText && (asText.code == 0) == isText);
   if (isText) require(text == attribute.str_attr.c_str());

   OwnedStatus asBool;
   const bool value =
      zerovaapi_TerminalIterator_getBoolAttribute(terminals, iterator, name.c_str(), &asBool);
   const bool isBool = attribute.attr_type == AttrType::BOOL;
   require((asBool.code == 0) == isBool);
   require(value == (isBool && attribute.bool_attr));
   requireOneOf({kInvalidParameter}, asText);
   requireOneOf({kInvalidParameter}, asBool);
}

void walkTerminals(zerovaapi_TerminalContainer terminals)
{
   size_t count = 0;
   zerovaapi_Iterator iterator = zerovaapi_TerminalContainer_begin(terminals);
   for (; !zerovaapi_TerminalIterator_isEnd(terminals, iterator); ++count) {
      for (const auto& [name, attribute] : unwrap(terminals)->at(count))
         requireAttribute(terminals, iterator, name, attribute);
      zerovaapi_TerminalIterator_next(&iterator);
   }
   require(count == unwrap(terminals)->size());
   OwnedStatus atEnd;
   require(!zerovaapi_TerminalIterator_getStringAttribute(terminals, iterator, kText, &atEnd));
   require(atEnd.code == kInvalidParameter);
}

void walkDevices(zerovaapi_DeviceContainer devices)
{
   size_t count = 0;
   zerovaapi_Iterator iterator = zerovaapi_DeviceContainer_begin(devices);
   for (; !zerovaapi_DeviceIterator_isEnd(devices, iterator); ++count) {
      const char* const name = zerovaapi_DeviceIterator_getDeviceName(devices, iterator);
      require(name == unwrap(devices)->at(count).deviceName.c_str());
      walkTerminals(zerovaapi_DeviceIterator_getTerminalContainer(devices, iterator));
      zerovaapi_DeviceIterator_next(&iterator);
   }
   require(count == unwrap(devices)->size());
}

// A result that is there exactly if nothing failed. A warning of the service is a failure too.
template <typename Result>
bool isThere(Result* result, const Status& status)
{
   if (status.code != 0) require(!result);
   return result != nullptr;
}

void getRouteInfo(Session session, Status* status)
{
   zerovaapi_DeviceContainer devices = zerovaapi_getRouteInfo(session, kTicket, status);
   if (isThere(devices, *status)) walkDevices(devices);
   zerovaapi_DeviceContainer_destroy(devices);
}

void getTerminals(Session session, Status* status)
{
   const char* const names[] = {"a", "", nullptr};
   zerovaapi_TerminalContainer terminals =
      zerovaapi_getTerminalNamesAndAttributesForDevice(session, kText, names, status);
   if (isThere(terminals, *status)) walkTerminals(terminals);
   zerovaapi_TerminalContainer_destroy(terminals);
}

void getDevices(Session session, Status* status)
{
   char** const devices = zerovaapi_getRoutableDevices(session, status);
   if (isThere(devices, *status)) {
      size_t length = 0;
      for (char** device = devices; *device; ++device)
         length += std::strlen(*device);
      require(length < SIZE_MAX / 2);
   }
   zerovaapi_destroyStringArray(devices);
}

template <void (*call)(Session, int32_t, Status*)>
void withTicket(Session session, Status* status)
{
   call(session, kTicket, status);
}

template <void (*call)(Session, const char*, Status*)>
void withText(Session session, Status* status)
{
   call(session, kText, status);
}

template <void (*call)(Session, const char*, const char*, Status*)>
void withTwoTexts(Session session, Status* status)
{
   call(session, kText, "", status);
}

constexpr ReplyCall kCalls[] = {
   {"calculateRoute",
    [](Session session, Status* status) {
       const int32_t ticket = zerovaapi_calculateRoute(session, kText, kText, nullptr, status);
       if (status->code != 0) require(ticket == 0);
    }},
   {"reserveRoute", withTicket<zerovaapi_reserveRoute>},
   {"programRoute", withTicket<zerovaapi_programRoute>},
   {"unprogramRoute", withTicket<zerovaapi_unprogramRoute>},
   {"unreserveRoute", withTicket<zerovaapi_unreserveRoute>},
   {"destroyRoute", withTicket<zerovaapi_destroyRoute>},
   {"destroyImmediateRoute", withTwoTexts<zerovaapi_destroyImmediateRoute>},
   {"destroyImmediateRoutesOnDevice", withText<zerovaapi_destroyImmediateRoutesOnDevice>},
   {"destroyImmediateRoutesFromSource", withText<zerovaapi_destroyImmediateRoutesFromSource>},
   {"destroyImmediateRoutesToDest", withText<zerovaapi_destroyImmediateRoutesToDest>},
   {"getRouteInfo", getRouteInfo},
   {"getSystemChangeNumber",
    [](Session session, Status* status) {
       const int32_t number = zerovaapi_getSystemChangeNumber(session, status);
       if (status->code != 0) require(number == 0);
    }},
   {"hasTerminalInformationChanged",
    [](Session session, Status* status) {
       const bool has = zerovaapi_hasTerminalInformationChanged(session, kTicket, status);
       if (status->code != 0) require(!has);
    }},
   {"getRoutableDevices", getDevices},
   {"getTerminalNamesAndAttributesForDevice", getTerminals},
   {"resetTerminal", withTwoTexts<zerovaapi_resetTerminal>},
   {"calculateResetTerminal",
    [](Session session, Status* status) {
       const int32_t ticket = zerovaapi_calculateResetTerminal(session, kText, kText, status);
       if (status->code != 0) require(ticket == 0);
    }},
   {"initiateDeviceReset", withText<zerovaapi_initiateDeviceReset>},
   {"completeDeviceReset", withText<zerovaapi_completeDeviceReset>},
   {"isDebug",
    [](Session session, Status* status) {
       const bool is = zerovaapi_isDebug(session, status);
       if (status->code != 0) require(is);
    }},
   {"validateTerminalURI",
    [](Session session, Status* status) {
       const bool is = zerovaapi_validateTerminalURI(session, kText, status);
       if (status->code != 0) require(!is);
    }},
   {"areTerminalURIsEqual",
    [](Session session, Status* status) {
       const bool are = zerovaapi_areTerminalURIsEqual(session, kText, kText, status);
       if (status->code != 0) require(!are);
    }},
};

} // namespace

std::span<const ReplyCall> replyCalls()
{
   return kCalls;
}
