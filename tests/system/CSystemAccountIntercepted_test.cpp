// CSystemAccount with SetupCLS.dll's network management, account lookup and local security
// authority imports replaced (ImportHook). Under Wine the policy account calls (LsaOpenAccount,
// LsaSetSystemAccessAccount, LsaAddPrivilegesToAccount) end the process, LsaOpenPolicy and
// NetLocalGroupAddMember are stubs, a second NetUserAdd of a name answers 0 instead of 2224,
// LookupAccountName does not know a user NetUserAdd made, NetUserGetInfo answers 2140 at level 2
// and there is no domain controller: those calls are shown here by their exact arguments and the
// library's reaction to each answer. Every test hooks all of them before it calls the library.
#include "CSystemAccount.h"

#include "ImportHook.h"
#include "PolicyAccounts.h"
#include "TestSupport.h"

#include <gtest/gtest.h>
#include <lm.h>
#include <sddl.h>

#include <map>
#include <string>
#include <vector>

namespace {

using Calls = std::vector<std::string>;
Calls g_calls;                       // each call with its arguments, in order
std::map<std::string, long> g_fail;  // the status a call answers, by its key; 0 when not named
USER_INFO_2 g_added = {};            // the record NetUserAdd received, with its texts
std::wstring g_name, g_password, g_fullName;
std::string g_program;               // GetModuleFileNameA's answer
LSA_HANDLE const kPolicy = reinterpret_cast<LSA_HANDLE>(0x1001), kAccount = reinterpret_cast<LSA_HANDLE>(0x2002);

std::string Text(const wchar_t* text) { return text ? std::string(text, text + wcslen(text)) : "null"; }
std::string Text(const char* text) { return text ? text : "null"; }
std::string Text(PSID sid)
{
    char* text = nullptr;
    ConvertSidToStringSidA(sid, &text);
    std::string result = Text(text);
    LocalFree(text);
    return result;
}
std::string Handle(LSA_HANDLE handle) { return handle == kPolicy ? "policy" : handle == kAccount ? "account" : "?"; }

// Records the call; its answer is the status named for key.
long Record(const std::string& call, const std::string& key)
{
    g_calls.push_back(call);
    return g_fail.count(key) ? g_fail[key] : 0;
}
BOOL Win32(long status)
{
    SetLastError(static_cast<DWORD>(status));
    return status == 0;
}

NET_API_STATUS WINAPI FakeNetGetDCName(LPCWSTR server, LPCWSTR domain, LPBYTE* buffer)
{
    NetApiBufferAllocate(sizeof(L"\\\\DC1"), reinterpret_cast<LPVOID*>(buffer));
    memcpy(*buffer, L"\\\\DC1", sizeof(L"\\\\DC1"));
    return Record("NetGetDCName(" + Text(server) + "," + Text(domain) + ")", "NetGetDCName");
}
NET_API_STATUS WINAPI FakeNetUserAdd(LPCWSTR server, DWORD level, LPBYTE buffer, LPDWORD)
{
    g_added = *reinterpret_cast<USER_INFO_2*>(buffer);
    g_name = g_added.usri2_name, g_password = g_added.usri2_password, g_fullName = g_added.usri2_full_name;
    return Record("NetUserAdd(" + Text(server) + "," + std::to_string(level) + ")", "NetUserAdd");
}
// A user resolves to S-1-5-21-1-2-3-1000, a "BUILTIN\" group to Backup Operators' S-1-5-32-551.
BOOL WINAPI FakeLookupAccountNameA(LPCSTR server, LPCSTR name, PSID sid, LPDWORD sidSize, LPSTR, LPDWORD domainSize,
                                   PSID_NAME_USE)
{
    const bool group = strncmp(name, "BUILTIN\\", 8) == 0;
    PSID answer = nullptr;
    ConvertStringSidToSidA(group ? "S-1-5-32-551" : "S-1-5-21-1-2-3-1000", &answer);
    CopySid(*sidSize, sid, answer);
    LocalFree(answer);
    return Win32(Record("LookupAccountNameA(" + Text(server) + "," + name + "," + std::to_string(*sidSize) + ","
                            + std::to_string(*domainSize) + ")",
                        group ? "LookupGroup" : "LookupUser"));
}
// Translated names show that the groups are named as the server names them.
BOOL WINAPI FakeLookupAccountSidA(LPCSTR server, PSID sid, LPSTR name, LPDWORD nameSize, LPSTR domain,
                                  LPDWORD domainSize, PSID_NAME_USE)
{
    lstrcpynA(name, Text(sid) == "S-1-5-32-544" ? "Administradores" : "Operadores", static_cast<int>(*nameSize));
    lstrcpynA(domain, "BUILTIN", static_cast<int>(*domainSize));
    return Win32(Record("LookupAccountSidA(" + Text(server) + "," + Text(sid) + ")", "LookupAccountSidA"));
}
NET_API_STATUS WINAPI FakeNetLocalGroupAddMember(LPCWSTR server, LPCWSTR group, PSID sid)
{
    return Record("NetLocalGroupAddMember(" + Text(server) + "," + Text(group) + "," + Text(sid) + ")", Text(group));
}
NTSTATUS NTAPI FakeLsaOpenPolicy(PLSA_UNICODE_STRING name, PLSA_OBJECT_ATTRIBUTES attributes, ACCESS_MASK access,
                                 PLSA_HANDLE policy)
{
    char text[160];
    const bool zero = !attributes->RootDirectory && !attributes->ObjectName && !attributes->SecurityDescriptor
                      && !attributes->SecurityQualityOfService;
    snprintf(text, sizeof(text), "LsaOpenPolicy(%s %u/%u,%lu,0x%lX,%s,0x%lX)",
             name ? Text(std::wstring(name->Buffer, name->Length / 2).c_str()).c_str() : "null",
             name ? name->Length : 0, name ? name->MaximumLength : 0, attributes->Length, attributes->Attributes,
             zero ? "zero" : "set", access);
    *policy = kPolicy;
    return Record(text, "LsaOpenPolicy");
}
NTSTATUS NTAPI FakeLsaOpenAccount(LSA_HANDLE policy, PSID sid, ACCESS_MASK access, PLSA_HANDLE account)
{
    *account = kAccount;
    return Record("LsaOpenAccount(" + Handle(policy) + "," + Text(sid) + "," + std::to_string(access) + ")",
                  "LsaOpenAccount");
}
NTSTATUS NTAPI FakeLsaSetSystemAccessAccount(LSA_HANDLE account, ULONG access)
{
    return Record("LsaSetSystemAccessAccount(" + Handle(account) + "," + std::to_string(access) + ")",
                  "LsaSetSystemAccessAccount");
}
BOOL WINAPI FakeLookupPrivilegeValueA(LPCSTR system, LPCSTR name, PLUID value)
{
    LookupPrivilegeValueA(nullptr, name, value);
    return Win32(Record("LookupPrivilegeValueA(" + Text(system) + "," + name + ")", std::string("Value:") + name));
}
NTSTATUS NTAPI FakeLsaAddPrivilegesToAccount(LSA_HANDLE account, PPRIVILEGE_SET set)
{
    char name[64] = "?";
    DWORD size = sizeof(name);
    LookupPrivilegeNameA(nullptr, &set->Privilege[0].Luid, name, &size);
    return Record("LsaAddPrivilegesToAccount(" + Handle(account) + "," + name + ","
                      + std::to_string(set->PrivilegeCount) + "," + std::to_string(set->Control) + ","
                      + std::to_string(set->Privilege[0].Attributes) + ")",
                  std::string("Lsa:") + name);
}
NTSTATUS NTAPI FakeLsaClose(LSA_HANDLE handle) { return Record("LsaClose(" + Handle(handle) + ")", "LsaClose"); }
NET_API_STATUS WINAPI FakeNetUserChangePassword(LPCWSTR domain, LPCWSTR user, LPCWSTR oldPassword, LPCWSTR newPassword)
{
    return Record("NetUserChangePassword(" + Text(domain) + "," + Text(user) + "," + Text(oldPassword) + ","
                      + Text(newPassword) + ")",
                  "NetUserChangePassword");
}
USER_INFO_2 g_found = {};
NET_API_STATUS WINAPI FakeNetUserGetInfo(LPCWSTR server, LPCWSTR user, DWORD level, LPBYTE* buffer)
{
    *buffer = reinterpret_cast<LPBYTE>(&g_found);
    return Record("NetUserGetInfo(" + Text(server) + "," + Text(user) + "," + std::to_string(level) + ")",
                  "NetUserGetInfo");
}
NET_API_STATUS WINAPI FakeNetApiBufferFree(LPVOID buffer)
{
    return Record(buffer == &g_found ? "NetApiBufferFree(info)" : "NetApiBufferFree(?)", "");
}
DWORD WINAPI FakeGetModuleFileNameA(HMODULE module, LPSTR buffer, DWORD size)
{
    if (module)
        return GetModuleFileNameA(module, buffer, size);
    lstrcpynA(buffer, g_program.c_str(), static_cast<int>(size));
    return static_cast<DWORD>(g_program.size());
}

Calls Joined(Calls a, const Calls& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}
// The calls of a whole AssignGroups for "DOM\svc", then of AddDrosvaneUserPrivileges, on server;
// policyServer is the server as LsaOpenPolicy receives it (text, length/maximum length). The
// group's policy account is opened with ACCOUNT_ALL_ACCESS, 983055 (0xF000F).
Calls Assigned(const std::string& s)
{
    return {"LookupAccountNameA(" + s + ",DOM\\svc,1024,80)", "LookupAccountSidA(" + s + ",S-1-5-32-544)",
            "NetLocalGroupAddMember(" + s + ",Administradores,S-1-5-21-1-2-3-1000)",
            "LookupAccountSidA(" + s + ",S-1-5-32-551)",
            "NetLocalGroupAddMember(" + s + ",Operadores,S-1-5-21-1-2-3-1000)"};
}
Calls Privileges(const std::string& s, const std::string& policyServer)
{
    // The attributes record is 24 bytes in the 32-bit build and 48 in the 64-bit one.
    const std::string length = sizeof(void*) == 4 ? "24" : "48";
    return {"LsaOpenPolicy(" + policyServer + "," + length + ",0xF2,zero,0xF0FFF)", "LookupAccountSidA(" + s + ",S-1-5-32-551)",
            "LookupAccountNameA(" + s + ",BUILTIN\\Operadores,1024,80)", "LsaOpenAccount(policy,S-1-5-32-551,983055)",
            "LsaSetSystemAccessAccount(account,23)", "LookupPrivilegeValueA(" + s + ",SeTcbPrivilege)",
            "LsaAddPrivilegesToAccount(account,SeTcbPrivilege,1,1,2)",
            "LookupPrivilegeValueA(" + s + ",SeBackupPrivilege)",
            "LsaAddPrivilegesToAccount(account,SeBackupPrivilege,1,1,2)", "LsaClose(account)", "LsaClose(policy)"};
}
const Calls kLocalPrivileges = Privileges("null", "null 0/0");

struct AccountSteps : CSystemAccount {
    using CSystemAccount::AddDrosvaneUserPrivileges;
};

class CSystemAccountIntercepted : public ::testing::Test {
protected:
    void SetUp() override { g_calls.clear(), g_fail.clear(); }
};

// Every test hooks all of them: the policy account calls would end the process under Wine.
#define HOOK_ACCOUNT_CALLS()                                                                                      \
    SETUPCLS_HOOK_IMPORT(hook_dc, "NETAPI32.dll", NetGetDCName, FakeNetGetDCName);                                \
    SETUPCLS_HOOK_IMPORT(hook_add, "NETAPI32.dll", NetUserAdd, FakeNetUserAdd);                                   \
    SETUPCLS_HOOK_IMPORT(hook_change, "NETAPI32.dll", NetUserChangePassword, FakeNetUserChangePassword);          \
    SETUPCLS_HOOK_IMPORT(hook_member, "NETAPI32.dll", NetLocalGroupAddMember, FakeNetLocalGroupAddMember);        \
    SETUPCLS_HOOK_IMPORT(hook_name, "ADVAPI32.dll", LookupAccountNameA, FakeLookupAccountNameA);                  \
    SETUPCLS_HOOK_IMPORT(hook_sid, "ADVAPI32.dll", LookupAccountSidA, FakeLookupAccountSidA);                     \
    SETUPCLS_HOOK_IMPORT(hook_policy, "ADVAPI32.dll", LsaOpenPolicy, FakeLsaOpenPolicy);                          \
    SETUPCLS_HOOK_IMPORT(hook_account, "ADVAPI32.dll", LsaOpenAccount, FakeLsaOpenAccount);                       \
    SETUPCLS_HOOK_IMPORT(hook_access, "ADVAPI32.dll", LsaSetSystemAccessAccount, FakeLsaSetSystemAccessAccount);  \
    SETUPCLS_HOOK_IMPORT(hook_value, "ADVAPI32.dll", LookupPrivilegeValueA, FakeLookupPrivilegeValueA);           \
    SETUPCLS_HOOK_IMPORT(hook_grant, "ADVAPI32.dll", LsaAddPrivilegesToAccount, FakeLsaAddPrivilegesToAccount);   \
    SETUPCLS_HOOK_IMPORT(hook_close, "ADVAPI32.dll", LsaClose, FakeLsaClose)

TEST_F(CSystemAccountIntercepted, ControllerAskedOnlyForADomainAccountAndUsedByItsOperations)
{
    HOOK_ACCOUNT_CALLS();
    EXPECT_EQ(nullptr, CSystemAccount("pc1", "Pc1", "svc", "pw").Controller());
    EXPECT_EQ(Calls{}, g_calls);
    CSystemAccount domain("pc1", "dom", "svc", "pw");
    EXPECT_EQ(Calls{"NetGetDCName(null,DOM)"}, g_calls);
    g_calls.clear();
    EXPECT_EQ(1, domain.Create());
    EXPECT_EQ(Joined(Joined({"NetUserAdd(\\\\DC1,2)"}, Assigned("\\\\DC1")), Privileges("\\\\DC1", "\\\\DC1 10/12")),
              g_calls);
    g_fail["NetGetDCName"] = NERR_DCNotFound;
    EXPECT_EQ(nullptr, CSystemAccount("pc1", "dom", "svc", "pw").Controller());
}

// Wine answers 0 to a second add of a name: only interception shows 2224.
TEST_F(CSystemAccountIntercepted, CreateAddsANormalUserAndKeepsOneThatExists)
{
    HOOK_ACCOUNT_CALLS();
    const struct {
        long status;
        int result;
        Calls calls;
    } cases[] = {{NERR_Success, 1, Joined(Joined({"NetUserAdd(null,2)"}, Assigned("null")), kLocalPrivileges)},
                 {NERR_UserExists, 1, Joined(Joined({"NetUserAdd(null,2)"}, Assigned("null")), kLocalPrivileges)},
                 {ERROR_ACCESS_DENIED, 0, {"NetUserAdd(null,2)"}}};
    for (const auto& c : cases) {
        g_calls.clear();
        g_fail["NetUserAdd"] = c.status;
        EXPECT_EQ(c.result, CSystemAccount::Create(nullptr, "PC", "DOM", "svc", "pw")) << c.status;
        EXPECT_EQ(c.calls, g_calls) << c.status;  // nothing changes an existing user's password
    }
    EXPECT_EQ(L"svc", g_name);
    EXPECT_EQ(L"pw", g_password);
    EXPECT_EQ(L"svc", g_fullName);
    USER_INFO_2 expected = {};
    expected.usri2_name = g_added.usri2_name, expected.usri2_password = g_added.usri2_password;
    expected.usri2_full_name = g_added.usri2_full_name, expected.usri2_priv = 1, expected.usri2_flags = 0x10201;
    expected.usri2_acct_expires = 0xFFFFFFFF, expected.usri2_max_storage = 0xFFFFFFFF;
    EXPECT_EQ(0, memcmp(&expected, &g_added, sizeof(expected))) << "priv 1, flags 0x10201, no expiry, no limit";
}

TEST_F(CSystemAccountIntercepted, GroupsStopAtTheFirstFailureAndTakeAMemberAlreadyThere)
{
    HOOK_ACCOUNT_CALLS();
    const Calls all = Joined(Assigned("null"), kLocalPrivileges);
    const struct {
        const char* fails;
        long status;
        int result;
        size_t calls;  // how many of all's calls are made
    } cases[] = {{"LookupUser", ERROR_NONE_MAPPED, 0, 1},
                 {"Administradores", ERROR_ACCESS_DENIED, 0, 3},
                 {"Operadores", ERROR_ACCESS_DENIED, 0, 5},
                 {"Administradores", ERROR_MEMBER_IN_ALIAS, 1, all.size()},
                 {"Operadores", ERROR_MEMBER_IN_ALIAS, 1, all.size()}};
    for (const auto& c : cases) {
        g_calls.clear();
        g_fail = {{c.fails, c.status}};
        EXPECT_EQ(c.result, CSystemAccount::AssignGroups(nullptr, "PC", "DOM", "svc", "pw")) << c.fails;
        EXPECT_EQ(Calls(all.begin(), all.begin() + c.calls), g_calls) << c.fails;
    }
}

TEST_F(CSystemAccountIntercepted, RightsGoToBackupOperatorsAndEachFailureClosesWhatWasOpened)
{
    HOOK_ACCOUNT_CALLS();
    const auto upTo = [](size_t count, Calls closes) {
        return Joined(Calls(kLocalPrivileges.begin(), kLocalPrivileges.begin() + count), closes);
    };
    Calls noTcb = kLocalPrivileges;  // a privilege the server does not know is not granted
    noTcb.erase(noTcb.begin() + 6);
    const long denied = static_cast<long>(0xC0000022);
    const struct {
        const char* fails;
        long status;
        int result;
        Calls calls;
    } cases[] = {
        {"LsaOpenPolicy", denied, 0, upTo(1, {})},
        {"LookupAccountSidA", ERROR_NONE_MAPPED, 0, upTo(2, {"LsaClose(policy)"})},
        {"LookupGroup", ERROR_NONE_MAPPED, 0, upTo(3, {"LsaClose(policy)"})},
        {"LsaOpenAccount", denied, 0, upTo(4, {"LsaClose(policy)"})},
        {"LsaSetSystemAccessAccount", denied, 0, upTo(5, {"LsaClose(account)", "LsaClose(policy)"})},
        // Both privileges are tried whatever the first answers; only error severity fails.
        {"Value:SeTcbPrivilege", ERROR_NO_SUCH_PRIVILEGE, 0, noTcb},
        {"Lsa:SeTcbPrivilege", denied, 0, kLocalPrivileges},
        {"Lsa:SeBackupPrivilege", denied, 0, kLocalPrivileges},
        {"Lsa:SeTcbPrivilege", static_cast<long>(0x80000005), 1, kLocalPrivileges},
        {"Lsa:SeBackupPrivilege", 0x40000000, 1, kLocalPrivileges},
    };
    for (const auto& c : cases) {
        g_calls.clear();
        g_fail = {{c.fails, c.status}};
        EXPECT_EQ(c.result, AccountSteps::AddDrosvaneUserPrivileges(nullptr)) << c.fails << " " << c.status;
        EXPECT_EQ(c.calls, g_calls) << c.fails << " " << c.status;
    }
}

TEST_F(CSystemAccountIntercepted, ExistsAsksForTheUserAndFreesTheAnswer)
{
    SETUPCLS_HOOK_IMPORT(hook_info, "NETAPI32.dll", NetUserGetInfo, FakeNetUserGetInfo);
    SETUPCLS_HOOK_IMPORT(hook_free, "NETAPI32.dll", NetApiBufferFree, FakeNetApiBufferFree);
    EXPECT_EQ(1, CSystemAccount::Exists(L"\\\\DC1", "svc"));
    g_fail["NetUserGetInfo"] = NERR_UserNotFound;
    EXPECT_EQ(0, CSystemAccount::Exists(L"\\\\DC1", "svc"));
    EXPECT_EQ((Calls{"NetUserGetInfo(\\\\DC1,svc,2)", "NetApiBufferFree(info)", "NetUserGetInfo(\\\\DC1,svc,2)"}),
              g_calls);
}

TEST_F(CSystemAccountIntercepted, ValidPasswordIsZeroOnlyForAWrongPassword)
{
    HOOK_ACCOUNT_CALLS();
    const long answers[][2] = {{NERR_Success, 1}, {ERROR_INVALID_PASSWORD, 0}, {NERR_UserNotFound, 1},
                               {NERR_PasswordTooShort, 1}, {NERR_DCNotFound, 1}};
    for (const auto& answer : answers) {
        g_calls.clear();
        g_fail["NetUserChangePassword"] = answer[0];
        EXPECT_EQ(answer[1], CSystemAccount::ValidPassword(L"\\\\DC1", "PC", "DOM", "svc", "pw")) << answer[0];
        EXPECT_EQ(Calls{"NetUserChangePassword(DOM,svc,pw,pw)"}, g_calls) << answer[0];
    }
}

TEST_F(CSystemAccountIntercepted, LongUserAndPasswordAreCutAtTheConversionBuffers)
{
    HOOK_ACCOUNT_CALLS();
    const std::string user(512, 'u'), password(512, 'p');  // one more than the buffer keeps
    CSystemAccount::Create(nullptr, "PC", "DOM", user.c_str(), password.c_str());
    EXPECT_EQ(std::wstring(511, L'u'), g_name);
    EXPECT_EQ(std::wstring(511, L'p'), g_password);
    g_calls.clear();
    CSystemAccount::ValidPassword(nullptr, "PC", "DOM", user.c_str(), password.c_str());
    const std::string cut(255, 'p');
    EXPECT_EQ(Calls{"NetUserChangePassword(DOM," + std::string(255, 'u') + "," + cut + "," + cut + ")"}, g_calls);
}

// The tool is the one beside the running program. The test program's folder is the build's,
// shared by every test, so the program's path is answered from a folder of the test's own.
TEST_F(CSystemAccountIntercepted, RegisterHandsTheAccountToTheToolBesideTheProgram)
{
    SETUPCLS_HOOK_IMPORT(hook_module, "KERNEL32.dll", GetModuleFileNameA, FakeGetModuleFileNameA);
    testsupport::TempDir dir;
    g_program = dir / "setup.exe";
    ASSERT_TRUE(testsupport::CopyFixture("QWTOOL.DLL", dir / "QWTOOL.DLL"));
    testsupport::ScopedEnv calls("QWTOOL_ACCOUNT_CALLS", (dir / "calls.txt").c_str()),
        answer("QWTOOL_ACCOUNT_ANSWER", "1");
    EXPECT_EQ(1, CSystemAccount("pc", "dom", "Svc", "Pw").Register());
    const std::string computer(300, 'c'), text(100, 't'), cut(63, 't');
    EXPECT_EQ(1, CSystemAccount::Register(computer.c_str(), text.c_str(), text.c_str(), text.c_str()));
    EXPECT_EQ("PC|DOM|Svc|Pw\r\n" + std::string(255, 'c') + "|" + cut + "|" + cut + "|" + cut + "\r\n",
              testsupport::ReadFileBytes(dir / "calls.txt"));
    testsupport::ScopedEnv refused("QWTOOL_ACCOUNT_ANSWER", "0x10000");  // only the low 16 bits tell success
    EXPECT_EQ(0, CSystemAccount::Register("PC", "DOM", "svc", "pw"));
    ASSERT_TRUE(testsupport::CopyFixture("noexports.dll", dir / "QWTOOL.DLL"));
    EXPECT_EQ(0, CSystemAccount::Register("PC", "DOM", "svc", "pw"));
}

}  // namespace
