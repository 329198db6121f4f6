// CComputer with some of SetupCLS.dll's Windows imports replaced (testsupport::ImportHook), for
// what Wine cannot show: other drive layouts, a Windows 9x version answer, more than 4 GiB
// free, domain controller roles, names longer than the fixed buffers, and the exact calls made.
#include "CComputer.h"

#include "ImportHook.h"
#include "TestSupport.h"

#include <gtest/gtest.h>
#include <lm.h>

#include <string>
#include <vector>

using testsupport::TempDir;

namespace {

// ---- Drives ----

std::vector<std::string> g_driveRoots;  // every root asked about, in order
std::string g_fixedRoot;                // the one fixed disk ("" for none)

UINT WINAPI FakeGetDriveTypeA(LPCSTR root)
{
    g_driveRoots.push_back(root ? root : "(null)");
    return (root && g_fixedRoot == root) ? DRIVE_FIXED : DRIVE_NO_ROOT_DIR;
}

struct DiskAnswer {
    BOOL ok = TRUE;
    DWORD sectorsPerCluster = 0;
    DWORD bytesPerSector = 0;
    DWORD freeClusters = 0;
};
DiskAnswer g_disk;
std::vector<std::string> g_diskRoots;

BOOL WINAPI FakeGetDiskFreeSpaceA(LPCSTR root, LPDWORD sectorsPerCluster, LPDWORD bytesPerSector,
                                  LPDWORD freeClusters, LPDWORD totalClusters)
{
    g_diskRoots.push_back(root ? root : "(null)");
    if (!g_disk.ok)
        return FALSE;
    *sectorsPerCluster = g_disk.sectorsPerCluster;
    *bytesPerSector = g_disk.bytesPerSector;
    *freeClusters = g_disk.freeClusters;
    *totalClusters = g_disk.freeClusters * 2;
    return TRUE;
}

// ---- Version ----

struct VersionAnswer {
    BOOL ok = TRUE;
    DWORD major = 0;
    DWORD platform = 0;
};
VersionAnswer g_version;

BOOL WINAPI FakeGetVersionExA(LPOSVERSIONINFOA info)
{
    // Windows refuses a record whose size field is not set.
    if (!g_version.ok || info->dwOSVersionInfoSize != sizeof(OSVERSIONINFOA)) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return FALSE;
    }
    info->dwMajorVersion = g_version.major;
    info->dwMinorVersion = 10;
    info->dwBuildNumber = 1998;
    info->dwPlatformId = g_version.platform;
    return TRUE;
}

// ---- Network management ----

struct NetCall {
    std::wstring server;  // L"(null)" for the local machine
    DWORD level;
};
std::vector<NetCall> g_netCalls;
std::vector<void*> g_freed;
NET_API_STATUS g_netStatus = NERR_Success;
SERVER_INFO_101 g_server = {};
WKSTA_INFO_100 g_wksta = {};
std::wstring g_langroup;

void RecordNetCall(LMSTR server, DWORD level)
{
    g_netCalls.push_back({server ? std::wstring(server) : std::wstring(L"(null)"), level});
}

NET_API_STATUS WINAPI FakeNetServerGetInfo(LMSTR server, DWORD level, LPBYTE* buffer)
{
    RecordNetCall(server, level);
    *buffer = g_netStatus == NERR_Success ? reinterpret_cast<LPBYTE>(&g_server) : nullptr;
    return g_netStatus;
}

NET_API_STATUS WINAPI FakeNetWkstaGetInfo(LMSTR server, DWORD level, LPBYTE* buffer)
{
    RecordNetCall(server, level);
    g_wksta.wki100_langroup = &g_langroup[0];
    *buffer = g_netStatus == NERR_Success ? reinterpret_cast<LPBYTE>(&g_wksta) : nullptr;
    return g_netStatus;
}

NET_API_STATUS WINAPI FakeNetApiBufferFree(LPVOID buffer)
{
    g_freed.push_back(buffer);
    return NERR_Success;
}

class CComputerInterceptedNet : public ::testing::Test {
protected:
    void SetUp() override
    {
        g_netCalls.clear();
        g_freed.clear();
        g_netStatus = NERR_Success;
        g_server = {};
        g_server.sv101_type = SV_TYPE_WORKSTATION | SV_TYPE_SERVER | SV_TYPE_NT;
        g_langroup = L"WORKGROUP";
    }

    SETUPCLS_HOOK_IMPORT(m_server, "NETAPI32.dll", NetServerGetInfo, FakeNetServerGetInfo);
    SETUPCLS_HOOK_IMPORT(m_wksta, "netapi32.dll", NetWkstaGetInfo, FakeNetWkstaGetInfo);
    SETUPCLS_HOOK_IMPORT(m_free, "NETAPI32.DLL", NetApiBufferFree, FakeNetApiBufferFree);
};

// ---- Folders ----

std::vector<std::string> g_created;

BOOL WINAPI RecordCreateDirectoryA(LPCSTR path, LPSECURITY_ATTRIBUTES security)
{
    g_created.push_back(path);
    return CreateDirectoryA(path, security);  // the test program's own import: the real call
}

// Entries named "link" are reported as linked folders (reparse points); Wine's
// CreateSymbolicLinkA answers success and makes nothing, so a real link cannot be made.
void MarkLink(LPWIN32_FIND_DATAA entry)
{
    if (strcmp(entry->cFileName, "link") == 0)
        entry->dwFileAttributes |= FILE_ATTRIBUTE_REPARSE_POINT;
}

HANDLE WINAPI LinkFindFirstFileA(LPCSTR pattern, LPWIN32_FIND_DATAA entry)
{
    HANDLE find = FindFirstFileA(pattern, entry);
    if (find != INVALID_HANDLE_VALUE)
        MarkLink(entry);
    return find;
}

BOOL WINAPI LinkFindNextFileA(HANDLE find, LPWIN32_FIND_DATAA entry)
{
    BOOL found = FindNextFileA(find, entry);
    if (found)
        MarkLink(entry);
    return found;
}

}  // namespace

// ---- Drives ----

TEST(CComputerIntercepted, FirstHardDriveIsTheOnlyFixedDiskD)
{
    SETUPCLS_HOOK_IMPORT(hook, "KERNEL32.dll", GetDriveTypeA, FakeGetDriveTypeA);
    ASSERT_TRUE(hook.installed());
    g_driveRoots.clear();
    g_fixedRoot = "D:\\";
    EXPECT_EQ('D', CComputer::FindFirstHardDrive());
    EXPECT_EQ((std::vector<std::string>{"A:\\", "B:\\", "C:\\", "D:\\"}), g_driveRoots);
}

TEST(CComputerIntercepted, FirstHardDriveIsZWhenNoDiskIsFixed)
{
    SETUPCLS_HOOK_IMPORT(hook, "KERNEL32.dll", GetDriveTypeA, FakeGetDriveTypeA);
    ASSERT_TRUE(hook.installed());
    g_driveRoots.clear();
    g_fixedRoot.clear();
    EXPECT_EQ('Z', CComputer::FindFirstHardDrive());
    ASSERT_EQ(26u, g_driveRoots.size());
    EXPECT_EQ("Z:\\", g_driveRoots.back());
}

TEST(CComputerIntercepted, DriveQueriesAskAboutTheRootOfThePathsDrive)
{
    SETUPCLS_HOOK_IMPORT(type, "KERNEL32.dll", GetDriveTypeA, FakeGetDriveTypeA);
    SETUPCLS_HOOK_IMPORT(space, "KERNEL32.dll", GetDiskFreeSpaceA, FakeGetDiskFreeSpaceA);
    ASSERT_TRUE(type.installed());
    ASSERT_TRUE(space.installed());
    g_fixedRoot = "E:\\";
    g_disk = DiskAnswer{TRUE, 8, 512, 100};

    g_driveRoots.clear();
    g_diskRoots.clear();
    const std::string longPath = "E:\\" + std::string(400, 'p');
    for (const char* path : {"E:\\Program Files\\Drosvane", "e:relative", "\\\\server\\share\\x", "relative\\x", "",
                             longPath.c_str()}) {
        CComputer::GetDriveTypeA(path);
        CComputer::DriveFreeSpaceBytes(path);
    }
    const std::vector<std::string> roots{"E:\\", "e:\\", "\\", "\\", "\\", "E:\\"};
    EXPECT_EQ(roots, g_driveRoots);
    EXPECT_EQ(roots, g_diskRoots);
    EXPECT_EQ(static_cast<unsigned int>(DRIVE_FIXED), CComputer::GetDriveTypeA("E:\\x"));
}

TEST(CComputerIntercepted, FreeSpaceWrapsModulo4GiB)
{
    SETUPCLS_HOOK_IMPORT(hook, "KERNEL32.dll", GetDiskFreeSpaceA, FakeGetDiskFreeSpaceA);
    ASSERT_TRUE(hook.installed());

    // 5 GiB free: 1310720 clusters of 8 sectors of 512 bytes.
    g_disk = DiskAnswer{TRUE, 8, 512, 1310720};
    const unsigned long long fiveGiB = 5ull << 30;
    EXPECT_EQ(static_cast<unsigned long>(fiveGiB % (1ull << 32)), CComputer::DriveFreeSpaceBytes("C:\\"));
    EXPECT_EQ(1ul << 30, CComputer::DriveFreeSpaceBytes("C:\\"));

    g_disk = DiskAnswer{TRUE, 8, 512, 25600};  // 100 MiB: no wrap
    EXPECT_EQ(100ul << 20, CComputer::DriveFreeSpaceBytes("C:\\data"));

    g_disk = DiskAnswer{FALSE, 8, 512, 25600};
    EXPECT_EQ(0ul, CComputer::DriveFreeSpaceBytes("C:\\data"));
}

// ---- Version ----

TEST(CComputerIntercepted, Windows9xVersionAnswers)
{
    SETUPCLS_HOOK_IMPORT(hook, "KERNEL32.dll", GetVersionExA, FakeGetVersionExA);
    ASSERT_TRUE(hook.installed());

    g_version = VersionAnswer{TRUE, 4, VER_PLATFORM_WIN32_WINDOWS};
    EXPECT_EQ(1, CComputer::IsWindows95(nullptr));
    EXPECT_EQ(4ul, CComputer::GetNTVersion(nullptr));
    EXPECT_EQ(1, CComputer::IsNT4xOrLater(nullptr));  // the platform is not looked at

    g_version = VersionAnswer{TRUE, 3, VER_PLATFORM_WIN32_NT};
    EXPECT_EQ(0, CComputer::IsWindows95(nullptr));
    EXPECT_EQ(0, CComputer::IsNT4xOrLater(nullptr));

    g_version = VersionAnswer{FALSE, 10, VER_PLATFORM_WIN32_WINDOWS};
    EXPECT_EQ(0, CComputer::IsWindows95(nullptr));
    EXPECT_EQ(0ul, CComputer::GetNTVersion(nullptr));
    EXPECT_EQ(0, CComputer::IsNT4xOrLater(nullptr));
}

// ---- Network management ----

TEST_F(CComputerInterceptedNet, ControllerRolesComeFromTheServerTypeBits)
{
    ASSERT_TRUE(m_server.installed() && m_free.installed());
    struct Case {
        DWORD type;
        int primary;
        int backup;
    };
    for (const Case& c : {Case{SV_TYPE_DOMAIN_CTRL, 1, 0}, Case{SV_TYPE_DOMAIN_BAKCTRL, 0, 1},
                          Case{SV_TYPE_DOMAIN_CTRL | SV_TYPE_DOMAIN_BAKCTRL, 1, 1}, Case{0xFFFFFFE7, 0, 0}}) {
        SCOPED_TRACE(c.type);
        g_server.sv101_type = c.type;
        EXPECT_EQ(c.primary, CComputer::IsPrimaryDomainController(nullptr));
        EXPECT_EQ(c.backup, CComputer::IsBackupDomainController(nullptr));
    }
    ASSERT_EQ(8u, g_netCalls.size());
    for (const NetCall& call : g_netCalls) {
        EXPECT_EQ(101u, call.level);
        EXPECT_EQ(L"(null)", call.server);
    }
    EXPECT_EQ(std::vector<void*>(8, &g_server), g_freed);  // every answer freed once

    g_netStatus = ERROR_ACCESS_DENIED;
    g_server.sv101_type = SV_TYPE_DOMAIN_CTRL;
    EXPECT_EQ(0, CComputer::IsPrimaryDomainController(nullptr));
    EXPECT_EQ(8u, g_freed.size());  // nothing to free after a failure
}

TEST_F(CComputerInterceptedNet, MachineNameIsPassedInUtf16CutTo32Characters)
{
    ASSERT_TRUE(m_server.installed() && m_wksta.installed());
    const std::string longName = std::string(32, 'M') + "OVERFLOW";
    char buffer[256];
    unsigned long length = sizeof(buffer);
    CComputer::IsPrimaryDomainController("");
    CComputer::IsBackupDomainController("BACKUP01");
    CComputer::IsPrimaryDomainController(longName.c_str());
    CComputer::GetDomain(buffer, &length, longName.c_str());
    length = sizeof(buffer);
    CComputer::GetDomain(buffer, &length, "");

    ASSERT_EQ(5u, g_netCalls.size());
    EXPECT_EQ(L"(null)", g_netCalls[0].server);
    EXPECT_EQ(L"BACKUP01", g_netCalls[1].server);
    EXPECT_EQ(std::wstring(32, L'M'), g_netCalls[2].server);
    EXPECT_EQ(std::wstring(32, L'M'), g_netCalls[3].server);
    EXPECT_EQ(100u, g_netCalls[3].level);
    EXPECT_EQ(L"(null)", g_netCalls[4].server);
}

TEST_F(CComputerInterceptedNet, DomainIsCutAt256BytesAndTheAnswerFreed)
{
    ASSERT_TRUE(m_wksta.installed() && m_free.installed());
    g_langroup = std::wstring(300, L'W');
    char buffer[300];
    memset(buffer, '#', sizeof(buffer));
    unsigned long length = sizeof(buffer);  // more than 256 offered: 256 are used
    EXPECT_EQ(1, CComputer::GetDomain(buffer, &length, nullptr));
    EXPECT_EQ(std::string(255, 'W'), buffer);
    EXPECT_EQ(255u, length);
    EXPECT_EQ('#', buffer[256]);
    EXPECT_EQ(std::vector<void*>{&g_wksta}, g_freed);

    g_netStatus = NERR_WkstaNotStarted;
    length = sizeof(buffer);
    EXPECT_EQ(0, CComputer::GetDomain(buffer, &length, nullptr));
    EXPECT_STREQ("", buffer);
    EXPECT_EQ(1u, g_freed.size());
}

TEST_F(CComputerInterceptedNet, ObjectTakesTheRolesOfTheMachine)
{
    ASSERT_TRUE(m_server.installed() && m_wksta.installed());
    g_langroup = L"DROSVANE-LAB";
    g_server.sv101_type = SV_TYPE_DOMAIN_BAKCTRL | SV_TYPE_SERVER_NT;
    CComputer backup(nullptr);
    EXPECT_STREQ("DROSVANE-LAB", backup.Domain());
    EXPECT_EQ(0, backup.PrimaryDomainController());
    EXPECT_EQ(1, backup.BackupDomainController());
    EXPECT_EQ(1, backup.DomainController());

    g_server.sv101_type = SV_TYPE_DOMAIN_CTRL;
    CComputer primary(nullptr);
    EXPECT_EQ(1, primary.PrimaryDomainController());
    EXPECT_EQ(0, primary.BackupDomainController());
    EXPECT_EQ(1, primary.DomainController());

    // The local object asks about the machine by the name Windows gives it.
    char name[MAX_COMPUTERNAME_LENGTH + 1] = {};
    DWORD size = sizeof(name);
    ASSERT_TRUE(GetComputerNameA(name, &size));
    ASSERT_FALSE(g_netCalls.empty());
    std::wstring wide(name, name + size);
    EXPECT_EQ(wide, g_netCalls.back().server);
}

// ---- Folders ----

TEST(CComputerIntercepted, CreateDirectoryCreatesMissingLevelsInOrder)
{
    TempDir dir;
    ASSERT_TRUE(CreateDirectoryA((dir / "a").c_str(), nullptr));
    SETUPCLS_HOOK_IMPORT(hook, "KERNEL32.dll", CreateDirectoryA, RecordCreateDirectoryA);
    ASSERT_TRUE(hook.installed());

    g_created.clear();
    EXPECT_EQ(1, CComputer::CreateDirectoryA((dir / "a\\b\\c").c_str(), 0));
    EXPECT_EQ((std::vector<std::string>{dir / "a\\b", dir / "a\\b\\c"}), g_created);

    // A drive's "X:" is never a level of its own.
    g_created.clear();
    EXPECT_EQ(0, CComputer::CreateDirectoryA("Q:\\x\\y", 0));
    EXPECT_EQ(std::vector<std::string>{"Q:\\x"}, g_created);
}

TEST(CComputerIntercepted, DeleteTreeRemovesALinkedFolderWithoutEnteringIt)
{
    TempDir dir;
    const std::string tree = dir / "tree";
    ASSERT_TRUE(CreateDirectoryA(tree.c_str(), nullptr));
    ASSERT_TRUE(CreateDirectoryA((tree + "\\link").c_str(), nullptr));
    ASSERT_TRUE(testsupport::WriteFileBytes(tree + "\\link\\elsewhere.txt", "keep"));
    ASSERT_TRUE(testsupport::WriteFileBytes(tree + "\\own.txt", "go"));
    {
        SETUPCLS_HOOK_IMPORT(first, "KERNEL32.dll", FindFirstFileA, LinkFindFirstFileA);
        SETUPCLS_HOOK_IMPORT(next, "KERNEL32.dll", FindNextFileA, LinkFindNextFileA);
        ASSERT_TRUE(first.installed() && next.installed());
        EXPECT_EQ(1, CComputer::DeleteTree(tree.c_str()));
    }
    // What the link points to is kept (here the "link" is a real folder, so it stays too).
    EXPECT_EQ("keep", testsupport::ReadFileBytes(tree + "\\link\\elsewhere.txt"));
    EXPECT_EQ(INVALID_FILE_ATTRIBUTES, GetFileAttributesA((tree + "\\own.txt").c_str()));
}
