#include "CTambRegistry.h"

#include "ImportHook.h"
#include "RegistrySupport.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

using namespace testsupport;

namespace {

const std::string kProduct = "SOFTWARE\\Brannoch\\BN Drosvane Backup";
const std::string kBrandRoot = "SOFTWARE\\SetupCLSTest\\Brand Product";

typedef int (*StaticGetter)(char*, unsigned long&, HKEY);

tagProductStruct Record(unsigned long code)
{
    tagProductStruct record;
    memset(&record, 0xA5, sizeof(record));  // the bytes not interpreted here must survive
    record.dwProductCode = code;
    record.wVersionNumber = 0x0706;
    record.wBuildNumber = static_cast<unsigned short>(1000 + code);
    record.chSubType = 2;
    record.dwUserLevel = 3;
    return record;
}

std::string Get(StaticGetter getter, HKEY root = nullptr)
{
    char buffer[MAX_PATH];
    unsigned long size = sizeof(buffer);
    if (!getter(buffer, size, root))
        return buffer[0] ? "<dirty buffer>" : "<none>";
    return std::string(buffer, size - 1);
}

// Writes value "<i>" under each key of the list (32-bit view, where the 32-bit installers of
// every generation wrote), then checks that the getter answers them newest first, deleting
// each answer in turn; at the end nothing is left and the getter answers nothing.
void ExpectFallbackOrder(const std::vector<std::string>& keys, const char* value, StaticGetter getter)
{
    for (size_t i = 0; i < keys.size(); ++i)
        ASSERT_TRUE(RegWriteText(kView32, keys[i], value, std::to_string(i)));
    for (size_t i = 0; i < keys.size(); ++i) {
        EXPECT_EQ(std::to_string(i), Get(getter)) << value << " should come from " << keys[i];
        RegDeleteValueIn(kView32, keys[i], value);
    }
    EXPECT_EQ("<none>", Get(getter));
    // The native 64-bit view is not where this 32-bit library reads.
    ASSERT_TRUE(RegWriteText(kView64, keys[0], value, "native"));
    EXPECT_EQ("<none>", Get(getter)) << value;
}

class CTambRegistryTest : public ::testing::Test {
protected:
    CTambRegistryTest() { SetCurrentDirectoryA(m_dir.path().c_str()); }

    ~CTambRegistryTest() override
    {
        // Back to the default root strings for the next test, then out of the folder so that
        // it can go.
        SetCurrentDirectoryA(ExeDir().c_str());
        CTambRegistry reset;
    }

    void Install(const char* fixture) { ASSERT_TRUE(CopyFixture(fixture, m_dir / fixture)); }

    CSettings Settings(int productType)
    {
        CSettings settings;
        settings.LogFile((m_dir / "setup.log").c_str());
        settings.ProductType(productType);
        settings.DrosvanePath("C:\\Drosvane");
        settings.RegisteredUser("User");
        settings.RegisteredCompany("Company");
        settings.InstallManager(TRUE);
        settings.InstallServer(TRUE);
        settings.InstallDBType(2);
        return settings;
    }

    std::string Log() const { return ReadFileBytes(m_dir / "setup.log"); }

    ScopedCurrentDir m_cwd;
    TempDir m_dir;
    ScopedRegistryKeys m_keys{{"SOFTWARE\\Brannoch", "SOFTWARE\\Tamberly", "SOFTWARE\\SetupCLSTest"}};
};

}  // namespace

TEST_F(CTambRegistryTest, DefaultRootsAndTraceWithoutQwtool)
{
    CSettings settings = Settings(105);
    settings.ProductSubType(2);
    CTambRegistry reg(settings);
    EXPECT_STREQ("SOFTWARE\\Brannoch", CTambRegistry::m_sTamberlyKey);
    EXPECT_EQ(kProduct, CTambRegistry::GetDrosvaneKey());
    EXPECT_EQ(kProduct + "\\Base", CTambRegistry::GetDrosvaneBaseKey());
    EXPECT_EQ(kProduct + "\\Products", CTambRegistry::GetQuellmarshProdKey());
    EXPECT_EQ(kProduct + "\\ClientAgent\\Common", std::string(CTambRegistry::m_sAgentKey));
    EXPECT_STREQ("BN Drosvane Backup", CTambRegistry::m_sDrosvane);
    EXPECT_STREQ("BN Drosvane Backup", CTambRegistry::GetQuellmarshProdRootKey());
    EXPECT_STREQ("QuellmarshEB", CTambRegistry::GetQuellmarshProdName()) << "sub type 2, no batch work";
    EXPECT_EQ(static_cast<unsigned long>(KEY_WRITE), reg.AccessMode());
    EXPECT_NE(std::string::npos, Log().find("\tLoad QWTOOL.DLL fail\r\n")) << Log();

    settings.ProductSubType(1);
    CTambRegistry standard(settings);
    EXPECT_STREQ("QuellmarshAB", CTambRegistry::GetQuellmarshProdName());
}

TEST_F(CTambRegistryTest, RootStringsAndRecordNameComeFromTheHelperLibraries)
{
    Install("QWTOOL.DLL");
    Install("BRAND.dll");
    ScopedEnv brand("QWTOOL_FIXTURE_BRAND", "SOFTWARE\\SetupCLSTest");
    ScopedEnv root("QWTOOL_FIXTURE_ROOT", kBrandRoot.c_str());
    ScopedEnv base("QWTOOL_FIXTURE_BASE", nullptr);
    ScopedEnv product("BRAND_FIXTURE_PRODUCT", "VendorAB");

    CTambRegistry reg(1);
    EXPECT_STREQ("SOFTWARE\\SetupCLSTest", CTambRegistry::m_sTamberlyKey);
    EXPECT_EQ(kBrandRoot, CTambRegistry::GetDrosvaneKey());
    EXPECT_EQ(kBrandRoot + "\\Base", CTambRegistry::GetDrosvaneBaseKey()) << "no Base answer: root + \\Base";
    EXPECT_EQ(kBrandRoot + "\\Products", CTambRegistry::GetQuellmarshProdKey());
    EXPECT_EQ(kBrandRoot + "\\ClientAgent\\Common", std::string(CTambRegistry::m_sAgentKey));
    EXPECT_STREQ("Brand Product", CTambRegistry::m_sDrosvane);
    EXPECT_STREQ("Brand Product", CTambRegistry::m_sQuellmarshProdKey);
    EXPECT_STREQ("VendorAB", CTambRegistry::GetQuellmarshProdName()) << "BRAND.dll ordinal 101";

    CSettings settings = Settings(105);
    CTambRegistry fromSettings(settings);
    EXPECT_STREQ("QuellmarshAB", CTambRegistry::GetQuellmarshProdName()) << "no batch work: from the settings";
    EXPECT_EQ(std::string::npos, Log().find("QWTOOL")) << Log();

    // The static setters follow the last construction.
    ScopedEnv elsewhere("QWTOOL_FIXTURE_BASE", "SOFTWARE\\SetupCLSTest\\Elsewhere");
    CTambRegistry again;
    ASSERT_TRUE(CTambRegistry::SetDrosvaneHomeDir("C:\\Vendor\\"));
    EXPECT_EQ("C:\\Vendor\\", RegReadText(kView32, "SOFTWARE\\SetupCLSTest\\Elsewhere\\Path", "HOME"));
}

TEST_F(CTambRegistryTest, LocalNameInAnotherCaseIsLocalAnotherNameKeepsToTheCache)
{
    char name[MAX_COMPUTERNAME_LENGTH + 1] = {};
    DWORD length = sizeof(name);
    ASSERT_TRUE(GetComputerNameA(name, &length));
    CString lower(name);
    lower.MakeLower();
    ASSERT_STRNE(name, lower) << "the computer name needs letters for this test";
    ASSERT_TRUE(CTambRegistry::SetDrosvaneHomeDir("C:\\Local\\"));
    tagProductStruct record = Record(7);
    ASSERT_TRUE(RegWriteBinary(kView32, kProduct + "\\Products", "QuellmarshAB", &record, sizeof(record)));

    CTambRegistry local(1, lower);
    EXPECT_STREQ("", local.MachineName());
    EXPECT_STREQ("C:\\Local\\", local.GetDrosvaneHomeDir());
    EXPECT_TRUE(local.IsDrosvaneInstalled());

    // Wine answers 53 (network path not found) for any other machine.
    CTambRegistry remote(Settings(105), 0, "SETUPCLS-NOHOST");
    EXPECT_STREQ("SETUPCLS-NOHOST", remote.MachineName());
    EXPECT_NE(std::string::npos, Log().find("\tConnect to the registry of SETUPCLS-NOHOST failed (53)")) << Log();
    EXPECT_EQ(1, remote.Read());
    EXPECT_STREQ("", remote.GetDrosvaneHomeDir()) << "this machine's value must not stand in";
    EXPECT_FALSE(remote.IsDrosvaneInstalled());
    EXPECT_EQ(0u, remote.GetDrosvaneProductCode());
    CTambRegistry copy(remote);
    CTambRegistry assigned;
    assigned = copy;
    EXPECT_STREQ("SETUPCLS-NOHOST", assigned.MachineName());
    EXPECT_STREQ("", assigned.GetDrosvaneLogDir());
}

namespace {

// Wine cannot connect to another machine's registry and its WNetCancelConnection2A is a stub,
// so these calls are intercepted: the "remote" root is a key of this registry, and the cancels
// and key closes the library makes are recorded.
const std::string kStandIn = "SOFTWARE\\SetupCLSTest\\Remote";
HKEY g_standIn = nullptr;
std::string g_connected;
std::vector<std::string> g_cancelled;
std::vector<HKEY> g_closed;

LONG WINAPI FakeConnect(LPCSTR machine, HKEY, PHKEY result)
{
    g_connected = machine;
    LONG status = RegOpenKeyExA(HKEY_LOCAL_MACHINE, kStandIn.c_str(), 0, KEY_READ, result);
    g_standIn = status == ERROR_SUCCESS ? *result : nullptr;
    return status;
}

DWORD WINAPI FakeCancel(LPCSTR name, DWORD flags, BOOL force)
{
    g_cancelled.push_back(std::string(name) + "|" + std::to_string(flags) + "|" + std::to_string(force));
    return NO_ERROR;
}

LONG WINAPI RecordingClose(HKEY key)
{
    g_closed.push_back(key);
    return RegCloseKey(key);
}

class CTambRegistryIntercepted : public CTambRegistryTest {};

}  // namespace

TEST_F(CTambRegistryIntercepted, RemoteRootIsReadSharedByCopiesAndReleasedOnce)
{
    ScopedImportHook connect("ADVAPI32.dll", "RegConnectRegistryA", reinterpret_cast<const void*>(&FakeConnect));
    ScopedImportHook cancel("MPR.dll", "WNetCancelConnection2A", reinterpret_cast<const void*>(&FakeCancel));
    ScopedImportHook close("ADVAPI32.dll", "RegCloseKey", reinterpret_cast<const void*>(&RecordingClose));
    ASSERT_TRUE(connect.installed() && cancel.installed() && close.installed());
    g_connected.clear();
    g_cancelled.clear();
    ASSERT_TRUE(RegWriteText(kView32, kStandIn + "\\" + kProduct + "\\Base\\Path", "HOME", "D:\\Remote\\"));
    ASSERT_TRUE(CTambRegistry::SetDrosvaneHomeDir("C:\\Local\\"));

    {
        CTambRegistry local(0, nullptr);
        EXPECT_STREQ("C:\\Local\\", local.GetDrosvaneHomeDir());
    }
    EXPECT_EQ("", g_connected);
    EXPECT_TRUE(g_cancelled.empty()) << "a local object cancels no connection";

    {
        CTambRegistry remote(0, "OTHERHOST");
        EXPECT_EQ("OTHERHOST", g_connected);
        {
            CTambRegistry copy(remote);
            EXPECT_STREQ("D:\\Remote\\", copy.GetDrosvaneHomeDir());
        }
        EXPECT_TRUE(g_cancelled.empty()) << "the copy shares the connection";
        EXPECT_STREQ("D:\\Remote\\", remote.GetDrosvaneHomeDir());
        EXPECT_TRUE(CTambRegistry::SetDrosvaneHomeDir("C:\\Written\\")) << "static setters stay local";
        g_closed.clear();
    }
    EXPECT_EQ(std::vector<std::string>{"\\\\OTHERHOST\\ipc$|0|1"}, g_cancelled);
    EXPECT_EQ(1, std::count(g_closed.begin(), g_closed.end(), g_standIn));
    EXPECT_EQ("C:\\Written\\", RegReadText(kView32, kProduct + "\\Base\\Path", "HOME"));
}

TEST_F(CTambRegistryTest, WriteByProductTypeAndCopyOnlyMode)
{
    const std::string base = kProduct + "\\Base";
    for (int type : {105, 133}) {
        ScopedRegistryKeys written({"SOFTWARE\\Brannoch"});
        CTambRegistry reg(Settings(type));
        EXPECT_EQ(1, reg.Write()) << type;
        EXPECT_EQ("C:\\Drosvane\\", RegReadText(kView32, base + "\\Path", "HOME"));
        EXPECT_EQ("C:\\Drosvane\\DATABASE", RegReadText(kView32, base + "\\Path", "DATABASE"));
        EXPECT_EQ("C:\\Drosvane\\LOG", RegReadText(kView32, base + "\\Path", "LOG"));
        EXPECT_EQ("C:\\Drosvane\\TEMP", RegReadText(kView32, base + "\\Path", "TEMP"));
        EXPECT_EQ("User", RegReadText(kView32, base + "\\User", "Name"));
        EXPECT_EQ("Company", RegReadText(kView32, base + "\\User", "Org"));
        EXPECT_EQ(1u, RegReadNumber(kView32, base + "\\Components", "MANAGER"));
        EXPECT_EQ(1u, RegReadNumber(kView32, base + "\\Components", "SERVER"));
        EXPECT_EQ(0u, RegReadNumber(kView32, base + "\\Components", "ADMIN"));
        EXPECT_EQ(2u, RegReadNumber(kView32, base + "\\Database", "DatabaseType"));
        EXPECT_FALSE(RegKeyExists(kView64, "SOFTWARE\\Brannoch")) << "a 32-bit library writes the 32-bit view";
    }
    {
        ScopedRegistryKeys written({"SOFTWARE\\Brannoch"});
        CTambRegistry other(Settings(7), 1);
        EXPECT_EQ(1, other.Write());
        EXPECT_FALSE(RegKeyExists(kView32, "SOFTWARE\\Brannoch")) << "another product type writes nothing";
    }
    {
        ScopedRegistryKeys written({"SOFTWARE\\Brannoch"});
        CSettings settings = Settings(105);
        settings.IsCopyOnlyMode(TRUE);
        settings.InstallServer(FALSE);
        CTambRegistry copyOnly(settings, 1);
        EXPECT_FALSE(RegKeyExists(kView32, base + "\\Path"));
        EXPECT_FALSE(RegKeyExists(kView32, base + "\\User"));
        EXPECT_FALSE(RegKeyExists(kView32, base + "\\Database")) << "no server";
        EXPECT_EQ(1u, RegReadNumber(kView32, base + "\\Components", "MANAGER"));
        EXPECT_EQ(0u, RegReadNumber(kView32, base + "\\Components", "SERVER"));
        EXPECT_EQ(0u, RegReadNumber(kView32, base + "\\Components", "ADMIN"));
    }
}

TEST_F(CTambRegistryTest, WriteNeedsExactlyWriteAccessAndRunsEveryStep)
{
    const std::string base = kProduct + "\\Base";
    CTambRegistry reader(Settings(105));
    reader.Read();
    EXPECT_EQ(static_cast<unsigned long>(KEY_WRITE | KEY_READ), reader.AccessMode());
    EXPECT_EQ(0, reader.Write());
    CTambRegistry readOnly(0);
    EXPECT_EQ(0, readOnly.Write());
    EXPECT_EQ(0, readOnly.SetDrosvaneManager()) << "no right to write";
    EXPECT_FALSE(RegKeyExists(kView32, "SOFTWARE\\Brannoch"));

    // Without a product path the directories fail; the other steps still run.
    CSettings settings = Settings(133);
    settings.DrosvanePath("");
    CTambRegistry reg(settings);
    EXPECT_EQ(0, reg.Write());
    EXPECT_FALSE(RegKeyExists(kView32, base + "\\Path"));
    EXPECT_EQ("User", RegReadText(kView32, base + "\\User", "Name"));
    EXPECT_EQ(1u, RegReadNumber(kView32, base + "\\Components", "SERVER"));
    EXPECT_EQ(2u, RegReadNumber(kView32, base + "\\Database", "DatabaseType"));
}

TEST_F(CTambRegistryTest, DirectoryGettersFallBackInTheirOwnOrders)
{
    Install("QWTOOL.DLL");
    ScopedEnv root("QWTOOL_FIXTURE_ROOT", kBrandRoot.c_str());
    CTambRegistry brand;  // the product key differs from the fixed current generation's

    SCOPED_TRACE("HOME");
    ExpectFallbackOrder({kBrandRoot + "\\Base\\Path",
                         "SOFTWARE\\Brannoch\\Quellmarsh Drosvane Backup\\Base\\Path",
                         "SOFTWARE\\Brannoch\\DrosvaneIT\\Base\\Path",
                         "SOFTWARE\\Tamberly\\Drosvane\\CurrentVersion\\Path",
                         "SOFTWARE\\Brannoch\\Kestrix\\Base\\Path",
                         "SOFTWARE\\Brannoch\\BN Drosvane Backup\\Base\\Path",
                         "SOFTWARE\\Brannoch\\Quellmarsh Enterprise Backup\\Base\\Path"},
                        "HOME", &CTambRegistry::GetDrosvaneHomeDir);
    const std::vector<std::string> directories = {kBrandRoot + "\\Base\\Path",
                                                  "SOFTWARE\\Brannoch\\DrosvaneIT\\Base\\Path",
                                                  "SOFTWARE\\Tamberly\\Drosvane\\CurrentVersion\\Path",
                                                  "SOFTWARE\\Brannoch\\Kestrix\\Base\\Path",
                                                  "SOFTWARE\\Brannoch\\Quellmarsh Drosvane Backup\\Base\\Path",
                                                  "SOFTWARE\\Brannoch\\BN Drosvane Backup\\Base\\Path",
                                                  "SOFTWARE\\Brannoch\\Quellmarsh Enterprise Backup\\Base\\Path"};
    ExpectFallbackOrder(directories, "DATABASE", &CTambRegistry::GetDrosvaneDBDir);
    ExpectFallbackOrder(directories, "LOG", &CTambRegistry::GetDrosvaneLogDir);
    ExpectFallbackOrder(directories, "TEMP", &CTambRegistry::GetDrosvaneTempDir);
    ExpectFallbackOrder({kBrandRoot + "\\ClientAgent\\Common",
                         "SOFTWARE\\Brannoch\\DrosvaneIT\\ClientAgent\\Common",
                         "SOFTWARE\\Tamberly\\DrosvaneAgent\\CurrentVersion\\Common",
                         "SOFTWARE\\Brannoch\\Kestrix\\ClientAgent\\Common",
                         "SOFTWARE\\Brannoch\\Quellmarsh Drosvane Backup\\ClientAgent\\Common",
                         "SOFTWARE\\Brannoch\\BN Drosvane Backup\\ClientAgent\\Common"},
                        "Path", &CTambRegistry::GetAgentHomeDir);
}

TEST_F(CTambRegistryTest, OldestGenerationHomeAndTheLocalHomeReader)
{
    ASSERT_TRUE(RegWriteText(kView32, "SOFTWARE\\Tamberly\\Drosvane\\CurrentVersion\\Path", "HOME", "C:\\Old\\"));
    CTambRegistry reg(1);
    EXPECT_STREQ("C:\\Old\\", reg.GetDrosvaneHomeDir());

    char buffer[MAX_PATH];
    unsigned long size = sizeof(buffer);
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, CTambRegistry::GetTalvikDrosvane_LocalHomeDir(buffer, size))
        << "reads the current generation only";
    ASSERT_TRUE(CTambRegistry::SetDrosvaneHomeDir("C:\\Current\\"));
    size = sizeof(buffer);
    EXPECT_EQ(ERROR_SUCCESS, CTambRegistry::GetTalvikDrosvane_LocalHomeDir(buffer, size));
    EXPECT_STREQ("C:\\Current\\", buffer);
    EXPECT_EQ(12u, size);
    size = 5;
    EXPECT_EQ(ERROR_MORE_DATA, CTambRegistry::GetTalvikDrosvane_LocalHomeDir(buffer, size));
    EXPECT_STREQ("", buffer);
}

TEST_F(CTambRegistryTest, ProductRecordLookupOrder)
{
    struct Place {
        std::string key;
        const char* name;
    };
    const Place places[] = {{kProduct + "\\Products", "QuellmarshAB"},
                            {"SOFTWARE\\Brannoch\\Quellmarsh Drosvane Backup\\Products", "QuellmarshAB"},
                            {"SOFTWARE\\Brannoch\\DrosvaneIT\\Products", "Drosvane"},
                            {"SOFTWARE\\Tamberly\\Products", "Omnivale125Backup"},
                            {"SOFTWARE\\Brannoch\\Kestrix\\Products", "QuellmarshEB"},
                            {"SOFTWARE\\Brannoch\\Quellmarsh Enterprise Backup\\Products", "QuellmarshEB"}};
    for (size_t i = 0; i < 6; ++i) {
        tagProductStruct record = Record(i + 1);
        ASSERT_TRUE(RegWriteBinary(kView32, places[i].key, places[i].name, &record, sizeof(record)));
    }
    // A value of another size under the first place is no record.
    ASSERT_TRUE(RegWriteBinary(kView32, places[0].key, "QuellmarshAB", "short", 5));
    for (size_t i = 1; i < 6; ++i) {
        tagProductStruct read;
        ASSERT_TRUE(CTambRegistry::GetDrosvaneProductInfo(&read));
        tagProductStruct expected = Record(i + 1);
        EXPECT_EQ(0, memcmp(&expected, &read, sizeof(read))) << "expected the record at " << places[i].key;
        RegDeleteValueIn(kView32, places[i].key, places[i].name);
    }
    tagProductStruct none;
    memset(&none, 1, sizeof(none));
    EXPECT_FALSE(CTambRegistry::GetDrosvaneProductInfo(&none));
    EXPECT_EQ(0u, none.dwProductCode | none.dwUserLevel) << "zeroed";

    // By name: "PM" lives under the patch manager's key only; other names through every
    // generation, the agent's Products key included.
    tagProductStruct pm = Record(50), misplaced = Record(51), agent = Record(52);
    ASSERT_TRUE(RegWriteBinary(kView32, kProduct + "\\Products", "PM", &misplaced, sizeof(misplaced)));
    EXPECT_FALSE(CTambRegistry::IsProductInstalled("PM"));
    ASSERT_TRUE(RegWriteBinary(kView32, kProduct + " Patch Manager\\Products", "PM", &pm, sizeof(pm)));
    EXPECT_EQ(50u, CTambRegistry::GetProductCode("PM"));
    ASSERT_TRUE(RegWriteBinary(kView32, "SOFTWARE\\Tamberly\\DSAgent\\CurrentVersion\\Products", "Agent", &agent,
                               sizeof(agent)));
    EXPECT_EQ(52u, CTambRegistry::GetProductCode("Agent"));
    EXPECT_EQ(0x0706, CTambRegistry::GetVersionNumber("Agent"));
    EXPECT_EQ(1052, CTambRegistry::GetBuildNumber("Agent"));
    EXPECT_EQ(2, CTambRegistry::GetSubType("Agent"));
    EXPECT_FALSE(CTambRegistry::IsProductInstalled("Missing"));
}

TEST_F(CTambRegistryTest, ReadFillsTheCacheThatGettersKeepWhenValuesGo)
{
    CTambRegistry cached;
    {
        ScopedRegistryKeys values({"SOFTWARE\\Brannoch"});
        ASSERT_TRUE(CTambRegistry::SetDrosvaneHomeDir("C:\\D\\"));
        ASSERT_TRUE(CTambRegistry::SetDrosvaneDBDir("C:\\D\\DATABASE"));
        ASSERT_TRUE(CTambRegistry::SetDrosvaneLogDir("C:\\D\\LOG"));
        ASSERT_TRUE(CTambRegistry::SetDrosvaneTempDir("C:\\D\\TEMP"));
        ASSERT_TRUE(CTambRegistry::SetAgentHomeDir("C:\\Agent\\"));
        ASSERT_TRUE(RegWriteText(kView32, "SOFTWARE\\Brannoch\\ALERT\\CurrentVersion\\Path", "HOME", "C:\\Alert\\"));
        ASSERT_TRUE(RegWriteText(kView32, "SOFTWARE\\Brannoch\\ALERT\\CurrentVersion", "CurrentBuildNumber", "1234"));
        tagProductStruct record = Record(9);
        ASSERT_TRUE(RegWriteBinary(kView32, kProduct + "\\Products", "QuellmarshAB", &record, sizeof(record)));
        CTambRegistry reg(1);
        EXPECT_EQ(static_cast<unsigned long>(KEY_READ), reg.AccessMode());
        cached = reg;
    }
    ASSERT_FALSE(RegKeyExists(kView32, "SOFTWARE\\Brannoch"));
    EXPECT_STREQ("C:\\D\\", cached.GetDrosvaneHomeDir());
    EXPECT_STREQ("C:\\D\\DATABASE", cached.GetDrosvaneDBDir());
    EXPECT_STREQ("C:\\D\\LOG", cached.GetDrosvaneLogDir());
    EXPECT_STREQ("C:\\D\\TEMP", cached.GetDrosvaneTempDir());
    EXPECT_STREQ("C:\\Agent\\", cached.GetClientAgentHomeDir());
    EXPECT_STREQ("C:\\Alert\\", cached.GetAlertHomeDir());
    EXPECT_EQ(1234, cached.GetAlertBuildNumber());
    EXPECT_EQ(9u, cached.GetDrosvaneProductCode());
    EXPECT_EQ(3u, cached.GetDrosvaneUserLevel());
    EXPECT_EQ(0x0706, cached.GetDrosvaneVersionNumber());
    EXPECT_EQ(1009, cached.GetDrosvaneBuildNumber());
    EXPECT_EQ(0, cached.GetDrosvaneSubType()) << "Read does not fill the sub type";
    EXPECT_FALSE(cached.IsDrosvaneInstalled());
}

TEST(CTambRegistryKeys, Wow6432NodeGoesAfterTheFirstComponent)
{
    EXPECT_STREQ("SOFTWARE\\Wow6432Node\\Brannoch\\BN Drosvane Backup\\Base\\Path",
                 CTambRegistry::Wow6432Node("SOFTWARE\\Brannoch\\BN Drosvane Backup\\Base\\Path"));
    EXPECT_STREQ("SOFTWARE\\Wow6432Node", CTambRegistry::Wow6432Node("SOFTWARE"));
    EXPECT_STREQ("", CTambRegistry::Wow6432Node(""));
}

TEST_F(CTambRegistryTest, BadInput)
{
    unsigned long size = MAX_PATH;
    EXPECT_FALSE(CTambRegistry::GetDrosvaneHomeDir(nullptr, size));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, CTambRegistry::GetTalvikDrosvane_LocalHomeDir(nullptr, size));
    EXPECT_FALSE(CTambRegistry::GetDrosvaneProductInfo(nullptr));
    EXPECT_FALSE(CTambRegistry::GetProductInfo(nullptr, nullptr));
    EXPECT_FALSE(CTambRegistry::IsProductInstalled(""));
    EXPECT_FALSE(CTambRegistry::GetAlertBuildNumber(nullptr));
    EXPECT_FALSE(CTambRegistry::SetDrosvaneHomeDir(nullptr));
    EXPECT_FALSE(CTambRegistry::SetAgentHomeDir(nullptr));
    EXPECT_FALSE(RegKeyExists(kView32, "SOFTWARE\\Brannoch"));

    // A value too long for the buffer ends the walk: an older generation's does not stand in.
    ASSERT_TRUE(CTambRegistry::SetDrosvaneHomeDir("C:\\Longer\\"));
    ASSERT_TRUE(RegWriteText(kView32, "SOFTWARE\\Brannoch\\Quellmarsh Drosvane Backup\\Base\\Path", "HOME", "C:"));
    char small[4] = {'x', 'x', 'x', 'x'};
    size = sizeof(small);
    EXPECT_FALSE(CTambRegistry::GetDrosvaneHomeDir(small, size));
    EXPECT_EQ('\0', small[0]);
    EXPECT_EQ(11u, size) << "the bytes needed";
    size = 0;
    EXPECT_FALSE(CTambRegistry::GetDrosvaneHomeDir(small, size));

    // A HOME longer than the object's buffer keeps the cached text.
    ASSERT_TRUE(CTambRegistry::SetDrosvaneHomeDir(std::string(300, 'h').c_str()));
    CTambRegistry reg(1);
    EXPECT_STREQ("", reg.GetDrosvaneHomeDir());

    // Helper texts that fill the whole 260-byte buffer are cut to 259 characters.
    Install("QWTOOL.DLL");
    ScopedEnv root("QWTOOL_FIXTURE_ROOT", ("SOFTWARE\\" + std::string(400, 'r')).c_str());
    CTambRegistry longRoot(0, std::string(40, 'M').c_str());
    EXPECT_EQ(259u, strlen(CTambRegistry::GetDrosvaneKey()));
    EXPECT_EQ(std::string(250, 'r'), CTambRegistry::m_sDrosvane.str());
    EXPECT_EQ(std::string(40, 'M'), longRoot.MachineName()) << "too long for a local name: remote";
    CTambRegistry empty(0, "");
    EXPECT_STREQ("", empty.MachineName());
}
