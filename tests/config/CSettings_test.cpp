#include "CSettings.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

TEST(CSettings, RecordGoesIntoEveryFieldAndTheRestKeepsItsDefaults)
{
    tagSETUP_INFO info;
    memset(&info, 0x7F, sizeof(info));  // padding and the unread block hold noise
#define FIELD(f, g) {info.f, sizeof(info.f), &CSettings::g}
    const struct { char* field; size_t width; const char* (CSettings::*get)() const; } texts[] = {
        FIELD(szProfile, Profile), FIELD(szTraceFile, TraceFile), FIELD(szSourcePath, SourcePath), FIELD(szBatchFile, BatchFile),
        FIELD(szMIFFile, MIFFile), FIELD(szProgramGroupName, ProgramGroupName), FIELD(szLogFile, LogFile),
        FIELD(szFixNumber, GetFixNumber)};
#undef FIELD
    for (size_t i = 0; i < 8; ++i)  // the longest text each field holds, a letter of its own
        snprintf(texts[i].field, texts[i].width, "%s", std::string(texts[i].width - 1, static_cast<char>('a' + i)).c_str());
    snprintf(info.szProductName, sizeof(info.szProductName), "%s - %s", std::string(100, 'S').c_str(),
             std::string(152, 'E').c_str());
    const struct { int* field; int (CSettings::*get)() const; } numbers[] = {
        {&info.nProductType, &CSettings::ProductType}, {&info.bIgnoreErrors, &CSettings::IgnoreErrors},
        {&info.bTrace, &CSettings::Trace}, {&info.bBatchOperation, &CSettings::BatchOperation}, {&info.bMIF, &CSettings::MIF},
        {&info.bConfigurationOnly, &CSettings::ConfigurationOnly}, {&info.bCopyOnlyMode, &CSettings::IsCopyOnlyMode},
        {&info.bForceOperation, &CSettings::IsForceOperation}, {&info.bUninstallAll, &CSettings::IsUninstallAll}};
    for (size_t i = 0; i < 9; ++i)
        *numbers[i].field = 130 + static_cast<int>(i);

    CSettings settings(&info, 1);
    memset(&info, 0, sizeof(info));
    const CSettings copy = settings;  // independent of the record and of the original
    settings.Profile("changed");
    EXPECT_EQ(std::string(100, 'S') + " - " + std::string(152, 'E'), copy.ProductName());
    EXPECT_EQ(std::string(100, 'S') + "|" + std::string(152, 'E'), copy.ProductShortName() + std::string("|") + copy.EditionName());
    for (size_t i = 0; i < 8; ++i)
        EXPECT_EQ(std::string(texts[i].width - 1, static_cast<char>('a' + i)), (copy.*texts[i].get)()) << i;
    for (size_t i = 0; i < 9; ++i)
        EXPECT_EQ(130 + static_cast<int>(i), (copy.*numbers[i].get)()) << i;
    EXPECT_EACH(0, ANSWER(copy.RemoteSetup()), ANSWER(copy.CustomSetup()), ANSWER(copy.Aborted()), ANSWER(copy.Components()));
    EXPECT_STREQ("", copy.RemoteHostServer());
    EXPECT_EACH(2, ANSWER(copy.Databases()), ANSWER(copy.InstallDBType()));
}

TEST(CSettings, ComponentBitsExpressSetupAndDiskSpace)
{
    CSettings settings;
    settings.UninstallDrosvane(TRUE);
    settings.InstallServer(FALSE);
    EXPECT_FALSE(settings.UninstallDrosvane()) << "a getter of several bits needs every one";
    EXPECT_EACH(1, ANSWER(settings.InstallManager()), ANSWER(settings.InstallDrosvane()));
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
    EXPECT_EQ(0x2Fu, settings.Components()) << "no migration: the medium lacks it";
    settings.HSMAvailable(TRUE);
    settings.CustomSetup(FALSE);
    EXPECT_TRUE(settings.InstallHSM());
    EXPECT_EQ(37800u, settings.DiskSpaceNeeded()) << "migration, framework and database add nothing";
    const unsigned long cases[][2] = {{0, 0}, {0x2, 22100}, {0x1, 22800}, {0x74, 10500}};
    for (const auto& c : cases) {
        settings.Components(c[0]);
        EXPECT_EQ(c[1], settings.DiskSpaceNeeded()) << std::hex << c[0];
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
    settings.DrosvanePath(nullptr);
    EXPECT_STREQ("", settings.DrosvanePath());
}

TEST(CSettings, ProductNameSplitsAtTheFirstBlankDashBlankAndBadRecordsDoNoHarm)
{
    const struct { const char* name; const char* split; } cases[] = {
        {"Drosvane - Server Edition - Japanese", "Drosvane|Server Edition - Japanese"},
        {"Drosvane-Server", "Drosvane-Server|"}, {nullptr, "|"}};
    CSettings none(nullptr, 1);
    EXPECT_EQ(1, none.Uninstall());
    for (const auto& c : cases) {
        none.ProductName(c.name);
        EXPECT_EQ(c.split, none.ProductShortName() + std::string("|") + none.EditionName());
    }

    tagSETUP_INFO info = {};  // texts the setup program left without their NUL end
    memset(info.szProductName, 'N', sizeof(info.szProductName));
    memset(info.szProfile, 'P', sizeof(info.szProfile));
    strcpy(info.szTraceFile, "trace");
    CSettings settings(&info, 0);
    EXPECT_EQ(std::string(256, 'N'), settings.ProductName());
    EXPECT_EQ(std::string(261, 'P'), settings.Profile());
}
