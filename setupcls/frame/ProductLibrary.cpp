#include "ProductLibrary.h"

#include "PathRules.h"
#include "TextRules.h"

#include <utility>

namespace {

// A current folder of 256 characters or more leaves no room for a library's name in a path
// Windows loads (MAX_PATH), so the folder is read into a buffer of that size.
const DWORD kCurrentFolderSize = 256;

}  // namespace

ProductLibrary ProductLibrary::Loaded(HMODULE module)
{
    if (!module)
        return ProductLibrary(GetLastError());
    ProductLibrary library(ERROR_SUCCESS);
    library.m_module.reset(module);
    return library;
}

ProductLibrary ProductLibrary::ByName(const char* name)
{
    if (IsEmptyText(name))
        return ProductLibrary(ERROR_INVALID_PARAMETER);
    return Loaded(LoadLibraryA(name));
}

ProductLibrary ProductLibrary::FromPath(const char* path)
{
    if (IsEmptyText(path))
        return ProductLibrary(ERROR_INVALID_PARAMETER);
    return Loaded(LoadLibraryExA(path, nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
}

ProductLibrary ProductLibrary::InFolder(const char* folder, const char* name)
{
    if (IsEmptyText(folder) || IsEmptyText(name))
        return ProductLibrary(ERROR_INVALID_PARAMETER);
    return FromPath(PathIn(folder, name));
}

CString ProductLibrary::PathIn(const char* folder, const char* name)
{
    CString path(folder);
    TrimTailBackSlash(path);
    path += "\\";
    path += name;
    return path;
}

ProductLibrary ProductLibrary::InCurrentFolder(const char* name)
{
    if (IsEmptyText(name))
        return ProductLibrary(ERROR_INVALID_PARAMETER);
    char folder[kCurrentFolderSize];
    DWORD length = GetCurrentDirectoryA(kCurrentFolderSize, folder);
    if (length == 0)
        return ProductLibrary(GetLastError());
    if (length >= kCurrentFolderSize)
        return ProductLibrary(ERROR_FILENAME_EXCED_RANGE);
    return InFolder(folder, name);
}

ProductLibrary ProductLibrary::InCurrentFolderThenByName(const char* name)
{
    ProductLibrary library = InCurrentFolder(name);
    return library ? std::move(library) : ByName(name);
}

FARPROC ProductLibrary::Address(const char* name) const
{
    // An ordinal disguised as a name pointer goes through the ordinal overload; it is not read.
    if (!m_module || IS_INTRESOURCE(name) || name[0] == '\0')
        return nullptr;
    return GetProcAddress(m_module.get(), name);
}

FARPROC ProductLibrary::Address(WORD ordinal) const
{
    if (!m_module || ordinal == 0)
        return nullptr;
    return GetProcAddress(m_module.get(), MAKEINTRESOURCEA(ordinal));
}
