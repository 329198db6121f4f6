// Earlier products' keys and uninstall clean-up: key trees deleted bottom-up, the oldest
// generation's keys, the database agents of every generation, the image path of the database
// agents' RPC service, the dynamic keys of the running product, and the uninstall of the
// product's keys, the maker's keys and their user branches.
#include "CTambRegistry.h"

#include "Failure.h"
#include "PathRules.h"
#include "ProfileFile.h"
#include "RegistryAccess.h"
#include "RegistryView.h"
#include "TextRules.h"

#include <cstdlib>
#include <cstring>

using namespace registry;

const char* const CTambRegistry::m_sProfileListKey = "SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\ProfileList";

namespace {

// The service of the database agents' RPC interface; a system key, in one view only.
const char kRpcServiceKey[] = "SYSTEM\\CurrentControlSet\\Services\\DbaRpcService";
const char kImagePath[] = "ImagePath";

// Where the database agents' records of the oldest generation are kept through an upgrade.
const char kOldDBAgentsSubKey[] = "\\OldDBAgents";

// Database agents are named "dba..." ("dbaexch" and "dbaxchg2", the Exchange agents, among
// them): the records of the Products keys with such names are the database agents'.
const char kDatabaseAgentPrefix[] = "dba";

// An installation that lost its Base key still has its build under the product key.
const char kDiagnosticSubKey[] = "\\Diagnostic";
const char kBuildNumber[] = "BuildNumber";

// The master setup's description of the medium, beside SETUP.INF in the source folder.
const char kMasterSetupFile[] = "mastersetup.inf";
const char kBuildNumberSection[] = "BuildNumber";
const char kBetaUpgVer[] = "BetaUpgVer";

// Sub keys that the running product makes below its key, removed on uninstall in this order.
// "Software\Local AppWizard-Generated Applications" is where the product's programs keep their
// own settings below the product key; the current user's key of that name is other programs'
// too and is not touched.
const char* const kDynamicSubKeys[] = {
    "Admin", "AsMgr", "TapeEngine", "User", "Database", "DBAdmin", "SNMP", "Task", "LastFullBackup",
    "LastImageBackup", "ServerRecord", "SystemSetting", "DBReport", "OldPath", "OldDatabase", "OldComponents",
    "NWDiscoveryServer", "mediapool", "QueueSystem", "MMOAdmin", "Domain", "Path", "Alert", "wizard",
    "Central Database Configuration", "Software\\Local AppWizard-Generated Applications", "ELODistributedServers",
    "BNOldProducts", "ProductsConfigInfo"};

// Environment variables that install writes and uninstall removes. RNNAME, the computer name
// that install writes beside them, is left in place on purpose.
const char kCatalogPathVariable[] = "CATPATH";
const char kLnNameVariable[] = "LNNAME";

HKEY RootOrLocal(HKEY root)
{
    return root ? root : HKEY_LOCAL_MACHINE;
}

// all: the tree; otherwise the key alone, which the registry keeps while keys are below it.
void DeleteBranch(HKEY root, const CString& path, int all)
{
    if (all)
        DeleteTree(root, path);
    else if (!path.IsEmpty())
        regview::DeleteKey(root, path);
}

// The branch at path in the current user's hive, then in the hive of every profile of the
// machine. A hive is reached when it is loaded (its user is logged on, or a service runs under
// the account): the hive of a profile that is not loaded is not loaded here, which would need
// the backup and restore privileges and a profile file that no one holds open.
void DeleteUserBranches(const CString& path, int all)
{
    DeleteBranch(HKEY_CURRENT_USER, path, all);
    // The profile list is the system's; the 32-bit view of it links to the native key.
    std::vector<CString> profiles;
    {
        UniqueKey list;
        if (regview::OpenKey(HKEY_LOCAL_MACHINE, CTambRegistry::m_sProfileListKey, KEY_READ, list) != ERROR_SUCCESS)
            return;
        SubKeyNames(list.get(), profiles);
    }
    for (const CString& sid : profiles) {
        UniqueKey hive;
        if (regview::OpenKey(HKEY_USERS, sid, KEY_READ, hive) == ERROR_SUCCESS)
            DeleteBranch(HKEY_USERS, sid + "\\" + path, all);
    }
}

// ---- Database agents. ----

bool IsDatabaseAgent(const char* name)
{
    return _strnicmp(name, kDatabaseAgentPrefix, sizeof(kDatabaseAgentPrefix) - 1) == 0;
}

// An agent is named by one key name: no back-slash, which would reach other keys.
bool IsAgentName(const CString& agent)
{
    return !agent.IsEmpty() && agent.Find('\\') < 0;
}

struct AgentRecord {
    CString name;
    tagProductStruct record;
};

// The database agents' records of a Products key, in the key's order. A record holds 49 bytes
// at most (a shorter one is zero-filled, as the product record readers do); a longer value, or
// a value name too long for a key name, is no record.
std::vector<AgentRecord> AgentRecords(HKEY root, const char* products)
{
    std::vector<AgentRecord> records;
    UniqueKey key;
    if (regview::OpenKey(root, products, KEY_READ, key) != ERROR_SUCCESS)
        return records;
    for (DWORD index = 0;; ++index) {
        char name[256];
        DWORD length = sizeof(name);
        AgentRecord found;
        memset(&found.record, 0, sizeof(found.record));
        DWORD bytes = sizeof(found.record);
        const LONG status = RegEnumValueA(key.get(), index, name, &length, nullptr, nullptr,
                                          reinterpret_cast<BYTE*>(&found.record), &bytes);
        if (status == ERROR_NO_MORE_ITEMS)
            break;
        if (status != ERROR_SUCCESS || !IsDatabaseAgent(name))
            continue;
        found.name = CString(name, static_cast<int>(length));
        records.push_back(found);
    }
    return records;
}

// The installation of that generation number (see the class's declaration); false when there
// is none.
bool InstallationOf(int generation, Installation& installation)
{
    const InstallationList installations = Installations();
    if (generation < 0 || static_cast<size_t>(generation) >= installations.size())
        return false;
    installation = installations[static_cast<size_t>(generation)];
    return true;
}

// The agent's own key: like the client agent's ("ClientAgent\Common"), its settings are in a
// "Common" sub key of the agent's key.
CString AgentKeyOf(const Installation& installation, const CString& agent)
{
    return installation.agentsRoot + "\\" + agent;
}

// ---- Files. ----

// path, its environment variables expanded, names an existing file (not a folder).
bool NamesExistingFile(const char* path)
{
    char expanded[MAX_PATH];
    const DWORD length = ExpandEnvironmentStringsA(path, expanded, sizeof(expanded));
    if (length == 0 || length > sizeof(expanded))
        return false;
    const DWORD attributes = GetFileAttributesA(expanded);
    return attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY);
}

// The build an installation without Base keeps under its product key: a REG_DWORD, or a
// decimal text. Builds are 16-bit numbers, as in the product record.
bool ReadDiagnosticBuild(HKEY root, unsigned short& build)
{
    UniqueKey key;
    if (regview::OpenKey(root, Join(CTambRegistry::m_sDrosvaneKey, kDiagnosticSubKey), KEY_READ, key)
        != ERROR_SUCCESS)
        return false;
    char data[64] = {};
    DWORD type = REG_NONE;
    DWORD bytes = sizeof(data) - 1;
    if (RegQueryValueExA(key.get(), kBuildNumber, nullptr, &type, reinterpret_cast<BYTE*>(data), &bytes)
        != ERROR_SUCCESS)
        return false;
    if (type == REG_DWORD && bytes == sizeof(DWORD)) {
        DWORD number;
        memcpy(&number, data, sizeof(number));
        build = static_cast<unsigned short>(number);
        return true;
    }
    if (type != REG_SZ || data[0] < '0' || data[0] > '9')
        return false;
    build = static_cast<unsigned short>(strtoul(data, nullptr, 10));
    return true;
}

}  // namespace

// ---- Key trees and branches. ----

int CTambRegistry::DeleteSubKeys(HKEY root, const char* key)
{
    if (!root || IsEmptyText(key))
        return failure::ResultOf(ERROR_INVALID_PARAMETER);
    return failure::ContainExceptions(0, [&] { return failure::ResultOf(DeleteBelow(root, key)); });
}

void CTambRegistry::DeleteDrosvaneBaseBranch()
{
    failure::ContainExceptions(0, [] { return DeleteTree(HKEY_LOCAL_MACHINE, m_sDrosvaneBaseKey); });
}

// The product key goes from its parent, the maker key where the product key lies by default.
void CTambRegistry::DeleteDrosvaneBranch(int all)
{
    failure::ContainExceptions(0, [&] {
        DeleteBranch(HKEY_LOCAL_MACHINE, m_sDrosvaneKey, all);
        return 0;
    });
}

// Other products of the maker keep their keys below the maker key: only all takes them along.
void CTambRegistry::DeleteTamberlyBranch(int all)
{
    failure::ContainExceptions(0, [&] {
        DeleteBranch(HKEY_LOCAL_MACHINE, m_sTamberlyKey, all);
        return 0;
    });
}

// The product's key in the users' hives (maker key + the product root's name), always whole.
void CTambRegistry::DeleteDrosvaneUserBranches()
{
    failure::ContainExceptions(0, [] {
        DeleteUserBranches(m_sTamberlyKey + "\\" + m_sDrosvane, 1);
        return 0;
    });
}

void CTambRegistry::DeleteTamberlyUserBranches(int all)
{
    failure::ContainExceptions(0, [&] {
        DeleteUserBranches(m_sTamberlyKey, all);
        return 0;
    });
}

// The key is a name below "SOFTWARE\Tamberly" or a full path there; whatever it names, nothing
// outside "SOFTWARE\Tamberly" is touched, and an empty name deletes nothing.
void CTambRegistry::DeleteOldDrosvaneKey(CString key)
{
    failure::ContainExceptions(0, [&] {
        const CString maker = CString(m_sOldTamberlyKey) + "\\";
        if (key.GetLength() > maker.GetLength() && key.Left(maker.GetLength()).CompareNoCase(maker) == 0)
            key = key.Mid(maker.GetLength());
        if (key.IsEmpty())
            return 0;
        DeleteTree(HKEY_LOCAL_MACHINE, maker + key);
        regview::DeleteKey(HKEY_LOCAL_MACHINE, m_sOldTamberlyKey);  // refused while another key is below it
        return 0;
    });
}

// ---- The database agents' RPC service. ----

// An image path that differs in letter case only names the same file and stays as it is. The
// path is written as REG_EXPAND_SZ, the type the service manager gives image paths, so that a
// path made of environment variables works; its file is looked for with them expanded.
void CTambRegistry::UpdateRPCImagePath(CString path)
{
    failure::ContainExceptions(0, [&] {
        if (path.IsEmpty())
            return 0;
        UniqueKey key;
        if (key.kept(RegOpenKeyExA(HKEY_LOCAL_MACHINE, kRpcServiceKey, 0, KEY_ALL_ACCESS, key.put())) != ERROR_SUCCESS)
            return 0;
        char current[1024];
        unsigned long size = sizeof(current);
        regview::QueryText(key.get(), kImagePath, current, size);  // empty when unreadable
        if (path.CompareNoCase(current) == 0 || !NamesExistingFile(path))
            return 0;
        return failure::ResultOf(RegSetValueExA(key.get(), kImagePath, 0, REG_EXPAND_SZ,
                                                reinterpret_cast<const BYTE*>(path.GetString()),
                                                static_cast<DWORD>(path.GetLength() + 1)));
    });
}

// ---- The database agents' records of the oldest generation. ----

// The oldest generation's Products key, or the database agents' own when that cannot be opened.
// OldDBAgents is made only when there is a record to keep.
void CTambRegistry::CreateOldProdDscrpt()
{
    failure::ContainExceptions(0, [&] {
        UniqueKey products;
        const char* source = m_sOldProductsKey;
        if (regview::OpenKey(HKEY_LOCAL_MACHINE, source, KEY_READ, products) != ERROR_SUCCESS)
            source = m_sOldDSAgentProductsKey;
        const CString target = Join(m_sOldDrosvaneITKey, kOldDBAgentsSubKey);
        for (const AgentRecord& agent : AgentRecords(HKEY_LOCAL_MACHINE, source)) {
            const LONG status = WriteLocalValue(target, agent.name, REG_BINARY,
                                                reinterpret_cast<const BYTE*>(&agent.record), sizeof(agent.record));
            if (status != ERROR_SUCCESS)
                SETUPCLS_TRACE_FAILURE(m_settings.LogFile(), status, "Keeping the record %s in %s",
                                       agent.name.GetString(), target.GetString());
        }
        return 0;
    });
}

void CTambRegistry::DeleteOldProdDscrpt()
{
    failure::ContainExceptions(0, [] { return DeleteTree(HKEY_LOCAL_MACHINE, Join(m_sOldDrosvaneITKey, kOldDBAgentsSubKey)); });
}

// ---- Database agents of one installation. ----

int CTambRegistry::ExistOther_DBAgents(CString agent, int generation, CString& found)
{
    return failure::ContainExceptions(0, [&] {
        found.Empty();
        Installation installation;
        if (!InstallationOf(generation, installation))
            return 0;
        for (const CString& products : installation.agentProducts) {
            for (const AgentRecord& other : AgentRecords(HKEY_LOCAL_MACHINE, products)) {
                if (other.name.CompareNoCase(agent) != 0) {
                    found = other.name;
                    return 1;
                }
            }
        }
        return 0;
    });
}

// An agent installed beside the client agent, or with the product on a server, may have no
// folder of its own recorded: the client agent's folder comes next, then the product's.
int CTambRegistry::GetDBAgentHomeDir(CString agent, char* buffer, unsigned long* size, int generation, HKEY root)
{
    if (!buffer || !size || *size == 0)
        return 0;
    buffer[0] = '\0';
    return failure::ContainExceptions(0, [&] {
        Installation installation;
        if (!IsAgentName(agent) || !InstallationOf(generation, installation))
            return 0;
        const struct {
            CString key;
            const char* value;
        } places[] = {
            {AgentKeyOf(installation, agent) + "\\Common", m_sPath},
            {installation.agent, m_sPath},
            {Join(installation.base, m_sPathSubKey), m_sHome},
        };
        for (const auto& place : places) {
            if (!place.key.IsEmpty() && ReadTextFromKeys(root, {place.key}, place.value, buffer, *size))
                return 1;
        }
        return 0;
    });
}

void CTambRegistry::DeleteAgentSubKeys(CString agent, int generation)
{
    failure::ContainExceptions(0, [&] {
        Installation installation;
        if (IsAgentName(agent) && InstallationOf(generation, installation))
            DeleteTree(HKEY_LOCAL_MACHINE, AgentKeyOf(installation, agent));
        return 0;
    });
}

// ---- Earlier installations. ----

// An earlier installation is recognised by its product record, looked for as the product
// record itself is (GetDrosvaneProductInfo): the product's own keys first, then the 11.5, IT,
// oldest, enterprise generations and the enterprise product of the earlier naming. The answer
// is that installation's root key: "SOFTWARE\Brannoch\Quellmarsh Drosvane Backup",
// "SOFTWARE\Brannoch\DrosvaneIT", "SOFTWARE\Tamberly\Drosvane", "SOFTWARE\Brannoch\Kestrix",
// "SOFTWARE\Brannoch\Quellmarsh Enterprise Backup", or the product's own root key.
int CTambRegistry::GetOldProductRootKey_ForUpg(char* buffer, HKEY root)
{
    if (!buffer)
        return 0;
    buffer[0] = '\0';
    return failure::ContainExceptions(0, [&] {
        for (const Installation& installation : Installations()) {
            tagProductStruct record;
            if (ReadRecordFromPlaces(root, {installation.record}, &record)) {
                lstrcpynA(buffer, installation.root, MAX_PATH);
                return 1;
            }
        }
        return 0;
    });
}

int CTambRegistry::IsProductInstalledWithoutBase(HKEY root)
{
    return failure::ContainExceptions(0, [&] {
        UniqueKey base;
        if (regview::OpenKey(RootOrLocal(root), m_sDrosvaneBaseKey, KEY_READ, base) == ERROR_SUCCESS)
            return 0;
        unsigned short build = 0;
        return ReadDiagnosticBuild(RootOrLocal(root), build) ? 1 : 0;
    });
}

// BetaUpgVer is read as the medium's SETUP.INF reads it: a decimal number cut to 16 bits, none
// when the entry is empty. The medium's folder is the settings' source path.
int CTambRegistry::IsBetaUpgProductInstalledWithoutBase(HKEY root)
{
    return failure::ContainExceptions(0, [&] {
        if (!IsProductInstalledWithoutBase(root))
            return 0;
        CString folder = m_settings.SourcePath();
        if (TrimTailBackSlash(folder) == 0)
            return 0;
        CString file;
        file.Format("%s\\%s", folder.GetString(), kMasterSetupFile);
        char text[260];
        if (ProfileFile(file).ReadText(kBuildNumberSection, kBetaUpgVer, "", text, sizeof(text)) == 0)
            return 0;
        unsigned short build = 0;
        return ReadDiagnosticBuild(RootOrLocal(root), build) && build == static_cast<unsigned short>(atoi(text)) ? 1
                                                                                                                : 0;
    });
}

// ---- Uninstall. ----

// A key that is not there is no failure; each key is tried, whatever happened to the others.
int CTambRegistry::DeleteDynamicKey()
{
    return failure::ContainExceptions(0, [&] {
        LONG result = ERROR_SUCCESS;
        for (const char* name : kDynamicSubKeys) {
            const LONG status = DeleteTree(HKEY_LOCAL_MACHINE, m_sDrosvaneKey + "\\" + name);
            if (status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND && result == ERROR_SUCCESS)
                result = status;
        }
        return failure::ResultOf(result);
    });
}

// The steps run in this order whatever the earlier ones did; those that report a failure have
// it traced, and the uninstall goes on. The product's own key goes whole; the maker key, which
// other products of the maker share, goes whole only when the settings uninstall everything.
int CTambRegistry::Delete()
{
    return failure::ContainExceptions(0, [&] {
        if (!m_settings.Uninstall() || !m_settings.UninstallDrosvane())
            return 0;
        auto traced = [&](int done, const char* step) {
            if (!done)
                failure::TraceStatus(m_settings.LogFile(), "CTambRegistry::Delete", failure::StatusOf(FALSE), "%s", step);
        };
        const int all = m_settings.IsUninstallAll() ? 1 : 0;
        DeleteDrosvaneBaseBranch();
        DeleteTree(HKEY_LOCAL_MACHINE, m_sDrosvaneKey + "\\" + m_sOldProducts);
        DeleteTree(HKEY_LOCAL_MACHINE, m_sDrosvaneKey + "\\" + m_sBNOldProducts);
        DeleteSmartReactionBranch();
        DeleteDrosvaneUserBranches();
        traced(DeleteDrosvaneSNMPKey(), "SNMP agent");
        traced(DeleteDrosvaneShellExtension(), "Shell extension");
        DeleteBNITProductBranch();
        traced(DeleteEnvironmentVariable(kCatalogPathVariable), "Environment variable CATPATH");
        traced(DeleteEnvironmentVariable(kLnNameVariable), "Environment variable LNNAME");
        DeleteDrosvaneBranch(1);
        DeleteTamberlyBranch(all);
        DeleteTamberlyUserBranches(all);
        return 1;
    });
}
