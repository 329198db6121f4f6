#include "Upgrade.h"

#include "CApplication.h"
#include "CComputer.h"
#include "CJobQueue.h"
#include "CTambRegistry.h"
#include "DvSetUpgrade.h"
#include "Handles.h"
#include "PathRules.h"
#include "Services.h"

#include <cstdio>

namespace {

const char kDescriptorKey[] = "ProductDescriptor";

const CApplication::Application kConsoles[] = {
    CApplication::DrosvaneManager, CApplication::DrosvaneAdmin, CApplication::DrosvaneCentralDBConfig,
    CApplication::DrosvaneMonitor, CApplication::DrosvaneDeviceConfig,
};

// A console saves its work before it goes; it is given this long.
const DWORD kConsoleExitWaitMs = 30000;
const DWORD kConsolePollMs = 100;

const char kCoreLibrary[] = "DVCORE.DLL";
const char kUninstallKey[] = "Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\";
const char kUninstallString[] = "UninstallString";

// Where the services' start types are kept across an upgrade: below the product key, among the
// keys the medium's upgrade description carries over.
CString StartTypesKey()
{
    return CTambRegistry::m_sDrosvaneKey + "\\Base\\Services";
}

// The command that removes the earlier product: its own uninstaller, as its Add or Remove
// Programs entry names it; empty when the entry names none (a Windows Installer product is then
// removed by its product code).
CString UninstallCommand(const char* productCode)
{
    UniqueKey entry;
    if (entry.kept(RegOpenKeyExA(HKEY_LOCAL_MACHINE, CString(kUninstallKey) + productCode, 0,
                                 KEY_QUERY_VALUE | KEY_WOW64_32KEY, entry.put())) != ERROR_SUCCESS)
        return CString();
    char command[1024] = {};
    DWORD size = sizeof(command) - 1;
    DWORD type = REG_NONE;
    if (RegQueryValueExA(entry.get(), kUninstallString, nullptr, &type, reinterpret_cast<BYTE*>(command), &size) !=
            ERROR_SUCCESS ||
        type != REG_SZ)
        return CString();
    return command;
}

bool WaitUntilGone(CApplication& console)
{
    for (DWORD waited = 0; waited < kConsoleExitWaitMs; waited += kConsolePollMs) {
        if (!console.IsRunning())
            return true;
        Sleep(kConsolePollMs);
    }
    return !console.IsRunning();
}

// The medium folder as the upgrade functions take it: without its final back-slash.
CString SetupFolder(const CString& medium)
{
    CString folder(medium);
    TrimTailBackSlash(folder);
    return folder;
}

}  // namespace

void CloseConsoles(StepReport& report)
{
    int running = 0;
    bool closed = true;
    for (CApplication::Application which : kConsoles) {
        CApplication console(which);
        if (!console.IsRunning())
            continue;
        ++running;
        const bool asked = console.CloseWindow() != 0;
        const bool gone = asked && WaitUntilGone(console);
        report.Note("console %s: %s", console.GetClassNameA(),
                    gone ? "closed" : asked ? "asked to close, still running" : "running, but shows no window");
        closed = closed && gone;
    }
    if (running == 0)
        report.Note("no product console is running");
    report.Step("Close the running product consoles", closed);
}

int PrintConsoles()
{
    int running = 0;
    printf("Consoles\n");
    for (CApplication::Application which : kConsoles) {
        CApplication console(which);
        const bool runs = console.IsRunning() != 0;
        running += runs;
        printf("  %-22s %s\n", console.GetClassNameA(), runs ? "running" : "not running");
    }
    return running;
}

CString MediumSetupValue(const CString& medium, const char* key)
{
    char value[MAX_PATH] = {};
    GetPrivateProfileStringA("Setup", key, "", value, sizeof(value), medium + "SETUP.INF");
    return value;
}

unsigned long UpgradeVerdict(const CString& medium, unsigned long* earlier)
{
    return DvSetIsAllowUpgrade(SetupFolder(medium), MediumSetupValue(medium, kDescriptorKey), earlier, nullptr);
}

const char* VerdictText(unsigned long verdict)
{
    static const char* const texts[] = {"upgrade allowed", "upgrade not allowed", "nothing installed",
                                        "this version and build is already installed"};
    return verdict < sizeof(texts) / sizeof(texts[0]) ? texts[verdict] : "unknown verdict";
}

bool PrepareUpgrade(StepReport& report, const CString& medium)
{
    unsigned long earlier = 0;
    const unsigned long verdict = UpgradeVerdict(medium, &earlier);
    const bool allowed = verdict == 0 || verdict == 2;
    report.Step("Ask the upgrade verdict for the medium", allowed);
    report.Note("verdict %lu: %s", verdict, VerdictText(verdict));
    if (verdict == 2 || !allowed) {
        if (!allowed)
            report.Note("installed: version %lu.%lu build %lu; the installation stops here", (earlier >> 8) & 0xFF,
                        earlier & 0xFF, earlier >> 16);
        return allowed;
    }
    report.Note("earlier product: version %lu.%lu build %lu", (earlier >> 8) & 0xFF, earlier & 0xFF, earlier >> 16);
    BackupServiceStartTypes(report, StartTypesKey());
    char productCode[DVSET_PRODUCT_CODE_SIZE] = {};
    if (!report.Step("Back up the earlier product's keys",
                     DvSetBKOldProduct(SetupFolder(medium), MediumSetupValue(medium, kDescriptorKey), productCode, nullptr) != 0))
        return false;
    report.Note("earlier product code %s", productCode);
    // Its own uninstaller when it names one (the library then pauses 20 s for what that
    // uninstaller may have left running), else the Windows Installer by the product code.
    const CString command = UninstallCommand(productCode);
    report.Note("removed by %s", command.IsEmpty() ? "the Windows Installer" : command.GetString());
    return report.Step("Remove the earlier product",
                       command.IsEmpty() ? DvSetUninstallOldProd(productCode, FALSE, medium) != 0
                                         : DvSetUninstallOldProd(command, TRUE, medium) != 0);
}

void RestoreEarlierKeys(StepReport& report)
{
    DvSetRSOldProdRegKey();
    report.Step("Restore the earlier product's backed-up keys", true);
    RestoreServiceStartTypes(report, StartTypesKey());
}

void CreateJobQueue(StepReport& report, const CString& medium, const CString& home)
{
    report.Step("Copy the job-queue library into the home folder",
                CopyFileA(medium + kCoreLibrary, home + kCoreLibrary, FALSE) != 0);
    CString folder(home);
    report.Step("Create the job queue", CJobQueue::CreateQueue(folder.GetBuffer(0)) != 0);
    folder.ReleaseBuffer();
    report.Note("queue AQ_TAMB in %s", CJobQueue::GetPath().GetString());
}

void DeleteJobQueue(StepReport& report)
{
    report.Step("Delete the job queue", !CJobQueue::QueueExists() || CJobQueue::DeleteQueue() != 0);
}

void PrintUpgradeAndQueue(const CString& medium)
{
    unsigned long earlier = 0;
    const unsigned long verdict = UpgradeVerdict(medium, &earlier);
    printf("Upgrade\n");
    printf("  descriptor        %s\n", MediumSetupValue(medium, kDescriptorKey).GetString());
    printf("  verdict           %lu (%s)\n", verdict, VerdictText(verdict));
    if (verdict != 2)
        printf("  installed         version %lu.%lu build %lu\n", (earlier >> 8) & 0xFF, earlier & 0xFF, earlier >> 16);
    printf("Job queue\n");
    printf("  folder            %s (%s)\n", CJobQueue::GetPath().GetString(),
           CJobQueue::QueueExists() ? "exists" : "missing");
}
