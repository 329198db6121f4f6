#include "CCommandLineMap.h"

#include <gtest/gtest.h>

namespace {

CString ValueOf(const CCommandLineMap& map, const char* key)
{
    CString value("<none>");
    map.Lookup(key, value);
    return value;
}

}  // namespace

TEST(CCommandLineMap, ThreeKindsOfEntry)
{
    CCommandLineMap map("/s /f:C:\\A.ICF:x setup.exe", '/');
    EXPECT_EQ(3, map.GetCount());
    EXPECT_TRUE(map.GetSwitch('s'));
    EXPECT_STREQ("", ValueOf(map, "s"));
    EXPECT_STREQ("C:\\A.ICF:x", ValueOf(map, "f"));  // only the first colon splits
    EXPECT_STREQ("setup.exe", ValueOf(map, "#0"));
    EXPECT_TRUE(map.GetText(0, CString()));
    EXPECT_FALSE(map.GetText(1, CString()));
}

TEST(CCommandLineMap, ShortSwitchTakesOneLetterAndLongNamesNeedTheColon)
{
    CCommandLineMap map("/quiet /Log:C:\\trace.txt", '/');
    EXPECT_STREQ("uiet", ValueOf(map, "q"));
    EXPECT_FALSE(map.GetSwitch("quiet"));
    EXPECT_TRUE(map.GetSwitch("Log"));
    EXPECT_FALSE(map.GetSwitch("log"));  // keys are case-sensitive
    EXPECT_STREQ("C:\\trace.txt", ValueOf(map, "Log"));
}

TEST(CCommandLineMap, BlanksRepeatsAndTheLoneSwitchCharacter)
{
    CCommandLineMap map("   first    second  - -x1 -x2  ", '-');
    EXPECT_STREQ("first", ValueOf(map, "#0"));
    EXPECT_STREQ("second", ValueOf(map, "#1"));
    EXPECT_STREQ("2", ValueOf(map, "x"));  // the last value wins
    EXPECT_EQ(3, map.GetCount());          // the lone "-" is ignored
}

TEST(CCommandLineMap, DeploymentTokensNameTheDeploymentAnswerFile)
{
    for (char sw : {'-', '/'}) {
        CCommandLineMap map("-SMSInstall -SMSUninstall -SMSInstallX", sw);
        EXPECT_STREQ("DROSVANE.ICF", ValueOf(map, "SMSInstall"));
        EXPECT_STREQ("DROSVANE.ICF", ValueOf(map, "SMSUninstall"));
    }
    // Only the whole tokens are special.
    CCommandLineMap other("-SMSInstallX", '-');
    EXPECT_STREQ("MSInstallX", ValueOf(other, "S"));
}

TEST(CCommandLineMap, SwitchDefaults)
{
    CCommandLineMap map("/a:1", '/');
    CString value("kept");
    EXPECT_TRUE(map.GetSwitch('a', value, "dflt"));
    EXPECT_STREQ("1", value);
    EXPECT_FALSE(map.GetSwitch('b', value, "dflt"));
    EXPECT_STREQ("dflt", value);
    value = "kept";
    EXPECT_FALSE(map.GetSwitch("bee", value, nullptr));
    EXPECT_STREQ("kept", value);
    EXPECT_FALSE(map.GetSwitch(static_cast<const char*>(nullptr)));
}

TEST(CCommandLineMap, NullOrEmptyLineGivesEmptyMap)
{
    EXPECT_EQ(0, CCommandLineMap(nullptr, '/').GetCount());
    EXPECT_EQ(0, CCommandLineMap("", '/').GetCount());
    EXPECT_EQ(0, CCommandLineMap("     ", '/').GetCount());
}
