#include "CLog.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <ctime>
#include <regex>
#include <set>
#include <sstream>
#include <vector>

using testsupport::ReadFileBytes;
using testsupport::TempDir;

namespace {

std::vector<std::string> SplitLines(const std::string& bytes)
{
    std::vector<std::string> lines;
    size_t start = 0;
    size_t end;
    while ((end = bytes.find("\r\n", start)) != std::string::npos) {
        lines.push_back(bytes.substr(start, end - start));
        start = end + 2;
    }
    EXPECT_EQ(bytes.size(), start) << "text after the last CR LF";
    return lines;
}

// "mm/dd/yy hh:mm:ss<TAB>message"
const std::regex kLine(R"((\d\d)/(\d\d)/(\d\d) (\d\d):(\d\d):(\d\d)\t([^\r\n]*))");

std::string MessageOf(const std::string& line)
{
    std::smatch match;
    if (!std::regex_match(line, match, kLine))
        return "<malformed: " + line + ">";
    return match[7];
}

}  // namespace

TEST(CLog, CreatesTheFileAndAddsOneStampedLinePerWrite)
{
    TempDir dir;
    const std::string file = dir / "trace.log";
    char before[32];
    _strdate(before);

    EXPECT_TRUE(CLog::Write(file.c_str(), "Install step %d of %s", 3, "7"));
    std::string first = ReadFileBytes(file);
    std::vector<std::string> lines = SplitLines(first);
    ASSERT_EQ(1u, lines.size());
    EXPECT_EQ("Install step 3 of 7", MessageOf(lines[0]));
    char after[32];
    _strdate(after);
    std::string date = lines[0].substr(0, 8);
    EXPECT_TRUE(date == before || date == after) << date;

    EXPECT_TRUE(CLog::Write(file.c_str(), "\tFailed to add a user account"));
    std::string second = ReadFileBytes(file);
    ASSERT_EQ(0u, second.compare(0, first.size(), first)) << "the first line changed";
    lines = SplitLines(second);
    ASSERT_EQ(2u, lines.size());
    EXPECT_EQ("\tFailed to add a user account", MessageOf(lines[1]));
}

TEST(CLog, MemberWriteFormatsTheMessageTwice)
{
    TempDir dir;
    const std::string file = dir / "trace.log";
    CLog log(file.c_str());
    EXPECT_STREQ(file.c_str(), log.File());

    // The first formatting makes "50%%%%" "50%%", the second "50%".
    EXPECT_TRUE(log.Write("50%%%%"));
    // A "%d" that survives the first formatting is formatted again and does not stay "%d".
    EXPECT_TRUE(log.Write("count %%d"));
    // The static form formats once.
    EXPECT_TRUE(CLog::Write(file.c_str(), "%s", "50%%"));

    std::vector<std::string> lines = SplitLines(ReadFileBytes(file));
    ASSERT_EQ(3u, lines.size());
    EXPECT_EQ("50%", MessageOf(lines[0]));
    EXPECT_EQ(0u, MessageOf(lines[1]).find("count "));
    EXPECT_EQ(std::string::npos, MessageOf(lines[1]).find("%d"));
    EXPECT_EQ("50%%", MessageOf(lines[2]));
}

TEST(CLog, UnwritableTargetsGiveZero)
{
    TempDir dir;
    const std::string missing = dir / "no-such-folder\\trace.log";
    EXPECT_FALSE(CLog::Write(missing.c_str(), "lost"));
    EXPECT_EQ(INVALID_FILE_ATTRIBUTES, GetFileAttributesA(missing.c_str()));
    EXPECT_FALSE(CLog::Write(nullptr, "lost"));
    CLog nowhere(nullptr);
    EXPECT_FALSE(nowhere.Write("lost"));
}

TEST(CLog, LongMessagesAreCutAt511Bytes)
{
    TempDir dir;
    const std::string file = dir / "trace.log";
    const std::string longText(5000, 'x');
    EXPECT_TRUE(CLog::Write(file.c_str(), "%s", longText.c_str()));
    CLog log(file.c_str());
    EXPECT_TRUE(log.Write(longText.c_str()));
    std::vector<std::string> lines = SplitLines(ReadFileBytes(file));
    ASSERT_EQ(2u, lines.size());
    EXPECT_EQ(std::string(511, 'x'), MessageOf(lines[0]));
    EXPECT_EQ(std::string(511, 'x'), MessageOf(lines[1]));
}

// Several processes trace into one file at the same time: every line must arrive whole, once.
TEST(CLog, ConcurrentWritersInterleaveWholeLines)
{
    TempDir dir;
    const std::string file = dir / "shared.log";
    const int writers = 4;
    const int linesEach = 150;

    std::vector<PROCESS_INFORMATION> processes;
    for (int w = 0; w < writers; ++w) {
        std::ostringstream command;
        command << '"' << testsupport::FixturePath("logwriter.exe") << "\" \"" << file << "\" " << w << ' '
                << linesEach;
        std::string line = command.str();
        STARTUPINFOA startup = {};
        startup.cb = sizeof(startup);
        PROCESS_INFORMATION process = {};
        ASSERT_TRUE(CreateProcessA(nullptr, &line[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                                   &process));
        processes.push_back(process);
    }
    for (PROCESS_INFORMATION& process : processes) {
        EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(process.hProcess, 120000));
        DWORD code = 99;
        GetExitCodeProcess(process.hProcess, &code);
        EXPECT_EQ(0u, code) << "a writer saw failed writes";
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
    }

    std::set<std::pair<int, int>> seen;
    const std::regex body(R"(writer (\d+) line (\d+) \.{69})");
    for (const std::string& line : SplitLines(ReadFileBytes(file))) {
        std::smatch match;
        std::string message = MessageOf(line);
        ASSERT_TRUE(std::regex_match(message, match, body)) << "broken line: " << line;
        EXPECT_TRUE(seen.insert({std::stoi(match[1]), std::stoi(match[2])}).second) << "twice: " << line;
    }
    EXPECT_EQ(static_cast<size_t>(writers * linesEach), seen.size());
}
