// The pieces of the access lists the library writes on services, registry keys and folders:
// the well-known identifiers it names, and explicit-access entries built the same way everywhere.
// Internal to the library.
#pragma once

#include "Handles.h"

#include <aclapi.h>

namespace access {

// Windows NT 6 (Vista) or later, by GetVersionExA: the rules give Everyone more from there on.
bool IsWindows6OrLater();

// S-1-1-0, Everyone.
DWORD Everyone(UniqueSid& sid);
// S-1-5-32-<rid>, a group of the built-in domain (DOMAIN_ALIAS_RID_ADMINS 544, _USERS 545,
// _BACKUP_OPS 551...).
DWORD BuiltinGroup(DWORD rid, UniqueSid& sid);

// An entry that sets the rights of a SID trustee: SET_ACCESS with the inheritance given
// (NO_INHERITANCE, or OBJECT_INHERIT_ACE | CONTAINER_INHERIT_ACE for a tree).
EXPLICIT_ACCESS_A SetAccess(PSID sid, TRUSTEE_TYPE type, DWORD rights, DWORD inheritance);

// The product's rule for what it owns: Everyone gets everyoneRights, Backup Operators and
// Administrators get fullRights, in that order, each with the inheritance given. The new list
// (built from these three entries alone) goes to list; the status of the first call that failed.
DWORD ProductRule(DWORD everyoneRights, DWORD fullRights, DWORD inheritance, UniqueLocalPtr<PACL>& list);
// The same rule with one more group that gets fullRights, as a fourth entry (a null alsoFull
// makes the three-entry rule).
DWORD ProductRule(DWORD everyoneRights, DWORD fullRights, DWORD inheritance, PSID alsoFull,
                  UniqueLocalPtr<PACL>& list);

// The rights that the built-in group S-1-5-32-<rid> has under list (GetEffectiveRightsFromAclA,
// trustee of form SID and type group) go to rights; the status of the first call that failed.
DWORD BuiltinGroupRights(PACL list, DWORD rid, ACCESS_MASK& rights);

}  // namespace access
