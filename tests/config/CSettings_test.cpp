#include "CSettings.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

// Fills a text field with its longest NUL-terminated text: width - 1 copies of ch.
template <size_t N>
std::string Fill(char (&field)[N], char ch)
{
    memset(field, ch, N - 1);
    field[N - 1] = '\0';
    return std::string(N - 1, ch);
}

}  // namespace

TEST(CSettings, RecordGoesIntoEveryFieldAndTheRestKeepsItsDefaults)
{
    tagSETUP_INFO info;
    memset(&info, 0x7F, sizeof(info));  // padding and the unread block hold noise
    // A product name of the field's full length: "S...S - E...E".
    memset(info.szProductName, 'S', 100);
    memcpy(info.szProductName + 100, " - ", 3);
    memset(info.szProductName + 103, 'E', 152);
    info.szProductName[255] = '\0';
    const std::string profile = Fill(info.szProfile, 'a');
    const std::string trace = Fill(info.szTraceFile, 'b');
    const std::string source = Fill(info.szSourcePath, 'c');
    const std::string batch = Fill(info.szBatchFile, 'd');
    const std::string mif = Fill(info.szMIFFile, 'e');
    const std::string group = Fill(info.szProgramGroupName, 'f');
    const std::string log = Fill(info.szLogFile, 'g');
    const std::string fix = Fill(info.szFixNumber, 'h');
    info.nProductType = 133;
    info.bIgnoreErrors = 2;
    info.bTrace = 3;
    info.bBatchOperation = 4;
    info.bMIF = 5;
    info.bConfigurationOnly = 6;
    info.bCopyOnlyMode = 7;
    info.bForceOperation = 8;
    info.bUninstallAll = 9;

    CSettings settings(&info, 1);
    EXPECT_EQ(std::string(100, 'S') + " - " + std::string(152, 'E'), settings.ProductName());
    EXPECT_EQ(std::string(100, 'S'), settings.ProductShortName());
    EXPECT_EQ(std::string(152, 'E'), settings.EditionName());
    EXPECT_EQ(profile, settings.Profile());
    EXPECT_EQ(trace, settings.TraceFile());
    EXPECT_EQ(source, settings.SourcePath());
    EXPECT_EQ(batch, settings.BatchFile());
    EXPECT_EQ(mif, settings.MIFFile());
    EXPECT_EQ(group, settings.ProgramGroupName());
    EXPECT_EQ(log, settings.LogFile());
    EXPECT_EQ(fix, settings.GetFixNumber());
    EXPECT_EQ(133, settings.ProductType());
    EXPECT_EQ(2, settings.IgnoreErrors());
    EXPECT_EQ(3, settings.Trace());
    EXPECT_EQ(4, settings.BatchOperation());
    EXPECT_EQ(5, settings.MIF());
    EXPECT_EQ(6, settings.ConfigurationOnly());
    EXPECT_EQ(7, settings.IsCopyOnlyMode());
    EXPECT_EQ(8, settings.IsForceOperation());
    EXPECT_EQ(9, settings.IsUninstallAll());
    EXPECT_EQ(1, settings.Uninstall());

    EXPECT_FALSE(settings.RemoteSetup());
    EXPECT_STREQ("", settings.RemoteHostServer());
    EXPECT_FALSE(settings.CustomSetup());
    EXPECT_FALSE(settings.Aborted());
    EXPECT_STREQ("", settings.DrosvanePath());
    EXPECT_EQ(0u, settings.Components());
    EXPECT_EQ(CSettings::INSTALL_RAIMA, settings.Databases());
    EXPECT_EQ(2, settings.InstallDBType());

    // The copy is independent of the record and of the original.
    memset(&info, 0, sizeof(info));
    CSettings copy = settings;
    settings.Profile("other");
    EXPECT_EQ(profile, copy.Profile());
    EXPECT_EQ(trace, copy.TraceFile());
}

TEST(CSettings, ProductNameSplitsAtTheFirstSeparatorOnly)
{
    CSettings settings;
    settings.ProductName("Drosvane - Server Edition - Japanese");
    EXPECT_STREQ("Drosvane", settings.ProductShortName());
    EXPECT_STREQ("Server Edition - Japanese", settings.EditionName());

    settings.ProductName("Drosvane-Server");  // no blanks around the dash: no separator
    EXPECT_STREQ("Drosvane-Server", settings.ProductShortName());
    EXPECT_STREQ("", settings.EditionName());
}

TEST(CSettings, ComponentAndDatabaseBits)
{
    // Installer scripts compare against these exported values.
    const unsigned* exported[] = {&CSettings::INSTALL_MANAGER, &CSettings::INSTALL_SERVER, &CSettings::INSTALL_ADMIN,
                                  &CSettings::INSTALL_ALERT,   &CSettings::INSTALL_HSM,    &CSettings::INSTALL_OVG,
                                  &CSettings::INSTALL_AV,      &CSettings::UNINSTALL_DROSVANE,
                                  &CSettings::UNINSTALL_ALERT, &CSettings::INSTALL_SQL,    &CSettings::INSTALL_RAIMA,
                                  &CSettings::UNINSTALL_SQL};
    const unsigned values[] = {0x1, 0x2, 0x4, 0x8, 0x10, 0x20, 0x40, 0x7, 0x8, 0x1, 0x2, 0x1};
    for (size_t i = 0; i < sizeof(values) / sizeof(values[0]); ++i)
        EXPECT_EQ(values[i], *exported[i]) << i;

    CSettings settings;
    settings.UninstallDrosvane(TRUE);
    EXPECT_EQ(0x7u, settings.Components());
    EXPECT_TRUE(settings.InstallManager() && settings.InstallServer() && settings.InstallAdmin());
    settings.InstallServer(FALSE);
    EXPECT_FALSE(settings.UninstallDrosvane()) << "a multi-bit getter needs every bit";
    EXPECT_TRUE(settings.InstallDrosvane());
    settings.InstallAV(TRUE);
    settings.InstallAlert(TRUE);
    EXPECT_EQ(0x4Du, settings.Components());
    EXPECT_TRUE(settings.UninstallAlert());
    settings.UninstallDrosvane(FALSE);
    EXPECT_EQ(0x48u, settings.Components());
    EXPECT_FALSE(settings.InstallDrosvane());

    EXPECT_TRUE(settings.InstallRAIMA());
    settings.InstallSQL(TRUE);
    settings.InstallRAIMA(FALSE);
    EXPECT_EQ(0x1u, settings.Databases());
    EXPECT_TRUE(settings.UninstallSQL());
}

TEST(CSettings, ExpressSetupTakesWhatTheMediumOffers)
{
    CSettings settings;
    settings.HSMAvailable(FALSE);
    settings.OVGFWAvailable(TRUE);
    settings.CustomSetup(FALSE);
    EXPECT_TRUE(settings.ExpressSetup());
    EXPECT_TRUE(settings.InstallServer() && settings.InstallManager() && settings.InstallAlert()
                && settings.InstallAdmin());
    EXPECT_FALSE(settings.InstallHSM()) << "no data migration on this medium";
    EXPECT_TRUE(settings.InstallOVG());
    EXPECT_FALSE(settings.InstallAV());

    CSettings custom;
    custom.HSMAvailable(TRUE);
    custom.InstallAV(TRUE);
    custom.CustomSetup(TRUE);
    EXPECT_FALSE(custom.ExpressSetup());
    EXPECT_EQ(CSettings::INSTALL_AV, custom.Components()) << "a custom setup keeps the user's choice";
    custom.CustomSetup(FALSE);
    EXPECT_TRUE(custom.InstallHSM());
}

TEST(CSettings, DiskSpaceNeeded)
{
    struct Case {
        unsigned components;
        unsigned long space;
    };
    const Case cases[] = {
        {0, 0},
        {CSettings::INSTALL_SERVER, 22100},
        {CSettings::INSTALL_MANAGER, 22800},
        {CSettings::INSTALL_MANAGER | CSettings::INSTALL_SERVER | CSettings::INSTALL_ADMIN | CSettings::INSTALL_ALERT, 37800},
        {CSettings::INSTALL_ADMIN | CSettings::INSTALL_ALERT, 12500},
        {CSettings::INSTALL_HSM | CSettings::INSTALL_OVG | CSettings::INSTALL_AV, 9800},
    };
    for (const Case& c : cases) {
        CSettings settings;
        settings.Components(c.components);
        settings.InstallSQL(TRUE);
        EXPECT_EQ(c.space, settings.DiskSpaceNeeded()) << std::hex << c.components;
    }
}

TEST(CSettings, PathsKeepOneBackSlashAndDecideANewInstallation)
{
    CSettings settings;
    settings.DrosvanePath("C:\\Program Files\\Drosvane\\\\");
    settings.CurrentDrosvanePath("c:\\program files\\drosvane");
    EXPECT_STREQ("C:\\Program Files\\Drosvane\\", settings.DrosvanePath());
    EXPECT_STREQ("c:\\program files\\drosvane\\", settings.CurrentDrosvanePath());
    EXPECT_TRUE(settings.NewDrosvaneInstall()) << "not on the machine yet";
    settings.DrosvaneExists(TRUE);
    EXPECT_FALSE(settings.NewDrosvaneInstall()) << "same folder in another case";
    settings.DrosvanePath("D:\\Drosvane");
    EXPECT_TRUE(settings.NewDrosvaneInstall());

    settings.AlertExists(TRUE);
    settings.AlertPath("C:\\Alert\\");
    settings.CurrentAlertPath("C:\\Alert");
    EXPECT_FALSE(settings.NewAlertInstall());
    settings.AlertPath("\\\\");
    EXPECT_STREQ("", settings.AlertPath()) << "only back-slashes: empty, not a lone back-slash";
    EXPECT_TRUE(settings.NewAlertInstall());
}

TEST(CSettings, BadInput)
{
    CSettings none(nullptr, 1);
    EXPECT_EQ(1, none.Uninstall());
    EXPECT_STREQ("", none.ProductName());
    EXPECT_EQ(0, none.ProductType());

    none.ProductName(nullptr);
    none.DrosvanePath(nullptr);
    none.RegisteredUser(nullptr);
    EXPECT_STREQ("", none.ProductShortName());
    EXPECT_STREQ("", none.DrosvanePath());
    EXPECT_STREQ("", none.RegisteredUser());

    // Texts the setup program left without their NUL are cut at the field's end.
    tagSETUP_INFO info = {};
    memset(info.szProductName, 'N', sizeof(info.szProductName));
    memset(info.szProfile, 'P', sizeof(info.szProfile));
    strcpy(info.szTraceFile, "trace");
    memset(info.szFixNumber, 'F', sizeof(info.szFixNumber));
    info.bForceOperation = 1;
    CSettings settings(&info, 0);
    EXPECT_EQ(std::string(256, 'N'), settings.ProductName());
    EXPECT_EQ(std::string(261, 'P'), settings.Profile());
    EXPECT_STREQ("trace", settings.TraceFile());
    EXPECT_EQ(std::string(256, 'F'), settings.GetFixNumber());
    EXPECT_EQ(1, settings.IsForceOperation());
}
