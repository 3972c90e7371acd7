// What stands behind the handles. Nothing is converted: a handle is the address of the object.
#ifndef ZEROVAAPI_HANDLES_H
#define ZEROVAAPI_HANDLES_H

#include "source/zerovaapi/containers.h"
#include "transport/client_session.h"
#include "zerovaapi.h"

namespace zerova {

template <typename Handle>
struct Behind;
template <>
struct Behind<zerovaapi_Session>
{
   using Object = ClientSession;
};
template <>
struct Behind<zerovaapi_RouteAttributes>
{
   using Object = RouteAttributes;
};
template <>
struct Behind<zerovaapi_AttributeMap>
{
   using Object = AttributeMap;
};
template <>
struct Behind<zerovaapi_DeviceContainer>
{
   using Object = DeviceReply;
};
template <>
struct Behind<zerovaapi_TerminalContainer>
{
   using Object = Terminals;
};

template <typename Handle>
auto unwrap(Handle handle) -> typename Behind<Handle>::Object*
{
   return reinterpret_cast<typename Behind<Handle>::Object*>(handle);
}

template <typename Handle>
Handle wrap(typename Behind<Handle>::Object* object)
{
   return reinterpret_cast<Handle>(object);
}

} // namespace zerova

#endif
