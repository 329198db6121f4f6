#include "CSystemAccount.h"

#include "AccessRules.h"
#include "AccountTool.h"
#include "Failure.h"
#include "Handles.h"
#include "PolicyAccounts.h"
#include "ProductLibrary.h"

#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string>

namespace {

// UTF-16 buffers of the conversions, in characters with the terminator.
const int kAccountChars = 512;  // user and password where the account is added; the domain asked about
const int kNameChars = 256;     // every other text
// ANSI buffer of a server name for the security calls, in bytes with the terminator.
const int kServerBytes = 256;

// Resolving an account name: its SID and the domain that knows it.
const DWORD kSidBytes = 1024;
const DWORD kReferencedDomainChars = 80;
// A group's name and domain as LookupAccountSidA answers them.
const DWORD kGroupNameChars = 256;
// The Backup Operators group's name and domain when its policy account is opened.
const DWORD kBackupGroupBytes = 128;

// What the account gets when it is added (USER_INFO_2).
const DWORD kUserFlags = UF_SCRIPT | UF_NORMAL_ACCOUNT | UF_DONT_EXPIRE_PASSWD;  // 0x10201
const DWORD kForever = TIMEQ_FOREVER;                                             // no expiry
const DWORD kUnlimitedStorage = USER_MAXSTORAGE_UNLIMITED;

// The policy is opened with every right, with object attributes that carry only their length
// and the attribute word 0xF2; every other member stays zero.
const ACCESS_MASK kPolicyAccess = POLICY_ALL_ACCESS;  // 0xF0FFF
const ULONG kPolicyAttributes = 0xF2;
// Every right on the group's policy account (ACCOUNT_ALL_ACCESS).
const ACCESS_MASK kAccountAllAccess = 0xF000F;
// Interactive (0x1), network (0x2), batch (0x4) and service (0x10) logon.
const ULONG kLogonRights = 0x17;
// A counted string's lengths are 16-bit byte counts, the terminator included in the maximum.
const size_t kMaxCountedChars = 0x7FFF;
const char* const kBackupPrivileges[] = {"SeTcbPrivilege", "SeBackupPrivilege"};

// An NTSTATUS is an error only when both of its top two bits (the severity) are set; success,
// information and warning answers count as done.
bool NotAnError(NTSTATUS status)
{
    return (static_cast<ULONG>(status) >> 30) != 3;
}

// text in UTF-16 (system ANSI code page) for a buffer of chars characters: a longer text is cut
// to chars - 1 characters, as a conversion into the fixed buffer would keep. Null gives "".
std::wstring Wide(const char* text, int chars)
{
    if (!text || !*text)
        return std::wstring();
    int count = MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0);
    if (count <= 1)
        return std::wstring();
    std::wstring wide(static_cast<size_t>(count), L'\0');
    MultiByteToWideChar(CP_ACP, 0, text, -1, &wide[0], count);
    wide.resize(static_cast<size_t>(count - 1));
    if (wide.size() > static_cast<size_t>(chars - 1))
        wide.resize(static_cast<size_t>(chars - 1));
    return wide;
}

// The ANSI form of a server name for the security calls (LookupAccountNameA, LookupAccountSidA,
// LookupPrivilegeValueA), 256 bytes with the terminator; a null server stays null (this machine).
class NarrowServer {
public:
    explicit NarrowServer(const wchar_t* server)
    {
        if (!server)
            return;
        m_null = false;
        if (WideCharToMultiByte(CP_ACP, 0, server, -1, m_text, sizeof(m_text), nullptr, nullptr) == 0)
            m_text[sizeof(m_text) - 1] = '\0';  // too long: cut at the buffer
    }
    const char* get() const { return m_null ? nullptr : m_text; }

private:
    char m_text[kServerBytes] = {};
    bool m_null = true;
};

// Text into a caller's buffer of size bytes, cut to it; nothing for a null buffer or size 0.
void CopyOut(char* buffer, unsigned long size, const char* text)
{
    if (buffer && size > 0)
        accounttool::CopyCut(buffer, size, text);
}

// "domain\user" resolved on the server into sid (kSidBytes).
DWORD LookUpAccount(const char* server, const CString& account, BYTE* sid)
{
    DWORD sidSize = kSidBytes;
    char referencedDomain[kReferencedDomainChars];
    DWORD domainSize = kReferencedDomainChars;
    SID_NAME_USE use;
    return failure::StatusOf(
        LookupAccountNameA(server, account, sid, &sidSize, referencedDomain, &domainSize, &use));
}

}  // namespace

// ---- The account object. ----

CSystemAccount::CSystemAccount(const char* computer, const char* domain, const char* user, const char* password)
    : m_computer(computer), m_domain(domain), m_user(user), m_password(password)
{
    m_computer.MakeUpper();
    m_domain.MakeUpper();
    m_local = m_computer == m_domain ? 1 : 0;
    if (m_local)
        return;
    // No controller found is no failure: the account is then made on this machine.
    std::wstring wideDomain = Wide(m_domain, kAccountChars);
    UniqueNetBuffer controller;
    LONG status = static_cast<LONG>(NetGetDCName(nullptr, wideDomain.c_str(), controller.put()));
    if (controller.kept(status) == NERR_Success && controller)
        m_controller = reinterpret_cast<const wchar_t*>(controller.get());
}

int CSystemAccount::Create() const
{
    return Create(Controller(), m_computer, m_domain, m_user, m_password);
}

int CSystemAccount::AssignGroups() const
{
    return AssignGroups(Controller(), m_computer, m_domain, m_user, m_password);
}

int CSystemAccount::Exists() const
{
    return Exists(Controller(), m_user);
}

int CSystemAccount::ValidPassword() const
{
    return ValidPassword(Controller(), m_computer, m_domain, m_user, m_password);
}

int CSystemAccount::Delete() const
{
    return Delete(Controller(), m_user);
}

int CSystemAccount::Register() const
{
    return Register(m_computer, m_domain, m_user, m_password);
}

// ---- The account on the machine. ----

int CSystemAccount::Create(const wchar_t* server, const char* computer, const char* domain, const char* user,
                           const char* password)
{
    return failure::ContainExceptions(0, [&] {
        if (!user)
            return failure::ResultOf(ERROR_INVALID_PARAMETER);
        std::wstring wideUser = Wide(user, kAccountChars);
        std::wstring widePassword = Wide(password, kAccountChars);
        USER_INFO_2 info = {};
        info.usri2_name = &wideUser[0];
        info.usri2_password = &widePassword[0];
        info.usri2_priv = USER_PRIV_USER;
        info.usri2_flags = kUserFlags;
        info.usri2_full_name = &wideUser[0];
        info.usri2_acct_expires = kForever;
        info.usri2_max_storage = kUnlimitedStorage;
        DWORD badField = 0;
        NET_API_STATUS status = NetUserAdd(server, 2, reinterpret_cast<LPBYTE>(&info), &badField);
        SecureZeroMemory(&widePassword[0], widePassword.size() * sizeof(wchar_t));
        // An account that is there already is taken as it is: its password is not changed.
        if (status != NERR_Success && status != NERR_UserExists)
            return failure::ResultOf(static_cast<LONG>(status));
        return AssignGroups(server, computer, domain, user, password);
    });
}

int CSystemAccount::AssignGroups(const wchar_t* server, const char* /*computer*/, const char* domain,
                                 const char* user, const char* /*password*/)
{
    return failure::ContainExceptions(0, [&] {
        if (!user)
            return failure::ResultOf(ERROR_INVALID_PARAMETER);
        NarrowServer narrowServer(server);
        BYTE sid[kSidBytes];
        DWORD status = LookUpAccount(narrowServer.get(), CString(domain) + "\\" + user, sid);
        if (status != ERROR_SUCCESS)
            return failure::ResultOf(static_cast<LONG>(status));
        if (!AddMemberToGroup(DOMAIN_ALIAS_RID_ADMINS, server, sid)
            || !AddMemberToGroup(DOMAIN_ALIAS_RID_BACKUP_OPS, server, sid))
            return 0;
        return AddDrosvaneUserPrivileges(server);
    });
}

int CSystemAccount::Exists(const wchar_t* server, const char* user)
{
    return failure::ContainExceptions(0, [&] {
        if (!user)
            return failure::ResultOf(ERROR_INVALID_PARAMETER);
        UniqueNetBuffer info;
        return failure::ResultOf(
            info.kept(static_cast<LONG>(NetUserGetInfo(server, Wide(user, kNameChars).c_str(), 2, info.put()))));
    });
}

int CSystemAccount::ValidPassword(const wchar_t* /*server*/, const char* /*computer*/, const char* domain,
                                  const char* user, const char* password)
{
    return failure::ContainExceptions(0, [&] {
        // Changing the password to itself tells a wrong password from every other answer
        // without changing anything; the domain decides where it is tried.
        std::wstring wideDomain = Wide(domain, kNameChars);
        std::wstring widePassword = Wide(password, kNameChars);
        NET_API_STATUS status = NetUserChangePassword(wideDomain.empty() ? nullptr : wideDomain.c_str(),
                                                      Wide(user, kNameChars).c_str(), widePassword.c_str(),
                                                      widePassword.c_str());
        SecureZeroMemory(&widePassword[0], widePassword.size() * sizeof(wchar_t));
        if (status == ERROR_INVALID_PASSWORD) {
            SetLastError(status);
            return 0;
        }
        return 1;
    });
}

int CSystemAccount::Delete(const wchar_t* server, const char* user)
{
    return failure::ContainExceptions(0, [&] {
        if (!user)
            return failure::ResultOf(ERROR_INVALID_PARAMETER);
        return failure::ResultOf(static_cast<LONG>(NetUserDel(server, Wide(user, kNameChars).c_str())));
    });
}

// ---- Groups, logon rights and privileges. ----

int CSystemAccount::AddMemberToGroup(unsigned long rid, const wchar_t* server, PSID sid)
{
    return failure::ContainExceptions(0, [&] {
        // The group is named as the server names it: built-in groups are translated.
        char group[kGroupNameChars];
        if (!GetGroupName(rid, server, group, sizeof(group), nullptr, 0))
            return 0;
        NET_API_STATUS status = NetLocalGroupAddMember(server, Wide(group, kNameChars).c_str(), sid);
        return failure::ResultOf(status == ERROR_MEMBER_IN_ALIAS ? ERROR_SUCCESS : static_cast<LONG>(status));
    });
}

int CSystemAccount::GetGroupName(unsigned long rid, const wchar_t* server, char* name, unsigned long nameSize,
                                 char* domain, unsigned long domainSize)
{
    CopyOut(name, nameSize, "");
    CopyOut(domain, domainSize, "");
    UniqueSid group;
    DWORD status = access::BuiltinGroup(rid, group);
    if (status != ERROR_SUCCESS)
        return failure::ResultOf(static_cast<LONG>(status));
    NarrowServer narrowServer(server);
    char groupName[kGroupNameChars];
    char groupDomain[kGroupNameChars];
    DWORD groupNameSize = kGroupNameChars;
    DWORD groupDomainSize = kGroupNameChars;
    SID_NAME_USE use;
    status = failure::StatusOf(LookupAccountSidA(narrowServer.get(), group.get(), groupName, &groupNameSize,
                                                 groupDomain, &groupDomainSize, &use));
    if (status != ERROR_SUCCESS)
        return failure::ResultOf(static_cast<LONG>(status));
    CopyOut(name, nameSize, groupName);
    CopyOut(domain, domainSize, groupDomain);
    return 1;
}

int CSystemAccount::AddPrivilege(void* account, const char* system, const char* privilege)
{
    LUID value;
    DWORD status = failure::StatusOf(LookupPrivilegeValueA(system, privilege, &value));
    if (status != ERROR_SUCCESS)
        return failure::ResultOf(static_cast<LONG>(status));
    PRIVILEGE_SET set = {};
    set.PrivilegeCount = 1;
    set.Control = PRIVILEGE_SET_ALL_NECESSARY;
    set.Privilege[0].Luid = value;
    set.Privilege[0].Attributes = SE_PRIVILEGE_ENABLED;
    NTSTATUS answer = LsaAddPrivilegesToAccount(static_cast<LSA_HANDLE>(account), &set);
    if (NotAnError(answer))
        return 1;
    SetLastError(LsaNtStatusToWinError(answer));
    return 0;
}

// The rights go to the Backup Operators group, not to the user: every member, the service
// account among them, has them through its membership.
int CSystemAccount::AddDrosvaneUserPrivileges(const wchar_t* server)
{
    return failure::ContainExceptions(0, [&] {
        // The length is the record's own size: 24 bytes in the 32-bit library.
        LSA_OBJECT_ATTRIBUTES attributes = {};
        attributes.Length = sizeof(attributes);
        attributes.Attributes = kPolicyAttributes;
        std::wstring serverText = server ? server : L"";
        if (serverText.size() >= kMaxCountedChars)
            return failure::ResultOf(ERROR_INVALID_PARAMETER);
        LSA_UNICODE_STRING systemName = {};
        systemName.Buffer = &serverText[0];
        systemName.Length = static_cast<USHORT>(serverText.size() * sizeof(wchar_t));
        systemName.MaximumLength = static_cast<USHORT>((serverText.size() + 1) * sizeof(wchar_t));
        UniquePolicy policy;
        NTSTATUS answer = LsaOpenPolicy(server ? &systemName : nullptr, &attributes, kPolicyAccess, policy.put());
        if (answer != 0) {
            policy.release();
            return failure::ResultOf(static_cast<LONG>(LsaNtStatusToWinError(answer)));
        }

        char groupName[kBackupGroupBytes];
        char groupDomain[kBackupGroupBytes];
        if (!GetGroupName(DOMAIN_ALIAS_RID_BACKUP_OPS, server, groupName, sizeof(groupName), groupDomain,
                          sizeof(groupDomain)))
            return 0;
        NarrowServer narrowServer(server);
        BYTE sid[kSidBytes];
        DWORD status = LookUpAccount(narrowServer.get(), CString(groupDomain) + "\\" + groupName, sid);
        if (status != ERROR_SUCCESS)
            return failure::ResultOf(static_cast<LONG>(status));

        UniquePolicy account;
        answer = LsaOpenAccount(policy.get(), sid, kAccountAllAccess, account.put());
        if (answer != 0) {
            account.release();
            return failure::ResultOf(static_cast<LONG>(LsaNtStatusToWinError(answer)));
        }
        answer = LsaSetSystemAccessAccount(account.get(), kLogonRights);
        if (answer != 0)
            return failure::ResultOf(static_cast<LONG>(LsaNtStatusToWinError(answer)));

        // Both privileges are tried, whatever the first answers.
        int granted = 1;
        for (const char* privilege : kBackupPrivileges) {
            if (!AddPrivilege(account.get(), narrowServer.get(), privilege))
                granted = 0;
        }
        return granted;
    });
}

// ---- The product's account tool. ----

int CSystemAccount::Register(const char* computer, const char* domain, const char* user, const char* password)
{
    return failure::ContainExceptions(0, [&] {
        // The tool is the one installed beside the running setup program, never one found
        // along the search path.
        char program[MAX_PATH] = {};
        DWORD length = GetModuleFileNameA(nullptr, program, sizeof(program));
        if (length == 0 || length >= sizeof(program))
            return failure::ResultOf(ERROR_FILE_NOT_FOUND);
        char drive[_MAX_DRIVE];
        char folder[_MAX_DIR];
        _splitpath(program, drive, folder, nullptr, nullptr);
        ProductLibrary tool = ProductLibrary::InFolder(CString(drive) + folder, accounttool::kLibraryName);
        if (!tool)
            return failure::ResultOf(static_cast<LONG>(tool.Error()));
        // The tool takes the computer and a record of domain, user and password, each field cut
        // to its size.
        DWORD answer = 0;
        if (!accounttool::SetUserAccount(tool, computer, domain, user, password, answer))
            return failure::ResultOf(ERROR_PROC_NOT_FOUND);
        return accounttool::Succeeded(answer) ? 1 : 0;
    });
}
