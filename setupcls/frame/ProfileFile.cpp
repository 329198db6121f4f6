#include "ProfileFile.h"

#include "Handles.h"
#include "TextRules.h"

#include <cstdio>

namespace {

// Several setup programs (the installer, the programs it starts, a second installer started by
// the first) read and write one answer file at the same time. The profile functions rewrite the
// whole file for every key they write, from the copy they read just before: of two writes that
// overlap only the later copy survives, and the other's key is lost; a read that falls between
// the file's truncation and its rewrite finds no key at all. Every call on a file therefore runs
// while this process holds a mutex named after that file, so that the calls of all processes on
// one file take turns.
//
// The name is made from the full path with its ASCII letters in upper case (Windows names a
// file without regard to case), hashed, so that any path length gives a valid name and the
// back-slashes of the path do not stand for namespaces. The mutex is made in the global
// namespace, which the installer's parts share even when they run in different sessions (a
// Windows Installer custom action runs in the service's session); a process that may not make
// a global object (a non-administrator, when no other process made it first) uses its session's.
// A holder that does not let go within kWaitMs (a program hanging in the middle of a write) does
// not stop the setup: the call then goes ahead as the profile functions would go alone.
const DWORD kWaitMs = 30000;
const char kMutexPrefix[] = "SetupCLS.ProfileFile.";

UniqueHandle FileMutex(const char* path)
{
    char full[MAX_PATH * 4];
    const DWORD length = GetFullPathNameA(path, sizeof(full), full, nullptr);
    const char* name = length > 0 && length < sizeof(full) ? full : path;
    unsigned long long hash = 14695981039346656037ull;  // 64-bit FNV-1a
    for (const char* at = name; *at; ++at) {
        char ch = *at;
        if (ch >= 'a' && ch <= 'z')
            ch = static_cast<char>(ch - 'a' + 'A');
        hash = (hash ^ static_cast<unsigned char>(ch)) * 1099511628211ull;
    }
    char mutexName[64];
    snprintf(mutexName, sizeof(mutexName), "Global\\%s%016llx", kMutexPrefix, hash);
    UniqueHandle mutex(CreateMutexA(nullptr, FALSE, mutexName));
    if (!mutex)
        mutex.reset(CreateMutexA(nullptr, FALSE, mutexName + sizeof("Global\\") - 1));
    return mutex;
}

}  // namespace

bool ProfileFile::NamesEntry(const char* section, const char* key)
{
    return !IsEmptyText(section) && !IsEmptyText(key);
}

DWORD ProfileFile::ReadText(const char* section, const char* key, const char* defaultText, char* buffer,
                            DWORD size) const
{
    if (IsEmptyText(m_path) || !NamesEntry(section, key) || !buffer || size == 0)
        return 0;
    ScopedMutex turn(FileMutex(m_path), kWaitMs);
    DWORD count = GetPrivateProfileStringA(section, key, defaultText ? defaultText : "", buffer, size, m_path);
    // Windows stores at most size - 1 characters and the zero; a count beyond that would be no
    // text of this buffer, so it is held to the bound.
    if (count >= size) {
        count = size - 1;
        buffer[count] = '\0';
    }
    return count;
}

int ProfileFile::ReadInt(const char* section, const char* key, int defaultValue) const
{
    if (IsEmptyText(m_path) || !NamesEntry(section, key))
        return defaultValue;
    ScopedMutex turn(FileMutex(m_path), kWaitMs);
    // The profile functions hand a negative number back as its unsigned image.
    return static_cast<int>(GetPrivateProfileIntA(section, key, defaultValue, m_path));
}

BOOL ProfileFile::WriteText(const char* section, const char* key, const char* value) const
{
    if (IsEmptyText(m_path) || !NamesEntry(section, key) || !value)
        return FALSE;
    ScopedMutex turn(FileMutex(m_path), kWaitMs);
    return WritePrivateProfileStringA(section, key, value, m_path) ? TRUE : FALSE;
}
