// Access rights of the product's registry keys: the product's rule applied to a key, and the
// rights a built-in group has on one.
#include "CTambRegistry.h"

#include "AccessRules.h"
#include "Failure.h"

namespace {

// The list replaces the key's own and cuts off what the parent hands down.
const SECURITY_INFORMATION kProtectedList = DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION;
const DWORD kTree = OBJECT_INHERIT_ACE | CONTAINER_INHERIT_ACE;

// A key opened in the 32-bit view is named as such to the security functions. Windows before
// XP has no such object type; setup no longer runs there, so no fall-back to the natural view
// is made.
SE_OBJECT_TYPE KeyObjectType(int wow64View)
{
    return wow64View ? SE_REGISTRY_WOW64_32KEY : SE_REGISTRY_KEY;
}

}  // namespace

// Answers 1 whether or not the rule could be applied (only a null key is refused): callers that
// need certainty ask GetBuiltinDomainAccessMaskOnKey. The status of the step that failed stays
// in GetLastError.
int CTambRegistry::AddAccessPermissionOnRegistryKey(HKEY key, int wow64View)
{
    if (!key) {
        SetLastError(ERROR_INVALID_HANDLE);
        return 0;
    }
    UniqueLocalPtr<PACL> list;
    DWORD status = access::ProductRule(KEY_READ, KEY_ALL_ACCESS, kTree, list);
    if (status == ERROR_SUCCESS)
        status = SetSecurityInfo(key, KeyObjectType(wow64View), kProtectedList, nullptr, nullptr, list.get(), nullptr);
    SetLastError(status);
    return 1;
}

// The query reads the key's list as the natural view names it, whatever view the rule was set
// through: a key's list is the same whichever view reaches it.
int CTambRegistry::GetBuiltinDomainAccessMaskOnKey(HKEY key, unsigned long rid, unsigned long& mask)
{
    if (!key) {
        SetLastError(ERROR_INVALID_HANDLE);
        return 0;
    }
    mask = 0;
    PACL list = nullptr;  // points into the descriptor
    UniqueLocalPtr<PSECURITY_DESCRIPTOR> descriptor;
    DWORD status = descriptor.kept(GetSecurityInfo(key, SE_REGISTRY_KEY, DACL_SECURITY_INFORMATION, nullptr, nullptr,
                                                   &list, nullptr, descriptor.put()));
    ACCESS_MASK rights = 0;
    if (status == ERROR_SUCCESS)
        status = access::BuiltinGroupRights(list, rid, rights);
    if (status == ERROR_SUCCESS)
        mask = rights;
    return failure::ResultOf(static_cast<LONG>(status));
}
