// The translator on a machine where an installer has published its folders.
#include "exports/lua_translator/host.h"
#include "support/settings_tree.h"

namespace {

using testing::HasSubstr;

class InstalledMachine : public TranslatorHost
{
protected:
   // The settings that an installed host passes on.
   void createInstalled()
   {
      create(R"({"lorvexlua_xlator":"dorvex","lorvexlua_settings":{"driverName":"zerova",)"
             R"("trvSharedErrorsDir":"$_trvShared32Dir/Errors",)"
             R"("AuxErrorsDir":"$_trvShared32Dir/Auxerrors"}})");
      ASSERT_TRUE(translator) << status.text();
   }

   void publishSharedFolder()
   {
      tree.addValue(SettingsTree::View::of32Bit, "SOFTWARE/Trevanta/Common/Installer",
                    "TRVSHAREDDIR", folder.path() + "\\");
   }

   void describe(const std::string& place, const std::string& text)
   {
      folder.write(place + "/errors.txt", "<?xml version=\"1.0\"?>\n<tvdocument>\n"
                                          "<tverror code=\"-52006\">\n" +
                                             text + "\n</tverror>\n</tvdocument>\n");
   }

   SettingsTree tree;
};

TEST_F(InstalledMachine, TextsAreFoundBelowTheSharedFolder)
{
   publishSharedFolder();
   describe("Errors/English", "shared");
   createInstalled();
   EXPECT_EQ(staticDesc(-52006), "shared");
   describe("Auxerrors/zerova/English", "driver's");
   EXPECT_EQ(staticDesc(-52006), "driver's");
   EXPECT_EQ(status.code, 0);
}

TEST_F(InstalledMachine, FolderNamesAreFoundWithoutRegardToCase)
{
   publishSharedFolder();
   describe("errors/FRENCH", "d\xE9"
                             "j\xE0");
   createInstalled();
   EXPECT_EQ(staticDesc(-52006, 1), "d\u00E9j\u00E0");
}

TEST_F(InstalledMachine, WithoutTheSharedFolderBareCodesFailAndStatusJsonIsDescribed)
{
   createInstalled();
   EXPECT_EQ(staticDesc(-52006), std::nullopt);
   EXPECT_EQ(status.code, -52003);
   EXPECT_THAT(status("v.internal_error.string"), HasSubstr("tamrixerr_resourceNotFound"));
   status.code = 0;
   EXPECT_TRUE(dynamicDesc("{}", LORVEX_LANG_AND_ADE(1, 2)));
}

TEST_F(InstalledMachine, VariableOfTheTranslatorsOwnKeyIsExpanded)
{
   tree.addValue(SettingsTree::View::of32Bit, "SOFTWARE/Trevanta/Lorvex/plugins/dorvex_zerova",
                 "scripts", folder.path());
   folder.write("own/client.lua", "return {getStaticDesc = function() return 'found' end}");
   create(R"({"lorvexlua_xlator":"client","lorvexlua_path":"$scripts/own"})");
   ASSERT_TRUE(translator) << status.text();
   EXPECT_EQ(staticDesc(0), "found");
}

TEST_F(InstalledMachine, ReportOfTheLibraryIsDescribedByIt)
{
   EXPECT_FALSE(lorvex_exported_create("wrong", "{\"a\":\"b/c\"}", &status));
   HostStatus outcome;
   translator =
      lorvex_exported_create("dorvex_zerova", R"({"lorvexlua_xlator":"dorvex"})", &outcome);
   ASSERT_TRUE(translator);
   Json description(translator->getDynamicDesc(translator, status.json, 0, "json1",
                                               HostMemory::allocate, &memory, &outcome));
   EXPECT_EQ(description("v.debug[1].value"), "zerovaapi");
   EXPECT_EQ(description("v.debug[2].value"), "lorvex/exported");
   EXPECT_THAT(description("v.debug[4].value"), HasSubstr(R"("name":"wrong")"));
}

} // namespace
