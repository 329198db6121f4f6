// The product's access rule on a registry key, applied for real (Wine keeps key access lists
// within one wineserver run) and read back entry by entry; the effective-rights query through an
// intercepted GetEffectiveRightsFromAclA, which Wine only stubs (it answers 0x1FFFFF for anyone).
#include "CTambRegistry.h"

#include "Handles.h"
#include "ImportHook.h"
#include "RegistrySupport.h"
#include "SecuritySupport.h"

#include <aclapi.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace testsupport;

namespace {

const std::string kKey = "SOFTWARE\\SetupCLSTest\\Access";

class CTambRegistryAccess : public ::testing::Test {
protected:
    UniqueKey Open(REGSAM view)
    {
        UniqueKey key;
        key.kept(RegCreateKeyExA(HKEY_LOCAL_MACHINE, kKey.c_str(), 0, nullptr, 0,
                                 WRITE_DAC | READ_CONTROL | KEY_READ | view, nullptr, key.put(), nullptr));
        return key;
    }
    ScopedRegistryKeys m_cleanup{{"SOFTWARE\\SetupCLSTest"}};
};

// The rule replaces what was there: an entry of Users made before is gone, and nothing comes
// from the parent.
TEST_F(CTambRegistryAccess, RuleIsEveryoneReadsBackupOperatorsAndAdministratorsFullInheritedAndProtected)
{
    const struct {
        REGSAM view;
        int wow64View;
    } cases[] = {{KEY_WOW64_32KEY, 1}, {0, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.wow64View);
        UniqueKey key = Open(c.view);
        ASSERT_TRUE(key);
        UniqueSid users;
        SID_IDENTIFIER_AUTHORITY nt = SECURITY_NT_AUTHORITY;
        ASSERT_TRUE(AllocateAndInitializeSid(&nt, 2, SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_USERS, 0, 0, 0, 0,
                                             0, 0, users.put()));
        EXPLICIT_ACCESS_A own = {KEY_ALL_ACCESS, SET_ACCESS, NO_INHERITANCE,
                                 {nullptr, NO_MULTIPLE_TRUSTEE, TRUSTEE_IS_SID, TRUSTEE_IS_GROUP,
                                  static_cast<LPSTR>(users.get())}};
        UniqueLocalPtr<PACL> before;
        ASSERT_EQ(0u, SetEntriesInAclA(1, &own, nullptr, before.put()));
        ASSERT_EQ(0u, SetSecurityInfo(key.get(), SE_REGISTRY_KEY, DACL_SECURITY_INFORMATION, nullptr, nullptr,
                                      before.get(), nullptr));

        EXPECT_EQ(1, CTambRegistry::AddAccessPermissionOnRegistryKey(key.get(), c.wow64View));

        PACL list = nullptr;
        UniqueLocalPtr<PSECURITY_DESCRIPTOR> descriptor;
        ASSERT_EQ(0u, GetSecurityInfo(key.get(), SE_REGISTRY_KEY, DACL_SECURITY_INFORMATION, nullptr, nullptr, &list,
                                      nullptr, descriptor.put()));
        const std::vector<std::string> expected = {"S-1-1-0 0 3 0x20019", "S-1-5-32-551 0 3 0xF003F",
                                                   "S-1-5-32-544 0 3 0xF003F"};
        EXPECT_EQ(expected, AceEntries(list));
    }
}

struct SecurityCall {
    SE_OBJECT_TYPE type = SE_UNKNOWN_OBJECT_TYPE;
    SECURITY_INFORMATION information = 0;
};
SecurityCall g_security;

DWORD WINAPI FakeSetSecurityInfo(HANDLE key, SE_OBJECT_TYPE type, SECURITY_INFORMATION information, PSID owner,
                                 PSID group, PACL list, PACL systemList)
{
    g_security = {type, information};
    return SetSecurityInfo(key, type, information, owner, group, list, systemList);
}

// Wine stores the entries but not the protection from the parent's (its descriptors never show
// SE_DACL_PROTECTED), so what the library asks for is seen at the call.
TEST_F(CTambRegistryAccess, InterceptedRuleIsAppliedProtectedAndNamedByItsView)
{
    SETUPCLS_HOOK_IMPORT(hook, "ADVAPI32.dll", SetSecurityInfo, FakeSetSecurityInfo);
    const struct {
        int wow64View;
        SE_OBJECT_TYPE type;
    } cases[] = {{1, SE_REGISTRY_WOW64_32KEY}, {0, SE_REGISTRY_KEY}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.wow64View);
        UniqueKey key = Open(c.wow64View ? KEY_WOW64_32KEY : 0);
        g_security = SecurityCall();
        EXPECT_EQ(1, CTambRegistry::AddAccessPermissionOnRegistryKey(key.get(), c.wow64View));
        EXPECT_EQ(c.type, g_security.type);
        EXPECT_EQ(0x80000004u, g_security.information);
    }
}

TEST(CTambRegistryAccessNullKey, GivesZeroFromBoth)
{
    unsigned long mask = 7;
    EXPECT_EQ(0, CTambRegistry::AddAccessPermissionOnRegistryKey(nullptr, 0));
    EXPECT_EQ(0, CTambRegistry::GetBuiltinDomainAccessMaskOnKey(nullptr, DOMAIN_ALIAS_RID_ADMINS, mask));
}

struct RightsCall {
    std::string trustee;
    TRUSTEE_FORM form = TRUSTEE_BAD_FORM;
    TRUSTEE_TYPE type = TRUSTEE_IS_UNKNOWN;
    std::vector<std::string> entries;
    DWORD answer = ERROR_SUCCESS;
    ACCESS_MASK rights = 0;
};
RightsCall g_rights;

DWORD WINAPI FakeGetEffectiveRightsFromAclA(PACL list, PTRUSTEE_A trustee, PACCESS_MASK rights)
{
    g_rights.trustee = SidText(trustee->ptstrName);
    g_rights.form = trustee->TrusteeForm;
    g_rights.type = trustee->TrusteeType;
    g_rights.entries = AceEntries(list);
    *rights = g_rights.rights;
    return g_rights.answer;
}

// The library asks for the built-in group's SID as a group trustee, on the key's own list, and
// hands the answer on; a refused computation gives 0 and a mask of 0.
TEST_F(CTambRegistryAccess, InterceptedEffectiveRightsAskForTheBuiltinGroupOnTheKeysList)
{
    UniqueKey key = Open(KEY_WOW64_32KEY);
    ASSERT_TRUE(key);
    ASSERT_EQ(1, CTambRegistry::AddAccessPermissionOnRegistryKey(key.get(), 1));
    SETUPCLS_HOOK_IMPORT(hook, "ADVAPI32.dll", GetEffectiveRightsFromAclA, FakeGetEffectiveRightsFromAclA);
    const struct {
        unsigned long rid;
        DWORD answer;
        ACCESS_MASK rights;
        int result;
        unsigned long mask;
    } cases[] = {
        {DOMAIN_ALIAS_RID_ADMINS, ERROR_SUCCESS, KEY_ALL_ACCESS, 1, KEY_ALL_ACCESS},
        {DOMAIN_ALIAS_RID_USERS, ERROR_SUCCESS, KEY_READ, 1, KEY_READ},
        {DOMAIN_ALIAS_RID_BACKUP_OPS, ERROR_INVALID_ACL, KEY_READ, 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.rid);
        g_rights = RightsCall();
        g_rights.answer = c.answer;
        g_rights.rights = c.rights;
        unsigned long mask = 12345;
        EXPECT_EQ(c.result, CTambRegistry::GetBuiltinDomainAccessMaskOnKey(key.get(), c.rid, mask));
        EXPECT_EQ(c.mask, mask);
        EXPECT_EQ("S-1-5-32-" + std::to_string(c.rid), g_rights.trustee);
        EXPECT_EQ(TRUSTEE_IS_SID, g_rights.form);
        EXPECT_EQ(TRUSTEE_IS_GROUP, g_rights.type);
        EXPECT_EQ(3u, g_rights.entries.size()) << "the key's own list";
    }
}

}  // namespace
