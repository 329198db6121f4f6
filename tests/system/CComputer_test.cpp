// CComputer against Wine itself: the prefix's computer name, workgroup, registry, version and
// drives, and real folders under the temporary folder.
#include "CComputer.h"

#include "ScopedLibraryPath.h"
#include "TestSupport.h"

#include <gtest/gtest.h>
#include <lm.h>

#include <string>
#include <vector>

using testsupport::ScopedCurrentDir;
using testsupport::ScopedEnv;
using testsupport::ScopedLibraryPath;
using testsupport::TempDir;
using testsupport::WriteFileBytes;

namespace {

std::string ComputerName()
{
    char name[MAX_COMPUTERNAME_LENGTH + 1] = {};
    DWORD size = sizeof(name);
    EXPECT_TRUE(GetComputerNameA(name, &size));
    return name;
}

// The workgroup as Wine's network management tells the test itself.
std::string LocalWorkgroup()
{
    LPBYTE info = nullptr;
    if (NetWkstaGetInfo(nullptr, 100, &info) != NERR_Success)
        return "<query failed>";
    char text[256] = {};
    WideCharToMultiByte(CP_ACP, 0, reinterpret_cast<WKSTA_INFO_100*>(info)->wki100_langroup, -1, text,
                        sizeof(text) - 1, nullptr, nullptr);
    NetApiBufferFree(info);
    return text;
}

std::string Lower(std::string text)
{
    for (char& ch : text)
        ch = static_cast<char>(tolower(static_cast<unsigned char>(ch)));
    return text;
}

bool IsDirectory(const std::string& path)
{
    DWORD attributes = GetFileAttributesA(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

bool Exists(const std::string& path)
{
    return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

bool IsReadOnly(const std::string& path)
{
    DWORD attributes = GetFileAttributesA(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY);
}

void MakeFile(const std::string& path, const std::string& text = "data", DWORD attributes = FILE_ATTRIBUTE_NORMAL)
{
    ASSERT_TRUE(WriteFileBytes(path, text)) << path;
    ASSERT_TRUE(SetFileAttributesA(path.c_str(), attributes)) << path;
}

void MakeFolder(const std::string& path)
{
    ASSERT_TRUE(CreateDirectoryA(path.c_str(), nullptr)) << path;
}

// Names of the files of a folder in the order the system lists them.
std::vector<std::string> ListedFiles(const std::string& folder)
{
    std::vector<std::string> names;
    WIN32_FIND_DATAA entry;
    HANDLE find = FindFirstFileA((folder + "\\*").c_str(), &entry);
    if (find == INVALID_HANDLE_VALUE)
        return names;
    do {
        if (!(entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY))
            names.push_back(entry.cFileName);
    } while (FindNextFileA(find, &entry));
    FindClose(find);
    return names;
}

const char kProductOptions[] = "SYSTEM\\CurrentControlSet\\Control\\ProductOptions";

// Sets the machine's "ProductType" for one scope (removes it for null, or stores raw bytes)
// and puts the machine's own value back at exit.
class ScopedProductType {
public:
    explicit ScopedProductType(const char* value) : ScopedProductType(value, value ? strlen(value) + 1 : 0) {}
    ScopedProductType(const char* bytes, size_t count)
    {
        if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, kProductOptions, 0, KEY_QUERY_VALUE | KEY_SET_VALUE, &m_key) !=
            ERROR_SUCCESS) {
            m_key = nullptr;
            return;
        }
        DWORD size = 0;
        m_hadOld = RegQueryValueExA(m_key, "ProductType", nullptr, &m_oldType, nullptr, &size) == ERROR_SUCCESS;
        if (m_hadOld) {
            m_old.resize(size);
            m_hadOld = RegQueryValueExA(m_key, "ProductType", nullptr, &m_oldType, m_old.data(), &size) ==
                       ERROR_SUCCESS;
        }
        LONG status = bytes ? RegSetValueExA(m_key, "ProductType", 0, REG_SZ, reinterpret_cast<const BYTE*>(bytes),
                                             static_cast<DWORD>(count))
                            : RegDeleteValueA(m_key, "ProductType");
        m_ok = m_hadOld && status == ERROR_SUCCESS;
    }
    ~ScopedProductType()
    {
        if (!m_key)
            return;
        if (m_hadOld) {
            EXPECT_EQ(ERROR_SUCCESS, RegSetValueExA(m_key, "ProductType", 0, m_oldType, m_old.data(),
                                                    static_cast<DWORD>(m_old.size())));
        }
        RegCloseKey(m_key);
    }
    ScopedProductType(const ScopedProductType&) = delete;
    ScopedProductType& operator=(const ScopedProductType&) = delete;

    bool ok() const { return m_ok; }

private:
    HKEY m_key = nullptr;
    bool m_hadOld = false;
    bool m_ok = false;
    DWORD m_oldType = REG_NONE;
    std::vector<BYTE> m_old;
};

}  // namespace

// ---- Machine facts ----

TEST(CComputer, LocalMachineIsNullOrTheComputerNameInAnyCase)
{
    const std::string name = ComputerName();
    ASSERT_FALSE(name.empty());
    EXPECT_EQ(1, CComputer::IsLocalMachine(nullptr));
    EXPECT_EQ(1, CComputer::IsLocalMachine(name.c_str()));
    EXPECT_EQ(1, CComputer::IsLocalMachine(Lower(name).c_str()));
    EXPECT_EQ(0, CComputer::IsLocalMachine(""));  // empty differs from the name: not local
    EXPECT_EQ(0, CComputer::IsLocalMachine((name + "X").c_str()));
    EXPECT_EQ(0, CComputer::IsLocalMachine(std::string(300, 'A').c_str()));
}

TEST(CComputer, GetComputerNameForwardsAndRefusesMissingPointers)
{
    char buffer[16] = {};
    unsigned long size = sizeof(buffer);
    EXPECT_EQ(1, CComputer::GetComputerNameA(buffer, &size));
    EXPECT_EQ(ComputerName(), buffer);
    EXPECT_EQ(strlen(buffer), size);

    char small[2] = {'x', 'x'};
    size = sizeof(small);
    EXPECT_EQ(0, CComputer::GetComputerNameA(small, &size));  // Windows reports the overflow
    EXPECT_EQ(0, CComputer::GetComputerNameA(buffer, nullptr));
    size = sizeof(buffer);
    EXPECT_EQ(0, CComputer::GetComputerNameA(nullptr, &size));
}

TEST(CComputer, DomainIsTheWorkgroupOfTheLocalMachine)
{
    const std::string workgroup = LocalWorkgroup();
    const std::string name = ComputerName();
    for (const char* machine : {static_cast<const char*>(nullptr), "", name.c_str()}) {
        SCOPED_TRACE(machine ? machine : "(null)");
        char buffer[256];
        memset(buffer, 'x', sizeof(buffer));
        unsigned long length = sizeof(buffer);
        EXPECT_EQ(1, CComputer::GetDomain(buffer, &length, machine));
        EXPECT_EQ(workgroup, buffer);
        EXPECT_EQ(workgroup.size(), length);
    }
}

TEST(CComputer, DomainQueryFailsOnBadInputAndUnknownMachines)
{
    char buffer[256] = "stale";
    unsigned long length = sizeof(buffer);
    // Wine's network management knows only the local machine.
    EXPECT_EQ(0, CComputer::GetDomain(buffer, &length, "NOSUCHMACHINE"));
    EXPECT_STREQ("", buffer);
    EXPECT_EQ(0u, length);

    length = sizeof(buffer);
    EXPECT_EQ(0, CComputer::GetDomain(nullptr, &length, nullptr));
    EXPECT_EQ(0, CComputer::GetDomain(buffer, nullptr, nullptr));
    length = 0;
    EXPECT_EQ(0, CComputer::GetDomain(buffer, &length, nullptr));

    // A buffer smaller than the name gets the name cut, and nothing past it is written.
    const std::string workgroup = LocalWorkgroup();
    ASSERT_GE(workgroup.size(), 2u);
    char small[8];
    memset(small, '#', sizeof(small));
    length = 2;
    EXPECT_EQ(1, CComputer::GetDomain(small, &length, nullptr));
    EXPECT_EQ(workgroup.substr(0, 1), small);
    EXPECT_EQ(1u, length);
    EXPECT_EQ('#', small[2]);
}

TEST(CComputer, WineMachineIsNoDomainController)
{
    // Wine answers the local server query as a plain NT workstation (type 0x1000).
    EXPECT_EQ(0, CComputer::IsPrimaryDomainController(nullptr));
    EXPECT_EQ(0, CComputer::IsBackupDomainController(nullptr));
    EXPECT_EQ(0, CComputer::IsPrimaryDomainController("NOSUCHMACHINE"));
    EXPECT_EQ(0, CComputer::IsBackupDomainController(std::string(100, 'M').c_str()));
}

TEST(CComputer, ServerIsReadFromTheProductType)
{
    // The prefix as Wine made it says "WinNT".
    EXPECT_EQ(0, CComputer::IsServer(nullptr));

    struct Case {
        const char* value;
        int server;
    };
    const Case cases[] = {{"LanmanNT", 1}, {"SERVERNT", 1}, {"serverNt", 1}, {"WinNT", 0}, {"", 0}, {"Server", 0}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.value);
        ScopedProductType type(c.value);
        ASSERT_TRUE(type.ok());
        EXPECT_EQ(c.server, CComputer::IsServer(nullptr));
        EXPECT_EQ(c.server, CComputer::IsServer(""));
    }
    {
        ScopedProductType noNul("ServerNT", 8);  // stored without its terminating NUL
        ASSERT_TRUE(noNul.ok());
        EXPECT_EQ(1, CComputer::IsServer(nullptr));
    }
    {
        std::string tooLong = "ServerNT" + std::string(300, ' ');  // more than the 256 bytes read
        ScopedProductType type(tooLong.c_str());
        ASSERT_TRUE(type.ok());
        EXPECT_EQ(0, CComputer::IsServer(nullptr));
    }
    {
        ScopedProductType missing(nullptr);
        ASSERT_TRUE(missing.ok());
        EXPECT_EQ(0, CComputer::IsServer(nullptr));
    }
}

TEST(CComputer, ServerOfAnotherMachineFallsBackToTheLocalRegistry)
{
    ScopedProductType type("LanmanNT");
    ASSERT_TRUE(type.ok());
    // Wine connects the local name's registry and refuses any other name (53).
    EXPECT_EQ(1, CComputer::IsServer(ComputerName().c_str()));
    EXPECT_EQ(1, CComputer::IsServer("NOSUCHMACHINE"));
}

TEST(CComputer, VersionIsTheRunningWindows)
{
    OSVERSIONINFOA info = {};
    info.dwOSVersionInfoSize = sizeof(info);
    ASSERT_TRUE(GetVersionExA(&info));
    ASSERT_EQ(static_cast<DWORD>(VER_PLATFORM_WIN32_NT), info.dwPlatformId);
    EXPECT_EQ(info.dwMajorVersion, CComputer::GetNTVersion(nullptr));
    EXPECT_EQ(info.dwMajorVersion, CComputer::GetNTVersion("NOSUCHMACHINE"));  // argument not used
    EXPECT_EQ(1, CComputer::IsNT4xOrLater(nullptr));
    EXPECT_EQ(0, CComputer::IsWindows95(nullptr));
}

// ---- Drives ----

TEST(CComputer, DrivesOfThePrefix)
{
    // The prefix has the fixed disks C: and Z: and nothing on A: or B:.
    ASSERT_EQ(static_cast<UINT>(DRIVE_FIXED), GetDriveTypeA("C:\\"));
    ASSERT_EQ(static_cast<UINT>(DRIVE_NO_ROOT_DIR), GetDriveTypeA("A:\\"));
    EXPECT_EQ('C', CComputer::FindFirstHardDrive());

    EXPECT_EQ(static_cast<unsigned int>(DRIVE_FIXED), CComputer::GetDriveTypeA("C:\\windows\\system32"));
    EXPECT_EQ(static_cast<unsigned int>(DRIVE_FIXED), CComputer::GetDriveTypeA("c:"));
    EXPECT_EQ(static_cast<unsigned int>(DRIVE_NO_ROOT_DIR), CComputer::GetDriveTypeA("Q:\\nothing\\here"));
    EXPECT_EQ(static_cast<unsigned int>(DRIVE_NO_ROOT_DIR), CComputer::GetDriveTypeA(nullptr));

    EXPECT_EQ(0u, CComputer::DriveFreeSpaceBytes("Q:\\nothing"));
    EXPECT_EQ(0u, CComputer::DriveFreeSpaceBytes(nullptr));
}

// ---- Folders ----

TEST(CComputer, CreateDirectoryMakesEveryMissingLevel)
{
    TempDir dir;
    const std::string deep = dir / "a\\b\\c";
    EXPECT_EQ(1, CComputer::CreateDirectoryA(deep.c_str(), 0));
    EXPECT_TRUE(IsDirectory(dir / "a"));
    EXPECT_TRUE(IsDirectory(dir / "a\\b"));
    EXPECT_TRUE(IsDirectory(deep));

    // Existing levels are kept with their content; trailing back-slashes are allowed.
    MakeFile(dir / "a\\b\\keep.txt");
    EXPECT_EQ(1, CComputer::CreateDirectoryA((dir / "a\\b\\d\\e\\\\").c_str(), 0));
    EXPECT_TRUE(IsDirectory(dir / "a\\b\\d\\e"));
    EXPECT_TRUE(Exists(dir / "a\\b\\keep.txt"));

    EXPECT_EQ(1, CComputer::CreateDirectoryA(deep.c_str(), 0));  // all there already
    EXPECT_EQ(1, CComputer::CreateDirectoryA("C:\\", 0));
}

TEST(CComputer, CreateDirectoryFailsWhenALevelCannotBeMade)
{
    TempDir dir;
    MakeFile(dir / "file");
    EXPECT_EQ(0, CComputer::CreateDirectoryA((dir / "file\\sub").c_str(), 0));
    EXPECT_FALSE(Exists(dir / "file\\sub"));

    // Past MAX_PATH the ANSI call refuses the level; the levels before it exist.
    const std::string level(120, 'x');
    const std::string longPath = dir / (level + "\\" + level + "\\" + level);
    EXPECT_EQ(0, CComputer::CreateDirectoryA(longPath.c_str(), 0));
    EXPECT_TRUE(IsDirectory(dir / level));

    EXPECT_EQ(0, CComputer::CreateDirectoryA(nullptr, 0));
    EXPECT_EQ(0, CComputer::CreateDirectoryA("", 0));
    EXPECT_EQ(0, CComputer::CreateDirectoryA("\\\\", 0));
}

TEST(CComputer, DirectoryExistsListsTheFolder)
{
    TempDir dir;
    MakeFile(dir / "file.txt");
    EXPECT_EQ(1, CComputer::DirectoryExists(dir.path().c_str()));
    EXPECT_EQ(1, CComputer::DirectoryExists((dir.path() + "\\").c_str()));  // "\\*.*" still lists it
    EXPECT_EQ(0, CComputer::DirectoryExists((dir / "file.txt").c_str()));
    EXPECT_EQ(0, CComputer::DirectoryExists((dir / "missing").c_str()));
    EXPECT_EQ(0, CComputer::DirectoryExists(nullptr));
    EXPECT_EQ(0, CComputer::DirectoryExists(""));
}

TEST(CComputer, DeleteTreeRemovesReadOnlyFilesAndSubFolders)
{
    TempDir dir;
    const std::string tree = dir / "tree";
    MakeFolder(tree);
    MakeFile(tree + "\\locked.txt", "x", FILE_ATTRIBUTE_READONLY);
    MakeFolder(tree + "\\sub");
    MakeFile(tree + "\\sub\\deep.dat", "y", FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);
    MakeFolder(tree + "\\sub\\empty");
    MakeFolder(tree + "\\ro");
    ASSERT_TRUE(SetFileAttributesA((tree + "\\ro").c_str(), FILE_ATTRIBUTE_READONLY));
    MakeFile(dir / "sibling.txt");

    EXPECT_EQ(1, CComputer::DeleteTree(tree.c_str()));
    EXPECT_FALSE(Exists(tree));
    EXPECT_TRUE(Exists(dir / "sibling.txt"));

    EXPECT_EQ(1, CComputer::DeleteTree((dir / "missing").c_str()));
    EXPECT_EQ(0, CComputer::DeleteTree(nullptr));
}

TEST(CComputer, DeleteTreeAnswersOneWhenAFileStays)
{
    // A file that cannot go keeps its folders, yet the answer stays 1: only a failed sub tree
    // would change it.
    TempDir dir;
    const std::string tree = dir / "tree";
    MakeFolder(tree);
    MakeFolder(tree + "\\sub");
    MakeFile(tree + "\\sub\\open.txt");
    MakeFile(tree + "\\other.txt");
    HANDLE open = CreateFileA((tree + "\\sub\\open.txt").c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                              OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(INVALID_HANDLE_VALUE, open);
    EXPECT_EQ(1, CComputer::DeleteTree((tree + "\\").c_str()));
    CloseHandle(open);
    EXPECT_TRUE(Exists(tree + "\\sub\\open.txt"));
    EXPECT_FALSE(Exists(tree + "\\other.txt"));
}

TEST(CComputer, DeleteFilesLeavesFoldersAndOtherPatterns)
{
    TempDir dir;
    MakeFile(dir / "a.txt", "a", FILE_ATTRIBUTE_READONLY);
    MakeFile(dir / "b.txt");
    MakeFile(dir / "c.log");
    MakeFolder(dir / "d.txt");
    MakeFile(dir / "d.txt\\inner.txt");

    EXPECT_EQ(1, CComputer::DeleteFiles((dir.path() + "\\").c_str(), "*.txt"));
    EXPECT_FALSE(Exists(dir / "a.txt"));
    EXPECT_FALSE(Exists(dir / "b.txt"));
    EXPECT_TRUE(Exists(dir / "c.log"));
    EXPECT_TRUE(Exists(dir / "d.txt\\inner.txt"));

    EXPECT_EQ(1, CComputer::DeleteFiles(dir.path().c_str(), nullptr));  // every file
    EXPECT_FALSE(Exists(dir / "c.log"));
    EXPECT_TRUE(IsDirectory(dir / "d.txt"));

    EXPECT_EQ(1, CComputer::DeleteFiles((dir / "missing").c_str(), "*.*"));
    EXPECT_EQ(0, CComputer::DeleteFiles(nullptr, "*.*"));
    EXPECT_EQ(0, CComputer::DeleteFiles("", "*.*"));
}

TEST(CComputer, PathEmptySeesFilesAndSubFoldersButNotDots)
{
    TempDir dir;
    const std::string folder = dir / "folder";
    MakeFolder(folder);
    EXPECT_EQ(1, CComputer::PathEmpty(folder.c_str(), nullptr));
    EXPECT_EQ(1, CComputer::PathEmpty((folder + "\\").c_str(), "*.*"));

    MakeFolder(folder + "\\empty");
    EXPECT_EQ(0, CComputer::PathEmpty(folder.c_str(), nullptr));  // an empty sub folder counts
    EXPECT_EQ(1, CComputer::PathEmpty(folder.c_str(), "*.txt"));

    MakeFile(folder + "\\empty\\x.txt");
    EXPECT_EQ(1, CComputer::PathEmpty(folder.c_str(), "*.txt"));  // not searched below
    MakeFile(folder + "\\y.txt");
    EXPECT_EQ(0, CComputer::PathEmpty(folder.c_str(), "*.txt"));

    EXPECT_EQ(1, CComputer::PathEmpty((dir / "missing").c_str(), nullptr));
    EXPECT_EQ(1, CComputer::PathEmpty(nullptr, nullptr));
    EXPECT_EQ(1, CComputer::PathEmpty("", nullptr));
}

TEST(CComputer, ChangeFilesAttributeRecursesIntoMatchingFolders)
{
    TempDir dir;
    MakeFile(dir / "top.dat");
    MakeFile(dir / "top.txt");
    MakeFolder(dir / "sub.dat");
    MakeFile(dir / "sub.dat\\inner.dat");
    MakeFile(dir / "sub.dat\\inner.txt");
    MakeFolder(dir / "plain");
    MakeFile(dir / "plain\\hidden.dat");

    EXPECT_EQ(1, CComputer::ChangeFilesAttribute(dir.path().c_str(), "*.dat", FILE_ATTRIBUTE_READONLY));
    EXPECT_TRUE(IsReadOnly(dir / "top.dat"));
    EXPECT_FALSE(IsReadOnly(dir / "top.txt"));
    EXPECT_TRUE(IsReadOnly(dir / "sub.dat\\inner.dat"));
    EXPECT_FALSE(IsReadOnly(dir / "sub.dat\\inner.txt"));
    EXPECT_FALSE(IsReadOnly(dir / "plain\\hidden.dat"));  // "plain" does not match the pattern
    EXPECT_FALSE(IsReadOnly(dir / "sub.dat"));            // folders keep their attributes

    EXPECT_EQ(1, CComputer::ChangeFilesAttribute((dir.path() + "\\").c_str(), nullptr, FILE_ATTRIBUTE_NORMAL));
    EXPECT_FALSE(IsReadOnly(dir / "top.dat"));
    EXPECT_FALSE(IsReadOnly(dir / "sub.dat\\inner.dat"));

    EXPECT_EQ(0, CComputer::ChangeFilesAttribute(nullptr, "*.*", FILE_ATTRIBUTE_READONLY));
    EXPECT_EQ(0, CComputer::ChangeFilesAttribute("", "*.*", FILE_ATTRIBUTE_READONLY));
}

TEST(CComputer, CopyFileRecursivelyCopiesTheTreeIntoANewTarget)
{
    TempDir dir;
    const std::string source = dir / "source";
    MakeFolder(source);
    MakeFile(source + "\\top.txt", "top");
    MakeFolder(source + "\\sub");
    MakeFile(source + "\\sub\\inner.txt", "inner");
    MakeFolder(source + "\\sub\\deeper");
    MakeFile(source + "\\sub\\deeper\\leaf.bin", std::string("\0\1\2", 3));
    MakeFolder(source + "\\emptysub");

    const std::string target = dir / "new\\target";
    EXPECT_EQ(1, CComputer::CopyFileRecursively(source.c_str(), target.c_str(), FALSE));
    EXPECT_EQ("top", testsupport::ReadFileBytes(target + "\\top.txt"));
    EXPECT_EQ("inner", testsupport::ReadFileBytes(target + "\\sub\\inner.txt"));
    EXPECT_EQ(std::string("\0\1\2", 3), testsupport::ReadFileBytes(target + "\\sub\\deeper\\leaf.bin"));
    EXPECT_TRUE(IsDirectory(target + "\\emptysub"));
}

TEST(CComputer, CopyFileRecursivelyAnswersForTheLastTopLevelFile)
{
    TempDir dir;
    const std::string source = dir / "source";
    const std::string target = dir / "target";
    MakeFolder(source);
    MakeFolder(target);
    for (const char* name : {"one.txt", "two.txt", "three.txt"})
        MakeFile(source + "\\" + name, std::string("new ") + name);
    const std::vector<std::string> order = ListedFiles(source);
    ASSERT_EQ(3u, order.size());
    const std::string last = order.back();
    const std::string first = order.front();

    // The last file listed cannot be copied over (failIfExists): 0, though the others went.
    MakeFile(target + "\\" + last, "old");
    EXPECT_EQ(0, CComputer::CopyFileRecursively(source.c_str(), target.c_str(), TRUE));
    EXPECT_EQ("old", testsupport::ReadFileBytes(target + "\\" + last));
    EXPECT_EQ("new " + first, testsupport::ReadFileBytes(target + "\\" + first));

    // Only the first one fails now: the last copy decides, 1.
    ASSERT_TRUE(DeleteFileA((target + "\\" + last).c_str()));
    MakeFile(target + "\\" + first, "old");
    EXPECT_EQ(1, CComputer::CopyFileRecursively(source.c_str(), target.c_str(), TRUE));
    EXPECT_EQ("old", testsupport::ReadFileBytes(target + "\\" + first));

    // Overwriting is allowed without failIfExists.
    EXPECT_EQ(1, CComputer::CopyFileRecursively(source.c_str(), target.c_str(), FALSE));
    EXPECT_EQ("new " + first, testsupport::ReadFileBytes(target + "\\" + first));
}

TEST(CComputer, CopyFileRecursivelyAnswersZeroWithoutTopLevelFiles)
{
    TempDir dir;
    const std::string source = dir / "source";
    MakeFolder(source);
    MakeFolder(source + "\\sub");
    MakeFile(source + "\\sub\\inner.txt", "inner");
    EXPECT_EQ(0, CComputer::CopyFileRecursively(source.c_str(), (dir / "target").c_str(), FALSE));
    EXPECT_EQ("inner", testsupport::ReadFileBytes(dir / "target\\sub\\inner.txt"));  // copied all the same
}

TEST(CComputer, CopyFileRecursivelyRefusesMissingTexts)
{
    TempDir dir;
    MakeFolder(dir / "source");
    MakeFile(dir / "source\\a.txt");
    EXPECT_EQ(0, CComputer::CopyFileRecursively((dir / "missing").c_str(), (dir / "target").c_str(), FALSE));
    EXPECT_FALSE(Exists(dir / "target"));
    EXPECT_EQ(0, CComputer::CopyFileRecursively(nullptr, (dir / "target").c_str(), FALSE));
    EXPECT_EQ(0, CComputer::CopyFileRecursively((dir / "source").c_str(), nullptr, FALSE));
    EXPECT_EQ(0, CComputer::CopyFileRecursively((dir / "source").c_str(), "", FALSE));
    EXPECT_EQ(0, CComputer::CopyFileRecursively("", (dir / "target").c_str(), FALSE));
    EXPECT_FALSE(Exists(dir / "target"));
}

TEST(CComputer, RuntimeFolderCalls)
{
    TempDir dir;
    ScopedCurrentDir keep;
    MakeFile(dir / "file.txt");
    MakeFolder(dir / "empty");
    MakeFolder(dir / "full");
    MakeFile(dir / "full\\x.txt");

    EXPECT_EQ(1, CComputer::PathExists((dir / "file.txt").c_str()));
    EXPECT_EQ(1, CComputer::PathExists((dir / "empty").c_str()));
    EXPECT_EQ(0, CComputer::PathExists((dir / "missing").c_str()));
    EXPECT_EQ(0, CComputer::PathExists(nullptr));

    EXPECT_EQ(1, CComputer::ChangeDirectory((dir / "full").c_str()));
    char current[MAX_PATH] = {};
    GetCurrentDirectoryA(MAX_PATH, current);
    EXPECT_EQ(Lower(dir / "full"), Lower(current));
    EXPECT_EQ(0, CComputer::ChangeDirectory((dir / "missing").c_str()));
    EXPECT_EQ(0, CComputer::ChangeDirectory(nullptr));

    EXPECT_EQ(1, CComputer::RemoveDirectoryA((dir / "empty").c_str()));
    EXPECT_FALSE(Exists(dir / "empty"));
    EXPECT_EQ(0, CComputer::RemoveDirectoryA((dir / "full").c_str()));  // not empty
    EXPECT_TRUE(Exists(dir / "full\\x.txt"));
    EXPECT_EQ(0, CComputer::RemoveDirectoryA((dir / "missing").c_str()));
    EXPECT_EQ(0, CComputer::RemoveDirectoryA(nullptr));
}

// ---- The account tool library ----

TEST(CComputer, WindowsVersionCheckAsksQwtool)
{
    ScopedLibraryPath qwtool("QWTOOL.DLL", "QWTOOL.DLL");
    ASSERT_TRUE(qwtool.ok());
    {
        ScopedEnv answer("QWTOOL_WINVER_ANSWER", "1");
        ScopedEnv call("QWTOOL_WINVER_CALL", nullptr);
        EXPECT_EQ(1, CComputer::IsWindowsVersionOK(5, 1, 4294967295u));
        char text[64] = {};
        GetEnvironmentVariableA("QWTOOL_WINVER_CALL", text, sizeof(text));
        EXPECT_STREQ("5 1 4294967295", text);
    }
    {
        ScopedEnv answer("QWTOOL_WINVER_ANSWER", "0");
        EXPECT_EQ(0, CComputer::IsWindowsVersionOK(6, 0, 0));
    }
    {
        ScopedEnv answer("QWTOOL_WINVER_ANSWER", "7");  // any answer is passed on as it is
        EXPECT_EQ(7, CComputer::IsWindowsVersionOK(6, 0, 0));
    }
    EXPECT_EQ(nullptr, GetModuleHandleA("QWTOOL.DLL"));  // freed before returning
}

TEST(CComputer, WindowsVersionCheckIsZeroWithoutLibraryOrEntry)
{
    ScopedEnv answer("QWTOOL_WINVER_ANSWER", "1");
    EXPECT_EQ(0, CComputer::IsWindowsVersionOK(5, 1, 0));  // nowhere on the search path

    ScopedLibraryPath noEntry("noexports.dll", "QWTOOL.DLL");
    ASSERT_TRUE(noEntry.ok());
    EXPECT_EQ(0, CComputer::IsWindowsVersionOK(5, 1, 0));
    EXPECT_EQ(nullptr, GetModuleHandleA("QWTOOL.DLL"));
}

// ---- The object ----

TEST(CComputer, ObjectOfTheLocalMachine)
{
    const std::string name = ComputerName();
    for (const char* given : {static_cast<const char*>(nullptr), name.c_str()}) {
        SCOPED_TRACE(given ? given : "(null)");
        CComputer computer(given);
        EXPECT_EQ(1, computer.IsLocal());
        EXPECT_EQ(name, computer.Name());
        EXPECT_EQ(LocalWorkgroup(), computer.Domain());
        EXPECT_EQ(0, computer.PrimaryDomainController());
        EXPECT_EQ(0, computer.BackupDomainController());
        EXPECT_EQ(0, computer.DomainController());
        EXPECT_EQ(0, computer.Server());
        EXPECT_EQ(CComputer::GetNTVersion(nullptr), computer.NTVersion());
    }
    // The computer name in other letters is local too; the object keeps Windows' spelling.
    CComputer lower(Lower(name).c_str());
    EXPECT_EQ(1, lower.IsLocal());
    EXPECT_EQ(name, lower.Name());
}

TEST(CComputer, ObjectOfAnotherMachine)
{
    ScopedProductType type("ServerNT");
    ASSERT_TRUE(type.ok());
    CComputer other("NOSUCHMACHINE");
    EXPECT_EQ(0, other.IsLocal());
    EXPECT_STREQ("NOSUCHMACHINE", other.Name());
    EXPECT_STREQ("", other.Domain());  // Wine cannot ask another machine
    EXPECT_EQ(0, other.DomainController());
    EXPECT_EQ(1, other.Server());  // its registry is out of reach: the local one answers

    // An empty name is not local, but the queries take it for the local machine.
    CComputer empty("");
    EXPECT_EQ(0, empty.IsLocal());
    EXPECT_STREQ("", empty.Name());
    EXPECT_EQ(LocalWorkgroup(), empty.Domain());
}

TEST(CComputer, ObjectCopiesAndMovesAllFields)
{
    ScopedProductType type("LanmanNT");
    ASSERT_TRUE(type.ok());
    const CComputer local(nullptr);
    const CComputer other("NOSUCHMACHINE");
    auto same = [](const CComputer& a, const CComputer& b) {
        EXPECT_STREQ(a.Name(), b.Name());
        EXPECT_STREQ(a.Domain(), b.Domain());
        EXPECT_EQ(a.PrimaryDomainController(), b.PrimaryDomainController());
        EXPECT_EQ(a.BackupDomainController(), b.BackupDomainController());
        EXPECT_EQ(a.Server(), b.Server());
        EXPECT_EQ(a.IsLocal(), b.IsLocal());
        EXPECT_EQ(a.NTVersion(), b.NTVersion());
    };

    CComputer copy(local);
    same(local, copy);
    CComputer assigned("NOSUCHMACHINE");
    assigned = local;
    same(local, assigned);

    CComputer source(other);
    CComputer moved(std::move(source));
    same(other, moved);
    CComputer moveAssigned(nullptr);
    moveAssigned = std::move(moved);
    same(other, moveAssigned);
    EXPECT_EQ(0, moveAssigned.IsLocal());
}
