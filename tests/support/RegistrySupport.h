// Registry helpers for the tests: explicit 32-bit and 64-bit views, and key trees removed at
// scope exit. The test programs are 32-bit, like SetupCLS.dll: without a view flag their
// HKEY_LOCAL_MACHINE\SOFTWARE is the 32-bit view (SOFTWARE\Wow6432Node of the native one).
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace testsupport {

const REGSAM kView32 = KEY_WOW64_32KEY;
const REGSAM kView64 = KEY_WOW64_64KEY;

// Under HKEY_LOCAL_MACHINE in the given view. Text reads answer "<missing>" for no value.
bool RegKeyExists(REGSAM view, const std::string& key);
std::string RegReadText(REGSAM view, const std::string& key, const char* value);
DWORD RegReadNumber(REGSAM view, const std::string& key, const char* value, DWORD missing = 0xDEADBEEF);
bool RegWriteText(REGSAM view, const std::string& key, const char* value, const std::string& text);
bool RegWriteBinary(REGSAM view, const std::string& key, const char* value, const void* data, DWORD size);
bool RegDeleteValueIn(REGSAM view, const std::string& key, const char* value);

// Remembers which of the given HKEY_LOCAL_MACHINE keys are missing in each view, and removes
// those trees at scope exit: what a test creates goes, what was there before stays.
class ScopedRegistryKeys {
public:
    explicit ScopedRegistryKeys(std::vector<std::string> keys);
    ~ScopedRegistryKeys();
    ScopedRegistryKeys(const ScopedRegistryKeys&) = delete;
    ScopedRegistryKeys& operator=(const ScopedRegistryKeys&) = delete;

private:
    struct Entry {
        REGSAM view;
        std::string key;
    };
    std::vector<Entry> m_created;
};

}  // namespace testsupport
