#include "Upgrade.h"

#include "CApplication.h"
#include "CComputer.h"
#include "CJobQueue.h"
#include "DvSetUpgrade.h"
#include "PathRules.h"

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
    char productCode[MAX_PATH] = {};
    if (!report.Step("Back up the earlier product's keys",
                     DvSetBKOldProduct(SetupFolder(medium), MediumSetupValue(medium, kDescriptorKey), productCode, nullptr) != 0))
        return false;
    report.Note("earlier product code %s", productCode);
    return report.Step("Remove the earlier product", DvSetUninstallOldProd(productCode, 0, medium) != 0);
}

void RestoreEarlierKeys(StepReport& report)
{
    DvSetRSOldProdRegKey();
    report.Step("Restore the earlier product's backed-up keys", true);
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
