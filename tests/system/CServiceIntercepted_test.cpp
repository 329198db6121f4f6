// CService with some of SetupCLS.dll's service manager and security imports replaced
// (ImportHook), for what Wine only stubs or does differently: service access lists, failure
// actions and the database lock are stubs there; a stop with running dependents succeeds instead
// of answering 1051. The services themselves are real (the fixture service program under Wine's
// service manager); the hooks record the calls, pass the rest on, and answer as Windows would
// where Wine cannot.
#include "CService.h"

#include "Handles.h"
#include "ImportHook.h"
#include "SecuritySupport.h"
#include "ServiceSupport.h"

#include <aclapi.h>
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <vector>

using testsupport::ScopedService;

namespace {

// Calls seen by the hooks of one test.
struct Calls {
    OSVERSIONINFOA version = {};
    int sidToFail = 0;  // the n-th AllocateAndInitializeSid fails (1-based), 0: none
    int sidsMade = 0;
    std::set<PSID> sids, freedSids;
    DWORD aclFailure = 0, securityFailure = 0;
    PACL acl = nullptr;
    bool aclFreed = false;
    SE_OBJECT_TYPE objectType = SE_UNKNOWN_OBJECT_TYPE;
    SECURITY_INFORMATION information = 0;
    bool ownerGroupOrSystemList = false;
    std::vector<std::string> entries;  // "<sid> <type> <flags> <mask>"
    DWORD configLevel = 0;
    SERVICE_FAILURE_ACTIONSA failureActions = {};
    std::vector<SC_ACTION> actions;
    SC_LOCK lockAnswer = nullptr;
    int locks = 0;
    std::vector<SC_LOCK> unlocks;
    bool describeFails = false, describeMissing = false;
    DWORD queryConfigFailure = 0;
    int closes = 0;
    int stopsToRefuse = 0;                      // STOP controls answered 1051 before passing on
    std::map<SC_HANDLE, std::string> services;  // handles from OpenServiceA
    std::vector<std::string> controls;          // "<service> <control>"
    std::vector<DWORD> sleeps;
    bool sleepForReal = true;
};
Calls g;

BOOL WINAPI FakeGetVersionExA(LPOSVERSIONINFOA info)
{
    *info = g.version;
    return TRUE;
}

BOOL WINAPI FakeAllocateAndInitializeSid(PSID_IDENTIFIER_AUTHORITY authority, BYTE count, DWORD a, DWORD b, DWORD c,
                                         DWORD d, DWORD e, DWORD f, DWORD h, DWORD i, PSID* sid)
{
    if (++g.sidsMade == g.sidToFail) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return FALSE;
    }
    BOOL made = AllocateAndInitializeSid(authority, count, a, b, c, d, e, f, h, i, sid);
    g.sids.insert(*sid);
    return made;
}

PVOID WINAPI FakeFreeSid(PSID sid)
{
    g.freedSids.insert(sid);
    return FreeSid(sid);
}

DWORD WINAPI FakeSetEntriesInAclA(ULONG count, PEXPLICIT_ACCESS_A entries, PACL old, PACL* acl)
{
    if (g.aclFailure)
        return g.aclFailure;
    DWORD status = SetEntriesInAclA(count, entries, old, acl);
    g.acl = *acl;
    return status;
}

HLOCAL WINAPI FakeLocalFree(HLOCAL memory)
{
    g.aclFreed = g.aclFreed || (memory && memory == g.acl);
    return LocalFree(memory);
}

DWORD WINAPI FakeSetSecurityInfo(HANDLE, SE_OBJECT_TYPE type, SECURITY_INFORMATION information, PSID owner,
                                 PSID group, PACL dacl, PACL sacl)
{
    g.objectType = type;
    g.information = information;
    g.entries = testsupport::AceEntries(dacl);
    g.ownerGroupOrSystemList = owner || group || sacl;
    return g.securityFailure;
}

BOOL WINAPI FakeChangeServiceConfig2A(SC_HANDLE service, DWORD level, LPVOID info)
{
    g.configLevel = level;
    if (level == SERVICE_CONFIG_FAILURE_ACTIONS) {
        g.failureActions = *static_cast<SERVICE_FAILURE_ACTIONSA*>(info);
        g.actions.assign(g.failureActions.lpsaActions, g.failureActions.lpsaActions + g.failureActions.cActions);
    }
    return TRUE;
}

SC_LOCK WINAPI FakeLockServiceDatabase(SC_HANDLE)
{
    ++g.locks;
    if (!g.lockAnswer)
        SetLastError(ERROR_SERVICE_DATABASE_LOCKED);
    return g.lockAnswer;
}

BOOL WINAPI FakeUnlockServiceDatabase(SC_LOCK lock)
{
    g.unlocks.push_back(lock);
    return TRUE;
}

BOOL WINAPI RefusedDescription(SC_HANDLE, DWORD, LPVOID)
{
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

FARPROC WINAPI FakeGetProcAddress(HMODULE module, LPCSTR name)
{
    if (HIWORD(name) && strcmp(name, "ChangeServiceConfig2A") == 0) {
        if (g.describeMissing)
            return nullptr;
        if (g.describeFails)
            return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&RefusedDescription));
    }
    return GetProcAddress(module, name);
}

BOOL WINAPI FakeQueryServiceConfigA(SC_HANDLE service, LPQUERY_SERVICE_CONFIGA config, DWORD size, LPDWORD needed)
{
    if (g.queryConfigFailure) {
        SetLastError(g.queryConfigFailure);
        return FALSE;
    }
    return QueryServiceConfigA(service, config, size, needed);
}

BOOL WINAPI FakeCloseServiceHandle(SC_HANDLE handle)
{
    ++g.closes;
    return CloseServiceHandle(handle);
}

SC_HANDLE WINAPI FakeOpenServiceA(SC_HANDLE manager, LPCSTR name, DWORD access)
{
    SC_HANDLE service = OpenServiceA(manager, name, access);
    if (service)
        g.services[service] = name;
    return service;
}

BOOL WINAPI FakeControlService(SC_HANDLE service, DWORD control, LPSERVICE_STATUS status)
{
    g.controls.push_back(g.services[service] + " " + std::to_string(control));
    if (control == SERVICE_CONTROL_STOP && g.stopsToRefuse > 0) {
        --g.stopsToRefuse;
        SetLastError(ERROR_DEPENDENT_SERVICES_RUNNING);
        return FALSE;
    }
    return ControlService(service, control, status);
}

void WINAPI FakeSleep(DWORD milliseconds)
{
    g.sleeps.push_back(milliseconds);
    Sleep(g.sleepForReal ? milliseconds : 0);
}

class CServiceIntercepted : public ::testing::Test {
protected:
    void SetUp() override
    {
        g = Calls();
        ASSERT_TRUE(m_service.Create()) << GetLastError();
    }
    void TearDown() override { g = Calls(); }
    // A name of each test's own: a service whose handles a test leaves open on purpose stays
    // marked for deletion until the program ends.
    ScopedService m_service{std::string("SetupCLS") +
                            ::testing::UnitTest::GetInstance()->current_test_info()->name()};
};

const char kEveryone[] = "S-1-1-0 0 0 0x";

TEST_F(CServiceIntercepted, AccessListIsEveryoneBackupOperatorsAndAdministratorsInOrder)
{
    SETUPCLS_HOOK_IMPORT(version, "KERNEL32.dll", GetVersionExA, FakeGetVersionExA);
    SETUPCLS_HOOK_IMPORT(security, "ADVAPI32.dll", SetSecurityInfo, FakeSetSecurityInfo);
    const struct {
        DWORD platform, major;
        const char* everyone;
    } cases[] = {
        {VER_PLATFORM_WIN32_NT, 6, "80000004"},
        {VER_PLATFORM_WIN32_NT, 10, "80000004"},
        {VER_PLATFORM_WIN32_NT, 5, "4"},
        {VER_PLATFORM_WIN32_WINDOWS, 6, "4"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.platform) + "/" + std::to_string(c.major));
        g.entries.clear();
        g.version.dwPlatformId = c.platform;
        g.version.dwMajorVersion = c.major;
        EXPECT_EQ(1, CService::AddAccessPermission(m_service.c_str()));
        EXPECT_EQ(SE_SERVICE, g.objectType);
        EXPECT_EQ(static_cast<SECURITY_INFORMATION>(DACL_SECURITY_INFORMATION), g.information);
        EXPECT_FALSE(g.ownerGroupOrSystemList);
        const std::vector<std::string> expected = {std::string(kEveryone) + c.everyone, "S-1-5-32-551 0 0 0xF01FF",
                                                   "S-1-5-32-544 0 0 0xF01FF"};
        EXPECT_EQ(expected, g.entries);
    }
}

// Each step that can fail ends the call with 0 and its status, and every SID and the list made
// before it are freed.
TEST_F(CServiceIntercepted, AccessListFailureAtEachStepFreesWhatWasMade)
{
    SETUPCLS_HOOK_IMPORT(sid, "ADVAPI32.dll", AllocateAndInitializeSid, FakeAllocateAndInitializeSid);
    SETUPCLS_HOOK_IMPORT(freeSid, "ADVAPI32.dll", FreeSid, FakeFreeSid);
    SETUPCLS_HOOK_IMPORT(acl, "ADVAPI32.dll", SetEntriesInAclA, FakeSetEntriesInAclA);
    SETUPCLS_HOOK_IMPORT(localFree, "KERNEL32.dll", LocalFree, FakeLocalFree);
    SETUPCLS_HOOK_IMPORT(security, "ADVAPI32.dll", SetSecurityInfo, FakeSetSecurityInfo);
    const struct {
        const char* step;
        int sidToFail;
        DWORD aclFailure, securityFailure;
        const char* service;
        DWORD error;
    } cases[] = {
        {"Everyone", 1, 0, 0, nullptr, ERROR_NOT_ENOUGH_MEMORY},
        {"Backup Operators", 2, 0, 0, nullptr, ERROR_NOT_ENOUGH_MEMORY},
        {"Administrators", 3, 0, 0, nullptr, ERROR_NOT_ENOUGH_MEMORY},
        {"the list", 0, ERROR_INVALID_SID, 0, nullptr, ERROR_INVALID_SID},
        {"the service", 0, 0, 0, "SetupCLSNoSuchService", ERROR_SERVICE_DOES_NOT_EXIST},
        {"the apply step", 0, 0, ERROR_ACCESS_DENIED, nullptr, ERROR_ACCESS_DENIED},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.step);
        g = Calls();
        g.sidToFail = c.sidToFail;
        g.aclFailure = c.aclFailure;
        g.securityFailure = c.securityFailure;
        EXPECT_EQ(0, CService::AddAccessPermission(c.service ? c.service : m_service.c_str()));
        EXPECT_EQ(c.error, GetLastError());
        EXPECT_EQ(g.sids, g.freedSids);
        EXPECT_EQ(g.acl != nullptr, g.aclFreed);
    }
    g = Calls();
    EXPECT_EQ(0, CService::AddAccessPermission(""));
    EXPECT_EQ(0, CService::AddAccessPermission(nullptr));
    EXPECT_EQ(0, g.sidsMade);
}

TEST_F(CServiceIntercepted, FailureActionsAreThreeWithOneDelayAndASevenDayReset)
{
    SETUPCLS_HOOK_IMPORT(config, "ADVAPI32.dll", ChangeServiceConfig2A, FakeChangeServiceConfig2A);
    EXPECT_EQ(1, CService::ChangeSvcFailureActions(m_service.c_str(), SC_ACTION_RESTART, SC_ACTION_REBOOT,
                                                    SC_ACTION_NONE, 60000));
    EXPECT_EQ(static_cast<DWORD>(SERVICE_CONFIG_FAILURE_ACTIONS), g.configLevel);
    EXPECT_EQ(604800u, g.failureActions.dwResetPeriod);
    EXPECT_EQ(nullptr, g.failureActions.lpRebootMsg);
    EXPECT_EQ(nullptr, g.failureActions.lpCommand);
    ASSERT_EQ(3u, g.actions.size());
    const SC_ACTION_TYPE types[] = {SC_ACTION_RESTART, SC_ACTION_REBOOT, SC_ACTION_NONE};
    for (int index = 0; index < 3; ++index) {
        EXPECT_EQ(types[index], g.actions[index].Type) << index;
        EXPECT_EQ(60000u, g.actions[index].Delay) << index;
    }
    g.configLevel = 0;
    EXPECT_EQ(0, CService::ChangeSvcFailureActions(nullptr, 1, 1, 1, 0));
    EXPECT_EQ(0, CService::ChangeSvcFailureActions("SetupCLSNoSuchService", 1, 1, 1, 0));
    EXPECT_EQ(0u, g.configLevel);
}

// The display name and description are real under Wine; the lock is a stub there, so the hooks
// hand out a lock and see it given back.
TEST_F(CServiceIntercepted, ChangeServiceInfoWorksUnderTheLockAndKeepsItOnlyForAMissingService)
{
    SETUPCLS_HOOK_IMPORT(lock, "ADVAPI32.dll", LockServiceDatabase, FakeLockServiceDatabase);
    SETUPCLS_HOOK_IMPORT(unlock, "ADVAPI32.dll", UnlockServiceDatabase, FakeUnlockServiceDatabase);
    SETUPCLS_HOOK_IMPORT(lookup, "KERNEL32.dll", GetProcAddress, FakeGetProcAddress);
    UniqueService manager(OpenSCManagerA(nullptr, nullptr, SC_MANAGER_ALL_ACCESS));
    SC_LOCK const taken = reinterpret_cast<SC_LOCK>(0x5150);
    const struct {
        const char* path;
        SC_LOCK lock;
        const char* service;
        bool describeFails, describeMissing;
        int result;
        std::vector<SC_LOCK> unlocks;
        const char *displayName, *description;
    } cases[] = {
        {"lock refused", nullptr, nullptr, false, false, 0, {}, "", ""},
        {"no such service", taken, "SetupCLSNoSuchService", false, false, 0, {}, "", ""},
        {"description refused", taken, nullptr, true, false, 0, {taken}, "Shown 3", ""},
        {"no description entry", taken, nullptr, false, true, 1, {taken}, "Shown 4", ""},
        {"both set", taken, nullptr, false, false, 1, {taken}, "Shown 5", "Described 5"},
    };
    int round = 0;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.path);
        g.lockAnswer = c.lock;
        g.unlocks.clear();
        g.describeFails = c.describeFails;
        g.describeMissing = c.describeMissing;
        const std::string shown = "Shown " + std::to_string(++round);
        const std::string described = "Described " + std::to_string(round);
        EXPECT_EQ(c.result, ChangeServiceInfo(manager.get(), c.service ? c.service : m_service.c_str(),
                                              shown.c_str(), described.c_str()));
        EXPECT_EQ(c.unlocks, g.unlocks);
        const testsupport::ServiceConfigText config = testsupport::ReadServiceConfig(m_service.name());
        EXPECT_EQ(*c.displayName ? c.displayName : m_service.name(), config.displayName);
        EXPECT_EQ(c.description, config.description);
    }
}

TEST_F(CServiceIntercepted, GetServiceFileNameLeavesItsHandlesOpenWhenTheConfigurationCannotBeRead)
{
    SETUPCLS_HOOK_IMPORT(query, "ADVAPI32.dll", QueryServiceConfigA, FakeQueryServiceConfigA);
    SETUPCLS_HOOK_IMPORT(close, "ADVAPI32.dll", CloseServiceHandle, FakeCloseServiceHandle);
    char buffer[MAX_PATH] = "untouched";
    g.queryConfigFailure = ERROR_INSUFFICIENT_BUFFER;
    EXPECT_EQ(0, CService::GetServiceFileName(m_service.c_str(), buffer, sizeof(buffer)));
    EXPECT_EQ(static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER), GetLastError());
    EXPECT_EQ(0, g.closes);
    EXPECT_STREQ("untouched", buffer);
    g.queryConfigFailure = 0;
    EXPECT_EQ(1, CService::GetServiceFileName(m_service.c_str(), buffer, sizeof(buffer)));
    EXPECT_EQ(2, g.closes);
    EXPECT_EQ(testsupport::FixtureServiceCommand(), buffer);
}

// Wine stops a service whose dependents run; Windows refuses with 1051. The hook refuses the
// first stop as Windows would and passes every other control on.
TEST_F(CServiceIntercepted, StopRefusedForRunningDependentsStopsTheDirectDependentsAndRetriesOnce)
{
    SETUPCLS_HOOK_IMPORT(open, "ADVAPI32.dll", OpenServiceA, FakeOpenServiceA);
    SETUPCLS_HOOK_IMPORT(control, "ADVAPI32.dll", ControlService, FakeControlService);
    ScopedService dependent("SetupCLSInterceptedDependent");
    ASSERT_TRUE(dependent.Create());
    ASSERT_TRUE(testsupport::SetDependOnService(dependent.name(), m_service.name() + std::string("\0\0", 2)));
    const std::string parent = m_service.name();
    const std::string child = dependent.name();
    const struct {
        int stopDependents, result;
        std::vector<std::string> controls;
        DWORD parentState, childState;
    } cases[] = {
        {0, 0, {parent + " 1"}, SERVICE_RUNNING, SERVICE_RUNNING},
        {1, 1, {parent + " 1", child + " 1", parent + " 1"}, SERVICE_STOPPED, SERVICE_STOPPED},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.stopDependents);
        ASSERT_TRUE(m_service.Start());
        ASSERT_TRUE(m_service.WaitFor(SERVICE_RUNNING));
        ASSERT_TRUE(dependent.Start());
        ASSERT_TRUE(dependent.WaitFor(SERVICE_RUNNING));
        g.controls.clear();
        g.stopsToRefuse = 1;
        EXPECT_EQ(c.result, CService::StopService(parent.c_str(), 1, c.stopDependents));
        EXPECT_EQ(c.controls, g.controls);
        EXPECT_TRUE(m_service.WaitFor(c.parentState, 3000));
        EXPECT_TRUE(dependent.WaitFor(c.childState, 3000));
    }
}

// A stop-pending service is polled once a second for its stop hint in whole seconds plus one:
// the fixture asks for 2 s, so three polls, and the call gives up before the service stops.
TEST_F(CServiceIntercepted, StopWaitsOneSecondAPollForTheHintPlusOne)
{
    ScopedService slow("SetupCLSInterceptedSlowStop");
    ASSERT_TRUE(slow.Create("/stopsteps:1 /stophint:2000"));
    ASSERT_TRUE(slow.Start());
    ASSERT_TRUE(slow.WaitFor(SERVICE_RUNNING));
    SETUPCLS_HOOK_IMPORT(sleep, "KERNEL32.dll", Sleep, FakeSleep);
    g.sleepForReal = false;
    EXPECT_EQ(0, CService::StopService(slow.c_str(), 1, 0));
    EXPECT_EQ(std::vector<DWORD>({1000, 1000, 1000}), g.sleeps);
    EXPECT_EQ(static_cast<DWORD>(SERVICE_STOP_PENDING), slow.State());
    g.sleeps.clear();
    EXPECT_EQ(1, CService::StopService(slow.c_str(), 1, 0)) << "a stop under way counts as done";
    EXPECT_TRUE(g.sleeps.empty());
}

// The start follows the service's own wait hint while its check point advances.
TEST(CServiceInterceptedStart, FollowsTheWaitHintsWhileTheCheckPointAdvances)
{
    const struct {
        const char* options;
        int result;
        DWORD finalState;
        size_t minSleeps, maxSleeps;
    } cases[] = {
        {"/startsteps:3 /starthint:50", 1, SERVICE_RUNNING, 1, 3},
        {"/stall /starthint:50", 1, SERVICE_START_PENDING, 1, 1},
        {"/fail", 0, SERVICE_STOPPED, 0, 1},
    };
    int round = 0;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.options);
        g = Calls();
        ScopedService service("SetupCLSInterceptedStart" + std::to_string(++round));
        ASSERT_TRUE(service.Create(c.options));
        SETUPCLS_HOOK_IMPORT(sleep, "KERNEL32.dll", Sleep, FakeSleep);
        EXPECT_EQ(c.result, CService::StartServiceA(service.c_str(), 1));
        EXPECT_GE(g.sleeps.size(), c.minSleeps);
        EXPECT_LE(g.sleeps.size(), c.maxSleeps);
        for (DWORD slept : g.sleeps)
            EXPECT_EQ(50u, slept);
        EXPECT_TRUE(service.WaitFor(c.finalState, 2000));
    }
}

}  // namespace
