// CComputer with some of SetupCLS.dll's Windows imports replaced (ImportHook), for what Wine
// cannot show: other drive layouts, more than 4 GiB free, a Windows 9x version answer, domain
// controller roles, names longer than the fixed buffers, and linked folders.
#include "CComputer.h"

#include "ImportHook.h"
#include "TestSupport.h"

#include <gtest/gtest.h>
#include <lm.h>

#include <string>
#include <vector>

namespace {

std::vector<std::string> g_roots;  // every drive root asked about, in order
std::string g_fixedRoot;           // the one fixed disk ("" for none)
DWORD g_freeClusters = 0;          // of 8 sectors of 512 bytes; 0 makes the call fail
OSVERSIONINFOA g_version = {};
std::vector<std::wstring> g_servers;  // machine names asked about; L"(local)" for null
std::vector<void*> g_freed;
SERVER_INFO_101 g_server = {};
WKSTA_INFO_100 g_wksta = {};
std::wstring g_langroup;

UINT WINAPI FakeGetDriveTypeA(LPCSTR root)
{
    g_roots.push_back(root);
    return g_fixedRoot == root ? DRIVE_FIXED : DRIVE_NO_ROOT_DIR;
}

BOOL WINAPI FakeGetDiskFreeSpaceA(LPCSTR root, LPDWORD perCluster, LPDWORD perSector, LPDWORD free, LPDWORD total)
{
    g_roots.push_back(root);
    *perCluster = 8;
    *perSector = 512;
    *free = *total = g_freeClusters;
    return g_freeClusters != 0;
}

BOOL WINAPI FakeGetVersionExA(LPOSVERSIONINFOA info)
{
    *info = g_version;
    return TRUE;
}

NET_API_STATUS WINAPI FakeNetServerGetInfo(LMSTR server, DWORD level, LPBYTE* buffer)
{
    g_servers.push_back(server ? server : L"(local)");
    *buffer = reinterpret_cast<LPBYTE>(&g_server);
    return level == 101 ? NERR_Success : ERROR_INVALID_LEVEL;
}

NET_API_STATUS WINAPI FakeNetWkstaGetInfo(LMSTR server, DWORD level, LPBYTE* buffer)
{
    g_servers.push_back(server ? server : L"(local)");
    g_wksta.wki100_langroup = &g_langroup[0];
    *buffer = reinterpret_cast<LPBYTE>(&g_wksta);
    return level == 100 ? NERR_Success : ERROR_INVALID_LEVEL;
}

NET_API_STATUS WINAPI FakeNetApiBufferFree(LPVOID buffer)
{
    g_freed.push_back(buffer);
    return NERR_Success;
}

// Entries named "link" are reported as linked folders (Wine's CreateSymbolicLinkA makes nothing).
BOOL MarkLink(BOOL found, LPWIN32_FIND_DATAA entry)
{
    if (found && strcmp(entry->cFileName, "link") == 0)
        entry->dwFileAttributes |= FILE_ATTRIBUTE_REPARSE_POINT;
    return found;
}
HANDLE WINAPI LinkFindFirstFileA(LPCSTR pattern, LPWIN32_FIND_DATAA entry)
{
    HANDLE find = FindFirstFileA(pattern, entry);
    MarkLink(find != INVALID_HANDLE_VALUE, entry);
    return find;
}
BOOL WINAPI LinkFindNextFileA(HANDLE find, LPWIN32_FIND_DATAA entry)
{
    return MarkLink(FindNextFileA(find, entry), entry);
}

}  // namespace

TEST(CComputerIntercepted, DrivesFirstHardDriveAndFreeSpaceWrap)
{
    SETUPCLS_HOOK_IMPORT(type, "KERNEL32.dll", GetDriveTypeA, FakeGetDriveTypeA);
    SETUPCLS_HOOK_IMPORT(space, "kernel32.DLL", GetDiskFreeSpaceA, FakeGetDiskFreeSpaceA);
    g_roots.clear();
    g_fixedRoot = "D:\\";
    EXPECT_EQ('D', CComputer::FindFirstHardDrive());
    EXPECT_EQ((std::vector<std::string>{"A:\\", "B:\\", "C:\\", "D:\\"}), g_roots);
    g_fixedRoot.clear();
    EXPECT_EQ('Z', CComputer::FindFirstHardDrive());
    EXPECT_EQ(30u, g_roots.size());

    g_roots.clear();
    g_fixedRoot = "e:\\";
    g_freeClusters = 1310720;  // 5 GiB
    for (const char* path : {"e:relative", "relative\\x"}) {
        CComputer::GetDriveTypeA(path);
        EXPECT_EQ(1ul << 30, CComputer::DriveFreeSpaceBytes(path));  // 5 GiB modulo 2^32
    }
    EXPECT_EQ((std::vector<std::string>{"e:\\", "e:\\", "\\", "\\"}), g_roots);
    EXPECT_EQ(static_cast<unsigned int>(DRIVE_FIXED), CComputer::GetDriveTypeA("e:\\x"));
    g_freeClusters = 0;
    EXPECT_EQ(0ul, CComputer::DriveFreeSpaceBytes("C:\\"));
}

TEST(CComputerIntercepted, Windows9xVersionAnswers)
{
    SETUPCLS_HOOK_IMPORT(hook, "KERNEL32.dll", GetVersionExA, FakeGetVersionExA);
    g_version = {sizeof(OSVERSIONINFOA), 4, 10, 1998, VER_PLATFORM_WIN32_WINDOWS, ""};
    EXPECT_EQ(1, CComputer::IsWindows95());
    EXPECT_EQ(4ul, CComputer::GetNTVersion());
    EXPECT_EQ(1, CComputer::IsNT4xOrLater());  // the platform is not looked at
    g_version = {sizeof(OSVERSIONINFOA), 3, 51, 1057, VER_PLATFORM_WIN32_NT, ""};
    EXPECT_EQ(0, CComputer::IsWindows95());
    EXPECT_EQ(0, CComputer::IsNT4xOrLater());
}

TEST(CComputerIntercepted, NetworkQueriesCutNamesAndFreeTheirAnswers)
{
    SETUPCLS_HOOK_IMPORT(server, "NETAPI32.dll", NetServerGetInfo, FakeNetServerGetInfo);
    SETUPCLS_HOOK_IMPORT(wksta, "NETAPI32.dll", NetWkstaGetInfo, FakeNetWkstaGetInfo);
    SETUPCLS_HOOK_IMPORT(release, "NETAPI32.dll", NetApiBufferFree, FakeNetApiBufferFree);
    g_servers.clear();
    g_freed.clear();
    g_server.sv101_type = SV_TYPE_DOMAIN_BAKCTRL | SV_TYPE_SERVER_NT;
    EXPECT_EQ(0, CComputer::IsPrimaryDomainController(""));
    EXPECT_EQ(1, CComputer::IsBackupDomainController("BACKUP01"));
    g_server.sv101_type = SV_TYPE_DOMAIN_CTRL;
    EXPECT_EQ(1, CComputer::IsPrimaryDomainController(nullptr));
    EXPECT_EQ(0, CComputer::IsBackupDomainController(nullptr));

    // A 300-character workgroup fills 255 bytes of the 256 used, whatever the buffer offers.
    g_langroup = std::wstring(300, L'W');
    char buffer[300];
    memset(buffer, '#', sizeof(buffer));
    unsigned long length = sizeof(buffer);
    EXPECT_EQ(1, CComputer::GetDomain(buffer, &length, (std::string(32, 'M') + "OVERFLOW").c_str()));
    EXPECT_EQ(std::string(255, 'W'), buffer);
    EXPECT_EQ(255u, length);
    EXPECT_EQ('#', buffer[256]);
    EXPECT_EQ((std::vector<std::wstring>{L"(local)", L"BACKUP01", L"(local)", L"(local)", std::wstring(32, L'M')}),
              g_servers);
    EXPECT_EQ((std::vector<void*>{&g_server, &g_server, &g_server, &g_server, &g_wksta}), g_freed);
    EXPECT_EQ(1, CComputer("PDC01").DomainController());
}

TEST(CComputerIntercepted, DeleteTreeRemovesALinkedFolderWithoutEnteringIt)
{
    testsupport::TempDir dir;
    const std::string tree = dir / "tree";
    ASSERT_TRUE(CreateDirectoryA(tree.c_str(), nullptr));
    ASSERT_TRUE(CreateDirectoryA((tree + "\\link").c_str(), nullptr));
    ASSERT_TRUE(testsupport::WriteFileBytes(tree + "\\link\\elsewhere.txt", "keep"));
    ASSERT_TRUE(testsupport::WriteFileBytes(tree + "\\own.txt", "go"));
    {
        SETUPCLS_HOOK_IMPORT(first, "KERNEL32.dll", FindFirstFileA, LinkFindFirstFileA);
        SETUPCLS_HOOK_IMPORT(next, "KERNEL32.dll", FindNextFileA, LinkFindNextFileA);
        EXPECT_EQ(1, CComputer::DeleteTree(tree.c_str()));
    }
    // The "link" here is a real folder: removing it as a link fails, and its content stays.
    EXPECT_EQ("keep", testsupport::ReadFileBytes(tree + "\\link\\elsewhere.txt"));
    EXPECT_EQ(INVALID_FILE_ATTRIBUTES, GetFileAttributesA((tree + "\\own.txt").c_str()));
}
