// CService against Wine's own service manager: the product's service records, install and change
// read back from the manager, the life cycle of the fixture service FIXSVC.EXE, dependents found
// in the registry, start types kept across an upgrade, and the command-line helpers.
#include "CService.h"

#include "Handles.h"
#include "RegistrySupport.h"
#include "ServiceSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <string>

using namespace testsupport;

namespace {

const char kMissing[] = "SetupCLSTestMissing";
const DWORD kNoChange = SERVICE_NO_CHANGE;

std::string OtherCase(std::string text)
{
    for (char& c : text)
        c = static_cast<char>(isupper(static_cast<unsigned char>(c)) ? tolower(static_cast<unsigned char>(c))
                                                                     : toupper(static_cast<unsigned char>(c)));
    return text;
}

// Sets error control, group and display name of a service with the service manager directly.
bool SetConfig(const std::string& name, DWORD errorControl, const char* group, const char* displayName)
{
    UniqueService manager(OpenSCManagerA(nullptr, nullptr, SC_MANAGER_ALL_ACCESS));
    UniqueService service(manager ? OpenServiceA(manager.get(), name.c_str(), SERVICE_ALL_ACCESS) : nullptr);
    return service && ChangeServiceConfigA(service.get(), kNoChange, kNoChange, errorControl, nullptr, group, nullptr,
                                           nullptr, nullptr, nullptr, displayName);
}

TEST(CServiceRecord, ProductServicesAndUnknownValues)
{
    const struct {
        int type;
        const char *name, *file, *display;
        unsigned long serviceType;
        const char* group;
    } cases[] = {
        {0, "QDVJobEngine", "JOBENG.EXE", "BN Drosvane Job Engine", 272, "Quellmarsh"},
        {1, "QDVTapeEngine", "TAPEENG.EXE", "BN Drosvane Tape Engine", 272, "Quellmarsh"},
        {2, "QDVDBEngine", "DBENG.EXE", "BN Drosvane Database Engine", 272, "Quellmarsh"},
        {3, "QDVMessageEngine", "MSGENG.EXE", "BN Drosvane Message Engine", 272, "Quellmarsh"},
        {4, "Tamberly Alert Notification Server", "Alert.EXE", "Tamberly Alert Notification Server", 272, ""},
        {5, "QDVDiscovery", "QDVDSCSVC.EXE", "BN Drosvane Discovery Service", 272, "Quellmarsh"},
        {6, "", "", "", 0, ""},
        {-1, "", "", "", 0, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.type);
        const CService record(static_cast<CService::ServiceType>(c.type));
        EXPECT_STREQ(c.name, record.Name());
        EXPECT_STREQ(c.file, record.BinaryFile());
        EXPECT_STREQ(c.display, record.DisplayName());
        EXPECT_EQ(c.serviceType, record.Type());
        EXPECT_STREQ(c.group, record.LoadOrderGroup());
    }
}

TEST(CServiceRecord, NullDisplayNameIsTheNameAndNullGroupIsEmpty)
{
    const CService record("SetupCLSTestRecord", "X.EXE", nullptr, 16, nullptr);
    EXPECT_STREQ("SetupCLSTestRecord", record.DisplayName());
    EXPECT_STREQ("", record.LoadOrderGroup());
}

// One service of the fixture program per test, removed on every path.
class CServiceTest : public ::testing::Test {
protected:
    ScopedService m_service{"SetupCLSTestService"};
};

TEST_F(CServiceTest, InstallBuildsTheQuotedPathAndKeepsTheRestAsGiven)
{
    const struct {
        const char* folder;
        const char* path;
    } cases[] = {
        {"C:\\Apps\\Backup", "\"C:\\Apps\\Backup\\JOBENG.EXE\""},
        {"C:\\Apps\\Backup\\", "\"C:\\Apps\\Backup\\JOBENG.EXE\""},
        {"", "\"\\JOBENG.EXE\""},
        {nullptr, "\"\\JOBENG.EXE\""},
    };
    int round = 0;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.folder ? c.folder : "(null)");
        ScopedService owned("SetupCLSTestInstall" + std::to_string(++round));
        const CService record(owned.c_str(), "JOBENG.EXE", "SetupCLSTest Shown", 272, "SetupCLSTestGroup");
        EXPECT_EQ(1, record.InstallService(c.folder, SERVICE_DISABLED, nullptr, nullptr));
        const ServiceConfigText config = ReadServiceConfig(owned.name());
        EXPECT_EQ(c.path, config.binaryPath);
        EXPECT_EQ("SetupCLSTestGroup", config.group);
        EXPECT_EQ("SetupCLSTest Shown", config.displayName);
        EXPECT_EQ(272u, config.type);
        EXPECT_EQ(static_cast<DWORD>(SERVICE_DISABLED), config.startType);
        EXPECT_EQ(static_cast<DWORD>(SERVICE_ERROR_NORMAL), config.errorControl);
    }
}

TEST_F(CServiceTest, InstallingTwiceSucceedsAndKeepsTheFirstConfiguration)
{
    const CService record(m_service.c_str(), "JOBENG.EXE", nullptr, 16, nullptr);
    ASSERT_EQ(1, record.InstallService("C:\\First", SERVICE_DEMAND_START, nullptr, nullptr));
    EXPECT_EQ(1, record.InstallService("C:\\Second", SERVICE_DISABLED, nullptr, nullptr));
    const ServiceConfigText config = ReadServiceConfig(m_service.name());
    EXPECT_EQ("\"C:\\First\\JOBENG.EXE\"", config.binaryPath);
    EXPECT_EQ(static_cast<DWORD>(SERVICE_DEMAND_START), config.startType);
}

// Drivers are only installed here, never started.
TEST_F(CServiceTest, DriversLandInGroupFilterWhateverGroupIsGiven)
{
    for (DWORD type : {SERVICE_KERNEL_DRIVER, SERVICE_FILE_SYSTEM_DRIVER}) {
        SCOPED_TRACE(type);
        ScopedService driver("SetupCLSTestDriver" + std::to_string(type));
        EXPECT_EQ(1, CService::InstallService(driver.c_str(), nullptr, "C:\\Apps\\drv.sys", type, SERVICE_DEMAND_START,
                                              "SetupCLSTestGroup", nullptr, nullptr, nullptr));
        EXPECT_EQ("Filter", ReadServiceConfig(driver.name()).group);
        EXPECT_EQ(1, CService::ChangeService(driver.c_str(), nullptr, nullptr, type, kNoChange, "SetupCLSTestOther",
                                             nullptr, nullptr, nullptr));
        EXPECT_EQ("Filter", ReadServiceConfig(driver.name()).group);
    }
}

TEST_F(CServiceTest, ChangeSetsErrorControlBackToNormal)
{
    ASSERT_TRUE(m_service.Create());
    ASSERT_TRUE(SetConfig(m_service.name(), SERVICE_ERROR_IGNORE, nullptr, nullptr));
    const CService record(m_service.c_str(), "JOBENG.EXE", "SetupCLSTest Changed", 16, nullptr);
    EXPECT_EQ(1, record.ChangeService("C:\\Apps\\Backup\\", SERVICE_DISABLED, nullptr, nullptr));
    const ServiceConfigText config = ReadServiceConfig(m_service.name());
    EXPECT_EQ(static_cast<DWORD>(SERVICE_ERROR_NORMAL), config.errorControl);
    EXPECT_EQ("\"C:\\Apps\\Backup\\JOBENG.EXE\"", config.binaryPath);
    EXPECT_EQ(static_cast<DWORD>(SERVICE_DISABLED), config.startType);
    EXPECT_EQ("SetupCLSTest Changed", config.displayName);
}

TEST_F(CServiceTest, ChangeWithNullTextsLeavesTheirItemsUnchanged)
{
    ASSERT_TRUE(m_service.Create());
    ASSERT_TRUE(SetConfig(m_service.name(), SERVICE_ERROR_NORMAL, "SetupCLSTestGroup", "SetupCLSTest Shown"));
    EXPECT_EQ(1, CService::ChangeService(m_service.c_str(), nullptr, nullptr, kNoChange, kNoChange, nullptr, nullptr,
                                         nullptr, nullptr));
    const ServiceConfigText config = ReadServiceConfig(m_service.name());
    EXPECT_EQ("SetupCLSTest Shown", config.displayName);
    EXPECT_EQ(FixtureServiceCommand(), config.binaryPath);
    EXPECT_EQ("SetupCLSTestGroup", config.group);
}

TEST_F(CServiceTest, ChangeSvcStartTypeChangesTheStartTypeOnly)
{
    ASSERT_TRUE(m_service.Create());
    ASSERT_TRUE(SetConfig(m_service.name(), SERVICE_ERROR_IGNORE, nullptr, nullptr));
    for (DWORD startType : {SERVICE_DISABLED, SERVICE_AUTO_START, SERVICE_DEMAND_START}) {
        SCOPED_TRACE(startType);
        EXPECT_EQ(1, CService::ChangeSvcStartType(m_service.c_str(), startType));
        const ServiceConfigText config = ReadServiceConfig(m_service.name());
        EXPECT_EQ(startType, config.startType);
        EXPECT_EQ(static_cast<DWORD>(SERVICE_ERROR_IGNORE), config.errorControl);
    }
}

TEST_F(CServiceTest, StartsWithAndWithoutWaitAndStopsThroughTheObject)
{
    ASSERT_TRUE(m_service.Create("/startsteps:1 /starthint:100"));
    const CService record(m_service.c_str(), "FIXSVC.EXE", nullptr, 16, nullptr);
    for (int wait : {0, 1}) {
        SCOPED_TRACE(wait);
        EXPECT_EQ(1, record.StartServiceA(wait));
        ASSERT_TRUE(m_service.WaitFor(SERVICE_RUNNING, 3000));
        EXPECT_EQ(1, record.IsStarted());
        EXPECT_EQ(0, record.IsStopped());
        EXPECT_EQ(1, record.StartServiceA(wait)) << "already running (1056)";
        // The fixture reports its stop from its main thread, after the stop control was answered:
        // a stop whose first query comes before that report still sees the service running and
        // answers 0 without waiting. So the state is waited for, and the answer asked once stopped.
        record.StopService(1, 0);
        ASSERT_TRUE(m_service.WaitFor(SERVICE_STOPPED, 3000));
        EXPECT_EQ(1, record.StopService(1, 0));
        EXPECT_EQ(0, record.IsStarted());
        EXPECT_EQ(1, record.IsStopped());
    }
}

TEST_F(CServiceTest, AStartPendingServiceIsStartedAndNotStopped)
{
    ASSERT_TRUE(m_service.Create("/stall /starthint:100"));
    EXPECT_EQ(1, CService::StartServiceA(m_service.c_str(), 0));
    ASSERT_TRUE(m_service.WaitFor(SERVICE_START_PENDING));
    EXPECT_EQ(1, CService::IsStarted(m_service.c_str()));
    EXPECT_EQ(0, CService::IsStopped(m_service.c_str()));
}

// The fixture stays stop-pending for one second after the stop control. Without a wait the answer
// is the state the stop control hands back: stop-pending on Windows, still running on Wine (whose
// control answers with the status from before the stop); 0 either way.
TEST_F(CServiceTest, StopWithoutWaitGivesZeroAndAStopUnderWayGivesOneAtOnce)
{
    ASSERT_TRUE(m_service.Create("/stopsteps:1 /stophint:1000"));
    ASSERT_TRUE(m_service.Start());
    ASSERT_TRUE(m_service.WaitFor(SERVICE_RUNNING));
    EXPECT_EQ(0, CService::StopService(m_service.c_str(), 0, 0));
    ASSERT_TRUE(m_service.WaitFor(SERVICE_STOP_PENDING, 500));
    EXPECT_EQ(1, CService::IsStarted(m_service.c_str()));
    EXPECT_EQ(0, CService::IsStopped(m_service.c_str()));
    const DWORD before = GetTickCount();
    EXPECT_EQ(1, CService::StopService(m_service.c_str(), 1, 0));
    EXPECT_LT(GetTickCount() - before, 500u);
    EXPECT_EQ(static_cast<DWORD>(SERVICE_STOP_PENDING), m_service.State());
    EXPECT_TRUE(m_service.WaitFor(SERVICE_STOPPED, 3000));
}

TEST_F(CServiceTest, RemoveStopsAndDeletesARunningService)
{
    ASSERT_TRUE(m_service.Create());
    ASSERT_TRUE(m_service.Start());
    ASSERT_TRUE(m_service.WaitFor(SERVICE_RUNNING));
    EXPECT_EQ(1, CService::RemoveService(m_service.c_str()));
    // Marked for deletion, the service goes once it has stopped; State() is 0 when it cannot be
    // opened any more.
    EXPECT_TRUE(m_service.WaitFor(0, 3000));
}

TEST(CServiceMissing, StopAndRemoveSucceedTheRestFailsOrLeavesThingsAlone)
{
    const std::string key = "SOFTWARE\\SetupCLSTestBackupMissing";
    ScopedRegistryKeys cleanup({key});
    char buffer[] = "untouched";
    EXPECT_EACH(1, ANSWER(CService::StopService(kMissing, 1, 1)), ANSWER(CService::RemoveService(kMissing)),
                ANSWER(CService::IsStopped(kMissing)), ANSWER(CService::GetServiceFileName(kMissing, buffer, sizeof(buffer))),
                ANSWER(CService::BackupServiceStatus(key.c_str(), kMissing)),
                ANSWER(CService::RestoreServiceStatus(key.c_str(), kMissing, "Shown")));
    EXPECT_EACH(0, ANSWER(CService::StartServiceA(kMissing, 1)),
                ANSWER(CService::ChangeService(kMissing, nullptr, nullptr, kNoChange, kNoChange, nullptr, nullptr,
                                               nullptr, nullptr)),
                ANSWER(CService::ChangeSvcStartType(kMissing, SERVICE_DISABLED)), ANSWER(CService::IsStarted(kMissing)),
                ANSWER(CService::ServiceExists(kMissing)));
    EXPECT_STREQ("untouched", buffer);
    EXPECT_FALSE(RegKeyExists(kView32, key));
}

// A parent, running, and dependents that name it in their DependOnService value: exactly, in
// another letter case, and after 256 bytes of other names (a value too long to be read). The values
// are written to the registry directly: Wine's CreateServiceA garbles a list after its first name.
class CServiceDependents : public ::testing::Test {
protected:
    void SetUp() override
    {
        const std::string end("\0\0", 2);
        ASSERT_TRUE(m_parent.Create());
        ASSERT_TRUE(m_parent.Start());
        for (ScopedService* service : {&m_exact, &m_otherCase, &m_long})
            ASSERT_TRUE(service->Create());
        ASSERT_TRUE(SetDependOnService(m_exact.name(), OtherCase(m_parent.name()) + '\0' + m_parent.name() + end));
        ASSERT_TRUE(SetDependOnService(m_otherCase.name(), OtherCase(m_parent.name()) + end));
        ASSERT_TRUE(SetDependOnService(m_long.name(), std::string(255, 'x') + '\0' + m_parent.name() + end));
    }
    void ExpectOnlyTheExactOneStarted()
    {
        EXPECT_TRUE(m_exact.WaitFor(SERVICE_RUNNING, 3000));
        EXPECT_EQ(static_cast<DWORD>(SERVICE_STOPPED), m_otherCase.State());
        EXPECT_EQ(static_cast<DWORD>(SERVICE_STOPPED), m_long.State());
    }
    ScopedService m_parent{"SetupCLSTestParent"};
    ScopedService m_exact{"SetupCLSTestDep2Exact"};
    ScopedService m_otherCase{"SetupCLSTestDep3Case"};
    ScopedService m_long{"SetupCLSTestDep4Long"};
};

TEST_F(CServiceDependents, StartsTheDependentsNamingTheServiceExactly)
{
    EXPECT_EQ(1, CService::StartDependentServices(m_parent.c_str(), 1));
    ExpectOnlyTheExactOneStarted();
}

// The failing dependent comes first in the services key: the walk goes on after it.
TEST_F(CServiceDependents, AnswersZeroWhenOneFailsButStartsTheOthers)
{
    ScopedService failing("SetupCLSTestDep1Fails");
    ASSERT_TRUE(failing.Create("/fail"));
    ASSERT_TRUE(SetDependOnService(failing.name(), m_parent.name() + std::string("\0\0", 2)));
    EXPECT_EQ(0, CService::StartDependentServices(m_parent.c_str(), 1));
    ExpectOnlyTheExactOneStarted();
}

TEST_F(CServiceTest, BackupKeepsTheStartTypeInThe32BitViewAndRestoreBringsItBack)
{
    const std::string key = "SOFTWARE\\SetupCLSTestBackup";
    ScopedRegistryKeys cleanup({key});
    ASSERT_TRUE(m_service.Create());
    const CService record(m_service.c_str(), "FIXSVC.EXE", "SetupCLSTest Restored", 16, nullptr);
    EXPECT_EQ(1, record.BackupServiceStatus(key.c_str()));
    EXPECT_EQ(std::to_string(SERVICE_DEMAND_START), RegRead(kView32, key, m_service.c_str()));
    EXPECT_EQ("-", RegRead(kView64, key, m_service.c_str()));
    ASSERT_EQ(1, CService::ChangeSvcStartType(m_service.c_str(), SERVICE_DISABLED));
    EXPECT_EQ(1, CService::RestoreServiceStatus(key.c_str(), m_service.c_str(), nullptr));
    EXPECT_EQ(static_cast<DWORD>(SERVICE_DEMAND_START), ReadServiceConfig(m_service.name()).startType);
    EXPECT_EQ(m_service.name(), ReadServiceConfig(m_service.name()).displayName);
    ASSERT_EQ(1, CService::ChangeSvcStartType(m_service.c_str(), SERVICE_DISABLED));
    EXPECT_EQ(1, record.RestoreServiceStatus(key.c_str()));
    EXPECT_EQ(static_cast<DWORD>(SERVICE_DEMAND_START), ReadServiceConfig(m_service.name()).startType);
    EXPECT_EQ("SetupCLSTest Restored", ReadServiceConfig(m_service.name()).displayName);
}

TEST_F(CServiceTest, GetServiceFileNameCopiesThePathCutToTheBuffer)
{
    ASSERT_TRUE(m_service.Create());
    const std::string path = FixtureServiceCommand();
    const struct {
        unsigned long size;
        std::string expected;
    } cases[] = {
        {MAX_PATH, path + std::string(MAX_PATH - path.size(), '\0')},
        {5, path.substr(0, 4) + '\0' + std::string(MAX_PATH - 5, '#')},
        {0, std::string(MAX_PATH, '#')},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.size);
        std::string buffer(MAX_PATH, '#');
        EXPECT_EQ(1, CService::GetServiceFileName(m_service.c_str(), &buffer[0], c.size));
        EXPECT_EQ(c.expected, buffer);
    }
}

// Any machine but this one goes through the remote registry, which Wine does not serve: it
// answers 53 (ERROR_BAD_NETPATH) for every other name.
TEST_F(CServiceTest, ServiceExistsOnAMachineLooksForTheKeyInAnyLetterCase)
{
    ASSERT_TRUE(m_service.Create());
    char computer[MAX_COMPUTERNAME_LENGTH + 1] = {};
    DWORD size = sizeof(computer);
    ASSERT_TRUE(GetComputerNameA(computer, &size));
    const std::string otherCase = OtherCase(computer);
    ASSERT_NE(otherCase, computer);
    const std::string otherName = OtherCase(m_service.name());
    EXPECT_EACH(1, ANSWER(CService::ServiceExists(nullptr, m_service.c_str())),
                ANSWER(CService::ServiceExists("", m_service.c_str())),
                ANSWER(CService::ServiceExists(otherCase.c_str(), m_service.c_str())),
                ANSWER(CService::ServiceExists(nullptr, otherName.c_str())));
    EXPECT_EQ(0, CService::ServiceExists(nullptr, kMissing));
    EXPECT_EQ(0, CService::ServiceExists("SetupCLSTestNoHost", m_service.c_str()));
    EXPECT_EQ(static_cast<DWORD>(ERROR_BAD_NETPATH), GetLastError());
}

// The four helpers start a copy of FIXSVC.EXE, which appends its command line to FIXSVC.ARGS.
class CServiceCmdLine : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(CopyFixture("FIXSVC.EXE", m_dir / "FIXSVC.EXE")); }
    // What FIXSVC.ARGS holds once it has that many lines, or after five seconds.
    std::string Lines(long count) const
    {
        std::string text;
        for (int poll = 0; poll < 100 && std::count(text.begin(), text.end(), '\n') < count; ++poll) {
            Sleep(poll ? 50 : 0);
            text = ReadFileBytes(m_dir / "FIXSVC.ARGS");
        }
        return text;
    }
    TempDir m_dir;
    const std::string m_program = "\"" + (m_dir / "FIXSVC.EXE") + "\"";
};

TEST_F(CServiceCmdLine, EachAppendsItsSwitchAndStartsTheProgram)
{
    const struct {
        int (WINAPI* call)(const char*);
        const char* switchText;
    } cases[] = {{InstallServiceByCmdLine, " -install"},
                 {RemoveServiceByCmdLine, " -remove"},
                 {StartServiceByCmdLine, " -start"},
                 {StopServiceByCmdLine, " -stop"}};
    std::string expected;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.switchText);
        EXPECT_EQ(1, c.call(m_program.c_str()));
        expected += m_program + c.switchText + "\r\n";
        EXPECT_EQ(expected, Lines(std::count(expected.begin(), expected.end(), '\n')));
    }
}

TEST_F(CServiceCmdLine, ALineThatDoesNotFit260BytesIsRefusedOneThatFitsExactlyRuns)
{
    const size_t fits = 259 - strlen(" -install");
    const std::string exact = m_program + " " + std::string(fits - m_program.size() - 1, 'x');
    const std::string tooLong = exact + "x";
    ASSERT_EQ(fits, exact.size());
    SetLastError(0);
    EXPECT_EQ(0, InstallServiceByCmdLine(tooLong.c_str()));
    EXPECT_EQ(static_cast<DWORD>(ERROR_FILENAME_EXCED_RANGE), GetLastError());
    EXPECT_EQ(1, InstallServiceByCmdLine(exact.c_str()));
    EXPECT_EQ(exact + " -install\r\n", Lines(1)) << "the refused line started nothing";
}

TEST_F(CServiceCmdLine, AnswersWhetherTheProgramStartedNotHowItEnded)
{
    const std::string missing = "\"" + (m_dir / "NOSUCH.EXE") + "\"";
    EXPECT_EACH(0, ANSWER(InstallServiceByCmdLine(nullptr)), ANSWER(RemoveServiceByCmdLine(nullptr)),
                ANSWER(StartServiceByCmdLine(nullptr)), ANSWER(StopServiceByCmdLine(nullptr)),
                ANSWER(InstallServiceByCmdLine(missing.c_str())));
    EXPECT_EQ(1, StopServiceByCmdLine("cmd.exe /c exit 3")) << "cmd starts, then ends with 3";
}

}  // namespace
