#include "PathRules.h"

#include <gtest/gtest.h>

// Runs with the ANSI code page 932 (Shift-JIS). 0x95 0x5C is one double-byte character whose
// trail byte is the back-slash's value; 0x81 is a lead byte too.

class PathRulesCp932 : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(932u, GetACP()) << "this program must run with code page 932"; }
};

TEST_F(PathRulesCp932, TrailByteOfDoubleByteCharacterIsKept)
{
    CString path("C:\\\x95\x5C");
    EXPECT_EQ(5, TrimTailBackSlash(path));
    EXPECT_STREQ("C:\\\x95\x5C", path);

    EXPECT_EQ(6, AppendBackSlash(path));
    EXPECT_STREQ("C:\\\x95\x5C\\", path);
}

TEST_F(PathRulesCp932, RealBackSlashesAfterDoubleByteCharacterAreRemoved)
{
    CString path("\x95\x5C\\\\");
    EXPECT_EQ(2, TrimTailBackSlash(path));
    EXPECT_STREQ("\x95\x5C", path);
}

TEST_F(PathRulesCp932, OddRunOfLeadBytesMakesTheBackSlashReal)
{
    // 0x81 0x95 is one character; the 0x5C after it is a back-slash of its own.
    CString path("C:\\\x81\x95\\");
    EXPECT_EQ(5, TrimTailBackSlash(path));
    EXPECT_STREQ("C:\\\x81\x95", path);
}

TEST_F(PathRulesCp932, EvenRunOfLeadBytesKeepsTheTrailByte)
{
    // 0x81 0x81 and 0x95 0x5C are two characters.
    CString path("\x81\x81\x95\x5C");
    EXPECT_EQ(4, TrimTailBackSlash(path));
    EXPECT_STREQ("\x81\x81\x95\x5C", path);
}

TEST_F(PathRulesCp932, LeadByteDirectlyBeforeTheOnlyBackSlashStops)
{
    CString path("\x95\x5C");
    EXPECT_EQ(2, TrimTailBackSlash(path));
    EXPECT_EQ(3, AppendBackSlash(path));
}
