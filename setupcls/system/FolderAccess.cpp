// Access rights of the product's folders and files: the product's rule put on a folder (with
// ownership taken by Administrators when the list may not be changed), the rights of a built-in
// group on a path, and one account's allow entry added to a file's list.
#include "FolderAccess.h"

#include "AccessRules.h"
#include "Failure.h"
#include "Handles.h"
#include "TextRules.h"

#include <aclapi.h>

#include <cstdarg>
#include <cstdio>
#include <string>

namespace {

// The rule cuts off what the parent hands down and is handed down to every file and folder.
const SECURITY_INFORMATION kProtectedList = DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION;
const DWORD kTree = OBJECT_INHERIT_ACE | CONTAINER_INHERIT_ACE;
// Everyone's rights on a folder before Windows 6, and from Windows 6 on.
const DWORD kEveryoneBefore6 = FILE_READ_ATTRIBUTES;
const DWORD kEveryoneFrom6 = GENERIC_READ | GENERIC_EXECUTE | FILE_READ_ATTRIBUTES;
// The owner of the system's own files from Windows 6 on: it keeps full control of the folder.
const char kTrustedInstaller[] = "NT SERVICE\\TrustedInstaller";
const DWORD kSidBufferSize = 300;
const DWORD kDomainBufferSize = 200;

bool FinderMatches(const std::string& pattern)
{
    WIN32_FIND_DATAA found;
    UniqueFind search(FindFirstFileA(pattern.c_str(), &found));
    return static_cast<bool>(search);
}

// Enables (or disables) one privilege in token. The call succeeds even when the token lacks the
// privilege, answering ERROR_NOT_ALL_ASSIGNED in GetLastError: only an error of 0 afterwards
// counts as success.
bool SetPrivilege(HANDLE token, const char* name, bool enable)
{
    TOKEN_PRIVILEGES privileges = {};
    privileges.PrivilegeCount = 1;
    privileges.Privileges[0].Attributes = enable ? SE_PRIVILEGE_ENABLED : 0;
    if (!LookupPrivilegeValueA(nullptr, name, &privileges.Privileges[0].Luid))
        return false;
    SetLastError(ERROR_SUCCESS);  // a successful call need not clear an earlier error
    if (!AdjustTokenPrivileges(token, FALSE, &privileges, sizeof(privileges), nullptr, nullptr))
        return false;
    return GetLastError() == ERROR_SUCCESS;
}

// The process token, opened for the privilege change alone and closed again.
bool SetProcessPrivilege(DWORD tokenAccess, const char* name, bool enable)
{
    UniqueHandle token;
    return OpenProcessToken(GetCurrentProcess(), tokenAccess, token.put()) && SetPrivilege(token.get(), name, enable);
}

DWORD SetFolderList(std::string& folder, PACL list)
{
    return SetNamedSecurityInfoA(&folder[0], SE_FILE_OBJECT, kProtectedList, nullptr, nullptr, list, nullptr);
}

// Makes Administrators the owner of folder, with the take-ownership privilege enabled for that
// call alone. A step that fails ends the attempt at once; the privilege then stays as it is.
DWORD TakeOwnership(std::string& folder)
{
    UniqueHandle token;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, token.put()))
        return failure::StatusOf(FALSE);
    if (!SetPrivilege(token.get(), SE_TAKE_OWNERSHIP_NAME, true))
        return failure::StatusOf(FALSE);
    UniqueSid administrators;
    DWORD status = access::BuiltinGroup(DOMAIN_ALIAS_RID_ADMINS, administrators);
    if (status == ERROR_SUCCESS)
        status = SetNamedSecurityInfoA(&folder[0], SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION, administrators.get(),
                                       nullptr, nullptr, nullptr);
    if (status != ERROR_SUCCESS)
        return status;
    if (!SetPrivilege(token.get(), SE_TAKE_OWNERSHIP_NAME, false))
        return failure::StatusOf(FALSE);
    return ERROR_SUCCESS;
}

DWORD PutFolderRule(const char* folder)
{
    const bool windows6 = access::IsWindows6OrLater();
    std::string path(folder);
    // The folder must hold at least one match of "*.*" ("." and ".." count). The separator is
    // appended even to a path that already ends in one: the finder accepts the doubled one.
    if (!FinderMatches(path + "\\*.*"))
        return failure::StatusOf(FALSE);
    BYTE installerSid[kSidBufferSize] = {};
    PSID trustedInstaller = nullptr;
    if (windows6) {
        char domain[kDomainBufferSize];
        DWORD sidSize = sizeof(installerSid), domainSize = sizeof(domain);
        SID_NAME_USE use;
        if (!LookupAccountNameA(nullptr, kTrustedInstaller, installerSid, &sidSize, domain, &domainSize, &use))
            return failure::StatusOf(FALSE);
        trustedInstaller = installerSid;
    }
    UniqueLocalPtr<PACL> list;
    DWORD status = access::ProductRule(windows6 ? kEveryoneFrom6 : kEveryoneBefore6, FILE_ALL_ACCESS, kTree,
                                       trustedInstaller, list);
    if (status != ERROR_SUCCESS)
        return status;
    status = SetFolderList(path, list.get());
    if (status != ERROR_ACCESS_DENIED)
        return status;
    status = TakeOwnership(path);
    if (status != ERROR_SUCCESS)
        return status;
    return SetFolderList(path, list.get());
}

DWORD BuiltinGroupRightsOn(const char* path, DWORD rid, DWORD& mask)
{
    WIN32_FIND_DATAA found;
    UniqueFind search(FindFirstFileA(path, &found));
    if (!search)
        return failure::StatusOf(FALSE);
    mask = 0;
    PACL list = nullptr;  // points into the descriptor
    UniqueLocalPtr<PSECURITY_DESCRIPTOR> descriptor;
    DWORD status = descriptor.kept(GetNamedSecurityInfoA(path, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr,
                                                         nullptr, &list, nullptr, descriptor.put()));
    ACCESS_MASK rights = 0;
    if (status == ERROR_SUCCESS)
        status = access::BuiltinGroupRights(list, rid, rights);
    if (status == ERROR_SUCCESS)
        mask = rights;
    return status;
}

// --- One account's entry added to a file's list ---

// The token access with which the security privilege is changed.
const DWORD kPrivilegeTokenAccess = TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY;

// A failure of the adjustment, printed as one line on standard output (the installer's console
// or log) with the error of the call that failed; the text carries its own newline.
int Printed(const char* format)
{
    const DWORD error = GetLastError();
    printf(format, static_cast<int>(error));
    fflush(stdout);
    return 0;
}

// A zero-filled block of the process heap; a failure is printed.
bool HeapBlock(UniqueHeapBlock& block, SIZE_T size)
{
    block.reset(HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, size));
    if (!block) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);  // HeapAlloc itself sets no error
        Printed("HeapAlloc() failed. Error %d\n");
    }
    return static_cast<bool>(block);
}

// The trustee of an entry whose SID follows its mask (allow, deny, audit and alarm entries and
// their callback forms); null for the object entries, which are kept as they are.
PSID EntrySid(const ACE_HEADER* entry)
{
    switch (entry->AceType) {
    case ACCESS_ALLOWED_ACE_TYPE:
    case ACCESS_DENIED_ACE_TYPE:
    case SYSTEM_AUDIT_ACE_TYPE:
    case SYSTEM_ALARM_ACE_TYPE:
    case ACCESS_ALLOWED_CALLBACK_ACE_TYPE:
    case ACCESS_DENIED_CALLBACK_ACE_TYPE:
        return const_cast<DWORD*>(&reinterpret_cast<const ACCESS_ALLOWED_ACE*>(entry)->SidStart);
    default:
        return nullptr;
    }
}

// Appends the old list's entries first..count-1 to list, but not the account's own. With
// untilInherited the copy stops before the first inherited entry, whose index goes to first.
bool CopyEntries(PACL old, DWORD& first, DWORD count, bool untilInherited, PSID account, PACL list)
{
    for (; first < count; ++first) {
        void* entry = nullptr;
        if (!GetAce(old, first, &entry))
            return Printed("GetAce() failed. Error %d\n");
        const auto* header = static_cast<const ACE_HEADER*>(entry);
        if (untilInherited && (header->AceFlags & INHERITED_ACE))
            return true;
        const PSID trustee = EntrySid(header);
        if (trustee && EqualSid(trustee, account))
            continue;
        if (!AddAce(list, ACL_REVISION, MAXDWORD, entry, header->AceSize))
            return Printed("AddAce() failed. Error %d\n");
    }
    return true;
}

// The first call of a two-call read answers the size needed with ERROR_INSUFFICIENT_BUFFER;
// any other answer is the read's failure.
bool SizeProbed(BOOL answered)
{
    return !answered && GetLastError() == ERROR_INSUFFICIENT_BUFFER;
}

// An inheriting list stays inheriting (and asks for inheritance to be recomputed), a protected
// one stays protected; a system without the control call leaves the control alone.
bool KeepInheritanceControl(PSECURITY_DESCRIPTOR old, PSECURITY_DESCRIPTOR updated)
{
    using SetControl = BOOL(WINAPI*)(PSECURITY_DESCRIPTOR, SECURITY_DESCRIPTOR_CONTROL, SECURITY_DESCRIPTOR_CONTROL);
    HMODULE advapi = GetModuleHandleA("advapi32.dll");
    const auto setControl = advapi ? reinterpret_cast<SetControl>(reinterpret_cast<void*>(
                                         GetProcAddress(advapi, "SetSecurityDescriptorControl")))
                                   : nullptr;
    if (!setControl)
        return true;
    SECURITY_DESCRIPTOR_CONTROL control = 0;
    DWORD revision = 0;
    if (!GetSecurityDescriptorControl(old, &control, &revision))
        return Printed("GetSecurityDescriptorControl() failed.Error %d\n");
    SECURITY_DESCRIPTOR_CONTROL bits = 0;
    if (control & SE_DACL_AUTO_INHERITED)
        bits = SE_DACL_AUTO_INHERIT_REQ | SE_DACL_AUTO_INHERITED;
    else if (control & SE_DACL_PROTECTED)
        bits = SE_DACL_PROTECTED;
    if (bits && !setControl(updated, bits, bits))
        return Printed("SetSecurityDescriptorControl() failed.Error %d\n");
    return true;
}

int AddAccountEntry(const char* system, const char* path, const char* account, DWORD mask)
{
    // Only an audit list needs this privilege; the list is written whether or not it could be
    // enabled.
    SetProcessPrivilege(kPrivilegeTokenAccess, SE_SECURITY_NAME, true);

    DWORD sidSize = 0, domainSize = 0;
    SID_NAME_USE use;
    if (!SizeProbed(LookupAccountNameA(system, account, nullptr, &sidSize, nullptr, &domainSize, &use)))
        return Printed("LookupAccountName() failed. Error %d\n");
    UniqueHeapBlock sid, domain;
    if (!HeapBlock(sid, sidSize) || !HeapBlock(domain, domainSize))
        return 0;
    if (!LookupAccountNameA(system, account, sid.get(), &sidSize, static_cast<char*>(domain.get()), &domainSize,
                            &use))
        return Printed("LookupAccountName() failed. Error %d\n");

    DWORD descriptorSize = 0;
    if (!SizeProbed(GetFileSecurityA(path, DACL_SECURITY_INFORMATION, nullptr, 0, &descriptorSize)))
        return Printed("GetFileSecurity() failed. Error %d\n");
    UniqueHeapBlock old;
    if (!HeapBlock(old, descriptorSize))
        return 0;
    if (!GetFileSecurityA(path, DACL_SECURITY_INFORMATION, old.get(), descriptorSize, &descriptorSize))
        return Printed("GetFileSecurity() failed. Error %d\n");

    SECURITY_DESCRIPTOR updated;
    if (!InitializeSecurityDescriptor(&updated, SECURITY_DESCRIPTOR_REVISION))
        return Printed("InitializeSecurityDescriptor() failed.Error %d\n");
    BOOL present = FALSE, defaulted = FALSE;
    PACL oldList = nullptr;
    if (!GetSecurityDescriptorDacl(old.get(), &present, &oldList, &defaulted))
        return Printed("GetSecurityDescriptorDacl() failed. Error %d\n");
    ACL_SIZE_INFORMATION oldSize = {0, sizeof(ACL), 0};  // a missing list counts as empty
    if (!present)
        oldList = nullptr;
    if (oldList && !GetAclInformation(oldList, &oldSize, sizeof(oldSize), AclSizeInformation))
        return Printed("GetAclInformation() failed. Error %d\n");

    // The old list's bytes, the new entry's SID and its header and mask. A list longer than an
    // ACL can be is refused by InitializeAcl.
    const DWORD listSize = oldSize.AclBytesInUse + GetLengthSid(sid.get()) + sizeof(ACCESS_ALLOWED_ACE) - sizeof(DWORD);
    UniqueHeapBlock list;
    if (!HeapBlock(list, listSize))
        return 0;
    const auto newList = static_cast<PACL>(list.get());
    if (!InitializeAcl(newList, listSize, ACL_REVISION))
        return Printed("InitializeAcl() failed. Error %d\n");
    DWORD next = 0;
    if (!CopyEntries(oldList, next, oldSize.AceCount, true, sid.get(), newList))
        return 0;
    if (!AddAccessAllowedAce(newList, ACL_REVISION, mask, sid.get()))
        return Printed("AddAccessAllowedAce() failed. Error %d\n");
    if (!CopyEntries(oldList, next, oldSize.AceCount, false, sid.get(), newList))
        return 0;

    if (!SetSecurityDescriptorDacl(&updated, TRUE, newList, FALSE))
        return Printed("SetSecurityDescriptorDacl() failed. Error %d\n");
    if (!KeepInheritanceControl(old.get(), &updated))
        return 0;
    if (!SetFileSecurityA(path, DACL_SECURITY_INFORMATION, &updated))
        return Printed("SetFileSecurity() failed. Error %d\n");
    SetProcessPrivilege(kPrivilegeTokenAccess, SE_SECURITY_NAME, false);
    return 1;
}

}  // namespace

int WINAPI AddAccessPermissionOnFolder(const char* folder)
{
    if (IsEmptyText(folder)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    return failure::ContainExceptions(0, [&] { return failure::ResultOf(static_cast<LONG>(PutFolderRule(folder))); });
}

int WINAPI GetBuiltinDomainAccessMaskOnFolder(const char* path, DWORD rid, DWORD* mask)
{
    if (IsEmptyText(path) || !mask) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    return failure::ResultOf(static_cast<LONG>(BuiltinGroupRightsOn(path, rid, *mask)));
}

// The two integers have no meaning: the product's scripts pass 0 for them, and the function is
// kept with six arguments so that those scripts call it unchanged. A missing path or account is
// refused before anything is touched, without a message.
int WINAPI AdjustAccessRights(const char* system, int /*reserved1*/, int /*reserved2*/, const char* path,
                              const char* account, DWORD mask)
{
    if (!path || !account) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    return AddAccountEntry(system, path, account, mask);
}
