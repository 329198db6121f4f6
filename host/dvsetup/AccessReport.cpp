#include "AccessReport.h"

#include "Handles.h"

#include <aclapi.h>
#include <sddl.h>

#include <cstdio>
#include <string>

namespace {

std::string AccountName(PSID sid)
{
    char name[256] = {}, domain[256] = {};
    DWORD nameSize = sizeof(name), domainSize = sizeof(domain);
    SID_NAME_USE use;
    if (LookupAccountSidA(nullptr, sid, name, &nameSize, domain, &domainSize, &use))
        return domain[0] ? std::string(domain) + "\\" + name : std::string(name);
    char* text = nullptr;
    if (!ConvertSidToStringSidA(sid, &text))
        return "(unknown account)";
    std::string result(text);
    LocalFree(text);
    return result;
}

void PrintList(PACL list)
{
    if (!list) {
        printf("      (no access list: everyone has full access)\n");
        return;
    }
    for (DWORD index = 0; index < list->AceCount; ++index) {
        ACCESS_ALLOWED_ACE* entry = nullptr;
        if (!GetAce(list, index, reinterpret_cast<void**>(&entry)))
            continue;
        const BYTE type = entry->Header.AceType;
        const BYTE flags = entry->Header.AceFlags;
        printf("      %-32s %-5s 0x%08lX%s%s\n", AccountName(&entry->SidStart).c_str(),
               type == ACCESS_ALLOWED_ACE_TYPE ? "allow" : type == ACCESS_DENIED_ACE_TYPE ? "deny" : "other",
               entry->Mask, (flags & (OBJECT_INHERIT_ACE | CONTAINER_INHERIT_ACE)) ? "  inherited below" : "",
               (flags & INHERITED_ACE) ? "  (from the parent)" : "");
    }
}

}  // namespace

void PrintKeyAccess(const char* key)
{
    printf("  HKLM\\%s  [32-bit view]\n", key);
    UniqueKey handle;
    PACL list = nullptr;  // points into the descriptor
    UniqueLocalPtr<PSECURITY_DESCRIPTOR> descriptor;
    if (handle.kept(RegOpenKeyExA(HKEY_LOCAL_MACHINE, key, 0, READ_CONTROL | KEY_WOW64_32KEY, handle.put())) !=
            ERROR_SUCCESS ||
        descriptor.kept(GetSecurityInfo(handle.get(), SE_REGISTRY_KEY, DACL_SECURITY_INFORMATION, nullptr, nullptr,
                                        &list, nullptr, descriptor.put())) != ERROR_SUCCESS) {
        printf("      (cannot be read)\n");
        return;
    }
    PrintList(list);
}

void PrintFolderAccess(const char* path)
{
    printf("  %s\n", path);
    PACL list = nullptr;  // points into the descriptor
    UniqueLocalPtr<PSECURITY_DESCRIPTOR> descriptor;
    if (descriptor.kept(GetNamedSecurityInfoA(path, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr,
                                              &list, nullptr, descriptor.put())) != ERROR_SUCCESS) {
        printf("      (cannot be read)\n");
        return;
    }
    PrintList(list);
}
