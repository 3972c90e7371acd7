#include "fuzz/reply_calls.h"

#include "fuzz/require.h"
#include "source/zerovaapi/handles.h"
#include "support/owned.h"
#include "transport/client_session.h"

#include <cstdint>
#include <exception>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

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
   if (isText) require(text == std::string_view(attribute.str_attr.c_str()));

   OwnedStatus asBool;
   const bool value =
      zerovaapi_TerminalIterator_getBoolAttribute(terminals, iterator, name.c_str(), &asBool);
   const bool isBool = attribute.attr_type == AttrType::BOOL;
   require((asBool.code == 0) == isBool);
   require(value == (isBool && attribute.bool_attr));
   requireOneOf({kInvalidParameter}, asText);
   requireOneOf({kInvalidParameter}, asBool);
}

void walkTerminals(zerovaapi_TerminalContainer terminals, const std::vector<AttributeMap>& expected)
{
   size_t count = 0;
   zerovaapi_Iterator iterator = zerovaapi_TerminalContainer_begin(terminals);
   for (; !zerovaapi_TerminalIterator_isEnd(terminals, iterator); ++count) {
      for (const auto& [name, attribute] : expected.at(count))
         requireAttribute(terminals, iterator, name, attribute);
      require(unwrap(terminals)->attributeCount(count) == expected.at(count).size());
      zerovaapi_TerminalIterator_next(&iterator);
   }
   require(count == expected.size());
   OwnedStatus atEnd;
   require(!zerovaapi_TerminalIterator_getStringAttribute(terminals, iterator, kText, &atEnd));
   require(atEnd.code == kInvalidParameter);
}

void walkDevices(zerovaapi_DeviceContainer devices, const std::vector<DeviceInfo>& expected)
{
   size_t count = 0;
   zerovaapi_Iterator iterator = zerovaapi_DeviceContainer_begin(devices);
   for (; !zerovaapi_DeviceIterator_isEnd(devices, iterator); ++count) {
      const char* const name = zerovaapi_DeviceIterator_getDeviceName(devices, iterator);
      require(name == std::string_view(expected.at(count).deviceName.c_str()));
      walkTerminals(zerovaapi_DeviceIterator_getTerminalContainer(devices, iterator),
                    expected.at(count).terminals);
      zerovaapi_DeviceIterator_next(&iterator);
   }
   require(count == expected.size());
}

// What the stub reads, or nothing if it fails.
template <typename Result, typename Call>
std::optional<Result> readByStub(ClientSession& generic, Call call)
{
   try {
      Result result;
      call(result);
      return result;
   } catch (const std::bad_alloc&) {
      dropUnfinishedCall(generic); // behind lack of memory alone a session goes on
      return std::nullopt;
   } catch (const std::exception&) {
      return std::nullopt;
   }
}

// A result that is there exactly if nothing failed. A warning of the service is a failure too.
template <typename Result>
bool isThere(Result* result, const Status& status)
{
   if (status.code != 0) require(!result);
   return result != nullptr;
}

void getRouteInfo(Session session, ClientSession& generic, Status* status)
{
   const auto expected = readByStub<std::vector<DeviceInfo>>(
      generic, [&](auto& devices) { generic.client.getRouteInfo(devices, kTicket); });
   zerovaapi_DeviceContainer devices = zerovaapi_getRouteInfo(session, kTicket, status);
   require(isThere(devices, *status) == expected.has_value());
   if (devices) walkDevices(devices, *expected);
   zerovaapi_DeviceContainer_destroy(devices);
}

void getTerminals(Session session, ClientSession& generic, Status* status)
{
   const char* const names[] = {"a", "", nullptr};
   const auto expected = readByStub<std::vector<AttributeMap>>(generic, [&](auto& terminals) {
      generic.client.getTerminalNamesAndAttributesForDevice(terminals, kText, {"a", ""});
   });
   zerovaapi_TerminalContainer terminals =
      zerovaapi_getTerminalNamesAndAttributesForDevice(session, kText, names, status);
   require(isThere(terminals, *status) == expected.has_value());
   if (terminals) walkTerminals(terminals, *expected);
   zerovaapi_TerminalContainer_destroy(terminals);
}

void getDevices(Session session, ClientSession&, Status* status)
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
void withTicket(Session session, ClientSession&, Status* status)
{
   call(session, kTicket, status);
}

template <void (*call)(Session, const char*, Status*)>
void withText(Session session, ClientSession&, Status* status)
{
   call(session, kText, status);
}

template <void (*call)(Session, const char*, const char*, Status*)>
void withTwoTexts(Session session, ClientSession&, Status* status)
{
   call(session, kText, "", status);
}

constexpr ReplyCall kCalls[] = {
   {"calculateRoute",
    [](Session session, ClientSession&, Status* status) {
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
    [](Session session, ClientSession&, Status* status) {
       const int32_t number = zerovaapi_getSystemChangeNumber(session, status);
       if (status->code != 0) require(number == 0);
    }},
   {"hasTerminalInformationChanged",
    [](Session session, ClientSession&, Status* status) {
       const bool has = zerovaapi_hasTerminalInformationChanged(session, kTicket, status);
       if (status->code != 0) require(!has);
    }},
   {"getRoutableDevices", getDevices},
   {"getTerminalNamesAndAttributesForDevice", getTerminals},
   {"resetTerminal", withTwoTexts<zerovaapi_resetTerminal>},
   {"calculateResetTerminal",
    [](Session session, ClientSession&, Status* status) {
       const int32_t ticket = zerovaapi_calculateResetTerminal(session, kText, kText, status);
       if (status->code != 0) require(ticket == 0);
    }},
   {"initiateDeviceReset", withText<zerovaapi_initiateDeviceReset>},
   {"completeDeviceReset", withText<zerovaapi_completeDeviceReset>},
   {"isDebug",
    [](Session session, ClientSession&, Status* status) {
       const bool is = zerovaapi_isDebug(session, status);
       if (status->code != 0) require(is);
    }},
   {"validateTerminalURI",
    [](Session session, ClientSession&, Status* status) {
       const bool is = zerovaapi_validateTerminalURI(session, kText, status);
       if (status->code != 0) require(!is);
    }},
   {"areTerminalURIsEqual",
    [](Session session, ClientSession&, Status* status) {
       const bool are = zerovaapi_areTerminalURIsEqual(session, kText, kText, status);
       if (status->code != 0) require(!are);
    }},
};

} // namespace

std::span<const ReplyCall> replyCalls()
{
   return kCalls;
}
