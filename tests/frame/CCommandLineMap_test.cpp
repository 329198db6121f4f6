#include "CCommandLineMap.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>
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

// Lines of random switches, values and arguments (any byte but the blank, runs of blanks between
// tokens): every entry reads back as it was put on the line, the last of a repeated key winning.
TEST(CCommandLineMap, RandomLinesReadBack)
{
    const unsigned seed = 1125;
    std::mt19937 random(seed);
    auto text = [&](size_t least, size_t most, bool colon) {
        std::string result(least + random() % (most - least + 1), 'x');
        for (char& ch : result) {
            do
                ch = static_cast<char>(1 + random() % 255);
            while (ch == ' ' || (ch == ':' && !colon));
        }
        return result;
    };
    for (int round = 0; round < 300; ++round) {
        const char sw = round % 2 ? '/' : '-';
        std::map<std::string, std::string> expected;
        std::string line;
        for (int token = random() % 8, position = 0; token > 0; --token) {
            line += std::string(1 + random() % 3, ' ');
            switch (random() % 3) {
            case 0: {  // a plain argument
                std::string argument = text(1, 12, true);
                argument[0] = argument[0] == sw ? 'a' : argument[0];
                expected["#" + std::to_string(position++)] = argument;
                line += argument;
                break;
            }
            case 1: {  // name:value
                const std::string name = text(0, 6, false), value = text(0, 20, true);
                expected[name] = value;
                line += sw + name + ":" + value;
                break;
            }
            default: {  // one letter and the rest
                const std::string letter = text(1, 1, false), rest = text(0, 10, false);
                expected[letter] = rest;
                line += sw + letter + rest;
            }
            }
        }
        SCOPED_TRACE("seed " + std::to_string(seed) + ", round " + std::to_string(round) + ": " + line);
        CCommandLineMap map(line.c_str(), sw);
        EXPECT_EQ(int(expected.size()), map.GetCount());
        for (const auto& entry : expected) {
            CString value("<none>");
            EXPECT_TRUE(map.GetSwitch(entry.first.c_str(), value, nullptr)) << entry.first;
            EXPECT_EQ(entry.second, value.GetString()) << entry.first;
        }
    }
}
