#include "CTambRegistry.h"

#include "ImportHook.h"
#include "RegistrySupport.h"
#include "TestSupport.h"

#include <gtest/gtest.h>
#include <winnetwk.h>

#include <cstring>
#include <sstream>
#include <string>
#include <vector>

using namespace testsupport;
using R = CTambRegistry;

namespace {

const std::string kMaker = "SOFTWARE\\Brannoch", kProduct = kMaker + "\\BN Drosvane Backup", kBase = kProduct + "\\Base";
const std::string kBrandRoot = "SOFTWARE\\SetupCLSTest\\Brand Product", kV115 = kMaker + "\\Quellmarsh Drosvane Backup";
const std::string kProducts = kProduct + "\\Products", kOldest = "SOFTWARE\\Tamberly\\Drosvane\\CurrentVersion";
const std::string kUninstall = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall";
const std::string kShared = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\SharedDLLs";

tagProductStruct Record(unsigned long code, unsigned short version = 0x0706)
{
    tagProductStruct record;
    memset(&record, 0xA5, sizeof(record));  // the bytes not interpreted here must survive
    record.dwProductCode = code;
    record.wVersionNumber = version;
    record.wBuildNumber = static_cast<unsigned short>(1000 + code);
    record.chSubType = 2;
    record.dwUserLevel = 3;
    return record;
}

bool WriteRecord(const std::string& key, const char* name, const tagProductStruct& record)
{
    return RegWrite(kView32, key, name, REG_BINARY, &record, sizeof(record));
}

// The version word of the record below the product key; "" when there is none.
std::string StoredVersion(const char* key, const char* name)
{
    tagProductStruct record;
    unsigned long type = 0, size = sizeof(record);
    if (!R::QueryDrosvaneKeyValue(key, name, &type, reinterpret_cast<unsigned char*>(&record), &size))
        return "";
    return type == REG_BINARY && size == sizeof(record) ? std::to_string(record.wVersionNumber) : "?";
}

typedef int (*StaticGetter)(char*, unsigned long&, HKEY);
std::string Get(StaticGetter getter)
{
    char buffer[MAX_PATH];
    unsigned long size = sizeof(buffer);
    if (!getter(buffer, size, nullptr))
        return buffer[0] ? "<dirty buffer>" : "<none>";
    return std::string(buffer, size - 1);
}

// Expects the values Write may put under the product's Base key, in the 32-bit view, to hold the
// texts of written in turn ('|' between them; "-" for a missing value).
void ExpectWritten(const std::string& written)
{
    std::istringstream texts(written);
    std::string text;
    for (const char* value : {"Path\\HOME", "Path\\DATABASE", "Path\\LOG", "Path\\TEMP", "User\\Name", "User\\Org",
                              "Components\\MANAGER", "Components\\SERVER", "Components\\ADMIN", "Database\\DatabaseType"}) {
        std::getline(texts, text, '|');
        const std::string path = kBase + "\\" + value;
        const size_t cut = path.rfind('\\');
        EXPECT_EQ(text, RegRead(kView32, path.substr(0, cut), path.c_str() + cut + 1)) << value;
    }
}
const char kNothingWritten[] = "-|-|-|-|-|-|-|-|-|-";
const char kAllWritten[] = "C:\\Drosvane\\|C:\\Drosvane\\DATABASE|C:\\Drosvane\\LOG|C:\\Drosvane\\TEMP|User|Company|1|1|0|2";

// Writes "<i>" under each key of the list in the 32-bit view, where the 32-bit installers of every
// generation wrote, then expects the getter to answer them in list order, deleting each answer in
// turn, and nothing at the end. The native 64-bit view is not read.
void ExpectFallbackOrder(const char* value, StaticGetter getter, const std::vector<std::string>& keys)
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
        SetCurrentDirectoryA(ExeDir().c_str());  // away from the folder that goes
        CTambRegistry reset;                     // back to the default root strings
    }

    void Install(const char* fixture) { ASSERT_TRUE(CopyFixture(fixture, m_dir / fixture)); }
    std::string Log() const { return ReadFileBytes(m_dir / "setup.log"); }
    ScopedProductRegistrations m_registrations;  // Write's shell extension and variables

    CSettings Settings(int productType, int subType = 0)
    {
        CSettings settings;
        settings.LogFile((m_dir / "setup.log").c_str());
        settings.ProductType(productType);
        settings.ProductSubType(subType);
        settings.ProductName("Drosvane Backup");
        settings.DrosvanePath("C:\\Drosvane");
        settings.ComponentCode("{0D5E}");
        settings.RegisteredUser("User");
        settings.RegisteredCompany("Company");
        settings.Components(CSettings::INSTALL_MANAGER | CSettings::INSTALL_SERVER);
        settings.SystemAccountName("svc");
        settings.SystemAccountDomain("DOM");
        settings.SystemAccountPassword("pw");
        settings.SystemAccountServer("SRV");
        return settings;
    }

    ScopedCurrentDir m_cwd;
    TempDir m_dir;
    ScopedRegistryKeys m_keys{{kMaker, "SOFTWARE\\Tamberly", "SOFTWARE\\SetupCLSTest", kUninstall + "\\Test",
                               kUninstall + "\\DrosvaneNT", kShared}};
};

// Stand-ins for SetupCLS.dll's imports, for what Wine cannot show otherwise.
class CTambRegistryIntercepted : public CTambRegistryTest {};

DWORD g_major;  // Wine always reports Windows 7
BOOL WINAPI FakeGetVersionExA(LPOSVERSIONINFOA info)
{
    info->dwMajorVersion = g_major;
    return TRUE;
}

LONG WINAPI FakeRegSetValueExA(HKEY key, LPCSTR name, DWORD reserved, DWORD type, const BYTE* data, DWORD size)
{
    if (name && std::string(name) == "LOG")  // a registry that refuses to store LOG
        return ERROR_ACCESS_DENIED;
    return RegSetValueExA(key, name, reserved, type, data, size);
}

// The next allocation fails, as under a passing shortage of memory: the string that asked raises
// std::bad_alloc. Only the one fails: the runtime needs the heap to raise the exception at all.
bool g_failNextAllocation;
void* __cdecl FakeMalloc(size_t size)
{
    if (g_failNextAllocation) {
        g_failNextAllocation = false;
        return nullptr;
    }
    return malloc(size);
}

// BRAND.dll's ordinal 101, counting its calls. It answers FALSE: its text is taken all the same.
int g_brandCalls;
BOOL WINAPI FakeBrandProductName(char* buffer, DWORD size)
{
    ++g_brandCalls;
    lstrcpynA(buffer, "FromBrand", static_cast<int>(size));
    return FALSE;
}
FARPROC WINAPI FakeGetProcAddress(HMODULE module, LPCSTR name)
{
    if (IS_INTRESOURCE(name) && LOWORD(reinterpret_cast<ULONG_PTR>(name)) == 101)
        return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&FakeBrandProductName));
    return GetProcAddress(module, name);
}

// Wine has no remote registry: the connection to another machine is answered here; the closes
// of a root key (the remote one or this machine's) and the cancelled connections are recorded.
HKEY const kRemoteRoot = reinterpret_cast<HKEY>(0x5E7C0001);
std::vector<HKEY> g_closedRoots;
std::vector<std::string> g_cancelled;
LONG WINAPI FakeRegConnectRegistryA(LPCSTR, HKEY, PHKEY result)
{
    *result = kRemoteRoot;
    return ERROR_SUCCESS;
}
LONG WINAPI FakeRegCloseKey(HKEY key)
{
    if (key == kRemoteRoot || key == HKEY_LOCAL_MACHINE)
        g_closedRoots.push_back(key);
    return key == kRemoteRoot ? ERROR_SUCCESS : RegCloseKey(key);
}
DWORD WINAPI FakeWNetCancelConnection2A(LPCSTR name, DWORD flags, BOOL force)
{
    g_cancelled.push_back(std::string(name) + (flags == 0 && force ? " 0 TRUE" : " other arguments"));
    return ERROR_NOT_CONNECTED;
}

}  // namespace

TEST_F(CTambRegistryTest, RootStringsDefaultOrFromTheHelperLibraries)
{
    CTambRegistry(Settings(105));  // the default root strings, which the other tests read and write
    EXPECT_NE(std::string::npos, Log().find("\tLoad QWTOOL.DLL fail\r\n")) << Log();
    Install("QWTOOL.DLL");
    Install("BRAND.dll");
    ScopedEnv brand("QWTOOL_BRAND_ANSWER", "SOFTWARE\\SetupCLSTest"), root("QWTOOL_ROOT_ANSWER", kBrandRoot.c_str()),
        product("BRAND_FIXTURE_PRODUCT", "VendorAB");
    CTambRegistry reg(1);
    EXPECT_STREQ("SOFTWARE\\SetupCLSTest", R::m_sTamberlyKey);
    EXPECT_STREQ("", R::GetDrosvaneBaseKey()) << "the export wrote nothing (and answered FALSE)";
    EXPECT_STREQ("Brand Product", R::GetQuellmarshProdRootKey());
    EXPECT_STREQ("VendorAB", R::GetQuellmarshProdName()) << "BRAND.dll ordinal 101";

    // The static setters follow the last construction.
    ScopedEnv base("QWTOOL_BASE_ANSWER", "SOFTWARE\\SetupCLSTest\\Elsewhere");
    CTambRegistry again;
    ASSERT_TRUE(R::SetDrosvaneHomeDir("C:\\Vendor\\"));
    EXPECT_EQ("C:\\Vendor\\", RegRead(kView32, "SOFTWARE\\SetupCLSTest\\Elsewhere\\Path", "HOME"));

    // Texts that fill the whole 260-byte buffer are cut to 259 characters; a machine name is kept whole.
    ScopedEnv longRoot("QWTOOL_ROOT_ANSWER", ("SOFTWARE\\" + std::string(400, 'r')).c_str());
    CTambRegistry machine(0, std::string(40, 'M').c_str());
    EXPECT_EQ(259u, strlen(R::GetDrosvaneKey()));
    EXPECT_EQ(std::string(40, 'M'), machine.MachineName());
}

TEST_F(CTambRegistryTest, LocalNameInAnotherCaseIsLocalAnUnreachableMachineKeepsToTheCache)
{
    char name[MAX_COMPUTERNAME_LENGTH + 1] = {};
    DWORD length = sizeof(name);
    ASSERT_TRUE(GetComputerNameA(name, &length));
    CString lower(name);
    ASSERT_STRNE(name, lower.MakeLower()) << "the computer name needs letters for this test";
    ASSERT_TRUE(R::SetDrosvaneHomeDir("C:\\Local\\"));
    ASSERT_TRUE(WriteRecord(kProducts, "QuellmarshAB", Record(7)));
    CTambRegistry local(1, lower);
    EXPECT_STREQ("", local.MachineName());
    EXPECT_STREQ("C:\\Local\\", local.GetDrosvaneHomeDir());
    EXPECT_TRUE(local.IsDrosvaneInstalled());

    // Wine answers 53 (network path not found) for any other machine.
    CTambRegistry remote(Settings(105), 0, "SETUPCLS-NOHOST");
    EXPECT_NE(std::string::npos, Log().find("\tRegConnectRegistryA \\\\SETUPCLS-NOHOST failed (53) in ConnectRoot")) << Log();
    EXPECT_EQ(1, remote.Read());
    EXPECT_STREQ("", remote.GetDrosvaneHomeDir()) << "this machine's value must not stand in";
    EXPECT_FALSE(remote.IsDrosvaneInstalled());
    CTambRegistry assigned;
    assigned = CTambRegistry(remote);
    EXPECT_STREQ("SETUPCLS-NOHOST", assigned.MachineName());
}

TEST_F(CTambRegistryTest, WriteRecordsTheSettingsOnlyForTheProductTypesThatOwnTheKey)
{
    const struct {
        int type;
        const char* path;
        bool copyOnly, server;
        const char* written;
        int result;
    } cases[] = {{105, "C:\\Drosvane", false, true, kAllWritten, 1}, {133, "C:\\Drosvane", false, true, kAllWritten, 1},
                 {7, "C:\\Drosvane", false, true, kNothingWritten, 1},        // another product type
                 {105, "C:\\Drosvane", true, false, "-|-|-|-|-|-|1|0|0|-", 1},  // copy-only, no server
                 // An empty path is written as it is; the shell extension refuses a server with no
                 // folder, and that step's failure is Write's.
                 {133, "", false, true, "|DATABASE|LOG|TEMP|User|Company|1|1|0|2", 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.type) + " " + c.written);
        ScopedRegistryKeys written({kMaker});
        CSettings settings = Settings(c.type);
        settings.DrosvanePath(c.path);
        settings.IsCopyOnlyMode(c.copyOnly);
        settings.InstallServer(c.server);
        EXPECT_EQ(c.result, CTambRegistry(settings).Write());
        ExpectWritten(c.written);
        EXPECT_FALSE(RegKeyExists(kView64, kMaker)) << "both builds write the 32-bit view";
    }
}

TEST_F(CTambRegistryTest, ObjectSettersWriteOnlyWithABitOfKeyWriteInTheAccessMode)
{
    CTambRegistry reader(Settings(105));
    reader.Read();
    EXPECT_EQ(0, reader.Write()) << "the access mode is no longer exactly KEY_WRITE";
    EXPECT_EACH(0, ANSWER(CTambRegistry(0).SetDrosvaneManager()), ANSWER(CTambRegistry(0).SetClientAgentHomeDir()));
    ExpectWritten(kNothingWritten);
    CTambRegistry readOnly(1);
    ASSERT_EQ(static_cast<unsigned long>(KEY_READ), readOnly.AccessMode());
    EXPECT_EQ(1, readOnly.SetDrosvaneManager()) << "READ_CONTROL is a bit of KEY_WRITE";
    ExpectWritten("-|-|-|-|-|-|0|-|-|-");
    EXPECT_EQ(1, CTambRegistry(Settings(133)).SetClientAgentHomeDir());
    EXPECT_EQ("", RegRead(kView32, kProduct + "\\ClientAgent\\Common", "Path")) << "an empty agent path is written as it is";
}

TEST_F(CTambRegistryTest, DirectoryGettersFallBackInTheirOwnOrders)
{
    Install("QWTOOL.DLL");
    ScopedEnv maker("QWTOOL_BRAND_ANSWER", kMaker.c_str()), root("QWTOOL_ROOT_ANSWER", kBrandRoot.c_str()),
        base("QWTOOL_BASE_ANSWER", (kBrandRoot + "\\Base").c_str());
    CTambRegistry brand;  // the product key now differs from the fixed current generation's
    const std::string it = kMaker + "\\DrosvaneIT", kestrix = kMaker + "\\Kestrix", path = "\\Base\\Path",
                      enterprise = kMaker + "\\Quellmarsh Enterprise Backup\\Base\\Path", agent = "\\ClientAgent\\Common";
    ExpectFallbackOrder("HOME", &R::GetDrosvaneHomeDir, {kBrandRoot + path, kV115 + path, it + path, kOldest + "\\Path",
                                                         kestrix + path, kBase + "\\Path", enterprise});
    const std::vector<std::string> directories = {kBrandRoot + path, it + path, kOldest + "\\Path", kestrix + path,
                                                  kV115 + path, kBase + "\\Path", enterprise};
    ExpectFallbackOrder("DATABASE", &R::GetDrosvaneDBDir, directories);
    ExpectFallbackOrder("LOG", &R::GetDrosvaneLogDir, directories);
    ExpectFallbackOrder("TEMP", &R::GetDrosvaneTempDir, directories);
    ExpectFallbackOrder("Path", &R::GetAgentHomeDir, {kBrandRoot + agent, it + agent, "SOFTWARE\\Tamberly\\DrosvaneAgent\\CurrentVersion\\Common",
                                                      kestrix + agent, kV115 + agent, kProduct + agent});
    EXPECT_STREQ("SOFTWARE\\Wow6432Node\\Brannoch\\BN Drosvane Backup\\Base\\Path", R::Wow6432Node(kBase + "\\Path"));
    EXPECT_STREQ("SOFTWARE\\Wow6432Node\\", R::Wow6432Node("SOFTWARE"));
}

TEST_F(CTambRegistryTest, LocalHomeReaderReadsTheCurrentGenerationOnly)
{
    ASSERT_TRUE(RegWrite(kView32, kOldest + "\\Path", "HOME", "C:\\Old\\"));
    char buffer[MAX_PATH];
    unsigned long size = sizeof(buffer);
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, R::GetTalvikDrosvane_LocalHomeDir(buffer, size));
    ASSERT_TRUE(R::SetDrosvaneHomeDir("C:\\Current\\"));
    EXPECT_EQ(ERROR_SUCCESS, R::GetTalvikDrosvane_LocalHomeDir(buffer, size));
    EXPECT_STREQ("C:\\Current\\", buffer);
    size = 5;
    EXPECT_EQ(ERROR_MORE_DATA, R::GetTalvikDrosvane_LocalHomeDir(buffer, size));
}

TEST_F(CTambRegistryTest, ProductRecordLookupOrderPassesOverValuesLongerThanTheRecord)
{
    const std::pair<std::string, const char*> places[] = {
        {kProducts, "QuellmarshAB"}, {kV115 + "\\Products", "QuellmarshAB"}, {kMaker + "\\DrosvaneIT\\Products", "Drosvane"},
        {"SOFTWARE\\Tamberly\\Products", "Omnivale125Backup"}, {kMaker + "\\Kestrix\\Products", "QuellmarshEB"},
        {kMaker + "\\Quellmarsh Enterprise Backup\\Products", "QuellmarshEB"}};
    for (size_t i = 0; i < 6; ++i)
        ASSERT_TRUE(WriteRecord(places[i].first, places[i].second, Record(i + 1)));
    CTambRegistry reg(1);
    EXPECT_EQ(1u, reg.GetDrosvaneProductCode());
    EXPECT_EQ(3u, reg.GetDrosvaneUserLevel());
    EXPECT_EQ(0x0706, reg.GetDrosvaneVersionNumber());
    EXPECT_EQ(1001, reg.GetDrosvaneBuildNumber());
    EXPECT_EQ(2, reg.GetDrosvaneSubType());
    for (size_t i = 0; i < 6; ++i) {
        tagProductStruct read, expected = Record(i + 1);
        ASSERT_TRUE(R::GetDrosvaneProductInfo(&read));
        EXPECT_EQ(0, memcmp(&expected, &read, sizeof(read))) << "expected the record at " << places[i].first;
        RegDeleteValueIn(kView32, places[i].first, places[i].second);
    }
    // A value longer than the record is not read and the next place answers; with nothing left
    // the record is zeroed and the object keeps what it read before.
    const std::vector<char> longer(sizeof(tagProductStruct) + 1, 'L');
    ASSERT_TRUE(RegWrite(kView32, places[0].first, places[0].second, REG_BINARY, longer.data(), longer.size()));
    ASSERT_TRUE(WriteRecord(places[1].first, places[1].second, Record(2)));
    tagProductStruct read;
    ASSERT_TRUE(R::GetDrosvaneProductInfo(&read));
    EXPECT_EQ(2u, read.dwProductCode);
    RegDeleteValueIn(kView32, places[1].first, places[1].second);
    memset(&read, 1, sizeof(read));
    EXPECT_FALSE(R::GetDrosvaneProductInfo(&read));
    EXPECT_EACH(0, ANSWER(read.dwProductCode), ANSWER(read.dwUserLevel));
    EXPECT_EQ(1u, reg.GetDrosvaneProductCode());
    // A shorter value is read into the zeroed record and counts as found.
    ASSERT_TRUE(RegWrite(kView32, places[0].first, places[0].second, "short"));
    memset(&read, 1, sizeof(read));
    ASSERT_TRUE(R::GetDrosvaneProductInfo(&read));
    EXPECT_STREQ("short", reinterpret_cast<const char*>(&read));
    EXPECT_EQ(0u, read.dwUserLevel);
    EXPECT_EQ(static_cast<unsigned long>('s' | 'h' << 8 | 'o' << 16 | 'r' << 24), reg.GetDrosvaneProductCode());
}

TEST_F(CTambRegistryTest, RecordsAndTheLifetimeOfProductsKeys)
{
    tagProductStruct record = Record(50, 0x0700);
    ASSERT_EQ(1, R::RegisterProduct("PM", &record));
    EXPECT_FALSE(RegKeyExists(kView32, kProduct)) << "only under the patch manager's key";
    EXPECT_EQ(50u, R::GetProductCode("PM"));
    ASSERT_TRUE(WriteRecord(kProducts, "PM", record));
    R::UnregisterProduct("PM");
    EXPECT_FALSE(RegKeyExists(kView32, kProducts)) << "unregistered from the product's own key";
    EXPECT_EQ(50u, R::GetProductCode("PM")) << "the patch manager's record stays";
    RegDeleteValueIn(kView32, kProduct + " Patch Manager\\Products", "PM");
    ASSERT_TRUE(WriteRecord(kProducts, "PM", record));
    EXPECT_FALSE(R::IsProductInstalled("PM")) << "read from the patch manager's key only";
    RegDeleteValueIn(kView32, kProducts, "PM");

    ASSERT_EQ(1, R::RegisterProduct("A", &record));
    ASSERT_EQ(1, R::RegisterProduct("B", &record));
    EXPECT_EQ("1792", StoredVersion("Products", "B"));
    R::UnregisterProduct("A");
    EXPECT_TRUE(RegKeyExists(kView32, kProducts)) << "one of two left";
    R::UnregisterProduct("B");
    EXPECT_FALSE(RegKeyExists(kView32, kProducts)) << "the last one gone";
    for (const char* name : {"Absent", static_cast<const char*>(nullptr)}) {  // an empty key goes all the same
        ASSERT_TRUE(R::AddDrosvaneKey("Products"));
        R::UnregisterProduct(name);
        EXPECT_FALSE(RegKeyExists(kView32, kProducts)) << (name ? name : "a null name");
    }
    ASSERT_EQ(1, R::RegisterProduct_SQM("Q", &record));
    EXPECT_TRUE(R::IsProductInstalled_SQM("Q"));
    EXPECT_FALSE(R::IsProductInstalled("Q"));
}

TEST_F(CTambRegistryTest, SavePerviousMovesOnlyStrictlyOlderRecordsAside)
{
    const struct {
        unsigned short stored, major, minor;
        const char* target;
    } cases[] = {{0x0605, 7, 0, "OldProducts"}, {0x0606, 7, 0, "BNOldProducts"}, {0x0605, 6, 6, "OldProducts"},
                 {0x0700, 7, 0, nullptr}, {0x0800, 7, 9, nullptr}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.stored);
        ScopedRegistryKeys cleanup({kMaker, "SOFTWARE\\Tamberly"});
        ASSERT_TRUE(WriteRecord("SOFTWARE\\Tamberly\\Products", "AB", Record(1, c.stored)));
        EXPECT_TRUE(R::IsProductInstalled("AB", c.stored >> 8, c.stored & 0xFF));
        EXPECT_FALSE(R::IsProductInstalled("AB", c.stored >> 8, (c.stored & 0xFF) + 1));
        EXPECT_EQ(c.target ? 1 : 0, R::SavePerviousRegisterProduct("AB", c.major, c.minor));
        for (const char* key : {"OldProducts", "BNOldProducts"})
            EXPECT_EQ(c.target && !strcmp(key, c.target) ? std::to_string(c.stored) : "", StoredVersion(key, "AB")) << key;
        EXPECT_EQ(!c.target, RegKeyExists(kView32, "SOFTWARE\\Tamberly\\Products"));
    }
}

TEST_F(CTambRegistryTest, SharedDLLCounts)
{
    const char dll[] = "C:\\Drosvane\\shared.dll";
    ASSERT_FALSE(RegKeyExists(kView32, kShared)) << "Wine's prefix has no SharedDLLs key";
    EXPECT_EQ(0, R::IncrementSharedDLLCount(dll, 0));
    ASSERT_TRUE(RegWrite(kView32, kShared, "other", "x"));
    for (int keep : {1, 0, 0, 1})  // a new count is 1 whatever the flag; the last call keeps 3
        EXPECT_EQ(1, R::IncrementSharedDLLCount(dll, keep));
    EXPECT_EQ("3", RegRead(kView32, kShared, dll));
    EXPECT_EQ("-", RegRead(kView64, kShared, dll));
    for (unsigned long count : {2u, 1u, 0u, 0u})  // the last finds nothing to read
        EXPECT_EQ(count, R::DecrementSharedDLLCount(dll));
    EXPECT_EQ("-", RegRead(kView32, kShared, dll)) << "deleted at 0";
    const DWORD zero = 0;
    ASSERT_TRUE(RegWrite(kView32, kShared, dll, REG_DWORD, &zero, sizeof(zero)));
    EXPECT_EQ(4294967295u, R::DecrementSharedDLLCount(dll));
    EXPECT_EQ("4294967295", RegRead(kView32, kShared, dll));
}

TEST_F(CTambRegistryTest, UninstallAndInstalledProductsEntries)
{
    const std::string key = kUninstall + "\\DrosvaneNT";
    CSettings noPath = Settings(0);
    noPath.DrosvanePath("");
    ASSERT_EQ(1, CTambRegistry(noPath).CreateDrosvaneUninstallKey());
    EXPECT_EQ("UNINDV.EXE -U -dDVSETGUI.DLL", RegRead(kView32, key, "UninstallString")) << "the path as it is";
    ASSERT_EQ(1, CTambRegistry(Settings(0)).CreateDrosvaneUninstallKey());
    EXPECT_EQ("Drosvane Backup", RegRead(kView32, key, "DisplayName"));
    EXPECT_EQ("C:\\Drosvane\\UNINDV.EXE -U -dDVSETGUI.DLL", RegRead(kView32, key, "UninstallString"));
    EXPECT_FALSE(RegKeyExists(kView64, key)) << "Wine redirects the Uninstall key as Windows does";
    R::DeleteDrosvaneUninstallKey();
    EXPECT_FALSE(RegKeyExists(kView32, key));

    const std::string listed = kMaker + "\\BN-InstalledITProducts", entry = listed + "\\BN Drosvane Backup";
    for (int subType : {0, 1})
        EXPECT_EQ(1, CTambRegistry(Settings(105, subType)).SetBNITProduct()) << subType;
    EXPECT_FALSE(RegKeyExists(kView32, listed)) << "only editions above one are listed";
    CTambRegistry(Settings(105, 2), 1);  // written by Write
    EXPECT_EQ("BN Drosvane Backup", RegRead(kView32, entry, "DisplayName"));
    EXPECT_EQ("{0D5E}", RegRead(kView32, entry, "ProductCode"));
    R::DeleteBNITProductBranch();
    EXPECT_TRUE(RegKeyExists(kView32, listed));
    EXPECT_FALSE(RegKeyExists(kView32, entry));
    CSettings noCode = Settings(105, 3);
    noCode.ComponentCode("");
    EXPECT_EQ(1, CTambRegistry(noCode).SetBNITProduct());
    EXPECT_EQ("", RegRead(kView32, entry, "ProductCode")) << "an empty component code is written as it is";
}

TEST_F(CTambRegistryTest, SystemAccountThroughQwtoolThenTheRegisteredUser)
{
    // The user name falls back in the directories' order: the oldest generation before the 11.5 one.
    ASSERT_TRUE(RegWrite(kView32, kV115 + "\\Base\\User", "Name", "v115"));
    ASSERT_TRUE(RegWrite(kView32, kOldest + "\\User", "Name", "oldest"));
    Install("QWTOOL.DLL");
    // The library's root texts are taken as it writes them: it names the default keys here.
    ScopedEnv maker("QWTOOL_BRAND_ANSWER", kMaker.c_str()), root("QWTOOL_ROOT_ANSWER", kProduct.c_str()),
        base("QWTOOL_BASE_ANSWER", kBase.c_str()), calls("QWTOOL_ACCOUNT_CALLS", (m_dir / "calls.txt").c_str()),
        answer("QWTOOL_ACCOUNT_ANSWER", "1");
    CTambRegistry reg(Settings(0));
    EXPECT_STREQ("oldest", reg.GetDrosvaneUserName());
    EXPECT_EQ(1, reg.SetDrosvaneUser());
    EXPECT_EQ("SRV|DOM|svc|pw\r\n", ReadFileBytes(m_dir / "calls.txt"));
    ScopedEnv refused("QWTOOL_ACCOUNT_ANSWER", "0x10000");  // success lives in the low word
    EXPECT_EQ(1, reg.SetDrosvaneUser());
    ASSERT_TRUE(DeleteFileA((m_dir / "QWTOOL.DLL").c_str()));
    EXPECT_EQ(1, reg.SetDrosvaneUser());
    EXPECT_STREQ("User", reg.GetDrosvaneUserName());
    // No line for the call that worked, then one for each failure.
    const std::string log = Log();
    const size_t refusal = log.find("\t\tFailed to add a user account\r\n");
    ASSERT_NE(std::string::npos, refusal) << log;
    EXPECT_EQ(log.find('\t'), refusal) << log;
    EXPECT_NE(std::string::npos, log.find("\t\tFailed to load QWTOOL.DLL to create system user account.\r\n", refusal));
}

TEST_F(CTambRegistryTest, KeyFamiliesBelowTheMakerAndProductKeysRefuseNullAndEmptyNames)
{
    const DWORD seven = 7;
    const auto* data = reinterpret_cast<const unsigned char*>(&seven);
    ASSERT_TRUE(R::SetTamberlyKeyValue("F\\S", "N", REG_DWORD, data, 4));
    ASSERT_TRUE(R::SetDrosvaneKeyValue("F", "N", REG_DWORD, data, 4));
    EXPECT_EQ("7", RegRead(kView32, kMaker + "\\F\\S", "N"));
    EXPECT_EQ("7", RegRead(kView32, kProduct + "\\F", "N"));

    // Null and empty names fail and write nothing, where each would otherwise find something: a
    // record and a shared count under the empty (default) value name, the value N below F.
    ASSERT_TRUE(WriteRecord(kProducts, "", Record(1)));
    ASSERT_TRUE(RegWrite(kView32, kShared, "", REG_DWORD, &seven, sizeof(seven)));
    unsigned long size = MAX_PATH, type = 0;
    tagProductStruct record = Record(1);
    EXPECT_EACH(0, ANSWER(R::GetDrosvaneHomeDir(nullptr, size)), ANSWER(R::GetDrosvaneProductInfo(nullptr)),
                ANSWER(R::IsProductInstalled("")), ANSWER(R::SetDrosvaneHomeDir(nullptr)), ANSWER(R::RegisterProduct(nullptr, &record)),
                ANSWER(R::RegisterProduct("X", nullptr)), ANSWER(R::IsProductInstalled(nullptr, 7, 6)),
                ANSWER(R::SavePerviousRegisterProduct(nullptr, 9, 9)), ANSWER(R::CreateUninstallKey("a", "", "b")),
                ANSWER(R::IncrementSharedDLLCount(nullptr, 0)), ANSWER(R::DecrementSharedDLLCount("")),
                ANSWER(R::SetDrosvaneKeyValue("", "N", REG_DWORD, data, 4)), ANSWER(R::QueryDrosvaneKeyValue("F", "N", &type, nullptr, nullptr)));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, R::GetTalvikDrosvane_LocalHomeDir(nullptr, size));
    EXPECT_FALSE(RegKeyExists(kView32, kUninstall + "\\a"));

    R::UnregisterProduct("");  // the record named "" goes, and the Products key with it
    R::DeleteTamberlyKey("F");
    R::DeleteDrosvaneKey("F");
    EXPECT_TRUE(RegKeyExists(kView32, kMaker + "\\F\\S")) << "a key with sub keys stays";
    EXPECT_FALSE(RegKeyExists(kView32, kProduct + "\\F")) << "a key without sub keys goes";
    ASSERT_FALSE(RegKeyExists(kView32, kProducts));
    // Never the root itself deleted: the product key has no sub keys left.
    R::UnregisterProduct(nullptr), R::DeleteUninstallKey(""), R::DeleteTamberlyKey(""), R::DeleteDrosvaneKey("");
    EXPECT_EACH(1, ANSWER(RegKeyExists(kView32, kUninstall)), ANSWER(RegKeyExists(kView32, kProduct)));
}

// A value too long for the buffer, or not a text, sends the walk on to the next key; with no key
// left the buffer is empty.
TEST_F(CTambRegistryTest, TextTooLongForTheBufferOrNoTextIsPassedOver)
{
    ASSERT_TRUE(R::SetDrosvaneHomeDir("C:\\Longer\\"));
    char small[4] = {'x', 'x', 'x', 'x'};
    unsigned long size = sizeof(small);
    EXPECT_FALSE(R::GetDrosvaneHomeDir(small, size));
    EXPECT_EQ('\0', small[0]);
    ASSERT_TRUE(RegWrite(kView32, kV115 + "\\Base\\Path", "HOME", "C:"));
    size = sizeof(small);
    EXPECT_TRUE(R::GetDrosvaneHomeDir(small, size));
    EXPECT_STREQ("C:", small);
    EXPECT_EQ(3u, size);
    ASSERT_TRUE(R::SetDrosvaneHomeDir(std::string(300, 'h').c_str()));
    EXPECT_STREQ("C:", CTambRegistry(1).GetDrosvaneHomeDir()) << "longer than the object's buffer";
    const DWORD number = 5;
    ASSERT_TRUE(RegWrite(kView32, kBase + "\\Path", "HOME", REG_DWORD, &number, sizeof(number)));
    EXPECT_EQ("C:", Get(&R::GetDrosvaneHomeDir)) << "a number is no directory";
}

TEST_F(CTambRegistryIntercepted, BrandLibraryIsAskedAlsoWhenTheSettingsNameTheRecord)
{
    Install("BRAND.dll");
    SETUPCLS_HOOK_IMPORT(hook, "KERNEL32.dll", GetProcAddress, FakeGetProcAddress);
    g_brandCalls = 0;
    CTambRegistry(1);
    EXPECT_EQ(1, g_brandCalls);
    EXPECT_STREQ("FromBrand", R::GetQuellmarshProdName());
    CTambRegistry named(Settings(105, 2), 0);
    EXPECT_EQ(2, g_brandCalls) << "asked although the settings name the record";
    EXPECT_STREQ("QuellmarshEB", R::GetQuellmarshProdName());
}

TEST_F(CTambRegistryIntercepted, FailedWriteStepIsTracedWithItsStatusAndTheOthersStillRun)
{
    SETUPCLS_HOOK_IMPORT(hook, "ADVAPI32.dll", RegSetValueExA, FakeRegSetValueExA);
    SetLastError(ERROR_SUCCESS);
    EXPECT_EQ(0, R::SetDrosvaneLogDir("C:\\Log"));
    EXPECT_EQ(static_cast<DWORD>(ERROR_ACCESS_DENIED), GetLastError()) << "the setter leaves the status behind";
    EXPECT_EQ(0, CTambRegistry(Settings(105)).Write());
    ExpectWritten("C:\\Drosvane\\|C:\\Drosvane\\DATABASE|-|C:\\Drosvane\\TEMP|User|Company|1|1|0|2");
    EXPECT_NE(std::string::npos, Log().find("\tLog directory failed (5) in CTambRegistry::Write\r\n")) << Log();
}

TEST_F(CTambRegistryIntercepted, WriteOutOfMemoryFailsWithoutAnException)
{
    CTambRegistry registry(Settings(105));
    // malloc's declaration carries attributes that the macro's type check cannot compare.
    ImportHook hook{"msvcrt.dll", "malloc", reinterpret_cast<void*>(&FakeMalloc)};
    ASSERT_TRUE(hook.installed());
    g_failNextAllocation = true;
    SetLastError(ERROR_SUCCESS);
    EXPECT_EQ(0, registry.Write());
    EXPECT_FALSE(g_failNextAllocation) << "Write allocated nothing";
    EXPECT_EQ(static_cast<DWORD>(ERROR_NOT_ENOUGH_MEMORY), GetLastError());
}

TEST_F(CTambRegistryIntercepted, NoUninstallEntryBeforeNT4)
{
    SETUPCLS_HOOK_IMPORT(hook, "KERNEL32.dll", GetVersionExA, FakeGetVersionExA);
    g_major = 3;
    EXPECT_EQ(1, R::CreateUninstallKey("Test", "Test Product", "un.exe"));
    EXPECT_EQ(1, R::CreateUninstallKey(nullptr, "", nullptr)) << "the system is asked before the arguments";
    EXPECT_FALSE(RegKeyExists(kView32, kUninstall + "\\Test"));
    g_major = 4;
    EXPECT_EQ(1, R::CreateUninstallKey("Test", "Test Product", "un.exe"));
    EXPECT_EQ("un.exe", RegRead(kView32, kUninstall + "\\Test", "UninstallString"));
}

TEST_F(CTambRegistryIntercepted, LastCopyClosesTheRemoteRootAndCancelsTheIpcConnection)
{
    SETUPCLS_HOOK_IMPORT(connect, "ADVAPI32.dll", RegConnectRegistryA, FakeRegConnectRegistryA);
    SETUPCLS_HOOK_IMPORT(close, "ADVAPI32.dll", RegCloseKey, FakeRegCloseKey);
    SETUPCLS_HOOK_IMPORT(cancel, "MPR.DLL", WNetCancelConnection2A, FakeWNetCancelConnection2A);
    g_closedRoots.clear();
    g_cancelled.clear();
    {
        R remote(0, "FARHOST");
        {
            R copy(remote);
            R assigned;
            assigned = remote;
        }
        EXPECT_TRUE(g_closedRoots.empty()) << "a copy closed the root the object still uses";
        EXPECT_TRUE(g_cancelled.empty());
    }
    EXPECT_EQ(std::vector<HKEY>{kRemoteRoot}, g_closedRoots);
    EXPECT_EQ(std::vector<std::string>{"\\\\FARHOST\\ipc$ 0 TRUE"}, g_cancelled);
    { R local(0, nullptr); }  // the local machine's root is neither closed nor cancelled
    EXPECT_EQ(1u, g_closedRoots.size());
    EXPECT_EQ(1u, g_cancelled.size());
}
