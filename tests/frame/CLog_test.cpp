#include "CLog.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <vector>

using testsupport::ReadFileBytes;
using testsupport::TempDir;

namespace {

// The messages of a trace file's "mm/dd/yy hh:mm:ss<TAB>message<CR><LF>" lines; "<malformed>" for
// any other line.
std::vector<std::string> Messages(const std::string& file, std::vector<std::string>* dates = nullptr)
{
    static const std::regex line(R"((\d\d/\d\d/\d\d) \d\d:\d\d:\d\d\t([^\r\n]*)\r\n)");
    const std::string bytes = ReadFileBytes(file);
    std::vector<std::string> messages;
    size_t start = 0;
    for (std::sregex_iterator it(bytes.begin(), bytes.end(), line), end; it != end; ++it) {
        messages.push_back(size_t(it->position()) == start ? (*it)[2].str() : "<malformed>");
        if (dates)
            dates->push_back((*it)[1]);
        start = it->position() + it->length();
    }
    EXPECT_EQ(bytes.size(), start) << "text after the last whole line";
    return messages;
}

}  // namespace

TEST(CLog, CreatesTheFileAndAddsOneStampedLinePerWrite)
{
    TempDir dir;
    const std::string file = dir / "trace.log";
    char before[32], after[32];
    _strdate(before);
    EXPECT_TRUE(CLog::Write(file.c_str(), "Install step %d of %s", 3, "7"));
    EXPECT_TRUE(CLog::Write(file.c_str(), "\tFailed to add a user account"));
    _strdate(after);
    std::vector<std::string> dates;
    EXPECT_EQ((std::vector<std::string>{"Install step 3 of 7", "\tFailed to add a user account"}),
              Messages(file, &dates));
    ASSERT_EQ(2u, dates.size());
    EXPECT_EQ(dates[0] == after ? after : before, dates[0]) << "today's date, before or after midnight";
}

TEST(CLog, MemberWriteFormatsTheMessageTwice)
{
    TempDir dir;
    const std::string file = dir / "trace.log";
    CLog log(file.c_str());
    EXPECT_TRUE(log.Write("50%%%%"));                        // "50%%", then "50%"
    EXPECT_TRUE(log.Write("count %%d"));                     // "count %d", then a number
    EXPECT_TRUE(CLog::Write(file.c_str(), "%s", "50%%"));  // the static form formats once
    std::vector<std::string> messages = Messages(file);
    ASSERT_EQ(3u, messages.size());
    EXPECT_EQ("50%", messages[0]);
    EXPECT_TRUE(std::regex_match(messages[1], std::regex("count -?\\d+"))) << messages[1];
    EXPECT_EQ("50%%", messages[2]);
}

TEST(CLog, UnwritableTargetsGiveZeroAndLongMessagesAreCut)
{
    TempDir dir;
    const std::string missing = dir / "no-such-folder\\trace.log", file = dir / "trace.log";
    EXPECT_FALSE(CLog::Write(missing.c_str(), "lost"));
    EXPECT_FALSE(CLog::Write(nullptr, "lost"));
    EXPECT_FALSE(CLog(nullptr).Write("lost"));

    const std::string longText(5000, 'x');
    EXPECT_TRUE(CLog::Write(file.c_str(), "%s", longText.c_str()));
    EXPECT_TRUE(CLog(file.c_str()).Write(longText.c_str()));
    EXPECT_EQ(std::vector<std::string>(2, std::string(511, 'x')), Messages(file));
}

// Several processes trace into one file at the same time: every line must arrive whole, once.
TEST(CLog, ConcurrentWritersInterleaveWholeLines)
{
    TempDir dir;
    const std::string file = dir / "shared.log";
    const int writers = 8, linesEach = 1000;
    std::vector<std::string> commandLines;
    for (int w = 0; w < writers; ++w)
        commandLines.push_back("\"" + testsupport::FixturePath("logwriter.exe") + "\" \"" + file + "\" " +
                               std::to_string(w) + " " + std::to_string(linesEach));
    EXPECT_EQ(std::vector<long>(writers, 0), testsupport::RunTogether(commandLines)) << "writers that saw failed writes";
    std::set<std::string> seen;
    const std::regex body(R"(writer \d+ line \d+ \.{69})");
    for (const std::string& message : Messages(file)) {
        EXPECT_TRUE(std::regex_match(message, body)) << "broken line: " << message;
        EXPECT_TRUE(seen.insert(message).second) << "twice: " << message;
    }
    EXPECT_EQ(size_t(writers * linesEach), seen.size());
}
