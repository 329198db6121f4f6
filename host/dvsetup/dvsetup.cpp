// dvsetup: the reference installer host of SetupCLS. It installs the product from the medium it
// stands on, reports the installation as the registry holds it, and removes it again, driving
// the library the way the suite's setup programs do.
//
//   dvsetup install   [/l:<log file>] [/t:<trace file>] [/m:<MIF file>]
//   dvsetup status    [/l:<log file>] [/t:<trace file>] [/m:<MIF file>]
//   dvsetup uninstall [/l:<log file>] [/t:<trace file>] [/m:<MIF file>]
//   dvsetup consoles
//   dvsetup listen    [/w:<seconds, default 120>] [/n:<results to wait for, default 1>]
//
// The medium is the folder of dvsetup.exe: SETUP.INF describes it, SETUP.ICF answers the
// installation's questions (the run is a batch operation), DVVER.DLL tells the version. The log,
// trace and MIF status files default to DVSETUP.LOG, DVSETUP.TRC and DVSETUP.MIF in the
// temporary folder. install and uninstall report their progress to a master setup on this
// machine, which `listen` plays. The exit code is the number of failed steps (2 for a wrong
// command line).
#include "AccessReport.h"
#include "Account.h"
#include "Master.h"
#include "Report.h"
#include "Services.h"
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

int Install(SetupRun& run)
{
    StepReport report(run.traceFile);
    printf("Installing from %s\n", run.medium.GetString());
    CLog::Write(run.traceFile, "dvsetup install from %s", run.medium.GetString());

    CSetupInf medium;
    report.Step("Read the medium's SETUP.INF", medium.GetProductType() > 0);
    CSettings settings(&run.info, 0);
    report.Step("Build the installation settings from SETUP.INF, SETUP.ICF and the machine",
                settings.Initialize() != 0);
    report.Note("product %s, type %d, subtype %d, home %s", settings.ProductName(), settings.ProductType(),
                settings.ProductSubType(), settings.DrosvanePath());
    ReportInstaller(report);
    MasterReport master(run.mifFile, 0);
    master.Status(1, "install started");

    // Before any file is touched: no console of the product may hold one open, and an earlier
    // product is either replaceable (its keys are kept aside and it is removed) or the
    // installation stops here.
    CloseConsoles(report);
    if (!PrepareUpgrade(report, run.medium)) {
        master.Finish(report, report.Failures(), "install refused: the installed product may not be replaced");
        return report.Finish("install");
    }
    master.Status(2, "earlier product handled");

    bool folders = !CString(settings.DrosvanePath()).IsEmpty();
    for (const char* name : kProductFolders)
        folders = folders && CComputer::CreateDirectoryA(CString(settings.DrosvanePath()) + name) != 0;
    report.Step("Create the product folders", folders);

    // Built with 0: the product record's name comes from the settings' edition.
    CTambRegistry registry(settings, 0);
    report.Step("Write the product registry layout", registry.Write() != 0);

    tagProductStruct record = ProductRecord(settings, run.medium);
    report.Step("Register the product record", CTambRegistry::RegisterProduct(CTambRegistry::m_sProductDrosvane,
                                                                              &record) != 0);
    report.Note("%s\\%s: version %d.%d build %d", CTambRegistry::m_sProductsKey.GetString(),
                CTambRegistry::m_sProductDrosvane.GetString(), record.wVersionNumber >> 8,
                record.wVersionNumber & 0xFF, record.wBuildNumber);

    CString uninstall;
    uninstall.Format("\"%sdvsetup.exe\" uninstall", run.medium.GetString());
    report.Step("Write the Add or Remove Programs entry",
                CTambRegistry::CreateUninstallKey(ProductCode(run.medium), settings.ProductName(), uninstall) != 0);

    const CString account = CreateServiceAccount(report, settings);
    InstallServices(report, run.medium, settings.DrosvanePath(), account, settings.SystemAccountPassword());
    ProtectProductFolders(report, settings.DrosvanePath());
    report.Step("Give the product key its access list", ProtectProductKey());
    master.Status(3, "registry and services in place");
    CreateJobQueue(report, run.medium, settings.DrosvanePath());
    RestoreEarlierKeys(report);
    master.Finish(report, report.Failures(), report.Failures() ? "install failed" : "install finished");
    return report.Finish("install");
}

int Uninstall(SetupRun& run)
{
    StepReport report(run.traceFile);
    printf("Uninstalling with %s\n", run.medium.GetString());
    CLog::Write(run.traceFile, "dvsetup uninstall with %s", run.medium.GetString());

    CSettings settings(&run.info, 1);
    report.Step("Build the installation settings", settings.Initialize() != 0);
    CTambRegistry registry(settings, 0);
    MasterReport master(run.mifFile, 1);
    master.Status(1, "uninstall started");

    CloseConsoles(report);
    UninstallServices(report, settings.CurrentDrosvanePath());
    DeleteServiceAccount(report, settings);
    DeleteJobQueue(report);

    CTambRegistry::DeleteUninstallKey(ProductCode(run.medium));
    report.Step("Remove the Add or Remove Programs entry", !KeyExistsInAnyView(UninstallKeyPath(run.medium)));

    CTambRegistry::UnregisterProduct(CTambRegistry::m_sProductDrosvane);
    report.Step("Unregister the product record",
                !CTambRegistry::IsProductInstalled(CTambRegistry::m_sProductDrosvane));

    // The product's keys and user branches, its SNMP agent, shell extension, installed-products
    // entry and environment variables (LNNAME and CATPATH; RNNAME stays, as setup leaves it),
    // then the maker's key when nothing else of the maker is left in it.
    report.Step("Remove the product registry layout and its registrations",
                registry.Delete() != 0 && !KeyExistsInAnyView(ProductKeyPath(nullptr)));

    CString home(settings.CurrentDrosvanePath());
    bool removed = home.IsEmpty() || !CComputer::PathExists(home) || CComputer::DeleteTree(home);
    report.Step("Remove the product folders", removed && (home.IsEmpty() || !CComputer::PathExists(home)));
    // The maker's folder above the home goes too when nothing else is in it (the call fails
    // otherwise, and the folder stays).
    TrimTailBackSlash(home);
    const int cut = home.ReverseFind('\\');
    if (cut > 0)
        RemoveDirectoryA(home.Left(cut));
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
    printf("usage: dvsetup install|status|uninstall [/l:<log file>] [/t:<trace file>] [/m:<MIF file>]\n"
           "       dvsetup consoles\n"
           "       dvsetup listen [/w:<seconds>] [/n:<results>]\n");
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
    SetupRun run = PrepareRun(args);
    if (command.CompareNoCase("install") == 0)
        return Install(run);
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
