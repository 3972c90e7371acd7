// The routing service's interface. Field ids, wire types, requiredness and defaults are a contract with
// services that are already installed.
namespace cpp zerova

enum AttrType
{
   UNKNOWN = 0,
   STRING = 1,
   BOOL = 2
}

enum RouteLifetime
{
   SESSION = 0,
   IMMEDIATE = 1
}

enum RouteState
{
   CALCULATED = 0,
   RESERVED = 1,
   PROGRAMMED = 2
}

// The default value makes the generated class count attr_type as present from the start.
struct Attribute
{
   1: AttrType attr_type = AttrType.UNKNOWN,
   2: optional string str_attr,
   3: optional bool bool_attr
}

struct DeviceInfo
{
   1: string deviceName,
   2: list<map<string, Attribute>> terminals
}

struct RouteAttributes
{
   1: optional RouteLifetime lifetime,
   2: optional RouteState routeState,
   3: optional bool force_multi_device_route,
   4: optional string owner_name,
   5: optional map<string, Attribute> constraints,
   6: optional map<string, Attribute> source_constraints,
   7: optional map<string, Attribute> destination_constraints,
   8: optional map<string, Attribute> optional_modifiers,
   9: optional map<string, Attribute> required_modifiers,
   10: optional map<string, Attribute> destination_required_modifiers
}

exception ThriftStatus
{
   1: i32 code,
   2: string description
}

service APIv1
{
   void version(1: string version_string) throws (1: ThriftStatus status),
   i32 calculateRoute(1: string src_uri, 2: string dest_uri, 3: RouteAttributes attrs)
      throws (1: ThriftStatus status),
   void reserveRoute(1: i32 ticket) throws (1: ThriftStatus status),
   void programRoute(1: i32 ticket) throws (1: ThriftStatus status),
   void unprogramRoute(1: i32 ticket) throws (1: ThriftStatus status),
   void unreserveRoute(1: i32 ticket) throws (1: ThriftStatus status),
   void destroyRoute(1: i32 ticket) throws (1: ThriftStatus status),
   void destroyImmediateRoute(1: string src_uri, 2: string dest_uri)
      throws (1: ThriftStatus status),
   void destroyImmediateRoutesOnDevice(1: string deviceAlias) throws (1: ThriftStatus status),
   void destroyImmediateRoutesFromSource(1: string src_uri) throws (1: ThriftStatus status),
   void destroyImmediateRoutesToDest(1: string dest_uri) throws (1: ThriftStatus status),
   list<DeviceInfo> getRouteInfo(1: i32 ticket) throws (1: ThriftStatus status),
   i32 getSystemChangeNumber() throws (1: ThriftStatus status),
   bool hasTerminalInformationChanged(1: i32 change_number) throws (1: ThriftStatus status),
   list<string> getRoutableDevices() throws (1: ThriftStatus status),
   list<map<string, Attribute>> getTerminalNamesAndAttributesForDevice(
      1: string dev_name, 2: list<string> attribute_names) throws (1: ThriftStatus status),
   void resetTerminal(1: string terminal_uri, 2: string type_of_reset)
      throws (1: ThriftStatus status),
   i32 calculateResetTerminal(1: string terminal_uri, 2: string type_of_reset)
      throws (1: ThriftStatus status),
   void initiateDeviceReset(1: string dev_name) throws (1: ThriftStatus status),
   void completeDeviceReset(1: string dev_name) throws (1: ThriftStatus status),
   bool isDebug(),
   bool validateTerminalURI(1: string uri) throws (1: ThriftStatus status),
   bool areTerminalURIsEqual(1: string uri1, 2: string uri2) throws (1: ThriftStatus status)
}
