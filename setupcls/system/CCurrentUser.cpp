#include "CCurrentUser.h"

#include "AccessRules.h"
#include "CSetupException.h"
#include "Failure.h"
#include "Handles.h"

namespace {

// Buffers of the constructor, in characters.
const unsigned long kNameSize = 48;
// TOKEN_QUERY | STANDARD_RIGHTS_READ (0x20008): every token is opened with this access.
const DWORD kTokenAccess = TOKEN_QUERY | STANDARD_RIGHTS_READ;
const DWORD kTokenUserSize = 1000;
const DWORD kAccountNameSize = 200;
const DWORD kAccessListSize = 4096;
const DWORD kPrivilegeSetSize = 1024;
// The setup error code of every failed step of the administrator check.
const int kCheckFailed = 2;

// A buffer and its size as a caller gave them: a size to read and write, and a buffer unless
// the size is 0 (the size query of GetUserNameA and LookupAccountSidA).
bool UsableBuffer(const char* buffer, const unsigned long* size)
{
    if (size && (buffer || *size == 0))
        return true;
    SetLastError(ERROR_INVALID_PARAMETER);
    return false;
}

// Ends a step of the administrator check that failed: a CSetupException with the step's message
// and the status of its call.
void Require(DWORD status, const char* message)
{
    if (status != ERROR_SUCCESS)
        AfxThrowSetupException(kCheckFailed, status, message);
}

// The administrator check: an access check of the impersonated self against a private
// descriptor whose only entry allows GENERIC_ALL to BUILTIN\Administrators. The holders are
// declared so that they go, on every path, in the order: identifier freed, impersonation
// reverted, private descriptor destroyed.
int CheckAdministrator()
{
    GENERIC_MAPPING fileMapping = {FILE_GENERIC_READ, FILE_GENERIC_WRITE, FILE_GENERIC_EXECUTE, FILE_ALL_ACCESS};
    UniqueHandle processToken;
    UniquePrivateSecurity privateDescriptor;
    ImpersonationScope impersonation;
    UniqueSid administrators;
    UniqueHandle threadToken;

    Require(processToken.kept(
                failure::StatusOf(OpenProcessToken(GetCurrentProcess(), kTokenAccess, processToken.put()))),
            "OpenProcessToken() failed");
    SECURITY_DESCRIPTOR creator;
    Require(failure::StatusOf(InitializeSecurityDescriptor(&creator, SECURITY_DESCRIPTOR_REVISION)),
            "InitializeSecurityDescriptor() failed");
    alignas(DWORD) BYTE listBuffer[kAccessListSize];
    PACL list = reinterpret_cast<PACL>(listBuffer);
    Require(failure::StatusOf(InitializeAcl(list, kAccessListSize, ACL_REVISION)), "InitializeAcl() failed");

    Require(access::BuiltinGroup(DOMAIN_ALIAS_RID_ADMINS, administrators), "AllocateAndInitializeSid() failed");
    Require(failure::StatusOf(AddAccessAllowedAce(list, ACL_REVISION, GENERIC_ALL, administrators.get())),
            "AddAccessAllowedAce() failed");

    Require(failure::StatusOf(SetSecurityDescriptorDacl(&creator, TRUE, list, FALSE)),
            "SetSecurityDescriptorDacl failed()");
    // The private descriptor takes its owner and group from the token.
    Require(privateDescriptor.kept(failure::StatusOf(CreatePrivateObjectSecurity(
                nullptr, &creator, privateDescriptor.put(), FALSE, processToken.get(), &fileMapping))),
            "CreatePrivateObjectSecurity() failed");

    // An impersonation that does not start leaves the thread without a token: the open below
    // then fails (1008) and names the step.
    impersonation.start(SecurityImpersonation);
    Require(threadToken.kept(failure::StatusOf(
                OpenThreadToken(GetCurrentThread(), kTokenAccess, TRUE, threadToken.put()))),
            "OpenThreadToken() failed");

    DWORD desired = GENERIC_ALL;
    MapGenericMask(&desired, &fileMapping);
    alignas(PRIVILEGE_SET) BYTE privileges[kPrivilegeSetSize];
    DWORD privilegesSize = kPrivilegeSetSize;
    DWORD granted = 0;
    BOOL accessStatus = FALSE;
    Require(failure::StatusOf(AccessCheck(privateDescriptor.get(), threadToken.get(), desired, &fileMapping,
                                          reinterpret_cast<PPRIVILEGE_SET>(privileges), &privilegesSize,
                                          &granted, &accessStatus)),
            "AccessCheck() failed");
    if (!accessStatus)
        AfxThrowSetupException(kCheckFailed, static_cast<unsigned long>(accessStatus),
                               "AccessCheck() failed - not an administrator");
    return 1;
}

// What becomes of a failed step's exception. The caller learns only 0 (the check's answer is a
// yes or no), so the message is for whoever debugs setup: it goes to the debugger's output as
// "CCurrentUser::IsAdministrator: <message> - [0x<error>] (setup error <code>)", and the system
// error stays in GetLastError.
int Caught(CSetupException* exception)
{
    const int code = exception->m_nCode;  // read first: fetching the message sets it to 2
    const DWORD error = exception->m_dwError;
    char message[128];
    exception->GetErrorMessage(message, sizeof(message));
    char line[192];
    wsprintfA(line, "CCurrentUser::IsAdministrator: %s (setup error %d)\n", message, code);
    OutputDebugStringA(line);
    exception->Delete();
    SetLastError(error);
    return 0;
}

}  // namespace

CCurrentUser::CCurrentUser()
{
    char name[kNameSize];
    unsigned long size = kNameSize;
    if (GetUser(name, &size))
        m_user = name;
    size = kNameSize;
    if (GetDomain(name, &size))
        m_domain = name;
}

int CCurrentUser::GetUser(char* buffer, unsigned long* size)
{
    if (!UsableBuffer(buffer, size))
        return 0;
    return GetUserNameA(buffer, size) ? 1 : 0;
}

int CCurrentUser::GetDomain(char* buffer, unsigned long* size)
{
    if (!UsableBuffer(buffer, size))
        return 0;
    alignas(TOKEN_USER) BYTE user[kTokenUserSize];
    {
        UniqueHandle token;
        DWORD length = 0;
        if (token.kept(failure::StatusOf(OpenProcessToken(GetCurrentProcess(), kTokenAccess, token.put()))) !=
                ERROR_SUCCESS ||
            !GetTokenInformation(token.get(), TokenUser, user, kTokenUserSize, &length))
            return 0;
    }
    char account[kAccountNameSize];
    DWORD accountSize = kAccountNameSize;
    SID_NAME_USE use;
    return LookupAccountSidA(nullptr, reinterpret_cast<TOKEN_USER*>(user)->User.Sid, account, &accountSize, buffer,
                             size, &use)
               ? 1
               : 0;
}

// The check raises a CSetupException at the first step that fails and catches it here, after
// the holders of the steps made so far have been released. An allocation that fails (of the
// exception itself) gives 0 as well: nothing leaves this operation.
int CCurrentUser::IsAdministrator()
{
    return failure::ContainExceptions(0, [] {
        try {
            return CheckAdministrator();
        } catch (CSetupException* exception) {
            return Caught(exception);
        }
    });
}
