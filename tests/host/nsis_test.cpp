// The NSIS demo installer (host/nsis/SetupCLSDemo.nsi) run silently, as an installer author runs
// his own: each plain function it calls through the NSIS System plug-in answers in its results
// log as the library promises, and the machine shows what the calls did. The installer is a
// 32-bit program: the 64-bit suite runs the 32-bit build's installer in its own prefix (WoW64),
// which a host without 32-bit execution cannot do.
#include "RegistrySupport.h"
#include "ServiceSupport.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>

using namespace testsupport;

namespace {

const std::string kProductKey = "SOFTWARE\\Brannoch\\BN Drosvane Backup";
const std::string kBackupKey = kProductKey + "(BACKUP)";
const char kVersion1Code[] = "{7D3E2A91-5C4B-4F0E-9A61-2B8C0D4E6F13}";
const std::string kVersion1Entry = std::string("Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\") + kVersion1Code;
const char kService[] = "SetupCLSNsisDemo";

// The "Name=value" lines of the installer's results log.
std::map<std::string, std::string> ReadResults(const std::string& path)
{
    std::map<std::string, std::string> results;
    std::istringstream lines(ReadFileBytes(path));
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        const size_t equals = line.find('=');
        if (equals != std::string::npos)
            results[line.substr(0, equals)] = line.substr(equals + 1);
    }
    return results;
}

// Version 1.0 build 120 of the example product installed, as the example medium's upgrade list
// names it: its product record, its Windows Installer entry and a database setting that an
// upgrade carries over. Removed again, with the backup the installer makes, at the end.
class NsisDemo : public ::testing::Test {
protected:
    void SetUp() override
    {
#ifdef _WIN64
        if (EnvText("SETUPCLS_RUN_32BIT") == "no")
            GTEST_SKIP() << "this host cannot run 32-bit programs (scripts/test.sh found so), and the NSIS "
                            "installer is one";
#endif
        std::string record(49, '\0');
        const WORD version = 0x0100, build = 120;
        memcpy(&record[8], &version, sizeof(version));
        memcpy(&record[10], &build, sizeof(build));
        ASSERT_TRUE(RegWrite(kView32, kProductKey + "\\Products", "QuellmarshAB", REG_BINARY, record.data(), 49));
        ASSERT_TRUE(RegWrite(kView32, kVersion1Entry, "DisplayName", "BN Drosvane Backup 1.0"));
        const DWORD days = 30;
        ASSERT_TRUE(RegWrite(kView32, kProductKey + "\\Base\\Database", "PruningDays", REG_DWORD, &days, sizeof(days)));
    }

    // The installer run silently into the install folder; its exit code.
    long RunInstaller() const
    {
        const std::string installer = ExeDir() + SETUPCLS_NSIS_DEMO;
        EXPECT_NE(INVALID_FILE_ATTRIBUTES, GetFileAttributesA(installer.c_str()))
            << installer << " is missing: the 32-bit build makes it (scripts/build.sh)";
        return RunProgram("\"" + installer + "\" /S /D=" + m_installDir, 120000);
    }

    ScopedRegistryKeys m_keys{{"SOFTWARE\\Brannoch", kBackupKey, kVersion1Entry}};
    ScopedService m_service{kService};
    TempDir m_dir;
    const std::string m_installDir = m_dir / "SetupCLS Demo";
};

TEST_F(NsisDemo, EveryCallAnswersInTheLogAndLeavesItsMarkOnTheMachine)
{
    ASSERT_EQ(0, RunInstaller());
    const auto results = ReadResults(m_installDir + "\\nsis-results.log");
    const auto result = [&results](const std::string& name) {
        const auto found = results.find(name);
        return found == results.end() ? std::string("(no line)") : found->second;
    };

    // Scrambling answers 0 for success, the others 1; a service state is the one waited for
    // (1 stopped, 4 running, 0 no such service).
    const struct {
        const char* name;
        std::string expected;
    } kResults[] = {
        {"DvSetIsAllowUpgrade", "0"},
        {"DvSetIsAllowUpgrade.versionBuild", std::to_string(120 << 16 | 0x0100)},
        {"DvSetBKOldProduct", "1"},
        {"DvSetBKOldProduct.productCode", kVersion1Code},
        {"DVSET_ZOREncrypt_NUMSTR", "0"},
        {"DVSET_ZORDecrypt_NUMSTR", "0"},
        {"DVSET_ZORDecrypt_NUMSTR.text", "Drosvane-Demo-7"},
        {"DVSET_Is3DESEncrypt", "1"},
        {"InstallServiceByCmdLine", "1"},
        {"InstallServiceByCmdLine.state", "1"},
        {"StartServiceByCmdLine", "1"},
        {"StartServiceByCmdLine.state", "4"},
        {"StopServiceByCmdLine", "1"},
        {"StopServiceByCmdLine.state", "1"},
        {"RemoveServiceByCmdLine", "1"},
        {"RemoveServiceByCmdLine.state", "0"},
        // Wine (reporting Windows 6.1) has no "NT SERVICE\TrustedInstaller", whom the product's
        // folder rule names: the rule is refused there with ERROR_NONE_MAPPED.
        {"AddAccessPermissionOnFolder", "0"},
        {"AddAccessPermissionOnFolder.lastError", std::to_string(ERROR_NONE_MAPPED)},
        {"AdjustAccessRights", "1"},
        // The mask itself is not compared: Wine answers full control for any list.
        {"GetBuiltinDomainAccessMaskOnFolder", "1"},
    };
    for (const auto& expected : kResults)
        EXPECT_EQ(expected.expected, result(expected.name)) << expected.name;

    // The scrambled text is the printable form: two hexadecimal digits a byte, 3DES in blocks of 8.
    const std::string text = result("DVSET_ZOREncrypt_NUMSTR.text");
    EXPECT_EQ(std::string::npos, text.find_first_not_of("0123456789abcdef")) << text;
    EXPECT_EQ(0u, text.size() % 16) << text;
    EXPECT_NE(0u, text.size());

    // The backup holds the earlier product's setting; the service program was asked, in order,
    // with each switch; the service is gone.
    EXPECT_EQ("30", RegRead(kView32, kBackupKey + "\\Base\\Database", "PruningDays"));
    std::istringstream calls(ReadFileBytes(m_installDir + "\\FIXSVC.ARGS"));
    for (const char* command : {"-install", "-start", "-stop", "-remove"}) {
        std::string line;
        std::getline(calls, line);
        EXPECT_NE(std::string::npos, line.find(std::string(" /manage:") + kService + " " + command)) << line;
    }
    EXPECT_EQ(0u, m_service.State()) << kService << " is still known to the service manager";
}

}  // namespace
