// The registrations beside the product key: the alert notification component's own key, event
// sources of the Application log, the SNMP service's extension agents, and the system
// environment variables. Each is a static operation on the local HKEY_LOCAL_MACHINE; the object
// forms take their values from the settings and write only when the access mode allows it.
//
// The alert key lives below SOFTWARE and is reached in the product's 32-bit view, like the
// product key. The event log, the SNMP service's parameters and the Session Manager's
// environment live below SYSTEM, which has one view only: those keys are opened directly.
#include "CTambRegistry.h"

#include "CComputer.h"
#include "CService.h"
#include "Failure.h"
#include "RegistryView.h"
#include "TextRules.h"
#include "RegistryAccess.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <vector>

// ---- Names of this area. ----
const char* const CTambRegistry::m_sALERT = "ALERT";
const char* const CTambRegistry::m_sAlert = "Alert Notification Server";
const char* const CTambRegistry::m_sCurrentBuild = "CurrentBuild";
const char* const CTambRegistry::m_sInstallDate = "InstallDate";
const char* const CTambRegistry::m_sControl = "CONTROL";
const char* const CTambRegistry::m_sEventLog = "EVENTLOG";
const char* const CTambRegistry::m_sRegisteredCompany = "Company";
const char* const CTambRegistry::m_sRegisteredLocation = "Location";
const char* const CTambRegistry::m_sEventMessageFile = "EventMessageFile";
const char* const CTambRegistry::m_sTypesSupported = "TypesSupported";
const char* const CTambRegistry::m_sVexilanKey = "SYSTEM\\CurrentControlSet\\Services\\VexilateIT Server";
const char* const CTambRegistry::m_sEventLogKey = "SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application";
const char* const CTambRegistry::m_sSNMPExtensionAgentsKey =
    "SYSTEM\\CurrentControlSet\\Services\\SNMP\\Parameters\\ExtensionAgents";
const char* const CTambRegistry::m_sEnvironmentKey =
    "SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Environment";

using namespace registry;

namespace {

// The alert program, in the alert folder; its version resource gives the build recorded.
const char kAlertProgram[] = "ALERT.EXE";
// Event types the alert program reports: error, warning and information.
const DWORD kAlertEventTypes = EVENTLOG_ERROR_TYPE | EVENTLOG_WARNING_TYPE | EVENTLOG_INFORMATION_TYPE;
// The product's SNMP agent library, in the product folder.
const char kSNMPAgentLibrary[] = "tasnmp.dll";
// The service whose extension agents are listed, stopped while one is removed.
const char kSNMPService[] = "SNMP";
// The current user's environment, below HKEY_CURRENT_USER.
const char kUserEnvironmentKey[] = "Environment";
// The product's logical name and the variables that carry it and the machine's name.
const char kLogicalNameVariable[] = "LNNAME";
const char kLogicalName[] = "DROSVANE";
const char kRemoteNameVariable[] = "RNNAME";
const char kCatalogPathVariable[] = "CATPATH";
// The Windows folder is read into a buffer of this many characters.
const UINT kWindowsFolderSize = MAX_PATH + 1;

CString AlertPathKey()
{
    return Join(CTambRegistry::m_sAlertKey, CTambRegistry::m_sPathSubKey);
}

CString AlertUserKey()
{
    return Join(CTambRegistry::m_sAlertKey, CTambRegistry::m_sUserSubKey);
}

CString SNMPKeyOf(const char* base)
{
    return Join(base, CTambRegistry::m_sSNMPSubKey);
}

// ---- Keys below SYSTEM, which no view redirects. ----

// Through the registry view's checks: a path the registry cannot take as named (an event source
// ending in a lone lead byte) is refused before a key is made that nothing could remove.
LONG CreateSystemKey(const char* path, UniqueKey& key)
{
    return regview::CreateKey(HKEY_LOCAL_MACHINE, path, key, regview::kOnlyView);
}

LONG OpenSystemKey(const char* path, REGSAM access, UniqueKey& key)
{
    return key.kept(RegOpenKeyExA(HKEY_LOCAL_MACHINE, path, 0, access, key.put()));
}

LONG SetText(HKEY key, const char* value, const char* text)
{
    return RegSetValueExA(key, value, 0, REG_SZ, reinterpret_cast<const BYTE*>(text),
                          static_cast<DWORD>(strlen(text) + 1));
}

LONG SetNumber(HKEY key, const char* value, DWORD number)
{
    return RegSetValueExA(key, value, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof(number));
}

// ---- The alert program's build. ----

// The build of a program as its version resource states it: the third field of the fixed file
// version (major.minor.build.revision, the build in the high word of the least significant
// double word). The product stamps every module this way, and the alert build read back from the
// registry is a 16-bit number, which that field is. The file's own resource is read; the
// program is not loaded. False when the file has no valid version resource.
bool ReadProgramBuild(const CString& path, unsigned& build)
{
    DWORD ignored = 0;
    const DWORD size = GetFileVersionInfoSizeA(path, &ignored);
    if (size == 0)
        return false;
    std::vector<char> data(size);
    VS_FIXEDFILEINFO* fixed = nullptr;
    UINT length = 0;
    if (!GetFileVersionInfoA(path, 0, size, data.data())
        || !VerQueryValueA(data.data(), "\\", reinterpret_cast<void**>(&fixed), &length) || !fixed
        || length < sizeof(VS_FIXEDFILEINFO) || fixed->dwSignature != VS_FFI_SIGNATURE)
        return false;
    build = HIWORD(fixed->dwFileVersionLS);
    return true;
}

// The alert program's build as text in the given format ("%x" or "%u"); false, with nothing
// formatted, when the program is missing from the alert folder or carries no version.
bool AlertBuildText(const CSettings& settings, const char* format, CString& text)
{
    const CString program = CString(settings.AlertPath()) + kAlertProgram;
    const DWORD attributes = GetFileAttributesA(program);
    unsigned build = 0;
    if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_DIRECTORY)
        || !ReadProgramBuild(program, build)) {
        SetLastError(attributes == INVALID_FILE_ATTRIBUTES ? ERROR_FILE_NOT_FOUND : ERROR_RESOURCE_TYPE_NOT_FOUND);
        return false;
    }
    text.Format(format, build);
    return true;
}

// ---- The SNMP service's extension agents. ----

// One value of the ExtensionAgents key. Name and data are read into buffers of 256 characters,
// zeroed before each call, with one byte more that stays NUL so that a text stored without its
// terminator still ends.
struct AgentEntry {
    char name[257];
    char data[257];
    bool dataWhole;  // the data fitted the buffer: only then can it be compared
};

// Reads the value at index. A value whose data does not fit is read again for its name alone
// (its number still counts); a name too long for the buffer is left empty (it is no number and
// no single-digit slot name). ERROR_NO_MORE_ITEMS past the last value.
LONG ReadAgentEntry(HKEY key, DWORD index, AgentEntry& entry)
{
    memset(&entry, 0, sizeof(entry));
    DWORD nameLength = sizeof(entry.name) - 1;
    DWORD dataLength = sizeof(entry.data) - 1;
    LONG status = RegEnumValueA(key, index, entry.name, &nameLength, nullptr, nullptr,
                                reinterpret_cast<BYTE*>(entry.data), &dataLength);
    entry.dataWhole = status == ERROR_SUCCESS;
    if (status != ERROR_MORE_DATA)
        return status;
    memset(&entry, 0, sizeof(entry));
    nameLength = sizeof(entry.name) - 1;
    status = RegEnumValueA(key, index, entry.name, &nameLength, nullptr, nullptr, nullptr, nullptr);
    if (status == ERROR_MORE_DATA) {
        entry.name[0] = '\0';
        status = ERROR_SUCCESS;
    }
    return status;
}

// An agent key is a key path that fits the data buffer with its NUL: a longer one could never be
// recognised as listed, and would be listed again by every registration.
bool IsAgentKeyText(const char* agentKey)
{
    return !IsEmptyText(agentKey) && strlen(agentKey) < sizeof(AgentEntry::data) - 1;
}

bool IsAgent(const AgentEntry& entry, const char* agentKey)
{
    return entry.dataWhole && strcmp(entry.data, agentKey) == 0;
}

// The number a value name stands for, by decimal conversion; a name that does not begin with a
// digit counts as 0.
unsigned long NumberOfName(const char* name)
{
    return name[0] >= '0' && name[0] <= '9' ? strtoul(name, nullptr, 10) : 0;
}

// Value names of the agent to delete, each in a slot of two characters: the name's one
// character and its terminator. Eight slots, sixteen bytes, zeroed first.
const int kAgentSlots = 8;
const int kAgentSlotSize = 2;
typedef char AgentSlots[kAgentSlots][kAgentSlotSize];

}  // namespace

// ---- The alert component: static forms. ----

int CTambRegistry::SetAlertCurrentBuild(const char* build)
{
    return failure::ResultOf(WriteLocalText(m_sAlertKey, m_sCurrentBuild, build));
}

int CTambRegistry::SetAlertCurrentBuildNumber(const char* build)
{
    return failure::ResultOf(WriteLocalText(m_sAlertKey, m_sCurrentBuildNumber, build));
}

int CTambRegistry::SetAlertInstallDate(unsigned long secondsSince1970)
{
    return failure::ResultOf(WriteLocalNumber(m_sAlertKey, m_sInstallDate, secondsSince1970));
}

int CTambRegistry::SetAlertRegisteredOwner(const char* owner)
{
    return failure::ResultOf(WriteLocalText(m_sAlertKey, m_sRegisteredOwner, owner));
}

int CTambRegistry::SetAlertRegisteredOrganization(const char* organization)
{
    return failure::ResultOf(WriteLocalText(m_sAlertKey, m_sRegisteredOrganization, organization));
}

int CTambRegistry::SetAlertHomeDir(const char* dir)
{
    return failure::ResultOf(WriteLocalText(AlertPathKey(), m_sHome, dir));
}

int CTambRegistry::SetAlertLogDir(const char* dir)
{
    return failure::ResultOf(WriteLocalText(AlertPathKey(), m_sLog, dir));
}

int CTambRegistry::SetAlertControlDir(const char* dir)
{
    return failure::ResultOf(WriteLocalText(AlertPathKey(), m_sControl, dir));
}

int CTambRegistry::SetAlertEventLogDir(const char* dir)
{
    return failure::ResultOf(WriteLocalText(AlertPathKey(), m_sEventLog, dir));
}

int CTambRegistry::SetAlertCompany(const char* company)
{
    return failure::ResultOf(WriteLocalText(AlertUserKey(), m_sRegisteredCompany, company));
}

int CTambRegistry::SetAlertLocation(const char* location)
{
    return failure::ResultOf(WriteLocalText(AlertUserKey(), m_sRegisteredLocation, location));
}

// ---- The alert component: object forms. The alert path of the settings ends in a back-slash;
// it is used as it stands, an empty one included. ----

// CurrentBuild is the build in hexadecimal, CurrentBuildNumber the same build in decimal (the
// form the build is read back in). Neither is written when ALERT.EXE is not in the alert folder.
int CTambRegistry::SetAlertCurrentBuild()
{
    CString build;
    return MayWrite() && AlertBuildText(m_settings, "%x", build) ? SetAlertCurrentBuild(build) : 0;
}

int CTambRegistry::SetAlertCurrentBuildNumber()
{
    CString build;
    return MayWrite() && AlertBuildText(m_settings, "%u", build) ? SetAlertCurrentBuildNumber(build) : 0;
}

int CTambRegistry::SetAlertInstallDate()
{
    return MayWrite() ? SetAlertInstallDate(static_cast<unsigned long>(time(nullptr))) : 0;
}

int CTambRegistry::SetAlertRegisteredOwner()
{
    return MayWrite() ? SetAlertRegisteredOwner(m_settings.RegisteredUser()) : 0;
}

int CTambRegistry::SetAlertRegisteredOrganization()
{
    return MayWrite() ? SetAlertRegisteredOrganization(m_settings.RegisteredCompany()) : 0;
}

int CTambRegistry::SetAlertHomeDir()
{
    return MayWrite() ? SetAlertHomeDir(m_settings.AlertPath()) : 0;
}

int CTambRegistry::SetAlertLogDir()
{
    return MayWrite() ? SetAlertLogDir(CString(m_settings.AlertPath()) + m_sLog) : 0;
}

// The Windows folder as the system names it; 0 when it cannot be read whole.
int CTambRegistry::SetAlertControlDir()
{
    if (!MayWrite())
        return 0;
    char windows[kWindowsFolderSize] = {};
    const UINT length = GetWindowsDirectoryA(windows, kWindowsFolderSize);
    if (length == 0 || length >= kWindowsFolderSize)
        return failure::ResultOf(length == 0 ? failure::StatusOf(FALSE) : ERROR_INSUFFICIENT_BUFFER);
    return SetAlertControlDir(windows);
}

int CTambRegistry::SetAlertEventLogDir()
{
    return MayWrite() ? SetAlertEventLogDir(CString(m_settings.AlertPath()) + m_sEventLog) : 0;
}

int CTambRegistry::SetAlertCompany()
{
    return MayWrite() ? SetAlertCompany(m_settings.RegisteredCompany()) : 0;
}

// The alert program shows the location beside the company; setup knows no location of its own
// and records the company there as well.
int CTambRegistry::SetAlertLocation()
{
    return MayWrite() ? SetAlertLocation(m_settings.RegisteredCompany()) : 0;
}

// ---- Event sources. ----

// An empty source would name the Application log's own key: refused, like a null message file,
// before anything is created.
int CTambRegistry::SetEventLogApplication(const char* source, const char* messageFile, unsigned long types)
{
    if (IsEmptyText(source) || !messageFile)
        return failure::ResultOf(ERROR_INVALID_PARAMETER);
    UniqueKey key;
    LONG status = CreateSystemKey(CString(m_sEventLogKey) + "\\" + source, key);
    if (status != ERROR_SUCCESS)
        return failure::ResultOf(status);
    // Both values are written whatever the first answered; the first failure is the one kept.
    status = SetText(key.get(), m_sEventMessageFile, messageFile);
    const LONG typesStatus = SetNumber(key.get(), m_sTypesSupported, types);
    return failure::ResultOf(status != ERROR_SUCCESS ? status : typesStatus);
}

int CTambRegistry::SetAlertEventLog()
{
    if (!MayWrite())
        return 0;
    return SetEventLogApplication(m_sAlert, CString(m_settings.AlertPath()) + kAlertProgram, kAlertEventTypes);
}

// ---- The product's SNMP agent. ----

int CTambRegistry::SetDrosvaneSNMPPath(const char* path)
{
    return failure::ResultOf(WriteLocalText(SNMPKeyOf(m_sDrosvaneBaseKey), m_sPathname, path));
}

int CTambRegistry::SetDrosvaneSNMPPath()
{
    return MayWrite() ? SetDrosvaneSNMPPath(CString(m_settings.DrosvanePath()) + kSNMPAgentLibrary) : 0;
}

// A machine without the SNMP service has no ExtensionAgents key: nothing to do, 1. An agent
// already listed (same text, same letter case) is not listed twice. Otherwise the agent is
// added under the number after the greatest one in use, so that the numbers of the agents
// already there never change. An enumeration that fails on the way writes nothing (the agent
// might be listed further on): 0.
int CTambRegistry::SetSNMPRegistry(const char* agentKey)
{
    if (!IsAgentKeyText(agentKey))
        return failure::ResultOf(ERROR_INVALID_PARAMETER);
    UniqueKey key;
    if (OpenSystemKey(m_sSNMPExtensionAgentsKey, KEY_ALL_ACCESS, key) != ERROR_SUCCESS)
        return 1;
    unsigned long greatest = 0;
    AgentEntry entry;
    LONG status = ERROR_SUCCESS;
    for (DWORD index = 0; (status = ReadAgentEntry(key.get(), index, entry)) == ERROR_SUCCESS; ++index) {
        if (IsAgent(entry, agentKey))
            return 1;
        const unsigned long number = NumberOfName(entry.name);
        if (number > greatest)
            greatest = number;
    }
    if (status != ERROR_NO_MORE_ITEMS)
        return failure::ResultOf(status);
    if (greatest == ULONG_MAX)  // no number is left after it
        return failure::ResultOf(ERROR_INVALID_DATA);
    CString name;
    name.Format("%lu", greatest + 1);
    status = SetText(key.get(), name, agentKey);
    if (status == ERROR_SUCCESS)
        RegFlushKey(key.get());
    return failure::ResultOf(status);
}

// The SNMP service loads its agents when it starts: a running service is stopped (waiting for
// it) while the agent's values go, and started again afterwards; a service that was installed
// but not running is started afterwards as well, so that it runs without the agent. A service
// whose stop failed is still running and is not started. How the service answers does not
// count, only the deletions do.
//
// The names of the values to delete are kept in a table of eight two-character slots, each
// holding a one-character name and its terminator: the service numbers its agents "1", "2", ...,
// and the names are expected to be single digits. A matching value whose name is longer than
// one character, or a ninth match, is not copied (a slot is never written beyond its two
// bytes): it stays in the key and makes the result 0, as the agent is then not fully removed.
int CTambRegistry::DeleteSNMPRegistry(const char* agentKey)
{
    if (!IsAgentKeyText(agentKey))
        return failure::ResultOf(ERROR_INVALID_PARAMETER);
    UniqueKey key;
    if (OpenSystemKey(m_sSNMPExtensionAgentsKey, KEY_ALL_ACCESS, key) != ERROR_SUCCESS)
        return 1;
    AgentSlots slots;
    memset(slots, 0, sizeof(slots));
    int collected = 0;
    LONG result = ERROR_SUCCESS;
    AgentEntry entry;
    LONG status = ERROR_SUCCESS;
    for (DWORD index = 0; (status = ReadAgentEntry(key.get(), index, entry)) == ERROR_SUCCESS; ++index) {
        if (!IsAgent(entry, agentKey))
            continue;
        if (strlen(entry.name) == kAgentSlotSize - 1 && collected < kAgentSlots)
            memcpy(slots[collected++], entry.name, kAgentSlotSize);
        else
            result = ERROR_BUFFER_OVERFLOW;
    }
    if (status != ERROR_NO_MORE_ITEMS)
        result = status;
    if (collected == 0)
        return failure::ResultOf(result);

    const bool installed = CService::ServiceExists(kSNMPService) != 0;
    const bool running = installed && CService::IsStarted(kSNMPService);
    const bool stopped = running && CService::StopService(kSNMPService, 1, 0);
    for (int slot = 0; slot < collected; ++slot) {
        const LONG deleted = RegDeleteValueA(key.get(), slots[slot]);
        if (deleted != ERROR_SUCCESS && result == ERROR_SUCCESS)
            result = deleted;
    }
    if (installed && (!running || stopped))
        CService::StartServiceA(kSNMPService, 1);
    return failure::ResultOf(result);
}

// The oldest generation's agent goes first, whatever that answers: it is another product's
// clean-up, and the current agent is registered all the same. The agent is listed only when its
// library's path was written.
int CTambRegistry::CreateDrosvaneSNMPKey()
{
    if (!MayWrite())
        return 0;
    DeleteSNMPRegistry(SNMPKeyOf(m_sOldDrosvaneBaseKey));
    if (!SetDrosvaneSNMPPath())
        return 0;
    return SetSNMPRegistry(SNMPKeyOf(m_sDrosvaneBaseKey));
}

// Removes the agent from the SNMP service's list; the path under the Base key stays with it.
int CTambRegistry::DeleteDrosvaneSNMPKey()
{
    return MayWrite() ? DeleteSNMPRegistry(SNMPKeyOf(m_sDrosvaneBaseKey)) : 0;
}

// ---- Environment variables. ----

int CTambRegistry::SetEnvironmentVariableA(const char* name, const char* value)
{
    if (IsEmptyText(name) || !value)
        return failure::ResultOf(ERROR_INVALID_PARAMETER);
    UniqueKey key;
    LONG status = CreateSystemKey(m_sEnvironmentKey, key);
    return failure::ResultOf(status == ERROR_SUCCESS ? SetText(key.get(), name, value) : status);
}

// size: in, the buffer's bytes; out, the bytes read with the NUL (or needed, when the buffer is
// too small). The buffer is left empty when nothing is read.
int CTambRegistry::GetEnvironmentVariableA(const char* name, char* buffer, unsigned long* size)
{
    if (IsEmptyText(name) || !buffer || !size || *size == 0)
        return failure::ResultOf(ERROR_INVALID_PARAMETER);
    buffer[0] = '\0';
    UniqueKey key;
    LONG status = key.kept(RegOpenKeyExA(HKEY_CURRENT_USER, kUserEnvironmentKey, 0, KEY_READ, key.put()));
    return failure::ResultOf(status == ERROR_SUCCESS ? regview::QueryText(key.get(), name, buffer, *size) : status);
}

int CTambRegistry::DeleteEnvironmentVariable(const char* name)
{
    if (IsEmptyText(name))
        return failure::ResultOf(ERROR_INVALID_PARAMETER);
    UniqueKey key;
    LONG status = OpenSystemKey(m_sEnvironmentKey, KEY_ALL_ACCESS, key);
    return failure::ResultOf(status == ERROR_SUCCESS ? RegDeleteValueA(key.get(), name) : status);
}

// The product's logical name, then the machine that holds it; the machine's name is written only
// after the logical name was.
int CTambRegistry::SetDrosvaneEnvironmentVariables()
{
    if (!MayWrite() || !SetEnvironmentVariableA(kLogicalNameVariable, kLogicalName))
        return 0;
    char computer[MAX_COMPUTERNAME_LENGTH + 1] = {};
    unsigned long size = sizeof(computer);
    if (!CComputer::GetComputerNameA(computer, &size))
        return 0;
    return SetEnvironmentVariableA(kRemoteNameVariable, computer);
}

int CTambRegistry::SetDrosvaneCatalogPath()
{
    return MayWrite() ? SetEnvironmentVariableA(kCatalogPathVariable, CString(m_settings.DrosvanePath()) + m_sDatabase)
                      : 0;
}

// ---- Uninstall. ----

// The whole alert branch below the maker key, sub keys first. With no maker key (an account tool
// library that named none) nothing is deleted: a top-level "ALERT" key is never taken for it.
void CTambRegistry::DeleteAlertBranch()
{
    if (m_sTamberlyKey.IsEmpty())
        return;
    DeleteTree(HKEY_LOCAL_MACHINE, m_sTamberlyKey + "\\" + m_sALERT);
}
