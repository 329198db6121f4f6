#include "CTambRegistry.h"

#include "ImportHook.h"
#include "RegistrySupport.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace testsupport;
using R = CTambRegistry;

namespace {

const std::string kMaker = "SOFTWARE\\Brannoch", kProduct = kMaker + "\\BN Drosvane Backup", kBase = kProduct + "\\Base",
                  kDatabase = kBase + "\\Database";

bool WriteNumber(REGSAM view, const char* value, DWORD number)
{
    return RegWrite(view, kDatabase, value, REG_DWORD, &number, sizeof(number));
}

class TuningTest : public ::testing::Test {
protected:
    ScopedRegistryKeys m_keys{{kMaker}};
};

// On a registry whose views agree, the Database key of the product's view opens whenever its
// Wow6432Node path does: the fall-back is reached by refusing the first open.
class TuningIntercepted : public TuningTest {};
std::vector<std::string> g_opened;
LONG WINAPI RefuseNaturalOpen(HKEY root, LPCSTR key, DWORD options, REGSAM access, PHKEY result)
{
    g_opened.push_back(key);
    return g_opened.size() == 1 ? ERROR_FILE_NOT_FOUND : RegOpenKeyExA(root, key, options, access, result);
}
LONG WINAPI RefuseValue(HKEY, LPCSTR, DWORD, DWORD, const BYTE*, DWORD)
{
    return ERROR_ACCESS_DENIED;
}

}  // namespace

TEST_F(TuningTest, SettersCreateBaseAndDatabaseAndStoreTheNumberAsGiven)
{
    const struct {
        int (*set)(unsigned long);
        const char* name;
        unsigned long number;
    } cases[] = {{&R::SetDrosvaneDatabase, "DatabaseType", 4294967295u}, {&R::SetBackupDaemonBufferSize, "BackupDaemonBufferSize", 65536},
                 {&R::SetDatabasePruning, "EnableDatabasePruning", 1}, {&R::SetDelayPruning, "EnableDelayPruning", 0},
                 {&R::SetPruningDays, "PruningDays", 400}, {&R::SetPruningTime, "PruningTime", 1439}};
    for (const auto& c : cases) {
        ScopedRegistryKeys fresh({kBase});
        ASSERT_TRUE(RegWrite(kView32, kProduct, "Other", "x"));
        ASSERT_FALSE(RegKeyExists(kView32, kBase));
        EXPECT_EQ(1, c.set(c.number)) << c.name;
        EXPECT_EQ(std::to_string(c.number), RegRead(kView32, kDatabase, c.name)) << "a REG_DWORD";
        EXPECT_FALSE(RegKeyExists(kView64, kProduct)) << "both builds write the 32-bit view";
    }
}

TEST_F(TuningTest, GetDrosvaneDatabaseReadsThe32BitViewAndAnswersTheStatus)
{
    unsigned long type = 77;
    EXPECT_EQ(static_cast<unsigned long>(ERROR_FILE_NOT_FOUND), R::GetDrosvaneDatabase(type));
    ASSERT_TRUE(WriteNumber(kView64, "DatabaseType", 6));
    EXPECT_EQ(static_cast<unsigned long>(ERROR_FILE_NOT_FOUND), R::GetDrosvaneDatabase(type)) << "a 64-bit program's key";
    EXPECT_EQ(77u, type) << "untouched";
    // What a 32-bit installation wrote, found by either build: SOFTWARE\Wow6432Node under WoW64.
    ASSERT_TRUE(WriteNumber(kView32, "DatabaseType", 3));
    EXPECT_EQ(static_cast<unsigned long>(ERROR_SUCCESS), R::GetDrosvaneDatabase(type));
    EXPECT_EQ(3u, type);
    ASSERT_TRUE(RegWrite(kView32, kDatabase, "DatabaseType", "5"));
    EXPECT_EQ(static_cast<unsigned long>(ERROR_UNSUPPORTED_TYPE), R::GetDrosvaneDatabase(type));
}

TEST_F(TuningIntercepted, GetDrosvaneDatabaseFallsBackToTheWow6432NodePath)
{
    ASSERT_TRUE(WriteNumber(kView32, "DatabaseType", 4));
    g_opened.clear();
    SETUPCLS_HOOK_IMPORT(open, "ADVAPI32.dll", RegOpenKeyExA, RefuseNaturalOpen);
    unsigned long type = 0;
    EXPECT_EQ(static_cast<unsigned long>(ERROR_SUCCESS), R::GetDrosvaneDatabase(type));
    EXPECT_EQ(4u, type);
    EXPECT_EQ((std::vector<std::string>{kDatabase, "SOFTWARE\\Wow6432Node\\Brannoch\\BN Drosvane Backup\\Base\\Database"}),
              g_opened);
}

TEST_F(TuningIntercepted, SetterAnswersZeroWhenTheValueIsRefused)
{
    SETUPCLS_HOOK_IMPORT(set, "ADVAPI32.dll", RegSetValueExA, RefuseValue);
    EXPECT_EQ(0, R::SetPruningDays(7));
    EXPECT_EQ(static_cast<DWORD>(ERROR_ACCESS_DENIED), GetLastError());
}

TEST_F(TuningTest, DeleteSmartReactionBranchTakesEverySubKey)
{
    for (const std::string& key : {kProduct + "\\SmartReaction", kProduct + "\\SmartReaction\\Rules\\Deep", kBase})
        ASSERT_TRUE(RegWrite(kView32, key, "v", "x"));
    R::DeleteSmartReactionBranch();
    EXPECT_FALSE(RegKeyExists(kView32, kProduct + "\\SmartReaction"));
    EXPECT_TRUE(RegKeyExists(kView32, kBase)) << "the rest of the product key stays";
}
