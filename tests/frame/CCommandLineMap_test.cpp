#include "CCommandLineMap.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

TEST(CCommandLineMap, EntriesOfEachLine)
{
    const struct {
        const char* line;
        char sw;
        std::vector<std::pair<const char*, const char*>> entries;  // the whole map
    } cases[] = {
        // Switch alone, name:value (only the first colon splits), positional.
        {"/s /f:C:\\A.ICF:x setup.exe", '/', {{"s", ""}, {"f", "C:\\A.ICF:x"}, {"#0", "setup.exe"}}},
        // One letter without a colon; keys are case-sensitive.
        {"/quiet /Log:C:\\trace.txt", '/', {{"q", "uiet"}, {"Log", "C:\\trace.txt"}}},
        // Runs of blanks, the lone switch character ignored, the last value wins.
        {"   first    second  - -x1 -x2  ", '-', {{"#0", "first"}, {"#1", "second"}, {"x", "2"}}},
        // Only the whole deployment tokens are special, whatever the switch character.
        {"-SMSInstall -SMSUninstall -SMSInstallX", '-',
         {{"SMSInstall", "DROSVANE.ICF"}, {"SMSUninstall", "DROSVANE.ICF"}, {"S", "MSInstallX"}}},
        {"-SMSUninstall /SMSInstall -SMSInstallX", '/',
         {{"SMSUninstall", "DROSVANE.ICF"}, {"S", "MSInstall"}, {"#0", "-SMSInstallX"}}},
        {nullptr, '/', {}},
        {"     ", '/', {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.line ? c.line : "(null)");
        CCommandLineMap map(c.line, c.sw);
        EXPECT_EQ(int(c.entries.size()), map.GetCount());
        for (const auto& entry : c.entries) {
            CString value("<none>");
            map.Lookup(entry.first, value);
            EXPECT_STREQ(entry.second, value) << entry.first;
        }
    }
}

TEST(CCommandLineMap, QueriesAndDefaults)
{
    CCommandLineMap map("/a:1 /Log:x setup.exe", '/');
    EXPECT_TRUE(map.GetText(0, CString()));
    EXPECT_FALSE(map.GetText(1, CString()));
    EXPECT_EACH(1, ANSWER(map.GetSwitch('a')), ANSWER(map.GetSwitch("Log")));
    EXPECT_EACH(0, ANSWER(map.GetSwitch('L')), ANSWER(map.GetSwitch("log")), ANSWER(map.GetSwitch(static_cast<const char*>(nullptr))));
    CString value("kept");
    EXPECT_TRUE(map.GetSwitch('a', value, "dflt"));
    EXPECT_STREQ("1", value);
    EXPECT_FALSE(map.GetSwitch('b', value, "dflt"));
    EXPECT_STREQ("dflt", value);
    EXPECT_TRUE(map.GetSwitch("Log", value, nullptr));
    EXPECT_STREQ("x", value);
    EXPECT_FALSE(map.GetSwitch("bee", value, nullptr));
    EXPECT_STREQ("x", value);
}
