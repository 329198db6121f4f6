// CSettings::Initialize: what the machine, the installation medium and the answer file add to
// the setup program's record, in this order:
//   1. the log file, the answer file (the batch file) and the product registry;
//   2. the product's name from the product-map library TambProd.dll;
//   3. the registered owner, and what the registry says is installed: the folders of the
//      product, its database, job queue, alert component and client agent, and the anti-virus
//      server;
//   4. in a batch uninstallation, what the answer file says to remove;
//   5. the medium: SETUP.INF, its product subtype, and HOST.INI of a remote setup;
//   6. in a batch installation, the answer file's choices.
// Every step runs even when an earlier one failed; each failure is one TAB-led line in the log
// file. After the call every found-on-machine flag and every current path holds its answer.
#include "CSettings.h"

#include "CComputer.h"
#include "CLog.h"
#include "CSetupIcf.h"
#include "CSetupInf.h"
#include "CTambRegistry.h"
#include "PathRules.h"
#include "Failure.h"
#include "Handles.h"
#include "ModulePath.h"
#include "ProductLibrary.h"
#include "ProfileFile.h"
#include "RegistryView.h"
#include "ScopedCurrentDirectory.h"

#include <cstddef>

namespace {

// ---- The product-map library. ----
// BOOL __stdcall CPGetProductMapInfo(int productType, tagProductMapInfo* info): the caller
// hands a zeroed record; the library fills it and answers TRUE when it knows the product type.
struct tagProductMapInfo {
    DWORD dwMapCode;          // the map's own code of the product; setup does not use it
    char szProductName[24];   // the product's name, NUL-terminated
};
static_assert(sizeof(tagProductMapInfo) == 28, "tagProductMapInfo is 28 bytes");
static_assert(offsetof(tagProductMapInfo, szProductName) == 4, "tagProductMapInfo layout");
typedef BOOL(WINAPI* ProductMapExport)(int productType, tagProductMapInfo* info);

const char kProductMapLibrary[] = "TambProd.dll";
const char kProductMapExport[] = "CPGetProductMapInfo";

// ---- Places on the machine. ----
// The anti-virus server of the maker is installed when its service key is there.
const char kVexilanServiceKey[] = "SYSTEM\\CurrentControlSet\\Services\\VexilateIT Server";
// The job queue lives in this folder of the product's home folder.
const char kQueueFolder[] = "00000001.QSD";
// The product's database files.
const char kDatabasePattern[] = "DV*.DBD";
// Where Windows puts programs; in the 32-bit view, the folder of 32-bit programs.
const char kWindowsCurrentVersionKey[] = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion";
const char kProgramFilesDir[] = "ProgramFilesDir";
// The client agent's folder inside the product's default folder, as its key lies inside the
// product key.
const char kClientAgentFolder[] = "ClientAgent\\";

// ---- The medium. ----
// A setup pushed from a master machine finds HOST.INI beside SETUP.INF on its medium, naming
// the master in [HostServer] HostServer=; the run then is a remote setup that reports there.
const char kHostFileFormat[] = "%sHOST.INI";
const char kHostServerSection[] = "HostServer";
const char kHostServerKey[] = "HostServer";

// ---- Step 2. ----

bool AskProductMap(int productType, CString& product, const CLog& log)
{
    ProductLibrary library = ProductLibrary::ByName(kProductMapLibrary);
    if (!library) {
        SETUPCLS_TRACE_FAILURE(log.File(), library.Error(), "LoadLibrary %s", kProductMapLibrary);
        return false;
    }
    auto ask = library.Entry<ProductMapExport>(kProductMapExport);
    if (!ask) {
        SETUPCLS_TRACE_FAILURE(log.File(), ERROR_PROC_NOT_FOUND, "GetProcAddress %s %s", kProductMapLibrary,
                               kProductMapExport);
        return false;
    }
    tagProductMapInfo info = {};
    CString name;
    if (ask(productType, &info)) {
        info.szProductName[sizeof(info.szProductName) - 1] = '\0';
        name = info.szProductName;
    }
    if (name.IsEmpty()) {
        SETUPCLS_TRACE_FAILURE(log.File(), ERROR_NOT_FOUND, "%s of product type %d", kProductMapExport, productType);
        return false;
    }
    product = name;
    return true;
}

// ---- Step 3. ----

typedef int (*RegistryTextGetter)(char* buffer, unsigned long& size, HKEY root);

// The text the getter finds in the registry; empty when there is none.
CString RegistryText(RegistryTextGetter getter)
{
    char buffer[MAX_PATH + 1];
    unsigned long size = sizeof(buffer);
    return getter(buffer, size, nullptr) ? CString(buffer) : CString();
}

// The folder with one trailing back-slash, when it is there; empty otherwise.
CString ExistingFolder(const char* path)
{
    CString folder(path);
    if (TrimTailBackSlash(folder) == 0 || !CComputer::DirectoryExists(folder))
        return CString();
    AppendBackSlash(folder);
    return folder;
}

// The folder a new installation of the product goes to: "<programs>\<maker>\<product>\",
// with the maker's and the product's key names, which the brand decides.
CString DefaultProductFolder()
{
    char programs[MAX_PATH + 1];
    unsigned long size = sizeof(programs);
    CString folder;
    if (regview::ReadText(HKEY_LOCAL_MACHINE, kWindowsCurrentVersionKey, kProgramFilesDir, programs, size)
        == ERROR_SUCCESS)
        folder = programs;
    else
        folder.Format("%c:\\Program Files", CComputer::FindFirstHardDrive());
    AppendBackSlash(folder);
    folder += regview::LastKeyName(CTambRegistry::m_sTamberlyKey) + "\\" + CTambRegistry::m_sDrosvane;
    AppendBackSlash(folder);
    return folder;
}

// Windows records an owner and an organisation at its installation; the product registers the
// same names unless the answer file gives others.
bool ProbeRegisteredOwner(CSettings& settings, const CLog& log)
{
    char owner[MAX_PATH + 1];
    unsigned long ownerSize = sizeof(owner);
    char organisation[MAX_PATH + 1];
    unsigned long organisationSize = sizeof(organisation);
    bool found = true;
    if (CTambRegistry::GetRegisteredOwner(owner, ownerSize))
        settings.RegisteredUser(owner);
    else
        found = false;
    if (CTambRegistry::GetRegisteredOrganization(organisation, organisationSize))
        settings.RegisteredCompany(organisation);
    else
        found = false;
    if (!found)
        SETUPCLS_TRACE_FAILURE(log.File(), ERROR_FILE_NOT_FOUND, "Registered owner and organisation of Windows");
    return found;
}

// The product counts as installed when the home folder the registry names is there. Without
// it, the current path is the folder a new installation goes to. The database folder is the
// registry's DATABASE, or the "DATABASE" folder of the home folder where earlier setups put it
// without recording it; the database is there when that folder holds a database file. The job
// queue is there when the home folder holds the queue's folder.
void ProbeProduct(CSettings& settings)
{
    CString home = ExistingFolder(RegistryText(CTambRegistry::GetDrosvaneHomeDir));
    settings.DrosvaneExists(!home.IsEmpty());
    settings.CurrentDrosvanePath(home.IsEmpty() ? DefaultProductFolder() : home);

    CString database = RegistryText(CTambRegistry::GetDrosvaneDBDir);
    if (database.IsEmpty() && !home.IsEmpty())
        database = home + CTambRegistry::m_sDatabase;
    database = ExistingFolder(database);
    settings.DBExists(!database.IsEmpty() && !CComputer::PathEmpty(database, kDatabasePattern));
    settings.QueueExists(!home.IsEmpty() && CComputer::DirectoryExists(home + kQueueFolder));
}

// The alert component counts as installed when the folder under its current key or under the
// former maker's key is there; it is the new alert when that folder is recorded under the
// current key, an older one (which setup replaces) when only the former maker's key names it.
// Without it, the current path is the answer file's default alert folder.
void ProbeAlert(CSettings& settings)
{
    CString alert = ExistingFolder(RegistryText(CTambRegistry::GetAlertHomeDir));
    settings.AlertExists(!alert.IsEmpty());
    settings.CurrentAlertPath(alert.IsEmpty() ? CString(CSetupIcf::DefaultAlertPath()) : alert);

    char current[MAX_PATH + 1];
    unsigned long size = sizeof(current);
    CString currentKey = CString(CTambRegistry::m_sAlertKey) + CTambRegistry::m_sPathSubKey;
    settings.NewAlertExists(regview::ReadText(HKEY_LOCAL_MACHINE, currentKey, CTambRegistry::m_sHome, current, size)
                                == ERROR_SUCCESS &&
                            !ExistingFolder(current).IsEmpty());
}

// The client agent counts as installed when its registered folder is there; without it, the
// current path is the client agent folder inside the product's default folder.
void ProbeClientAgent(CSettings& settings)
{
    CString agent = ExistingFolder(RegistryText(CTambRegistry::GetAgentHomeDir));
    settings.ClientAgentExists(!agent.IsEmpty());
    settings.CurrentClientAgentPath(agent.IsEmpty() ? DefaultProductFolder() + kClientAgentFolder : agent);
}

void ProbeVexilan(CSettings& settings)
{
    UniqueKey key;
    settings.VexilanExists(RegOpenKeyExA(HKEY_LOCAL_MACHINE, kVexilanServiceKey, 0, KEY_READ, key.put()) ==
                           ERROR_SUCCESS);
}

// ---- Step 5. ----

// The medium's folder, absolute and with one trailing back-slash: the source path, or the
// running program's folder when the record names none (setup programs run from the medium).
CString MediumFolder(const CSettings& settings)
{
    CString folder(settings.SourcePath());
    if (folder.IsEmpty() && ModuleFileName(nullptr, folder))
        folder = DriveAndFolder(folder);
    CString absolute;
    if (!folder.IsEmpty() && FullPath(folder, MAX_PATH, absolute))
        folder = absolute;
    AppendBackSlash(folder);
    return folder;
}

void AdjustToSubType(CSettings& settings)
{
    switch (settings.ProductSubType()) {
    case 0:
        settings.HSMAvailable(FALSE);
        break;
    case 1:
    case 2:
        settings.ChangerAvailable(TRUE);
        settings.RAIDAvailable(TRUE);
        break;
    case 3:
    case 4:
        settings.ChangerAvailable(TRUE);
        settings.HSMAvailable(FALSE);
        break;
    default:
        break;
    }
}

// CSetupInf makes the medium's folder the current folder, for file names it resolves later.
// The settings keep the medium's names as written and resolve none, so the caller's current
// folder is given back: the product registry and the other helpers look for the product's
// libraries in the current folder, which must stay the one the setup program chose. The holder
// gives it back on every path; the normal path does so itself to log a failure.
bool ReadMedium(CSettings& settings, const CString& medium, const CLog& log)
{
    ScopedCurrentDirectory callersFolder;

    CString path = medium + CSetupInf::m_sDefaultFilename;
    bool found = CComputer::PathExists(path) != 0;
    if (!found)
        SETUPCLS_TRACE_FAILURE(log.File(), ERROR_FILE_NOT_FOUND, "%s", path.GetString());
    CSetupInf inf;
    inf.SetDRVsetupINFName(path);
    settings.ProductSubType(inf.GetProductSubType());
    settings.HSMAvailable(inf.IsHSMAvailable());
    settings.OVGFWAvailable(inf.IsOVGFWAvailable());
    settings.OVGFWSetupFileName(inf.GetOVGFWSetupFileName());
    settings.LaunchSetupProductName(inf.GetSetupProductName());
    settings.LaunchSetupFileName(inf.GetSetupFileName());
    AdjustToSubType(settings);

    if (!callersFolder.Restore()) {
        SETUPCLS_TRACE_FAILURE(log.File(), failure::StatusOf(FALSE), "Return to the current folder after %s",
                               path.GetString());
        return false;
    }
    return found;
}

// Without a host named there, the remote state stays as the setup program set it.
void ReadHostFile(CSettings& settings, const CString& medium)
{
    if (medium.IsEmpty())  // a bare file name would be looked for in the Windows folder
        return;
    CString path;
    path.Format(kHostFileFormat, medium.GetString());
    char host[MAX_PATH + 1] = {};
    ProfileFile(path).ReadText(kHostServerSection, kHostServerKey, "", host, sizeof(host));
    if (host[0] == '\0')
        return;
    settings.RemoteSetup(TRUE);
    settings.RemoteHostServer(host);
}

// ---- Step 6. ----

// The answer file's text is taken as it is: an empty one replaces what the machine proposed
// (the getters always return their result buffer, so the text is never null).
void CopyText(CSettings& settings, void (CSettings::*set)(const char*), const char* text)
{
    (settings.*set)(text);
}

void CopyAnswers(CSettings& settings, CSetupIcf& icf)
{
    CopyText(settings, &CSettings::DrosvanePath, icf.DrosvanePath());
    CopyText(settings, &CSettings::AlertPath, icf.AlertPath());
    CopyText(settings, &CSettings::RegisteredUser, icf.FullName());
    CopyText(settings, &CSettings::RegisteredCompany, icf.CompanyName());
    CopyText(settings, &CSettings::SystemAccountDomain, icf.SystemAccountDomain());
    CopyText(settings, &CSettings::SystemAccountName, icf.SystemAccountUser());
    CopyText(settings, &CSettings::SystemAccountPassword, icf.SystemAccountPassword());
    settings.InstallManager(icf.InstallManager());
    settings.InstallServer(icf.InstallServer());
    settings.InstallAdmin(icf.InstallAdmin());
    settings.InstallAlert(icf.InstallAlert());
    settings.InstallAV(icf.InstallAV());
    // Data migration is installed from the medium and needs the local machine's storage.
    settings.InstallHSM(icf.InstallHSM() && !settings.RemoteSetup() && settings.HSMAvailable());
    // The management framework is no longer chosen through the answer file.
    settings.InstallOVG(FALSE);
    BOOL sql = icf.SQLDB();
    settings.InstallSQL(sql);
    settings.InstallRAIMA(!sql);
    settings.OverwriteDB(icf.OverwriteDB());
    settings.DeleteQueue(icf.OverwriteJobQueue());
}

}  // namespace

// An allocation that fails anywhere below ends the run with 0; no exception reaches the caller.
int CSettings::Initialize()
{
    return failure::ContainExceptions(0, [&] {
        // Step 1. The registry object is built for its process-wide key names, which the static
        // getters below use; a missing account tool library is traced to the log file.
        CLog log(m_logFile);
        CSetupIcf icf(m_batchFile);
        CTambRegistry productRegistry(*this);
        bool ok = true;
        bool answers = m_batchOperation && icf.Exists();
        if (m_batchOperation && !answers) {
            failure::TraceStatus(log.File(), "CSettings::Initialize", ERROR_FILE_NOT_FOUND, "Answer file %s",
                                 m_batchFile.GetString());
            ok = false;
        }

        // Step 2.
        m_product.Empty();
        ok = AskProductMap(m_productType, m_product, log) && ok;

        // Step 3. The chosen paths start where the components are now (an upgrade stays in place)
        // or, for a new installation, at the default folders.
        ok = ProbeRegisteredOwner(*this, log) && ok;
        ProbeProduct(*this);
        ProbeAlert(*this);
        ProbeClientAgent(*this);
        ProbeVexilan(*this);
        DrosvanePath(m_currentDrosvanePath);
        AlertPath(m_currentAlertPath);
        ClientAgentPath(m_currentClientAgentPath);

        // Step 4. The choice of what to remove comes from the answer file object even when the file
        // is missing: its getters then give their cached defaults (remove everything).
        if (m_uninstall && m_batchOperation) {
            UninstallDrosvane(icf.UninstallDrosvane());
            UninstallAlert(icf.UninstallAlert());
        }

        // Step 5.
        CString medium = MediumFolder(*this);
        ok = ReadMedium(*this, medium, log) && ok;
        ReadHostFile(*this, medium);

        // Step 6. Runs for an uninstallation too. The install switches share their bits with the
        // uninstall choices of step 4 (manager, server and administration make UNINSTALL_DROSVANE,
        // alert is UNINSTALL_ALERT), so in a batch uninstallation the answer file's install switches
        // replace what step 4 chose to remove.
        if (answers)
            CopyAnswers(*this, icf);
        return ok ? 1 : 0;
    });
}
