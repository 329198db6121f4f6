#include "RegistrySupport.h"

namespace testsupport {

namespace {

struct Key {
    HKEY handle = nullptr;
    ~Key()
    {
        if (handle)
            RegCloseKey(handle);
    }
};

bool Open(REGSAM view, const std::string& key, REGSAM access, Key& out)
{
    return RegOpenKeyExA(HKEY_LOCAL_MACHINE, key.c_str(), 0, access | view, &out.handle) == ERROR_SUCCESS;
}

bool Write(REGSAM view, const std::string& key, const char* value, DWORD type, const void* data, DWORD size)
{
    Key handle;
    return RegCreateKeyExA(HKEY_LOCAL_MACHINE, key.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS | view, nullptr,
                           &handle.handle, nullptr) == ERROR_SUCCESS
        && RegSetValueExA(handle.handle, value, 0, type, static_cast<const BYTE*>(data), size) == ERROR_SUCCESS;
}

void DeleteTree(REGSAM view, const std::string& key)
{
    {
        Key handle;
        if (!Open(view, key, KEY_ALL_ACCESS, handle))
            return;
        char name[256];
        DWORD length = sizeof(name);
        while (RegEnumKeyExA(handle.handle, 0, name, &length, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS) {
            DeleteTree(view, key + "\\" + name);
            length = sizeof(name);
        }
    }
    RegDeleteKeyExA(HKEY_LOCAL_MACHINE, key.c_str(), view, 0);
}

}  // namespace

bool RegKeyExists(REGSAM view, const std::string& key)
{
    Key handle;
    return Open(view, key, KEY_READ, handle);
}

std::string RegReadText(REGSAM view, const std::string& key, const char* value)
{
    Key handle;
    char text[1024];
    DWORD size = sizeof(text);
    DWORD type = 0;
    if (!Open(view, key, KEY_READ, handle)
        || RegQueryValueExA(handle.handle, value, nullptr, &type, reinterpret_cast<BYTE*>(text), &size) != ERROR_SUCCESS
        || type != REG_SZ || size == 0)
        return "<missing>";
    return std::string(text, size - 1);
}

DWORD RegReadNumber(REGSAM view, const std::string& key, const char* value, DWORD missing)
{
    Key handle;
    DWORD number = 0;
    DWORD size = sizeof(number);
    DWORD type = 0;
    if (!Open(view, key, KEY_READ, handle)
        || RegQueryValueExA(handle.handle, value, nullptr, &type, reinterpret_cast<BYTE*>(&number), &size) != ERROR_SUCCESS
        || type != REG_DWORD)
        return missing;
    return number;
}

bool RegWriteText(REGSAM view, const std::string& key, const char* value, const std::string& text)
{
    return Write(view, key, value, REG_SZ, text.c_str(), static_cast<DWORD>(text.size() + 1));
}

bool RegWriteBinary(REGSAM view, const std::string& key, const char* value, const void* data, DWORD size)
{
    return Write(view, key, value, REG_BINARY, data, size);
}

bool RegDeleteValueIn(REGSAM view, const std::string& key, const char* value)
{
    Key handle;
    return Open(view, key, KEY_SET_VALUE, handle) && RegDeleteValueA(handle.handle, value) == ERROR_SUCCESS;
}

ScopedRegistryKeys::ScopedRegistryKeys(std::vector<std::string> keys)
{
    for (const std::string& key : keys) {
        for (REGSAM view : {kView32, kView64}) {
            if (!RegKeyExists(view, key))
                m_created.push_back({view, key});
        }
    }
}

ScopedRegistryKeys::~ScopedRegistryKeys()
{
    for (const Entry& entry : m_created)
        DeleteTree(entry.view, entry.key);
}

}  // namespace testsupport
