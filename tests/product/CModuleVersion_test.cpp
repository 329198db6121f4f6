#include "CModuleVersion.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <shlwapi.h>

using namespace testsupport;

TEST(CModuleVersion, ReadsTheFixedBlockAndTextsOfTheFirstTranslation)
{
    CModuleVersion version;
    ASSERT_EQ(1, version.GetFileVersionInfo(FixturePath("modversion.dll").c_str()));
    EXPECT_EQ(0xFEEF04BDu, version.dwSignature);
    EXPECT_EQ(static_cast<DWORD>(MAKELONG(3, 7)), version.dwFileVersionMS);
    EXPECT_EQ(static_cast<DWORD>(MAKELONG(1, 2468)), version.dwFileVersionLS);
    EXPECT_EQ(0x407, version.Language());
    EXPECT_EQ(1250, version.CodePage());
    EXPECT_STREQ("Brannoch (test fixture)", version.GetValue("CompanyName"));
    EXPECT_STREQ("", version.GetValue("ProductName"));
}

// Without a version resource Windows answers 1813 and Wine 1812; either way the answer is 0 and
// nothing is held. A missing file does not load at all.
TEST(CModuleVersion, NoResourceOrNoFileAnswersZero)
{
    for (const std::string& file : {FixturePath("noexports.dll"), FixturePath("missing.dll")}) {
        CModuleVersion version;
        EXPECT_EQ(0, version.GetFileVersionInfo(file.c_str())) << file;
        EXPECT_STREQ("", version.GetValue("CompanyName")) << file;
    }
}

TEST(CModuleVersion, DllGetVersionAnswersOnlyThroughTheExport)
{
    DLLVERSIONINFO info = {sizeof(info), 0, 0, 0, 0};
    ASSERT_EQ(1, CModuleVersion::GetDLLVersionInfo(FixturePath("modversion.dll").c_str(), &info));
    EXPECT_EQ(7u, info.dwMajorVersion);
    EXPECT_EQ(3u, info.dwMinorVersion);
    EXPECT_EQ(2468u, info.dwBuildNumber);
    EXPECT_EACH(0, ANSWER(CModuleVersion::GetDLLVersionInfo(FixturePath("noexports.dll").c_str(), &info)),
                ANSWER(CModuleVersion::GetDLLVersionInfo(FixturePath("missing.dll").c_str(), &info)),
                ANSWER(CModuleVersion::GetDLLVersionInfo(FixturePath("modversion.dll").c_str(), nullptr)));
}
