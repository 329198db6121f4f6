// The folder and file access functions against Wine itself: what they refuse, the account
// lookups and file reads Wine really does, and the messages those failures print. Wine keeps no
// file or folder lists (its Set* calls succeed and store nothing, and every group's effective
// rights are 0x1FFFFF), so the lists themselves are checked by the intercepted suite.
#include "FolderAccess.h"

#include "OutputCapture.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

using testsupport::TempDir;

namespace {

class FolderAccess : public ::testing::Test {
protected:
    TempDir m_dir;
    std::string m_missing = m_dir / "missing";
};

TEST_F(FolderAccess, MissingOrEmptyPathsAreRefused)
{
    DWORD mask = 7;
    EXPECT_EACH(0, ANSWER(AddAccessPermissionOnFolder(nullptr)), ANSWER(AddAccessPermissionOnFolder("")),
                ANSWER(AddAccessPermissionOnFolder(m_missing.c_str())),
                ANSWER(GetBuiltinDomainAccessMaskOnFolder(nullptr, 544, &mask)),
                ANSWER(GetBuiltinDomainAccessMaskOnFolder("", 544, &mask)),
                ANSWER(GetBuiltinDomainAccessMaskOnFolder(m_missing.c_str(), 544, &mask)),
                ANSWER(GetBuiltinDomainAccessMaskOnFolder((m_dir.path() + "\\").c_str(), 544, &mask)),
                ANSWER(GetBuiltinDomainAccessMaskOnFolder(m_dir.path().c_str(), 544, nullptr)),
                ANSWER(AdjustAccessRights(nullptr, 0, 0, nullptr, "Administrators", 1)),
                ANSWER(AdjustAccessRights(nullptr, 0, 0, m_dir.path().c_str(), nullptr, 1)));
    EXPECT_EQ(7u, mask) << "the mask is left alone when the finder does not find the path";
}

// Wine (reporting Windows 6.1) has no "NT SERVICE\TrustedInstaller" account.
TEST_F(FolderAccess, FolderRuleNeedsTrustedInstallerOnWindows6)
{
    EXPECT_EQ(0, AddAccessPermissionOnFolder(m_dir.path().c_str()));
    EXPECT_EQ(static_cast<DWORD>(ERROR_NONE_MAPPED), GetLastError());
}

TEST_F(FolderAccess, AdjustmentFailuresArePrintedWithTheirError)
{
    const std::string file = m_dir / "file.txt";
    ASSERT_TRUE(testsupport::WriteFileBytes(file, "x"));
    const struct {
        const char *path, *account, *output;
        int result;
    } cases[] = {
        {file.c_str(), "Administrators", "", 1},
        {file.c_str(), "SetupCLSNoSuchAccount", "LookupAccountName() failed. Error 1332\n", 0},
        {m_missing.c_str(), "Administrators", "GetFileSecurity() failed. Error 2\n", 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.account + std::string(" ") + c.path);
        int result = -1;
        EXPECT_EQ(c.output, testsupport::StdoutOf(
                                [&] { result = AdjustAccessRights(nullptr, 0, 0, c.path, c.account, GENERIC_READ); }));
        EXPECT_EQ(c.result, result);
    }
}

}  // namespace
