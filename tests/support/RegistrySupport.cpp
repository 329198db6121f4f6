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

ScopedValues::ScopedValues(HKEY root, std::string key, std::vector<std::string> names)
    : m_root(root), m_key(std::move(key))
{
    for (const std::string& name : names) {
        Saved saved{name, false, REG_NONE, std::string()};
        DWORD size = 0;
        if (RegGetValueA(m_root, m_key.c_str(), name.c_str(), RRF_RT_ANY | RRF_NOEXPAND, &saved.type, nullptr, &size) ==
            ERROR_SUCCESS) {
            saved.data.resize(size);
            saved.present = RegGetValueA(m_root, m_key.c_str(), name.c_str(), RRF_RT_ANY | RRF_NOEXPAND, &saved.type,
                                         size ? &saved.data[0] : nullptr, &size) == ERROR_SUCCESS;
            saved.data.resize(size);
        }
        m_saved.push_back(saved);
    }
}

ScopedValues::~ScopedValues()
{
    for (const Saved& saved : m_saved) {
        if (!saved.present) {
            RegDeleteKeyValueA(m_root, m_key.c_str(), saved.name.c_str());
            continue;
        }
        RegSetKeyValueA(m_root, m_key.c_str(), saved.name.c_str(), saved.type, saved.data.data(),
                        static_cast<DWORD>(saved.data.size()));
    }
}

namespace {

#define SHELL_EXTENSION_ID "{5a1c7e42-93d0-4b6e-8f21-c03b9d4e7a15}"
const char kClasses[] = "SOFTWARE\\Classes\\";
const char kApproved[] = "Software\\Microsoft\\Windows\\CurrentVersion\\Shell Extensions\\Approved";

std::vector<std::string> ShellExtensionClasses()
{
    std::vector<std::string> keys;
    for (const char* key : {"CLSID\\" SHELL_EXTENSION_ID, "Drive\\shellex\\PropertySheetHandlers\\" SHELL_EXTENSION_ID,
                            "Drive\\shellex\\ContextMenuHandlers\\" SHELL_EXTENSION_ID,
                            "Directory\\shellex\\ContextMenuHandlers\\" SHELL_EXTENSION_ID,
                            "*\\shellex\\ContextMenuHandlers\\" SHELL_EXTENSION_ID, ".asx", "DrosvaneScriptFile"})
        keys.push_back(kClasses + std::string(key));
    return keys;
}

}  // namespace

ScopedProductRegistrations::ScopedProductRegistrations()
    : classes(ShellExtensionClasses()),
      environment(HKEY_LOCAL_MACHINE, "SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Environment",
                  {"LNNAME", "RNNAME", "CATPATH"})
{
}

ScopedProductRegistrations::~ScopedProductRegistrations()
{
    for (REGSAM view : {kView32, kView64})
        RegDeleteValueIn(view, kApproved, SHELL_EXTENSION_ID);
}

}  // namespace testsupport
