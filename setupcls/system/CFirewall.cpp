#include "CFirewall.h"

#include "Failure.h"
#include "Handles.h"

#include <cstring>
#include <string>
#include <utility>

namespace {

const DWORD kComMode = COINIT_APARTMENTTHREADED | COINIT_DISABLE_OLE1DDE;

// The firewall's classes and interfaces.
const CLSID kNetFwMgr = {0x304CE942, 0x6E39, 0x40D8, {0x94, 0x3A, 0xB9, 0x13, 0xC4, 0x0C, 0x9C, 0xD4}};
const IID kINetFwMgr = {0xF7898AF5, 0xCAC4, 0x4632, {0xA2, 0xEC, 0xDA, 0x06, 0xE5, 0x11, 0x1A, 0xF2}};
const CLSID kNetFwAuthorizedApplication = {
    0xEC9846B3, 0x2762, 0x4A6B, {0xA2, 0x14, 0x6A, 0xCB, 0x60, 0x34, 0x62, 0xD2}};
const IID kINetFwAuthorizedApplication = {
    0xB5E64FFA, 0xC2C5, 0x444E, {0xA3, 0x01, 0xFB, 0x5E, 0x00, 0x01, 0x80, 0x50}};
const CLSID kNetFwOpenPort = {0x0CA545C6, 0x37AD, 0x4A6C, {0xBF, 0x92, 0x9F, 0x76, 0x10, 0x06, 0x7E, 0xF5}};
const IID kINetFwOpenPort = {0xE0483BA0, 0x47FF, 0x4D9C, {0xA6, 0xD6, 0x77, 0x41, 0xD0, 0xB1, 0x95, 0xF7}};

// A COM getter's result handed back; a failed getter may leave anything in its output, which is
// then no reference and is let go, never released.
template <typename I>
HRESULT Got(UniqueCom<I>& holder, HRESULT result)
{
    if (FAILED(result))
        holder.release();
    return result;
}

template <typename I>
HRESULT Create(REFCLSID type, REFIID face, UniqueCom<I>& object)
{
    return Got(object, CoCreateInstance(type, nullptr, CLSCTX_INPROC_SERVER, face,
                                        reinterpret_cast<void**>(object.put())));
}

// The ANSI text as a BSTR for the firewall's calls.
HRESULT MakeBstr(const char* text, UniqueBstr& result)
{
    return failure::ContainExceptions<HRESULT>(E_OUTOFMEMORY, [&] {
        int count = MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0);
        if (count <= 0)
            return HRESULT_FROM_WIN32(GetLastError());
        std::wstring wide(static_cast<size_t>(count), L'\0');
        if (MultiByteToWideChar(CP_ACP, 0, text, -1, &wide[0], count) != count)
            return HRESULT_FROM_WIN32(GetLastError());
        result.reset(SysAllocString(wide.c_str()));
        return result ? S_OK : E_OUTOFMEMORY;
    });
}

// An operation's body; an allocation that fails inside it (a message text) ends it with
// E_OUTOFMEMORY instead of leaving the library.
template <typename Body>
HRESULT Guarded(Body&& body)
{
    return failure::ContainExceptions<HRESULT>(E_OUTOFMEMORY, std::forward<Body>(body));
}

}  // namespace

CFirewall::CFirewall(const CFirewall& other)
    : m_errorMessage(other.m_errorMessage), m_lastResult(other.m_lastResult)
{
    StartComLike(other);
    if (other.m_profile)
        other.m_profile->AddRef();
    m_profile = other.m_profile;
}

CFirewall& CFirewall::operator=(const CFirewall& other)
{
    if (this == &other)
        return *this;
    m_errorMessage = other.m_errorMessage;
    m_lastResult = other.m_lastResult;
    if (!UsesCom())
        StartComLike(other);
    if (other.m_profile)
        other.m_profile->AddRef();
    TakeProfile(other.m_profile);
    return *this;
}

CFirewall::~CFirewall()
{
    // The profile goes before COM does.
    TakeProfile(nullptr);
    if (SUCCEEDED(m_comStart))
        CoUninitialize();
}

// A copy of an object that uses COM starts COM for itself, so that each object's destructor
// balances only its own start.
void CFirewall::StartComLike(const CFirewall& other)
{
    if (other.UsesCom())
        m_comStart = CoInitializeEx(nullptr, kComMode);
}

bool CFirewall::UsesCom() const
{
    return SUCCEEDED(m_comStart) || m_comStart == RPC_E_CHANGED_MODE;
}

void CFirewall::TakeProfile(INetFwProfile* profile)
{
    INetFwProfile* old = std::exchange(m_profile, profile);
    if (old)
        old->Release();
}

HRESULT CFirewall::Answer(HRESULT result, const char* format, ...)
{
    m_lastResult = result;
    if (format) {
        va_list args;
        va_start(args, format);
        m_errorMessage.FormatV(format, args);
        va_end(args);
    }
    return result;
}

bool CFirewall::HasProfile(const char* prefix)
{
    if (m_profile)
        return true;
    Answer(S_FALSE, "%s you do not initialize the firewall profile", prefix);
    return false;
}

// COM is started once for the object: a second initialization takes the current profile again
// under the start of the first, so that the destructor's one CoUninitialize stays balanced.
HRESULT CFirewall::WindowsFirewallInitialize()
{
    return Guarded([&] {
        m_errorMessage.Empty();
        if (!UsesCom()) {
            m_comStart = CoInitializeEx(nullptr, kComMode);
            if (!UsesCom())
                return Answer(m_comStart, "WindowsFirewallInitialize: CoInitializeEx failed: 0x%08lx", m_comStart);
        }
        UniqueCom<INetFwMgr> manager;
        HRESULT result = Create(kNetFwMgr, kINetFwMgr, manager);
        if (FAILED(result))
            return Answer(result, "WindowsFirewallInitialize: CoCreateInstance failed: 0x%08lx", result);
        UniqueCom<INetFwPolicy> policy;
        result = Got(policy, manager->get_LocalPolicy(policy.put()));
        if (FAILED(result))
            return Answer(result, "get_LocalPolicy failed: 0x%08lx", result);
        UniqueCom<INetFwProfile> profile;
        result = Got(profile, policy->get_CurrentProfile(profile.put()));
        if (FAILED(result))
            return Answer(result,
                          "get_CurrentProfile failed: 0x%08lx, root reason seems that: Windows Firewall/Internet "
                          "Connection Sharing (ICS) service do NOT start,Or Firewall don't exist!",
                          result);
        TakeProfile(profile.release());
        return Answer(result);
    });
}

HRESULT CFirewall::WindowsFirewallIsOn(int& on)
{
    on = 0;
    return Guarded([&] {
        if (!HasProfile("WindowsFirewallIsOn:"))
            return m_lastResult;
        VARIANT_BOOL enabled = VARIANT_FALSE;
        HRESULT result = m_profile->get_FirewallEnabled(&enabled);
        if (FAILED(result))
            return Answer(result, "WindowsFirewallIsOn: get_FirewallEnabled failed: 0x%08lx", result);
        if (enabled == VARIANT_FALSE)
            return Answer(result, "WindowsFirewallIsOn: The firewall is off");
        on = 1;
        return Answer(result);
    });
}

// A program that is not in the collection is no error: the collection's Item fails for it, and
// the answer is "disabled" with S_OK.
HRESULT CFirewall::WindowsFirewallAppIsEnabled(const char* imagePath, int& enabled)
{
    enabled = 0;
    return Guarded([&] {
        if (!HasProfile("WindowsFirewallAppIsEnabled:"))
            return m_lastResult;
        if (!imagePath)
            return Answer(E_POINTER, "WindowsFirewallAppIsEnabled: Application name is null");
        UniqueCom<INetFwAuthorizedApplications> programs;
        HRESULT result = Got(programs, m_profile->get_AuthorizedApplications(programs.put()));
        if (FAILED(result))
            return Answer(result,
                          "WindowsFirewallAppIsEnabled: fail to retrieve the authorized application collection : "
                          "0x%08lx",
                          result);
        UniqueBstr path;
        result = MakeBstr(imagePath, path);
        if (FAILED(result))
            return Answer(result,
                          "WindowsFirewallAppIsEnabled: fail to Allocate a BSTR for the process image file "
                          "name(%s) : 0x%08lx",
                          imagePath, result);
        UniqueCom<INetFwAuthorizedApplication> program;
        VARIANT_BOOL allowed = VARIANT_FALSE;
        if (FAILED(Got(program, programs->Item(path.get(), program.put()))))
            result = S_OK;
        else if (FAILED(result = program->get_Enabled(&allowed)))
            return Answer(result,
                          "WindowsFirewallAppIsEnabled: fail to find out if the authorized application is enabled "
                          ": 0x%08lx",
                          result);
        if (allowed == VARIANT_FALSE)
            return Answer(result,
                          "WindowsFirewallAppIsEnabled: Authorized application %s is disabled in the firewall : "
                          "0x%08lx",
                          imagePath, result);
        enabled = 1;
        return Answer(result,
                      "WindowsFirewallAppIsEnabled: Authorized application %s is enabled in the firewall : 0x%08lx",
                      imagePath, result);
    });
}

// A new entry gets the path and the friendly name; its scope, IP version and enabled state are
// the firewall's defaults for a new authorized application (every address, any IP version,
// enabled). The "(%s)" of the Add message is the friendly name, as in the Name messages before.
HRESULT CFirewall::WindowsFirewallAddApp(const char* imagePath, const char* name)
{
    return Guarded([&] {
        if (!HasProfile("WindowsFirewallAddApp:"))
            return m_lastResult;
        if (!imagePath)
            return Answer(E_POINTER, "WindowsFirewallAddApp: Application full path is null");
        if (!name)
            return Answer(E_POINTER, "WindowsFirewallAddApp: Application file name is null");
        // A program path of MAX_PATH characters or more names no program the firewall can allow
        // (programs start from shorter paths), and the firewall's own objects may not take it.
        if (strnlen(imagePath, MAX_PATH) >= MAX_PATH)
            return Answer(HRESULT_FROM_WIN32(ERROR_FILENAME_EXCED_RANGE), "WindowsFirewallAddApp: Application full path is too long");
        int enabled = 0;
        HRESULT result = WindowsFirewallAppIsEnabled(imagePath, enabled);
        if (FAILED(result))
            return Answer(result, "WindowsFirewallAddApp: WindowsFirewallAppIsEnabled failed: 0x%08lx", result);
        if (enabled)
            return Answer(result);
        UniqueCom<INetFwAuthorizedApplications> programs;
        result = Got(programs, m_profile->get_AuthorizedApplications(programs.put()));
        if (FAILED(result))
            return Answer(result, "WindowsFirewallAddApp: get_AuthorizedApplications failed: 0x%08lx", result);
        UniqueCom<INetFwAuthorizedApplication> program;
        result = Create(kNetFwAuthorizedApplication, kINetFwAuthorizedApplication, program);
        if (FAILED(result))
            return Answer(result, "WindowsFirewallAddApp: CoCreateInstance failed: 0x%08lx", result);
        UniqueBstr path;
        result = MakeBstr(imagePath, path);
        if (FAILED(result))
            return Answer(result,
                          "WindowsFirewallAddApp: fail to Allocate a BSTR for the process image file name(%s): "
                          "0x%08lx",
                          imagePath, result);
        result = program->put_ProcessImageFileName(path.get());
        if (FAILED(result))
            return Answer(result, "WindowsFirewallAddApp: fail to Set the process image file name: 0x%08lx", result);
        UniqueBstr friendly;
        result = MakeBstr(name, friendly);
        if (FAILED(result))
            return Answer(result, "WindowsFirewallAddApp: fail to Allocate a BSTR for the application(%s): 0x%08lx",
                          name, result);
        result = program->put_Name(friendly.get());
        if (FAILED(result))
            return Answer(result, "WindowsFirewallAddApp: failed to Set the application(%s): 0x%08lx", name, result);
        result = programs->Add(program.get());
        if (FAILED(result))
            return Answer(result, "WindowsFirewallAddApp: fail to Add the application(%s) to the collection: 0x%08lx",
                          name, result);
        return Answer(result);
    });
}

// Its messages carry the "WindowsFirewallAddApp:" prefix of the add: callers match them so. A
// program that is not allowed has nothing to remove: S_OK.
HRESULT CFirewall::WindowsFirewallRemoveApp(const char* imagePath)
{
    return Guarded([&] {
        if (!HasProfile("WindowsFirewallAddApp:"))
            return m_lastResult;
        if (!imagePath)
            return Answer(E_POINTER, "WindowsFirewallAddApp: Application full path is null");
        int enabled = 0;
        HRESULT result = WindowsFirewallAppIsEnabled(imagePath, enabled);
        if (FAILED(result))
            return Answer(result, "WindowsFirewallAddApp: WindowsFirewallAppIsEnabled failed: 0x%08lx", result);
        if (!enabled)
            return Answer(result);
        UniqueCom<INetFwAuthorizedApplications> programs;
        result = Got(programs, m_profile->get_AuthorizedApplications(programs.put()));
        if (FAILED(result))
            return Answer(result, "WindowsFirewallAddApp: get_AuthorizedApplications failed: 0x%08lx", result);
        UniqueBstr path;
        result = MakeBstr(imagePath, path);
        if (FAILED(result))
            return Answer(result, "WindowsFirewallAddApp: fail to Allocate a BSTR for the process image file(%s): 0x%08lx",
                          imagePath, result);
        result = programs->Remove(path.get());
        if (FAILED(result))
            return Answer(result,
                          "WindowsFirewallAddApp: fail to Remove the application(%s) to the collection: 0x%08lx",
                          imagePath, result);
        return Answer(result);
    });
}

HRESULT CFirewall::WindowsFirewallPortIsEnabled(long port, NET_FW_IP_PROTOCOL protocol, int& enabled)
{
    enabled = 0;
    return Guarded([&] {
        if (!HasProfile("WindowsFirewallPortIsEnabled:"))
            return m_lastResult;
        UniqueCom<INetFwOpenPorts> ports;
        HRESULT result = Got(ports, m_profile->get_GloballyOpenPorts(ports.put()));
        if (FAILED(result))
            return Answer(result,
                          "WindowsFirewallPortIsEnabled: fail to retrieve the globally open ports collection : 0x%08lx",
                          result);
        UniqueCom<INetFwOpenPort> entry;
        VARIANT_BOOL open = VARIANT_FALSE;
        if (FAILED(Got(entry, ports->Item(port, protocol, entry.put()))))
            result = S_OK;
        else if (FAILED(result = entry->get_Enabled(&open)))
            return Answer(result,
                          "WindowsFirewallPortIsEnabled: fail to find out if the globally open port is enabled : "
                          "0x%08lx",
                          result);
        if (open == VARIANT_FALSE)
            return Answer(result, "WindowsFirewallPortIsEnabled: Port %ld is not open in the firewall : 0x%08lx", port,
                          result);
        enabled = 1;
        return Answer(result, "WindowsFirewallPortIsEnabled: Port %ld is open in the firewall : 0x%08lx", port, result);
    });
}

// A new port gets its number, protocol and friendly name; scope, IP version and enabled state
// are the firewall's defaults for a new open port (every address, any IP version, enabled).
HRESULT CFirewall::WindowsFirewallAddPort(long port, const char* name, NET_FW_IP_PROTOCOL protocol)
{
    return Guarded([&] {
        if (!HasProfile("WindowsFirewallAddPort:"))
            return m_lastResult;
        if (!name)
            return Answer(E_POINTER, "WindowsFirewallAddPort: Application name is null");
        int open = 0;
        HRESULT result = WindowsFirewallPortIsEnabled(port, protocol, open);
        if (FAILED(result))
            return Answer(result,
                          "WindowsFirewallAddPort: fail to check first to see if the port is already added : 0x%08lx",
                          result);
        if (open)
            return Answer(result);
        UniqueCom<INetFwOpenPorts> ports;
        result = Got(ports, m_profile->get_GloballyOpenPorts(ports.put()));
        if (FAILED(result))
            return Answer(result,
                          "WindowsFirewallAddPort: fail to Retrieve the collection of globally open ports : 0x%08lx",
                          result);
        UniqueCom<INetFwOpenPort> entry;
        result = Create(kNetFwOpenPort, kINetFwOpenPort, entry);
        if (FAILED(result))
            return Answer(result, "WindowsFirewallAddPort: fail to create an instance of an open port : 0x%08lx",
                          result);
        result = entry->put_Port(port);
        if (FAILED(result))
            return Answer(result, "WindowsFirewallAddPort: fail to set the port number(%d) : 0x%08lx",
                          static_cast<int>(port), result);
        result = entry->put_Protocol(protocol);
        if (FAILED(result))
            return Answer(result, "WindowsFirewallAddPort: fail to set the IP protocol : 0x%08lx", result);
        UniqueBstr friendly;
        result = MakeBstr(name, friendly);
        if (FAILED(result))
            return Answer(result,
                          "WindowsFirewallAddPort: fail to lllocate a BSTR for the friendly name of the port(%s) : "
                          "0x%08lx",
                          name, result);
        result = entry->put_Name(friendly.get());
        if (FAILED(result))
            return Answer(result, "WindowsFirewallAddPort: fail to set the friendly name of the port : 0x%08lx",
                          result);
        result = ports->Add(entry.get());
        if (FAILED(result))
            return Answer(result,
                          "WindowsFirewallAddPort: fail to opens the port and adds it to the collection : 0x%08lx",
                          result);
        return Answer(result);
    });
}

// Its messages carry the "WindowsFirewallAddPort:" prefix of the add. A port that is not open
// has nothing to close: S_OK.
HRESULT CFirewall::WindowsFirewallRemovePort(long port, NET_FW_IP_PROTOCOL protocol)
{
    return Guarded([&] {
        if (!HasProfile("WindowsFirewallAddPort:"))
            return m_lastResult;
        int open = 0;
        HRESULT result = WindowsFirewallPortIsEnabled(port, protocol, open);
        if (FAILED(result))
            return Answer(result,
                          "WindowsFirewallAddPort: fail to check first to see if the port is already added : 0x%08lx",
                          result);
        if (!open)
            return Answer(result);
        UniqueCom<INetFwOpenPorts> ports;
        result = Got(ports, m_profile->get_GloballyOpenPorts(ports.put()));
        if (FAILED(result))
            return Answer(result,
                          "WindowsFirewallAddPort: fail to Retrieve the collection of globally open ports : 0x%08lx",
                          result);
        result = ports->Remove(port, protocol);
        if (FAILED(result))
            return Answer(result,
                          "WindowsFirewallAddPort: fail to remove the port(%d) and adds it to the collection : 0x%08lx",
                          static_cast<int>(port), result);
        return Answer(result);
    });
}

void CFirewall::GetErrorMessage(char* buffer, unsigned long size) const
{
    if (!buffer || size == 0 || m_errorMessage.IsEmpty())
        return;
    memset(buffer, 0, size);
    const size_t length = static_cast<size_t>(m_errorMessage.GetLength());
    memcpy(buffer, m_errorMessage.GetString(), length < size - 1 ? length : size - 1);
}
