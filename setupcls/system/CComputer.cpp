#include "CComputer.h"

#include "PathRules.h"
#include "Handles.h"
#include "ProductLibrary.h"
#include "TextRules.h"

#include <direct.h>
#include <io.h>

#include <cstring>
#include <string>

namespace {

// Fixed sizes of the machine queries.
const unsigned long kComputerNameSize = MAX_COMPUTERNAME_LENGTH + 1;  // 16 bytes
const unsigned long kDomainSize = 256;
const int kServerNameChars = 32;
const DWORD kProductTypeSize = 256;

const char kProductOptionsKey[] = "SYSTEM\\CurrentControlSet\\Control\\ProductOptions";
const char kAllFiles[] = "*.*";

// Server type bits of NetServerGetInfo.
const DWORD kTypeDomainController = 0x8;
const DWORD kTypeBackupDomainController = 0x10;

// The number of bytes of text, at most limit, that ends on a whole character: a double-byte
// character that does not fit is left out entirely.
int WholeCharacterLength(const char* text, int length, int limit)
{
    int end = 0;
    while (end < length) {
        int step = (IsLeadByte(text[end]) && end + 1 < length) ? 2 : 1;
        if (end + step > limit)
            break;
        end += step;
    }
    return end;
}

// A machine's name as network management takes it: UTF-16, at most kServerNameChars
// characters, or null for the local machine (a null or empty text).
class NetServerName {
public:
    explicit NetServerName(const char* machine)
    {
        if (IsEmptyText(machine))
            return;
        int count = MultiByteToWideChar(CP_ACP, 0, machine, -1, nullptr, 0);
        if (count <= 0) {
            m_valid = false;
            return;
        }
        m_text.assign(static_cast<size_t>(count), L'\0');
        if (MultiByteToWideChar(CP_ACP, 0, machine, -1, &m_text[0], count) != count) {
            m_valid = false;
            return;
        }
        m_text.resize(static_cast<size_t>(count - 1));
        if (m_text.size() > static_cast<size_t>(kServerNameChars))
            m_text.resize(kServerNameChars);
    }

    bool valid() const { return m_valid; }
    LPWSTR get() { return m_text.empty() ? nullptr : &m_text[0]; }

private:
    std::wstring m_text;
    bool m_valid = true;
};

// UTF-16 text to the active ANSI code page; false when it cannot be converted.
bool ToAnsi(const wchar_t* text, CString& result)
{
    result.Empty();
    if (!text || !*text)
        return true;
    int count = WideCharToMultiByte(CP_ACP, 0, text, -1, nullptr, 0, nullptr, nullptr);
    if (count <= 0)
        return false;
    char* buffer = result.GetBuffer(count);
    int written = WideCharToMultiByte(CP_ACP, 0, text, -1, buffer, count, nullptr, nullptr);
    result.ReleaseBuffer();
    return written == count;
}

// Server type bits of the machine (NetServerGetInfo level 101); false when the query fails.
bool ReadServerType(const char* machine, DWORD& type)
{
    NetServerName server(machine);
    if (!server.valid())
        return false;
    UniqueNetBuffer info;
    if (NetServerGetInfo(server.get(), 101, info.put()) != NERR_Success || !info)
        return false;
    type = reinterpret_cast<const SERVER_INFO_101*>(info.get())->sv101_type;
    return true;
}

bool ReadVersion(OSVERSIONINFOA& info)
{
    ZeroMemory(&info, sizeof(info));
    info.dwOSVersionInfoSize = sizeof(info);
    return GetVersionExA(&info) != FALSE;
}

// HKEY_LOCAL_MACHINE of another machine; empty when it cannot be reached.
UniqueKey ConnectMachineRegistry(const char* machine)
{
    UniqueKey key;
    key.kept(RegConnectRegistryA(machine, HKEY_LOCAL_MACHINE, key.put()));
    return key;
}

UniqueKey OpenKeyForRead(HKEY root, const char* path)
{
    UniqueKey key;
    key.kept(RegOpenKeyExA(root, path, 0, KEY_READ, key.put()));
    return key;
}

// The root of the path's drive: its drive part ("C:") plus a back-slash, or "\" (the current
// drive) for a path without a drive letter.
CString DriveRoot(const char* path)
{
    if (path[0] != '\0' && path[1] == ':')
        return CString(path, 2) + "\\";
    return CString("\\");
}

// The folder text ending in one back-slash of its own: one is appended when the last byte is
// not a back-slash, or is the trail byte of a double-byte character.
CString FolderText(const char* folder)
{
    CString text(folder);
    if (!IsRealBackSlash(text, text.GetLength() - 1))
        text += '\\';
    return text;
}

const char* PatternOrAll(const char* pattern)
{
    return pattern ? pattern : kAllFiles;
}

bool IsFolder(const WIN32_FIND_DATAA& entry)
{
    return (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool IsDots(const WIN32_FIND_DATAA& entry)
{
    return strcmp(entry.cFileName, ".") == 0 || strcmp(entry.cFileName, "..") == 0;
}

// Calls visit for every entry the search finds, while visit answers true.
template <typename Visit>
void ForEachEntry(const CString& search, Visit visit)
{
    WIN32_FIND_DATAA entry;
    UniqueFind find(FindFirstFileA(search, &entry));
    if (!find)
        return;
    do {
        if (!visit(entry))
            return;
    } while (FindNextFileA(find.get(), &entry));
}

// Makes an entry normal (FILE_ATTRIBUTE_NORMAL) and removes it with `remove`. The removal is
// tried first and the entry made normal only when it is refused, then removed again: an entry
// that goes needs no attribute of its own, and one that cannot go (in use, not empty) is left
// normal, so the end state is that of making every entry normal before removing it, at one
// call per entry instead of two on a tree of thousands of files. The outcome is not reported
// on purpose: the callers' answers do not depend on single entries.
void ForceRemove(const char* path, BOOL(WINAPI* remove)(LPCSTR))
{
    if (remove(path))
        return;
    SetFileAttributesA(path, FILE_ATTRIBUTE_NORMAL);
    remove(path);
}

void ForceDeleteFile(const char* path)
{
    ForceRemove(path, DeleteFileA);
}

void ForceRemoveFolder(const char* path)
{
    ForceRemove(path, ::RemoveDirectoryA);
}

}  // namespace

CComputer::CComputer(const char* name)
{
    m_local = IsLocalMachine(name);
    if (m_local) {
        char computer[kComputerNameSize] = {};
        unsigned long size = kComputerNameSize;
        if (GetComputerNameA(computer, &size))
            m_name = computer;
    } else {
        m_name = name;
    }
    char domain[kDomainSize] = {};
    unsigned long length = kDomainSize;
    if (GetDomain(domain, &length, m_name))
        m_domain = domain;
    m_primaryDomainController = IsPrimaryDomainController(m_name);
    m_backupDomainController = IsBackupDomainController(m_name);
    m_server = IsServer(m_name);
    m_ntVersion = GetNTVersion(m_name);
}

int CComputer::GetComputerNameA(char* buffer, unsigned long* size)
{
    // A null buffer is passed on only with a zero size: Windows then reports the size needed.
    if (!size || (!buffer && *size != 0))
        return 0;
    return ::GetComputerNameA(buffer, size) ? 1 : 0;
}

int CComputer::GetDomain(char* buffer, unsigned long* length, const char* machine)
{
    if (!buffer || !length || *length == 0)
        return 0;
    const unsigned long capacity = *length < kDomainSize ? *length : kDomainSize;
    buffer[0] = '\0';
    *length = 0;

    NetServerName server(machine);
    if (!server.valid())
        return 0;
    UniqueNetBuffer info;
    if (NetWkstaGetInfo(server.get(), 100, info.put()) != NERR_Success || !info)
        return 0;
    CString domain;
    if (!ToAnsi(reinterpret_cast<const WKSTA_INFO_100*>(info.get())->wki100_langroup, domain))
        return 0;

    int count = WholeCharacterLength(domain, domain.GetLength(), static_cast<int>(capacity) - 1);
    memcpy(buffer, domain.GetString(), static_cast<size_t>(count));
    buffer[count] = '\0';
    *length = static_cast<unsigned long>(count);
    return 1;
}

int CComputer::IsPrimaryDomainController(const char* machine)
{
    DWORD type = 0;
    return (ReadServerType(machine, type) && (type & kTypeDomainController)) ? 1 : 0;
}

int CComputer::IsBackupDomainController(const char* machine)
{
    DWORD type = 0;
    return (ReadServerType(machine, type) && (type & kTypeBackupDomainController)) ? 1 : 0;
}

int CComputer::IsServer(const char* machine)
{
    // A machine that cannot be reached is answered from the local registry.
    UniqueKey remote;
    if (!IsEmptyText(machine))
        remote = ConnectMachineRegistry(machine);
    UniqueKey options = OpenKeyForRead(remote ? remote.get() : HKEY_LOCAL_MACHINE, kProductOptionsKey);
    if (!options)
        return 0;

    char type[kProductTypeSize + 1] = {};  // one byte more: a value stored without its NUL
    DWORD size = kProductTypeSize;
    if (RegQueryValueExA(options.get(), "ProductType", nullptr, nullptr, reinterpret_cast<BYTE*>(type), &size) !=
        ERROR_SUCCESS)
        return 0;
    CString productType(type);
    return (productType.CompareNoCase("LANMANNT") == 0 || productType.CompareNoCase("SERVERNT") == 0) ? 1 : 0;
}

unsigned long CComputer::GetNTVersion(const char* machine)
{
    OSVERSIONINFOA info;
    return ReadVersion(info) ? info.dwMajorVersion : 0;
}

int CComputer::IsNT4xOrLater(const char* machine)
{
    return GetNTVersion(machine) > 3 ? 1 : 0;
}

int CComputer::IsWindows95(const char* machine)
{
    OSVERSIONINFOA info;
    return (ReadVersion(info) && info.dwPlatformId == VER_PLATFORM_WIN32_WINDOWS) ? 1 : 0;
}

int CComputer::IsLocalMachine(const char* name)
{
    if (!name)
        return 1;
    char computer[kComputerNameSize] = {};
    unsigned long size = kComputerNameSize;
    if (!GetComputerNameA(computer, &size))
        return 0;
    return CString(name).CompareNoCase(computer) == 0 ? 1 : 0;
}

char CComputer::FindFirstHardDrive()
{
    for (char letter = 'A'; letter <= 'Z'; ++letter) {
        char root[] = {letter, ':', '\\', '\0'};
        if (::GetDriveTypeA(root) == DRIVE_FIXED)
            return letter;
    }
    return 'Z';  // the last letter tried
}

unsigned long CComputer::DriveFreeSpaceBytes(const char* path)
{
    if (!path)
        return 0;
    DWORD sectorsPerCluster = 0;
    DWORD bytesPerSector = 0;
    DWORD freeClusters = 0;
    DWORD totalClusters = 0;
    if (!GetDiskFreeSpaceA(DriveRoot(path), &sectorsPerCluster, &bytesPerSector, &freeClusters, &totalClusters))
        return 0;
    // 32-bit arithmetic on purpose: callers get the count modulo 2^32.
    return freeClusters * sectorsPerCluster * bytesPerSector;
}

unsigned int CComputer::GetDriveTypeA(const char* path)
{
    if (!path)
        return DRIVE_NO_ROOT_DIR;
    return ::GetDriveTypeA(DriveRoot(path));
}

int CComputer::DirectoryExists(const char* path)
{
    if (IsEmptyText(path))
        return 0;
    // "\*.*" is added even to a path that ends in a back-slash already.
    CString search(path);
    search += "\\*.*";
    WIN32_FIND_DATAA entry;
    UniqueFind find(FindFirstFileA(search, &entry));
    return find ? 1 : 0;
}

int CComputer::CreateDirectoryA(const char* path, int)
{
    // An empty text or one of back-slashes only names no level to create: nothing to do.
    if (IsEmptyText(path))
        return 1;
    CString folder(path);
    if (AppendBackSlash(folder) == 0)
        return 1;
    // Each back-slash of its own ends a level, except the one after a drive's ":".
    for (int i = 1; i < folder.GetLength(); ++i) {
        if (!RealBackSlashAt(folder, i) || folder[i - 1] == ':')
            continue;
        CString level = folder.Left(i);
        if (!DirectoryExists(level) && !::CreateDirectoryA(level, nullptr))
            return 0;
    }
    return 1;
}

int CComputer::ChangeDirectory(const char* path)
{
    if (IsEmptyText(path))
        return 0;
    return _chdir(path) == 0 ? 1 : 0;
}

int CComputer::RemoveDirectoryA(const char* path)
{
    if (IsEmptyText(path))
        return 0;
    return _rmdir(path) == 0 ? 1 : 0;
}

int CComputer::DeleteTree(const char* path)
{
    if (IsEmptyText(path))
        return 0;
    int result = 1;
    CString search;
    search.Format("%s\\%s", path, kAllFiles);
    ForEachEntry(search, [&](const WIN32_FIND_DATAA& entry) {
        if (IsDots(entry))
            return true;
        CString full;
        full.Format("%s\\%s", path, entry.cFileName);
        if (!IsFolder(entry)) {
            ForceDeleteFile(full);
        } else if (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) {
            // A linked folder: the link goes, what it points to stays.
            ForceRemoveFolder(full);
        } else if (!DeleteTree(full)) {
            result = 0;
        }
        return true;
    });
    // Only a failed sub tree changes the answer; the folder's own removal does not.
    ForceRemoveFolder(path);
    return result;
}

int CComputer::DeleteFiles(const char* folder, const char* pattern)
{
    // No folder named: nothing is deleted (an empty text must not stand for the drive's root).
    if (IsEmptyText(folder))
        return 1;
    const CString base = FolderText(folder);
    ForEachEntry(base + PatternOrAll(pattern), [&](const WIN32_FIND_DATAA& entry) {
        if (!IsFolder(entry))
            ForceDeleteFile(base + entry.cFileName);
        return true;
    });
    return 1;
}

int CComputer::PathExists(const char* path)
{
    if (IsEmptyText(path))
        return 0;
    return _access(path, 0) == 0 ? 1 : 0;
}

int CComputer::PathEmpty(const char* folder, const char* pattern)
{
    if (IsEmptyText(folder))
        return 1;
    int result = 1;
    ForEachEntry(FolderText(folder) + PatternOrAll(pattern), [&](const WIN32_FIND_DATAA& entry) {
        if (IsFolder(entry) && IsDots(entry))
            return true;
        result = 0;
        return false;
    });
    return result;
}

int CComputer::ChangeFilesAttribute(const char* folder, const char* pattern, unsigned long attributes)
{
    // No folder named: nothing is changed (an empty text must not stand for the drive's root).
    if (IsEmptyText(folder))
        return 1;
    const CString base = FolderText(folder);
    ForEachEntry(base + PatternOrAll(pattern), [&](const WIN32_FIND_DATAA& entry) {
        if (!IsFolder(entry))
            SetFileAttributesA(base + entry.cFileName, attributes);
        else if (!IsDots(entry))
            ChangeFilesAttribute(base + entry.cFileName, pattern, attributes);
        return true;
    });
    return 1;
}

int CComputer::CopyFileRecursively(const char* source, const char* target, int failIfExists)
{
    if (IsEmptyText(source) || IsEmptyText(target) || !PathExists(source))
        return 0;
    CString from(source);
    CString to(target);
    // A text made only of back-slashes names no folder.
    if (AppendBackSlash(from) == 0 || AppendBackSlash(to) == 0)
        return 0;
    if (!PathExists(to) && !CreateDirectoryA(to))
        return 0;

    int result = 0;
    ForEachEntry(from + "*", [&](const WIN32_FIND_DATAA& entry) {
        if (IsDots(entry))
            return true;
        if (IsFolder(entry))
            CopyFileRecursively(from + entry.cFileName, to + entry.cFileName + "\\", failIfExists);
        else
            result = CopyFileA(from + entry.cFileName, to + entry.cFileName, failIfExists) ? 1 : 0;
        return true;
    });
    return result;
}

int CComputer::IsWindowsVersionOK(unsigned long first, unsigned long second, unsigned long third)
{
    // The account tool library's entries are Windows-style "A" exports: __stdcall (WINAPI).
    // What the three numbers mean is the library's business; they are passed on as given.
    typedef BOOL(WINAPI * IsWindowsVersionOKEntry)(DWORD, DWORD, DWORD);

    ProductLibrary library = ProductLibrary::ByName("QWTOOL.DLL");
    auto entry = library.Entry<IsWindowsVersionOKEntry>("IsWindowsVersionOKA");
    return entry ? entry(first, second, third) : 0;
}
