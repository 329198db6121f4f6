#include "Snapshot.h"

#include "CService.h"
#include "Services.h"
#include "Handles.h"

#include <aclapi.h>
#include <sddl.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <string>
#include <vector>

namespace {

using Lines = std::vector<std::string>;

// ---- What is looked at: one row each. ----

// Where a key may land. The product is a 32-bit program: its keys below SOFTWARE and its classes
// belong in the 32-bit view, and a wrong view in either build would put them in the 64-bit one,
// so such roots are walked in both. SYSTEM has one view only.
enum Views { kBothViews, kOneView };

struct RegistryRoot {
    HKEY root;
    const char* rootName;
    const char* key;
    Views views;
};

// The product's keys, its maker's older key and the users' branches of both; the Add or Remove
// Programs list (whole: an entry left under another name shows too); the shell extension's
// approval, class and file type, and the keys of drives, folders and all files whose handler
// lists it joins (whole: a list or key created for the extension and left behind empty shows);
// the system environment (LNNAME, RNNAME, CATPATH); the Application log's event sources; the SNMP
// service's agents; the alert component's service key.
const RegistryRoot kRegistryRoots[] = {
    {HKEY_LOCAL_MACHINE, "HKLM", "SOFTWARE\\Brannoch", kBothViews},
    {HKEY_LOCAL_MACHINE, "HKLM", "SOFTWARE\\Tamberly", kBothViews},
    {HKEY_CURRENT_USER, "HKCU", "SOFTWARE\\Brannoch", kBothViews},
    {HKEY_CURRENT_USER, "HKCU", "SOFTWARE\\Tamberly", kBothViews},
    {HKEY_LOCAL_MACHINE, "HKLM", "Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall", kBothViews},
    {HKEY_LOCAL_MACHINE, "HKLM", "Software\\Microsoft\\Windows\\CurrentVersion\\Shell Extensions\\Approved",
     kBothViews},
    {HKEY_CLASSES_ROOT, "HKCR", "CLSID\\{5a1c7e42-93d0-4b6e-8f21-c03b9d4e7a15}", kBothViews},
    {HKEY_CLASSES_ROOT, "HKCR", ".asx", kBothViews},
    {HKEY_CLASSES_ROOT, "HKCR", "DrosvaneScriptFile", kBothViews},
    {HKEY_CLASSES_ROOT, "HKCR", "Drive", kBothViews},
    {HKEY_CLASSES_ROOT, "HKCR", "Directory", kBothViews},
    {HKEY_CLASSES_ROOT, "HKCR", "*", kBothViews},
    {HKEY_LOCAL_MACHINE, "HKLM", "SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Environment", kOneView},
    {HKEY_LOCAL_MACHINE, "HKLM", "SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application", kOneView},
    {HKEY_LOCAL_MACHINE, "HKLM", "SYSTEM\\CurrentControlSet\\Services\\SNMP", kOneView},
    {HKEY_LOCAL_MACHINE, "HKLM", "SYSTEM\\CurrentControlSet\\Services\\VexilateIT Server", kOneView},
};

// Services whose name starts with one of these: the product's engines and the alert component,
// and the services the project's own programs install.
const char* const kServicePrefixes[] = {"QDV", "SetupCLS", "Tamberly Alert"};

// The maker's folders, where the example answer file puts the product and the alert component; a
// 64-bit system's folder of 32-bit programs too.
const char* const kFolderRoots[] = {"C:\\Program Files\\Brannoch", "C:\\Program Files (x86)\\Brannoch"};

// The product's home folder as the example answer file names it: the firewall is asked about the
// service programs there, and its access list is read.
const char kHome[] = "C:\\Program Files\\Brannoch\\Drosvane";
const CService::ServiceType kFirewallPrograms[] = {CService::JobEngine, CService::MessageEngine};

// The product key, whose access list install sets (in the 32-bit view).
const char kProductKey[] = "SOFTWARE\\Brannoch\\BN Drosvane Backup";

// ---- Lines. ----

// Control characters as \xNN, so that a line stays one line and a tab stays a separator.
std::string Printable(const char* text, size_t length)
{
    std::string out;
    for (size_t index = 0; index < length; ++index) {
        const unsigned char c = static_cast<unsigned char>(text[index]);
        if (c < 0x20 || c == 0x7F) {
            char escaped[8];
            snprintf(escaped, sizeof(escaped), "\\x%02X", c);
            out += escaped;
        } else {
            out += static_cast<char>(c);
        }
    }
    return out;
}

std::string Printable(const std::string& text)
{
    return Printable(text.data(), text.size());
}

void Add(Lines& lines, const char* area, const std::string& path, const std::string& name, const char* type,
         const std::string& data)
{
    lines.push_back(std::string(area) + "\t" + Printable(path) + "\t" + Printable(name) + "\t" + type + "\t" +
                    Printable(data));
}

std::string Number(const char* format, unsigned long long value)
{
    char text[64];
    snprintf(text, sizeof(text), format, value);
    return text;
}

// ---- The registry. ----

const char* TypeName(DWORD type)
{
    static const char* const names[] = {"REG_NONE",     "REG_SZ",        "REG_EXPAND_SZ",
                                        "REG_BINARY",   "REG_DWORD",     "REG_DWORD_BIG_ENDIAN",
                                        "REG_LINK",     "REG_MULTI_SZ",  "REG_RESOURCE_LIST",
                                        "REG_FULL_RESOURCE_DESCRIPTOR", "REG_RESOURCE_REQUIREMENTS_LIST",
                                        "REG_QWORD"};
    return type < sizeof(names) / sizeof(names[0]) ? names[type] : "REG_UNKNOWN";
}

std::string Hex(const BYTE* data, DWORD size)
{
    std::string out;
    for (DWORD index = 0; index < size; ++index)
        out += Number(index ? " %02X" : "%02X", data[index]);
    return out;
}

// Texts without their closing NUL (a multi-string's inner ones stay, as \x00); numbers in hex and
// decimal; everything else in hex.
std::string ValueData(DWORD type, const BYTE* data, DWORD size)
{
    if (type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ) {
        while (size > 0 && data[size - 1] == 0)
            --size;
        return std::string(reinterpret_cast<const char*>(data), size);
    }
    if (type == REG_DWORD && size == sizeof(DWORD)) {
        DWORD number;
        memcpy(&number, data, sizeof(number));
        return Number("0x%08llX", number) + Number(" (%llu)", number);
    }
    if (type == REG_QWORD && size == sizeof(ULONGLONG)) {
        ULONGLONG number;
        memcpy(&number, data, sizeof(number));
        return Number("0x%016llX", number);
    }
    return Hex(data, size);
}

// The key's own line, a line for each value, then each sub key the same way.
void WalkKey(HKEY key, REGSAM view, const std::string& path, Lines& lines)
{
    Add(lines, "registry", path, "", "key", "");
    DWORD maxSubKey = 0, maxName = 0, maxData = 0;
    if (RegQueryInfoKeyA(key, nullptr, nullptr, nullptr, nullptr, &maxSubKey, nullptr, nullptr, &maxName, &maxData,
                         nullptr, nullptr) != ERROR_SUCCESS) {
        Add(lines, "registry", path, "", "unreadable", "");
        return;
    }
    std::vector<char> name(maxName + 2);
    std::vector<BYTE> data(maxData + 1);
    for (DWORD index = 0;; ++index) {
        DWORD nameSize = static_cast<DWORD>(name.size());
        DWORD dataSize = static_cast<DWORD>(data.size());
        DWORD type = 0;
        if (RegEnumValueA(key, index, name.data(), &nameSize, nullptr, &type, data.data(), &dataSize) != ERROR_SUCCESS)
            break;
        Add(lines, "registry", path, nameSize ? std::string(name.data(), nameSize) : "(default)", TypeName(type),
            ValueData(type, data.data(), dataSize));
    }
    std::vector<std::string> subKeys;
    std::vector<char> subKey(maxSubKey + 2);
    for (DWORD index = 0;; ++index) {
        DWORD size = static_cast<DWORD>(subKey.size());
        if (RegEnumKeyExA(key, index, subKey.data(), &size, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
            break;
        subKeys.emplace_back(subKey.data(), size);
    }
    for (const std::string& sub : subKeys) {
        UniqueKey child;
        if (child.kept(RegOpenKeyExA(key, sub.c_str(), 0, KEY_READ | view, child.put())) == ERROR_SUCCESS)
            WalkKey(child.get(), view, path + "\\" + sub, lines);
        else
            Add(lines, "registry", path + "\\" + sub, "", "unreadable", "");
    }
}

struct View {
    REGSAM flag;
    const char* suffix;  // after the root's name in the line
};
const View kBoth[] = {{KEY_WOW64_32KEY, "32"}, {KEY_WOW64_64KEY, "64"}};
const View kOnly[] = {{0, ""}};

void WalkRegistry(Lines& lines)
{
    for (const RegistryRoot& row : kRegistryRoots) {
        const bool both = row.views == kBothViews;
        for (const View* view = both ? kBoth : kOnly; view != (both ? std::end(kBoth) : std::end(kOnly)); ++view) {
            const std::string path = std::string(row.rootName) + view->suffix + "\\" + row.key;
            UniqueKey key;
            if (key.kept(RegOpenKeyExA(row.root, row.key, 0, KEY_READ | view->flag, key.put())) == ERROR_SUCCESS)
                WalkKey(key.get(), view->flag, path, lines);
            else
                Add(lines, "registry", path, "", "absent", "");
        }
    }
}

// ---- Access lists. ----

std::string AccessList(PSECURITY_DESCRIPTOR descriptor)
{
    UniqueLocalPtr<LPSTR> text;
    if (!ConvertSecurityDescriptorToStringSecurityDescriptorA(descriptor, SDDL_REVISION_1, DACL_SECURITY_INFORMATION,
                                                              text.put(), nullptr))
        return Number("(cannot be written: error %llu)", GetLastError());
    return text.get();
}

void AddKeyAccess(Lines& lines)
{
    const std::string path = std::string("HKLM32\\") + kProductKey;
    UniqueKey key;
    PACL list = nullptr;
    UniqueLocalPtr<PSECURITY_DESCRIPTOR> descriptor;
    LONG status = key.kept(RegOpenKeyExA(HKEY_LOCAL_MACHINE, kProductKey, 0, READ_CONTROL | KEY_WOW64_32KEY, key.put()));
    if (status == ERROR_FILE_NOT_FOUND) {
        Add(lines, "access", path, "", "absent", "");
        return;
    }
    if (status == ERROR_SUCCESS)
        status = static_cast<LONG>(descriptor.kept(GetSecurityInfo(key.get(), SE_REGISTRY_KEY,
                                                                   DACL_SECURITY_INFORMATION, nullptr, nullptr,
                                                                   &list, nullptr, descriptor.put())));
    Add(lines, "access", path, "", "DACL",
        status == ERROR_SUCCESS ? AccessList(descriptor.get()) : Number("(cannot be read: error %llu)", status));
}

void AddFolderAccess(Lines& lines)
{
    if (GetFileAttributesA(kHome) == INVALID_FILE_ATTRIBUTES) {
        Add(lines, "access", kHome, "", "absent", "");
        return;
    }
    PACL list = nullptr;
    UniqueLocalPtr<PSECURITY_DESCRIPTOR> descriptor;
    const DWORD status = descriptor.kept(GetNamedSecurityInfoA(kHome, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION,
                                                               nullptr, nullptr, &list, nullptr, descriptor.put()));
    Add(lines, "access", kHome, "", "DACL",
        status == ERROR_SUCCESS ? AccessList(descriptor.get()) : Number("(cannot be read: error %llu)", status));
}

// ---- Services. ----

bool IsProductService(const char* name)
{
    for (const char* prefix : kServicePrefixes)
        if (_strnicmp(name, prefix, strlen(prefix)) == 0)
            return true;
    return false;
}

void AddService(Lines& lines, SC_HANDLE manager, const ENUM_SERVICE_STATUS_PROCESSA& entry)
{
    const std::string name = entry.lpServiceName;
    Add(lines, "service", name, "state", "-", StateName(entry.ServiceStatusProcess.dwCurrentState));
    UniqueService service(OpenServiceA(manager, entry.lpServiceName, SERVICE_QUERY_CONFIG | READ_CONTROL));
    DWORD needed = 0;
    if (service)
        QueryServiceConfigA(service.get(), nullptr, 0, &needed);
    std::vector<DWORD> buffer(needed / sizeof(DWORD) + 1);
    auto config = reinterpret_cast<QUERY_SERVICE_CONFIGA*>(buffer.data());
    if (!service || !QueryServiceConfigA(service.get(), config, static_cast<DWORD>(buffer.size() * sizeof(DWORD)),
                                         &needed)) {
        Add(lines, "service", name, "config", "-", Number("(cannot be read: error %llu)", GetLastError()));
        return;
    }
    std::string dependencies;
    for (const char* dependency = config->lpDependencies; dependency && *dependency;
         dependency += strlen(dependency) + 1)
        dependencies += (dependencies.empty() ? "" : ", ") + std::string(dependency);
    Add(lines, "service", name, "display name", "-", config->lpDisplayName ? config->lpDisplayName : "");
    Add(lines, "service", name, "start", "-", StartTypeName(config->dwStartType));
    Add(lines, "service", name, "program", "-", config->lpBinaryPathName ? config->lpBinaryPathName : "");
    Add(lines, "service", name, "account", "-", config->lpServiceStartName ? config->lpServiceStartName : "");
    Add(lines, "service", name, "depends on", "-", dependencies);

    // The service's access list, which install sets.
    needed = 0;
    QueryServiceObjectSecurity(service.get(), DACL_SECURITY_INFORMATION, nullptr, 0, &needed);
    std::vector<DWORD> security(needed / sizeof(DWORD) + 1);
    const bool read = QueryServiceObjectSecurity(service.get(), DACL_SECURITY_INFORMATION, security.data(),
                                                 static_cast<DWORD>(security.size() * sizeof(DWORD)), &needed);
    Add(lines, "access", "service " + name, "", "DACL",
        read ? AccessList(security.data()) : Number("(cannot be read: error %llu)", GetLastError()));
}

void AddServices(Lines& lines)
{
    UniqueService manager(OpenSCManagerA(nullptr, nullptr, SC_MANAGER_CONNECT | SC_MANAGER_ENUMERATE_SERVICE));
    if (!manager) {
        Add(lines, "service", "", "", "-", Number("(the service manager cannot be opened: error %llu)", GetLastError()));
        return;
    }
    DWORD resume = 0;
    for (;;) {
        DWORD needed = 0, count = 0;
        std::vector<DWORD> buffer(64 * 1024 / sizeof(DWORD));
        const BOOL done = EnumServicesStatusExA(manager.get(), SC_ENUM_PROCESS_INFO, SERVICE_WIN32, SERVICE_STATE_ALL,
                                                reinterpret_cast<BYTE*>(buffer.data()),
                                                static_cast<DWORD>(buffer.size() * sizeof(DWORD)), &needed, &count,
                                                &resume, nullptr);
        if (!done && GetLastError() != ERROR_MORE_DATA) {
            Add(lines, "service", "", "", "-", Number("(the services cannot be listed: error %llu)", GetLastError()));
            return;
        }
        const auto* entries = reinterpret_cast<const ENUM_SERVICE_STATUS_PROCESSA*>(buffer.data());
        for (DWORD index = 0; index < count; ++index)
            if (IsProductService(entries[index].lpServiceName))
                AddService(lines, manager.get(), entries[index]);
        if (done || count == 0)
            return;
    }
}

// ---- Folders. ----

// Each file with its size and each folder below path; times and attributes are left out.
void WalkFolder(const std::string& path, Lines& lines)
{
    Add(lines, "file", path, "", "folder", "");
    WIN32_FIND_DATAA found;
    UniqueFind search(FindFirstFileA((path + "\\*").c_str(), &found));
    if (!search)
        return;
    std::vector<std::string> folders;
    do {
        const std::string name = found.cFileName;
        if (name == "." || name == "..")
            continue;
        if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
            folders.push_back(path + "\\" + name);
        else
            Add(lines, "file", path, name, "file",
                Number("%llu", (static_cast<ULONGLONG>(found.nFileSizeHigh) << 32) | found.nFileSizeLow));
    } while (FindNextFileA(search.get(), &found));
    for (const std::string& folder : folders)
        WalkFolder(folder, lines);
}

void WalkFolders(Lines& lines)
{
    for (const char* root : kFolderRoots) {
        const DWORD attributes = GetFileAttributesA(root);
        if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY))
            WalkFolder(root, lines);
        else
            Add(lines, "file", root, "", "absent", "");
    }
}

// ---- The firewall. ----

void AddFirewall(Lines& lines)
{
    Add(lines, "firewall", "", "", "started", CService::IsWindowsFirewallStarted() ? "yes" : "no");
    for (CService::ServiceType type : kFirewallPrograms) {
        const std::string program = std::string(kHome) + "\\" + CService(type).BinaryFile();
        char message[512] = {};
        const int allowed = CService::IsWindowsFirewallAdded(program.c_str(), message, sizeof(message));
        Add(lines, "firewall", program, "", "answer",
            std::string(allowed ? "allowed" : "not allowed") + (message[0] ? std::string(" (") + message + ")" : ""));
    }
}

}  // namespace

int WriteSnapshot(const char* file)
{
    if (!file || !file[0])
        return ERROR_INVALID_PARAMETER;
    Lines lines;
    WalkRegistry(lines);
    AddKeyAccess(lines);
    AddServices(lines);
    WalkFolders(lines);
    AddFolderAccess(lines);
    AddFirewall(lines);
    std::sort(lines.begin(), lines.end());

    std::string text;
    for (const std::string& line : lines)
        text += line + "\n";
    UniqueFile out(CreateFileA(file, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!out)
        return static_cast<int>(GetLastError());
    DWORD written = 0;
    if (!WriteFile(out.get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr) ||
        written != text.size())
        return static_cast<int>(GetLastError() ? GetLastError() : ERROR_WRITE_FAULT);
    return 0;
}
