// CSystemAccount against Wine's own network management and account lookup. Wine keeps a user
// that NetUserAdd makes inside the calling process only and its LookupAccountName does not know
// it (1332), so Create stops after adding the user; its NetUserGetInfo answers 2140 at level 2
// for every user, so Exists is shown intercepted too; the groups, the rights and an existing
// user's 2224 are shown in CSystemAccountIntercepted_test.cpp. The policy account calls end the
// process under Wine: every test here replaces them first, and checks that none was reached.
#include "CSystemAccount.h"

#include "ImportHook.h"
#include "PolicyAccounts.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <string>

namespace {

int g_policyCalls = 0;  // calls that would reach the local security authority
const NTSTATUS kDenied = static_cast<NTSTATUS>(0xC0000022);

NTSTATUS NTAPI RefuseOpenPolicy(PLSA_UNICODE_STRING, PLSA_OBJECT_ATTRIBUTES, ACCESS_MASK, PLSA_HANDLE)
{
    return ++g_policyCalls, kDenied;
}
NTSTATUS NTAPI RefuseOpenAccount(LSA_HANDLE, PSID, ACCESS_MASK, PLSA_HANDLE) { return ++g_policyCalls, kDenied; }
NTSTATUS NTAPI RefuseSetSystemAccess(LSA_HANDLE, ULONG) { return ++g_policyCalls, kDenied; }
NTSTATUS NTAPI RefuseAddPrivileges(LSA_HANDLE, PPRIVILEGE_SET) { return ++g_policyCalls, kDenied; }

struct AccountSteps : CSystemAccount {
    using CSystemAccount::GetGroupName;
};

// A user of the test's own, deleted on every path out of the test.
class CSystemAccountTest : public ::testing::Test {
protected:
    void SetUp() override { g_policyCalls = 0; }
    void TearDown() override
    {
        CSystemAccount::Delete(nullptr, m_user.c_str());
        EXPECT_EQ(0, g_policyCalls);
    }
    const std::string m_user = "dvacct" + std::to_string(GetCurrentProcessId());
    const char* const user = m_user.c_str();
};

#define GUARD_POLICY_CALLS()                                                                     \
    SETUPCLS_HOOK_IMPORT(hook_policy, "ADVAPI32.dll", LsaOpenPolicy, RefuseOpenPolicy);                 \
    SETUPCLS_HOOK_IMPORT(hook_account, "ADVAPI32.dll", LsaOpenAccount, RefuseOpenAccount);              \
    SETUPCLS_HOOK_IMPORT(hook_access, "ADVAPI32.dll", LsaSetSystemAccessAccount, RefuseSetSystemAccess); \
    SETUPCLS_HOOK_IMPORT(hook_privilege, "ADVAPI32.dll", LsaAddPrivilegesToAccount, RefuseAddPrivileges)

TEST_F(CSystemAccountTest, NamesAreUpperCasedAndLocalWhenTheyDifferOnlyInCase)
{
    const struct {
        const char* computer;
        const char* domain;
        int local;
    } cases[] = {{"pc1", "PC1", 1}, {"Pc1", "pC1", 1}, {"pc1", "pc2", 0}};
    for (const auto& c : cases) {
        CSystemAccount account(c.computer, c.domain, "Svc", "Pw");
        EXPECT_EQ(c.local, account.Local()) << c.computer << " " << c.domain;
        EXPECT_EQ(CharUpperA(std::string(c.computer).data()), std::string(account.Computer()));
        EXPECT_EQ(CharUpperA(std::string(c.domain).data()), std::string(account.Domain()));
        EXPECT_STREQ("Svc", account.User());
        EXPECT_STREQ("Pw", account.Password());
        EXPECT_EQ(nullptr, account.Controller()) << "Wine knows no controller of any domain";
    }
}

// An empty domain is this machine's.
TEST_F(CSystemAccountTest, CreateAddsTheUserThatDeleteRemoves)
{
    GUARD_POLICY_CALLS();
    EXPECT_EQ(0, CSystemAccount::Create(nullptr, "PC", "", user, "Secret-1"));
    EXPECT_EQ(ERROR_NONE_MAPPED, GetLastError()) << "Wine's lookup does not know the new user";
    EXPECT_EQ(1, CSystemAccount::Delete(nullptr, user));
    EXPECT_EQ(0, CSystemAccount::Delete(nullptr, user));
}

TEST_F(CSystemAccountTest, ValidPasswordIsZeroOnlyForAWrongPassword)
{
    GUARD_POLICY_CALLS();
    CSystemAccount::Create(nullptr, "PC", "", user, "Secret-1");
    EXPECT_EQ(1, CSystemAccount::ValidPassword(nullptr, "PC", "", user, "Secret-1"));
    EXPECT_EQ(0, CSystemAccount::ValidPassword(nullptr, "PC", "", user, "Wrong-2"));
    EXPECT_EQ(1, CSystemAccount::ValidPassword(nullptr, "PC", "", "nosuchdvuser", "Wrong-2"));
}

TEST_F(CSystemAccountTest, GroupNamesOfTheBuiltinDomainAreCutToTheirBuffers)
{
    char name[16] = "x", domain[5] = "x";
    EXPECT_EQ(1, AccountSteps::GetGroupName(544, nullptr, name, sizeof(name), domain, sizeof(domain)));
    EXPECT_STREQ("Administrators", name);
    EXPECT_STREQ("BUIL", domain);
    EXPECT_EQ(1, AccountSteps::GetGroupName(551, nullptr, name, 8, nullptr, 0));
    EXPECT_STREQ("Backup ", name);
    EXPECT_EQ(0, AccountSteps::GetGroupName(999, nullptr, name, sizeof(name), domain, sizeof(domain)));
    EXPECT_STREQ("", name);
    EXPECT_STREQ("", domain);
}

TEST_F(CSystemAccountTest, NoUserNamesNoAccountAndNoToolBesideTheProgramFails)
{
    GUARD_POLICY_CALLS();
    EXPECT_EACH(0, ANSWER(CSystemAccount::Create(nullptr, "PC", "PC", nullptr, "pw")),
                ANSWER(CSystemAccount::AssignGroups(nullptr, "PC", "PC", nullptr, "pw")),
                ANSWER(CSystemAccount::Exists(nullptr, nullptr)), ANSWER(CSystemAccount::Delete(nullptr, nullptr)),
                ANSWER(CSystemAccount::Register("PC", "PC", "svc", "pw")));
}

}  // namespace
