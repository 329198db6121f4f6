// The folder and file access functions with SetupCLS.dll's security imports replaced
// (ImportHook): Wine stores no file or folder lists and has no TrustedInstaller account, so the
// hooks record the lists the library builds (SetEntriesInAclA and the list functions are real)
// and answer as Windows would. The folders and files themselves are real.
#include "FolderAccess.h"

#include "Handles.h"
#include "ImportHook.h"
#include "OutputCapture.h"
#include "SecuritySupport.h"
#include "TestSupport.h"

#include <aclapi.h>
#include <gtest/gtest.h>
#include <sddl.h>

#include <deque>
#include <string>
#include <vector>

namespace {

const char kTrustedInstaller[] = "S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464";

// Calls seen by the hooks of one test, as text in order, and the hooks' answers.
struct Calls {
    OSVERSIONINFOA version = {sizeof(OSVERSIONINFOA), 6, 1, 7601, VER_PLATFORM_WIN32_NT, {}};
    std::vector<std::string> log, entries;  // entries: of the last list set or written
    std::deque<DWORD> setAnswers;           // of SetNamedSecurityInfoA in turn, then 0
    DWORD privilegeError = 0, readError = 0, writeError = 0;
    BOOL tokenOpens = TRUE, addFails = FALSE;
    UniqueLocalPtr<PSECURITY_DESCRIPTOR> file;  // what GetFileSecurityA reads
    WORD control = 0;                           // of the descriptor written
};
Calls g;

BOOL Answer(DWORD error)
{
    SetLastError(error);
    return !error;
}

BOOL WINAPI FakeGetVersionExA(LPOSVERSIONINFOA info)
{
    *info = g.version;
    return TRUE;
}

BOOL WINAPI FakeLookupAccountNameA(LPCSTR system, LPCSTR name, PSID sid, LPDWORD sidSize, LPSTR, LPDWORD domainSize,
                                   PSID_NAME_USE)
{
    g.log.push_back("lookup " + std::string(name) + " " + std::to_string(*sidSize) + " " +
                    std::to_string(*domainSize) + (system ? " remote" : ""));
    UniqueLocalPtr<PSID> made;
    ConvertStringSidToSidA(kTrustedInstaller, made.put());
    return CopySid(*sidSize, sid, made.get());
}

DWORD WINAPI FakeSetNamedSecurityInfoA(LPSTR name, SE_OBJECT_TYPE type, SECURITY_INFORMATION information, PSID owner,
                                       PSID group, PACL list, PACL audit)
{
    g.log.push_back("set " + std::string(name) + " " + std::to_string(type) + " " + std::to_string(information) +
                    (owner ? " owner " + testsupport::SidText(owner) : "") + (group || audit ? " more" : ""));
    g.entries = testsupport::AceEntries(list);
    const DWORD answer = g.setAnswers.empty() ? 0 : g.setAnswers.front();
    if (!g.setAnswers.empty())
        g.setAnswers.pop_front();
    return answer;
}

BOOL WINAPI FakeOpenProcessToken(HANDLE process, DWORD access, PHANDLE token)
{
    g.log.push_back("token " + std::to_string(access));
    return g.tokenOpens ? OpenProcessToken(process, access, token) : Answer(ERROR_ACCESS_DENIED);
}

// Changes nothing: answers as for a token that holds the privilege, or as g.privilegeError says.
BOOL WINAPI FakeAdjustTokenPrivileges(HANDLE, BOOL, PTOKEN_PRIVILEGES privileges, DWORD, PTOKEN_PRIVILEGES, PDWORD)
{
    char name[64] = {};
    DWORD size = sizeof(name);
    LookupPrivilegeNameA(nullptr, &privileges->Privileges[0].Luid, name, &size);
    g.log.push_back("privilege " + std::to_string(privileges->PrivilegeCount) + " " + name + " " +
                    std::to_string(privileges->Privileges[0].Attributes));
    SetLastError(g.privilegeError);
    return TRUE;
}

BOOL WINAPI FakeGetFileSecurityA(LPCSTR, SECURITY_INFORMATION information, PSECURITY_DESCRIPTOR descriptor,
                                 DWORD size, LPDWORD needed)
{
    g.log.push_back("read " + std::to_string(information) + " " + std::to_string(size));
    *needed = GetSecurityDescriptorLength(g.file.get());
    if (g.readError || size < *needed)
        return Answer(g.readError ? g.readError : ERROR_INSUFFICIENT_BUFFER);
    memcpy(descriptor, g.file.get(), *needed);
    return TRUE;
}

BOOL WINAPI FakeSetFileSecurityA(LPCSTR, SECURITY_INFORMATION information, PSECURITY_DESCRIPTOR descriptor)
{
    g.log.push_back("write " + std::to_string(information));
    BOOL present = FALSE, defaulted = TRUE;
    PACL list = nullptr;
    DWORD revision = 0;
    GetSecurityDescriptorDacl(descriptor, &present, &list, &defaulted);
    GetSecurityDescriptorControl(descriptor, &g.control, &revision);
    g.entries = testsupport::AceEntries(list);
    return Answer(g.writeError);
}

DWORD WINAPI FakeGetEffectiveRightsFromAclA(PACL, PTRUSTEE_A trustee, PACCESS_MASK rights)
{
    g.log.push_back("rights " + testsupport::SidText(trustee->ptstrName) + " " + std::to_string(trustee->TrusteeForm) +
                    " " + std::to_string(trustee->TrusteeType));
    *rights = 0x120089;
    return g.readError;
}

BOOL WINAPI FakeAddAce(PACL list, DWORD revision, DWORD index, LPVOID entries, DWORD size)
{
    return g.addFails ? Answer(ERROR_ALLOTTED_SPACE_EXCEEDED) : AddAce(list, revision, index, entries, size);
}

// The file's descriptor from its text form (Windows' own parser builds the list).
void FileDescriptor(const char* text)
{
    ASSERT_TRUE(ConvertStringSecurityDescriptorToSecurityDescriptorA(text, SDDL_REVISION_1, g.file.put(), nullptr))
        << text;
}

class FolderAccessIntercepted : public ::testing::Test {
protected:
    void SetUp() override { g = Calls(); }
    void TearDown() override { g = Calls(); }
    testsupport::TempDir m_dir;
    const std::string m_file = m_dir / "file.txt";  // the file hooks stand for it
};

// "<sid> <type> <flags> 0x<mask>": every entry is inherited by folders and files (flags 3).
TEST_F(FolderAccessIntercepted, FolderRuleHasThreeEntriesBeforeWindows6AndFourFrom6)
{
    SETUPCLS_HOOK_IMPORT(versionHook, "KERNEL32.dll", GetVersionExA, FakeGetVersionExA);
    SETUPCLS_HOOK_IMPORT(lookupHook, "ADVAPI32.dll", LookupAccountNameA, FakeLookupAccountNameA);
    SETUPCLS_HOOK_IMPORT(setHook, "ADVAPI32.dll", SetNamedSecurityInfoA, FakeSetNamedSecurityInfoA);
    const std::vector<std::string> before6 = {"S-1-1-0 0 3 0x80", "S-1-5-32-551 0 3 0x1F01FF",
                                              "S-1-5-32-544 0 3 0x1F01FF"};
    const std::vector<std::string> from6 = {"S-1-1-0 0 3 0xA0000080", "S-1-5-32-551 0 3 0x1F01FF",
                                            "S-1-5-32-544 0 3 0x1F01FF", std::string(kTrustedInstaller) + " 0 3 0x1F01FF"};
    const std::string looked = "lookup NT SERVICE\\TrustedInstaller 300 200", folder = m_dir.path();
    const struct {
        DWORD platform, major;
        std::string path;
        std::vector<std::string> entries, log;
    } cases[] = {
        {VER_PLATFORM_WIN32_NT, 5, folder, before6, {"set " + folder + " 1 2147483652"}},
        {VER_PLATFORM_WIN32_WINDOWS, 6, folder, before6, {"set " + folder + " 1 2147483652"}},
        {VER_PLATFORM_WIN32_NT, 6, folder, from6, {looked, "set " + folder + " 1 2147483652"}},
        {VER_PLATFORM_WIN32_NT, 10, folder + "\\", from6, {looked, "set " + folder + "\\ 1 2147483652"}},
        {VER_PLATFORM_WIN32_NT, 10, m_dir / "missing", {}, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.platform) + "/" + std::to_string(c.major) + " " + c.path);
        g.log.clear();
        g.entries.clear();
        g.version.dwPlatformId = c.platform;
        g.version.dwMajorVersion = c.major;
        EXPECT_EQ(c.log.empty() ? 0 : 1, AddAccessPermissionOnFolder(c.path.c_str()));
        EXPECT_EQ(c.entries, g.entries);
        EXPECT_EQ(c.log, g.log);
    }
}

// A list refused with 5 is set again once Administrators own the folder; each step that fails
// ends the call with 0.
TEST_F(FolderAccessIntercepted, RefusedFolderIsTakenOverByAdministratorsOnce)
{
    SETUPCLS_HOOK_IMPORT(versionHook, "KERNEL32.dll", GetVersionExA, FakeGetVersionExA);
    SETUPCLS_HOOK_IMPORT(setHook, "ADVAPI32.dll", SetNamedSecurityInfoA, FakeSetNamedSecurityInfoA);
    SETUPCLS_HOOK_IMPORT(tokenHook, "ADVAPI32.dll", OpenProcessToken, FakeOpenProcessToken);
    SETUPCLS_HOOK_IMPORT(privilegeHook, "ADVAPI32.dll", AdjustTokenPrivileges, FakeAdjustTokenPrivileges);
    g.version.dwMajorVersion = 5;
    const std::string list = "set " + m_dir.path() + " 1 2147483652", token = "token 32",
                      owner = "set " + m_dir.path() + " 1 1 owner S-1-5-32-544",
                      enable = "privilege 1 SeTakeOwnershipPrivilege 2",
                      disable = "privilege 1 SeTakeOwnershipPrivilege 0";
    const struct {
        const char* path;
        std::deque<DWORD> setAnswers;
        BOOL tokenOpens;
        DWORD privilegeError;
        int result;
        std::vector<std::string> log;
    } cases[] = {
        {"taken over", {5}, TRUE, 0, 1, {list, token, enable, owner, disable, list}},
        {"refused again", {5, 0, 5}, TRUE, 0, 0, {list, token, enable, owner, disable, list}},
        {"other failure", {ERROR_SHARING_VIOLATION}, TRUE, 0, 0, {list}},
        {"no token", {5}, FALSE, 0, 0, {list, token}},
        {"privilege not held", {5}, TRUE, ERROR_NOT_ALL_ASSIGNED, 0, {list, token, enable}},
        {"owner refused", {5, 5}, TRUE, 0, 0, {list, token, enable, owner}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.path);
        g.log.clear();
        g.setAnswers = c.setAnswers;
        g.tokenOpens = c.tokenOpens;
        g.privilegeError = c.privilegeError;
        EXPECT_EQ(c.result, AddAccessPermissionOnFolder(m_dir.path().c_str()));
        EXPECT_EQ(c.log, g.log);
    }
}

// Wine answers 0x1FFFFF for every trustee: the hook answers 0x120089, or fails.
TEST_F(FolderAccessIntercepted, MaskIsTheBuiltinGroupsEffectiveRights)
{
    SETUPCLS_HOOK_IMPORT(rightsHook, "ADVAPI32.dll", GetEffectiveRightsFromAclA, FakeGetEffectiveRightsFromAclA);
    for (DWORD error : {DWORD(0), DWORD(ERROR_INVALID_ACL)}) {
        SCOPED_TRACE(error);
        g.log.clear();
        g.readError = error;
        DWORD mask = 7;
        EXPECT_EQ(error ? 0 : 1, GetBuiltinDomainAccessMaskOnFolder(m_dir.path().c_str(), 551, &mask));
        EXPECT_EQ(error ? 0u : 0x120089u, mask);
        EXPECT_EQ(std::vector<std::string>({"rights S-1-5-32-551 0 2"}), g.log);
    }
}

// The old lists in text form: D: the list, AI auto-inherited, P protected; ID marks inherited
// entries. BU Users, BA Administrators (the account), WD Everyone, SY System.
TEST_F(FolderAccessIntercepted, AccountEntryGoesAfterTheExplicitOnesAndReplacesTheAccountsOwn)
{
    SETUPCLS_HOOK_IMPORT(readHook, "ADVAPI32.dll", GetFileSecurityA, FakeGetFileSecurityA);
    SETUPCLS_HOOK_IMPORT(writeHook, "ADVAPI32.dll", SetFileSecurityA, FakeSetFileSecurityA);
    const std::string mine = "S-1-5-32-544 0 0 0x120089";
    const struct {
        const char* file;
        std::vector<std::string> entries;
        WORD control;
    } cases[] = {
        {"D:AI(A;;0x10000;;;BU)(D;;0x20000;;;BA)(A;;0x30000;;;WD)(A;ID;0x40000;;;BA)(A;ID;0x50000;;;SY)",
         {"S-1-5-32-545 0 0 0x10000", "S-1-1-0 0 0 0x30000", mine, "S-1-5-18 0 16 0x50000"},
         SE_DACL_AUTO_INHERIT_REQ | SE_DACL_AUTO_INHERITED},
        {"D:P(A;ID;0x40000;;;SY)", {mine, "S-1-5-18 0 16 0x40000"}, SE_DACL_PROTECTED},
        {"D:PAI", {mine}, SE_DACL_AUTO_INHERIT_REQ | SE_DACL_AUTO_INHERITED},
        {"D:", {mine}, 0},
        {"D:NO_ACCESS_CONTROL", {mine}, 0},
        {"O:BA", {mine}, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.file);
        FileDescriptor(c.file);
        int result = -1;
        EXPECT_EQ("", testsupport::StdoutOf(
                          [&] { result = AdjustAccessRights(nullptr, 7, -1, m_file.c_str(), "Administrators", 0x120089); }));
        EXPECT_EQ(1, result);
        EXPECT_EQ(c.entries, g.entries);
        const WORD shown = SE_DACL_AUTO_INHERIT_REQ | SE_DACL_AUTO_INHERITED | SE_DACL_PROTECTED | SE_DACL_PRESENT;
        EXPECT_EQ(c.control | SE_DACL_PRESENT, g.control & shown);
    }
}

// The security privilege is enabled first and disabled only after a successful write.
TEST_F(FolderAccessIntercepted, AdjustmentPrintsEachFailureAndKeepsThePrivilegeAfterOne)
{
    SETUPCLS_HOOK_IMPORT(readHook, "ADVAPI32.dll", GetFileSecurityA, FakeGetFileSecurityA);
    SETUPCLS_HOOK_IMPORT(writeHook, "ADVAPI32.dll", SetFileSecurityA, FakeSetFileSecurityA);
    SETUPCLS_HOOK_IMPORT(tokenHook, "ADVAPI32.dll", OpenProcessToken, FakeOpenProcessToken);
    SETUPCLS_HOOK_IMPORT(privilegeHook, "ADVAPI32.dll", AdjustTokenPrivileges, FakeAdjustTokenPrivileges);
    SETUPCLS_HOOK_IMPORT(addHook, "ADVAPI32.dll", AddAce, FakeAddAce);
    FileDescriptor("D:(A;;1;;;WD)");
    const std::string token = "token 40", enable = "privilege 1 SeSecurityPrivilege 2", probe = "read 4 0",
                      read = "read 4 " + std::to_string(GetSecurityDescriptorLength(g.file.get()));
    const struct {
        const char* step;
        DWORD readError, writeError;
        BOOL addFails;
        const char* output;
        std::vector<std::string> log;
    } cases[] = {
        {"written", 0, 0, FALSE, "", {token, enable, probe, read, "write 4", token, "privilege 1 SeSecurityPrivilege 0"}},
        {"read", ERROR_ACCESS_DENIED, 0, FALSE, "GetFileSecurity() failed. Error 5\n", {token, enable, probe}},
        {"copy", 0, 0, TRUE, "AddAce() failed. Error 1344\n", {token, enable, probe, read}},
        {"write", 0, ERROR_ACCESS_DENIED, FALSE, "SetFileSecurity() failed. Error 5\n",
         {token, enable, probe, read, "write 4"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.step);
        g.readError = c.readError;
        g.writeError = c.writeError;
        g.addFails = c.addFails;
        g.log.clear();
        int result = -1;
        EXPECT_EQ(c.output, testsupport::StdoutOf(
                                [&] { result = AdjustAccessRights(nullptr, 0, 0, m_file.c_str(), "Administrators", 1); }));
        EXPECT_EQ(*c.output ? 0 : 1, result);
        EXPECT_EQ(c.log, g.log);
    }
}

}  // namespace
