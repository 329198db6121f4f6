#include "RegistrySupport.h"

#include "Handles.h"

namespace testsupport {

namespace {

using Key = UniqueKey;

Key Open(REGSAM view, const std::string& key, REGSAM access, bool create = false)
{
    Key handle;
    handle.kept(create ? RegCreateKeyExA(HKEY_LOCAL_MACHINE, key.c_str(), 0, nullptr, 0, access | view, nullptr,
                                         handle.put(), nullptr)
                       : RegOpenKeyExA(HKEY_LOCAL_MACHINE, key.c_str(), 0, access | view, handle.put()));
    return handle;
}

}  // namespace

bool RegKeyExists(REGSAM view, const std::string& key)
{
    return static_cast<bool>(Open(view, key, KEY_READ));
}

std::string RegRead(REGSAM view, const std::string& key, const char* value)
{
    char data[1024];
    DWORD size = sizeof(data), type = 0;
    Key handle = Open(view, key, KEY_READ);
    if (!handle || RegQueryValueExA(handle.get(), value, nullptr, &type, reinterpret_cast<BYTE*>(data), &size))
        return "-";
    if (type == REG_DWORD)
        return std::to_string(*reinterpret_cast<DWORD*>(data));
    return type == REG_SZ && size > 0 ? std::string(data, size - 1) : "<not a text>";
}

bool RegWrite(REGSAM view, const std::string& key, const char* value, DWORD type, const void* data, DWORD size)
{
    Key handle = Open(view, key, KEY_ALL_ACCESS, true);
    return handle && RegSetValueExA(handle.get(), value, 0, type, static_cast<const BYTE*>(data), size) == ERROR_SUCCESS;
}

bool RegWrite(REGSAM view, const std::string& key, const char* value, const std::string& text)
{
    return RegWrite(view, key, value, REG_SZ, text.c_str(), static_cast<DWORD>(text.size() + 1));
}

void RegDeleteValueIn(REGSAM view, const std::string& key, const char* value)
{
    if (Key handle = Open(view, key, KEY_SET_VALUE))
        RegDeleteValueA(handle.get(), value);
}

ScopedRegistryKeys::ScopedRegistryKeys(const std::vector<std::string>& keys)
{
    for (const std::string& key : keys)
        for (REGSAM view : {kView32, kView64})
            if (!RegKeyExists(view, key))
                m_created.emplace_back(view, key);
}

ScopedRegistryKeys::~ScopedRegistryKeys()
{
    for (const auto& created : m_created) {
        if (Key handle = Open(created.first, created.second, KEY_ALL_ACCESS))
            RegDeleteTreeA(handle.get(), nullptr);
        RegDeleteKeyExA(HKEY_LOCAL_MACHINE, created.second.c_str(), created.first, 0);
    }
}

}  // namespace testsupport
