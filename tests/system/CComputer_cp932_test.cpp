// CComputer's folder operations on double-byte folder names. Runs with the ANSI code page 932
// (Shift-JIS): "\x95\x5C" is one character (a kanji) whose trail byte has the back-slash's
// value, and "\x81\x95" is one character whose trail byte 0x95 is also a lead byte.
#include "CComputer.h"

#include "ImportHook.h"
#include "TestSupport.h"

#include <gtest/gtest.h>
#include <lm.h>

#include <string>
#include <vector>

using testsupport::ReadFileBytes;
using testsupport::TempDir;
using testsupport::WriteFileBytes;

namespace {

const std::string kTrail5C = "\x95\x5C";     // ends in a 0x5C trail byte
const std::string kTrailLead = "\x81\x95";   // ends in a trail byte that is also a lead byte

bool IsDirectory(const std::string& path)
{
    DWORD attributes = GetFileAttributesA(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

bool Exists(const std::string& path)
{
    return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

std::vector<std::string> Entries(const std::string& folder)
{
    std::vector<std::string> names;
    WIN32_FIND_DATAA entry;
    HANDLE find = FindFirstFileA((folder + "\\*").c_str(), &entry);
    if (find == INVALID_HANDLE_VALUE)
        return names;
    do {
        std::string name = entry.cFileName;
        if (name != "." && name != "..")
            names.push_back(name);
    } while (FindNextFileA(find, &entry));
    FindClose(find);
    return names;
}

class CComputerCp932 : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(932u, GetACP()) << "this program must run with code page 932"; }

    TempDir m_dir;
};

}  // namespace

TEST_F(CComputerCp932, CreateDirectoryKeepsDoubleByteCharactersWhole)
{
    // "<kanji>\<pair>\sub": neither 0x5C trail byte nor the lead-valued trail byte splits a level.
    const std::string kanji = m_dir / kTrail5C;
    const std::string pair = kanji + "\\" + kTrailLead;
    EXPECT_EQ(1, CComputer::CreateDirectoryA((pair + "\\sub").c_str(), 0));
    EXPECT_EQ(std::vector<std::string>{kTrail5C}, Entries(m_dir.path()));
    EXPECT_EQ(std::vector<std::string>{kTrailLead}, Entries(kanji));
    EXPECT_TRUE(IsDirectory(pair + "\\sub"));

    // A path that ends in the 0x5C trail byte names the folder itself.
    const std::string other = m_dir / ("x" + kTrail5C);
    EXPECT_EQ(1, CComputer::CreateDirectoryA(other.c_str(), 0));
    EXPECT_TRUE(IsDirectory(other));
    EXPECT_EQ(1, CComputer::DirectoryExists(other.c_str()));
}

TEST_F(CComputerCp932, FolderOperationsSearchInsideAFolderEndingInA5CTrailByte)
{
    // A decoy beside the folder matches "<kanji>*.txt": it is found only when the folder text
    // loses its separator, and must survive.
    const std::string folder = m_dir / kTrail5C;
    ASSERT_TRUE(CreateDirectoryA(folder.c_str(), nullptr));
    ASSERT_TRUE(WriteFileBytes(m_dir / (kTrail5C + "decoy.txt"), "decoy"));

    EXPECT_EQ(1, CComputer::PathEmpty(folder.c_str(), nullptr));
    EXPECT_EQ(1, CComputer::PathEmpty(folder.c_str(), "*.txt"));

    ASSERT_TRUE(WriteFileBytes(folder + "\\a.txt", "a"));
    ASSERT_TRUE(CreateDirectoryA((folder + "\\" + kTrailLead).c_str(), nullptr));
    ASSERT_TRUE(WriteFileBytes(folder + "\\" + kTrailLead + "\\b.txt", "b"));
    EXPECT_EQ(0, CComputer::PathEmpty(folder.c_str(), "*.txt"));

    EXPECT_EQ(1, CComputer::ChangeFilesAttribute(folder.c_str(), "*", FILE_ATTRIBUTE_READONLY));
    EXPECT_TRUE(GetFileAttributesA((folder + "\\" + kTrailLead + "\\b.txt").c_str()) & FILE_ATTRIBUTE_READONLY);
    EXPECT_FALSE(GetFileAttributesA((m_dir / (kTrail5C + "decoy.txt")).c_str()) & FILE_ATTRIBUTE_READONLY);

    EXPECT_EQ(1, CComputer::DeleteFiles(folder.c_str(), "*.txt"));
    EXPECT_FALSE(Exists(folder + "\\a.txt"));
    EXPECT_TRUE(Exists(m_dir / (kTrail5C + "decoy.txt")));
}

TEST_F(CComputerCp932, CopyAndDeleteTreesWithDoubleByteNames)
{
    const std::string source = m_dir / kTrail5C;
    ASSERT_TRUE(CreateDirectoryA(source.c_str(), nullptr));
    ASSERT_TRUE(CreateDirectoryA((source + "\\" + kTrailLead).c_str(), nullptr));
    ASSERT_TRUE(WriteFileBytes(source + "\\" + kTrailLead + "\\" + kTrail5C + ".txt", "deep"));
    ASSERT_TRUE(WriteFileBytes(source + "\\top.txt", "top"));
    ASSERT_TRUE(SetFileAttributesA((source + "\\top.txt").c_str(), FILE_ATTRIBUTE_READONLY));
    ASSERT_TRUE(WriteFileBytes(m_dir / (kTrail5C + "decoy.txt"), "decoy"));

    const std::string target = m_dir / ("copy" + kTrail5C);
    EXPECT_EQ(1, CComputer::CopyFileRecursively(source.c_str(), target.c_str(), TRUE));
    EXPECT_EQ("top", ReadFileBytes(target + "\\top.txt"));
    EXPECT_EQ("deep", ReadFileBytes(target + "\\" + kTrailLead + "\\" + kTrail5C + ".txt"));

    EXPECT_EQ(1, CComputer::DeleteTree(source.c_str()));
    EXPECT_FALSE(Exists(source));
    EXPECT_TRUE(Exists(m_dir / (kTrail5C + "decoy.txt")));
    EXPECT_EQ(1, CComputer::DeleteTree((target + "\\").c_str()));
    EXPECT_FALSE(Exists(target));
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

    // 254 single bytes, then a kanji of two bytes: 256 bytes, one more than the 255 that fit.
    g_langroup = std::wstring(254, L'W') + L"\x8868";
    char buffer[300];
    memset(buffer, '#', sizeof(buffer));
    unsigned long length = 256;
    EXPECT_EQ(1, CComputer::GetDomain(buffer, &length, nullptr));
    EXPECT_EQ(254u, length);
    EXPECT_EQ(std::string(254, 'W'), buffer);
    EXPECT_EQ('#', buffer[255]);
    EXPECT_EQ('#', buffer[256]);

    g_langroup = std::wstring(253, L'W') + L"\x8868";  // exactly 255 bytes: all of it
    length = 256;
    EXPECT_EQ(1, CComputer::GetDomain(buffer, &length, nullptr));
    EXPECT_EQ(255u, length);
    EXPECT_EQ(std::string(253, 'W') + kTrail5C, buffer);
}
