// CComputer against Wine itself: the prefix's computer name, workgroup, registry, version and
// drives, and real folders under the temporary folder.
#include "CComputer.h"

#include "RegistrySupport.h"
#include "ScopedLibraryPath.h"
#include "TestSupport.h"

#include <gtest/gtest.h>
#include <lm.h>

#include <cstdio>
#include <string>
#include <vector>

using namespace testsupport;

namespace {

std::string ComputerName()
{
    char name[MAX_COMPUTERNAME_LENGTH + 1] = {};
    DWORD size = sizeof(name);
    EXPECT_TRUE(GetComputerNameA(name, &size));
    return name;
}

std::string Lower(std::string text) { return CharLowerA(&text[0]), text; }

// The workgroup as Wine's network management tells the test itself.
std::string LocalWorkgroup()
{
    LPBYTE info = nullptr;
    char text[256] = "<query failed>";
    if (NetWkstaGetInfo(nullptr, 100, &info) == NERR_Success) {
        WideCharToMultiByte(CP_ACP, 0, reinterpret_cast<WKSTA_INFO_100*>(info)->wki100_langroup, -1, text,
                            sizeof(text) - 1, nullptr, nullptr);
        NetApiBufferFree(info);
    }
    return text;
}

bool Exists(const std::string& path) { return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES; }
bool IsReadOnly(const std::string& path)
{
    return Exists(path) && (GetFileAttributesA(path.c_str()) & FILE_ATTRIBUTE_READONLY);
}

// A folder; a file with the text and attributes.
void MakeFolder(const std::string& path) { ASSERT_TRUE(CreateDirectoryA(path.c_str(), nullptr)) << path; }
void Make(const std::string& path, const char* text = "data", DWORD attributes = FILE_ATTRIBUTE_NORMAL)
{
    ASSERT_TRUE(WriteFileBytes(path, text)) << path;
    ASSERT_TRUE(SetFileAttributesA(path.c_str(), attributes)) << path;
}

// Sets the machine's REG_SZ "ProductType" (null removes it) for one scope; its text comes back at exit.
class ScopedProductType {
public:
    ScopedProductType(const char* bytes, DWORD count)
    {
        ok = m_old != "-" && ERROR_SUCCESS == (bytes ? RegSetKeyValueA(HKEY_LOCAL_MACHINE, kKey, "ProductType", REG_SZ, bytes, count)
                                                     : RegDeleteKeyValueA(HKEY_LOCAL_MACHINE, kKey, "ProductType"));
    }
    explicit ScopedProductType(const char* text) : ScopedProductType(text, DWORD(strlen(text) + 1)) {}
    ~ScopedProductType() { EXPECT_TRUE(m_old == "-" || RegWrite(kView64, kKey, "ProductType", m_old)); }
    bool ok = false;

private:
    static constexpr const char* kKey = "SYSTEM\\CurrentControlSet\\Control\\ProductOptions";
    const std::string m_old = RegRead(kView64, kKey, "ProductType");
};

}  // namespace

TEST(CComputer, MachineFacts)
{
    const std::string name = ComputerName(), workgroup = LocalWorkgroup();
    EXPECT_EQ(1, CComputer::IsLocalMachine(nullptr));

    ASSERT_GE(workgroup.size(), 2u);
    char buffer[256];
    unsigned long length;
    for (const char* machine : {static_cast<const char*>(nullptr), "", name.c_str()}) {
        length = sizeof(buffer);
        EXPECT_EQ(1, CComputer::GetDomain(buffer, &length, machine));
        EXPECT_EQ(workgroup + "|" + std::to_string(workgroup.size()), buffer + ("|" + std::to_string(length)));
    }
    memcpy(buffer, "#######", 8);
    length = 2;  // a smaller buffer is honoured
    EXPECT_EQ(1, CComputer::GetDomain(buffer, &length, nullptr));
    EXPECT_EQ(workgroup.substr(0, 1) + '\0' + "#####|1", std::string(buffer, 7) + "|" + std::to_string(length));
    length = sizeof(buffer);
    EXPECT_EQ(0, CComputer::GetDomain(buffer, &length, "NOSUCHMACHINE"));  // Wine knows only the local one
    EXPECT_STREQ("", buffer);

    OSVERSIONINFOA info = {sizeof(info), 0, 0, 0, 0, ""};
    ASSERT_TRUE(GetVersionExA(&info));
    EXPECT_EQ(info.dwMajorVersion, CComputer::GetNTVersion("ignored"));
    EXPECT_EQ(1, CComputer::IsNT4xOrLater());
    // The prefix has the fixed disks C: and Z: and nothing on A: or B:.
    EXPECT_EQ('C', CComputer::FindFirstHardDrive());
    EXPECT_EQ(UINT(DRIVE_FIXED), CComputer::GetDriveTypeA("c:\\windows\\system32"));
}

TEST(CComputer, ServerIsReadFromTheProductType)
{
    const std::string tooLong = "ServerNT" + std::string(300, ' ');  // more than the 256 bytes read
    // A machine that cannot be reached is answered from the local registry.
    const struct { const char* type; const char* machine; int server; } cases[] = {
        {"LanmanNT", "", 1}, {"serverNt", "NOSUCHMACHINE", 1}, {"WinNT", "", 0}, {nullptr, "", 0}, {tooLong.c_str(), "", 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.type ? c.type : "(removed)");
        ScopedProductType type(c.type, c.type ? DWORD(strlen(c.type) + 1) : 0);
        ASSERT_TRUE(type.ok);
        EXPECT_EQ(c.server, CComputer::IsServer(c.machine));
    }
}

TEST(CComputer, CreateDirectoryMakesEveryMissingLevel)
{
    TempDir dir;
    MakeFolder(dir / "a");
    Make(dir / "a\\keep.txt");
    EXPECT_EQ(1, CComputer::CreateDirectoryA((dir / "a\\b\\c\\\\").c_str(), 0));
    EXPECT_EQ(1, CComputer::DirectoryExists((dir / "a\\b\\c").c_str()));
    EXPECT_EQ(0, CComputer::DirectoryExists((dir / "a\\keep.txt").c_str()));
    EXPECT_EQ(0, CComputer::CreateDirectoryA((dir / "a\\keep.txt\\sub").c_str(), 0));

    // No level named: nothing to create, which is success; the current folder stays empty.
    ScopedCurrentDir keepFolder;
    MakeFolder(dir / "current");
    ASSERT_TRUE(SetCurrentDirectoryA((dir / "current").c_str()));
    for (const char* none : {static_cast<const char*>(nullptr), "", "\\\\"})
        EXPECT_EQ(1, CComputer::CreateDirectoryA(none, 0)) << (none ? none : "(null)");
    EXPECT_EQ(1, CComputer::PathEmpty((dir / "current").c_str()));
}

// A null or empty folder names nothing: DeleteFiles and ChangeFilesAttribute answer 1 and touch
// neither the current folder nor the root of the current drive.
TEST(CComputer, DeleteFilesAndChangeFilesAttributeWithoutFolderTouchNothing)
{
    TempDir dir;
    char probe[64];
    snprintf(probe, sizeof(probe), "setupcls-probe-%lu.tmp", GetCurrentProcessId());
    const std::string inCurrent = dir / probe, inRoot = std::string("\\") + probe;
    ScopedCurrentDir keepFolder;
    ASSERT_TRUE(SetCurrentDirectoryA(dir.path().c_str()));
    Make(inCurrent);
    Make(inRoot);
    for (const char* none : {static_cast<const char*>(nullptr), ""}) {
        EXPECT_EQ(1, CComputer::ChangeFilesAttribute(none, probe, FILE_ATTRIBUTE_READONLY));
        EXPECT_EQ(1, CComputer::DeleteFiles(none, probe));
    }
    for (const std::string& path : {inCurrent, inRoot}) {
        EXPECT_TRUE(Exists(path)) << path;
        EXPECT_FALSE(IsReadOnly(path)) << path;
    }
    SetFileAttributesA(inRoot.c_str(), FILE_ATTRIBUTE_NORMAL);
    EXPECT_TRUE(DeleteFileA(inRoot.c_str()));
}

TEST(CComputer, DeleteTreeAnswersOneEvenWhenAFileStays)
{
    TempDir dir;
    const std::string tree = dir / "tree";
    for (const char* folder : {"", "\\ro"})
        MakeFolder(tree + folder);
    Make(tree + "\\ro\\locked.txt", "x", FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);
    ASSERT_TRUE(SetFileAttributesA((tree + "\\ro").c_str(), FILE_ATTRIBUTE_READONLY));
    Make(dir / "treesibling.txt");
    EXPECT_EQ(1, CComputer::DeleteTree(tree.c_str()));
    EXPECT_FALSE(Exists(tree));
    EXPECT_TRUE(Exists(dir / "treesibling.txt"));

    // An open file keeps its folders, and is left normal; only a failed sub tree would make
    // the answer 0.
    for (const char* folder : {"", "\\sub"})
        MakeFolder(tree + folder);
    Make(tree + "\\sub\\open.txt", "x", FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);
    HANDLE open = CreateFileA((tree + "\\sub\\open.txt").c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                              OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(INVALID_HANDLE_VALUE, open);
    EXPECT_EQ(1, CComputer::DeleteTree((tree + "\\").c_str()));
    CloseHandle(open);
    const DWORD left = GetFileAttributesA((tree + "\\sub\\open.txt").c_str());
    ASSERT_NE(INVALID_FILE_ATTRIBUTES, left);
    EXPECT_EQ(0u, left & FILE_ATTRIBUTE_READONLY);
    EXPECT_EQ(0u, left & FILE_ATTRIBUTE_HIDDEN);
    EXPECT_EQ(1, CComputer::DeleteTree((dir / "missing").c_str()));
    EXPECT_EQ(0, CComputer::DeleteTree(nullptr));
}

TEST(CComputer, DeleteFilesPathEmptyAndChangeFilesAttribute)
{
    TempDir dir;
    const char* folder = dir.path().c_str();
    EXPECT_EQ(1, CComputer::PathEmpty(folder));
    MakeFolder(dir / "d.txt");
    EXPECT_EQ(0, CComputer::PathEmpty(folder));  // an empty sub folder counts
    EXPECT_EQ(1, CComputer::PathEmpty(folder, "*.log"));
    Make(dir / "a.txt", "a", FILE_ATTRIBUTE_READONLY);
    Make(dir / "b.log");
    Make(dir / "d.txt\\inner.log");
    EXPECT_EQ(1, CComputer::DeleteFiles((dir.path() + "\\").c_str(), "*.txt"));
    EXPECT_FALSE(Exists(dir / "a.txt"));
    EXPECT_EQ(0, CComputer::PathEmpty(folder, "*.log"));
    EXPECT_EQ(1, CComputer::DeleteFiles(folder, nullptr));
    EXPECT_EQ(1, CComputer::PathEmpty(folder, "*.log"));  // not searched below
    // An empty text is no folder, not the root of the current drive (which holds something).
    EXPECT_EQ(1, CComputer::DirectoryExists(dir.path().substr(0, 2).c_str()));  // "C:": its root
    EXPECT_EQ(0, CComputer::DirectoryExists(""));
    EXPECT_EQ(1, CComputer::PathExists((dir / "d.txt\\inner.log").c_str()));
    EXPECT_EQ(0, CComputer::PathExists((dir / "missing").c_str()));

    MakeFolder(dir / "plain");
    for (const char* file : {"top.log", "d.txt\\in.txt", "plain\\in.log"})
        Make(dir / file);
    EXPECT_EQ(1, CComputer::ChangeFilesAttribute(folder, "*.log", FILE_ATTRIBUTE_READONLY));
    EXPECT_TRUE(IsReadOnly(dir / "top.log"));
    EXPECT_FALSE(IsReadOnly(dir / "plain\\in.log"));  // "plain" does not match
    EXPECT_EQ(1, CComputer::ChangeFilesAttribute(folder, "*.txt", FILE_ATTRIBUTE_READONLY));
    EXPECT_TRUE(IsReadOnly(dir / "d.txt\\in.txt"));  // inside the matching folder
    EXPECT_FALSE(IsReadOnly(dir / "d.txt\\inner.log"));  // does not match
    EXPECT_FALSE(IsReadOnly(dir / "d.txt"));              // folders keep theirs
}

TEST(CComputer, CopyFileRecursivelyAnswersForTheLastTopLevelFile)
{
    TempDir dir;
    const std::string source = dir / "source", target = dir / "new\\target";
    for (const char* folder : {"", "\\sub"})
        MakeFolder(source + folder);
    Make(source + "\\sub\\inner.bin", "\1\2");
    // No file at the top level: 0, although everything was copied.
    EXPECT_EQ(0, CComputer::CopyFileRecursively(source.c_str(), target.c_str(), FALSE));
    EXPECT_EQ("\1\2", ReadFileBytes(target + "\\sub\\inner.bin"));

    for (const char* name : {"one.txt", "two.txt", "three.txt"})
        Make(source + "\\" + name, name);
    std::vector<std::string> listed;  // in the order the system lists them
    WIN32_FIND_DATAA entry;
    HANDLE find = FindFirstFileA((source + "\\*.txt").c_str(), &entry);
    for (BOOL more = find != INVALID_HANDLE_VALUE; more; more = FindNextFileA(find, &entry))
        listed.push_back(target + "\\" + entry.cFileName);
    FindClose(find);
    ASSERT_EQ(3u, listed.size());
    Make(listed.back(), "old");  // the last copy fails: 0
    EXPECT_EQ(0, CComputer::CopyFileRecursively(source.c_str(), target.c_str(), TRUE));
    EXPECT_EQ("old", ReadFileBytes(listed.back()));
    ASSERT_TRUE(DeleteFileA(listed.back().c_str()));
    EXPECT_EQ(1, CComputer::CopyFileRecursively(source.c_str(), target.c_str(), TRUE));  // only earlier ones fail
    Make(listed.front(), "old");
    EXPECT_EQ(1, CComputer::CopyFileRecursively(source.c_str(), target.c_str(), FALSE));
    EXPECT_NE("old", ReadFileBytes(listed.front()));

    EXPECT_EQ(0, CComputer::CopyFileRecursively((dir / "missing").c_str(), (dir / "t2").c_str(), FALSE));
    EXPECT_EQ(0, CComputer::CopyFileRecursively(source.c_str(), "", FALSE));
    EXPECT_EQ(0, CComputer::CopyFileRecursively(nullptr, (dir / "t2").c_str(), FALSE));
    EXPECT_FALSE(Exists(dir / "t2"));
}

TEST(CComputer, WindowsVersionCheckAsksQwtool)
{
    ScopedEnv call("QWTOOL_WINVER_CALL", nullptr), answer("QWTOOL_WINVER_ANSWER", "7");  // passed on as it is
    EXPECT_EQ(0, CComputer::IsWindowsVersionOK(5, 1, 0));  // not on the search path
    {
        ScopedLibraryPath noEntry("noexports.dll", "QWTOOL.DLL");
        ASSERT_TRUE(noEntry.ok());
        EXPECT_EQ(0, CComputer::IsWindowsVersionOK(5, 1, 0));
    }
    ScopedLibraryPath qwtool("QWTOOL.DLL", "QWTOOL.DLL");
    ASSERT_TRUE(qwtool.ok());
    EXPECT_EQ(7, CComputer::IsWindowsVersionOK(5, 1, 4294967295u));
    EXPECT_EQ("5 1 4294967295", EnvText("QWTOOL_WINVER_CALL"));
    EXPECT_EQ(nullptr, GetModuleHandleA("QWTOOL.DLL"));  // freed before returning
}

TEST(CComputer, ObjectOfTheLocalAndOfAnotherMachine)
{
    ScopedProductType type("ServerNT");
    ASSERT_TRUE(type.ok);
    CComputer local(Lower(ComputerName()).c_str());  // local; keeps the name as Windows spells it
    EXPECT_EQ(1, local.IsLocal());
    EXPECT_EQ(ComputerName(), local.Name());
    EXPECT_EQ(LocalWorkgroup(), local.Domain());
    EXPECT_EQ(0, local.DomainController());  // Wine answers as a plain NT workstation
    EXPECT_EQ(1, local.Server());
    EXPECT_EQ(CComputer::GetNTVersion(), local.NTVersion());

    CComputer other("NOSUCHMACHINE"), empty("");
    EXPECT_EQ(0, other.IsLocal());
    EXPECT_STREQ("NOSUCHMACHINE", other.Name());
    EXPECT_EQ(0, empty.IsLocal());     // not local, yet the queries take it for the local machine
    EXPECT_EQ(LocalWorkgroup(), empty.Domain());
    other = local;
    EXPECT_EQ(std::string(local.Name()) + local.Domain() + "11", std::string(other.Name()) + other.Domain() +
                                                                     std::to_string(other.IsLocal()) +
                                                                     std::to_string(other.Server()));
}
