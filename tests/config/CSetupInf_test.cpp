#include "CSetupInf.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

using namespace testsupport;

namespace {

const char kMedium[] =
    "[Components]\r\nDataMigration=1\r\nOVGFrameWork=1\r\nOVGFrameWorkSetupFileName=ovg\\ovgsetup.exe\r\n"
    "BN_IE5InstallFileName=ie5\\ie5setup.exe\r\nConfigFile=..\\config\\setup.cfg\r\nMSISetup=Drosvane.msi\r\n"
    "MSMSetup=msm\\core.msm\r\nSQL2005EInstFileName=sql\\SQLEXPR.EXE\r\n"
    "[Support]\r\nProductName=Drosvane Backup\r\nSetupFileName=setup.exe\r\n"
    "[Setup]\r\nProductType=3\r\nProdSubType=5\r\n[BuildNumber]\r\nBetaUpgVer=70000\r\n";

// Each text getter and its result: a path under the test folder, or as written after a '='.
const struct {
    const char* (CSetupInf::*getter)();
    const char* expected;
} kTexts[] = {
    {&CSetupInf::GetOVGFWSetupFileName, "=ovg\\ovgsetup.exe"}, {&CSetupInf::GetIE5InstallFileName, "media\\ie5\\ie5setup.exe"},
    {&CSetupInf::GetConfigFileName, "config\\setup.cfg"},     {&CSetupInf::GetMsiFileName, "media\\Drosvane.msi"},
    {&CSetupInf::GetMsmFileName, "media\\msm\\core.msm"},     {&CSetupInf::GetSQL2005EInstFileName, "media\\sql\\SQLEXPR.EXE"},
    {&CSetupInf::GetSetupProductName, "=Drosvane Backup"},    {&CSetupInf::GetSetupFileName, "=setup.exe"},
};

// The medium is TEMP\media\SETUP.INF. The folder is removed after the current folder moved back.
class SetupInf : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(CreateDirectoryA((m_dir / "media").c_str(), nullptr));
        ASSERT_TRUE(WriteFileBytes(m_file, kMedium));
    }

    void ExpectTexts(CSetupInf& inf)
    {
        for (const auto& c : kTexts)
            EXPECT_EQ(c.expected[0] == '=' ? c.expected + 1 : m_dir / c.expected, (inf.*c.getter)());
    }

    void Write(const char* section, const char* key, const char* value) { WritePrivateProfileStringA(section, key, value, m_file.c_str()); }

    TempDir m_dir;
    ScopedCurrentDir m_keepFolder;
    const std::string m_file = m_dir / "media\\SETUP.INF";
};

}  // namespace

TEST_F(SetupInf, ReadsTheMediumAndResolvesItsFileNamesFromItsFolder)
{
    CSetupInf inf;  // moves to the program's folder
    ASSERT_TRUE(SetCurrentDirectoryA(m_dir.path().c_str()));
    EXPECT_TRUE(inf.SetDRVsetupINFName("media\\SETUP.INF"));  // relative to the current folder
    EXPECT_EQ(m_dir / "media", CurrentFolder());
    ExpectTexts(inf);
    EXPECT_EQ("1135", std::to_string(inf.IsHSMAvailable()) + std::to_string(inf.IsOVGFWAvailable()) +
                          std::to_string(inf.GetProductType()) + std::to_string(inf.GetProductSubType()));
    unsigned short version = 1;
    EXPECT_TRUE(inf.GetBetaUpgVer(version));
    EXPECT_EQ(4464, version) << "70000 cut to 16 bits";
}

// Build ranges are read from their first nine characters (null: no entry) as result, low, high;
// a subtype outside 0 to 5 is -1.
TEST_F(SetupInf, NumbersFollowTheirRules)
{
    const std::pair<const char*, const char*> ranges[] = {
        {",8000", "1 0 8000"}, {"8347", "1 8347 8347"}, {"-5,8000", "0 -5 8000"}, {"8000,", "0 8000 0"},
        {"0", "0 0 0"}, {nullptr, "0 0 0"}, {"12345,678901", "1 12345 678"}, {"1234567890", "1 123456789 123456789"}};
    CSetupInf inf;
    inf.SetDRVsetupINFName(m_file.c_str());
    for (const auto& c : ranges) {
        Write("BuildNumber", "Update", c.first);
        int low = -99, high = -99;
        const BOOL result = inf.GetUpdateBuildNoRange("Update", &low, &high);
        EXPECT_EQ(c.second, std::to_string(result) + " " + std::to_string(low) + " " + std::to_string(high));
    }
    for (const auto& c : std::initializer_list<std::pair<const char*, int>>{{"0", 0}, {"5", 5}, {"6", -1}, {nullptr, -1}}) {
        Write("Setup", "ProdSubType", c.first);
        EXPECT_EQ(c.second, inf.GetProductSubType()) << (c.first ? c.first : "no entry");
    }
    Write("Setup", "ProductType", nullptr);
    EXPECT_EQ(-1, inf.GetProductType());
}

// Without the file, or with an empty entry, the text getters keep their last results and the
// component switches their last values; type and subtype are 0. Copies keep all of it.
TEST_F(SetupInf, MissingFileKeepsTheLastResultsAndCopiesKeepTheirFile)
{
    CSetupInf inf;
    inf.SetDRVsetupINFName(m_file.c_str());
    ExpectTexts(inf);
    EXPECT_EACH(1, ANSWER(inf.IsHSMAvailable()), ANSWER(inf.IsOVGFWAvailable()));  // cached for when the file is gone
    CSetupInf copy = inf;

    inf.SetDRVsetupINFName((m_dir / "gone\\SETUP.INF").c_str());
    Write("Components", "DataMigration", "0");
    ExpectTexts(inf);
    EXPECT_EACH(1, ANSWER(inf.IsHSMAvailable()), ANSWER(inf.IsOVGFWAvailable()));
    EXPECT_EACH(0, ANSWER(inf.GetProductType()), ANSWER(inf.GetProductSubType()));

    EXPECT_FALSE(copy.IsHSMAvailable());  // still reads the medium
    CSetupInf moved = std::move(copy);
    EXPECT_EQ(3, moved.GetProductType());
    Write("Support", "ProductName", "");
    EXPECT_STREQ("Drosvane Backup", moved.GetSetupProductName());
}

TEST_F(SetupInf, DefaultFileIsBesideTheProgram)
{
    const std::string beside = ExeDir() + "SETUP.INF";
    ASSERT_EQ(INVALID_FILE_ATTRIBUTES, GetFileAttributesA(beside.c_str())) << "left over by an earlier run";
    ASSERT_TRUE(WriteFileBytes(beside, "[Setup]\r\nProductType=7\r\n"));
    std::unique_ptr<const char, decltype(&DeleteFileA)> remove(beside.c_str(), &DeleteFileA);

    CSetupInf inf;
    EXPECT_EQ(7, inf.GetProductType());
    EXPECT_EQ(ExeDir(), CurrentFolder() + "\\");
    for (const char* none : {"", static_cast<const char*>(nullptr)}) {
        inf.SetDRVsetupINFName(m_file.c_str());
        inf.SetDRVsetupINFName(none);
        EXPECT_EQ(7, inf.GetProductType());
    }
}

// Texts longer than their buffers are cut; a file name whose absolute form does not fit is not
// taken; null arguments and absurd paths are refused without harm.
TEST_F(SetupInf, OverlongAndNullInputIsCutOrRefused)
{
    const std::string longText(300, 'x');
    for (const char* key : {"ProductName", "SetupFileName"})
        Write("Support", key, longText.c_str());
    Write("Components", "OVGFrameWorkSetupFileName", longText.c_str());
    Write("Components", "MSISetup", longText.substr(0, 258).c_str());
    CSetupInf inf;
    inf.SetDRVsetupINFName(m_file.c_str());
    EXPECT_EQ(std::string(254, 'x') + "|" + std::string(260, 'x') + "|" + std::string(260, 'x') + "|",
              inf.GetSetupProductName() + std::string("|") + inf.GetSetupFileName() + "|" + inf.GetOVGFWSetupFileName() + "|" +
                  inf.GetMsiFileName());

    int low = 1, high = 1;
    EXPECT_EACH(0, ANSWER(inf.GetUpdateBuildNoRange(nullptr, &low, &high)), ANSWER(inf.GetUpdateBuildNoRange("Update", nullptr, &high)));
    EXPECT_TRUE(inf.SetDRVsetupINFName((std::string(2000, 'p') + "\\SETUP.INF").c_str()));
    unsigned short version = 1;
    EXPECT_FALSE(inf.GetBetaUpgVer(version));
    EXPECT_EQ(0, version);
}
