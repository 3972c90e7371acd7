// A process that has the library in it, and a service in another process.
#ifndef TESTS_FAULTS_GUEST_H
#define TESTS_FAULTS_GUEST_H

#include "exports/service_calls.h"
#include "faults/child_service.h"
#include "faults/endpoint.h"
#include "faults/fixed_status.h"
#include "lorvex_translator.h"
#include "service/loopback_address.h"

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace zerova::test {

class Guest : public testing::Test
{
protected:
   static char* allocate(void*, size_t length, void* context, quelerr_Status*)
   {
      auto* const room = static_cast<std::vector<char>*>(context);
      return length <= room->size() ? room->data() : nullptr;
   }

   // Calls everything on a session: the calls of the service, the containers, the attributes.
   static void useSession(zerovaapi_Session session)
   {
      FixedStatus status;
      for (const ServiceCall& call : serviceCalls())
         EXPECT_EQ(call.call(session, status), call.success) << call.method << status.text();
      const zerovaapi_RouteAttributes attributes = zerovaapi_RouteAttributes_new(status);
      zerovaapi_RouteAttributes_setOwnerName(attributes, "owner", status);
      zerovaapi_RouteConstraints_setStringConstraint(
         zerovaapi_RouteAttributes_getConstraints(attributes), "name", "value", status);
      zerovaapi_calculateRoute(session, "a", "b", attributes, status);
      zerovaapi_RouteAttributes_destroy(attributes);
      zerovaapi_destroyString(zerovaapi_showRoute(session, 1, status));
      EXPECT_EQ(status.code(), 0) << status.text();
      zerovaapi_destroyAllImmediateRoutes(session, status);
      EXPECT_EQ(status.code(), -52002);
   }

   static lorvex_Translator* createTranslator()
   {
      FixedStatus status;
      lorvex_Translator* const translator = lorvex_exported_create(
         "dorvex_zerova",
         R"({"lorvexlua_xlator":"dorvex","lorvexlua_settings":{"trvSharedErrorsDir":"/"}})",
         status);
      EXPECT_NE(translator, nullptr) << status.text();
      return translator;
   }

   void useTranslator()
   {
      lorvex_Translator* const translator = createTranslator();
      FixedStatus status;
      const uint32_t japanese = LORVEX_LANG_AND_ADE(lorvex_languageJapanese, 1);
      EXPECT_NE(translator->getStaticDesc(translator, 7, japanese, allocate, &room, status),
                nullptr);
      EXPECT_NE(
         translator->getDynamicDesc(translator, "{}", japanese, "json1", allocate, &room, status),
         nullptr);
      EXPECT_EQ(status.code(), 0) << status.text();
      translator->getDynamicDesc(translator, "no JSON", japanese, "json1", allocate, &room, status);
      EXPECT_EQ(status.code(), -52003);
      translator->destroy(translator);
      FixedStatus unknown;
      EXPECT_EQ(lorvex_exported_create("another", "{}", unknown), nullptr);
   }

   zerovaapi_Session connect(Endpoint endpoint) const
   {
      FixedStatus status;
      const zerovaapi_Session session = createSession(endpoint, host.text(), status);
      if (!session) throw std::runtime_error(status.text());
      return session;
   }

   void openAndDestroySessions() const
   {
      for (const Endpoint endpoint : {Endpoint::local, Endpoint::tcp})
         zerovaapi_destroySession(connect(endpoint));
   }

   // Every part once, what fails with it.
   void useEverything(ChildService& service)
   {
      for (const Endpoint endpoint : {Endpoint::local, Endpoint::tcp}) {
         const zerovaapi_Session session = connect(endpoint);
         useSession(session);
         zerovaapi_destroySession(session);
      }
      FixedStatus status;
      const zerovaapi_Session immediate = zerovaapi_createImmediateSession(status);
      useSession(immediate);
      useTranslator();
      service.kill();
      zerovaapi_getSystemChangeNumber(immediate, status);
      EXPECT_EQ(status.code(), -52024);
      zerovaapi_destroySession(immediate);
   }

   LoopbackAddress host;
   std::vector<char> room = std::vector<char>(16384);
};

} // namespace zerova::test

#endif
