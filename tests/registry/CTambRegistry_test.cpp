#include "CTambRegistry.h"

#include "RegistrySupport.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

using namespace testsupport;

namespace {

const std::string kProduct = "SOFTWARE\\Brannoch\\BN Drosvane Backup";
const std::string kBase = kProduct + "\\Base";
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

std::string Get(StaticGetter getter)
{
    char buffer[MAX_PATH];
    unsigned long size = sizeof(buffer);
    if (!getter(buffer, size, nullptr))
        return buffer[0] ? "<dirty buffer>" : "<none>";
    return std::string(buffer, size - 1);
}

// Every value Write may put under the product's Base key, in the 32-bit view.
std::string Written()
{
    const std::pair<const char*, const char*> values[] = {
        {"\\Path", "HOME"},          {"\\Path", "DATABASE"},      {"\\Path", "LOG"},
        {"\\Path", "TEMP"},          {"\\User", "Name"},          {"\\User", "Org"},
        {"\\Components", "MANAGER"}, {"\\Components", "SERVER"}, {"\\Components", "ADMIN"},
        {"\\Database", "DatabaseType"}};
    std::string all;
    for (const auto& value : values)
        all += (all.empty() ? "" : "|") + RegRead(kView32, kBase + value.first, value.second);
    return all;
}
const char kNothingWritten[] = "-|-|-|-|-|-|-|-|-|-";

// Writes "<i>" under each key of the list, in the 32-bit view where the 32-bit installers of
// every generation wrote, then expects the getter to answer them in list order, deleting each
// answer in turn, and nothing at the end. The native 64-bit view is not read.
void ExpectFallbackOrder(const std::vector<std::string>& keys, const char* value, StaticGetter getter)
{
    SCOPED_TRACE(value);
    for (size_t i = 0; i < keys.size(); ++i)
        ASSERT_TRUE(RegWrite(kView32, keys[i], value, std::to_string(i)));
    for (size_t i = 0; i < keys.size(); ++i) {
        EXPECT_EQ(std::to_string(i), Get(getter)) << "expected from " << keys[i];
        RegDeleteValueIn(kView32, keys[i], value);
    }
    ASSERT_TRUE(RegWrite(kView64, keys[0], value, "native"));
    EXPECT_EQ("<none>", Get(getter));
}

class CTambRegistryTest : public ::testing::Test {
protected:
    CTambRegistryTest() { SetCurrentDirectoryA(m_dir.path().c_str()); }
    ~CTambRegistryTest() override
    {
        // Back to the default root strings for the next test, away from the folder that goes.
        SetCurrentDirectoryA(ExeDir().c_str());
        CTambRegistry reset;
    }

    void Install(const char* fixture) { ASSERT_TRUE(CopyFixture(fixture, m_dir / fixture)); }
    std::string Log() const { return ReadFileBytes(m_dir / "setup.log"); }

    CSettings Settings(int productType)
    {
        CSettings settings;
        settings.LogFile((m_dir / "setup.log").c_str());
        settings.ProductType(productType);
        settings.DrosvanePath("C:\\Drosvane");
        settings.RegisteredUser("User");
        settings.RegisteredCompany("Company");
        settings.Components(CSettings::INSTALL_MANAGER | CSettings::INSTALL_SERVER);
        return settings;
    }

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
    EXPECT_EQ(kBase, CTambRegistry::GetDrosvaneBaseKey());
    EXPECT_EQ(kProduct + "\\Products", CTambRegistry::GetQuellmarshProdKey());
    EXPECT_EQ(kProduct + "\\ClientAgent\\Common", CTambRegistry::m_sAgentKey.str());
    EXPECT_STREQ("BN Drosvane Backup", CTambRegistry::m_sDrosvane);
    EXPECT_STREQ("BN Drosvane Backup", CTambRegistry::GetQuellmarshProdRootKey());
    EXPECT_STREQ("QuellmarshEB", CTambRegistry::GetQuellmarshProdName()) << "sub type 2, no batch work";
    EXPECT_EQ(static_cast<unsigned long>(KEY_WRITE), reg.AccessMode());
    EXPECT_NE(std::string::npos, Log().find("\tLoad QWTOOL.DLL fail\r\n")) << Log();
}

TEST_F(CTambRegistryTest, RootStringsAndRecordNameComeFromTheHelperLibraries)
{
    Install("QWTOOL.DLL");
    Install("BRAND.dll");
    ScopedEnv brand("QWTOOL_BRAND_ANSWER", "SOFTWARE\\SetupCLSTest");
    ScopedEnv root("QWTOOL_ROOT_ANSWER", kBrandRoot.c_str());
    ScopedEnv product("BRAND_FIXTURE_PRODUCT", "VendorAB");

    CTambRegistry reg(1);
    EXPECT_STREQ("SOFTWARE\\SetupCLSTest", CTambRegistry::m_sTamberlyKey);
    EXPECT_EQ(kBrandRoot, CTambRegistry::GetDrosvaneKey());
    EXPECT_EQ(kBrandRoot + "\\Base", CTambRegistry::GetDrosvaneBaseKey()) << "no Base answer: root + \\Base";
    EXPECT_EQ(kBrandRoot + "\\ClientAgent\\Common", CTambRegistry::m_sAgentKey.str());
    EXPECT_STREQ("Brand Product", CTambRegistry::m_sDrosvane);
    EXPECT_STREQ("Brand Product", CTambRegistry::m_sQuellmarshProdKey);
    EXPECT_STREQ("VendorAB", CTambRegistry::GetQuellmarshProdName()) << "BRAND.dll ordinal 101";

    CTambRegistry fromSettings(Settings(105));
    EXPECT_EQ(std::string::npos, Log().find("QWTOOL")) << Log();

    // The static setters follow the last construction.
    ScopedEnv base("QWTOOL_BASE_ANSWER", "SOFTWARE\\SetupCLSTest\\Elsewhere");
    CTambRegistry again;
    ASSERT_TRUE(CTambRegistry::SetDrosvaneHomeDir("C:\\Vendor\\"));
    EXPECT_EQ("C:\\Vendor\\", RegRead(kView32, "SOFTWARE\\SetupCLSTest\\Elsewhere\\Path", "HOME"));
}

TEST_F(CTambRegistryTest, LocalNameInAnotherCaseIsLocalAnUnreachableMachineKeepsToTheCache)
{
    char name[MAX_COMPUTERNAME_LENGTH + 1] = {};
    DWORD length = sizeof(name);
    ASSERT_TRUE(GetComputerNameA(name, &length));
    CString lower(name);
    ASSERT_STRNE(name, lower.MakeLower()) << "the computer name needs letters for this test";
    ASSERT_TRUE(CTambRegistry::SetDrosvaneHomeDir("C:\\Local\\"));
    tagProductStruct record = Record(7);
    ASSERT_TRUE(RegWrite(kView32, kProduct + "\\Products", "QuellmarshAB", &record, sizeof(record)));

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
    CTambRegistry assigned;
    assigned = CTambRegistry(remote);
    EXPECT_STREQ("SETUPCLS-NOHOST", assigned.MachineName());
    EXPECT_STREQ("", assigned.GetDrosvaneLogDir());
}

TEST_F(CTambRegistryTest, WriteByProductTypeCopyOnlyModeAndAccess)
{
    for (int type : {105, 133}) {
        ScopedRegistryKeys written({"SOFTWARE\\Brannoch"});
        EXPECT_EQ(1, CTambRegistry(Settings(type)).Write()) << type;
        EXPECT_EQ("C:\\Drosvane\\|C:\\Drosvane\\DATABASE|C:\\Drosvane\\LOG|C:\\Drosvane\\TEMP|User|Company|1|1|0|2",
                  Written());
        EXPECT_FALSE(RegKeyExists(kView64, "SOFTWARE\\Brannoch")) << "a 32-bit library writes the 32-bit view";
    }
    EXPECT_EQ(1, CTambRegistry(Settings(7)).Write());
    EXPECT_EQ(kNothingWritten, Written()) << "another product type";

    CSettings copyOnly = Settings(105);
    copyOnly.IsCopyOnlyMode(TRUE);
    copyOnly.InstallServer(FALSE);
    CTambRegistry(copyOnly, 1);
    EXPECT_EQ("-|-|-|-|-|-|1|0|0|-", Written()) << "copy-only, no server";
}

TEST_F(CTambRegistryTest, WriteNeedsExactlyWriteAccessAndRunsEveryStep)
{
    CTambRegistry reader(Settings(105));
    reader.Read();
    EXPECT_EQ(static_cast<unsigned long>(KEY_WRITE | KEY_READ), reader.AccessMode());
    EXPECT_EQ(0, reader.Write());
    CTambRegistry readOnly(0);
    EXPECT_EQ(0, readOnly.Write());
    EXPECT_EQ(0, readOnly.SetDrosvaneManager()) << "no right to write";
    EXPECT_EQ(kNothingWritten, Written());

    CSettings noPath = Settings(133);
    noPath.DrosvanePath("");
    EXPECT_EQ(0, CTambRegistry(noPath).Write()) << "no product path: the directories fail";
    EXPECT_EQ("-|-|-|-|User|Company|1|1|0|2", Written()) << "the other steps still ran";
}

TEST_F(CTambRegistryTest, DirectoryGettersFallBackInTheirOwnOrders)
{
    Install("QWTOOL.DLL");
    ScopedEnv root("QWTOOL_ROOT_ANSWER", kBrandRoot.c_str());
    CTambRegistry brand;  // the product key now differs from the fixed current generation's

    const std::string it = "SOFTWARE\\Brannoch\\DrosvaneIT", v115 = "SOFTWARE\\Brannoch\\Quellmarsh Drosvane Backup",
                      kestrix = "SOFTWARE\\Brannoch\\Kestrix",
                      enterprise = "SOFTWARE\\Brannoch\\Quellmarsh Enterprise Backup\\Base\\Path",
                      oldest = "SOFTWARE\\Tamberly\\Drosvane\\CurrentVersion\\Path";
    ExpectFallbackOrder({kBrandRoot + "\\Base\\Path", v115 + "\\Base\\Path", it + "\\Base\\Path", oldest,
                         kestrix + "\\Base\\Path", kBase + "\\Path", enterprise},
                        "HOME", &CTambRegistry::GetDrosvaneHomeDir);
    const std::vector<std::string> directories = {kBrandRoot + "\\Base\\Path", it + "\\Base\\Path", oldest,
                                                  kestrix + "\\Base\\Path", v115 + "\\Base\\Path", kBase + "\\Path",
                                                  enterprise};
    ExpectFallbackOrder(directories, "DATABASE", &CTambRegistry::GetDrosvaneDBDir);
    ExpectFallbackOrder(directories, "LOG", &CTambRegistry::GetDrosvaneLogDir);
    ExpectFallbackOrder(directories, "TEMP", &CTambRegistry::GetDrosvaneTempDir);
    const std::string agent = "\\ClientAgent\\Common";
    ExpectFallbackOrder({kBrandRoot + agent, it + agent, "SOFTWARE\\Tamberly\\DrosvaneAgent\\CurrentVersion\\Common",
                         kestrix + agent, v115 + agent, kProduct + agent},
                        "Path", &CTambRegistry::GetAgentHomeDir);
}

TEST_F(CTambRegistryTest, OldestGenerationHomeAndTheLocalHomeReader)
{
    ASSERT_TRUE(RegWrite(kView32, "SOFTWARE\\Tamberly\\Drosvane\\CurrentVersion\\Path", "HOME", "C:\\Old\\"));
    EXPECT_STREQ("C:\\Old\\", CTambRegistry(1).GetDrosvaneHomeDir());

    char buffer[MAX_PATH];
    unsigned long size = sizeof(buffer);
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, CTambRegistry::GetTalvikDrosvane_LocalHomeDir(buffer, size))
        << "the current generation only";
    ASSERT_TRUE(CTambRegistry::SetDrosvaneHomeDir("C:\\Current\\"));
    EXPECT_EQ(ERROR_SUCCESS, CTambRegistry::GetTalvikDrosvane_LocalHomeDir(buffer, size));
    EXPECT_STREQ("C:\\Current\\", buffer);
    size = 5;
    EXPECT_EQ(ERROR_MORE_DATA, CTambRegistry::GetTalvikDrosvane_LocalHomeDir(buffer, size));
    EXPECT_STREQ("", buffer);
}

TEST_F(CTambRegistryTest, ProductRecordLookupOrder)
{
    const std::pair<std::string, const char*> places[] = {
        {kProduct + "\\Products", "QuellmarshAB"},
        {"SOFTWARE\\Brannoch\\Quellmarsh Drosvane Backup\\Products", "QuellmarshAB"},
        {"SOFTWARE\\Brannoch\\DrosvaneIT\\Products", "Drosvane"},
        {"SOFTWARE\\Tamberly\\Products", "Omnivale125Backup"},
        {"SOFTWARE\\Brannoch\\Kestrix\\Products", "QuellmarshEB"},
        {"SOFTWARE\\Brannoch\\Quellmarsh Enterprise Backup\\Products", "QuellmarshEB"}};
    for (size_t i = 0; i < 6; ++i) {
        tagProductStruct record = Record(i + 1);
        ASSERT_TRUE(RegWrite(kView32, places[i].first, places[i].second, &record, sizeof(record)));
    }
    CTambRegistry reg(1);
    EXPECT_EQ("1 3 1798 1001 2", std::to_string(reg.GetDrosvaneProductCode()) + " " + std::to_string(reg.GetDrosvaneUserLevel())
                                     + " " + std::to_string(reg.GetDrosvaneVersionNumber()) + " "
                                     + std::to_string(reg.GetDrosvaneBuildNumber()) + " " + std::to_string(reg.GetDrosvaneSubType()));
    for (size_t i = 0; i < 6; ++i) {
        tagProductStruct read, expected = Record(i + 1);
        ASSERT_TRUE(CTambRegistry::GetDrosvaneProductInfo(&read));
        EXPECT_EQ(0, memcmp(&expected, &read, sizeof(read))) << "expected the record at " << places[i].first;
        RegDeleteValueIn(kView32, places[i].first, places[i].second);
    }
    // A value of another size is no record; nothing found leaves a zeroed record, and the object
    // keeps what it read before.
    ASSERT_TRUE(RegWrite(kView32, places[0].first, places[0].second, "short", 5));
    tagProductStruct none;
    memset(&none, 1, sizeof(none));
    EXPECT_FALSE(CTambRegistry::GetDrosvaneProductInfo(&none));
    EXPECT_EQ(0u, none.dwProductCode | none.dwUserLevel);
    EXPECT_FALSE(reg.IsDrosvaneInstalled());
    EXPECT_EQ(1u, reg.GetDrosvaneProductCode());

    // By name, "PM" lives under the patch manager's key only.
    tagProductStruct pm = Record(50);
    ASSERT_TRUE(RegWrite(kView32, kProduct + "\\Products", "PM", &pm, sizeof(pm)));
    EXPECT_FALSE(CTambRegistry::IsProductInstalled("PM"));
    ASSERT_TRUE(RegWrite(kView32, kProduct + " Patch Manager\\Products", "PM", &pm, sizeof(pm)));
    EXPECT_EQ(50u, CTambRegistry::GetProductCode("PM"));
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
    EXPECT_FALSE(CTambRegistry::GetDrosvaneProductInfo(nullptr) || CTambRegistry::GetProductInfo(nullptr, nullptr)
                 || CTambRegistry::IsProductInstalled("") || CTambRegistry::GetAlertBuildNumber(nullptr));
    EXPECT_FALSE(CTambRegistry::SetDrosvaneHomeDir(nullptr) || CTambRegistry::SetAgentHomeDir(nullptr));
    EXPECT_FALSE(RegKeyExists(kView32, "SOFTWARE\\Brannoch"));

    // A value too long for the buffer ends the walk: an older generation's does not stand in.
    ASSERT_TRUE(CTambRegistry::SetDrosvaneHomeDir("C:\\Longer\\"));
    ASSERT_TRUE(RegWrite(kView32, "SOFTWARE\\Brannoch\\Quellmarsh Drosvane Backup\\Base\\Path", "HOME", "C:"));
    char small[4] = {'x', 'x', 'x', 'x'};
    size = sizeof(small);
    EXPECT_FALSE(CTambRegistry::GetDrosvaneHomeDir(small, size) || small[0] || size != 11) << "11 bytes needed";
    size = 0;
    EXPECT_FALSE(CTambRegistry::GetDrosvaneHomeDir(small, size));

    // A HOME longer than the object's buffer keeps the cached text.
    ASSERT_TRUE(CTambRegistry::SetDrosvaneHomeDir(std::string(300, 'h').c_str()));
    EXPECT_STREQ("", CTambRegistry(1).GetDrosvaneHomeDir());

    // Helper texts that fill the whole 260-byte buffer are cut to 259 characters; a machine
    // name too long to be this computer's is another machine.
    Install("QWTOOL.DLL");
    ScopedEnv root("QWTOOL_ROOT_ANSWER", ("SOFTWARE\\" + std::string(400, 'r')).c_str());
    CTambRegistry longRoot(0, std::string(40, 'M').c_str());
    EXPECT_EQ(259u, strlen(CTambRegistry::GetDrosvaneKey()));
    EXPECT_EQ(std::string(250, 'r'), CTambRegistry::m_sDrosvane.str());
    EXPECT_EQ(std::string(40, 'M'), longRoot.MachineName());
    EXPECT_STREQ("", CTambRegistry(0, "").MachineName());
}
