// CComputer's folder operations on double-byte folder names. Runs with the ANSI code page 932
// (Shift-JIS): "\x95\x5C" is one character (a kanji) whose trail byte has the back-slash's
// value, and "\x81\x95" is one character whose trail byte 0x95 is also a lead byte.
#include "CComputer.h"

#include "ImportHook.h"
#include "TestSupport.h"

#include <gtest/gtest.h>
#include <lm.h>

#include <string>

using testsupport::ReadFileBytes;
using testsupport::TempDir;
using testsupport::WriteFileBytes;

namespace {

const std::string kKanji = "\x95\x5C";  // ends in a 0x5C trail byte
const std::string kPair = "\x81\x95";   // ends in a trail byte that is also a lead byte

bool Exists(const std::string& path)
{
    return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

class CComputerCp932 : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(932u, GetACP()) << "this program must run with code page 932"; }
};

}  // namespace

TEST_F(CComputerCp932, CreateDirectoryKeepsDoubleByteCharactersWhole)
{
    TempDir dir;
    // Neither trail byte splits a level; a path may end in the 0x5C trail byte.
    EXPECT_EQ(1, CComputer::CreateDirectoryA((dir / (kKanji + "\\" + kPair + "\\sub")).c_str(), 0));
    EXPECT_EQ(1, CComputer::CreateDirectoryA((dir / ("x" + kKanji)).c_str(), 0));
    for (const std::string& level : {kKanji, kKanji + "\\" + kPair, kKanji + "\\" + kPair + "\\sub", "x" + kKanji})
        EXPECT_EQ(1, CComputer::DirectoryExists((dir / level).c_str())) << level;
    WIN32_FIND_DATAA entry;
    EXPECT_EQ(INVALID_HANDLE_VALUE, FindFirstFileA((dir / "\x95").c_str(), &entry));  // no cut-off level
}

TEST_F(CComputerCp932, FolderOperationsWorkInsideAFolderEndingInA5CTrailByte)
{
    // A decoy beside the folder matches "<kanji>*.txt": it would be found only if the folder
    // text lost its separator.
    TempDir dir;
    const std::string folder = dir / kKanji;
    const std::string decoy = dir / (kKanji + "decoy.txt");
    ASSERT_TRUE(CreateDirectoryA(folder.c_str(), nullptr));
    ASSERT_TRUE(WriteFileBytes(decoy, "decoy"));
    EXPECT_EQ(1, CComputer::PathEmpty(folder.c_str(), "*.txt"));

    ASSERT_TRUE(CreateDirectoryA((folder + "\\" + kPair).c_str(), nullptr));
    ASSERT_TRUE(WriteFileBytes(folder + "\\" + kPair + "\\" + kKanji + ".txt", "deep"));
    ASSERT_TRUE(WriteFileBytes(folder + "\\top.txt", "top"));
    EXPECT_EQ(0, CComputer::PathEmpty(folder.c_str(), "*.txt"));
    EXPECT_EQ(1, CComputer::ChangeFilesAttribute(folder.c_str(), "*", FILE_ATTRIBUTE_READONLY));
    EXPECT_TRUE(GetFileAttributesA((folder + "\\" + kPair + "\\" + kKanji + ".txt").c_str()) & FILE_ATTRIBUTE_READONLY);

    const std::string copy = dir / ("copy" + kKanji);
    EXPECT_EQ(1, CComputer::CopyFileRecursively(folder.c_str(), copy.c_str(), TRUE));
    EXPECT_EQ("deep", ReadFileBytes(copy + "\\" + kPair + "\\" + kKanji + ".txt"));

    EXPECT_EQ(1, CComputer::DeleteFiles(folder.c_str(), "*.txt"));
    EXPECT_FALSE(Exists(folder + "\\top.txt"));
    EXPECT_EQ(1, CComputer::DeleteTree(folder.c_str()));
    EXPECT_EQ(1, CComputer::DeleteTree((copy + "\\").c_str()));
    EXPECT_FALSE(Exists(folder));
    EXPECT_FALSE(Exists(copy));
    EXPECT_EQ("decoy", ReadFileBytes(decoy));
    EXPECT_FALSE(GetFileAttributesA(decoy.c_str()) & FILE_ATTRIBUTE_READONLY);
}

namespace {

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

class CComputerInterceptedCp932 : public CComputerCp932 {};

}  // namespace

TEST_F(CComputerInterceptedCp932, DomainIsCutOnAWholeCharacter)
{
    SETUPCLS_HOOK_IMPORT(wksta, "NETAPI32.dll", NetWkstaGetInfo, FakeNetWkstaGetInfo);
    SETUPCLS_HOOK_IMPORT(release, "NETAPI32.dll", NetApiBufferFree, FakeNetApiBufferFree);
    ASSERT_TRUE(wksta.installed() && release.installed());
    char buffer[300];
    memset(buffer, '#', sizeof(buffer));
    unsigned long length = 256;

    // 254 single bytes and a kanji: 256 bytes, one more than the 255 that fit.
    g_langroup = std::wstring(254, L'W') + L"\x8868";
    EXPECT_EQ(1, CComputer::GetDomain(buffer, &length, nullptr));
    EXPECT_EQ(std::string(254, 'W'), buffer);
    EXPECT_EQ('#', buffer[256]);

    g_langroup = std::wstring(253, L'W') + L"\x8868";  // exactly 255 bytes: all of it
    length = 256;
    EXPECT_EQ(1, CComputer::GetDomain(buffer, &length, nullptr));
    EXPECT_EQ(std::string(253, 'W') + kKanji, buffer);
    EXPECT_EQ(255u, length);
}
