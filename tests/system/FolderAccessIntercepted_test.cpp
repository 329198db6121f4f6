// The folder and file access functions with SetupCLS.dll's security imports replaced
// (ImportHook): Wine stores no file or folder lists and has no TrustedInstaller account, so the
// hooks record the lists the library builds (SetEntriesInAclA and the list functions are real)
// and answer as Windows would. The folders and files themselves are real.
#include "FolderAccess.h"

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

// Calls seen by the hooks of one test.
struct Calls {
    OSVERSIONINFOA version = {sizeof(OSVERSIONINFOA), 6, 1, 7601, VER_PLATFORM_WIN32_NT, {}};
    std::vector<std::string> log;     // the calls in order, as text
    std::deque<DWORD> setAnswers;     // SetNamedSecurityInfoA answers, in turn (then 0)
    std::vector<std::string> entries; // the last list set
    DWORD privilegeError = 0;         // GetLastError after AdjustTokenPrivileges
    BOOL tokenOpens = TRUE;
    std::vector<BYTE> file;           // the self-relative descriptor GetFileSecurityA answers
    DWORD readError = 0, writeError = 0;
    WORD control = 0;                 // of the descriptor written
};
Calls g;

BOOL WINAPI FakeGetVersionExA(LPOSVERSIONINFOA info)
{
    *info = g.version;
    return TRUE;
}

BOOL WINAPI FakeLookupAccountNameA(LPCSTR system, LPCSTR name, PSID sid, LPDWORD sidSize, LPSTR domain,
                                   LPDWORD domainSize, PSID_NAME_USE use)
{
    g.log.push_back("lookup " + std::string(name) + " " + std::to_string(*sidSize) + " " +
                    std::to_string(*domainSize) + (system ? " remote" : ""));
    PSID made = nullptr;
    ConvertStringSidToSidA(kTrustedInstaller, &made);
    CopySid(*sidSize, sid, made);
    LocalFree(made);
    lstrcpyA(domain, "NT SERVICE");
    *use = SidTypeWellKnownGroup;
    return TRUE;
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
    if (!g.tokenOpens)
        SetLastError(ERROR_ACCESS_DENIED);
    return g.tokenOpens && OpenProcessToken(process, access, token);
}

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
    *needed = static_cast<DWORD>(g.file.size());
    const DWORD error = g.readError ? g.readError : size < *needed ? ERROR_INSUFFICIENT_BUFFER : 0;
    if (!error)
        memcpy(descriptor, g.file.data(), g.file.size());
    SetLastError(error);
    return !error;
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
    SetLastError(g.writeError);
    return !g.writeError;
}

DWORD WINAPI FakeGetEffectiveRightsFromAclA(PACL, PTRUSTEE_A trustee, PACCESS_MASK rights)
{
    g.log.push_back("rights " + testsupport::SidText(trustee->ptstrName) + " " + std::to_string(trustee->TrusteeForm) +
                    " " + std::to_string(trustee->TrusteeType));
    *rights = 0x120089;
    return g.readError;
}

BOOL WINAPI FailingAddAce(PACL, DWORD, DWORD, LPVOID, DWORD)
{
    SetLastError(ERROR_ALLOTTED_SPACE_EXCEEDED);
    return FALSE;
}

struct Entry {
    const char* sid;
    BYTE type, flags;  // ACCESS_ALLOWED_ACE_TYPE or ACCESS_DENIED_ACE_TYPE; INHERITED_ACE...
    DWORD mask;
};

// An access list of the entries given, in a buffer of the size given.
std::vector<BYTE> List(const std::vector<Entry>& entries, size_t bytes = 1024)
{
    std::vector<BYTE> buffer(bytes);
    const auto list = reinterpret_cast<PACL>(buffer.data());
    EXPECT_TRUE(InitializeAcl(list, static_cast<DWORD>(bytes), ACL_REVISION));
    for (const Entry& entry : entries) {
        PSID sid = nullptr;
        ConvertStringSidToSidA(entry.sid, &sid);
        if (entry.type == ACCESS_DENIED_ACE_TYPE)
            EXPECT_TRUE(AddAccessDeniedAceEx(list, ACL_REVISION, entry.flags, entry.mask, sid));
        else
            EXPECT_TRUE(AddAccessAllowedAceEx(list, ACL_REVISION, entry.flags, entry.mask, sid));
        LocalFree(sid);
    }
    return buffer;
}

// A self-relative descriptor holding list (empty: no list at all) and the control bits given.
std::vector<BYTE> Descriptor(WORD control, std::vector<BYTE> list)
{
    SECURITY_DESCRIPTOR absolute;
    InitializeSecurityDescriptor(&absolute, SECURITY_DESCRIPTOR_REVISION);
    SetSecurityDescriptorDacl(&absolute, !list.empty(), list.empty() ? nullptr : reinterpret_cast<PACL>(list.data()),
                              FALSE);
    SetSecurityDescriptorControl(&absolute, control, control);
    DWORD size = 0;
    MakeSelfRelativeSD(&absolute, nullptr, &size);
    std::vector<BYTE> relative(size);
    EXPECT_TRUE(MakeSelfRelativeSD(&absolute, relative.data(), &size));
    return relative;
}

class FolderAccessIntercepted : public ::testing::Test {
protected:
    void SetUp() override { g = Calls(); }
    void TearDown() override { g = Calls(); }
    testsupport::TempDir m_dir;
    const std::string m_file = m_dir / "file.txt";
};

// "<sid> <type> <flags> 0x<mask>": every entry is inherited by folders and files (flags 3).
TEST_F(FolderAccessIntercepted, FolderRuleHasThreeEntriesBeforeWindows6AndFourFrom6)
{
    SETUPCLS_HOOK_IMPORT(version, "KERNEL32.dll", GetVersionExA, FakeGetVersionExA);
    SETUPCLS_HOOK_IMPORT(lookup, "ADVAPI32.dll", LookupAccountNameA, FakeLookupAccountNameA);
    SETUPCLS_HOOK_IMPORT(set, "ADVAPI32.dll", SetNamedSecurityInfoA, FakeSetNamedSecurityInfoA);
    const std::vector<std::string> full = {"S-1-5-32-551 0 3 0x1F01FF", "S-1-5-32-544 0 3 0x1F01FF"};
    const std::string installer = std::string(kTrustedInstaller) + " 0 3 0x1F01FF";
    const std::string looked = "lookup NT SERVICE\\TrustedInstaller 300 200";
    const std::string folder = m_dir.path();
    const struct {
        DWORD platform, major;
        std::string path;
        std::vector<std::string> entries, log;
    } cases[] = {
        {VER_PLATFORM_WIN32_NT, 5, folder, {"S-1-1-0 0 3 0x80", full[0], full[1]}, {"set " + folder + " 1 2147483652"}},
        {VER_PLATFORM_WIN32_WINDOWS, 6, folder, {"S-1-1-0 0 3 0x80", full[0], full[1]}, {"set " + folder + " 1 2147483652"}},
        {VER_PLATFORM_WIN32_NT, 6, folder, {"S-1-1-0 0 3 0xA0000080", full[0], full[1], installer},
         {looked, "set " + folder + " 1 2147483652"}},
        {VER_PLATFORM_WIN32_NT, 10, folder + "\\", {"S-1-1-0 0 3 0xA0000080", full[0], full[1], installer},
         {looked, "set " + folder + "\\ 1 2147483652"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.platform) + "/" + std::to_string(c.major) + " " + c.path);
        g.log.clear();
        g.version.dwPlatformId = c.platform;
        g.version.dwMajorVersion = c.major;
        EXPECT_EQ(1, AddAccessPermissionOnFolder(c.path.c_str()));
        EXPECT_EQ(c.entries, g.entries);
        EXPECT_EQ(c.log, g.log);
    }
    g.log.clear();
    EXPECT_EQ(0, AddAccessPermissionOnFolder((m_dir / "missing").c_str()));
    EXPECT_EQ(std::vector<std::string>(), g.log) << "nothing is looked up or set for a missing folder";
}

// A list refused with 5 is set again once Administrators own the folder; each step that fails
// ends the call with 0.
TEST_F(FolderAccessIntercepted, RefusedFolderIsTakenOverByAdministratorsOnce)
{
    SETUPCLS_HOOK_IMPORT(version, "KERNEL32.dll", GetVersionExA, FakeGetVersionExA);
    SETUPCLS_HOOK_IMPORT(lookup, "ADVAPI32.dll", LookupAccountNameA, FakeLookupAccountNameA);
    SETUPCLS_HOOK_IMPORT(set, "ADVAPI32.dll", SetNamedSecurityInfoA, FakeSetNamedSecurityInfoA);
    SETUPCLS_HOOK_IMPORT(token, "ADVAPI32.dll", OpenProcessToken, FakeOpenProcessToken);
    SETUPCLS_HOOK_IMPORT(privilege, "ADVAPI32.dll", AdjustTokenPrivileges, FakeAdjustTokenPrivileges);
    g.version.dwMajorVersion = 5;
    const std::string list = "set " + m_dir.path() + " 1 2147483652";
    const std::string owner = "set " + m_dir.path() + " 1 1 owner S-1-5-32-544";
    const std::string enable = "privilege 1 SeTakeOwnershipPrivilege 2";
    const std::string disable = "privilege 1 SeTakeOwnershipPrivilege 0";
    const struct {
        const char* path;
        std::deque<DWORD> setAnswers;
        BOOL tokenOpens;
        DWORD privilegeError;
        int result;
        std::vector<std::string> log;
    } cases[] = {
        {"taken over", {5}, TRUE, 0, 1, {list, "token 32", enable, owner, disable, list}},
        {"refused again", {5, 0, 5}, TRUE, 0, 0, {list, "token 32", enable, owner, disable, list}},
        {"other failure", {ERROR_SHARING_VIOLATION}, TRUE, 0, 0, {list}},
        {"no token", {5}, FALSE, 0, 0, {list, "token 32"}},
        {"privilege not held", {5}, TRUE, ERROR_NOT_ALL_ASSIGNED, 0, {list, "token 32", enable}},
        {"owner refused", {5, 5}, TRUE, 0, 0, {list, "token 32", enable, owner}},
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
    SETUPCLS_HOOK_IMPORT(rights, "ADVAPI32.dll", GetEffectiveRightsFromAclA, FakeGetEffectiveRightsFromAclA);
    const struct {
        DWORD error;
        int result;
        DWORD mask;
    } cases[] = {{0, 1, 0x120089}, {ERROR_INVALID_ACL, 0, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.error);
        g.log.clear();
        g.readError = c.error;
        DWORD mask = 7;
        EXPECT_EQ(c.result, GetBuiltinDomainAccessMaskOnFolder(m_dir.path().c_str(), 551, &mask));
        EXPECT_EQ(c.mask, mask);
        EXPECT_EQ(std::vector<std::string>({"rights S-1-5-32-551 0 2"}), g.log);
    }
}

// Flags 16 (0x10) mark the inherited entries.
TEST_F(FolderAccessIntercepted, AccountEntryGoesAfterTheExplicitOnesAndReplacesTheAccountsOwn)
{
    SETUPCLS_HOOK_IMPORT(read, "ADVAPI32.dll", GetFileSecurityA, FakeGetFileSecurityA);
    SETUPCLS_HOOK_IMPORT(write, "ADVAPI32.dll", SetFileSecurityA, FakeSetFileSecurityA);
    const BYTE allow = ACCESS_ALLOWED_ACE_TYPE, deny = ACCESS_DENIED_ACE_TYPE, inherited = INHERITED_ACE;
    const std::string mine = "S-1-5-32-544 0 0 0x120089";
    const struct {
        const char* file;
        std::vector<BYTE> descriptor;
        std::vector<std::string> entries;
        WORD control;
    } cases[] = {
        {"mixed, auto-inherited",
         Descriptor(SE_DACL_AUTO_INHERITED,
                    List({{"S-1-5-32-545", allow, 0, 0x10000}, {"S-1-5-32-544", deny, 0, 0x20000},
                          {"S-1-1-0", allow, 0, 0x30000}, {"S-1-5-32-544", allow, inherited, 0x40000},
                          {"S-1-5-18", allow, inherited, 0x50000}})),
         {"S-1-5-32-545 0 0 0x10000", "S-1-1-0 0 0 0x30000", mine, "S-1-5-18 0 16 0x50000"},
         SE_DACL_AUTO_INHERIT_REQ | SE_DACL_AUTO_INHERITED},
        {"inherited only, protected", Descriptor(SE_DACL_PROTECTED, List({{"S-1-5-18", allow, inherited, 0x40000}})),
         {mine, "S-1-5-18 0 16 0x40000"}, SE_DACL_PROTECTED},
        {"empty list", Descriptor(0, List({})), {mine}, 0},
        {"no list", Descriptor(0, {}), {mine}, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.file);
        g.file = c.descriptor;
        g.log.clear();
        testsupport::StdoutCapture output;
        EXPECT_EQ(1, AdjustAccessRights(nullptr, 7, -1, m_file.c_str(), "Administrators", 0x120089));
        EXPECT_EQ("", output.Text());
        EXPECT_EQ(std::vector<std::string>({"read 4 0", "read 4 " + std::to_string(g.file.size()), "write 4"}),
                  g.log);
        EXPECT_EQ(c.entries, g.entries);
        EXPECT_EQ(c.control | SE_DACL_PRESENT,
                  g.control & (SE_DACL_AUTO_INHERIT_REQ | SE_DACL_AUTO_INHERITED | SE_DACL_PROTECTED | SE_DACL_PRESENT));
    }
}

// The security privilege is enabled first and disabled only after a successful write.
TEST_F(FolderAccessIntercepted, AdjustmentPrintsEachFailureAndKeepsThePrivilegeAfterOne)
{
    SETUPCLS_HOOK_IMPORT(read, "ADVAPI32.dll", GetFileSecurityA, FakeGetFileSecurityA);
    SETUPCLS_HOOK_IMPORT(write, "ADVAPI32.dll", SetFileSecurityA, FakeSetFileSecurityA);
    SETUPCLS_HOOK_IMPORT(token, "ADVAPI32.dll", OpenProcessToken, FakeOpenProcessToken);
    SETUPCLS_HOOK_IMPORT(privilege, "ADVAPI32.dll", AdjustTokenPrivileges, FakeAdjustTokenPrivileges);
    const std::string enable = "privilege 1 SeSecurityPrivilege 2", disable = "privilege 1 SeSecurityPrivilege 0";
    const struct {
        const char* step;
        DWORD readError, writeError;
        bool addFails;
        const char* output;
        std::vector<std::string> privileges;
    } cases[] = {
        {"written", 0, 0, false, "", {"token 40", enable, "token 40", disable}},
        {"read", ERROR_ACCESS_DENIED, 0, false, "GetFileSecurity() failed. Error 5\n", {"token 40", enable}},
        {"copy", 0, 0, true, "AddAce() failed. Error 1344\n", {"token 40", enable}},
        {"write", 0, ERROR_ACCESS_DENIED, false, "SetFileSecurity() failed. Error 5\n", {"token 40", enable}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.step);
        g.file = Descriptor(0, List({{"S-1-1-0", ACCESS_ALLOWED_ACE_TYPE, 0, 1}}));
        g.readError = c.readError;
        g.writeError = c.writeError;
        g.log.clear();
        testsupport::StdoutCapture output;
        if (c.addFails) {
            SETUPCLS_HOOK_IMPORT(add, "ADVAPI32.dll", AddAce, FailingAddAce);
            EXPECT_EQ(0, AdjustAccessRights(nullptr, 0, 0, m_file.c_str(), "Administrators", 1));
        } else {
            EXPECT_EQ(c.output[0] ? 0 : 1, AdjustAccessRights(nullptr, 0, 0, m_file.c_str(), "Administrators", 1));
        }
        EXPECT_EQ(c.output, output.Text());
        std::vector<std::string> privileges;
        for (const std::string& call : g.log)
            if (call.compare(0, 5, "token") == 0 || call.compare(0, 9, "privilege") == 0)
                privileges.push_back(call);
        EXPECT_EQ(c.privileges, privileges);
    }
}

// A list too long to take one more entry is refused by InitializeAcl (an ACL holds at most
// 65535 bytes).
TEST_F(FolderAccessIntercepted, FullListLeavesNoRoomForTheAccount)
{
    SETUPCLS_HOOK_IMPORT(read, "ADVAPI32.dll", GetFileSecurityA, FakeGetFileSecurityA);
    const std::vector<Entry> everyone(65532 / 20, {"S-1-1-0", ACCESS_ALLOWED_ACE_TYPE, 0, 1});  // 20 bytes each
    g.file = Descriptor(0, List(everyone, 65532));
    testsupport::StdoutCapture output;
    EXPECT_EQ(0, AdjustAccessRights(nullptr, 0, 0, m_file.c_str(), "Administrators", 1));
    EXPECT_EQ("InitializeAcl() failed. Error 87\n", output.Text());
}

}  // namespace
