// The upgrade's registry tree move: the backup key with everything below it moved into the
// product key (copied, then deleted), HKEY_LOCAL_MACHINE in the product's 32-bit view.
#include "Bench.h"

#include "Handles.h"
#include "SetupCLS.h"

#include <cstdio>
#include <vector>

namespace {

const REGSAM kView = KEY_WOW64_32KEY;
const char kVendorKey[] = "SOFTWARE\\Brannoch";
const char kProductKey[] = "SOFTWARE\\Brannoch\\BN Drosvane Backup";
const char kBackupKey[] = "SOFTWARE\\Brannoch\\BN Drosvane Backup(BACKUP)";

bool Exists(const char* path)
{
    UniqueKey key;
    return key.kept(RegOpenKeyExA(HKEY_LOCAL_MACHINE, path, 0, KEY_READ | kView, key.put())) == ERROR_SUCCESS;
}

UniqueKey Create(HKEY parent, const std::string& name)
{
    UniqueKey key;
    key.kept(RegCreateKeyExA(parent, name.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS | kView, nullptr, key.put(), nullptr));
    return key;
}

// The backup key: 10 x 10 keys, the count leaf keys below the 100 of the second level, each
// leaf with a text and a number value.
void MakeBackup(int count)
{
    UniqueKey root = Create(HKEY_LOCAL_MACHINE, kBackupKey);
    for (int branch = 0; branch < 100; ++branch) {
        UniqueKey level1 = Create(root.get(), "key" + std::to_string(branch / 10));
        UniqueKey level2 = Create(level1.get(), "sub" + std::to_string(branch % 10));
        for (int leaf = branch; leaf < count; leaf += 100) {
            UniqueKey key = Create(level2.get(), "leaf" + std::to_string(leaf));
            const std::string text = "value " + std::to_string(leaf);
            const DWORD number = static_cast<DWORD>(leaf);
            RegSetValueExA(key.get(), "Name", 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                           static_cast<DWORD>(text.size() + 1));
            RegSetValueExA(key.get(), "Number", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof(number));
        }
    }
}

int CountKeys(HKEY key)
{
    int count = 0;
    char name[256];
    for (DWORD index = 0;; ++index) {
        DWORD length = sizeof(name);
        if (RegEnumKeyExA(key, index, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
            return count;
        UniqueKey child;
        if (child.kept(RegOpenKeyExA(key, name, 0, KEY_READ | kView, child.put())) == ERROR_SUCCESS)
            count += 1 + CountKeys(child.get());
    }
}

// The bare loop: each key opened once relative to its parent, its sub keys and values read by
// one enumeration each.
bool CopyTree(HKEY from, HKEY to)
{
    char name[256];
    std::vector<BYTE> data(4096);
    for (DWORD index = 0;; ++index) {
        DWORD length = sizeof(name);
        DWORD size = static_cast<DWORD>(data.size());
        DWORD type = 0;
        LONG status = RegEnumValueA(from, index, name, &length, nullptr, &type, data.data(), &size);
        if (status == ERROR_NO_MORE_ITEMS)
            break;
        if (status == ERROR_MORE_DATA) {  // a value larger than the buffer: read again
            data.resize(size);
            --index;
            continue;
        }
        if (status != ERROR_SUCCESS || RegSetValueExA(to, name, 0, type, data.data(), size) != ERROR_SUCCESS)
            return false;
    }
    for (DWORD index = 0;; ++index) {
        DWORD length = sizeof(name);
        LONG status = RegEnumKeyExA(from, index, name, &length, nullptr, nullptr, nullptr, nullptr);
        if (status == ERROR_NO_MORE_ITEMS)
            return true;
        UniqueKey source;
        if (status != ERROR_SUCCESS ||
            source.kept(RegOpenKeyExA(from, name, 0, KEY_READ | kView, source.put())) != ERROR_SUCCESS)
            return false;
        UniqueKey target = Create(to, name);
        if (!target || !CopyTree(source.get(), target.get()))
            return false;
    }
}

// The key name below parent with everything below it: the first sub key is taken until none is
// left, then the key itself.
bool DeleteTree(HKEY parent, const char* name)
{
    UniqueKey key;
    if (key.kept(RegOpenKeyExA(parent, name, 0, KEY_ALL_ACCESS | kView, key.put())) != ERROR_SUCCESS)
        return false;
    char child[256];
    for (;;) {
        DWORD length = sizeof(child);
        if (RegEnumKeyExA(key.get(), 0, child, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
            break;
        if (!DeleteTree(key.get(), child))
            return false;
    }
    key.reset();
    return RegDeleteKeyExA(parent, name, kView, 0) == ERROR_SUCCESS;
}

bool FloorMove()
{
    UniqueKey from;
    if (from.kept(RegOpenKeyExA(HKEY_LOCAL_MACHINE, kBackupKey, 0, KEY_READ | kView, from.put())) != ERROR_SUCCESS)
        return false;
    UniqueKey to = Create(HKEY_LOCAL_MACHINE, kProductKey);
    if (!to || !CopyTree(from.get(), to.get()))
        return false;
    from.reset();
    return DeleteTree(HKEY_LOCAL_MACHINE, kBackupKey);
}

void Remove(const char* path)
{
    if (Exists(path))
        DeleteTree(HKEY_LOCAL_MACHINE, path);
}

}  // namespace

bool BenchRegistry(const Options& options, std::vector<Row>& rows)
{
    if (Exists(kProductKey) || Exists(kBackupKey)) {
        std::fprintf(stderr, "setupcls_bench: HKLM\\%s or its backup key exists already; the registry move is not "
                             "measured, so as not to touch a product's keys\n", kProductKey);
        return false;
    }
    const bool vendorWasThere = Exists(kVendorKey);
    const std::string reg = "\"" + SystemFolder() + "\\reg.exe\"";
    const std::string backup = std::string("\"HKLM\\") + kBackupKey + "\"";
    const std::string product = std::string("\"HKLM\\") + kProductKey + "\"";
    bool ok = true;
    for (int size : options.sizes) {
        const auto prepare = [&] { Remove(kProductKey); Remove(kBackupKey); MakeBackup(size); };
        const auto moved = [&] {
            UniqueKey key;
            if (Exists(kBackupKey) ||
                key.kept(RegOpenKeyExA(HKEY_LOCAL_MACHINE, kProductKey, 0, KEY_READ | kView, key.put())) != ERROR_SUCCESS)
                return false;
            return CountKeys(key.get()) == 110 + size;
        };
        Row row{"registry tree move", size, {}, {}, {}};
        ok = Measure(row, options.runs,
                     {prepare, [] { DvSetRSOldProdRegKey(); return true; }, moved},
                     {prepare, [&] { return RunTool(reg + " copy " + backup + " " + product + " /s /f /reg:32") &&
                                            RunTool(reg + " delete " + backup + " /f /reg:32"); }, moved},
                     {prepare, [] { return FloorMove(); }, moved});
        rows.push_back(row);
        if (!ok)
            break;
    }
    Remove(kProductKey);
    Remove(kBackupKey);
    if (!vendorWasThere)
        Remove(kVendorKey);
    return ok;
}
