#include "CJobQueue.h"
#include "CTambRegistry.h"

#include "ImportHook.h"
#include "RegistrySupport.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <regex>
#include <vector>

using namespace testsupport;
using Q = CJobQueue;

namespace {

std::string TracePath()
{
    char windows[MAX_PATH] = "";
    GetWindowsDirectoryA(windows, MAX_PATH);
    return std::string(windows) + "\\Temp\\setupcls_JobQue.log";
}

std::string Pointer(const void* pointer)  // as the DVCORE.DLL fixture records it
{
    return std::to_string(reinterpret_cast<uintptr_t>(pointer));
}

size_t Count(const std::string& text, const std::string& part)
{
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

// The product's HOME and a second core folder for CreateQueue each hold the DVCORE.DLL fixture;
// the job queue trace is put back as it was.
class JobQueue : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(RegWrite(kView32, m_pathKey, "HOME", m_home.path() + "\\"));
        ASSERT_TRUE(CreateDirectoryA(m_core.c_str(), nullptr));
        Install("DVCORE.DLL");
    }
    ~JobQueue() override
    {
        if (m_traceExisted)
            WriteFileBytes(TracePath(), m_traceBefore);
        else
            DeleteFileA(TracePath().c_str());
    }
    void Install(const char* fixture)  // "": no library
    {
        for (const std::string& folder : {m_home.path() + "\\", m_core}) {
            DeleteFileA((folder + "DVCORE.DLL").c_str());
            ASSERT_TRUE(!*fixture || CopyFixture(fixture, folder + "DVCORE.DLL"));
        }
    }
    std::string NewTrace() const { return ReadFileBytes(TracePath()).substr(m_traceBefore.size()); }

    const std::string m_pathKey = std::string(CTambRegistry::m_sDrosvaneBaseKey) + "\\Path";
    ScopedRegistryKeys m_keys{{CTambRegistry::m_sTamberlyKey.str(), CTambRegistry::m_sDrosvaneKey.str(),
                               CTambRegistry::m_sDrosvaneBaseKey.str(), m_pathKey}};
    TempDir m_home;
    std::string m_core = m_home / "core\\";
    const bool m_traceExisted = GetFileAttributesA(TracePath().c_str()) != INVALID_FILE_ATTRIBUTES;
    const std::string m_traceBefore = ReadFileBytes(TracePath());
    ScopedEnv m_calls{"DVCORE_FIXTURE_CALLS", nullptr};
    char m_queue[8] = "AQ_TAMB", m_server[4] = "SRV", m_command[11] = "backup.exe", m_arguments[6] = "/full";
    unsigned long m_out = 0;
    tagQJOBITEM* const m_items = reinterpret_cast<tagQJOBITEM*>(m_command);
    tagQUEUEINFO* const m_info = reinterpret_cast<tagQUEUEINFO*>(m_arguments);
};

std::vector<DWORD> g_pauses;
void WINAPI FakeSleep(DWORD milliseconds)
{
    g_pauses.push_back(milliseconds);
}

// GetQueueJobs pauses 10 s before each retry: Sleep is intercepted.
class JobQueueIntercepted : public JobQueue {};

}  // namespace

// Each entry gets the caller's arguments and its answer is traced. CreateQueue uses the folder
// it is given and also takes 0xFFFFFFFF (a queue already there) for success; the status query
// answers the entry's own code; the others 1 for 0.
TEST_F(JobQueue, OperationsForwardTheirArgumentsAndTraceTheAnswer)
{
    enum Result { ZeroIsSuccess, QueueCreated, EntryCode };
    const struct {
        const char *operation, *entry;
        std::function<unsigned long()> call;
        std::string arguments;
        Result result;
    } cases[] = {
        {"CreateQueue", "QSICreateQueue", [&] { return Q::CreateQueue(&m_core[0]); }, "0,AQ_TAMB,0," + m_core + ",1",
         QueueCreated},
        {"GetQueueJobs", "QSIGetQJobItemList", [&] { return Q::GetQueueJobs(m_queue, 5, m_items, 6, &m_out, m_info); },
         "AQ_TAMB,5," + Pointer(m_items) + ",6," + Pointer(&m_out) + "," + Pointer(m_info), ZeroIsSuccess},
        {"GetQueueJobStatus", "QSIMapJobStatus", [&] { return Q::GetQueueJobStatus(3, 4); }, "3,4", EntryCode},
        {"AddQueueJob", "DVAddQueueJob", [&] { return Q::AddQueueJob(m_queue, m_command, 7, m_arguments, 8, &m_out); },
         "AQ_TAMB,backup.exe,7,/full,8," + Pointer(&m_out), ZeroIsSuccess},
        {"DeleteQueueJob", "QSIDeleteJob", [&] { return Q::DeleteQueueJob(m_queue, 9, 10); }, "AQ_TAMB,9,10",
         ZeroIsSuccess},
        {"GetDefaultQueue", "DVGetDefaultQueue", [&] { return Q::GetDefaultQueue(m_server, m_queue, &m_out); },
         "SRV,AQ_TAMB," + Pointer(&m_out), ZeroIsSuccess},
    };
    for (const auto& c : cases) {
        for (unsigned long answer : {0UL, 7UL, 0xFFFFFFFFUL}) {
            SCOPED_TRACE(std::string(c.entry) + " answering " + std::to_string(answer));
            const std::string variable = std::string("DVCORE_FIXTURE_") + c.entry;
            ScopedEnv answerVariable(variable.c_str(), std::to_string(answer).c_str());
            ScopedEnv calls("DVCORE_FIXTURE_CALLS", nullptr);
            const size_t before = NewTrace().size();
            const bool success = answer == 0 || (c.result == QueueCreated && answer == 0xFFFFFFFF);
            EXPECT_EQ(c.result == EntryCode ? answer : (success ? 1 : 0), c.call());
            EXPECT_EQ(std::string(c.entry) + "(" + c.arguments + ")\n", EnvText("DVCORE_FIXTURE_CALLS"));
            const std::string line = NewTrace().substr(before);
            EXPECT_TRUE(std::regex_match(line.substr(0, 18), std::regex(R"(\d\d/\d\d/\d\d \d\d:\d\d:\d\d\t)"))) << line;
            EXPECT_EQ(std::string("CJobQueue::") + c.operation + " - API " + c.entry + "() return value " +
                          std::to_string(static_cast<int>(answer)) + "\r\n",
                      line.substr(18));
        }
    }
}

TEST_F(JobQueueIntercepted, GetQueueJobsWaitsForABusyServiceEighteenTimesAtMost)
{
    SETUPCLS_HOOK_IMPORT(sleep, "KERNEL32.dll", Sleep, FakeSleep);
    const struct {
        const char* busy;  // answers of 1723 before 0
        int result;
        size_t calls;
    } cases[] = {{"19", 0, 19}, {"4", 1, 5}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.busy);
        ScopedEnv busy("DVCORE_FIXTURE_BUSY", c.busy);
        g_pauses.clear();
        const size_t before = NewTrace().size();
        EXPECT_EQ(c.result, Q::GetQueueJobs(m_queue, 0, m_items, 1, &m_out, m_info));
        EXPECT_EQ(std::vector<DWORD>(c.calls - 1, 10000), g_pauses);
        const std::string trace = NewTrace().substr(before);
        EXPECT_EQ(c.calls - 1,
                  Count(trace, "\tCJobQueue::GetQueueJobs() RPC service is busy. Wait the RPC service for 10000ms"));
        // A line a call.
        EXPECT_EQ(c.calls, Count(trace, "\tCJobQueue::GetQueueJobs - API QSIGetQJobItemList() return value "));
    }
}

// Only the status query traces (its answer 2) when the library cannot be asked.
TEST_F(JobQueue, MissingLibraryOrEntryFailsWithoutATraceLine)
{
    for (const char* library : {"", "noexports.dll"}) {
        SCOPED_TRACE(library);
        Install(library);
        const size_t before = NewTrace().size();
        EXPECT_EACH(0, ANSWER(Q::CreateQueue(&m_core[0])), ANSWER(Q::CreateQueue(nullptr)),
                    ANSWER(Q::GetQueueJobs(m_queue, 0, m_items, 1, &m_out, m_info)),
                    ANSWER(Q::AddQueueJob(m_queue, m_command, 1, m_arguments, 0, &m_out)),
                    ANSWER(Q::DeleteQueueJob(m_queue, 1, 0)), ANSWER(Q::GetDefaultQueue(m_server, m_queue, &m_out)));
        EXPECT_EQ("", NewTrace().substr(before));
        EXPECT_EQ(2u, Q::GetQueueJobStatus(1, 0));
        EXPECT_EQ("CJobQueue::GetQueueJobStatus - API QSIMapJobStatus() return value 2\r\n",
                  NewTrace().substr(before + 18));
    }
}

TEST_F(JobQueue, QueueIsTheHomeFoldersQsdFolder)
{
    const std::string queue = m_home / "00000001.QSD";
    EXPECT_EQ(queue, Q::GetPath().str());  // HOME ends in a back-slash: one is kept
    EXPECT_EACH(0, ANSWER(Q::QueueExists()), ANSWER(Q().Exists()));
    ASSERT_TRUE(CreateDirectoryA(queue.c_str(), nullptr));
    ASSERT_TRUE(WriteFileBytes(queue + "\\job.dat", "job"));
    EXPECT_EACH(1, ANSWER(Q::QueueExists() != 0), ANSWER(Q().Exists() != 0));
    EXPECT_NE(0, Q::DeleteQueue());
    EXPECT_EQ(INVALID_FILE_ATTRIBUTES, GetFileAttributesA(queue.c_str()));
    // Without a home folder there is no queue folder to look for or delete anywhere.
    RegDeleteValueIn(kView32, m_pathKey, "HOME");
    EXPECT_EQ("", Q::GetPath().str());
    EXPECT_EQ(0, Q::DeleteQueue());
}
