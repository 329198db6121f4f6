// CComputer against Wine itself: the prefix's computer name, workgroup, registry, version and
// drives, and real folders under the temporary folder.
#include "CComputer.h"

#include "ScopedLibraryPath.h"
#include "TestSupport.h"

#include <gtest/gtest.h>
#include <lm.h>

#include <string>
#include <vector>

using testsupport::ReadFileBytes;
using testsupport::ScopedEnv;
using testsupport::ScopedLibraryPath;
using testsupport::TempDir;

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

DWORD Attributes(const std::string& path)
{
    return GetFileAttributesA(path.c_str());
}

bool Exists(const std::string& path)
{
    return Attributes(path) != INVALID_FILE_ATTRIBUTES;
}

bool IsReadOnly(const std::string& path)
{
    return Exists(path) && (Attributes(path) & FILE_ATTRIBUTE_READONLY);
}

void MakeFile(const std::string& path, const std::string& text = "data", DWORD attributes = FILE_ATTRIBUTE_NORMAL)
{
    ASSERT_TRUE(testsupport::WriteFileBytes(path, text) && SetFileAttributesA(path.c_str(), attributes)) << path;
}

void MakeFolder(const std::string& path)
{
    ASSERT_TRUE(CreateDirectoryA(path.c_str(), nullptr)) << path;
}

// Sets the machine's "ProductType" (raw bytes, REG_SZ; null removes it) for one scope and puts
// the machine's own value back at exit.
class ScopedProductType {
public:
    ScopedProductType(const char* bytes, size_t count)
    {
        if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, "SYSTEM\\CurrentControlSet\\Control\\ProductOptions", 0,
                          KEY_QUERY_VALUE | KEY_SET_VALUE, &m_key) != ERROR_SUCCESS)
            return;
        DWORD size = sizeof(m_old);
        if (RegQueryValueExA(m_key, "ProductType", nullptr, &m_oldType, m_old, &size) != ERROR_SUCCESS)
            return;
        m_oldSize = size;
        m_ok = ERROR_SUCCESS == (bytes ? RegSetValueExA(m_key, "ProductType", 0, REG_SZ,
                                                        reinterpret_cast<const BYTE*>(bytes), static_cast<DWORD>(count))
                                        : RegDeleteValueA(m_key, "ProductType"));
    }
    explicit ScopedProductType(const char* text) : ScopedProductType(text, text ? strlen(text) + 1 : 0) {}
    ~ScopedProductType()
    {
        if (m_oldSize) {
            EXPECT_EQ(ERROR_SUCCESS, RegSetValueExA(m_key, "ProductType", 0, m_oldType, m_old, m_oldSize));
        }
        if (m_key)
            RegCloseKey(m_key);
    }
    bool ok() const { return m_ok; }

private:
    HKEY m_key = nullptr;
    BYTE m_old[512] = {};
    DWORD m_oldSize = 0;
    DWORD m_oldType = REG_NONE;
    bool m_ok = false;
};

}  // namespace

// ---- Machine facts ----

TEST(CComputer, LocalMachineIsNullOrTheComputerNameInAnyCase)
{
    const std::string name = ComputerName();
    EXPECT_EQ(1, CComputer::IsLocalMachine(nullptr));
    EXPECT_EQ(1, CComputer::IsLocalMachine(Lower(name).c_str()));
    EXPECT_EQ(0, CComputer::IsLocalMachine(""));
    EXPECT_EQ(0, CComputer::IsLocalMachine((name + "X").c_str()));
    EXPECT_EQ(0, CComputer::IsLocalMachine(std::string(300, 'A').c_str()));

    unsigned long size = 16;
    EXPECT_EQ(0, CComputer::GetComputerNameA(nullptr, &size));
    EXPECT_EQ(0, CComputer::GetComputerNameA(nullptr, nullptr));
}

TEST(CComputer, DomainIsTheLocalWorkgroupAndCutToTheBuffer)
{
    const std::string workgroup = LocalWorkgroup();
    const std::string name = ComputerName();
    ASSERT_GE(workgroup.size(), 2u);
    for (const char* machine : {static_cast<const char*>(nullptr), "", name.c_str()}) {
        char buffer[256];
        unsigned long length = sizeof(buffer);
        EXPECT_EQ(1, CComputer::GetDomain(buffer, &length, machine));
        EXPECT_EQ(workgroup, buffer);
        EXPECT_EQ(workgroup.size(), length);
    }
    char small[8] = "#######";
    unsigned long length = 2;
    EXPECT_EQ(1, CComputer::GetDomain(small, &length, nullptr));
    EXPECT_EQ(workgroup.substr(0, 1) + '\0' + "#####", std::string(small, 7));
    EXPECT_EQ(1u, length);

    // Wine's network management knows only the local machine.
    char buffer[256] = "stale";
    length = sizeof(buffer);
    EXPECT_EQ(0, CComputer::GetDomain(buffer, &length, std::string(40, 'M').c_str()));
    EXPECT_STREQ("", buffer);
    EXPECT_EQ(0, CComputer::GetDomain(nullptr, &length, nullptr));
    EXPECT_EQ(0, CComputer::GetDomain(buffer, nullptr, nullptr));
}

TEST(CComputer, ServerIsReadFromTheProductType)
{
    EXPECT_EQ(0, CComputer::IsServer(nullptr));  // the prefix says "WinNT"
    struct Case {
        const char* value;
        int server;
    };
    for (const Case& c : {Case{"LanmanNT", 1}, Case{"serverNt", 1}, Case{"WinNT", 0}, Case{"", 0}, Case{nullptr, 0}}) {
        SCOPED_TRACE(c.value ? c.value : "(removed)");
        ScopedProductType type(c.value);
        ASSERT_TRUE(type.ok());
        EXPECT_EQ(c.server, CComputer::IsServer(""));
    }
    ScopedProductType noNul("SERVERNT", 8);  // stored without its NUL
    ASSERT_TRUE(noNul.ok());
    EXPECT_EQ(1, CComputer::IsServer(nullptr));
    // Wine reaches the local name's registry and refuses others (53): the local one answers.
    EXPECT_EQ(1, CComputer::IsServer(ComputerName().c_str()));
    EXPECT_EQ(1, CComputer::IsServer("NOSUCHMACHINE"));

    const std::string tooLong = "ServerNT" + std::string(300, ' ');  // more than the 256 bytes read
    ScopedProductType longType(tooLong.c_str());
    ASSERT_TRUE(longType.ok());
    EXPECT_EQ(0, CComputer::IsServer(nullptr));
}

TEST(CComputer, VersionAndDrivesOfThePrefix)
{
    OSVERSIONINFOA info = {};
    info.dwOSVersionInfoSize = sizeof(info);
    ASSERT_TRUE(GetVersionExA(&info));
    EXPECT_EQ(info.dwMajorVersion, CComputer::GetNTVersion("ignored"));
    EXPECT_EQ(1, CComputer::IsNT4xOrLater());
    EXPECT_EQ(0, CComputer::IsWindows95());

    // The prefix has the fixed disks C: and Z: and nothing on A: or B:.
    EXPECT_EQ('C', CComputer::FindFirstHardDrive());
    EXPECT_EQ(static_cast<unsigned int>(DRIVE_FIXED), CComputer::GetDriveTypeA("c:\\windows\\system32"));
    EXPECT_EQ(static_cast<unsigned int>(DRIVE_NO_ROOT_DIR), CComputer::GetDriveTypeA("Q:\\nothing"));
    EXPECT_EQ(static_cast<unsigned int>(DRIVE_NO_ROOT_DIR), CComputer::GetDriveTypeA(nullptr));
    EXPECT_EQ(0u, CComputer::DriveFreeSpaceBytes("Q:\\nothing"));
    EXPECT_EQ(0u, CComputer::DriveFreeSpaceBytes(nullptr));
}

// ---- Folders ----

TEST(CComputer, CreateDirectoryMakesEveryMissingLevel)
{
    TempDir dir;
    MakeFolder(dir / "a");
    MakeFile(dir / "a\\keep.txt");
    EXPECT_EQ(1, CComputer::CreateDirectoryA((dir / "a\\b\\c\\\\").c_str(), 0));
    EXPECT_EQ(1, CComputer::DirectoryExists((dir / "a\\b\\c").c_str()));
    EXPECT_EQ(1, CComputer::DirectoryExists((dir / "a\\b\\").c_str()));  // "\\*.*" still lists it
    EXPECT_TRUE(Exists(dir / "a\\keep.txt"));
    EXPECT_EQ(1, CComputer::CreateDirectoryA("C:\\", 0));

    EXPECT_EQ(0, CComputer::DirectoryExists((dir / "a\\keep.txt").c_str()));
    EXPECT_EQ(0, CComputer::CreateDirectoryA((dir / "a\\keep.txt\\sub").c_str(), 0));
    // Past MAX_PATH the ANSI call refuses the level; the levels before it stay.
    const std::string level(120, 'x');
    EXPECT_EQ(0, CComputer::CreateDirectoryA((dir / (level + "\\" + level + "\\" + level)).c_str(), 0));
    EXPECT_EQ(1, CComputer::DirectoryExists((dir / level).c_str()));
    for (const char* bad : {static_cast<const char*>(nullptr), "", "\\\\"})
        EXPECT_EQ(0, CComputer::CreateDirectoryA(bad, 0));
}

TEST(CComputer, DeleteTreeAnswersOneEvenWhenAFileStays)
{
    TempDir dir;
    const std::string tree = dir / "tree";
    MakeFolder(tree);
    MakeFolder(tree + "\\ro");
    MakeFile(tree + "\\ro\\locked.txt", "x", FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);
    ASSERT_TRUE(SetFileAttributesA((tree + "\\ro").c_str(), FILE_ATTRIBUTE_READONLY));
    MakeFile(dir / "treesibling.txt");
    EXPECT_EQ(1, CComputer::DeleteTree(tree.c_str()));
    EXPECT_FALSE(Exists(tree));
    EXPECT_TRUE(Exists(dir / "treesibling.txt"));

    // An open file keeps its folders; only a failed sub tree would make the answer 0.
    MakeFolder(tree);
    MakeFolder(tree + "\\sub");
    MakeFile(tree + "\\sub\\open.txt");
    HANDLE open = CreateFileA((tree + "\\sub\\open.txt").c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                              OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(INVALID_HANDLE_VALUE, open);
    EXPECT_EQ(1, CComputer::DeleteTree((tree + "\\").c_str()));
    CloseHandle(open);
    EXPECT_TRUE(Exists(tree + "\\sub\\open.txt"));

    EXPECT_EQ(1, CComputer::DeleteTree((dir / "missing").c_str()));
    EXPECT_EQ(0, CComputer::DeleteTree(nullptr));
}

TEST(CComputer, DeleteFilesAndPathEmpty)
{
    TempDir dir;
    EXPECT_EQ(1, CComputer::PathEmpty(dir.path().c_str()));
    MakeFolder(dir / "d.txt");
    EXPECT_EQ(0, CComputer::PathEmpty(dir.path().c_str()));  // an empty sub folder counts
    EXPECT_EQ(1, CComputer::PathEmpty(dir.path().c_str(), "*.log"));
    MakeFile(dir / "a.txt", "a", FILE_ATTRIBUTE_READONLY);
    MakeFile(dir / "b.log");
    MakeFile(dir / "d.txt\\inner.log");

    EXPECT_EQ(1, CComputer::DeleteFiles((dir.path() + "\\").c_str(), "*.txt"));
    EXPECT_FALSE(Exists(dir / "a.txt"));
    EXPECT_TRUE(Exists(dir / "d.txt\\inner.log"));
    EXPECT_EQ(0, CComputer::PathEmpty(dir.path().c_str(), "*.log"));
    EXPECT_EQ(1, CComputer::DeleteFiles(dir.path().c_str(), nullptr));
    EXPECT_EQ(1, CComputer::PathEmpty(dir.path().c_str(), "*.log"));  // not searched below
    EXPECT_TRUE(Exists(dir / "d.txt\\inner.log"));

    EXPECT_EQ(1, CComputer::PathEmpty((dir / "missing").c_str()));
    EXPECT_EQ(1, CComputer::PathEmpty(""));
    EXPECT_EQ(0, CComputer::DeleteFiles("", "*.*"));
}

TEST(CComputer, ChangeFilesAttributeRecursesIntoMatchingFolders)
{
    TempDir dir;
    for (const char* folder : {"sub.dat", "plain"})
        MakeFolder(dir / folder);
    for (const char* file : {"top.dat", "top.txt", "sub.dat\\in.dat", "sub.dat\\in.txt", "plain\\in.dat"})
        MakeFile(dir / file);
    EXPECT_EQ(1, CComputer::ChangeFilesAttribute(dir.path().c_str(), "*.dat", FILE_ATTRIBUTE_READONLY));
    EXPECT_TRUE(IsReadOnly(dir / "top.dat"));
    EXPECT_TRUE(IsReadOnly(dir / "sub.dat\\in.dat"));
    EXPECT_FALSE(IsReadOnly(dir / "top.txt"));
    EXPECT_FALSE(IsReadOnly(dir / "sub.dat\\in.txt"));
    EXPECT_FALSE(IsReadOnly(dir / "plain\\in.dat"));  // "plain" does not match
    EXPECT_FALSE(IsReadOnly(dir / "sub.dat"));        // folders keep theirs
    EXPECT_EQ(0, CComputer::ChangeFilesAttribute(nullptr, "*.*", FILE_ATTRIBUTE_READONLY));
}

TEST(CComputer, CopyFileRecursivelyCopiesTheTree)
{
    TempDir dir;
    const std::string source = dir / "source";
    MakeFolder(source);
    MakeFolder(source + "\\sub");
    MakeFolder(source + "\\sub\\empty");
    MakeFile(source + "\\sub\\inner.bin", std::string("\0\1\2", 3));
    // No file at the top level: 0, although everything was copied.
    EXPECT_EQ(0, CComputer::CopyFileRecursively(source.c_str(), (dir / "new\\target").c_str(), FALSE));
    EXPECT_EQ(std::string("\0\1\2", 3), ReadFileBytes(dir / "new\\target\\sub\\inner.bin"));
    EXPECT_TRUE(Exists(dir / "new\\target\\sub\\empty"));

    EXPECT_EQ(0, CComputer::CopyFileRecursively((dir / "missing").c_str(), (dir / "t2").c_str(), FALSE));
    EXPECT_EQ(0, CComputer::CopyFileRecursively(source.c_str(), "", FALSE));
    EXPECT_EQ(0, CComputer::CopyFileRecursively(nullptr, (dir / "t2").c_str(), FALSE));
    EXPECT_FALSE(Exists(dir / "t2"));
}

TEST(CComputer, CopyFileRecursivelyAnswersForTheLastTopLevelFile)
{
    TempDir dir;
    const std::string source = dir / "source";
    const std::string target = dir / "target";
    MakeFolder(source);
    MakeFolder(target);
    std::vector<std::string> listed;  // in the order the system lists them
    for (const char* name : {"one.txt", "two.txt", "three.txt"})
        MakeFile(source + "\\" + name, name);
    WIN32_FIND_DATAA entry;
    HANDLE find = FindFirstFileA((source + "\\*.txt").c_str(), &entry);
    ASSERT_NE(INVALID_HANDLE_VALUE, find);
    do
        listed.push_back(entry.cFileName);
    while (FindNextFileA(find, &entry));
    FindClose(find);
    ASSERT_EQ(3u, listed.size());

    MakeFile(target + "\\" + listed.back(), "old");  // the last copy fails: 0
    EXPECT_EQ(0, CComputer::CopyFileRecursively(source.c_str(), target.c_str(), TRUE));
    EXPECT_EQ("old", ReadFileBytes(target + "\\" + listed.back()));
    EXPECT_EQ(listed.front(), ReadFileBytes(target + "\\" + listed.front()));

    ASSERT_TRUE(DeleteFileA((target + "\\" + listed.back()).c_str()));
    EXPECT_EQ(1, CComputer::CopyFileRecursively(source.c_str(), target.c_str(), TRUE));  // only earlier ones fail
    MakeFile(target + "\\" + listed.front(), "old");
    EXPECT_EQ(1, CComputer::CopyFileRecursively(source.c_str(), target.c_str(), FALSE));
    EXPECT_EQ(listed.front(), ReadFileBytes(target + "\\" + listed.front()));
}

TEST(CComputer, RuntimeFolderCalls)
{
    TempDir dir;
    testsupport::ScopedCurrentDir keep;
    MakeFolder(dir / "full");
    MakeFile(dir / "full\\x.txt");
    EXPECT_EQ(1, CComputer::PathExists((dir / "full\\x.txt").c_str()));
    EXPECT_EQ(0, CComputer::PathExists((dir / "missing").c_str()));
    EXPECT_EQ(1, CComputer::ChangeDirectory((dir / "full").c_str()));
    EXPECT_EQ(1, CComputer::PathExists("x.txt"));
    EXPECT_EQ(0, CComputer::RemoveDirectoryA((dir / "full").c_str()));  // not empty
    ASSERT_TRUE(DeleteFileA((dir / "full\\x.txt").c_str()));
    ASSERT_TRUE(SetCurrentDirectoryA(dir.path().c_str()));
    EXPECT_EQ(1, CComputer::RemoveDirectoryA((dir / "full").c_str()));
    EXPECT_FALSE(Exists(dir / "full"));
}

// ---- The account tool library ----

TEST(CComputer, WindowsVersionCheckAsksQwtool)
{
    ScopedEnv call("QWTOOL_WINVER_CALL", nullptr);
    ScopedEnv answer("QWTOOL_WINVER_ANSWER", "7");  // any answer is passed on as it is
    EXPECT_EQ(0, CComputer::IsWindowsVersionOK(5, 1, 0));  // not on the search path
    {
        ScopedLibraryPath noEntry("noexports.dll", "QWTOOL.DLL");
        ASSERT_TRUE(noEntry.ok());
        EXPECT_EQ(0, CComputer::IsWindowsVersionOK(5, 1, 0));
    }
    ScopedLibraryPath qwtool("QWTOOL.DLL", "QWTOOL.DLL");
    ASSERT_TRUE(qwtool.ok());
    EXPECT_EQ(7, CComputer::IsWindowsVersionOK(5, 1, 4294967295u));
    char text[64] = {};
    GetEnvironmentVariableA("QWTOOL_WINVER_CALL", text, sizeof(text));
    EXPECT_STREQ("5 1 4294967295", text);
    ScopedEnv no("QWTOOL_WINVER_ANSWER", "0");
    EXPECT_EQ(0, CComputer::IsWindowsVersionOK(6, 0, 0));
    EXPECT_EQ(nullptr, GetModuleHandleA("QWTOOL.DLL"));  // freed before returning
}

// ---- The object ----

TEST(CComputer, ObjectOfTheLocalAndOfAnotherMachine)
{
    const std::string name = ComputerName();
    ScopedProductType type("ServerNT");
    ASSERT_TRUE(type.ok());
    CComputer local(Lower(name).c_str());  // local; keeps the name as Windows spells it
    EXPECT_EQ(1, local.IsLocal());
    EXPECT_EQ(name, local.Name());
    EXPECT_EQ(LocalWorkgroup(), local.Domain());
    EXPECT_EQ(0, local.DomainController());  // Wine answers as a plain NT workstation
    EXPECT_EQ(1, local.Server());
    EXPECT_EQ(CComputer::GetNTVersion(), local.NTVersion());
    EXPECT_EQ(name, CComputer(nullptr).Name());

    CComputer other("NOSUCHMACHINE");
    EXPECT_EQ(0, other.IsLocal());
    EXPECT_STREQ("NOSUCHMACHINE", other.Name());
    EXPECT_STREQ("", other.Domain());  // Wine cannot ask another machine
    EXPECT_EQ(1, other.Server());      // its registry is out of reach: the local one answers

    CComputer empty("");  // not local, yet the queries take it for the local machine
    EXPECT_EQ(0, empty.IsLocal());
    EXPECT_EQ(LocalWorkgroup(), empty.Domain());

    CComputer copy(other);
    copy = local;
    CComputer moved(std::move(copy));
    EXPECT_STREQ(local.Name(), moved.Name());
    EXPECT_STREQ(local.Domain(), moved.Domain());
    EXPECT_EQ(local.IsLocal(), moved.IsLocal());
    EXPECT_EQ(local.Server(), moved.Server());
    EXPECT_EQ(local.NTVersion(), moved.NTVersion());
}
