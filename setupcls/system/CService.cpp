// The static face of CService: the service control manager's operations by service name.
//
// Each operation's work is a function answering a Win32 status (ERROR_SUCCESS or the status of
// the call that failed) and holding its handles; the exported static turns the status into 1 or
// 0 once the handles are closed, so that GetLastError still tells the caller why.
#include "CService.h"

#include "AccessRules.h"
#include "CComputer.h"
#include "Failure.h"
#include "Handles.h"
#include "RegistryView.h"
#include "TextRules.h"

#include <cstring>
#include <memory>
#include <new>

namespace {

const char kServicesKey[] = "SYSTEM\\CurrentControlSet\\Services";
const char kDependOnService[] = "DependOnService";
const char kFilterGroup[] = "Filter";

const DWORD kConfigBufferSize = 4096;
const DWORD kDependenciesSize = 256;
const DWORD kServiceKeyNameSize = 256;
const DWORD kMachineServiceKeyNameSize = 260;
const DWORD kFailureResetSeconds = 7 * 24 * 60 * 60;

// The exported form of a status: 1 or 0, the status left in GetLastError. An allocation that
// fails inside body answers 0 as well.
template <typename Body>
int Answer(Body&& body)
{
    return failure::ContainExceptions(0, [&] { return failure::ResultOf(static_cast<LONG>(body())); });
}

struct ServiceHandles {
    UniqueService manager;
    UniqueService service;
};

// The local service manager (active database) opened with managerAccess, and the named service
// in it with serviceAccess.
DWORD OpenNamedService(const char* name, DWORD managerAccess, DWORD serviceAccess, ServiceHandles& handles)
{
    if (!name)
        return ERROR_INVALID_PARAMETER;
    handles.manager = UniqueService(OpenSCManagerA(nullptr, nullptr, managerAccess));
    if (!handles.manager)
        return GetLastError();
    handles.service = UniqueService(OpenServiceA(handles.manager.get(), name, serviceAccess));
    return handles.service ? ERROR_SUCCESS : GetLastError();
}

DWORD OpenNamedService(const char* name, DWORD serviceAccess, ServiceHandles& handles)
{
    return OpenNamedService(name, SC_MANAGER_ALL_ACCESS, serviceAccess, handles);
}

// Kernel and file-system drivers are always put in the "Filter" group.
const char* GroupFor(unsigned long serviceType, const char* group)
{
    return (serviceType == SERVICE_KERNEL_DRIVER || serviceType == SERVICE_FILE_SYSTEM_DRIVER) ? kFilterGroup : group;
}

// A service's configuration, read into a zero-filled buffer of the fixed size.
class ServiceConfig {
public:
    ServiceConfig() : m_buffer(new (std::nothrow) DWORD[kConfigBufferSize / sizeof(DWORD)]()) {}
    bool allocated() const { return m_buffer != nullptr; }
    DWORD Read(SC_HANDLE service)
    {
        DWORD needed = 0;
        return failure::StatusOf(QueryServiceConfigA(service, get(), kConfigBufferSize, &needed));
    }
    QUERY_SERVICE_CONFIGA* get() const { return reinterpret_cast<QUERY_SERVICE_CONFIGA*>(m_buffer.get()); }

private:
    std::unique_ptr<DWORD[]> m_buffer;
};

// True when the list of NUL-ended names (the first size bytes of list, closed by an empty name)
// holds name exactly. A list that runs to the end of the bytes read ends there.
bool ListNames(const char* list, DWORD size, const char* name)
{
    DWORD at = 0;
    while (at < size && list[at] != '\0') {
        const DWORD length = static_cast<DWORD>(strnlen(list + at, size - at));
        if (at + length < size && strcmp(list + at, name) == 0)
            return true;
        at += length + 1;
    }
    return false;
}

// Calls act(serviceName) for every service whose DependOnService value names name, in the order
// of the services key. A service whose key cannot be opened, or whose value does not fit the
// fixed buffer, is passed over. The answer is the status of the last act that failed.
template <typename Act>
DWORD ForEachDependent(const char* name, Act act)
{
    if (!name)
        return ERROR_INVALID_PARAMETER;
    UniqueKey services;
    DWORD status = services.kept(RegOpenKeyExA(HKEY_LOCAL_MACHINE, kServicesKey, 0, KEY_ALL_ACCESS, services.put()));
    if (status != ERROR_SUCCESS)
        return status;
    for (DWORD index = 0;; ++index) {
        char serviceName[kServiceKeyNameSize];
        if (RegEnumKeyA(services.get(), index, serviceName, sizeof(serviceName)) != ERROR_SUCCESS)
            break;
        UniqueKey service;
        if (service.kept(RegOpenKeyExA(services.get(), serviceName, 0, KEY_ALL_ACCESS, service.put())) !=
            ERROR_SUCCESS)
            continue;
        char dependencies[kDependenciesSize];
        DWORD size = sizeof(dependencies);
        if (RegQueryValueExA(service.get(), kDependOnService, nullptr, nullptr, reinterpret_cast<BYTE*>(dependencies),
                             &size) != ERROR_SUCCESS)
            continue;
        if (ListNames(dependencies, size, name)) {
            const DWORD done = act(serviceName);
            if (done != ERROR_SUCCESS)
                status = done;
        }
    }
    return status;
}

// The status a state that is not the one asked for stands for: the service's own exit code when
// it gave one.
DWORD StateFailure(const SERVICE_STATUS& status, DWORD otherwise)
{
    return status.dwWin32ExitCode != NO_ERROR ? status.dwWin32ExitCode : otherwise;
}

// Starts the open service; with wait, follows its wait hints while its check point advances.
// A start-pending service may refuse the interrogation (it accepts no controls yet): its status
// is then read by query.
DWORD StartOpenService(SC_HANDLE service, int wait)
{
    if (!::StartServiceA(service, 0, nullptr)) {
        const DWORD error = GetLastError();
        return error == ERROR_SERVICE_ALREADY_RUNNING ? ERROR_SUCCESS : error;
    }
    if (!wait)
        return ERROR_SUCCESS;
    SERVICE_STATUS status = {};
    if (!ControlService(service, SERVICE_CONTROL_INTERROGATE, &status) && !QueryServiceStatus(service, &status))
        return GetLastError();
    while (status.dwCurrentState == SERVICE_START_PENDING) {
        const DWORD checkPoint = status.dwCheckPoint;
        Sleep(status.dwWaitHint);
        if (!QueryServiceStatus(service, &status) || status.dwCheckPoint <= checkPoint)
            break;
    }
    if (status.dwCurrentState == SERVICE_RUNNING || status.dwCurrentState == SERVICE_START_PENDING)
        return ERROR_SUCCESS;
    return StateFailure(status, ERROR_SERVICE_NOT_ACTIVE);
}

DWORD StopDependents(const char* name, int wait)
{
    return ForEachDependent(name, [wait](const char* dependent) -> DWORD {
        return CService::StopService(dependent, wait, 0) ? ERROR_SUCCESS : GetLastError();
    });
}

// Stops the open service. A stop already under way counts as done and is not waited for. With
// wait, polls once a second for the service's stop wait hint (in whole seconds, at least one)
// plus one second at most. Without, the answer is the state the stop control handed back.
DWORD StopOpenService(SC_HANDLE service, const char* name, int wait, int stopDependents)
{
    SERVICE_STATUS status = {};
    if (!QueryServiceStatus(service, &status))
        return GetLastError();
    if (status.dwCurrentState == SERVICE_STOPPED || status.dwCurrentState == SERVICE_STOP_PENDING)
        return ERROR_SUCCESS;
    if (!ControlService(service, SERVICE_CONTROL_STOP, &status)) {
        const DWORD error = GetLastError();
        if (error != ERROR_DEPENDENT_SERVICES_RUNNING || !stopDependents)
            return error;
        StopDependents(name, wait);
        if (!ControlService(service, SERVICE_CONTROL_STOP, &status))
            return GetLastError();
    }
    // The status a stop control hands back may be the one from before the stop (Wine's is), so
    // the wait starts from the service's state as it is now; and a service that has not yet
    // reported the stop it accepted is waited for as a pending stop is.
    if (wait) {
        if (!QueryServiceStatus(service, &status))
            return GetLastError();
        DWORD count = status.dwWaitHint / 1000;
        if (count == 0)
            count = 1;
        while (status.dwCurrentState == SERVICE_STOP_PENDING || status.dwCurrentState == SERVICE_RUNNING) {
            Sleep(1000);
            if (!QueryServiceStatus(service, &status) || count == 0)
                break;
            --count;
        }
    }
    return status.dwCurrentState == SERVICE_STOPPED ? ERROR_SUCCESS : StateFailure(status, ERROR_SERVICE_REQUEST_TIMEOUT);
}

// The current state of the named service, or 0 when it cannot be opened or asked.
DWORD CurrentState(const char* name)
{
    ServiceHandles handles;
    SERVICE_STATUS status = {};
    if (OpenNamedService(name, SERVICE_ALL_ACCESS, handles) != ERROR_SUCCESS ||
        !QueryServiceStatus(handles.service.get(), &status))
        return 0;
    return status.dwCurrentState;
}

// Everyone may read a service on Windows 6 and later; before, and on the 9x family, only ask for
// its status.
DWORD EveryoneServiceAccess()
{
    return access::IsWindows6OrLater() ? (GENERIC_READ | SERVICE_QUERY_STATUS) : SERVICE_QUERY_STATUS;
}

DWORD SetAccessList(const char* name)
{
    if (IsEmptyText(name))
        return ERROR_INVALID_PARAMETER;
    UniqueLocalPtr<PACL> list;
    DWORD status = access::ProductRule(EveryoneServiceAccess(), SERVICE_ALL_ACCESS, NO_INHERITANCE, list);
    if (status != ERROR_SUCCESS)
        return status;
    ServiceHandles handles;
    status = OpenNamedService(name, SERVICE_ALL_ACCESS, handles);
    if (status != ERROR_SUCCESS)
        return status;
    return SetSecurityInfo(handles.service.get(), SE_SERVICE, DACL_SECURITY_INFORMATION, nullptr, nullptr, list.get(),
                           nullptr);
}

DWORD BackupStartType(const char* key, const char* name)
{
    if (IsEmptyText(key) || !name)
        return ERROR_INVALID_PARAMETER;
    ServiceHandles handles;
    ServiceConfig config;
    if (OpenNamedService(name, GENERIC_READ, handles) != ERROR_SUCCESS || !config.allocated() ||
        config.Read(handles.service.get()) != ERROR_SUCCESS)
        return ERROR_SUCCESS;  // a service that is not installed is backed up as nothing
    UniqueKey backup;
    DWORD status = regview::CreateKey(HKEY_LOCAL_MACHINE, key, backup);
    if (status != ERROR_SUCCESS)
        return status;
    const DWORD startType = config.get()->dwStartType;
    return RegSetValueExA(backup.get(), name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&startType),
                          sizeof(startType));
}

// The start type kept for the service; false when none is (no key, no value, or a value that is
// not a REG_DWORD).
bool KeptStartType(const char* key, const char* name, DWORD& startType)
{
    UniqueKey backup;
    if (IsEmptyText(key) || regview::OpenKey(HKEY_LOCAL_MACHINE, key, KEY_READ, backup) != ERROR_SUCCESS)
        return false;
    DWORD type = 0;
    DWORD size = sizeof(startType);
    return RegQueryValueExA(backup.get(), name, nullptr, &type, reinterpret_cast<BYTE*>(&startType), &size) ==
               ERROR_SUCCESS &&
           type == REG_DWORD && size == sizeof(startType);
}

// 1 when the services key of the machine has a key of that name, in any letter case.
DWORD FindServiceKey(const char* machine, const char* name)
{
    if (!name)
        return ERROR_INVALID_PARAMETER;
    HKEY root = HKEY_LOCAL_MACHINE;
    UniqueKey remote;
    if (!IsEmptyText(machine) && !CComputer::IsLocalMachine(machine)) {
        const DWORD status = remote.kept(RegConnectRegistryA(machine, HKEY_LOCAL_MACHINE, remote.put()));
        if (status != ERROR_SUCCESS)
            return status;
        root = remote.get();
    }
    UniqueKey services;
    const DWORD status = services.kept(RegOpenKeyExA(root, kServicesKey, 0, KEY_ALL_ACCESS, services.put()));
    if (status != ERROR_SUCCESS)
        return status;
    const CString wanted(name);
    for (DWORD index = 0;; ++index) {
        char serviceName[kMachineServiceKeyNameSize];
        if (RegEnumKeyA(services.get(), index, serviceName, sizeof(serviceName)) != ERROR_SUCCESS)
            return ERROR_SERVICE_DOES_NOT_EXIST;
        if (wanted.CompareNoCase(serviceName) == 0)
            return ERROR_SUCCESS;
    }
}

}  // namespace

int CService::InstallService(const char* name, const char* displayName, const char* binaryPath,
                             unsigned long serviceType, int startType, const char* loadOrderGroup,
                             const char* dependencies, const char* account, const char* password)
{
    return Answer([&]() -> DWORD {
        if (!name)
            return ERROR_INVALID_PARAMETER;
        UniqueService manager(OpenSCManagerA(nullptr, nullptr, SC_MANAGER_ALL_ACCESS));
        if (!manager)
            return GetLastError();
        UniqueService created(CreateServiceA(manager.get(), name, displayName, SERVICE_ALL_ACCESS, serviceType,
                                             static_cast<DWORD>(startType), SERVICE_ERROR_NORMAL, binaryPath,
                                             GroupFor(serviceType, loadOrderGroup), nullptr, dependencies, account,
                                             password));
        if (created)
            return ERROR_SUCCESS;
        const DWORD error = GetLastError();
        return error == ERROR_SERVICE_EXISTS ? ERROR_SUCCESS : error;
    });
}

int CService::ChangeService(const char* name, const char* displayName, const char* binaryPath,
                            unsigned long serviceType, int startType, const char* loadOrderGroup,
                            const char* dependencies, const char* account, const char* password)
{
    return Answer([&] {
        ServiceHandles handles;
        const DWORD status = OpenNamedService(name, GENERIC_WRITE, handles);
        if (status != ERROR_SUCCESS)
            return status;
        return failure::StatusOf(ChangeServiceConfigA(handles.service.get(), serviceType,
                                                      static_cast<DWORD>(startType), SERVICE_ERROR_NORMAL,
                                                      binaryPath, GroupFor(serviceType, loadOrderGroup), nullptr,
                                                      dependencies, account, password, displayName));
    });
}

int CService::ServiceExists(const char* name)
{
    return Answer([&] {
        ServiceHandles handles;
        return OpenNamedService(name, SERVICE_ALL_ACCESS, handles);
    });
}

int CService::ServiceExists(const char* machine, const char* name)
{
    return Answer([&] { return FindServiceKey(machine, name); });
}

int CService::IsStarted(const char* name)
{
    const DWORD state = CurrentState(name);
    return state != 0 && state != SERVICE_STOPPED ? 1 : 0;
}

int CService::IsStopped(const char* name)
{
    const DWORD state = CurrentState(name);
    return state == 0 || state == SERVICE_STOPPED ? 1 : 0;
}

int CService::StartServiceA(SC_HANDLE service, int wait)
{
    return Answer([&] { return StartOpenService(service, wait); });
}

int CService::StartServiceA(const char* name, int wait)
{
    return Answer([&] {
        ServiceHandles handles;
        const DWORD status = OpenNamedService(name, SERVICE_ALL_ACCESS, handles);
        return status == ERROR_SUCCESS ? StartOpenService(handles.service.get(), wait) : status;
    });
}

int CService::StartDependentServices(const char* name, int wait)
{
    return Answer([&] {
        return ForEachDependent(name, [wait](const char* dependent) -> DWORD {
            return CService::StartServiceA(dependent, wait) ? ERROR_SUCCESS : GetLastError();
        });
    });
}

int CService::StopService(SC_HANDLE service, const char* name, int wait, int stopDependents)
{
    return Answer([&] { return StopOpenService(service, name, wait, stopDependents); });
}

int CService::StopService(const char* name, int wait, int stopDependents)
{
    return Answer([&] {
        ServiceHandles handles;
        const DWORD status = OpenNamedService(name, SC_MANAGER_CONNECT, SERVICE_ALL_ACCESS, handles);
        if (status == ERROR_SERVICE_DOES_NOT_EXIST)
            return static_cast<DWORD>(ERROR_SUCCESS);
        return status == ERROR_SUCCESS ? StopOpenService(handles.service.get(), name, wait, stopDependents) : status;
    });
}

int CService::StopDependentServices(const char* name, int wait)
{
    return Answer([&] { return StopDependents(name, wait); });
}

int CService::RemoveService(const char* name)
{
    return Answer([&] {
        ServiceHandles handles;
        DWORD status = OpenNamedService(name, SERVICE_ALL_ACCESS, handles);
        if (status == ERROR_SERVICE_DOES_NOT_EXIST)
            return static_cast<DWORD>(ERROR_SUCCESS);
        if (status != ERROR_SUCCESS)
            return status;
        StopOpenService(handles.service.get(), name, 1, 0);  // whatever it answers, the delete follows
        status = failure::StatusOf(DeleteService(handles.service.get()));
        return status == ERROR_SERVICE_MARKED_FOR_DELETE ? static_cast<DWORD>(ERROR_SUCCESS) : status;
    });
}

int CService::AddAccessPermission(const char* name)
{
    return Answer([&] { return SetAccessList(name); });
}

int CService::BackupServiceStatus(const char* key, const char* name)
{
    return Answer([&] { return BackupStartType(key, name); });
}

int CService::RestoreServiceStatus(const char* key, const char* name, const char* displayName)
{
    if (!name) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    DWORD startType = 0;
    if (!KeptStartType(key, name, startType))
        return 1;
    return ChangeService(name, displayName, nullptr, SERVICE_NO_CHANGE, static_cast<int>(startType), nullptr, nullptr,
                         nullptr, nullptr);
}

int CService::ChangeSvcFailureActions(const char* name, unsigned long first, unsigned long second,
                                      unsigned long third, unsigned long delay)
{
    return Answer([&] {
        ServiceHandles handles;
        const DWORD status = OpenNamedService(name, SERVICE_ALL_ACCESS, handles);
        if (status != ERROR_SUCCESS)
            return status;
        SC_ACTION actions[3] = {{static_cast<SC_ACTION_TYPE>(first), delay},
                                {static_cast<SC_ACTION_TYPE>(second), delay},
                                {static_cast<SC_ACTION_TYPE>(third), delay}};
        SERVICE_FAILURE_ACTIONSA failureActions = {kFailureResetSeconds, nullptr, nullptr, 3, actions};
        return failure::StatusOf(
            ChangeServiceConfig2A(handles.service.get(), SERVICE_CONFIG_FAILURE_ACTIONS, &failureActions));
    });
}

int CService::ChangeSvcStartType(const char* name, unsigned long startType)
{
    return Answer([&] {
        ServiceHandles handles;
        const DWORD status = OpenNamedService(name, SERVICE_ALL_ACCESS, handles);
        if (status != ERROR_SUCCESS)
            return status;
        return failure::StatusOf(ChangeServiceConfigA(handles.service.get(), SERVICE_NO_CHANGE, startType,
                                                      SERVICE_NO_CHANGE, nullptr, nullptr, nullptr, nullptr, nullptr,
                                                      nullptr, nullptr));
    });
}

// The product's setup programs know this operation with two gaps, kept as they are: a
// configuration that cannot be allocated or read leaves the service manager and service handles
// open, and a manager or service that cannot be opened answers 1 with the buffer untouched.
int CService::GetServiceFileName(const char* name, char* buffer, unsigned long size)
{
    if (!name || !buffer) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    ServiceHandles handles;
    if (OpenNamedService(name, SC_MANAGER_CONNECT, SERVICE_QUERY_CONFIG, handles) != ERROR_SUCCESS)
        return 1;
    ServiceConfig config;
    const DWORD status = config.allocated() ? config.Read(handles.service.get()) : ERROR_NOT_ENOUGH_MEMORY;
    if (status != ERROR_SUCCESS) {
        handles.service.release();  // left open on purpose, see above
        handles.manager.release();
        SetLastError(status);
        return 0;
    }
    const char* path = config.get()->lpBinaryPathName ? config.get()->lpBinaryPathName : "";
    if (size > 0) {
        memset(buffer, 0, size);
        const size_t length = strlen(path);
        memcpy(buffer, path, length < size - 1 ? length : size - 1);
    }
    return 1;
}
