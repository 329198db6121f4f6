// dvsetup: the reference installer host of SetupCLS. It installs the product from the medium it
// stands on, reports the installation as the registry holds it, and removes it again, driving
// the library the way the suite's setup programs do.
//
//   dvsetup install   [/l:<log file>] [/t:<trace file>] [/m:<MIF file>]
//   dvsetup upgrade   [/l:<log file>] [/t:<trace file>] [/m:<MIF file>]
//   dvsetup status    [/l:<log file>] [/t:<trace file>] [/m:<MIF file>]
//   dvsetup uninstall [/l:<log file>] [/t:<trace file>] [/m:<MIF file>]
//   dvsetup consoles
//   dvsetup listen    [/w:<seconds, default 120>] [/n:<results to wait for, default 1>]
//   dvsetup snapshot  <file>
//
// The medium is the folder of dvsetup.exe: SETUP.INF describes it, SETUP.ICF answers the
// installation's questions (the run is a batch operation), DVVER.DLL tells the version. The log,
// trace and MIF status files default to DVSETUP.LOG, DVSETUP.TRC and DVSETUP.MIF in the
// temporary folder. install and uninstall report their progress to a master setup on this
// machine, which `listen` plays. `snapshot` writes the machine state that setup changes into a
// file (a name without blanks, as the command line is split at them), to compare with diff. The
// exit code is the number of failed steps (2 for a wrong command line).
#include "AccessReport.h"
#include "Account.h"
#include "Master.h"
#include "Report.h"
#include "Services.h"
#include "Snapshot.h"
#include "Upgrade.h"

#include "SetupCLS.h"
#include "Handles.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

// The record the suite's setup programs hand to the library, filled from the command line and
// the medium.
struct SetupRun {
    CString medium;     // folder of dvsetup.exe, ending in a back-slash
    CString logFile;
    CString traceFile;
    CString mifFile;
    tagSETUP_INFO info;
};

CString ProgramFolder()
{
    char path[MAX_PATH + 1] = {};
    GetModuleFileNameA(nullptr, path, MAX_PATH);
    CString folder(path);
    return folder.Left(folder.ReverseFind('\\') + 1);
}

CString TempFile(const char* name)
{
    char folder[MAX_PATH + 1] = {};
    GetTempPathA(MAX_PATH, folder);
    CString path(folder);
    AppendBackSlash(path);
    return path + name;
}

void CopyText(char* field, size_t size, const char* text)
{
    lstrcpynA(field, text ? text : "", static_cast<int>(size));
}

SetupRun PrepareRun(const CCommandLineMap& args)
{
    SetupRun run;
    run.medium = ProgramFolder();
    args.GetSwitch('l', run.logFile, TempFile("DVSETUP.LOG"));
    args.GetSwitch('t', run.traceFile, TempFile("DVSETUP.TRC"));
    args.GetSwitch('m', run.mifFile, TempFile("DVSETUP.MIF"));

    CSetupInf medium;  // the SETUP.INF beside dvsetup.exe
    CString answerFile = run.medium + CSetupIcf::DefaultICFFileName();
    tagSETUP_INFO& info = run.info;
    memset(&info, 0, sizeof(info));
    CopyText(info.szProductName, sizeof(info.szProductName), medium.GetSetupProductName());
    CopyText(info.szProfile, sizeof(info.szProfile), answerFile);
    CopyText(info.szTraceFile, sizeof(info.szTraceFile), run.traceFile);
    CopyText(info.szSourcePath, sizeof(info.szSourcePath), run.medium);
    CopyText(info.szBatchFile, sizeof(info.szBatchFile), answerFile);
    CopyText(info.szLogFile, sizeof(info.szLogFile), run.logFile);
    info.nProductType = medium.GetProductType();
    info.bTrace = TRUE;
    info.bBatchOperation = TRUE;
    return run;
}

// The 49-byte product record of the installed product.
tagProductStruct ProductRecord(const CSettings& settings, const CString& medium)
{
    tagProductStruct record;
    memset(&record, 0, sizeof(record));
    const CString versionLibrary = medium + "DVVER.DLL";
    record.dwProductCode = static_cast<unsigned long>(settings.ProductType());
    record.wVersionNumber = SetupCLSGetVersionNumber(versionLibrary);
    record.wBuildNumber = SetupCLSGetBuildNumber(versionLibrary);
    record.chSubType = static_cast<char>(settings.ProductSubType());
    return record;
}

CString ProductKeyPath(const char* sub)
{
    CString key(CTambRegistry::m_sDrosvaneKey);
    if (sub && sub[0])
        key += CString("\\") + sub;
    return key;
}

// The key below HKEY_LOCAL_MACHINE in one registry view, opened for reading; empty when it
// cannot be opened.
UniqueKey OpenForRead(const char* key, REGSAM view)
{
    UniqueKey handle;
    handle.kept(RegOpenKeyExA(HKEY_LOCAL_MACHINE, key, 0, KEY_READ | view, handle.put()));
    return handle;
}

bool KeyExists(const char* key, REGSAM view)
{
    return static_cast<bool>(OpenForRead(key, view));
}

bool KeyExistsInAnyView(const char* key)
{
    return KeyExists(key, KEY_WOW64_32KEY) || KeyExists(key, KEY_WOW64_64KEY);
}

// The Add or Remove Programs entry is named by the product code, as the Windows Installer names
// the entries of the products it installs; the upgrade of a later release finds the product
// there.
CString ProductCode(const CString& medium)
{
    return MediumSetupValue(medium, "ProductCode");
}

CString UninstallKeyPath(const CString& medium)
{
    return CString("Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\") + ProductCode(medium);
}

// The product's own keys below the product key, deepest first, so that each is empty when it
// is removed.
const char* const kProductSubKeys[] = {
    "Base\\Path", "Base\\User", "Base\\Components", "Base\\Database", "Base\\SNMP", "Base",
    "ClientAgent\\Common", "ClientAgent",
};

const char* const kProductFolders[] = {"", "DATABASE", "LOG", "TEMP"};

// The product's rule on its key (Everyone reads; Backup Operators and Administrators have full
// control; sub keys inherit it), set through the 32-bit view the key lives in. The library
// answers 1 whatever happened and leaves the status in GetLastError.
bool ProtectProductKey()
{
    UniqueKey key;
    if (key.kept(RegOpenKeyExA(HKEY_LOCAL_MACHINE, ProductKeyPath(nullptr), 0,
                               WRITE_DAC | READ_CONTROL | KEY_WOW64_32KEY, key.put())) != ERROR_SUCCESS)
        return false;
    SetLastError(ERROR_SUCCESS);
    return CTambRegistry::AddAccessPermissionOnRegistryKey(key.get(), 1) != 0 && GetLastError() == ERROR_SUCCESS;
}

// ---- The installation: one ordered table of stages, each with what undoes it. ----
//
// install runs the stages in order; uninstall runs their mirrors backwards; an install whose
// stage fails runs the mirrors of that stage and of every stage before it, backwards, so that
// the machine is left as it was and a second install starts from a clean slate. A mirror undoes
// whatever part of its stage is there, so it also serves after a stage that stopped half-way.
// What one stage does is reported step by step as it ends; a new stage is one row.

// What the stages share.
struct Installation {
    SetupRun& run;
    StepReport& report;
    const CSettings& settings;  // install mode for the stages, uninstall mode for the mirrors
    CString home;               // the product's home folder, ending in a back-slash
    CString account;            // the services' logon account; empty for LocalSystem
};

void CreateFolders(Installation& at)
{
    bool folders = !at.home.IsEmpty();
    for (const char* name : kProductFolders)
        folders = folders && CComputer::CreateDirectoryA(at.home + name) != 0;
    at.report.Step("Create the product folders", folders);
}

void RemoveFolders(Installation& at)
{
    CString home(at.home);
    const bool removed = home.IsEmpty() || !CComputer::PathExists(home) || CComputer::DeleteTree(home);
    at.report.Step("Remove the product folders", removed && (home.IsEmpty() || !CComputer::PathExists(home)));
    // The maker's folder above the home goes too when nothing else is in it (the call fails
    // otherwise, and the folder stays).
    TrimTailBackSlash(home);
    const int cut = home.ReverseFind('\\');
    if (cut > 0)
        RemoveDirectoryA(home.Left(cut));
}

void WriteLayout(Installation& at)
{
    // Built with 0: the product record's name comes from the settings' edition.
    CTambRegistry registry(at.settings, 0);
    at.report.Step("Write the product registry layout", registry.Write() != 0);
}

// The product's keys and user branches, its SNMP agent, shell extension, installed-products
// entry and environment variables (LNNAME and CATPATH; RNNAME stays, as setup leaves it), then
// the maker's key when nothing else of the maker is left in it.
void RemoveLayout(Installation& at)
{
    CTambRegistry registry(at.settings, 0);
    at.report.Step("Remove the product registry layout and its registrations",
                   registry.Delete() != 0 && !KeyExistsInAnyView(ProductKeyPath(nullptr)));
}

void RegisterRecord(Installation& at)
{
    tagProductStruct record = ProductRecord(at.settings, at.run.medium);
    at.report.Step("Register the product record",
                   CTambRegistry::RegisterProduct(CTambRegistry::m_sProductDrosvane, &record) != 0);
    at.report.Note("%s\\%s: version %d.%d build %d", CTambRegistry::m_sProductsKey.GetString(),
                   CTambRegistry::m_sProductDrosvane.GetString(), record.wVersionNumber >> 8,
                   record.wVersionNumber & 0xFF, record.wBuildNumber);
}

void UnregisterRecord(Installation& at)
{
    CTambRegistry::UnregisterProduct(CTambRegistry::m_sProductDrosvane);
    at.report.Step("Unregister the product record",
                   !CTambRegistry::IsProductInstalled(CTambRegistry::m_sProductDrosvane));
}

void WriteUninstallEntry(Installation& at)
{
    CString uninstall;
    uninstall.Format("\"%sdvsetup.exe\" uninstall", at.run.medium.GetString());
    at.report.Step("Write the Add or Remove Programs entry",
                   CTambRegistry::CreateUninstallKey(ProductCode(at.run.medium), at.settings.ProductName(),
                                                     uninstall) != 0);
}

void RemoveUninstallEntry(Installation& at)
{
    CTambRegistry::DeleteUninstallKey(ProductCode(at.run.medium));
    at.report.Step("Remove the Add or Remove Programs entry", !KeyExistsInAnyView(UninstallKeyPath(at.run.medium)));
}

void CreateAccount(Installation& at)
{
    at.account = CreateServiceAccount(at.report, at.settings);
}

void DeleteAccount(Installation& at)
{
    DeleteServiceAccount(at.report, at.settings);
}

void InstallTheServices(Installation& at)
{
    InstallServices(at.report, at.run.medium, at.home, at.account, at.settings.SystemAccountPassword());
}

void UninstallTheServices(Installation& at)
{
    UninstallServices(at.report, at.home);
}

void ProtectFoldersAndKey(Installation& at)
{
    ProtectProductFolders(at.report, at.home);
    at.report.Step("Give the product key its access list", ProtectProductKey());
}

void CreateQueue(Installation& at)
{
    CreateJobQueue(at.report, at.run.medium, at.home);
}

void DeleteQueue(Installation& at)
{
    DeleteJobQueue(at.report);
}

void HandleEarlierProduct(Installation& at)
{
    PrepareUpgrade(at.report, at.run.medium);
}

void RestoreEarlierProduct(Installation& at)
{
    RestoreEarlierKeys(at.report);
}

struct Stage {
    const char* name;                   // what the stage makes, as the reports name it
    void (*install)(Installation&);     // its steps
    void (*mirror)(Installation&);      // what undoes them; null: the stage leaves nothing to undo
};

// The Overview of an installation, in its order. Before the first stage the installer's settings
// are built and the product's running consoles closed; after the last, the master setup hears
// the result and the MIF status file is written.
const Stage kStages[] = {
    // The upgrade verdict; an earlier product's keys and service start types kept aside, it removed.
    {"upgrade verdict and earlier product", HandleEarlierProduct, nullptr},
    {"product folders", CreateFolders, RemoveFolders},
    // Product paths, components, environment, installed-products entry, database values, shell
    // extension and SNMP key.
    {"registry layout", WriteLayout, RemoveLayout},
    {"product record", RegisterRecord, UnregisterRecord},
    {"Add or Remove Programs entry", WriteUninstallEntry, RemoveUninstallEntry},
    {"service logon account", CreateAccount, DeleteAccount},
    // The service programs, the services, their failure actions, access lists and firewall exceptions.
    {"services", InstallTheServices, UninstallTheServices},
    {"access lists of the home folder and the product key", ProtectFoldersAndKey, nullptr},
    {"job queue", CreateQueue, DeleteQueue},
    {"restore of the earlier product's keys and start types", RestoreEarlierProduct, nullptr},
};
const size_t kStageCount = sizeof(kStages) / sizeof(kStages[0]);

// Runs the mirrors of the stages before end, backwards.
void RunMirrors(Installation& at, size_t end)
{
    for (size_t index = end; index-- > 0;) {
        if (kStages[index].mirror)
            kStages[index].mirror(at);
    }
}

// The settings of the product as installed on this machine, for the mirrors.
struct InstalledSettings {
    explicit InstalledSettings(SetupRun& run) : settings(&run.info, 1) { ok = settings.Initialize() != 0; }
    CSettings settings;
    bool ok;
};

int Install(SetupRun& run, bool upgrade)
{
    const char* command = upgrade ? "upgrade" : "install";
    StepReport report(run.traceFile);
    printf("%s from %s\n", upgrade ? "Upgrading" : "Installing", run.medium.GetString());
    CLog::Write(run.traceFile, "dvsetup %s from %s", command, run.medium.GetString());

    CSetupInf medium;
    report.Step("Read the medium's SETUP.INF", medium.GetProductType() > 0);
    CSettings settings(&run.info, 0);
    report.Step("Build the installation settings from SETUP.INF, SETUP.ICF and the machine",
                settings.Initialize() != 0);
    report.Note("product %s, type %d, subtype %d, home %s", settings.ProductName(), settings.ProductType(),
                settings.ProductSubType(), settings.DrosvanePath());
    ReportInstaller(report);
    MasterReport master(run.mifFile, 0);
    master.Status(1, CString(command) + " started");
    // No console of the product may hold a file open while the installation runs.
    CloseConsoles(report);

    if (upgrade) {
        unsigned long earlier = 0;
        const unsigned long verdict = UpgradeVerdict(run.medium, &earlier);
        if (!report.Step("An earlier product is installed", verdict != 2)) {
            report.Note("verdict %lu: %s; install the product instead", verdict, VerdictText(verdict));
            master.Finish(report, report.Failures(), "upgrade refused: nothing to upgrade");
            return report.Finish(command);
        }
    }

    Installation at{run, report, settings, settings.DrosvanePath(), CString()};
    for (size_t index = 0; index < kStageCount; ++index) {
        const int failuresBefore = report.Failures();
        kStages[index].install(at);
        if (report.Failures() == failuresBefore) {
            master.Status(static_cast<unsigned int>(index + 2), kStages[index].name);
            continue;
        }
        // Undo what this stage and those before it did; the earlier product's backed-up keys stay
        // in the backup key, where the next install finds and restores them.
        printf("%s failed at its stage \"%s\": undoing its stages\n", command, kStages[index].name);
        CLog::Write(run.traceFile, "%s failed at stage %u (%s): undoing its stages", command,
                    static_cast<unsigned int>(index + 1), kStages[index].name);
        StepReport undo(run.traceFile);
        InstalledSettings installed(run);
        Installation back{run, undo, installed.settings, at.home, at.account};
        RunMirrors(back, index + 1);
        report.Note(undo.Failures() == 0 ? "the stages of this %s are undone"
                                         : "the stages of this %s are undone in part: see the steps that FAILED",
                    command);
        if (KeyExistsInAnyView(ProductKeyPath(nullptr) + "(BACKUP)"))
            report.Note("the earlier product's keys wait in %s(BACKUP) for the next install",
                        ProductKeyPath(nullptr).GetString());
        master.Finish(report, report.Failures(), CString(command) + " failed and was undone");
        return report.Finish(command);
    }
    master.Finish(report, report.Failures(), CString(command) + " finished");
    return report.Finish(command);
}

int Uninstall(SetupRun& run)
{
    StepReport report(run.traceFile);
    printf("Uninstalling with %s\n", run.medium.GetString());
    CLog::Write(run.traceFile, "dvsetup uninstall with %s", run.medium.GetString());

    InstalledSettings installed(run);
    report.Step("Build the installation settings", installed.ok);
    MasterReport master(run.mifFile, 1);
    master.Status(1, "uninstall started");
    CloseConsoles(report);
    Installation at{run, report, installed.settings, installed.settings.CurrentDrosvanePath(), CString()};
    RunMirrors(at, kStageCount);
    master.Finish(report, report.Failures(), report.Failures() ? "uninstall failed" : "uninstall finished");
    return report.Finish("uninstall");
}

// Prints the values of one key of the layout and the views it stands in.
void PrintKey(const char* key)
{
    const struct {
        REGSAM view;
        const char* name;
    } views[] = {{KEY_WOW64_32KEY, "32-bit view"}, {KEY_WOW64_64KEY, "64-bit view"}};
    for (const auto& view : views) {
        UniqueKey handle = OpenForRead(key, view.view);
        if (!handle)
            continue;
        printf("  HKLM\\%s  [%s]\n", key, view.name);
        for (DWORD index = 0;; ++index) {
            char name[256];
            DWORD nameSize = sizeof(name);
            BYTE data[512];
            DWORD dataSize = sizeof(data) - 1;
            DWORD type = 0;
            if (RegEnumValueA(handle.get(), index, name, &nameSize, nullptr, &type, data, &dataSize) != ERROR_SUCCESS)
                break;
            data[dataSize] = 0;
            if (type == REG_SZ)
                printf("      %-14s REG_SZ     %s\n", name, reinterpret_cast<char*>(data));
            else if (type == REG_DWORD && dataSize == sizeof(DWORD))
                printf("      %-14s REG_DWORD  %lu\n", name, *reinterpret_cast<DWORD*>(data));
            else
                printf("      %-14s type %lu, %lu bytes\n", name, type, dataSize);
        }
    }
}

const char* YesNo(int flag)
{
    return flag ? "yes" : "no";
}

int Status(SetupRun& run)
{
    CSettings settings(&run.info, 0);
    settings.Initialize();
    CTambRegistry registry(settings, 0);

    printf("Settings\n");
    printf("  product           %s (short name \"%s\", edition \"%s\")\n", settings.ProductName(),
           settings.ProductShortName(), settings.EditionName());
    printf("  type / subtype    %d / %d\n", settings.ProductType(), settings.ProductSubType());
    printf("  medium            %s\n", settings.SourcePath());
    printf("  answer file       %s\n", settings.BatchFile());
    printf("  log / trace       %s / %s\n", settings.LogFile(), settings.TraceFile());
    printf("  chosen home       %s\n", settings.DrosvanePath());
    printf("  installed home    %s (found: %s)\n", settings.CurrentDrosvanePath(), YesNo(settings.DrosvaneExists()));
    printf("  registered to     %s, %s\n", settings.RegisteredUser(), settings.RegisteredCompany());
    printf("  components        manager %s, server %s, admin %s, alert %s, data migration %s, antivirus %s\n",
           YesNo(settings.InstallManager()), YesNo(settings.InstallServer()), YesNo(settings.InstallAdmin()),
           YesNo(settings.InstallAlert()), YesNo(settings.InstallHSM()), YesNo(settings.InstallAV()));
    printf("  database          %s\n", settings.InstallSQL() ? "SQL" : "RAIMA");
    printf("  disk space        %lu\n", settings.DiskSpaceNeeded());

    printf("Product record %s\\%s\n", CTambRegistry::m_sProductsKey.GetString(),
           CTambRegistry::m_sProductDrosvane.GetString());
    tagProductStruct record;
    memset(&record, 0, sizeof(record));
    bool installed = CTambRegistry::GetProductInfo(CTambRegistry::m_sProductDrosvane, &record) != 0;
    if (installed)
        printf("  code %lu, version %d.%d, build %d, subtype %d, user level %lu\n", record.dwProductCode,
               record.wVersionNumber >> 8, record.wVersionNumber & 0xFF, record.wBuildNumber, record.chSubType,
               record.dwUserLevel);
    else
        printf("  not installed\n");

    printf("Registry layout\n");
    PrintKey(ProductKeyPath(nullptr));
    for (const char* sub : kProductSubKeys)
        PrintKey(ProductKeyPath(sub));
    PrintKey(CTambRegistry::m_sProductsKey);
    PrintKey(UninstallKeyPath(run.medium));
    printf("Access list of the product key\n");
    PrintKeyAccess(ProductKeyPath(nullptr));
    PrintServices(settings.CurrentDrosvanePath());
    PrintAccountAndFolders(settings, settings.CurrentDrosvanePath());
    PrintConsoles();
    PrintUpgradeAndQueue(run.medium);
    printf("Last MIF status\n  %s\n", LastMifStatus(run.mifFile).GetString());
    return installed ? 0 : 1;
}

int Usage()
{
    printf("usage: dvsetup install|upgrade|status|uninstall [/l:<log file>] [/t:<trace file>] [/m:<MIF file>]\n"
           "       dvsetup consoles\n"
           "       dvsetup listen [/w:<seconds>] [/n:<results>]\n"
           "       dvsetup snapshot <file>\n");
    return 2;
}

}  // namespace

int main()
{
    // The first positional argument is the program itself.
    CCommandLineMap args(GetCommandLineA(), '/');
    CString command;
    if (!args.Lookup("#1", command))
        return Usage();
    if (command.CompareNoCase("snapshot") == 0) {
        CString file;
        if (!args.Lookup("#2", file))
            return Usage();
        const int status = WriteSnapshot(file);
        if (status != 0)
            printf("The snapshot could not be written to %s (error %d)\n", file.GetString(), status);
        return status == 0 ? 0 : 1;
    }
    SetupRun run = PrepareRun(args);
    if (command.CompareNoCase("install") == 0)
        return Install(run, false);
    if (command.CompareNoCase("upgrade") == 0)
        return Install(run, true);
    if (command.CompareNoCase("uninstall") == 0)
        return Uninstall(run);
    if (command.CompareNoCase("status") == 0)
        return Status(run);
    if (command.CompareNoCase("consoles") == 0) {
        PrintConsoles();
        return 0;
    }
    if (command.CompareNoCase("listen") == 0) {
        CString wait, results;
        args.GetSwitch('w', wait, "120");
        args.GetSwitch('n', results, "1");
        return Listen(strtoul(wait, nullptr, 10), strtoul(results, nullptr, 10));
    }
    return Usage();
}
