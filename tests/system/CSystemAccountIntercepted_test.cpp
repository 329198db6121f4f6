// CSystemAccount with SetupCLS.dll's network management, account lookup and local security
// authority imports replaced (ImportHook). Under Wine the policy account calls (LsaOpenAccount,
// LsaSetSystemAccessAccount, LsaAddPrivilegesToAccount) end the process, LsaOpenPolicy and
// NetLocalGroupAddMember are stubs, a second NetUserAdd of a name answers 0 instead of 2224,
// LookupAccountName does not know a user NetUserAdd made, and there is no domain controller:
// every call of those is shown here by its exact arguments and the library's reaction to each
// answer. Every test hooks all of them before it calls the library.
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

using testsupport::ReadFileBytes;
using testsupport::ScopedEnv;
using testsupport::TempDir;

std::vector<std::string> g_calls;          // each call with its arguments, in order
std::map<std::string, long> g_answers;     // a status by function (or "function:privilege"); else 0
USER_INFO_2 g_added = {};                  // the record NetUserAdd received, its texts below
std::wstring g_addedName, g_addedPassword, g_addedFullName;
std::string g_program;                     // GetModuleFileNameA's answer
LSA_HANDLE const kPolicy = reinterpret_cast<LSA_HANDLE>(0x1001);
LSA_HANDLE const kAccount = reinterpret_cast<LSA_HANDLE>(0x2002);

std::string Narrow(const wchar_t* text)
{
    if (!text)
        return "null";
    std::string out;
    for (; *text; ++text)
        out += static_cast<char>(*text);
    return out;
}

std::string SidText(PSID sid)
{
    char* text = nullptr;
    if (!ConvertSidToStringSidA(sid, &text))
        return "bad sid";
    std::string result = text;
    LocalFree(text);
    return result;
}

long Answer(const std::string& name)
{
    auto found = g_answers.find(name);
    return found == g_answers.end() ? 0 : found->second;
}

BOOL Win32Answer(const std::string& name)
{
    SetLastError(static_cast<DWORD>(Answer(name)));
    return Answer(name) == 0;
}

NET_API_STATUS WINAPI FakeNetGetDCName(LPCWSTR server, LPCWSTR domain, LPBYTE* buffer)
{
    g_calls.push_back("NetGetDCName(" + Narrow(server) + "," + Narrow(domain) + ")");
    if (Answer("NetGetDCName") != 0)
        return static_cast<NET_API_STATUS>(Answer("NetGetDCName"));
    NetApiBufferAllocate(sizeof(L"\\\\DC1"), reinterpret_cast<LPVOID*>(buffer));
    memcpy(*buffer, L"\\\\DC1", sizeof(L"\\\\DC1"));
    return NERR_Success;
}

NET_API_STATUS WINAPI FakeNetUserAdd(LPCWSTR server, DWORD level, LPBYTE buffer, LPDWORD)
{
    g_calls.push_back("NetUserAdd(" + Narrow(server) + "," + std::to_string(level) + ")");
    g_added = *reinterpret_cast<USER_INFO_2*>(buffer);
    g_addedName = g_added.usri2_name, g_addedPassword = g_added.usri2_password;
    g_addedFullName = g_added.usri2_full_name;
    return static_cast<NET_API_STATUS>(Answer("NetUserAdd"));
}

// Any user resolves to S-1-5-21-1-2-3-1000; "BUILTIN\..." to S-1-5-32-551.
BOOL WINAPI FakeLookupAccountNameA(LPCSTR server, LPCSTR name, PSID sid, LPDWORD sidSize, LPSTR, LPDWORD domainSize,
                                   PSID_NAME_USE)
{
    g_calls.push_back(std::string("LookupAccountNameA(") + (server ? server : "null") + "," + name + ","
                      + std::to_string(*sidSize) + "," + std::to_string(*domainSize) + ")");
    PSID answer = nullptr;
    ConvertStringSidToSidA(strstr(name, "BUILTIN\\") ? "S-1-5-32-551" : "S-1-5-21-1-2-3-1000", &answer);
    CopySid(*sidSize, sid, answer);
    LocalFree(answer);
    return Win32Answer(strstr(name, "BUILTIN\\") ? "LookupBackup" : "LookupAccountNameA");
}

// Translated names show that the groups are named as the server names them.
BOOL WINAPI FakeLookupAccountSidA(LPCSTR server, PSID sid, LPSTR name, LPDWORD nameSize, LPSTR domain,
                                  LPDWORD domainSize, PSID_NAME_USE)
{
    g_calls.push_back(std::string("LookupAccountSidA(") + (server ? server : "null") + "," + SidText(sid) + ")");
    lstrcpynA(name, SidText(sid) == "S-1-5-32-544" ? "Administradores" : "Operadores de copia", static_cast<int>(*nameSize));
    lstrcpynA(domain, "BUILTIN", static_cast<int>(*domainSize));
    return Win32Answer("LookupAccountSidA");
}

NET_API_STATUS WINAPI FakeNetLocalGroupAddMember(LPCWSTR server, LPCWSTR group, PSID sid)
{
    g_calls.push_back("NetLocalGroupAddMember(" + Narrow(server) + "," + Narrow(group) + "," + SidText(sid) + ")");
    return static_cast<NET_API_STATUS>(Answer(Narrow(group)));
}

NTSTATUS NTAPI FakeLsaOpenPolicy(PLSA_UNICODE_STRING name, PLSA_OBJECT_ATTRIBUTES attributes, ACCESS_MASK access,
                                 PLSA_HANDLE policy)
{
    char text[160];
    bool zero = !attributes->RootDirectory && !attributes->ObjectName && !attributes->SecurityDescriptor
                && !attributes->SecurityQualityOfService;
    snprintf(text, sizeof(text), "LsaOpenPolicy(%s %u/%u,%lu,0x%lX,%s,0x%lX)",
              name ? Narrow(std::wstring(name->Buffer, name->Length / 2).c_str()).c_str() : "null",
              name ? name->Length : 0, name ? name->MaximumLength : 0, attributes->Length, attributes->Attributes,
              zero ? "zero" : "set", access);
    g_calls.push_back(text);
    *policy = kPolicy;
    return Answer("LsaOpenPolicy");
}

NTSTATUS NTAPI FakeLsaOpenAccount(LSA_HANDLE policy, PSID sid, ACCESS_MASK access, PLSA_HANDLE account)
{
    char text[120];
    snprintf(text, sizeof(text), "LsaOpenAccount(%s,%s,0x%lX)", policy == kPolicy ? "policy" : "?", SidText(sid).c_str(), access);
    g_calls.push_back(text);
    *account = kAccount;
    return Answer("LsaOpenAccount");
}

NTSTATUS NTAPI FakeLsaSetSystemAccessAccount(LSA_HANDLE account, ULONG access)
{
    g_calls.push_back(std::string("LsaSetSystemAccessAccount(") + (account == kAccount ? "account" : "?") + ","
                      + std::to_string(access) + ")");
    return Answer("LsaSetSystemAccessAccount");
}

NTSTATUS NTAPI FakeLsaAddPrivilegesToAccount(LSA_HANDLE account, PPRIVILEGE_SET set)
{
    char name[64] = "?";
    DWORD size = sizeof(name);
    LookupPrivilegeNameA(nullptr, &set->Privilege[0].Luid, name, &size);
    char text[160];
    snprintf(text, sizeof(text), "LsaAddPrivilegesToAccount(%s,%s,%lu,%lu,%lu)", account == kAccount ? "account" : "?", name,
              set->PrivilegeCount, set->Control, set->Privilege[0].Attributes);
    g_calls.push_back(text);
    return Answer(std::string("Lsa:") + name);
}

NTSTATUS NTAPI FakeLsaClose(LSA_HANDLE handle)
{
    g_calls.push_back(handle == kPolicy ? "LsaClose(policy)" : handle == kAccount ? "LsaClose(account)" : "LsaClose(?)");
    return 0;
}

BOOL WINAPI FakeLookupPrivilegeValueA(LPCSTR system, LPCSTR name, PLUID value)
{
    g_calls.push_back(std::string("LookupPrivilegeValueA(") + (system ? system : "null") + "," + name + ")");
    return LookupPrivilegeValueA(nullptr, name, value) && Win32Answer(std::string("Value:") + name);
}

USER_INFO_2 g_found = {};
NET_API_STATUS WINAPI FakeNetUserGetInfo(LPCWSTR server, LPCWSTR user, DWORD level, LPBYTE* buffer)
{
    g_calls.push_back("NetUserGetInfo(" + Narrow(server) + "," + Narrow(user) + "," + std::to_string(level) + ")");
    *buffer = Answer("NetUserGetInfo") ? nullptr : reinterpret_cast<LPBYTE>(&g_found);
    return static_cast<NET_API_STATUS>(Answer("NetUserGetInfo"));
}

NET_API_STATUS WINAPI FakeNetApiBufferFree(LPVOID buffer)
{
    g_calls.push_back(buffer == &g_found ? "NetApiBufferFree(info)" : "NetApiBufferFree(?)");
    return NERR_Success;
}

NET_API_STATUS WINAPI FakeNetUserChangePassword(LPCWSTR domain, LPCWSTR user, LPCWSTR oldPassword, LPCWSTR newPassword)
{
    g_calls.push_back("NetUserChangePassword(" + Narrow(domain) + "," + Narrow(user) + "," + Narrow(oldPassword) + ","
                      + Narrow(newPassword) + ")");
    return static_cast<NET_API_STATUS>(Answer("NetUserChangePassword"));
}

DWORD WINAPI FakeGetModuleFileNameA(HMODULE module, LPSTR buffer, DWORD size)
{
    if (module)
        return GetModuleFileNameA(module, buffer, size);
    lstrcpynA(buffer, g_program.c_str(), static_cast<int>(size));
    return static_cast<DWORD>(g_program.size());
}

// The protected steps, reached from the test.
struct AccountSteps : CSystemAccount {
    using CSystemAccount::AddDrosvaneUserPrivileges;
};

class CSystemAccountIntercepted : public ::testing::Test {
protected:
    void SetUp() override
    {
        g_calls.clear();
        g_answers.clear();
    }

    // The calls of a whole successful AssignGroups on server (null text: "null").
    static std::vector<std::string> Assigned(const std::string& server)
    {
        return {"LookupAccountNameA(" + server + ",DOM\\svc,1024,80)",
                "LookupAccountSidA(" + server + ",S-1-5-32-544)",
                "NetLocalGroupAddMember(" + server + ",Administradores,S-1-5-21-1-2-3-1000)",
                "LookupAccountSidA(" + server + ",S-1-5-32-551)",
                "NetLocalGroupAddMember(" + server + ",Operadores de copia,S-1-5-21-1-2-3-1000)"};
    }
    static std::vector<std::string> Privileges(const std::string& server, const std::string& policyServer)
    {
        return {"LsaOpenPolicy(" + policyServer + ",24,0xF2,zero,0xF0FFF)",
                "LookupAccountSidA(" + server + ",S-1-5-32-551)",
                "LookupAccountNameA(" + server + ",BUILTIN\\Operadores de copia,1024,80)",
                "LsaOpenAccount(policy,S-1-5-32-551,0xF000F)",
                "LsaSetSystemAccessAccount(account,23)",
                "LookupPrivilegeValueA(" + server + ",SeTcbPrivilege)",
                "LsaAddPrivilegesToAccount(account,SeTcbPrivilege,1,1,2)",
                "LookupPrivilegeValueA(" + server + ",SeBackupPrivilege)",
                "LsaAddPrivilegesToAccount(account,SeBackupPrivilege,1,1,2)",
                "LsaClose(account)",
                "LsaClose(policy)"};
    }
    static std::vector<std::string> Joined(std::vector<std::string> a, const std::vector<std::string>& b)
    {
        a.insert(a.end(), b.begin(), b.end());
        return a;
    }
};

// Every test hooks all of them: the policy account calls would end the process under Wine.
#define HOOK_ACCOUNT_CALLS()                                                                                  \
    SETUPCLS_HOOK_IMPORT(hook_dc, "NETAPI32.dll", NetGetDCName, FakeNetGetDCName);                                 \
    SETUPCLS_HOOK_IMPORT(hook_add, "NETAPI32.dll", NetUserAdd, FakeNetUserAdd);                                    \
    SETUPCLS_HOOK_IMPORT(hook_change, "NETAPI32.dll", NetUserChangePassword, FakeNetUserChangePassword);           \
    SETUPCLS_HOOK_IMPORT(hook_member, "NETAPI32.dll", NetLocalGroupAddMember, FakeNetLocalGroupAddMember);         \
    SETUPCLS_HOOK_IMPORT(hook_byName, "ADVAPI32.dll", LookupAccountNameA, FakeLookupAccountNameA);                 \
    SETUPCLS_HOOK_IMPORT(hook_bySid, "ADVAPI32.dll", LookupAccountSidA, FakeLookupAccountSidA);                    \
    SETUPCLS_HOOK_IMPORT(hook_policy, "ADVAPI32.dll", LsaOpenPolicy, FakeLsaOpenPolicy);                           \
    SETUPCLS_HOOK_IMPORT(hook_account, "ADVAPI32.dll", LsaOpenAccount, FakeLsaOpenAccount);                        \
    SETUPCLS_HOOK_IMPORT(hook_access, "ADVAPI32.dll", LsaSetSystemAccessAccount, FakeLsaSetSystemAccessAccount);   \
    SETUPCLS_HOOK_IMPORT(hook_privilege, "ADVAPI32.dll", LsaAddPrivilegesToAccount, FakeLsaAddPrivilegesToAccount); \
    SETUPCLS_HOOK_IMPORT(hook_value, "ADVAPI32.dll", LookupPrivilegeValueA, FakeLookupPrivilegeValueA);        \
    SETUPCLS_HOOK_IMPORT(hook_close, "ADVAPI32.dll", LsaClose, FakeLsaClose)

TEST_F(CSystemAccountIntercepted, ControllerAskedOnlyForADomainAccountAndUsedByItsOperations)
{
    HOOK_ACCOUNT_CALLS();
    CSystemAccount local("pc1", "Pc1", "svc", "pw");
    EXPECT_EQ(1, local.Local());
    EXPECT_EQ(nullptr, local.Controller());
    EXPECT_TRUE(g_calls.empty()) << g_calls.front();

    CSystemAccount domain("pc1", "dom", "svc", "pw");
    EXPECT_EQ(0, domain.Local());
    EXPECT_EQ(std::vector<std::string>{"NetGetDCName(null,DOM)"}, g_calls);
    g_calls.clear();
    EXPECT_EQ(1, domain.Create());
    EXPECT_EQ(Joined(Joined({"NetUserAdd(\\\\DC1,2)"}, Assigned("\\\\DC1")), Privileges("\\\\DC1", "\\\\DC1 10/12")),
              g_calls);

    g_answers["NetGetDCName"] = NERR_DCNotFound;  // no controller: the operations stay on this machine
    CSystemAccount alone("pc1", "dom", "svc", "pw");
    EXPECT_EQ(nullptr, alone.Controller());
}

TEST_F(CSystemAccountIntercepted, CreateAddsANormalUserWhosePasswordNeverExpires)
{
    HOOK_ACCOUNT_CALLS();
    EXPECT_EQ(1, CSystemAccount::Create(nullptr, "PC", "DOM", "svc", "pw"));
    EXPECT_EQ(Joined(Joined({"NetUserAdd(null,2)"}, Assigned("null")), Privileges("null", "null 0/0")), g_calls);
    EXPECT_EQ(L"svc", g_addedName);
    EXPECT_EQ(L"pw", g_addedPassword);
    EXPECT_EQ(L"svc", g_addedFullName);
    EXPECT_EQ(1u, g_added.usri2_priv);
    EXPECT_EQ(0x10201u, g_added.usri2_flags);
    EXPECT_EQ(0xFFFFFFFFu, g_added.usri2_acct_expires);
    EXPECT_EQ(0xFFFFFFFFu, g_added.usri2_max_storage);
    USER_INFO_2 rest = g_added;  // every other field zero or null
    rest.usri2_name = rest.usri2_password = rest.usri2_full_name = nullptr;
    rest.usri2_priv = rest.usri2_flags = rest.usri2_acct_expires = rest.usri2_max_storage = 0;
    EXPECT_EQ(std::string(sizeof(rest), '\0'), std::string(reinterpret_cast<const char*>(&rest), sizeof(rest)));
}

TEST_F(CSystemAccountIntercepted, AnExistingUserIsKeptAndOtherAddErrorsFail)
{
    HOOK_ACCOUNT_CALLS();
    g_answers["NetUserAdd"] = NERR_UserExists;  // Wine answers 0 here: only interception shows 2224
    EXPECT_EQ(1, CSystemAccount::Create(nullptr, "PC", "DOM", "svc", "pw"));
    EXPECT_EQ(Joined(Joined({"NetUserAdd(null,2)"}, Assigned("null")), Privileges("null", "null 0/0")), g_calls)
        << "the password of the user that exists is not changed";
    g_calls.clear();
    g_answers["NetUserAdd"] = ERROR_ACCESS_DENIED;
    EXPECT_EQ(0, CSystemAccount::Create(nullptr, "PC", "DOM", "svc", "pw"));
    EXPECT_EQ(std::vector<std::string>{"NetUserAdd(null,2)"}, g_calls);
}

TEST_F(CSystemAccountIntercepted, GroupsStopAtTheFirstFailureAndTakeAMemberAlreadyThere)
{
    HOOK_ACCOUNT_CALLS();
    const std::vector<std::string> all = Joined(Assigned("null"), Privileges("null", "null 0/0"));
    const struct {
        const char* fails;
        long status;
        int result;
        size_t calls;  // how many of all's calls are made
    } cases[] = {
        {"LookupAccountNameA", ERROR_NONE_MAPPED, 0, 1},
        {"Administradores", ERROR_ACCESS_DENIED, 0, 3},
        {"Operadores de copia", ERROR_ACCESS_DENIED, 0, 5},
        {"Administradores", ERROR_MEMBER_IN_ALIAS, 1, all.size()},
        {"Operadores de copia", ERROR_MEMBER_IN_ALIAS, 1, all.size()},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.fails) + " " + std::to_string(c.status));
        g_calls.clear();
        g_answers = {{c.fails, c.status}};
        EXPECT_EQ(c.result, CSystemAccount::AssignGroups(nullptr, "PC", "DOM", "svc", "pw"));
        EXPECT_EQ(std::vector<std::string>(all.begin(), all.begin() + c.calls), g_calls);
    }
}

TEST_F(CSystemAccountIntercepted, RightsGoToBackupOperatorsAndEachFailureClosesWhatWasOpened)
{
    HOOK_ACCOUNT_CALLS();
    const std::vector<std::string> all = Privileges("null", "null 0/0");
    const auto upTo = [&](size_t count, std::vector<std::string> closes) {
        return Joined(std::vector<std::string>(all.begin(), all.begin() + count), closes);
    };
    std::vector<std::string> noTcb = all;  // a privilege the server does not know is not granted
    noTcb.erase(noTcb.begin() + 6);
    const struct {
        const char* fails;
        long status;
        int result;
        std::vector<std::string> calls;
    } cases[] = {
        {"LsaOpenPolicy", static_cast<long>(0xC0000022), 0, upTo(1, {})},
        {"LookupAccountSidA", ERROR_NONE_MAPPED, 0, upTo(2, {"LsaClose(policy)"})},
        {"LookupBackup", ERROR_NONE_MAPPED, 0, upTo(3, {"LsaClose(policy)"})},
        {"LsaOpenAccount", static_cast<long>(0xC0000034), 0, upTo(4, {"LsaClose(policy)"})},
        {"LsaSetSystemAccessAccount", static_cast<long>(0xC0000022), 0, upTo(5, {"LsaClose(account)", "LsaClose(policy)"})},
        // Both privileges are tried whatever the first answers; only error severity fails.
        {"Value:SeTcbPrivilege", ERROR_NO_SUCH_PRIVILEGE, 0, noTcb},
        {"Lsa:SeTcbPrivilege", static_cast<long>(0xC0000022), 0, all},
        {"Lsa:SeBackupPrivilege", static_cast<long>(0xC0000022), 0, all},
        {"Lsa:SeTcbPrivilege", static_cast<long>(0x80000005), 1, all},
        {"Lsa:SeBackupPrivilege", static_cast<long>(0x40000000), 1, all},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.fails) + " " + std::to_string(c.status));
        g_calls.clear();
        g_answers = {{c.fails, c.status}};
        EXPECT_EQ(c.result, AccountSteps::AddDrosvaneUserPrivileges(nullptr));
        EXPECT_EQ(c.calls, g_calls);
    }
}

// Wine answers 2140 for every user at level 2.
TEST_F(CSystemAccountIntercepted, ExistsAsksForTheUserAndFreesTheAnswer)
{
    SETUPCLS_HOOK_IMPORT(hook_info, "NETAPI32.dll", NetUserGetInfo, FakeNetUserGetInfo);
    SETUPCLS_HOOK_IMPORT(hook_free, "NETAPI32.dll", NetApiBufferFree, FakeNetApiBufferFree);
    EXPECT_EQ(1, CSystemAccount::Exists(L"\\\\DC1", "svc"));
    g_answers["NetUserGetInfo"] = NERR_UserNotFound;
    EXPECT_EQ(0, CSystemAccount::Exists(L"\\\\DC1", "svc"));
    EXPECT_EQ((std::vector<std::string>{"NetUserGetInfo(\\\\DC1,svc,2)", "NetApiBufferFree(info)",
                                        "NetUserGetInfo(\\\\DC1,svc,2)"}),
              g_calls);
}

TEST_F(CSystemAccountIntercepted, ValidPasswordIsZeroOnlyForAWrongPassword)
{
    HOOK_ACCOUNT_CALLS();
    const struct {
        long status;
        int result;
    } cases[] = {{NERR_Success, 1}, {ERROR_INVALID_PASSWORD, 0}, {NERR_UserNotFound, 1}, {NERR_PasswordTooShort, 1},
                 {NERR_DCNotFound, 1}};
    for (const auto& c : cases) {
        g_calls.clear();
        g_answers["NetUserChangePassword"] = c.status;
        EXPECT_EQ(c.result, CSystemAccount::ValidPassword(L"\\\\DC1", "PC", "DOM", "svc", "pw")) << c.status;
        EXPECT_EQ(std::vector<std::string>{"NetUserChangePassword(DOM,svc,pw,pw)"}, g_calls) << c.status;
    }
}

TEST_F(CSystemAccountIntercepted, LongUserAndPasswordAreCutAtTheConversionBuffers)
{
    HOOK_ACCOUNT_CALLS();
    const std::string user(600, 'u'), password(600, 'p');
    CSystemAccount::Create(nullptr, "PC", "DOM", user.c_str(), password.c_str());
    EXPECT_EQ(std::wstring(511, L'u'), g_addedName);
    EXPECT_EQ(std::wstring(511, L'p'), g_addedPassword);
    g_calls.clear();
    CSystemAccount::ValidPassword(nullptr, "PC", "DOM", user.c_str(), password.c_str());
    EXPECT_EQ(std::vector<std::string>{"NetUserChangePassword(DOM," + std::string(255, 'u') + ","
                                       + std::string(255, 'p') + "," + std::string(255, 'p') + ")"},
              g_calls);
}

// The library is the one beside the running program: the test program's own folder is the
// build's, shared by every test, so the program's name is answered from a folder of the test's.
TEST_F(CSystemAccountIntercepted, RegisterHandsTheAccountToTheToolBesideTheProgram)
{
    SETUPCLS_HOOK_IMPORT(hook_module, "KERNEL32.dll", GetModuleFileNameA, FakeGetModuleFileNameA);
    TempDir dir;
    g_program = dir / "setup.exe";
    ASSERT_TRUE(testsupport::CopyFixture("QWTOOL.DLL", dir / "QWTOOL.DLL"));
    ScopedEnv calls("QWTOOL_ACCOUNT_CALLS", (dir / "calls.txt").c_str()), answer("QWTOOL_ACCOUNT_ANSWER", "1");
    EXPECT_EQ(1, CSystemAccount("pc", "dom", "Svc", "Pw").Register());
    const std::string computer(300, 'c'), text(100, 't');
    EXPECT_EQ(1, CSystemAccount::Register(computer.c_str(), text.c_str(), text.c_str(), text.c_str()));
    const std::string cut(63, 't');
    EXPECT_EQ("PC|DOM|Svc|Pw\r\n" + std::string(255, 'c') + "|" + cut + "|" + cut + "|" + cut + "\r\n",
              ReadFileBytes(dir / "calls.txt"));
    ScopedEnv refused("QWTOOL_ACCOUNT_ANSWER", "0x10000");  // only the low 16 bits tell success
    EXPECT_EQ(0, CSystemAccount::Register("PC", "DOM", "svc", "pw"));
    ASSERT_TRUE(testsupport::CopyFixture("noexports.dll", dir / "QWTOOL.DLL"));
    EXPECT_EQ(0, CSystemAccount::Register("PC", "DOM", "svc", "pw"));
}

}  // namespace
