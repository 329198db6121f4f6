#include "CTambRegistry.h"

#include "ImportHook.h"
#include "RegistrySupport.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace testsupport;
using R = CTambRegistry;

namespace {

const std::string kProduct = "SOFTWARE\\Brannoch\\BN Drosvane Backup";
const std::string kUninstall = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall";
const std::string kShared = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\SharedDLLs";
const std::string kListed = "SOFTWARE\\Brannoch\\BN-InstalledITProducts";
const char kDll[] = "C:\\Drosvane\\shared.dll";

tagProductStruct Record(unsigned short version)
{
    tagProductStruct record = {};
    record.wVersionNumber = version;
    return record;
}

// The version word of the 49-byte record below the product key; "" when there is none.
std::string StoredVersion(const char* key, const char* name)
{
    tagProductStruct record;
    unsigned long type = 0, size = sizeof(record);
    if (!R::QueryDrosvaneKeyValue(key, name, &type, reinterpret_cast<unsigned char*>(&record), &size))
        return "";
    return type == REG_BINARY && size == sizeof(record) ? std::to_string(record.wVersionNumber) : "?";
}

class CTambRegistryRegistration : public ::testing::Test {
protected:
    CTambRegistryRegistration() { SetCurrentDirectoryA(m_dir.path().c_str()); }

    CSettings Settings(int subType)
    {
        CSettings settings;
        settings.LogFile((m_dir / "setup.log").c_str());
        settings.ProductType(105);
        settings.ProductSubType(subType);
        settings.ProductName("Drosvane Backup");
        settings.DrosvanePath("C:\\Drosvane");
        settings.ComponentCode("{0D5E}");
        settings.RegisteredUser("User");
        settings.SystemAccountName("svc");
        settings.SystemAccountDomain("DOM");
        settings.SystemAccountPassword("pw");
        settings.SystemAccountServer("SRV");
        return settings;
    }

    TempDir m_dir;
    ScopedCurrentDir m_cwd;  // back out of m_dir before it goes
    ScopedRegistryKeys m_keys{
        {"SOFTWARE\\Brannoch", "SOFTWARE\\Tamberly", kUninstall + "\\Test", kUninstall + "\\DrosvaneNT", kShared}};
};

// Wine always reports Windows 7: an older system is shown by answering SetupCLS.dll's
// GetVersionExA.
class CTambRegistryIntercepted : public CTambRegistryRegistration {};
DWORD g_major;
BOOL WINAPI FakeGetVersionExA(LPOSVERSIONINFOA info)
{
    info->dwMajorVersion = g_major;
    return TRUE;
}

}  // namespace

TEST_F(CTambRegistryRegistration, RecordsAndTheLifetimeOfProductsKeys)
{
    tagProductStruct record = Record(0x0700);
    ASSERT_EQ(1, R::RegisterProduct("PM", &record));
    EXPECT_NE("-", RegRead(kView32, kProduct + " Patch Manager\\Products", "PM"));
    EXPECT_FALSE(RegKeyExists(kView32, kProduct)) << "only under the patch manager's key";
    EXPECT_FALSE(RegKeyExists(kView64, "SOFTWARE\\Brannoch")) << "a 32-bit module writes the 32-bit view";

    ASSERT_EQ(1, R::RegisterProduct("A", &record));
    ASSERT_EQ(1, R::RegisterProduct("B", &record));
    EXPECT_EQ("1792", StoredVersion("Products", "B"));
    R::UnregisterProduct("A");
    EXPECT_TRUE(RegKeyExists(kView32, kProduct + "\\Products")) << "one of two left";
    R::UnregisterProduct("B");
    EXPECT_FALSE(RegKeyExists(kView32, kProduct + "\\Products")) << "the last one gone";
    ASSERT_TRUE(R::AddDrosvaneKey("Products"));
    R::UnregisterProduct("Absent");
    EXPECT_FALSE(RegKeyExists(kView32, kProduct + "\\Products")) << "an empty key goes all the same";

    ASSERT_EQ(1, R::RegisterProduct_SQM("Q", &record));
    EXPECT_TRUE(R::IsProductInstalled_SQM("Q") && !R::IsProductInstalled("Q"));
    R::UnregisterProduct_SQM("Q");
    EXPECT_FALSE(RegKeyExists(kView32, "SOFTWARE\\Brannoch\\Quellmarsh Storage Quorum Manager\\Products"));
}

TEST_F(CTambRegistryRegistration, SavePerviousMovesOnlyStrictlyOlderRecordsAside)
{
    const struct {
        unsigned short stored, major, minor;
        const char* target;
    } cases[] = {{0x0605, 7, 0, "OldProducts"}, {0x0606, 7, 0, "BNOldProducts"}, {0x0605, 6, 6, "OldProducts"},
                 {0x0700, 7, 0, nullptr}, {0x0800, 7, 9, nullptr}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.stored);
        ScopedRegistryKeys cleanup({"SOFTWARE\\Brannoch", "SOFTWARE\\Tamberly"});
        tagProductStruct record = Record(c.stored);
        ASSERT_TRUE(RegWrite(kView32, "SOFTWARE\\Tamberly\\Products", "AB", &record, sizeof(record)));
        EXPECT_TRUE(R::IsProductInstalled("AB", c.stored >> 8, c.stored & 0xFF)
                    && !R::IsProductInstalled("AB", c.stored >> 8, (c.stored & 0xFF) + 1));

        EXPECT_EQ(c.target ? 1 : 0, R::SavePerviousRegisterProduct("AB", c.major, c.minor));
        for (const char* key : {"OldProducts", "BNOldProducts"})
            EXPECT_EQ(c.target && !strcmp(key, c.target) ? std::to_string(c.stored) : "", StoredVersion(key, "AB"));
        EXPECT_EQ(!c.target, RegKeyExists(kView32, "SOFTWARE\\Tamberly\\Products"));
    }
}

TEST_F(CTambRegistryRegistration, SharedDLLCounts)
{
    ASSERT_FALSE(RegKeyExists(kView32, kShared)) << "Wine's prefix has no SharedDLLs key";
    EXPECT_EQ(0, R::IncrementSharedDLLCount(kDll, 0));
    ASSERT_TRUE(RegWrite(kView32, kShared, "other", "x"));

    for (int keep : {1, 0, 0, 1})  // a new count is 1 whatever the flag; the last call keeps 3
        EXPECT_EQ(1, R::IncrementSharedDLLCount(kDll, keep));
    EXPECT_EQ("3|-", RegRead(kView32, kShared, kDll) + "|" + RegRead(kView64, kShared, kDll));

    for (unsigned long count : {2u, 1u, 0u, 0u})  // the last finds nothing to read
        EXPECT_EQ(count, R::DecrementSharedDLLCount(kDll));
    EXPECT_EQ("-", RegRead(kView32, kShared, kDll)) << "deleted at 0";
    ASSERT_TRUE(RegWriteNumber(kView32, kShared, kDll, 0));
    EXPECT_EQ(4294967295u, R::DecrementSharedDLLCount(kDll));
    EXPECT_EQ("4294967295", RegRead(kView32, kShared, kDll));
}

TEST_F(CTambRegistryRegistration, UninstallEntries)
{
    EXPECT_EQ(0, CTambRegistry(0).CreateDrosvaneUninstallKey()) << "an object that may not write";
    ASSERT_EQ(1, CTambRegistry(Settings(0)).CreateDrosvaneUninstallKey());
    const std::string key = kUninstall + "\\DrosvaneNT";
    EXPECT_EQ("Drosvane Backup|C:\\Drosvane\\UNINDV.EXE -U -dDVSETGUI.DLL",
              RegRead(kView32, key, "DisplayName") + "|" + RegRead(kView32, key, "UninstallString"));
    EXPECT_FALSE(RegKeyExists(kView64, key)) << "Wine redirects the Uninstall key as Windows does";
    R::DeleteDrosvaneUninstallKey();
    EXPECT_FALSE(RegKeyExists(kView32, key));
    EXPECT_TRUE(RegKeyExists(kView32, kUninstall));
}

TEST_F(CTambRegistryIntercepted, NoUninstallEntryBeforeNT4)
{
    SETUPCLS_HOOK_IMPORT(hook, "KERNEL32.dll", GetVersionExA, FakeGetVersionExA);
    ASSERT_TRUE(hook.installed());
    g_major = 3;
    EXPECT_EQ(1, R::CreateUninstallKey("Test", "Test Product", "un.exe"));
    EXPECT_FALSE(RegKeyExists(kView32, kUninstall + "\\Test"));
    g_major = 4;
    EXPECT_EQ(1, R::CreateUninstallKey("Test", "Test Product", "un.exe"));
    EXPECT_EQ("un.exe", RegRead(kView32, kUninstall + "\\Test", "UninstallString"));
}

TEST_F(CTambRegistryRegistration, InstalledProductsEntryOnlyForEditionsAboveOne)
{
    EXPECT_TRUE(CTambRegistry(Settings(0)).SetBNITProduct() == 1 && CTambRegistry(Settings(1)).SetBNITProduct() == 1);
    EXPECT_FALSE(RegKeyExists(kView32, kListed));
    EXPECT_EQ(1, CTambRegistry(Settings(2)).Write());
    const std::string entry = kListed + "\\BN Drosvane Backup";
    EXPECT_EQ("BN Drosvane Backup|{0D5E}", RegRead(kView32, entry, "DisplayName") + "|" + RegRead(kView32, entry, "ProductCode"));
    R::DeleteBNITProductBranch();
    EXPECT_TRUE(RegKeyExists(kView32, kListed) && !RegKeyExists(kView32, entry));
}

TEST_F(CTambRegistryRegistration, SystemAccountThroughQwtoolThenTheRegisteredUser)
{
    // The user name falls back in the directories' order: the oldest generation before the 11.5 one.
    ASSERT_TRUE(RegWrite(kView32, "SOFTWARE\\Brannoch\\Quellmarsh Drosvane Backup\\Base\\User", "Name", "v115"));
    ASSERT_TRUE(RegWrite(kView32, "SOFTWARE\\Tamberly\\Drosvane\\CurrentVersion\\User", "Name", "oldest"));
    ASSERT_TRUE(CopyFixture("QWTOOL.DLL", m_dir / "QWTOOL.DLL"));
    ScopedEnv calls("QWTOOL_ACCOUNT_CALLS", (m_dir / "calls.txt").c_str());
    ScopedEnv answer("QWTOOL_ACCOUNT_ANSWER", "1");
    CTambRegistry reg(Settings(0));
    EXPECT_STREQ("oldest", reg.GetDrosvaneUserName());
    EXPECT_EQ(1, reg.SetDrosvaneUser());
    EXPECT_EQ("svc|DOM|pw|SRV\r\n", ReadFileBytes(m_dir / "calls.txt"));
    ScopedEnv refused("QWTOOL_ACCOUNT_ANSWER", "0x10000");  // success lives in the low word
    EXPECT_EQ(1, reg.SetDrosvaneUser());
    ASSERT_TRUE(DeleteFileA((m_dir / "QWTOOL.DLL").c_str()));
    EXPECT_EQ(1, reg.SetDrosvaneUser());

    EXPECT_STREQ("User", reg.GetDrosvaneUserName());
    // No line for the call that worked, then one for each failure.
    const std::string log = ReadFileBytes(m_dir / "setup.log");
    const size_t refusal = log.find("\t\tFailed to add a user account\r\n");
    EXPECT_EQ(log.find('\t'), refusal) << log;
    EXPECT_NE(std::string::npos, log.find("\t\tFailed to load QWTOOL.DLL to create system user account.\r\n", refusal));
}

TEST_F(CTambRegistryRegistration, KeyFamiliesAndBadInput)
{
    const DWORD seven = 7;
    const auto* data = reinterpret_cast<const unsigned char*>(&seven);
    ASSERT_TRUE(R::SetTamberlyKeyValue("F\\S", "N", REG_DWORD, data, 4) && R::SetDrosvaneKeyValue("F", "N", REG_DWORD, data, 4));
    EXPECT_EQ("7|7", RegRead(kView32, "SOFTWARE\\Brannoch\\F\\S", "N") + "|" + RegRead(kView32, kProduct + "\\F", "N"));
    unsigned long type = 0, size = 0;
    EXPECT_TRUE(R::QueryTamberlyKeyValue("F\\S", "N", &type, nullptr, &size) && type == REG_DWORD && size == 4);
    R::DeleteTamberlyKey("F");
    R::DeleteDrosvaneKey("F");
    EXPECT_TRUE(RegKeyExists(kView32, "SOFTWARE\\Brannoch\\F\\S") && !RegKeyExists(kView32, kProduct + "\\F"))
        << "a key without sub keys only";

    // Null and empty names: failure, nothing written, and never the root itself deleted.
    tagProductStruct record = Record(0x0700);
    CSettings noCode = Settings(2);
    noCode.ComponentCode("");
    size = 8;
    EXPECT_FALSE(R::RegisterProduct(nullptr, &record) || R::RegisterProduct("", &record) || R::RegisterProduct("X", nullptr)
                 || R::RegisterProduct_SQM(nullptr, &record) || R::IsProductInstalled_SQM("")
                 || R::IsProductInstalled(nullptr, 0, 0) || R::SavePerviousRegisterProduct(nullptr, 9, 9)
                 || R::CreateUninstallKey(nullptr, "a", "b") || R::CreateUninstallKey("a", "", "b")
                 || R::CreateUninstallKey("a", "b", nullptr) || R::IncrementSharedDLLCount(nullptr, 0)
                 || R::DecrementSharedDLLCount("") || R::AddTamberlyKey("") || R::SetDrosvaneKeyValue("", "N", REG_DWORD, data, 4)
                 || R::SetDrosvaneKeyValue("F", "N", REG_DWORD, nullptr, 4) || R::QueryDrosvaneKeyValue("F", "", &type, nullptr, &size)
                 || R::QueryDrosvaneKeyValue("F", "N", &type, nullptr, nullptr) || R::GetDrosvaneUserName(nullptr, size)
                 || CTambRegistry(noCode).SetBNITProduct());
    R::UnregisterProduct(nullptr), R::UnregisterProduct_SQM(""), R::UnregisterTamberlyProduct(nullptr);
    R::DeleteUninstallKey(""), R::DeleteUninstallKey(nullptr), R::DeleteTamberlyKey(""), R::DeleteDrosvaneKey("");
    EXPECT_TRUE(RegKeyExists(kView32, kUninstall) && RegKeyExists(kView32, kProduct));
    EXPECT_FALSE(RegKeyExists(kView32, kListed) || RegKeyExists(kView32, kProduct + "\\F")
                 || RegKeyExists(kView32, kUninstall + "\\a"));
}
