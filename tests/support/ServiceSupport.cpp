#include "ServiceSupport.h"

#include "Handles.h"

#include <vector>

namespace testsupport {

namespace {

UniqueService OpenManager()
{
    return UniqueService(OpenSCManagerA(nullptr, nullptr, SC_MANAGER_ALL_ACCESS));
}

UniqueService OpenNamed(const UniqueService& manager, const std::string& name)
{
    return UniqueService(manager ? OpenServiceA(manager.get(), name.c_str(), SERVICE_ALL_ACCESS) : nullptr);
}

void StopAndDelete(const std::string& name)
{
    UniqueService manager = OpenManager();
    UniqueService service = OpenNamed(manager, name);
    if (!service)
        return;
    SERVICE_STATUS status = {};
    ControlService(service.get(), SERVICE_CONTROL_STOP, &status);
    for (int poll = 0; poll < 100 && QueryServiceStatus(service.get(), &status) &&
                       status.dwCurrentState != SERVICE_STOPPED;
         ++poll)
        Sleep(50);
    DeleteService(service.get());
}

}  // namespace

std::string FixtureServiceCommand(const std::string& options)
{
    std::string command = "\"" + FixturePath("FIXSVC.EXE") + "\"";
    return options.empty() ? command : command + " " + options;
}

ScopedService::ScopedService(std::string name) : m_name(std::move(name))
{
    StopAndDelete(m_name);
}

ScopedService::~ScopedService()
{
    StopAndDelete(m_name);
}

bool ScopedService::Create(const std::string& options, const char* dependencies)
{
    UniqueService manager = OpenManager();
    UniqueService created(manager ? CreateServiceA(manager.get(), m_name.c_str(), m_name.c_str(), SERVICE_ALL_ACCESS,
                                                   SERVICE_WIN32_OWN_PROCESS, SERVICE_DEMAND_START,
                                                   SERVICE_ERROR_NORMAL, FixtureServiceCommand(options).c_str(),
                                                   nullptr, nullptr, dependencies, nullptr, nullptr)
                                  : nullptr);
    return static_cast<bool>(created);
}

bool ScopedService::Start()
{
    UniqueService manager = OpenManager();
    UniqueService service = OpenNamed(manager, m_name);
    return service && (StartServiceA(service.get(), 0, nullptr) || GetLastError() == ERROR_SERVICE_ALREADY_RUNNING);
}

DWORD ScopedService::State() const
{
    UniqueService manager = OpenManager();
    UniqueService service = OpenNamed(manager, m_name);
    SERVICE_STATUS status = {};
    return service && QueryServiceStatus(service.get(), &status) ? status.dwCurrentState : 0;
}

bool ScopedService::WaitFor(DWORD state, DWORD timeoutMs) const
{
    for (DWORD waited = 0;; waited += 20) {
        if (State() == state)
            return true;
        if (waited >= timeoutMs)
            return false;
        Sleep(20);
    }
}

ServiceConfigText ReadServiceConfig(const std::string& name)
{
    ServiceConfigText text;
    UniqueService manager = OpenManager();
    UniqueService service = OpenNamed(manager, name);
    std::vector<DWORD> buffer(8192 / sizeof(DWORD));
    DWORD needed = 0;
    auto config = reinterpret_cast<QUERY_SERVICE_CONFIGA*>(buffer.data());
    if (!service || !QueryServiceConfigA(service.get(), config, 8192, &needed))
        return text;
    auto str = [](const char* s) { return std::string(s ? s : ""); };
    text.found = true;
    text.type = config->dwServiceType;
    text.startType = config->dwStartType;
    text.errorControl = config->dwErrorControl;
    text.binaryPath = str(config->lpBinaryPathName);
    text.group = str(config->lpLoadOrderGroup);
    text.displayName = str(config->lpDisplayName);
    text.account = str(config->lpServiceStartName);
    auto description = reinterpret_cast<SERVICE_DESCRIPTIONA*>(buffer.data());
    if (QueryServiceConfig2A(service.get(), SERVICE_CONFIG_DESCRIPTION, reinterpret_cast<BYTE*>(description), 8192,
                             &needed))
        text.description = str(description->lpDescription);
    return text;
}

bool SetDependOnService(const std::string& service, const std::string& bytes)
{
    const std::string key = "SYSTEM\\CurrentControlSet\\Services\\" + service;
    return RegSetKeyValueA(HKEY_LOCAL_MACHINE, key.c_str(), "DependOnService", REG_MULTI_SZ, bytes.data(),
                           static_cast<DWORD>(bytes.size())) == ERROR_SUCCESS;
}

}  // namespace testsupport
