// Registry helpers for the tests, under HKEY_LOCAL_MACHINE in an explicit view. The test
// programs are 32-bit like SetupCLS.dll: their SOFTWARE without a view flag is the 32-bit view.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace testsupport {

const REGSAM kView32 = KEY_WOW64_32KEY;
const REGSAM kView64 = KEY_WOW64_64KEY;

bool RegKeyExists(REGSAM view, const std::string& key);
// A REG_SZ as its text, a REG_DWORD in decimal, "-" for a missing value.
std::string RegRead(REGSAM view, const std::string& key, const char* value);
// Creates the key and writes a REG_SZ (with its NUL), or data of any type.
bool RegWrite(REGSAM view, const std::string& key, const char* value, const std::string& text);
bool RegWrite(REGSAM view, const std::string& key, const char* value, DWORD type, const void* data, DWORD size);
void RegDeleteValueIn(REGSAM view, const std::string& key, const char* value);

// Removes at scope exit the key trees, of those given, that were missing in a view when the
// object was made: what a test creates goes, what was there before stays.
class ScopedRegistryKeys {
public:
    explicit ScopedRegistryKeys(const std::vector<std::string>& keys);
    ~ScopedRegistryKeys();
    ScopedRegistryKeys(const ScopedRegistryKeys&) = delete;
    ScopedRegistryKeys& operator=(const ScopedRegistryKeys&) = delete;

private:
    std::vector<std::pair<REGSAM, std::string>> m_created;
};

// Puts back at scope exit the values of a key (under any root, natural view) as they were when
// the object was made: those that were there with their type and data, those that were missing
// deleted.
class ScopedValues {
public:
    ScopedValues(HKEY root, std::string key, std::vector<std::string> names);
    ~ScopedValues();
    ScopedValues(const ScopedValues&) = delete;
    ScopedValues& operator=(const ScopedValues&) = delete;

private:
    struct Saved {
        std::string name;
        bool present;
        DWORD type;
        std::string data;
    };
    HKEY m_root;
    std::string m_key;
    std::vector<Saved> m_saved;
};

// What the product's registrations write outside the product key, removed at scope exit when
// it was not there before: the shell extension's classes (both views) and its approval, and
// the system environment variables LNNAME, RNNAME and CATPATH. For tests that run Write.
struct ScopedProductRegistrations {
    ScopedProductRegistrations();
    ~ScopedProductRegistrations();
    ScopedRegistryKeys classes;
    ScopedValues environment;
};

}  // namespace testsupport
