#include "quelerr/exception_base.h"

#include <gtest/gtest.h>

#include <exception>
#include <memory>
#include <type_traits>

namespace {

struct ExceptionBase : testing::Test
{
   ExceptionBase()
   {
      quelerr_Status source;
      quelerr_Status_init(&source);
      quelerr_Status_setCode(&source, -52006);
      quelerr_Status_setJson(&source, R"({"why":"gone"})");
      exception = std::make_unique<quelerr::ExceptionBase>(source);
      EXPECT_EQ(source.json, nullptr);
      quelerr_Status_init(&caller);
   }
   ~ExceptionBase() override { quelerr_Status_release(&caller); }

   std::unique_ptr<quelerr::ExceptionBase> exception;
   quelerr_Status caller;
};

TEST_F(ExceptionBase, IsPolymorphicAndNoStandardException)
{
   static_assert(std::is_polymorphic_v<quelerr::ExceptionBase>);
   static_assert(!std::is_base_of_v<std::exception, quelerr::ExceptionBase>);
   EXPECT_EQ(exception->status.code, -52006);
}

TEST_F(ExceptionBase, ReachesTheCallerWithCodeAndText)
{
   EXPECT_TRUE(quelerr_Status_adopt(&caller, &exception->status));
   EXPECT_EQ(caller.code, -52006);
   EXPECT_STREQ(caller.json, R"({"why":"gone"})");
}

TEST_F(ExceptionBase, StaysWholeWhenTheCallerHoldsAnError)
{
   quelerr_Status_setCode(&caller, -1);
   EXPECT_FALSE(quelerr_Status_adopt(&caller, &exception->status));
   EXPECT_EQ(caller.code, -1);
   EXPECT_STREQ(exception->status.json, R"({"why":"gone"})");
}

TEST_F(ExceptionBase, CopyHoldsItsOwnText)
{
   const quelerr::ExceptionBase copy(*exception);
   EXPECT_EQ(copy.status.code, -52006);
   EXPECT_NE(copy.status.json, exception->status.json);
   EXPECT_STREQ(copy.status.json, exception->status.json);
}

} // namespace
