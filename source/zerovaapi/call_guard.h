// The frame of an exported function: the look at the status on entry, and the ladder of clauses
// that turns an exception into the caller's status.
#ifndef ZEROVAAPI_CALL_GUARD_H
#define ZEROVAAPI_CALL_GUARD_H

#include "APIv1.h"
#include "quelerr/exception_base.h"
#include "quelerr/status.h"
#include "source/zerovaapi/status_codes.h"
#include "transport/client_session.h"

#include <thrift/TApplicationException.h>
#include <thrift/protocol/TProtocolException.h>
#include <thrift/transport/TTransportException.h>

#include <cstdint>
#include <exception>
#include <new>
#include <type_traits>
#include <utility>

namespace zerova {

// Where a guard stands, the code it gives to a failure of the connection, and the session on which
// a call is made, if one is.
struct GuardSite
{
   int32_t line;
   StatusCode connectionFailure;
   ClientSession* session = nullptr;
};

// The sites of a function that calls the service on an open session, and of one that does not.
#define ZEROVAAPI_CALL_SITE(session)                                                               \
   (::zerova::GuardSite{__LINE__, ::zerova::kCommunicationsFault, ::zerova::unwrap(session)})
#define ZEROVAAPI_SITE (::zerova::GuardSite{__LINE__, ::zerova::kCommunicationsFault})

// Writes a failure that no exception told, with a sentence for the developer unless debugText is
// null. A failure that comes after an error is dropped: the first one stays.
void fail(quelerr_Status* status, StatusCode code, int32_t line, const char* debugText);

// The same in two steps, for a sentence that has to be built: only if the code took.
bool setFailure(quelerr_Status* status, StatusCode code, int32_t line);
void describeFailure(quelerr_Status* status, const char* debugText);

// The clauses of the ladder.
void takeServiceFailure(quelerr_Status* status, const ThriftStatus& e);
void takeException(quelerr_Status* status, StatusCode code, int32_t line, const char* key,
                   const std::exception& e);
void takeOutOfMemory(quelerr_Status* status, int32_t line);

// Returns what body returns, or failure when an exception of the ladder ended it. The order of the
// clauses counts, since the first four are std::exceptions too. An exception of any other kind is
// not the library's and passes through.
template <typename Body>
std::invoke_result_t<Body> caught(quelerr_Status* status, GuardSite site,
                                  std::type_identity_t<std::invoke_result_t<Body>> failure,
                                  Body&& body)
{
   const auto& [line, connectionFailure, session] = site;
   try {
      return body();
   } catch (const ThriftStatus& e) {
      takeServiceFailure(status, e);
   } catch (const apache::thrift::TApplicationException& e) {
      takeException(status, connectionFailure, line, "Thrift::TApplicationException", e);
   } catch (const apache::thrift::transport::TTransportException& e) {
      takeException(status, connectionFailure, line, "Thrift::TTransportException", e);
   } catch (const apache::thrift::protocol::TProtocolException& e) {
      takeException(status, connectionFailure, line, "Thrift::TProtocolException", e);
   } catch (quelerr::ExceptionBase& e) {
      quelerr_Status_adopt(status, &e.status);
   } catch (const std::bad_alloc&) {
      takeOutOfMemory(status, line);
      if (session) dropUnfinishedCall(*session);
   } catch (const std::exception& e) {
      takeException(status, kSoftwareFault, line, "std_exception_what", e);
   }
   return failure;
}

// The whole frame: with an error in the status, body does not run.
template <typename Body>
std::invoke_result_t<Body> guarded(quelerr_Status* status, GuardSite site,
                                   std::type_identity_t<std::invoke_result_t<Body>> failure,
                                   Body&& body)
{
   if (status->code < 0) return failure;
   return caught(status, site, std::move(failure), body);
}

// The same for a function without a result.
template <typename Body>
void guarded(quelerr_Status* status, GuardSite site, Body&& body)
{
   guarded(status, site, false, [&] {
      body();
      return true;
   });
}

} // namespace zerova

#endif
