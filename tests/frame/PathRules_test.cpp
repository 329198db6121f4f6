#include "PathRules.h"

#include <gtest/gtest.h>

// Code page 1252: no byte is a lead byte, every 0x5C is a back-slash.

TEST(PathRules, DriveRootTrimsToDriveAndAppendsBack)
{
    CString path("C:\\");
    EXPECT_EQ(2, TrimTailBackSlash(path));
    EXPECT_STREQ("C:", path);
    EXPECT_EQ(3, AppendBackSlash(path));
    EXPECT_STREQ("C:\\", path);
}

TEST(PathRules, OnlyBackSlashesOrEmptyEndEmpty)
{
    CString single("\\");
    EXPECT_EQ(0, TrimTailBackSlash(single));
    EXPECT_STREQ("", single);

    CString lone("\\");
    EXPECT_EQ(0, AppendBackSlash(lone));
    EXPECT_STREQ("", lone);

    CString many("\\\\\\");
    EXPECT_EQ(0, AppendBackSlash(many));
    EXPECT_STREQ("", many);

    CString empty;
    EXPECT_EQ(0, TrimTailBackSlash(empty));
    EXPECT_EQ(0, AppendBackSlash(empty));
    EXPECT_STREQ("", empty);
}

TEST(PathRules, SeveralTrailingBackSlashesBecomeOne)
{
    CString path("C:\\Program Files\\Drosvane\\\\\\");
    EXPECT_EQ(26, AppendBackSlash(path));
    EXPECT_STREQ("C:\\Program Files\\Drosvane\\", path);

    CString bare("C:\\Drosvane");
    EXPECT_EQ(12, AppendBackSlash(bare));
    EXPECT_STREQ("C:\\Drosvane\\", bare);
}

TEST(PathRules, HighBytesAreNotLeadBytesInCodePage1252)
{
    ASSERT_EQ(1252u, GetACP());
    CString path("C:\\\x95\\");
    EXPECT_EQ(4, TrimTailBackSlash(path));
    EXPECT_STREQ("C:\\\x95", path);
}
