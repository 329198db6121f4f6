#include "AccessRules.h"

#include "Failure.h"

namespace access {

namespace {

DWORD NewSid(SID_IDENTIFIER_AUTHORITY authority, BYTE count, DWORD first, DWORD second, UniqueSid& sid)
{
    return sid.kept(
        failure::StatusOf(AllocateAndInitializeSid(&authority, count, first, second, 0, 0, 0, 0, 0, 0, sid.put())));
}

}  // namespace

bool IsWindows6OrLater()
{
    OSVERSIONINFOA version = {};
    version.dwOSVersionInfoSize = sizeof(version);
    return GetVersionExA(&version) && version.dwPlatformId == VER_PLATFORM_WIN32_NT && version.dwMajorVersion >= 6;
}

DWORD Everyone(UniqueSid& sid)
{
    return NewSid(SECURITY_WORLD_SID_AUTHORITY, 1, SECURITY_WORLD_RID, 0, sid);
}

DWORD BuiltinGroup(DWORD rid, UniqueSid& sid)
{
    return NewSid(SECURITY_NT_AUTHORITY, 2, SECURITY_BUILTIN_DOMAIN_RID, rid, sid);
}

EXPLICIT_ACCESS_A SetAccess(PSID sid, TRUSTEE_TYPE type, DWORD rights, DWORD inheritance)
{
    EXPLICIT_ACCESS_A entry = {};
    entry.grfAccessPermissions = rights;
    entry.grfAccessMode = SET_ACCESS;
    entry.grfInheritance = inheritance;
    entry.Trustee.TrusteeForm = TRUSTEE_IS_SID;
    entry.Trustee.TrusteeType = type;
    entry.Trustee.ptstrName = static_cast<LPSTR>(sid);
    return entry;
}

DWORD ProductRule(DWORD everyoneRights, DWORD fullRights, DWORD inheritance, UniqueLocalPtr<PACL>& list)
{
    return ProductRule(everyoneRights, fullRights, inheritance, nullptr, list);
}

DWORD ProductRule(DWORD everyoneRights, DWORD fullRights, DWORD inheritance, PSID alsoFull,
                  UniqueLocalPtr<PACL>& list)
{
    UniqueSid everyone, backupOperators, administrators;
    DWORD status = Everyone(everyone);
    if (status == ERROR_SUCCESS)
        status = BuiltinGroup(DOMAIN_ALIAS_RID_BACKUP_OPS, backupOperators);
    if (status == ERROR_SUCCESS)
        status = BuiltinGroup(DOMAIN_ALIAS_RID_ADMINS, administrators);
    if (status != ERROR_SUCCESS)
        return status;
    EXPLICIT_ACCESS_A entries[] = {
        SetAccess(everyone.get(), TRUSTEE_IS_WELL_KNOWN_GROUP, everyoneRights, inheritance),
        SetAccess(backupOperators.get(), TRUSTEE_IS_GROUP, fullRights, inheritance),
        SetAccess(administrators.get(), TRUSTEE_IS_GROUP, fullRights, inheritance),
        SetAccess(alsoFull, TRUSTEE_IS_GROUP, fullRights, inheritance),
    };
    return list.kept(SetEntriesInAclA(alsoFull ? 4 : 3, entries, nullptr, list.put()));
}

DWORD BuiltinGroupRights(PACL list, DWORD rid, ACCESS_MASK& rights)
{
    UniqueSid group;
    DWORD status = BuiltinGroup(rid, group);
    if (status != ERROR_SUCCESS)
        return status;
    TRUSTEE_A trustee = {};
    trustee.TrusteeForm = TRUSTEE_IS_SID;
    trustee.TrusteeType = TRUSTEE_IS_GROUP;
    trustee.ptstrName = static_cast<LPSTR>(group.get());
    return GetEffectiveRightsFromAclA(list, &trustee, &rights);
}

}  // namespace access
