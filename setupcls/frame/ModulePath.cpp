#include "ModulePath.h"

#include "TextRules.h"

#include <cstdlib>

namespace {

// Index just past the last separator of path, 0 when there is none. The scan steps over the
// trail byte of each double-byte character, which may be 0x5C.
int FolderLength(const char* path)
{
    int end = 0;
    for (int i = 0; path[i] != '\0'; ++i) {
        if (IsLeadByte(path[i]) && path[i + 1] != '\0') {
            ++i;
            continue;
        }
        if (path[i] == '\\' || path[i] == '/' || (i == 1 && path[i] == ':'))
            end = i + 1;
    }
    return end;
}

}  // namespace

CString DriveAndFolder(const char* path)
{
    if (!path)
        return CString();
    return CString(path, FolderLength(path));
}

CString BaseName(const char* path)
{
    if (!path)
        return CString();
    CString name(path + FolderLength(path));
    int dot = name.ReverseFind('.');
    return dot < 0 ? name : name.Left(dot);
}

bool ModuleFileName(HMODULE module, CString& path)
{
    char buffer[MAX_PATH];
    DWORD length = GetModuleFileNameA(module, buffer, MAX_PATH);
    if (length == 0 || length >= MAX_PATH)
        return false;
    path = CString(buffer, static_cast<int>(length));
    return true;
}

bool FullPath(const char* path, int bufferSize, CString& result)
{
    char buffer[MAX_PATH + 1];
    if (!path || path[0] == '\0' || bufferSize <= 0 || bufferSize > static_cast<int>(sizeof(buffer)))
        return false;
    if (!_fullpath(buffer, path, static_cast<size_t>(bufferSize)))
        return false;
    result = buffer;
    return true;
}
