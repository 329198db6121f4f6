#include "DvSetUpgrade.h"
#include "CTambRegistry.h"

#include "Handles.h"
#include "ImportHook.h"
#include "RegistrySupport.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <random>

using namespace testsupport;

namespace {

const char kDescriptor[] = "UpgradeTestProduct";
const char kOld[] = "{OLD}";  // has its Windows Installer entry
const std::string kProducts = "SOFTWARE\\Brannoch\\BN Drosvane Backup\\Products";
const std::string kUninstall = "Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\";

// Entry NN of the list of earlier products.
std::string Entry(int index, const char* code, const char* versions = "", const char* builds = "",
                  const char* subTypes = "")
{
    char text[512];
    snprintf(text, sizeof(text), "ProductCode%02d=%s\r\nVersionRange%02d=%s\r\nBuildRange%02d=%s\r\nProdSubType%02d=%s\r\n",
             index, code, index, versions, index, builds, index, subTypes);
    return text;
}

std::string Entries(int first, int last, const char* code)
{
    std::string entries;
    for (int index = first; index <= last; ++index)
        entries += Entry(index, code);
    return entries;
}

std::string Record(WORD version, WORD build, char subType)
{
    std::string record(49, '\0');
    memcpy(&record[8], &version, 2);
    memcpy(&record[10], &build, 2);
    record[12] = subType;
    return record;
}

// The installed product's record, in the 32-bit view as the product writes it; setup.inf with
// the new product's version library (dvversion.dll, answering the version and build set here)
// and entry 00, which would match any installation: the list starts at 01.
class UpgradeTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(CopyFixture("dvversion.dll", m_dir / "dvversion.dll"));
        ASSERT_TRUE(RegWrite(kView32, kUninstall + kOld, "DisplayName", "old"));
    }
    void Install(WORD version, WORD build, char subType = 0, const char* name = kDescriptor)
    {
        const std::string record = Record(version, build, subType);
        ASSERT_TRUE(RegWrite(kView32, kProducts, name, REG_BINARY, record.data(), 49));
    }
    void Describe(const char* version, const char* build, const std::string& upgrade,
                  const std::string& libraries = "VersionDLL=dvversion.dll\r\n")
    {
        SetEnvironmentVariableA("DVV_FIXTURE_VERSION", version);
        SetEnvironmentVariableA("DVV_FIXTURE_BUILD", build);
        ASSERT_TRUE(WriteFileBytes(m_dir / "setup.inf", "[Upgrade]\r\n" + libraries + Entry(0, kOld) + upgrade));
    }
    int Verdict(DWORD& out, const char* descriptor = kDescriptor, const char* machine = nullptr)
    {
        return DvSetIsAllowUpgrade(m_dir.path().c_str(), descriptor, &out, machine);
    }
    bool Traced(const char* line) { return ReadFileBytes(m_dir / "Upgrade_SetupCls.log").find(line) != std::string::npos; }

    TempDir m_dir;
    ScopedEnv m_version{"DVV_FIXTURE_VERSION", nullptr}, m_build{"DVV_FIXTURE_BUILD", nullptr};
    ScopedEnv m_trace{"UPGRADE_SETUPCLS", m_dir.path().c_str()};
    ScopedRegistryKeys m_keys{{"SOFTWARE\\Brannoch", kUninstall + kOld}};
};

}  // namespace

TEST_F(UpgradeTest, VerdictFollowsTheListOfEarlierProducts)
{
    const std::string ranged = Entry(1, kOld, "", "1250,1400"), versions = Entry(1, kOld, "11.0,11.5");
    struct Case {
        const char* what;
        WORD version, build;
        char subType;
        const char* newVersion;
        const char* newBuild;
        std::string entries;
        int verdict;
    } cases[] = {
        {"same version and build", 0x0B05, 1200, 0, "11.5", "1200", Entry(1, kOld), 3},
        {"newer build, no build range", 0x0B05, 1200, 0, "11.5", "1300", Entry(1, kOld), 0},
        {"older new build", 0x0B05, 1300, 0, "11.5", "1200", Entry(1, kOld), 1},
        {"installed build below the range", 0x0B05, 1200, 0, "11.5", "1300", ranged, 1},
        {"build = min", 0x0B05, 1250, 0, "11.5", "2000", ranged, 0},
        {"build = max", 0x0B05, 1400, 0, "11.5", "2000", ranged, 0},
        {"build = min - 1", 0x0B05, 1249, 0, "11.5", "2000", ranged, 1},
        {"build = max + 1", 0x0B05, 1401, 0, "11.5", "2000", ranged, 1},
        {"downgrade", 0x0C00, 1200, 0, "11.5", "1300", Entry(1, kOld), 1},
        {"newer version, no version range", 0x0A00, 1200, 0, "12.0", "1300", Entry(1, kOld), 0},
        {"version = min", 0x0B00, 1200, 0, "12.0", "1300", versions, 0},
        {"version = max", 0x0B05, 1200, 0, "12.0", "1300", versions, 0},
        {"version = min - 1", 0x0AFF, 1200, 0, "12.0", "1300", versions, 1},
        {"version = max + 1", 0x0B06, 1200, 0, "12.0", "1300", versions, 1},
        {"entry 01 without a product code", 0x0B05, 1200, 0, "11.5", "1300", Entry(1, "") + Entry(2, kOld), 1},
        {"entry 01 not installed, 02 is", 0x0B05, 1200, 0, "11.5", "1300", Entry(1, "{GONE}") + Entry(2, kOld), 0},
        {"sub type among the entry's", 0x0B05, 1200, 2, "11.5", "1300", Entry(1, kOld, "", "", "1,2"), 0},
        {"sub type not among them", 0x0B05, 1200, 3, "11.5", "1300", Entry(1, kOld, "", "", "1,2"), 1},
        {"entry 99 is read", 0x0B05, 1200, 0, "11.5", "1300", Entries(1, 98, "{GONE}") + Entry(99, kOld), 0},
        {"entry 100 is not", 0x0B05, 1200, 0, "11.5", "1300", Entries(1, 99, "{GONE}") + Entry(100, kOld), 1},
    };
    for (const Case& c : cases) {
        Install(c.version, c.build, c.subType);
        Describe(c.newVersion, c.newBuild, c.entries);
        DWORD out = 0;
        EXPECT_EQ(c.verdict, Verdict(out)) << c.what;
        EXPECT_EQ(static_cast<DWORD>(MAKELONG(c.version, c.build)), out) << c.what;
    }
}

// Also for another machine whose registry cannot be reached (no machine of that name under Wine),
// where this machine's installation does not count.
TEST_F(UpgradeTest, NothingInstalledLeavesTheOutValue)
{
    Describe("11.5", "1300", Entry(1, kOld));
    DWORD out = 0xDEADBEEF;
    EXPECT_EQ(2, Verdict(out));
    Install(0x0B05, 1200);
    EXPECT_EQ(2, Verdict(out, kDescriptor, "NO-SUCH-MACHINE"));
    EXPECT_EQ(2, Verdict(out, ""));
    EXPECT_EQ(0xDEADBEEFu, out);
}

// Wine runs on a 64-bit system only: its native system information is intercepted to show both.
namespace {
WORD g_architecture;
void WINAPI FakeGetNativeSystemInfo(LPSYSTEM_INFO info)
{
    ZeroMemory(info, sizeof(*info));
    info->wProcessorArchitecture = g_architecture;
}
}  // namespace

// A 64-bit system reads the new product's "32VersionDLL" (here the only one there, so a 32-bit
// system finds version 0.0, a downgrade); its agents are bounded by "64VersionRange" instead of
// the list, which still decides for the other products.
TEST_F(UpgradeTest, InterceptedBitnessChoosesTheVersionLibraryAndTheAgentsRule)
{
    SETUPCLS_HOOK_IMPORT(hook, "KERNEL32.dll", GetNativeSystemInfo, FakeGetNativeSystemInfo);
    ASSERT_TRUE(CopyFixture("dvversion.dll", m_dir / "dv32.dll"));
    Describe("12.0", "1300", "64VersionRange=11.0,11.5\r\n" + Entry(1, kOld), "VersionDLL=missing.dll\r\n32VersionDLL=dv32.dll\r\n");
    struct Case {
        WORD architecture;
        const char* descriptor;
        WORD version;
        int verdict;
    } cases[] = {{PROCESSOR_ARCHITECTURE_AMD64, "ClientAgentNT", 0x0B05, 0},
                 {PROCESSOR_ARCHITECTURE_AMD64, "VSSAgent", 0x0A00, 1},  // below the 64-bit range
                 {PROCESSOR_ARCHITECTURE_INTEL, "ClientAgentNT", 0x0B05, 1},
                 {PROCESSOR_ARCHITECTURE_AMD64, kDescriptor, 0x0A00, 0}};
    for (const Case& c : cases) {
        g_architecture = c.architecture;
        Install(c.version, 1200, 0, c.descriptor);
        DWORD out = 0;
        EXPECT_EQ(c.verdict, Verdict(out, c.descriptor)) << c.architecture << " " << c.descriptor;
    }
    EXPECT_TRUE(Traced("IsAllowProductUpgradeOnRemote64() -> old product: 10.0,1200\r\n"));
    EXPECT_TRUE(Traced("DvSetIsAllowUpgrade() - End - Return 1,\r\n"));
}

namespace {

// Every key below an open key ("\sub" -> "key") and its values ("\sub|name" -> type and bytes;
// bytes beyond 32 as their count and hash, to keep a failure's message short).
using Tree = std::map<std::string, std::string>;
std::string Bytes(const std::string& data)
{
    return data.size() <= 32 ? data : std::to_string(data.size()) + " bytes, hash " + std::to_string(std::hash<std::string>()(data));
}
void ReadTree(HKEY key, const std::string& path, Tree& tree)
{
    tree[path] = "key";
    char name[256];
    std::string data(1 << 17, '\0');
    for (DWORD i = 0, length = sizeof(name), size = DWORD(data.size()), type = 0;
         RegEnumValueA(key, i, name, &length, nullptr, &type, reinterpret_cast<BYTE*>(&data[0]), &size) == ERROR_SUCCESS;
         ++i, length = sizeof(name), size = DWORD(data.size()))
        tree[path + "|" + name] = std::to_string(type) + ":" + Bytes(data.substr(0, size));
    for (DWORD i = 0, length = sizeof(name); RegEnumKeyExA(key, i, name, &length, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
         ++i, length = sizeof(name)) {
        UniqueKey sub;
        if (RegOpenKeyExA(key, name, 0, KEY_READ, sub.put()) == ERROR_SUCCESS)
            ReadTree(sub.get(), path + "\\" + name, tree);
    }
}
Tree Snapshot(const std::string& path)
{
    Tree tree;
    UniqueKey key;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_READ | kView32, key.put()) == ERROR_SUCCESS)
        ReadTree(key.get(), "", tree);
    return tree;
}

// The earlier product's keys: every value type, empty values, a value larger than a first read
// buffer, a deep tree, the agent node address key under its old name.
void WriteOldProduct(const std::string& old)
{
    const std::string base = old + "\\Base", big(70000, 'b');
    const DWORD dword = 7;
    const ULONGLONG qword = 0x1122334455667788ull;
    RegWrite(kView32, base, "sz", "text");
    RegWrite(kView32, base, "", "default");
    RegWrite(kView32, base, "emptysz", REG_SZ, "", 0);
    RegWrite(kView32, base, "expand", REG_EXPAND_SZ, "%TEMP%\\x", 9);
    RegWrite(kView32, base, "multi", REG_MULTI_SZ, "a\0bc\0", 6);
    RegWrite(kView32, base, "binary", REG_BINARY, big.data(), DWORD(big.size()));
    RegWrite(kView32, base, "dword", REG_DWORD, &dword, 4);
    RegWrite(kView32, base, "qword", REG_QWORD, &qword, 8);
    RegWrite(kView32, base, "none", REG_NONE, nullptr, 0);
    std::string deep = base;
    for (int level = 0; level < 12; ++level)
        RegWrite(kView32, deep += "\\L" + std::to_string(level), "level", std::to_string(level));
    RegWrite(kView32, old + "\\Agent\\TamberlyAgentNodeAdress", "node", "n1");
    for (const char* value : {"Home", "Version", "Other"})
        RegWrite(kView32, old, value, value);
}

}  // namespace

TEST_F(UpgradeTest, BackupAndRestoreCarryTheEarlierKeysByteForByte)
{
    const std::string old = "SOFTWARE\\Brannoch\\UpgradeTestOld", product = CTambRegistry::m_sDrosvaneKey.GetString();
    const std::string backup = product + "(BACKUP)";
    WriteOldProduct(old);
    Install(0x0B00, 1200);
    Describe("11.5", "1300",
             Entry(1, kOld) + "RegRootKey01=" + old
                 + "\r\nRegSubKey01=Base,Agent,Missing\r\nRegSubKeyNew01=Base,ClientAgent,Empty\r\nRegBKValues01=Home\r\n");
    char code[DVSET_PRODUCT_CODE_SIZE];
    ASSERT_EQ(1, DvSetBKOldProduct(m_dir.path().c_str(), kDescriptor, code, nullptr));
    EXPECT_STREQ(kOld, code);
    const Tree base = Snapshot(old + "\\Base");
    ASSERT_EQ(34u, base.size());
    EXPECT_EQ(base, Snapshot(backup + "\\Base"));
    EXPECT_EQ((Tree{{"", "key"}, {"\\ClientAgentNodeAdress", "key"}, {"\\ClientAgentNodeAdress|node", std::string("1:n1", 5)}}),
              Snapshot(backup + "\\ClientAgent"));
    EXPECT_EQ((Tree{{"", "key"}}), Snapshot(backup + "\\Empty"));
    EXPECT_EQ("Home", RegRead(kView32, backup, "Home"));
    EXPECT_EQ("Version", RegRead(kView32, backup, "Version"));
    EXPECT_EQ("-", RegRead(kView32, backup, "Other"));

    ASSERT_EQ(1, DvSetCreateRSSubRegKeys(nullptr, "New\\Sub,,Other"));  // empty items skipped
    DvSetRSOldProdRegKey();
    EXPECT_EQ(base, Snapshot(product + "\\Base"));
    EXPECT_TRUE(RegKeyExists(kView32, product + "\\New\\Sub"));
    EXPECT_FALSE(RegKeyExists(kView32, backup));
    for (const std::string& line : std::vector<std::string>{
             "DvSetBKOldProdRegKey() - End - Return 1\r\n", "DeleteSourceKeys() - End\r\n",
             "SourceKey is " + backup + ",DestinationKey is " + product + "\r\n",
             "SetcnvrtCopyRegSubTree() - End - SETCNVRT_SUCCESS\r\n"})
        EXPECT_TRUE(Traced(line.c_str())) << line;
}

// Wine reaches no other machine: its registry (RegConnectRegistryA) is intercepted to be a key
// of the current user. The verdict reads that registry alone; its keys are never copied.
namespace {
const char kRemote[] = "Software\\UpgradeTestRemote";
LONG WINAPI FakeRegConnectRegistryA(LPCSTR, HKEY, PHKEY result)
{
    return RegOpenKeyExA(HKEY_CURRENT_USER, kRemote, 0, KEY_ALL_ACCESS, result);
}
}  // namespace

TEST_F(UpgradeTest, InterceptedRemoteMachineIsAskedInItsOwnRegistry)
{
    struct Remove {
        ~Remove() { RegDeleteTreeA(HKEY_CURRENT_USER, kRemote); RegDeleteKeyA(HKEY_CURRENT_USER, kRemote); }
    } remove;
    const std::string record = Record(0x0B05, 1200, 0), remote = std::string(kRemote) + "\\";
    ASSERT_EQ(0, RegSetKeyValueA(HKEY_CURRENT_USER, (remote + kUninstall + "{REMOTE}").c_str(), "", REG_SZ, "", 1));
    ASSERT_EQ(0, RegSetKeyValueA(HKEY_CURRENT_USER, (remote + kProducts).c_str(), kDescriptor, REG_BINARY, record.data(), 49));
    Describe("11.5", "1300", Entry(1, kOld) + Entry(2, "{REMOTE}") + "RegSubKey02=Base\r\n");
    SETUPCLS_HOOK_IMPORT(hook, "ADVAPI32.dll", RegConnectRegistryA, FakeRegConnectRegistryA);
    DWORD out = 0;
    EXPECT_EQ(0, Verdict(out, kDescriptor, "OTHER-MACHINE"));
    char code[DVSET_PRODUCT_CODE_SIZE];
    EXPECT_EQ(0, DvSetBKOldProduct(m_dir.path().c_str(), kDescriptor, code, "OTHER-MACHINE"));
    EXPECT_STREQ("{REMOTE}", code);
    EXPECT_TRUE(Traced("SetcnvrtCopyRegSubTree() - End - Invalid hRoot. SETCNVRT_FAILED\r\n"));
}

// Random trees in the backup key, moved into the product key: keys, names and data of every value
// type (empty, small and large beyond the first read buffer, strings without their zero, types the
// registry does not know) arrive byte for byte.
TEST_F(UpgradeTest, RandomTreesAreRestoredByteForByte)
{
    const unsigned seed = 1125;
    std::mt19937 random(seed);
    const std::string product = CTambRegistry::m_sDrosvaneKey.GetString(), backup = product + "(BACKUP)";
    const DWORD types[] = {REG_SZ, REG_EXPAND_SZ, REG_MULTI_SZ, REG_BINARY, REG_DWORD, REG_QWORD, REG_NONE, REG_DWORD_BIG_ENDIAN, 0x4711};
    auto bytes = [&](size_t size) {
        std::string data(size, '\0');
        for (char& byte : data)
            byte = static_cast<char>(random());
        return data;
    };
    auto name = [&](const char* not_in) {
        std::string text = bytes(1 + random() % 12);
        for (char& ch : text)
            ch = strchr(not_in, ch) || (ch >= 0 && ch < 32) || ch == 127 ? 'k' : ch;
        return text;
    };
    std::function<void(const std::string&, int)> fill = [&](const std::string& key, int depth) {
        for (int values = 1 + random() % 7; values >= 0; --values) {
            const DWORD type = types[random() % (sizeof(types) / sizeof(types[0]))];
            const size_t sizes[] = {0, 4, 8, 1 + random() % 64, 4097 + random() % 70000};
            std::string data = bytes(sizes[random() % 5]);
            if ((type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ) && random() % 2)
                data += std::string(type == REG_MULTI_SZ ? 2 : 1, '\0');
            ASSERT_TRUE(RegWrite(kView32, key, values ? name("").c_str() : "", type, data.data(), DWORD(data.size())));
        }
        for (int keys = depth < 3 ? 1 + random() % 3 : 0; keys > 0; --keys)
            fill(key + "\\" + name("\\"), depth + 1);
    };
    for (int round = 0; round < 3; ++round) {
        SCOPED_TRACE("seed " + std::to_string(seed) + ", round " + std::to_string(round));
        fill(backup + "\\Random", 0);
        const Tree tree = Snapshot(backup + "\\Random");
        DvSetRSOldProdRegKey();
        EXPECT_EQ(tree, Snapshot(product + "\\Random"));
        EXPECT_FALSE(RegKeyExists(kView32, backup));
        UniqueKey key;
        ASSERT_EQ(0, RegOpenKeyExA(HKEY_LOCAL_MACHINE, product.c_str(), 0, KEY_ALL_ACCESS | kView32, key.put()));
        EXPECT_EQ(0, RegDeleteTreeA(key.get(), "Random"));
    }
}
