// CComputer's folder operations on double-byte names, run with the ANSI code page 932: "\x95\x5C"
// is one character whose trail byte has the back-slash's value, and "\x81\x95" one whose trail
// byte 0x95 is also a lead byte.
#include "CComputer.h"

#include "ImportHook.h"
#include "TestSupport.h"

#include <gtest/gtest.h>
#include <lm.h>

#include <string>

using namespace testsupport;

namespace {

const std::string kKanji = "\x95\x5C", kPair = "\x81\x95";

class CComputerCp932 : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(932u, GetACP()) << "this program must run with code page 932"; }
};
class CComputerInterceptedCp932 : public CComputerCp932 {};

std::wstring g_langroup;
WKSTA_INFO_100 g_wksta = {};

NET_API_STATUS WINAPI FakeNetWkstaGetInfo(LMSTR, DWORD, LPBYTE* buffer)
{
    g_wksta.wki100_langroup = &g_langroup[0];
    *buffer = reinterpret_cast<LPBYTE>(&g_wksta);
    return NERR_Success;
}
NET_API_STATUS WINAPI FakeNetApiBufferFree(LPVOID)
{
    return NERR_Success;
}

}  // namespace

TEST_F(CComputerCp932, CreateDirectoryKeepsDoubleByteCharactersWhole)
{
    TempDir dir;
    EXPECT_EQ(1, CComputer::CreateDirectoryA((dir / (kKanji + "\\" + kPair + "\\sub")).c_str(), 0));
    EXPECT_EQ(1, CComputer::CreateDirectoryA((dir / ("x" + kKanji)).c_str(), 0));  // ends in the 0x5C trail byte
    for (const std::string& level : {kKanji + "\\" + kPair + "\\sub", "x" + kKanji})
        EXPECT_EQ(1, CComputer::DirectoryExists((dir / level).c_str())) << level;
    WIN32_FIND_DATAA entry;
    EXPECT_EQ(INVALID_HANDLE_VALUE, FindFirstFileA((dir / "\x95").c_str(), &entry));  // no cut-off level
}

TEST_F(CComputerCp932, FolderOperationsInsideAFolderEndingInA5CTrailByte)
{
    // A decoy beside the folder matches "<kanji>*.txt": found only if the folder lost its separator.
    TempDir dir;
    const std::string folder = dir / kKanji, decoy = dir / (kKanji + "decoy.txt"), copy = dir / ("copy" + kKanji);
    const std::string deep = "\\" + kPair + "\\" + kKanji + ".txt";
    ASSERT_TRUE(CreateDirectoryA(folder.c_str(), nullptr));
    ASSERT_TRUE(WriteFileBytes(decoy, "decoy"));
    EXPECT_EQ(1, CComputer::PathEmpty(folder.c_str(), "*.txt"));
    ASSERT_TRUE(CreateDirectoryA((folder + "\\" + kPair).c_str(), nullptr));
    ASSERT_TRUE(WriteFileBytes(folder + deep, "deep"));
    ASSERT_TRUE(WriteFileBytes(folder + "\\top.txt", "top"));
    EXPECT_EQ(0, CComputer::PathEmpty(folder.c_str(), "*.txt"));
    EXPECT_EQ(1, CComputer::ChangeFilesAttribute(folder.c_str(), "*", FILE_ATTRIBUTE_READONLY));
    EXPECT_TRUE(GetFileAttributesA((folder + deep).c_str()) & FILE_ATTRIBUTE_READONLY);
    EXPECT_EQ(1, CComputer::CopyFileRecursively(folder.c_str(), copy.c_str(), TRUE));
    EXPECT_EQ("deep", ReadFileBytes(copy + deep));
    EXPECT_EQ(1, CComputer::DeleteFiles(folder.c_str(), "*.txt"));
    EXPECT_EQ(INVALID_FILE_ATTRIBUTES, GetFileAttributesA((folder + "\\top.txt").c_str()));
    EXPECT_EACH(1, ANSWER(CComputer::DeleteTree(folder.c_str())), ANSWER(CComputer::DeleteTree((copy + "\\").c_str())));
    EXPECT_EQ(INVALID_FILE_ATTRIBUTES, GetFileAttributesA(folder.c_str()));
    EXPECT_EQ(INVALID_FILE_ATTRIBUTES, GetFileAttributesA(copy.c_str()));
    EXPECT_EQ("decoy", ReadFileBytes(decoy));
    EXPECT_FALSE(GetFileAttributesA(decoy.c_str()) & FILE_ATTRIBUTE_READONLY);
}

TEST_F(CComputerInterceptedCp932, DomainIsCutOnAWholeCharacter)
{
    SETUPCLS_HOOK_IMPORT(wksta, "NETAPI32.dll", NetWkstaGetInfo, FakeNetWkstaGetInfo);
    SETUPCLS_HOOK_IMPORT(release, "NETAPI32.dll", NetApiBufferFree, FakeNetApiBufferFree);
    char buffer[300];
    memset(buffer, '#', sizeof(buffer));
    unsigned long length = 256;
    g_langroup = std::wstring(254, L'W') + L"\x8868";  // 256 bytes, one more than the 255 that fit
    EXPECT_EQ(1, CComputer::GetDomain(buffer, &length, nullptr));
    EXPECT_EQ(std::string(254, 'W'), buffer);
    EXPECT_EQ('#', buffer[256]);
    g_langroup = std::wstring(253, L'W') + L"\x8868";  // exactly 255 bytes: all of it
    length = 256;
    EXPECT_EQ(1, CComputer::GetDomain(buffer, &length, nullptr));
    EXPECT_EQ(std::string(253, 'W') + kKanji, buffer);
    EXPECT_EQ(255u, length);
}
