// The reference installer host end to end, on the two example media (version 1 and version 2 of
// the product): install, read back, upgrade, refuse, fail half-way and remove. Each test starts
// from a snapshot of the machine state the library touches (dvsetup snapshot) and ends with the
// same snapshot: nothing is left behind but what the product leaves on purpose.
#include "CComputer.h"
#include "CService.h"

#include "RegistrySupport.h"
#include "ServiceSupport.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <regex>
#include <sstream>

using namespace testsupport;

namespace {

const std::string kMakerKey = "SOFTWARE\\Brannoch";
const std::string kProductKey = kMakerKey + "\\BN Drosvane Backup";
const std::string kBackupKey = kProductKey + "(BACKUP)";
const char kMakerFolder[] = "C:\\Program Files\\Brannoch";
const std::string kUninstall = "Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\";
const std::string kVersion1Entry = kUninstall + "{7D3E2A91-5C4B-4F0E-9A61-2B8C0D4E6F13}";
const std::string kVersion2Entry = kUninstall + "{7D3E2A91-5C4B-4F0E-9A61-2B8C0D4E6F14}";
const std::string kHome = "C:\\Program Files\\Brannoch\\Drosvane\\";
const std::string kEnvironment = "SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Environment";
const std::string kShellExtension = "SOFTWARE\\Classes\\CLSID\\{5a1c7e42-93d0-4b6e-8f21-c03b9d4e7a15}";

// What an uninstall leaves on purpose, and why: the lines of the snapshot that match are not
// compared.
const struct {
    const char* line;
    const char* why;
} kLeftOnPurpose[] = {
    {"\tRNNAME\t", "the computer's name in the environment: the product's uninstall leaves it for other products"},
    // The shell's own handler lists: Windows always has them, and the uninstall takes only the
    // product's entries out of them; a fresh Wine prefix has none, so the install makes them.
    // Only whether the keys are there: a value left in them would still show.
    {R"(^registry\tHKCR(32|64)\\(Drive|Directory|\*)(\\shellex(\\(ContextMenuHandlers|PropertySheetHandlers))?)?\t\t(key|absent)\t)",
     "Windows' own handler lists, emptied of the product's entries"},
};

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

std::string Medium(const char* name)
{
    return ExeDir() + "..\\" + name + "\\";
}

class Dvsetup : public ::testing::Test {
protected:
    void SetUp() override { m_before = Snapshot(); }
    // A test that failed half-way leaves no product folder to the next one.
    void TearDown() override
    {
        if (!m_makerFolderExisted)
            RemoveTree(kMakerFolder);
    }

    // dvsetup.exe of the medium folder (ending in a back-slash) with the command; its output.
    long Run(const std::string& medium, const std::string& command, std::string& output)
    {
        return RunProgramCapture(Command(medium, command), output, 120000);
    }
    std::string Command(const std::string& medium, const std::string& command) const
    {
        return "\"" + medium + "dvsetup.exe\" " + command + " /l:" + (m_logs / "dvsetup.log") +
               " /t:" + (m_logs / "dvsetup.trc") + " /m:" + (m_logs / "dvsetup.mif");
    }
    // The machine state as dvsetup snapshot writes it, without the lines of what is kept on
    // purpose.
    std::string Snapshot() const
    {
        const std::string file = m_logs / "snapshot.txt";
        std::string output;
        EXPECT_EQ(0, RunProgramCapture(Command(Medium("medium"), "snapshot " + file), output)) << output;
        std::istringstream lines(ReadFileBytes(file));
        std::string kept;
        for (std::string line; std::getline(lines, line);) {
            bool onPurpose = false;
            for (const auto& left : kLeftOnPurpose)
                onPurpose = onPurpose || std::regex_search(line, std::regex(left.line));
            if (!onPurpose)
                kept += line + "\n";
        }
        return kept;
    }
    // The user's own choices on an installed product: the job engine started by hand, the
    // database kept 30 days.
    void CustomiseAsAUser() const
    {
        ASSERT_EQ(1, CService::ChangeSvcStartType("QDVJobEngine", SERVICE_DEMAND_START));
        const DWORD days = 30;
        ASSERT_TRUE(RegWrite(kView32, kProductKey + "\\Base\\Database", "PruningDays", REG_DWORD, &days, sizeof(days)));
    }
    void ExpectCustomisationsKept() const
    {
        EXPECT_EQ(static_cast<DWORD>(SERVICE_DEMAND_START), ReadServiceConfig("QDVJobEngine").startType);
        EXPECT_EQ(static_cast<DWORD>(SERVICE_AUTO_START), ReadServiceConfig("QDVMessageEngine").startType);
        EXPECT_EQ("30", RegRead(kView32, kProductKey + "\\Base\\Database", "PruningDays"));
    }

    TempDir m_logs;
    ScopedRegistryKeys m_keys{{kMakerKey, kBackupKey, kVersion1Entry, kVersion2Entry}};
    ScopedProductRegistrations m_registrations;
    ScopedService m_jobEngine{"QDVJobEngine"}, m_messageEngine{"QDVMessageEngine"};
    std::string m_before;
    const bool m_makerFolderExisted = GetFileAttributesA(kMakerFolder) != INVALID_FILE_ATTRIBUTES;
};

}  // namespace

TEST_F(Dvsetup, InstallStatusUninstallLeaveNothingBehind)
{
    // A master setup listens for each run's reports, and a user has the manager console open.
    BackgroundProgram listener(Command(Medium("medium"), "listen /w:60 /n:3"));
    for (int tries = 0; tries < 100 && !Has(listener.Output(), "listening"); ++tries)
        Sleep(100);
    FixtureConsole manager("DrosvaneMgr", "Drosvane Manager", "DrosvaneMgrAppInstMutex");
    ASSERT_TRUE(manager.ready());

    std::string output;
    ASSERT_EQ(0, Run(Medium("medium"), "install", output)) << output;
    EXPECT_EQ(0L, manager.exitCode()) << "closed before any file was touched";
    EXPECT_EQ("0x637 hidden\r\n", manager.record()) << "the manager's own shutdown message";
    EXPECT_TRUE(Has(output, "verdict 2: nothing installed")) << output;
    for (const ScopedService* service : {&m_jobEngine, &m_messageEngine}) {
        EXPECT_EQ(static_cast<DWORD>(SERVICE_RUNNING), service->State()) << service->name();
        EXPECT_EQ(static_cast<DWORD>(SERVICE_AUTO_START), ReadServiceConfig(service->name()).startType);
    }
    EXPECT_EQ("\"" + kHome + "JOBENG.EXE\"", ReadServiceConfig("QDVJobEngine").binaryPath);
    EXPECT_EQ(kHome, RegRead(kView32, kProductKey + "\\Base\\Path", "HOME"));
    EXPECT_EQ("Example Administrator", RegRead(kView32, kProductKey + "\\Base\\User", "Name"));
    EXPECT_EQ("BN Drosvane Backup - Advanced Edition", RegRead(kView32, kVersion2Entry, "DisplayName"));
    EXPECT_FALSE(RegKeyExists(kView64, kProductKey)) << "a 32-bit product's keys stay out of the 64-bit view";
    EXPECT_EQ("DROSVANE", RegRead(kView32, kEnvironment, "LNNAME"));
    EXPECT_EQ(kHome + "DSHELL.DLL", RegRead(kView32, kShellExtension + "\\InProcServer32", nullptr));

    ASSERT_EQ(0, Run(Medium("medium"), "status", output)) << output;
    EXPECT_TRUE(Has(output, "HKLM\\" + kProductKey + "\\Base\\Path  [32-bit view]")) << output;
    EXPECT_TRUE(Has(output, "QDVMessageEngine   running, automatic start")) << output;
    EXPECT_TRUE(Has(output, "BUILTIN\\Administrators")) << "the product key's list: " << output;
    EXPECT_TRUE(Has(output, "verdict           3 (this version and build is already installed)")) << output;
    EXPECT_TRUE(Has(output, kHome + "00000001.QSD (exists)")) << output;
    EXPECT_TRUE(Has(output, "SUCCESS: install finished")) << output;

    // The same version and build again: refused before anything is touched.
    EXPECT_EQ(1, Run(Medium("medium"), "install", output)) << output;
    EXPECT_TRUE(Has(output, "verdict 3: this version and build is already installed")) << output;
    EXPECT_FALSE(Has(output, "Create the product folders")) << output;

    ASSERT_EQ(0, Run(Medium("medium"), "uninstall", output)) << output;
    EXPECT_NE("-", RegRead(kView32, kEnvironment, "RNNAME")) << "the computer's name stays";
    EXPECT_EQ(1, Run(Medium("medium"), "status", output)) << "status after uninstall: " << output;
    EXPECT_TRUE(Has(output, "verdict           2 (nothing installed)")) << output;
    EXPECT_TRUE(Has(output, "SUCCESS: uninstall finished")) << output;
    EXPECT_TRUE(Has(ReadFileBytes(m_logs / "dvsetup.mif"), "Start Group Name = \"UNINSTALLSTATUS\"")) << "the last run's";
    const std::string trace = ReadFileBytes(m_logs / "dvsetup.trc");
    EXPECT_TRUE(Has(trace, "Give the product folders their access list: skipped, Wine has no NT SERVICE")) << trace;
    EXPECT_TRUE(Has(trace, "install finished: 27 steps, 0 failed")) << trace;

    // The master heard each run's progress and result, the refused install's included.
    ASSERT_EQ(0L, listener.Wait(10000)) << listener.Output();
    const std::string heard = listener.Output();
    EXPECT_TRUE(Has(heard, "status " + ComputerName() + "\\1\\0\\install started\\1")) << heard;
    EXPECT_TRUE(Has(heard, "result 0\\install finished")) << heard;
    EXPECT_TRUE(Has(heard, "result 1\\install failed and was undone")) << heard;
    EXPECT_TRUE(Has(heard, "result 0\\uninstall finished")) << heard;
    EXPECT_EQ(m_before, Snapshot());
}

// Version 1, changed by its user, upgraded to version 2: the verdict allows it, version 1 is
// removed, the user's choices come back; version 1 may not then replace version 2.
TEST_F(Dvsetup, UpgradeKeepsTheUsersChoices)
{
    std::string output;
    ASSERT_EQ(0, Run(Medium("medium-v1"), "install", output)) << output;
    CustomiseAsAUser();
    ASSERT_EQ(0, Run(Medium("medium"), "upgrade", output)) << output;
    EXPECT_TRUE(Has(output, "verdict 0: upgrade allowed")) << output;
    EXPECT_TRUE(Has(output, "earlier product: version 1.0 build 120")) << output;
    ExpectCustomisationsKept();
    EXPECT_FALSE(RegKeyExists(kView32, kVersion1Entry)) << "version 1 removed";
    EXPECT_FALSE(RegKeyExists(kView32, kBackupKey)) << "the backup went back where it came from";
    EXPECT_TRUE(Has(output, "version 2.0 build 215")) << output;

    EXPECT_EQ(1, Run(Medium("medium-v1"), "install", output)) << output;
    EXPECT_TRUE(Has(output, "verdict 1: upgrade not allowed")) << "a downgrade: " << output;
    ASSERT_EQ(0, Run(Medium("medium"), "uninstall", output)) << output;
    EXPECT_EQ(m_before, Snapshot());
}

// An upgrade from a damaged medium (its job engine program missing) fails half-way, after
// version 1 is gone: its stages are undone, the earlier product's keys wait in the backup key,
// and the next install from a sound medium completes and brings them back.
TEST_F(Dvsetup, AnInterruptedUpgradeLosesNothing)
{
    std::string output;
    ASSERT_EQ(0, Run(Medium("medium-v1"), "install", output)) << output;
    CustomiseAsAUser();
    TempDir damaged;
    ASSERT_NE(0, CComputer::CopyFileRecursively(Medium("medium").c_str(), (damaged.path() + "\\").c_str(), 0));
    ASSERT_TRUE(DeleteFileA((damaged / "JOBENG.EXE").c_str()));

    EXPECT_NE(0, Run(damaged.path() + "\\", "upgrade", output)) << output;
    EXPECT_TRUE(Has(output, "FAILED  Copy the service programs into the home folder")) << output;
    EXPECT_TRUE(Has(output, "the stages of this upgrade are undone")) << output;
    EXPECT_EQ("30", RegRead(kView32, kBackupKey + "\\Base\\Database", "PruningDays")) << "kept aside";
    EXPECT_FALSE(RegKeyExists(kView32, kVersion2Entry)) << "undone";
    EXPECT_EQ(0u, m_jobEngine.State()) << "no service of the failed upgrade is left";
    EXPECT_EQ(INVALID_FILE_ATTRIBUTES, GetFileAttributesA(kHome.c_str())) << "nor its folders";

    ASSERT_EQ(0, Run(Medium("medium"), "install", output)) << output;
    ExpectCustomisationsKept();
    EXPECT_FALSE(RegKeyExists(kView32, kBackupKey));
    ASSERT_EQ(0, Run(Medium("medium"), "uninstall", output)) << output;
    EXPECT_EQ(m_before, Snapshot());
}

TEST_F(Dvsetup, WrongCommandLineGivesUsage)
{
    std::string output;
    EXPECT_EQ(2, Run(Medium("medium"), "", output));
    EXPECT_EQ(2, Run(Medium("medium"), "reinstall", output));
    EXPECT_TRUE(Has(output, "usage: dvsetup")) << output;
}
