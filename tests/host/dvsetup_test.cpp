// The reference installer host end to end: install from the example medium, read the
// installation back, remove it. The product's keys land in the 32-bit view, from either build
// of the library, and are gone after the uninstall; its services run after the install and are
// gone after the uninstall.
#include "RegistrySupport.h"
#include "ServiceSupport.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

using namespace testsupport;

namespace {

const std::string kMakerKey = "SOFTWARE\\Brannoch";
const std::string kProductKey = kMakerKey + "\\BN Drosvane Backup";
const char kMakerFolder[] = "C:\\Program Files\\Brannoch";
const std::string kUninstallKey =
    "Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\{7D3E2A91-5C4B-4F0E-9A61-2B8C0D4E6F13}";
const std::string kHome = "C:\\Program Files\\Brannoch\\Drosvane\\";
const std::string kEnvironment = "SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Environment";
const std::string kShellExtension = "SOFTWARE\\Classes\\CLSID\\{5a1c7e42-93d0-4b6e-8f21-c03b9d4e7a15}";

std::string ComputerName()
{
    char name[MAX_COMPUTERNAME_LENGTH + 1] = {};
    DWORD size = sizeof(name);
    GetComputerNameA(name, &size);
    return name;
}

bool Has(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

std::string Dvsetup(const std::string& command, const TempDir& logs)
{
    return "\"" + ExeDir() + "..\\medium\\dvsetup.exe\" " + command + " /l:" + (logs / "dvsetup.log") +
           " /t:" + (logs / "dvsetup.trc") + " /m:" + (logs / "dvsetup.mif");
}

}  // namespace

TEST(Dvsetup, InstallStatusUninstall)
{
    const bool makerKeyExisted = RegKeyExists(kView32, kMakerKey);
    ScopedRegistryKeys cleanup({kMakerKey, kUninstallKey});
    ScopedProductRegistrations registrations;  // RNNAME stays after an uninstall, by design
    const bool makerFolderExisted = GetFileAttributesA(kMakerFolder) != INVALID_FILE_ATTRIBUTES;
    TempDir logs;
    ScopedService jobEngine("QDVJobEngine"), messageEngine("QDVMessageEngine");

    // A master setup listens for the install's and the uninstall's reports, and a user has the
    // manager console open.
    BackgroundProgram listener(Dvsetup("listen /w:60 /n:3", logs));
    for (int tries = 0; tries < 100 && !Has(listener.Output(), "listening"); ++tries)
        Sleep(100);
    FixtureConsole manager("DrosvaneMgr", "Drosvane Manager", "DrosvaneMgrAppInstMutex");
    ASSERT_TRUE(manager.ready());

    std::string output;
    ASSERT_EQ(0, RunProgramCapture(Dvsetup("install", logs), output)) << output;
    EXPECT_EQ(0L, manager.exitCode()) << "closed before any file was touched";
    EXPECT_EQ("0x637 hidden\r\n", manager.record()) << "the manager's own shutdown message";
    EXPECT_TRUE(Has(output, "verdict 2: nothing installed")) << output;
    for (const ScopedService* service : {&jobEngine, &messageEngine}) {
        EXPECT_EQ(static_cast<DWORD>(SERVICE_RUNNING), service->State()) << service->name();
        const ServiceConfigText config = ReadServiceConfig(service->name());
        EXPECT_EQ(static_cast<DWORD>(SERVICE_AUTO_START), config.startType) << service->name();
    }
    EXPECT_EQ("\"" + kHome + "JOBENG.EXE\"", ReadServiceConfig("QDVJobEngine").binaryPath);
    EXPECT_EQ(kHome, RegRead(kView32, kProductKey + "\\Base\\Path", "HOME"));
    EXPECT_EQ(kHome + "LOG", RegRead(kView32, kProductKey + "\\Base\\Path", "LOG"));
    EXPECT_EQ("Example Administrator", RegRead(kView32, kProductKey + "\\Base\\User", "Name"));
    EXPECT_EQ("1", RegRead(kView32, kProductKey + "\\Base\\Components", "SERVER"));
    EXPECT_EQ("BN Drosvane Backup - Advanced Edition", RegRead(kView32, kUninstallKey, "DisplayName"));
    EXPECT_NE("-", RegRead(kView32, kProductKey + "\\Products", "QuellmarshAB"));
    EXPECT_FALSE(RegKeyExists(kView64, kProductKey)) << "a 32-bit product's keys stay out of the 64-bit view";
    EXPECT_NE(INVALID_FILE_ATTRIBUTES, GetFileAttributesA((kHome + "DATABASE").c_str()));
    EXPECT_EQ("DROSVANE", RegRead(kView32, kEnvironment, "LNNAME"));
    EXPECT_EQ(kHome + "DATABASE", RegRead(kView32, kEnvironment, "CATPATH"));
    EXPECT_EQ(kHome + "DSHELL.DLL", RegRead(kView32, kShellExtension + "\\InProcServer32", nullptr));

    ASSERT_EQ(0, RunProgramCapture(Dvsetup("status", logs), output)) << output;
    EXPECT_NE(std::string::npos, output.find("HKLM\\" + kProductKey + "\\Base\\Path  [32-bit view]")) << output;
    EXPECT_NE(std::string::npos, output.find("version ")) << output;
    EXPECT_NE(std::string::npos, output.find("QDVMessageEngine   running, automatic start")) << output;
    EXPECT_NE(std::string::npos, output.find("BUILTIN\\Administrators")) << "the product key's list: " << output;
    // Wine keeps no service account rights and no folder lists: the install says so and goes on.
    EXPECT_NE(std::string::npos, output.find("Service account")) << output;
    EXPECT_TRUE(Has(output, "verdict           3 (this version and build is already installed)")) << output;
    EXPECT_TRUE(Has(output, kHome + "00000001.QSD (exists)")) << output;
    EXPECT_TRUE(Has(output, "SUCCESS: install finished")) << output;

    // The same version and build again: refused before anything is touched.
    EXPECT_EQ(1, RunProgramCapture(Dvsetup("install", logs), output)) << output;
    EXPECT_TRUE(Has(output, "verdict 3: this version and build is already installed")) << output;
    EXPECT_FALSE(Has(output, "Create the product folders")) << output;

    ASSERT_EQ(0, RunProgramCapture(Dvsetup("uninstall", logs), output)) << output;
    EXPECT_FALSE(RegKeyExists(kView32, kProductKey));
    EXPECT_FALSE(RegKeyExists(kView32, kUninstallKey));
    EXPECT_EQ("-", RegRead(kView32, kEnvironment, "LNNAME"));
    EXPECT_EQ("-", RegRead(kView32, kEnvironment, "CATPATH"));
    EXPECT_NE("-", RegRead(kView32, kEnvironment, "RNNAME")) << "the computer's name stays";
    EXPECT_FALSE(RegKeyExists(kView32, kShellExtension));
    EXPECT_EQ(0u, jobEngine.State()) << "removed";
    EXPECT_EQ(0u, messageEngine.State()) << "removed";
    EXPECT_EQ(INVALID_FILE_ATTRIBUTES, GetFileAttributesA(kHome.c_str()));
    EXPECT_EQ(1, RunProgramCapture(Dvsetup("status", logs), output)) << "status after uninstall: " << output;
    EXPECT_TRUE(Has(output, "verdict           2 (nothing installed)")) << output;
    EXPECT_TRUE(Has(output, "SUCCESS: uninstall finished")) << output;
    EXPECT_TRUE(Has(ReadFileBytes(logs / "dvsetup.mif"), "Start Group Name = \"UNINSTALLSTATUS\"")) << "the last run's";

    // The master heard each run's progress and result (the refused install's result included).
    ASSERT_EQ(0L, listener.Wait(10000)) << listener.Output();
    const std::string heard = listener.Output();
    EXPECT_TRUE(Has(heard, "status " + ComputerName() + "\\1\\0\\install started\\1")) << heard;
    EXPECT_TRUE(Has(heard, "result 0\\install finished")) << heard;
    EXPECT_TRUE(Has(heard, "result 1\\install refused")) << heard;
    EXPECT_TRUE(Has(heard, "result 0\\uninstall finished")) << heard;

    const std::string trace = ReadFileBytes(logs / "dvsetup.trc");
    EXPECT_NE(std::string::npos, trace.find("Give the product folders their access list: skipped, Wine has no NT SERVICE"))
        << trace;
    EXPECT_NE(std::string::npos, trace.find("install finished: 26 steps, 0 failed")) << trace;
    // The machine is left as it was: the maker's key and folder go with the last product in them.
    EXPECT_EQ(makerKeyExisted, RegKeyExists(kView32, kMakerKey));
    EXPECT_EQ(makerFolderExisted, GetFileAttributesA(kMakerFolder) != INVALID_FILE_ATTRIBUTES);
    if (!makerFolderExisted)
        RemoveTree(kMakerFolder);
}

TEST(Dvsetup, WrongCommandLineGivesUsage)
{
    TempDir logs;
    std::string output;
    EXPECT_EQ(2, RunProgramCapture(Dvsetup("", logs), output));
    EXPECT_EQ(2, RunProgramCapture(Dvsetup("reinstall", logs), output));
    EXPECT_NE(std::string::npos, output.find("usage: dvsetup")) << output;
}
