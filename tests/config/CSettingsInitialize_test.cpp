#include "CSettings.h"

#include "RegistrySupport.h"
#include "ScopedLibraryPath.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

using namespace testsupport;

namespace {

const std::string kProduct = "SOFTWARE\\Brannoch\\BN Drosvane Backup";
const std::string kPath = kProduct + "\\Base\\Path";
const std::string kAlert = "SOFTWARE\\Brannoch\\ALERT\\CurrentVersion\\Path";
const std::string kVexilan = "SYSTEM\\CurrentControlSet\\Services\\VexilateIT Server";

// Found on the machine: Drosvane, Alert, NewAlert, Vexilan, ClientAgent, DB, Queue.
std::string Flags(const CSettings& s)
{
    std::string text;
    for (int flag : {s.DrosvaneExists(), s.AlertExists(), s.NewAlertExists(), s.VexilanExists(), s.ClientAgentExists(),
                     s.DBExists(), s.QueueExists()})
        text += std::to_string(flag);
    return text;
}

// A run from TEMP\media\ with the answer file TEMP\SETUP.ICF; the product-map library answers.
class SettingsInitialize : public ::testing::Test {
protected:
    SettingsInitialize() { Medium(1, 1); }

    std::string Folder(const char* name)
    {
        CreateDirectoryA((m_dir / name).c_str(), nullptr);
        return m_dir / name;
    }
    void Medium(int subType, int dataMigration, const std::string& more = "")
    {
        ASSERT_TRUE(WriteFileBytes(Folder("media") + "\\SETUP.INF", "[Setup]\r\nProdSubType=" + std::to_string(subType) +
                                   "\r\n[Components]\r\nDataMigration=" + std::to_string(dataMigration) + "\r\n" + more));
    }
    void Answer(const std::string& text) { ASSERT_TRUE(WriteFileBytes(m_dir / "SETUP.ICF", text)); }
    // The last run failed and logged the line.
    void ExpectFailed(const std::string& line) const
    {
        EXPECT_EQ(0, m_result) << line;
        EXPECT_NE(std::string::npos, ReadFileBytes(m_dir / "setup.log").find("\t" + line)) << line;
    }

    CSettings Run(int batch, int uninstall = 0)
    {
        tagSETUP_INFO info = {};
        strcpy(info.szLogFile, (m_dir / "setup.log").c_str());
        strcpy(info.szSourcePath, (m_dir / "media\\").c_str());
        strcpy(info.szBatchFile, (m_dir / "SETUP.ICF").c_str());
        info.nProductType = 133;
        info.bBatchOperation = batch;
        CSettings settings(&info, uninstall);
        m_result = settings.Initialize();
        return settings;
    }

    TempDir m_dir;
    ScopedCurrentDir m_cwd;
    ScopedRegistryKeys m_keys{{"SOFTWARE\\Brannoch", "SOFTWARE\\Tamberly", kVexilan}};
    std::unique_ptr<ScopedLibraryPath> m_productMap = std::make_unique<ScopedLibraryPath>("TambProd.dll", "TambProd.dll");
    ScopedEnv m_productName{"TAMBPROD_NAME_ANSWER", "Drosvane Server"};
    int m_result = -1;
};

}  // namespace

TEST_F(SettingsInitialize, RegistryAndFoldersGiveTheFlagsAndCurrentPaths)
{
    // Nothing installed (a home folder recorded but gone): the default folders are proposed.
    const std::string home = m_dir / "home", db = Folder("db"), alert = Folder("alert"), agent = Folder("agent");
    ASSERT_TRUE(RegWrite(kView32, kPath, "HOME", home));
    CSettings s = Run(0);
    EXPECT_EQ("0000000", Flags(s));
    const std::string product = RegRead(kView32, "SOFTWARE\\Microsoft\\Windows\\CurrentVersion", "ProgramFilesDir") +
                                "\\Brannoch\\BN Drosvane Backup\\";
    EXPECT_EQ(product + "|" + product + "|" + product + "ClientAgent\\|C:\\ALERT\\",
              std::string(s.CurrentDrosvanePath()) + "|" + s.DrosvanePath() + "|" + s.CurrentClientAgentPath() + "|" +
                  s.CurrentAlertPath());
    EXPECT_TRUE(s.NewAlertInstall());

    Folder("home");
    Folder("home\\00000001.QSD");
    ASSERT_TRUE(WriteFileBytes(db + "\\DVMAIN.DBD", ""));
    ASSERT_TRUE(RegWrite(kView32, kPath, "DATABASE", db));
    ASSERT_TRUE(RegWrite(kView32, kAlert, "HOME", alert));
    ASSERT_TRUE(RegWrite(kView32, kProduct + "\\ClientAgent\\Common", "Path", agent + "\\"));
    ASSERT_TRUE(RegWrite(kView32, kVexilan, "DisplayName", "AV"));
    ASSERT_TRUE(SetCurrentDirectoryA(m_dir.path().c_str()));
    s = Run(0);
    EXPECT_EQ(m_dir.path(), CurrentFolder()) << "not left on the medium";
    EXPECT_EQ("1111111", Flags(s) + (m_result == 1 ? "" : " failed"));
    EXPECT_EQ(home + "\\|" + alert + "\\|" + agent + "\\",
              std::string(s.CurrentDrosvanePath()) + "|" + s.CurrentAlertPath() + "|" + s.CurrentClientAgentPath());
    EXPECT_EACH(0, ANSWER(s.NewDrosvaneInstall()), ANSWER(s.NewAlertInstall())) << ": an upgrade stays where it is";

    // The alert known only under the former maker's key; the database in the home folder's
    // DATABASE folder, unrecorded; then a recorded database folder without database files.
    RegDeleteValueIn(kView32, kAlert, "HOME");
    RegDeleteValueIn(kView32, kPath, "DATABASE");
    ASSERT_TRUE(RegWrite(kView32, "SOFTWARE\\Tamberly\\ALERT\\CurrentVersion\\Path", "HOME", alert));
    ASSERT_TRUE(WriteFileBytes(Folder("home\\DATABASE") + "\\DV1.DBD", ""));
    EXPECT_EQ("1101111", Flags(Run(0)));
    ASSERT_TRUE(RegWrite(kView32, kPath, "DATABASE", db));
    ASSERT_TRUE(MoveFileA((db + "\\DVMAIN.DBD").c_str(), (db + "\\DVMAIN.DAT").c_str()));
    EXPECT_EQ("1101101", Flags(Run(0)));
}

TEST_F(SettingsInitialize, ProductSubTypeAdjustsWhatTheMediumOffers)
{
    const struct { int subType, dataMigration; const char* hsmChangerRaid; } cases[] = {
        {0, 1, "000"}, {1, 1, "111"}, {2, 1, "111"}, {3, 1, "010"}, {4, 1, "010"}, {5, 1, "100"}, {1, 0, "011"}};
    for (const auto& c : cases) {
        Medium(c.subType, c.dataMigration, "OVGFrameWork=1\r\nOVGFrameWorkSetupFileName=ovg\\s.exe\r\n"
                                           "[Support]\r\nProductName=Drosvane\r\nSetupFileName=setup.exe\r\n");
        const CSettings s = Run(0);
        EXPECT_EQ(std::string(c.hsmChangerRaid) + "|" + std::to_string(c.subType) + "1ovg\\s.exe|Drosvane|setup.exe",
                  std::to_string(s.HSMAvailable()) + std::to_string(s.ChangerAvailable()) + std::to_string(s.RAIDAvailable()) + "|" +
                      std::to_string(s.ProductSubType()) + std::to_string(s.OVGFWAvailable()) + s.OVGFWSetupFileName() + "|" +
                      s.LaunchSetupProductName() + "|" + s.LaunchSetupFileName()) << c.subType;
    }
    ASSERT_TRUE(DeleteFileA((m_dir / "media\\SETUP.INF").c_str()));
    EXPECT_FALSE(Run(0).HSMAvailable());
    ExpectFailed(m_dir / "media\\SETUP.INF failed (2) in ReadMedium");
}

TEST_F(SettingsInitialize, BatchRunTakesTheAnswerFileChoices)
{
    Answer("[InstallPath]\r\nAlertPath=D:\\Alert\r\n[Base]\r\nProductPath=D:\\Drosvane\r\nSystemDomainName=DOM\r\n"
           "SystemUserName=svc\r\nAVFeature=0\r\n[System Account]\r\nSystemPassword=pw\r\n[UserInfo]\r\nFullName=Ann\r\n"
           "CompanyName=Acme\r\n[Install]\r\nAdminFeature=0\r\nOverwriteDB=0\r\nOverwriteJobQueue=0\r\n"
           "[DatabaseOption]\r\nSQL=1\r\n");
    CSettings s = Run(1);
    EXPECT_EQ("D:\\Drosvane\\|D:\\Alert\\|Ann|Acme|DOM|svc|pw|1",
              std::string(s.DrosvanePath()) + "|" + s.AlertPath() + "|" + s.RegisteredUser() + "|" + s.RegisteredCompany() +
                  "|" + s.SystemAccountDomain() + "|" + s.SystemAccountName() + "|" + s.SystemAccountPassword() + "|" +
                  std::to_string(m_result));
    EXPECT_EQ(0x1Bu, s.Components()) << "manager, server, alert, data migration";
    EXPECT_EQ(unsigned(CSettings::INSTALL_SQL), s.Databases());
    EXPECT_EACH(0, ANSWER(s.OverwriteDB()), ANSWER(s.DeleteQueue()));

    // Data migration only when asked for, not a remote setup (HOST.INI names the master) and offered.
    const struct { int asked, remote, offered; } cases[] = {{1, 0, 1}, {0, 0, 1}, {1, 1, 1}, {1, 0, 0}};
    for (const auto& c : cases) {
        Answer("[Install]\r\nDataMigration=" + std::to_string(c.asked) + "\r\n");
        Medium(1, c.offered);
        ASSERT_TRUE(WriteFileBytes(m_dir / "media\\HOST.INI", c.remote ? "[HostServer]\r\nHostServer=MASTER\r\n" : ""));
        s = Run(1);
        EXPECT_EQ(c.asked && !c.remote && c.offered, s.InstallHSM()) << c.asked << c.remote << c.offered;
        EXPECT_EQ(c.remote ? "1MASTER" : "0", std::to_string(s.RemoteSetup()) + s.RemoteHostServer());
    }
    // What the last answer file leaves out: the keys' defaults, empty texts included; the empty
    // product path replaces the folder the machine proposed.
    EXPECT_EQ(unsigned(CSettings::INSTALL_RAIMA), s.Databases());
    EXPECT_EACH(1, ANSWER(s.OverwriteDB()), ANSWER(s.DeleteQueue()));
    EXPECT_FALSE(s.InstallOVG());
    EXPECT_STRNE("", s.CurrentDrosvanePath());
    EXPECT_EQ("|C:\\ALERT\\||", std::string(s.DrosvanePath()) + "|" + s.AlertPath() + "|" + s.RegisteredUser() + "|" +
                                    s.RegisteredCompany());
}

TEST_F(SettingsInitialize, BatchUninstallTakesWhatToRemoveThenTheAnswerFileChoices)
{
    // Step 4 marks everything for removal (no "Uninstall" keys); the install switches, all off,
    // then clear those bits again, and the other answers are copied too.
    Answer("[Install]\r\nManagerFeature=0\r\nSeverFeature=0\r\nAdminFeature=0\r\nDataMigration=0\r\n"
           "[Base]\r\nAlertFeature=0\r\nAVFeature=0\r\nProductPath=D:\\Elsewhere\r\n");
    CSettings s = Run(1, 1);
    EXPECT_EQ(0u, s.Components()) << "the install switches, copied after step 4";
    EXPECT_STREQ("D:\\Elsewhere\\", s.DrosvanePath());

    // The install switches replace the uninstall choices that share their bits.
    Answer("[Uninstall]\r\nSeverFeature=0\r\nAlertFeature=0\r\n[Install]\r\nManagerFeature=1\r\nSeverFeature=0\r\n"
           "AdminFeature=0\r\nDataMigration=0\r\n[Base]\r\nAlertFeature=1\r\nAVFeature=0\r\n");
    EXPECT_EQ(unsigned(CSettings::INSTALL_MANAGER | CSettings::INSTALL_ALERT), Run(1, 1).Components());
    Answer("[Uninstall]\r\nAlertFeature=0\r\n");  // install switches at their defaults: all on
    EXPECT_EQ(0x5Fu, Run(1, 1).Components()) << "manager, server, admin, alert, data migration, antivirus";
    EXPECT_EQ(0u, Run(0, 1).Components()) << "not a batch run";

    // No answer file: step 4 takes the answer file object's defaults (remove everything), and
    // step 6 has nothing to copy.
    ASSERT_TRUE(DeleteFileA((m_dir / "SETUP.ICF").c_str()));
    s = Run(1, 1);
    EXPECT_EQ(unsigned(CSettings::UNINSTALL_DROSVANE | CSettings::UNINSTALL_ALERT), s.Components());
    EXPECT_STREQ(s.CurrentDrosvanePath(), s.DrosvanePath());
    ExpectFailed("Answer file " + m_dir / "SETUP.ICF failed (2) in CSettings::Initialize");
    EXPECT_EQ(0u, Run(1, 0).Components()) << "an installation takes no uninstall choice";
}

TEST_F(SettingsInitialize, ProductComesFromTheProductMapLibrary)
{
    ScopedEnv call("TAMBPROD_CALL", nullptr);
    EXPECT_STREQ("Drosvane Server", Run(0).Product());
    EXPECT_EQ("133 1", EnvText("TAMBPROD_CALL")) << "product type, zeroed record";
    EXPECT_EQ(nullptr, GetModuleHandleA("TambProd.dll")) << "freed at once";
    ScopedEnv longName("TAMBPROD_NAME_ANSWER", std::string(30, 'N').c_str());
    EXPECT_EQ(std::string(23, 'N'), Run(0).Product());

    const struct { const char* answer; const char* fixture; const char* logged; } failures[] = {
        {nullptr, "TambProd.dll", "CPGetProductMapInfo of product type 133 failed (1168) in AskProductMap"},
        {"Name", "noexports.dll", "GetProcAddress TambProd.dll CPGetProductMapInfo failed (127) in AskProductMap"},
        {"Name", nullptr, "LoadLibrary TambProd.dll failed (126) in AskProductMap"}};
    for (const auto& f : failures) {
        ScopedEnv answer("TAMBPROD_NAME_ANSWER", f.answer);
        m_productMap.reset();
        if (f.fixture)
            m_productMap = std::make_unique<ScopedLibraryPath>(f.fixture, "TambProd.dll");
        EXPECT_STREQ("", Run(0).Product()) << f.logged;
        ExpectFailed(f.logged);
    }
}
