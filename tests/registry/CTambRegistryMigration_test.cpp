#include "CTambRegistry.h"

#include "Handles.h"
#include "ImportHook.h"
#include "RegistrySupport.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

using namespace testsupport;
using R = CTambRegistry;

namespace {

const std::string kMaker = "SOFTWARE\\Brannoch", kProduct = kMaker + "\\BN Drosvane Backup";
const std::string kOld = "SOFTWARE\\Tamberly", kDSAgent = kOld + "\\DSAgent\\CurrentVersion";
const std::string kRpc = "SYSTEM\\CurrentControlSet\\Services\\DbaRpcService", kProducts = kProduct + "\\Products";
const std::string kSid = "S-1-5-21-1-2-3-4242", kProfile = std::string(R::m_sProfileListKey) + "\\" + kSid;
const HKEY kLM = HKEY_LOCAL_MACHINE, kCU = HKEY_CURRENT_USER;

// Keys of any root in the 32-bit view: made, looked for, deleted with their trees.
bool Make(HKEY root, const std::string& key)
{
    UniqueKey k;
    return !k.kept(RegCreateKeyExA(root, key.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS | kView32, nullptr, k.put(), nullptr));
}
bool Has(HKEY root, const std::string& key)
{
    UniqueKey k;
    return !k.kept(RegOpenKeyExA(root, key.c_str(), 0, KEY_READ | kView32, k.put()));
}
void Drop(HKEY root, const std::string& key)
{
    UniqueKey k;
    if (!k.kept(RegOpenKeyExA(root, key.c_str(), 0, KEY_ALL_ACCESS | kView32, k.put())))
        RegDeleteTreeA(k.get(), nullptr);
    RegDeleteKeyExA(root, key.c_str(), kView32, 0);
}
bool Write(const std::string& key, const char* name, const std::string& data, DWORD type = REG_BINARY)
{
    return RegWrite(kView32, key, name, type, data.data(), static_cast<DWORD>(data.size()));
}
// "<type>:<data>" of a value under HKEY_LOCAL_MACHINE; "-" when it cannot be read.
std::string Raw(const std::string& key, const char* name)
{
    UniqueKey k;
    char data[512];
    DWORD type = 0, size = sizeof(data);
    if (k.kept(RegOpenKeyExA(kLM, key.c_str(), 0, KEY_READ | kView32, k.put()))
        || RegQueryValueExA(k.get(), name, nullptr, &type, reinterpret_cast<BYTE*>(data), &size))
        return "-";
    return std::to_string(type) + ":" + std::string(data, size);
}

class CTambRegistryMigration : public ::testing::Test {
protected:
    ScopedRegistryKeys m_keys{{kMaker, kOld, kRpc, kProfile, "SYSTEM\\CurrentControlSet\\Services\\SNMP"}};
    TempDir m_dir;
};

// The deletions SetupCLS.dll asks for, in order ("<root> <key>", "V <value>"); each is passed on.
std::vector<std::string> g_deleted;
LONG WINAPI RecordRegDeleteKeyExA(HKEY root, LPCSTR key, REGSAM view, DWORD reserved)
{
    g_deleted.push_back(std::string(root == kLM ? "LM " : root == HKEY_USERS ? "U " : "CU ") + key);
    return RegDeleteKeyExA(root, key, view, reserved);
}
LONG WINAPI RecordRegDeleteValueA(HKEY key, LPCSTR name)
{
    g_deleted.push_back(std::string("V ") + name);
    return RegDeleteValueA(key, name);
}

}  // namespace

TEST_F(CTambRegistryMigration, DeleteSubKeysDeletesTheTreeDepthFirstAndKeepsTheKey)
{
    ASSERT_TRUE(Make(kLM, kMaker + "\\T\\A\\B\\C"));
    ASSERT_TRUE(Make(kLM, kMaker + "\\T\\D"));
    EXPECT_EQ(1, R::DeleteSubKeys(kLM, (kMaker + "\\T").c_str()));
    EXPECT_TRUE(Has(kLM, kMaker + "\\T"));
    EXPECT_FALSE(Has(kLM, kMaker + "\\T\\A"));
    EXPECT_FALSE(Has(kLM, kMaker + "\\T\\D"));
    EXPECT_EACH(0, ANSWER(R::DeleteSubKeys(nullptr, "SOFTWARE")), ANSWER(R::DeleteSubKeys(kLM, "")),
                ANSWER(R::DeleteSubKeys(kLM, (kMaker + "\\Missing").c_str())));
}

TEST_F(CTambRegistryMigration, DeleteOldDrosvaneKeyDropsTamberlyOnlyWhenNothingElseIsBelow)
{
    for (const char* key : {"Drosvane", "SOFTWARE\\Tamberly\\Drosvane"}) {
        const bool other = key[0] == 'D';  // another product's key is below "SOFTWARE\Tamberly"
        ASSERT_TRUE(Make(kLM, kOld + "\\Drosvane\\CurrentVersion\\Path"));
        ASSERT_TRUE(!other || Make(kLM, kDSAgent));
        R::DeleteOldDrosvaneKey(key);
        R::DeleteOldDrosvaneKey("");  // names nothing: deletes nothing
        EXPECT_FALSE(Has(kLM, kOld + "\\Drosvane")) << key;
        EXPECT_EQ(other, Has(kLM, kDSAgent)) << key;
        EXPECT_EQ(other, Has(kLM, kOld)) << key;
        Drop(kLM, kOld);
    }
}

TEST_F(CTambRegistryMigration, UpdateRPCImagePathWritesOnlyAnotherExistingFile)
{
    ASSERT_TRUE(WriteFileBytes(m_dir / "DbaRpc.exe", "MZ"));
    ASSERT_TRUE(WriteFileBytes(m_dir / "New.exe", "MZ"));
    ScopedEnv folder("MIGRATIONTEST", m_dir.path().c_str());
    const std::string old = m_dir / "DBARPC.EXE", variable = "%MIGRATIONTEST%\\New.exe";
    const std::pair<std::string, std::string> rows[] = {{m_dir / "Missing.exe", "1:" + old},
        {m_dir / "DbaRpc.exe", "1:" + old}, {m_dir.path(), "1:" + old}, {m_dir / "New.exe", "2:" + m_dir / "New.exe"},
        {variable, "2:" + variable}};
    for (const auto& row : rows) {
        ASSERT_TRUE(RegWrite(kView32, kRpc, "ImagePath", old));
        R::UpdateRPCImagePath(row.first.c_str());
        EXPECT_EQ(row.second + '\0', Raw(kRpc, "ImagePath")) << row.first;
    }
}

TEST_F(CTambRegistryMigration, OldDatabaseAgentRecordsAreKeptAsideAndRemoved)
{
    const std::string record(49, 'r'), kept = kMaker + "\\DrosvaneIT\\OldDBAgents";
    for (const std::string& source : {kOld + "\\Products", kDSAgent + "\\Products"}) {
        ASSERT_TRUE(Write(source, "dbaexch", record));
        ASSERT_TRUE(Write(source, "DBAxchg2", record.substr(0, 20)));
        ASSERT_TRUE(Write(source, "dbaLong", record + "r"));
        ASSERT_TRUE(Write(source, "Omnivale125Backup", record));
        R().CreateOldProdDscrpt();
        EXPECT_EQ("3:" + record, Raw(kept, "dbaexch")) << source;
        EXPECT_EQ("3:" + record.substr(0, 20) + std::string(29, '\0'), Raw(kept, "DBAxchg2"));
        EXPECT_EQ("-", Raw(kept, "dbaLong")) << "longer than a record";
        EXPECT_EQ("-", Raw(kept, "Omnivale125Backup")) << "not a database agent";
        R().DeleteOldProdDscrpt();
        EXPECT_FALSE(Has(kLM, kept));
        Drop(kLM, kOld + "\\Products");  // the database agents' own Products key next
    }
}

TEST_F(CTambRegistryMigration, DatabaseAgentsOfOneGenerationAreFoundAndDeleted)
{
    const struct { int generation; std::string products; const char* name; const char* found; } rows[] = {
        {0, kProducts, "dbaxchg2", "dbaxchg2"}, {0, kProducts, "DBAEXCH", ""}, {0, kProducts, "ClientAgentNT", ""},
        {3, kDSAgent + "\\Products", "dbaxchg2", "dbaxchg2"}, {2, kProducts, "dbaxchg2", ""}, {6, kProducts, "dbaxchg2", ""}};
    for (const auto& row : rows) {
        ASSERT_TRUE(Write(row.products, row.name, "record"));
        CString found = "stale";
        EXPECT_EQ(*row.found ? 1 : 0, R::ExistOther_DBAgents("dbaexch", row.generation, found)) << row.name;
        EXPECT_STREQ(row.found, found) << row.generation << " " << row.name;
        RegDeleteValueIn(kView32, row.products, row.name);
    }
    ASSERT_TRUE(Make(kLM, kDSAgent + "\\dbaexch\\Common"));
    ASSERT_TRUE(Make(kLM, kDSAgent + "\\dbaxchg2"));
    for (const char* agent : {"", "dbaxchg2\\", "dbaexch"})
        R::DeleteAgentSubKeys(agent, 3);
    EXPECT_FALSE(Has(kLM, kDSAgent + "\\dbaexch"));
    EXPECT_TRUE(Has(kLM, kDSAgent + "\\dbaxchg2")) << "an agent is one key name";
}

TEST_F(CTambRegistryMigration, GetDBAgentHomeDirFallsBackToTheClientAgentThenTheProduct)
{
    const std::string kestrix = kMaker + "\\Kestrix";
    const std::pair<std::string, const char*> places[] = {
        {kestrix + "\\dbaexch\\Common", "Path"}, {kestrix + "\\ClientAgent\\Common", "Path"}, {kestrix + "\\Base\\Path", "HOME"}};
    for (const auto& place : places)
        ASSERT_TRUE(RegWrite(kView32, place.first, place.second, place.first));
    char buffer[MAX_PATH];
    unsigned long size = 0;
    for (const auto& place : places) {
        size = sizeof(buffer);
        EXPECT_EQ(1, R::GetDBAgentHomeDir("dbaexch", buffer, &size, 4, nullptr));
        EXPECT_EQ(place.first, std::string(buffer, size - 1));
        RegDeleteValueIn(kView32, place.first, place.second);
    }
    EXPECT_EACH(0, ANSWER(R::GetDBAgentHomeDir("dbaexch", buffer, &size, 4, nullptr)),
                ANSWER(R::GetDBAgentHomeDir("dbaexch", buffer, nullptr, 4, nullptr)),
                ANSWER(R::GetDBAgentHomeDir("dbaexch", buffer, &size, 9, nullptr)));
}

TEST_F(CTambRegistryMigration, GetOldProductRootKeyForUpgNamesTheFirstInstallationFound)
{
    const std::string v115 = kMaker + "\\Quellmarsh Drosvane Backup", it = kMaker + "\\DrosvaneIT";
    const std::string kestrix = kMaker + "\\Kestrix", enterprise = kMaker + "\\Quellmarsh Enterprise Backup";
    const struct { std::string products; const char* record; std::string root; } rows[] = {
        {kProducts, "QuellmarshAB", kProduct}, {v115 + "\\Products", "QuellmarshAB", v115},
        {it + "\\Products", "Drosvane", it}, {kOld + "\\Products", "Omnivale125Backup", kOld + "\\Drosvane"},
        {kestrix + "\\Products", "QuellmarshEB", kestrix}, {enterprise + "\\Products", "QuellmarshEB", enterprise}};
    for (const auto& row : rows)
        ASSERT_TRUE(Write(row.products, row.record, "record"));
    R registry;
    char buffer[MAX_PATH];
    for (const auto& row : rows) {
        EXPECT_EQ(1, registry.GetOldProductRootKey_ForUpg(buffer, nullptr));
        EXPECT_EQ(row.root, buffer);
        RegDeleteValueIn(kView32, row.products, row.record);
    }
    EXPECT_EQ(0, registry.GetOldProductRootKey_ForUpg(buffer, nullptr));
    EXPECT_STREQ("", buffer);
}

TEST_F(CTambRegistryMigration, ProductWithoutBaseIsFoundByItsDiagnosticBuild)
{
    const std::string build("\xD2\x04\0\0", 4), other("\x14\x05\0\0", 4);  // 1234 and 1300
    const struct { bool base; DWORD type; std::string data; const char* inf; int plain, beta; } rows[] = {
        {false, REG_DWORD, build, "1234", 1, 1}, {false, REG_SZ, std::string("1234", 5), "1234", 1, 1},
        {false, REG_DWORD, other, "1234", 1, 0}, {false, REG_DWORD, build, "1300", 1, 0},
        {false, REG_DWORD, build, nullptr, 1, 0},
        {true, REG_DWORD, build, "1234", 0, 0}, {false, REG_SZ, std::string("abc", 4), "1234", 0, 0},
        {false, REG_DWORD, "", "1234", 0, 0}};
    CSettings settings;
    settings.SourcePath((m_dir.path() + "\\").c_str());
    R registry(settings);
    for (const auto& row : rows) {
        DeleteFileA((m_dir / "mastersetup.inf").c_str());
        ASSERT_TRUE(!row.inf || WriteFileBytes(m_dir / "mastersetup.inf", std::string("[BuildNumber]\nBetaUpgVer=") + row.inf));
        ASSERT_TRUE(!row.base || Make(kLM, kProduct + "\\Base"));
        ASSERT_TRUE(row.data.empty() || Write(kProduct + "\\Diagnostic", "BuildNumber", row.data, row.type));
        EXPECT_EQ(row.plain, registry.IsProductInstalledWithoutBase(nullptr)) << &row - rows;
        EXPECT_EQ(row.beta, registry.IsBetaUpgProductInstalledWithoutBase(nullptr)) << &row - rows;
        Drop(kLM, kMaker);
    }
}

// RegDeleteKeyExA is recorded: the order is the one in which the deletions reach the registry.
TEST_F(CTambRegistryMigration, InterceptedDeleteDynamicKeyDeletesTheListedKeysInOrder)
{
    const std::vector<std::string> listed = {"Admin", "AsMgr", "TapeEngine", "User", "Database", "DBAdmin", "SNMP",
        "Task", "LastFullBackup", "LastImageBackup", "ServerRecord", "SystemSetting", "DBReport", "OldPath",
        "OldDatabase", "OldComponents", "NWDiscoveryServer", "mediapool", "QueueSystem", "MMOAdmin", "Domain", "Path",
        "Alert", "wizard", "Central Database Configuration", "Software\\Local AppWizard-Generated Applications",
        "ELODistributedServers", "BNOldProducts", "ProductsConfigInfo"};
    for (const std::string& name : listed)
        ASSERT_TRUE(Make(kLM, kProduct + "\\" + name + "\\Below"));
    ASSERT_TRUE(Make(kLM, kProducts));
    SETUPCLS_HOOK_IMPORT(hook, "ADVAPI32.dll", RegDeleteKeyExA, RecordRegDeleteKeyExA);
    EXPECT_EQ(1, R().DeleteDynamicKey());
    std::vector<std::string> order;
    for (const std::string& key : g_deleted)
        if (key.find("\\Below") == std::string::npos)
            order.push_back(key.substr(kProduct.size() + 4));
    EXPECT_EQ(listed, order);
    EXPECT_TRUE(Has(kLM, kProducts));
    EXPECT_EQ(1, R().DeleteDynamicKey()) << "keys that are not there";
}

// Wine lets a key be made directly below HKEY_USERS (Windows does not): it stands for the loaded
// hive of a listed profile. RegDeleteKeyExA and RegDeleteValueA are recorded to show the order.
TEST_F(CTambRegistryMigration, InterceptedDeleteRemovesTheProductInOrderAndTheMakerKeyOnlyWithAll)
{
    ASSERT_FALSE(Has(kCU, kMaker));  // the test's own keys in the users' hives, removed at exit
    struct Users { ~Users() { Drop(kCU, kMaker); Drop(HKEY_USERS, kSid); } } users;
    const std::string agents = "SYSTEM\\CurrentControlSet\\Services\\SNMP\\Parameters\\ExtensionAgents";
    ASSERT_TRUE(RegWrite(kView64, kProfile, "ProfileImagePath", "C:\\users\\test"));
    SETUPCLS_HOOK_IMPORT(keys, "ADVAPI32.dll", RegDeleteKeyExA, RecordRegDeleteKeyExA);
    SETUPCLS_HOOK_IMPORT(values, "ADVAPI32.dll", RegDeleteValueA, RecordRegDeleteValueA);
    CSettings settings;
    settings.Components(CSettings::UNINSTALL_DROSVANE);
    EXPECT_EQ(0, R(settings).Delete()) << "not in uninstall mode";
    EXPECT_TRUE(g_deleted.empty());
    settings.Uninstall(1);
    const std::string user = "U " + kSid + "\\", lm = "LM " + kProduct;
    const std::vector<std::string> steps = {lm + "\\Base", lm + "\\OldProducts", lm + "\\BNOldProducts",
        lm + "\\SmartReaction", "CU " + kProduct, user + kProduct, "V 1", "V {5a1c7e42-93d0-4b6e-8f21-c03b9d4e7a15}",
        "V DisplayName", "V CATPATH", "V LNNAME", lm, "LM " + kMaker, "CU " + kMaker, user + kMaker};
    for (int all : {0, 1}) {
        settings.IsUninstallAll(all);
        for (const char* key : {"\\Base\\Path", "\\OldProducts", "\\BNOldProducts", "\\SmartReaction\\X"})
            ASSERT_TRUE(Make(kLM, kProduct + key));
        ASSERT_TRUE(RegWrite(kView32, kMaker + "\\BN-InstalledITProducts\\BN Drosvane Backup", "DisplayName", "x"));
        ASSERT_TRUE(RegWrite(kView32, agents, "1", kProduct + "\\Base\\SNMP"));
        for (const auto& hive : {std::make_pair(kCU, std::string()), std::make_pair(HKEY_USERS, kSid + "\\"),
                                 std::make_pair(kLM, std::string())})
            ASSERT_TRUE(Make(hive.first, hive.second + kMaker + "\\Other"));  // another product's key
        ASSERT_TRUE(Make(kCU, kProduct));
        ASSERT_TRUE(Make(HKEY_USERS, kSid + "\\" + kProduct + "\\Sub"));
        g_deleted.clear();
        EXPECT_EQ(1, R(settings).Delete());
        auto at = g_deleted.begin();
        for (const std::string& step : steps) {
            auto next = std::find(at, g_deleted.end(), step);
            EXPECT_NE(g_deleted.end(), next) << step << " not deleted after the step before it";
            at = next == g_deleted.end() ? at : next;
        }
        EXPECT_EQ(g_deleted.end(), std::find(g_deleted.begin(), g_deleted.end(), "V RNNAME"));
        EXPECT_FALSE(Has(kLM, kProduct));
        EXPECT_FALSE(Has(HKEY_USERS, kSid + "\\" + kProduct));
        EXPECT_EQ(all == 0, Has(kLM, kMaker));
        EXPECT_EQ(all == 0, Has(HKEY_USERS, kSid + "\\" + kMaker));
    }
}
