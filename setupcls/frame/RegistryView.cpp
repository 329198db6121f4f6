#include "RegistryView.h"

#include "PathRules.h"
#include "TextRules.h"

#include <cstring>

namespace regview {

namespace {

// The registry counts a key path in bytes of its wide form in 16 bits: a longer path does not
// fail there, its length wraps and the call reaches another key (a 64 KiB name created a key of
// a dozen characters). Such a path is refused before the registry sees it.
const size_t kMaxKeyPathLength = 32767;

// A path the registry would take for another key, or turn into a key that cannot be named
// again: too long (ERROR_FILENAME_EXCED_RANGE, see above), or ending in a lone lead byte
// (ERROR_INVALID_NAME: the conversion to the registry's wide names makes the missing trail byte
// a NUL inside the name, a key no later call reaches by its name).
LONG CheckPath(const char* path)
{
    if (path && strnlen(path, kMaxKeyPathLength + 1) > kMaxKeyPathLength)
        return ERROR_FILENAME_EXCED_RANGE;
    return EndsInLoneLeadByte(path) ? ERROR_INVALID_NAME : ERROR_SUCCESS;
}

}  // namespace

LONG OpenKey(HKEY root, const char* path, REGSAM access, UniqueKey& key)
{
    key.reset();
    if (const LONG status = CheckPath(path))
        return status;
    return key.kept(RegOpenKeyExA(root, path, 0, access | kProductView, key.put()));
}

LONG CreateKey(HKEY root, const char* path, UniqueKey& key, REGSAM view)
{
    key.reset();
    if (const LONG status = CheckPath(path))
        return status;
    return key.kept(RegCreateKeyExA(root, path, 0, nullptr, 0, KEY_ALL_ACCESS | view, nullptr, key.put(), nullptr));
}

LONG DeleteKey(HKEY root, const char* path)
{
    if (const LONG status = CheckPath(path))
        return status;
    return RegDeleteKeyExA(root, path, kProductView, 0);
}

LONG QueryText(HKEY key, const char* value, char* buffer, unsigned long& size)
{
    if (!buffer || size == 0)
        return ERROR_INVALID_PARAMETER;
    DWORD type = REG_NONE;
    DWORD bytes = size;
    LONG status = RegQueryValueExA(key, value, nullptr, &type, reinterpret_cast<BYTE*>(buffer), &bytes);
    if (status == ERROR_SUCCESS && type != REG_SZ && type != REG_EXPAND_SZ)
        status = ERROR_UNSUPPORTED_TYPE;
    if (status == ERROR_SUCCESS && (bytes == 0 || buffer[bytes - 1] != '\0')) {
        // A text stored without its NUL gets one, which must fit as well.
        if (bytes < size) {
            buffer[bytes++] = '\0';
        } else {
            status = ERROR_MORE_DATA;
            ++bytes;
        }
    }
    if (status != ERROR_SUCCESS)
        buffer[0] = '\0';
    if (status == ERROR_SUCCESS || status == ERROR_MORE_DATA)
        size = bytes;
    return status;
}

LONG ReadText(HKEY root, const char* path, const char* value, char* buffer, unsigned long& size)
{
    if (!buffer || size == 0)
        return ERROR_INVALID_PARAMETER;
    buffer[0] = '\0';
    UniqueKey key;
    LONG status = OpenKey(root, path, KEY_READ, key);
    return status == ERROR_SUCCESS ? QueryText(key.get(), value, buffer, size) : status;
}

namespace {

// The position of the last back-slash of path that separates two names; -1 when none does.
int LastSeparator(const CString& path)
{
    for (int i = path.GetLength() - 1; i >= 0; --i) {
        if (RealBackSlashAt(path, i))
            return i;
    }
    return -1;
}

}  // namespace

CString LastKeyName(const CString& path)
{
    return path.Mid(LastSeparator(path) + 1);
}

CString ParentKey(const CString& path)
{
    int separator = LastSeparator(path);
    return separator < 0 ? CString() : path.Left(separator);
}

// ---- Key trees. Every path is below the root given; an empty path would name the root
// itself and is refused. ----

// The names of the sub keys of an open key (a key name has 255 characters at most).
LONG SubKeyNames(HKEY key, std::vector<CString>& names)
{
    char name[256];
    for (DWORD index = 0;; ++index) {
        DWORD length = sizeof(name);
        const LONG status = RegEnumKeyExA(key, index, name, &length, nullptr, nullptr, nullptr, nullptr);
        if (status == ERROR_NO_MORE_ITEMS)
            return ERROR_SUCCESS;
        if (status != ERROR_SUCCESS)
            return status;
        names.push_back(CString(name, static_cast<int>(length)));
    }
}

// Every key below path, deepest first. The names are read before anything is deleted, so that
// the enumeration does not shift under the deletions; a sub key that cannot go leaves the
// status of its failure, and the others still go.
LONG DeleteBelow(HKEY root, const CString& path)
{
    if (path.IsEmpty())
        return ERROR_INVALID_PARAMETER;
    std::vector<CString> names;
    {
        UniqueKey key;
        LONG status = regview::OpenKey(root, path, KEY_ALL_ACCESS, key);
        if (status == ERROR_SUCCESS)
            status = SubKeyNames(key.get(), names);
        if (status != ERROR_SUCCESS)
            return status;
    }
    LONG result = ERROR_SUCCESS;
    for (const CString& name : names) {
        const CString child = path + "\\" + name;
        DeleteBelow(root, child);
        const LONG status = regview::DeleteKey(root, child);
        if (status != ERROR_SUCCESS && result == ERROR_SUCCESS)
            result = status;
    }
    return result;
}

// The key at path with everything below it.
LONG DeleteTree(HKEY root, const CString& path)
{
    if (path.IsEmpty())
        return ERROR_INVALID_PARAMETER;
    DeleteBelow(root, path);
    return regview::DeleteKey(root, path);
}

}  // namespace regview
