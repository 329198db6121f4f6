#include "CTambRegistry.h"

#include "ImportHook.h"
#include "RegistrySupport.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace testsupport;
using R = CTambRegistry;

namespace {

const std::string kProduct = "SOFTWARE\\Brannoch\\BN Drosvane Backup", kBase = kProduct + "\\Base",
                  kDatabase = kBase + "\\Database";

bool WriteType(REGSAM view, DWORD type)
{
    return RegWrite(view, kDatabase, "DatabaseType", REG_DWORD, &type, sizeof(type));
}

class TuningTest : public ::testing::Test {
protected:
    ScopedRegistryKeys m_keys{{"SOFTWARE\\Brannoch"}};
};

// Where the views agree, the product view's Database key opens whenever its Wow6432Node path
// does: the fall-back is reached by refusing SetupCLS.dll's first open.
class TuningIntercepted : public TuningTest {};
std::vector<std::string> g_opened;
LONG WINAPI RefuseFirstOpen(HKEY root, LPCSTR key, DWORD options, REGSAM access, PHKEY result)
{
    g_opened.push_back(key);
    return g_opened.size() == 1 ? ERROR_FILE_NOT_FOUND : RegOpenKeyExA(root, key, options, access, result);
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
        ASSERT_TRUE(RegWrite(kView32, kProduct, "Other", "x"));  // the product key without Base
        EXPECT_EQ(1, c.set(c.number)) << c.name;
        EXPECT_EQ(std::to_string(c.number), RegRead(kView32, kDatabase, c.name)) << "a REG_DWORD in the 32-bit view";
    }
}

// A 32-bit installation's value lies in the 32-bit view only (SOFTWARE\Wow6432Node under WoW64).
TEST_F(TuningTest, GetDrosvaneDatabaseReadsThe32BitViewAndAnswersTheStatus)
{
    unsigned long type = 77;
    EXPECT_EQ(2u, R::GetDrosvaneDatabase(type)) << "no key";
    ASSERT_TRUE(WriteType(kView64, 6));
    EXPECT_EQ(2u, R::GetDrosvaneDatabase(type)) << "a 64-bit program's key is not the product's";
    EXPECT_EQ(77u, type) << "untouched";
    ASSERT_TRUE(WriteType(kView32, 3));
    EXPECT_EQ(0u, R::GetDrosvaneDatabase(type));
    EXPECT_EQ(3u, type);
    ASSERT_TRUE(RegWrite(kView32, kDatabase, "DatabaseType", "555"));  // 4 bytes, as a number's
    EXPECT_EQ(static_cast<unsigned long>(ERROR_UNSUPPORTED_TYPE), R::GetDrosvaneDatabase(type));
}

TEST_F(TuningIntercepted, GetDrosvaneDatabaseFallsBackToTheWow6432NodePath)
{
    ASSERT_TRUE(WriteType(kView32, 4));
    g_opened.clear();
    SETUPCLS_HOOK_IMPORT(open, "ADVAPI32.dll", RegOpenKeyExA, RefuseFirstOpen);
    unsigned long type = 0;
    EXPECT_EQ(0u, R::GetDrosvaneDatabase(type));
    EXPECT_EQ(4u, type);
    EXPECT_EQ((std::vector<std::string>{kDatabase, "SOFTWARE\\Wow6432Node\\Brannoch\\BN Drosvane Backup\\Base\\Database"}), g_opened);
}

TEST_F(TuningTest, DeleteSmartReactionBranchTakesEverySubKey)
{
    for (const std::string& key : {kProduct + "\\SmartReaction\\Rules\\Deep", kBase})
        ASSERT_TRUE(RegWrite(kView32, key, "v", "x"));
    R::DeleteSmartReactionBranch();
    EXPECT_FALSE(RegKeyExists(kView32, kProduct + "\\SmartReaction"));
    EXPECT_TRUE(RegKeyExists(kView32, kBase)) << "the rest of the product key stays";
}
