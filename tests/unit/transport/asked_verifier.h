// Trusts as told and keeps what it was asked.
#ifndef TESTS_UNIT_TRANSPORT_ASKED_VERIFIER_H
#define TESTS_UNIT_TRANSPORT_ASKED_VERIFIER_H

#include "transport/access_verifier.h"
#include "unit/transport/descriptors.h"

#include <cstdint>
#include <functional>

struct AskedVerifier : apache::thrift::transport::TPureAccessVerifier
{
   uint32_t openFlags() override { return flags(++passes); }
   bool isServerTrusted(platform::Handle pipe) override
   {
      seen = pipe;
      wasOpen = descriptors::isOpen(seen);
      return trusts;
   }

   std::function<uint32_t(int pass)> flags = [](int) { return 0u; };
   bool trusts = true;
   int passes = 0;
   platform::Handle seen = platform::kInvalidHandle;
   bool wasOpen = false;
};

#endif
