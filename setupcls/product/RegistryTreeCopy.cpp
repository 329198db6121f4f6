#include "RegistryTreeCopy.h"

#include "Failure.h"
#include "RegistryView.h"
#include "TextRules.h"
#include "UpgradeTrace.h"

#include <vector>

namespace {

// Values are first read into a buffer of this size; a larger one is read again into a buffer of
// its own size.
const DWORD kFirstValueBuffer = 4096;
// A value name has at most 16,383 characters.
const DWORD kValueNameSize = 16384;

// The agent node address key was renamed; its content is kept under the new name. Both names
// keep their spelling.
const char kOldAgentNodeKey[] = "TamberlyAgentNodeAdress";
const char kAgentNodeKey[] = "ClientAgentNodeAdress";

bool IsAcceptedRoot(HKEY root)
{
    return root == HKEY_LOCAL_MACHINE || root == HKEY_CURRENT_USER || root == HKEY_USERS;
}

// The destination path with its last name renamed when it is the old agent node address key.
CString Renamed(const CString& path)
{
    if (regview::LastKeyName(path).CompareNoCase(kOldAgentNodeKey) != 0)
        return path;
    const CString parent = regview::ParentKey(path);
    return parent.IsEmpty() ? CString(kAgentNodeKey) : parent + "\\" + kAgentNodeKey;
}

bool IsInside(const CString& path, const CString& tree)
{
    return path.CompareNoCase(tree) == 0 || path.Left(tree.GetLength() + 1).CompareNoCase(tree + "\\") == 0;
}

// The value at index of an open key, its data read whole: the buffer grows to the size the
// registry asks for.
LONG ReadValueAt(HKEY key, DWORD index, char (&name)[kValueNameSize], DWORD& type, std::vector<BYTE>& data,
                 DWORD& size)
{
    for (;;) {
        DWORD nameLength = kValueNameSize;
        size = static_cast<DWORD>(data.size());
        const DWORD offered = size;
        LONG status = RegEnumValueA(key, index, name, &nameLength, nullptr, &type, data.data(), &size);
        if (status != ERROR_MORE_DATA || size <= offered)
            return status;
        data.resize(size);
    }
}

LONG CopyValues(HKEY from, HKEY to)
{
    std::vector<BYTE> data(kFirstValueBuffer);
    char name[kValueNameSize];
    for (DWORD index = 0;; ++index) {
        DWORD type = REG_NONE;
        DWORD size = 0;
        LONG status = ReadValueAt(from, index, name, type, data, size);
        if (status == ERROR_NO_MORE_ITEMS)
            return ERROR_SUCCESS;
        if (status == ERROR_SUCCESS)
            status = RegSetValueExA(to, name, 0, type, data.data(), size);
        if (status != ERROR_SUCCESS)
            return status;
    }
}

// The key, then its sub keys one by one, then its values. Paths are opened from the root each
// time, so that no more than two keys of each level are open at once.
LONG RegRecurCopyTree(HKEY root, const CString& source, const CString& destination)
{
    UniqueKey from;
    LONG status = regview::OpenKey(root, source, KEY_ALL_ACCESS, from);
    if (status != ERROR_SUCCESS) {
        upgrade::Trace("RegRecurCopyTree() - End - RegOpenKeyEx failed(%lu). Return FALSE",
                       static_cast<unsigned long>(status));
        return status;
    }
    const CString target = Renamed(destination);
    UniqueKey to;
    status = regview::CreateKey(root, target, to);
    if (status != ERROR_SUCCESS) {
        upgrade::Trace("RegRecurCopyTree() - End - RegCreateKeyEx failed. Return FALSE");
        return status;
    }
    std::vector<CString> names;
    status = regview::SubKeyNames(from.get(), names);
    for (size_t i = 0; status == ERROR_SUCCESS && i < names.size(); ++i)
        status = RegRecurCopyTree(root, source + "\\" + names[i], target + "\\" + names[i]);
    return status == ERROR_SUCCESS ? CopyValues(from.get(), to.get()) : status;
}

LONG DeleteSourceKeys(HKEY root, const CString& source)
{
    upgrade::Trace("DeleteSourceKeys() - Start");
    const LONG status = regview::DeleteTree(root, source);
    upgrade::Trace("DeleteSourceKeys() - End");
    return status;
}

LONG CopyChecked(HKEY root, const char* source, const char* destination, bool deleteSource)
{
    if (!IsAcceptedRoot(root)) {
        upgrade::Trace("SetcnvrtCopyRegSubTree() - End - Invalid hRoot. SETCNVRT_FAILED");
        return ERROR_INVALID_PARAMETER;
    }
    LONG status = ERROR_INVALID_PARAMETER;
    if (!IsEmptyText(source) && !IsEmptyText(destination) && !IsInside(destination, source))
        status = RegRecurCopyTree(root, source, destination);
    if (status == ERROR_SUCCESS && deleteSource)
        status = DeleteSourceKeys(root, source);
    upgrade::Trace(status == ERROR_SUCCESS ? "SetcnvrtCopyRegSubTree() - End - SETCNVRT_SUCCESS"
                                           : "SetcnvrtCopyRegSubTree() - End - SETCNVRT_FAILED");
    return status;
}

}  // namespace

namespace upgrade {

LONG CopyRegSubTree(HKEY root, const char* source, const char* destination, bool deleteSource)
{
    return failure::ContainExceptions(static_cast<LONG>(ERROR_NOT_ENOUGH_MEMORY),
                                      [&] { return CopyChecked(root, source, destination, deleteSource); });
}

LONG CopyRegValue(HKEY root, const char* source, const char* destination, const char* name)
{
    if (!IsAcceptedRoot(root) || IsEmptyText(source) || IsEmptyText(destination) || !name)
        return ERROR_INVALID_PARAMETER;
    return failure::ContainExceptions(static_cast<LONG>(ERROR_NOT_ENOUGH_MEMORY), [&]() -> LONG {
        UniqueKey from;
        LONG status = regview::OpenKey(root, source, KEY_READ, from);
        if (status != ERROR_SUCCESS)
            return status;
        DWORD type = REG_NONE;
        DWORD size = 0;
        status = RegQueryValueExA(from.get(), name, nullptr, &type, nullptr, &size);
        if (status != ERROR_SUCCESS)
            return status;
        std::vector<BYTE> data(size + 1);
        status = RegQueryValueExA(from.get(), name, nullptr, &type, data.data(), &size);
        if (status != ERROR_SUCCESS)
            return status;
        UniqueKey to;
        status = regview::CreateKey(root, destination, to);
        return status == ERROR_SUCCESS ? RegSetValueExA(to.get(), name, 0, type, data.data(), size) : status;
    });
}

}  // namespace upgrade
