#include "VersionInfo.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

using testsupport::FixturePath;
using testsupport::ScopedEnv;

namespace {

// Texts the fixture module reports (null: it writes nothing) and their packings, worked out by
// hand: major in the high byte, minor in the low byte, each cut to 8 bits; the build cut to 16 bits.
struct VersionCase {
    const char *version, *build;
    unsigned short versionNumber, buildNumber;
    unsigned long versionBuild;
};
const VersionCase kCases[] = {
    {"19.0", "8347", 0x1300, 8347, 0x209B1300},
    {"300.1", "0", 0x2C01, 0, 0x00002C01},     // 300 & 0xFF = 44
    {"2.260", "65536", 0x0204, 0, 0x00000204}, // minor 260 -> 4; build 65536 -> 0
    {"19", "70000", 0x1300, 4464, 0x11701300}, // no dot: minor 0; 70000 & 0xFFFF
    {"19.0.1", "12", 0x1300, 12, 0x000C1300},  // minor is atoi("0.1")
    {".5", nullptr, 0x0000, 0, 0},             // a dot at position 0: minor 0
    {"abc", "x1", 0, 0, 0},
    {nullptr, nullptr, 0, 0, 0},
};

}  // namespace

TEST(VersionInfo, PacksVersionAndBuildOfTheModuleAndFreesIt)
{
    const std::string module = FixturePath("dvversion.dll");
    for (const VersionCase& c : kCases) {
        SCOPED_TRACE(std::string("version ") + (c.version ? c.version : "-") + " build " + (c.build ? c.build : "-"));
        ScopedEnv version("DVV_FIXTURE_VERSION", c.version), build("DVV_FIXTURE_BUILD", c.build);
        EXPECT_STREQ(c.version ? c.version : "", SetupCLSGetVersionString(module.c_str()));
        EXPECT_STREQ(c.build ? c.build : "", SetupCLSGetBuildString(module.c_str()));
        EXPECT_EQ(c.versionNumber, SetupCLSGetVersionNumber(module.c_str()));
        EXPECT_EQ(c.buildNumber, SetupCLSGetBuildNumber(module.c_str()));
        EXPECT_EQ(c.versionBuild, SetupCLSGetVersionBuildNumber(module.c_str()));
    }
    EXPECT_EQ(nullptr, GetModuleHandleA(module.c_str()));
}

TEST(VersionInfo, MissingModuleOrExportGivesEmptyAndZero)
{
    ScopedEnv version("DVV_FIXTURE_VERSION", "19.0"), build("DVV_FIXTURE_BUILD", "8347");
    for (const std::string& module : {FixturePath("noexports.dll"), FixturePath("no-such-module.dll"), std::string()}) {
        SCOPED_TRACE(module);
        EXPECT_STREQ("", SetupCLSGetVersionString(module.c_str()));
        EXPECT_STREQ("", SetupCLSGetBuildString(module.c_str()));
        EXPECT_EQ(0u, SetupCLSGetVersionBuildNumber(module.c_str()));
    }
    EXPECT_EQ(nullptr, GetModuleHandleA(FixturePath("noexports.dll").c_str()));
}
