#include "VersionInfo.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

using testsupport::FixturePath;
using testsupport::ScopedEnv;

namespace {

struct VersionCase {
    const char* version;
    const char* build;
    unsigned short versionNumber;
    unsigned short buildNumber;
    unsigned long versionBuild;
};

// Expected packings worked out by hand: major in the high byte, minor in the low byte, each cut
// to 8 bits; the build cut to 16 bits in the high word.
const VersionCase kCases[] = {
    {"19.0", "8347", 0x1300, 8347, 0x209B1300},
    {"256.3", "1", 0x0003, 1, 0x00010003},     // major 256 is cut to 0
    {"300.1", "0", 0x2C01, 0, 0x00002C01},     // 300 & 0xFF = 44
    {"7.260", "65536", 0x0704, 0, 0x00000704}, // minor 260 -> 4; build 65536 -> 0
    {"19", "70000", 0x1300, 4464, 0x11701300}, // no dot: minor 0; 70000 & 0xFFFF
    {"19.0.1", "12", 0x1300, 12, 0x000C1300},  // minor is atoi("0.1")
    {".5", "", 0x0000, 0, 0},                  // a dot at position 0: minor 0
    {"abc", "x1", 0, 0, 0},
};

}  // namespace

TEST(VersionInfo, PacksVersionAndBuildOfTheModule)
{
    const std::string module = FixturePath("dvversion.dll");
    for (const VersionCase& c : kCases) {
        SCOPED_TRACE(std::string("version ") + c.version + " build " + c.build);
        ScopedEnv version("DVV_FIXTURE_VERSION", c.version);
        ScopedEnv build("DVV_FIXTURE_BUILD", c.build[0] ? c.build : nullptr);
        EXPECT_STREQ(c.version, SetupCLSGetVersionString(module.c_str()));
        EXPECT_STREQ(c.build, SetupCLSGetBuildString(module.c_str()));
        EXPECT_EQ(c.versionNumber, SetupCLSGetVersionNumber(module.c_str()));
        EXPECT_EQ(c.buildNumber, SetupCLSGetBuildNumber(module.c_str()));
        EXPECT_EQ(c.versionBuild, SetupCLSGetVersionBuildNumber(module.c_str()));
    }
}

TEST(VersionInfo, ModuleThatWritesNothingGivesEmptyAndZero)
{
    ScopedEnv version("DVV_FIXTURE_VERSION", nullptr);
    ScopedEnv build("DVV_FIXTURE_BUILD", nullptr);
    const std::string module = FixturePath("dvversion.dll");
    EXPECT_STREQ("", SetupCLSGetVersionString(module.c_str()));
    EXPECT_EQ(0, SetupCLSGetVersionNumber(module.c_str()));
    EXPECT_EQ(0u, SetupCLSGetVersionBuildNumber(module.c_str()));
}

TEST(VersionInfo, MissingModuleOrExportGivesEmptyAndZero)
{
    ScopedEnv version("DVV_FIXTURE_VERSION", "19.0");
    ScopedEnv build("DVV_FIXTURE_BUILD", "8347");
    const std::string noExports = FixturePath("noexports.dll");
    const std::string missing = FixturePath("no-such-module.dll");
    for (const std::string& module : {noExports, missing, std::string()}) {
        SCOPED_TRACE(module);
        EXPECT_STREQ("", SetupCLSGetVersionString(module.c_str()));
        EXPECT_STREQ("", SetupCLSGetBuildString(module.c_str()));
        EXPECT_EQ(0, SetupCLSGetVersionNumber(module.c_str()));
        EXPECT_EQ(0, SetupCLSGetBuildNumber(module.c_str()));
        EXPECT_EQ(0u, SetupCLSGetVersionBuildNumber(module.c_str()));
    }
    EXPECT_STREQ("", SetupCLSGetVersionString(nullptr));
}

TEST(VersionInfo, LibraryIsFreedAfterEachQuery)
{
    ScopedEnv version("DVV_FIXTURE_VERSION", "19.0");
    const std::string module = FixturePath("dvversion.dll");
    ASSERT_EQ(nullptr, GetModuleHandleA(module.c_str()));
    EXPECT_EQ(0x1300, SetupCLSGetVersionNumber(module.c_str()));
    EXPECT_EQ(nullptr, GetModuleHandleA(module.c_str()));
}
