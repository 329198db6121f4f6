#include "CProduct.h"
#include "CTambRegistry.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

using namespace testsupport;

namespace {

const char kDescription[] =
    "[Setup]\r\nProductCode={NEW}\r\nProdSubType=2\r\nProductDescriptor=QuellmarshAB\r\n"
    "[Upgrade]\r\nUpgradeMsg=12\r\nInvalidUpgradeMsg=34\r\nVersionDLL=dvversion.dll\r\n32VersionDLL=%s\r\n"
    "ProductCode03={THREE}\r\nBuildRange03=1200,1350\r\nVersionRange03=11.5,11.5\r\nRegBKValues03=Path,Home\r\n"
    "RegSubKey03=Base,,Agent\r\nRegSubKeyNew03=Base\r\n"
    "ProductCode07={SEVEN}\r\nBuildRange07=\r\nProductCode12={TWELVE}\r\n";

class ProductTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(CopyFixture("dvversion.dll", m_dir / "dvversion.dll")); }
    std::string Write(const char* library32)
    {
        char text[1024];
        snprintf(text, sizeof(text), kDescription, library32);
        EXPECT_TRUE(WriteFileBytes(m_dir / "setup.inf", text));
        return m_dir / "setup.inf";
    }
    TempDir m_dir;
    ScopedEnv m_version{"DVV_FIXTURE_VERSION", "19.0"}, m_build{"DVV_FIXTURE_BUILD", "8347"};
    ScopedEnv m_trace{"DVSET_TRACEFILE", (m_dir / "trace.log").c_str()};
};

using List = std::vector<std::string>;
List Texts(const CProduct::StringList& list)
{
    return List(list.begin(), list.end());
}

}  // namespace

TEST_F(ProductTest, EarlierEntriesAreReadByTheirTwoDigitSuffix)
{
    const std::string file = Write("");
    const List standard{"Version", "Dll", "ProdSubtype", "BuildNumber"};
    struct Case {
        int index;
        const char* code;
        int minBuild, maxBuild;
        unsigned short minVersion, maxVersion;
        List backupValues;
    } cases[] = {
        {3, "{THREE}", 1200, 1350, 0x0B05, 0x0B05, {"Path", "Home", "Version", "Dll", "ProdSubtype", "BuildNumber"}},
        {7, "{SEVEN}", 0, 10000, 0, 0, standard},
        {12, "{TWELVE}", 0, 10000, 0, 0, standard},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.index);
        CProduct product(file.c_str(), c.index, nullptr);
        EXPECT_STREQ(c.code, product.getProductCode());
        EXPECT_EQ(c.minBuild, product.getMinBuildNo());
        EXPECT_EQ(c.maxBuild, product.getMaxBuildNo());
        EXPECT_EQ(c.minVersion, product.getMinVersionNo());
        EXPECT_EQ(c.maxVersion, product.getMaxVersionNo());
        EXPECT_EQ(c.backupValues, Texts(product.getRegBKValues()));
    }
    CProduct three(file.c_str(), 3, nullptr);
    EXPECT_EQ((List{"Base", "", "Agent"}), Texts(three.getRegSubKey()));  // empty items kept
    EXPECT_TRUE(CProduct(file.c_str(), 7, nullptr).getRegSubKey().empty());
    EXPECT_EQ(11, three.getMajorMaxVersionNo());
    EXPECT_EQ(5, three.getMinorMinVersionNo());
    const std::string trace = ReadFileBytes(m_dir / "trace.log");
    for (const char* line : {"\tMinBuild03 is 1200\r\n", "\tMajorMaxVersion03 is 11\r\n", "\tRegBKValues03[1] is Home\r\n"})
        EXPECT_NE(std::string::npos, trace.find(line)) << line << " not in\n" << trace;
}

// Wine's system is 64-bit: with no "32VersionDLL" the product's "VersionDLL" is read. Which one a
// 64-bit or a 32-bit system reads is shown with the upgrade verdict (DvSetUpgrade_test.cpp).
TEST_F(ProductTest, NewProductTakesItsKeysAndTheVersionLibraryBesideTheFile)
{
    CProduct product(Write("").c_str(), -1, nullptr);
    EXPECT_STREQ("{NEW}", product.getProductCode());
    EXPECT_STREQ("2", product.getProductSubType());
    EXPECT_STREQ("QuellmarshAB", product.getProductDescriptor());
    EXPECT_EQ(12, product.getUpgradeMsg());
    EXPECT_EQ(34, product.getInvalidUpgradeMsg());
    EXPECT_EQ(std::string(CTambRegistry::m_sDrosvaneKey), product.getRegRootKey());
    EXPECT_EQ(std::string(CTambRegistry::m_sDrosvaneKey) + "(BACKUP)", product.getRegBKRootKey());
    EXPECT_EQ(0x1300, product.getVersionNo());
    EXPECT_EQ(8347, product.getBuildNo());
}
