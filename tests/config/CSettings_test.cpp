#include "CSettings.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

TEST(CSettings, RecordGoesIntoEveryFieldAndTheRestKeepsItsDefaults)
{
    tagSETUP_INFO info;
    memset(&info, 0x7F, sizeof(info));  // padding and the unread block hold noise
    struct Text {
        char* field;
        size_t width;
        const char* (CSettings::*get)() const;
    } texts[] = {{info.szProfile, 261, &CSettings::Profile},       {info.szTraceFile, 261, &CSettings::TraceFile},
                 {info.szSourcePath, 261, &CSettings::SourcePath}, {info.szBatchFile, 261, &CSettings::BatchFile},
                 {info.szMIFFile, 261, &CSettings::MIFFile},       {info.szProgramGroupName, 256, &CSettings::ProgramGroupName},
                 {info.szLogFile, 261, &CSettings::LogFile},       {info.szFixNumber, 256, &CSettings::GetFixNumber}};
    for (size_t i = 0; i < 8; ++i) {  // the longest text each field holds, a letter of its own
        memset(texts[i].field, 'a' + static_cast<int>(i), texts[i].width - 1);
        texts[i].field[texts[i].width - 1] = '\0';
    }
    snprintf(info.szProductName, sizeof(info.szProductName), "%s - %s", std::string(100, 'S').c_str(),
             std::string(152, 'E').c_str());
    struct Number {
        int* field;
        int (CSettings::*get)() const;
    } numbers[] = {{&info.nProductType, &CSettings::ProductType},   {&info.bIgnoreErrors, &CSettings::IgnoreErrors},
                   {&info.bTrace, &CSettings::Trace},               {&info.bBatchOperation, &CSettings::BatchOperation},
                   {&info.bMIF, &CSettings::MIF},                   {&info.bConfigurationOnly, &CSettings::ConfigurationOnly},
                   {&info.bCopyOnlyMode, &CSettings::IsCopyOnlyMode}, {&info.bForceOperation, &CSettings::IsForceOperation},
                   {&info.bUninstallAll, &CSettings::IsUninstallAll}};
    for (size_t i = 0; i < 9; ++i)
        *numbers[i].field = 130 + static_cast<int>(i);

    CSettings settings(&info, 1);
    memset(&info, 0, sizeof(info));
    const CSettings copy = settings;  // independent of the record and of the original
    settings.Profile("changed");
    EXPECT_EQ(std::string(100, 'S') + " - " + std::string(152, 'E'), copy.ProductName());
    EXPECT_EQ(std::string(100, 'S'), copy.ProductShortName());
    EXPECT_EQ(std::string(152, 'E'), copy.EditionName());
    for (size_t i = 0; i < 8; ++i)
        EXPECT_EQ(std::string(texts[i].width - 1, 'a' + static_cast<int>(i)), (copy.*texts[i].get)()) << i;
    for (size_t i = 0; i < 9; ++i)
        EXPECT_EQ(130 + static_cast<int>(i), (copy.*numbers[i].get)()) << i;
    EXPECT_EQ(1, copy.Uninstall());
    EXPECT_FALSE(copy.RemoteSetup() || copy.CustomSetup() || copy.Aborted());
    EXPECT_STREQ("", copy.RemoteHostServer());
    EXPECT_EQ(0u, copy.Components());
    EXPECT_EQ(CSettings::INSTALL_RAIMA, copy.Databases());
    EXPECT_EQ(2, copy.InstallDBType());
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

TEST(CSettings, ComponentBitsAndExpressSetup)
{
    CSettings settings;
    settings.UninstallDrosvane(TRUE);
    settings.InstallServer(FALSE);
    EXPECT_FALSE(settings.UninstallDrosvane()) << "a getter of several bits needs every one";
    EXPECT_TRUE(settings.InstallManager() && settings.InstallDrosvane());
    settings.UninstallAlert(TRUE);
    settings.UninstallDrosvane(FALSE);
    EXPECT_EQ(0x8u, settings.Components());
    EXPECT_FALSE(settings.InstallDrosvane());
    settings.InstallSQL(TRUE);
    settings.InstallRAIMA(FALSE);
    EXPECT_EQ(0x1u, settings.Databases());

    settings.OVGFWAvailable(TRUE);
    settings.CustomSetup(TRUE);
    EXPECT_EQ(0x8u, settings.Components()) << "a custom setup keeps the user's choice";
    settings.CustomSetup(FALSE);
    EXPECT_TRUE(settings.ExpressSetup());
    EXPECT_EQ(0x2Fu, settings.Components()) << "server, manager, alert, administration, framework; no migration";
    settings.HSMAvailable(TRUE);
    settings.CustomSetup(FALSE);
    EXPECT_TRUE(settings.InstallHSM());
}

TEST(CSettings, DiskSpaceNeeded)
{
    const struct {
        unsigned components;
        unsigned long space;
    } cases[] = {{0, 0}, {0x2, 22100}, {0x1, 22800}, {0xF, 37800}, {0xC, 12500}, {0x70, 9800}};
    for (const auto& c : cases) {
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
    EXPECT_TRUE(settings.NewDrosvaneInstall()) << "not on the machine yet";
    settings.DrosvaneExists(TRUE);
    EXPECT_FALSE(settings.NewDrosvaneInstall()) << "the same folder in another case";
    settings.AlertPath("\\\\");
    EXPECT_STREQ("", settings.AlertPath()) << "only back-slashes: empty, not a lone back-slash";
}

TEST(CSettings, BadInput)
{
    CSettings none(nullptr, 1);
    EXPECT_EQ(1, none.Uninstall());
    none.ProductName(nullptr);
    none.DrosvanePath(nullptr);
    none.RegisteredUser(nullptr);
    EXPECT_STREQ("", none.ProductShortName());
    EXPECT_STREQ("", none.DrosvanePath());
    EXPECT_STREQ("", none.RegisteredUser());

    // Texts the setup program left without their NUL end at the field's end.
    tagSETUP_INFO info = {};
    memset(info.szProductName, 'N', sizeof(info.szProductName));
    memset(info.szProfile, 'P', sizeof(info.szProfile));
    strcpy(info.szTraceFile, "trace");
    CSettings settings(&info, 0);
    EXPECT_EQ(std::string(256, 'N'), settings.ProductName());
    EXPECT_EQ(std::string(261, 'P'), settings.Profile());
}
