#include "Services.h"

#include "CService.h"
#include "Handles.h"

#include <cstdio>
#include <vector>

namespace {

// Started in this order, stopped and removed in the other.
const CService::ServiceType kMediumServices[] = {CService::JobEngine, CService::MessageEngine};

// Restarted after a first and a second failure, a minute later each; left stopped after a third.
const unsigned long kRestartDelayMs = 60000;

const size_t kMessageSize = 512;

CString Step(const char* format, const char* name)
{
    CString text;
    text.Format(format, name);
    return text;
}

// What the service manager holds of one service; found is false when it cannot be asked.
struct ServiceFacts {
    bool found = false;
    DWORD state = 0;
    DWORD startType = 0;
    CString dependencies;
};

ServiceFacts AskServiceManager(const char* name)
{
    ServiceFacts facts;
    UniqueService manager(OpenSCManagerA(nullptr, nullptr, SC_MANAGER_CONNECT));
    UniqueService service(manager ? OpenServiceA(manager.get(), name, SERVICE_QUERY_CONFIG | SERVICE_QUERY_STATUS)
                                  : nullptr);
    SERVICE_STATUS status = {};
    std::vector<DWORD> buffer(8192 / sizeof(DWORD));
    auto config = reinterpret_cast<QUERY_SERVICE_CONFIGA*>(buffer.data());
    DWORD needed = 0;
    if (!service || !QueryServiceStatus(service.get(), &status) ||
        !QueryServiceConfigA(service.get(), config, 8192, &needed))
        return facts;
    facts.found = true;
    facts.state = status.dwCurrentState;
    facts.startType = config->dwStartType;
    for (const char* name = config->lpDependencies; name && *name; name += strlen(name) + 1)
        facts.dependencies += CString(facts.dependencies.IsEmpty() ? "" : ", ") + name;
    return facts;
}

}  // namespace

const char* StateName(DWORD state)
{
    static const char* const names[] = {"unknown",          "stopped",         "start pending", "stop pending",
                                        "running",          "continue pending", "pause pending", "paused"};
    return state < sizeof(names) / sizeof(names[0]) ? names[state] : "unknown";
}

const char* StartTypeName(DWORD startType)
{
    static const char* const names[] = {"boot", "system", "automatic", "manual", "disabled"};
    return startType < sizeof(names) / sizeof(names[0]) ? names[startType] : "unknown";
}

void InstallServices(StepReport& report, const CString& medium, const CString& home, const char* account,
                     const char* password)
{
    const bool localSystem = CString(account).IsEmpty();
    bool copied = true;
    for (CService::ServiceType type : kMediumServices) {
        const CString file = CService(type).BinaryFile();
        copied = CopyFileA(medium + file, home + file, FALSE) && copied;
    }
    report.Step("Copy the service programs into the home folder", copied);
    for (CService::ServiceType type : kMediumServices) {
        const CService service(type);
        const char* name = service.Name();
        report.Step(Step("Install service %s (automatic start)", name),
                    service.InstallService(home, SERVICE_AUTO_START, localSystem ? nullptr : account,
                                           localSystem ? nullptr : password) != 0);
        report.Step(Step("Give %s its failure actions", name),
                    CService::ChangeSvcFailureActions(name, SC_ACTION_RESTART, SC_ACTION_RESTART, SC_ACTION_NONE,
                                                      kRestartDelayMs) != 0);
        report.Step(Step("Give %s its access list", name), service.AddAccessPermission() != 0);
        report.Step(Step("Start %s", name), service.StartServiceA(1) != 0);
        char message[kMessageSize] = {};
        report.Step(Step("Allow %s through the firewall", service.BinaryFile()),
                    CService::WindowsFirewallAdd(home + service.BinaryFile(), service.DisplayName(), message,
                                                 sizeof(message)) != 0);
        if (message[0])
            report.Note("%s", message);
    }
}

void UninstallServices(StepReport& report, const CString& home)
{
    for (size_t index = sizeof(kMediumServices) / sizeof(kMediumServices[0]); index-- > 0;) {
        const CService service(kMediumServices[index]);
        const char* name = service.Name();
        report.Step(Step("Stop %s and what depends on it", name), service.StopService(1, 1) != 0);
        char message[kMessageSize] = {};
        report.Step(Step("Close the firewall for %s", service.BinaryFile()),
                    CService::WindowsFirewallRemove(home + service.BinaryFile(), message, sizeof(message)) != 0);
        if (message[0])
            report.Note("%s", message);
        report.Step(Step("Remove service %s", name), service.RemoveService() != 0 && !service.Exists());
    }
}

int PrintServices(const CString& home)
{
    int installed = 0;
    printf("Services\n");
    for (CService::ServiceType type : kMediumServices) {
        const CService service(type);
        const ServiceFacts facts = AskServiceManager(service.Name());
        if (!facts.found) {
            printf("  %-18s not installed\n", service.Name());
            continue;
        }
        ++installed;
        char program[MAX_PATH + 1] = {};
        CService::GetServiceFileName(service.Name(), program, sizeof(program));
        printf("  %-18s %s, %s start\n", service.Name(), StateName(facts.state), StartTypeName(facts.startType));
        printf("      program       %s\n", program);
        printf("      depends on    %s\n", facts.dependencies.IsEmpty() ? "(nothing)" : facts.dependencies.GetString());
    }
    printf("Firewall\n");
    printf("  started           %s\n", CService::IsWindowsFirewallStarted() ? "yes" : "no");
    for (CService::ServiceType type : kMediumServices) {
        const CService service(type);
        char message[kMessageSize] = {};
        const int allowed = CService::IsWindowsFirewallAdded(home + service.BinaryFile(), message, sizeof(message));
        printf("  %-18s %s (%s)\n", service.BinaryFile(), allowed ? "allowed" : "not allowed", message);
    }
    return installed;
}

void BackupServiceStartTypes(StepReport& report, const char* key)
{
    bool kept = true;
    for (CService::ServiceType type : kMediumServices)
        kept = CService::BackupServiceStatus(key, CService(type).Name()) != 0 && kept;
    report.Step("Keep the services' start types with the earlier product's keys", kept);
}

void RestoreServiceStartTypes(StepReport& report, const char* key)
{
    bool restored = true;
    for (CService::ServiceType type : kMediumServices) {
        const CService service(type);
        restored = CService::RestoreServiceStatus(key, service.Name(), nullptr) != 0 && restored;
    }
    report.Step("Give the services the start types they had", restored);
}
