#include <windows.h>
#include <initguid.h>  // defines the firewall's class and interface identifiers here
#include <netfw.h>

#include "FakeFirewall.h"

#include <algorithm>

namespace testsupport {

FakeFirewall g_firewall;

namespace {

FakeFirewall& g = g_firewall;
using Entries = std::map<std::string, FirewallEntry>;

std::string Text(const OLECHAR* text)
{
    char narrow[1024] = {};
    WideCharToMultiByte(CP_ACP, 0, text ? text : L"(null)", -1, narrow, sizeof(narrow) - 1, nullptr, nullptr);
    return narrow;
}
std::string Key(LONG port, int protocol) { return std::to_string(port) + " " + std::to_string(protocol); }

// Records the call; S_OK, or the chosen answer when it is the chosen call.
HRESULT Step(const std::string& call)
{
    g.calls.push_back(call);
    const auto time = std::count(g.calls.begin(), g.calls.end(), call);
    return (time == 1 ? call : call + "#" + std::to_string(time)) == g.answerAt ? g.answer : S_OK;
}

}  // namespace

#define FAKE(name, ...) HRESULT STDMETHODCALLTYPE name(__VA_ARGS__) override
#define FAKE_NOTIMPL(name, ...) FAKE(name, __VA_ARGS__) { return E_NOTIMPL; }
#define FAKE_GET(name, I, kind) FAKE(name, I** out) { return Give(#name, out, kind); }

// One class plays every object of the firewall; each instance is one object of one kind.
class FakeFirewallObject final : public INetFwMgr, public INetFwPolicy, public INetFwProfile,
                                 public INetFwAuthorizedApplications, public INetFwAuthorizedApplication,
                                 public INetFwOpenPorts, public INetFwOpenPort {
public:
    std::string kind, path, name;  // a program's path, a program's or port's name
    int refs = 1, extraReleases = 0, protocol = 0;
    LONG port = 0;
    bool enabled = true;

    // The call's answer (not found for an entry that does not exist); on success *out is a new object.
    template <typename I>
    static HRESULT Give(const std::string& call, I** out, const char* kind, bool exists = true, bool enabled = true)
    {
        HRESULT result = Step(call);
        result = SUCCEEDED(result) && !exists ? HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND) : result;
        auto object = SUCCEEDED(result) ? g.objects.emplace_back(new FakeFirewallObject).get() : nullptr;
        if (object)
            object->kind = kind, object->enabled = enabled;
        *out = object;
        return result;
    }
    template <typename I>
    static HRESULT Find(const std::string& key, const Entries& entries, I** out, const char* kind)
    {
        auto entry = entries.find(key);
        return Give("Item " + key, out, kind, entry != entries.end(), entry != entries.end() && entry->second.enabled);
    }
    // The call's answer; on success the change is made.
    template <typename Change>
    static HRESULT Do(const std::string& call, Change change)
    {
        HRESULT result = Step(call);
        return SUCCEEDED(result) ? (change(), result) : result;
    }
    static HRESULT Added(Entries& entries, const std::string& key, const FakeFirewallObject* added)
    {
        return Do("Add", [&] { entries[key] = {added->name, added->enabled}; });
    }
    template <typename T>
    HRESULT Set(const std::string& call, T& field, T value) { return Do(call, [&] { field = value; }); }

    FAKE(QueryInterface, REFIID, void** out) { return *out = nullptr, E_NOINTERFACE; }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++refs; }
    ULONG STDMETHODCALLTYPE Release() override { return refs > 0 ? --refs : (++extraReleases, 0); }
    FAKE_GET(get_LocalPolicy, INetFwPolicy, "policy") FAKE_GET(get_CurrentProfile, INetFwProfile, "profile")
    FAKE_GET(get_AuthorizedApplications, INetFwAuthorizedApplications, "programs")
    FAKE_GET(get_GloballyOpenPorts, INetFwOpenPorts, "ports")
    FAKE(get_FirewallEnabled, VARIANT_BOOL* on) { return Do("get_FirewallEnabled", [&] { *on = -g.firewallOn; }); }
    FAKE(get_Enabled, VARIANT_BOOL* on) { return Do("get_Enabled", [&] { *on = -enabled; }); }  // VARIANT_TRUE: -1
    FAKE(Item, BSTR path, INetFwAuthorizedApplication** out) { return Find(Text(path), g.programs, out, "program"); }
    FAKE(Item, LONG number, NET_FW_IP_PROTOCOL type, INetFwOpenPort** out)
    {
        return Find(Key(number, type), g.ports, out, "port");
    }
    FAKE(Add, INetFwAuthorizedApplication* program)
    {
        auto added = static_cast<FakeFirewallObject*>(program);
        return Added(g.programs, added->path, added);
    }
    FAKE(Add, INetFwOpenPort* entry)
    {
        auto added = static_cast<FakeFirewallObject*>(entry);
        return Added(g.ports, Key(added->port, added->protocol), added);
    }
    FAKE(Remove, BSTR path) { return Do("Remove " + Text(path), [&] { g.programs.erase(Text(path)); }); }
    FAKE(Remove, LONG number, NET_FW_IP_PROTOCOL type)
    {
        return Do("Remove " + Key(number, type), [&] { g.ports.erase(Key(number, type)); });
    }
    FAKE(put_ProcessImageFileName, BSTR text)
    {
        return Set("put_ProcessImageFileName " + Text(text), path, Text(text));
    }
    FAKE(put_Name, BSTR text) { return Set("put_Name " + Text(text), name, Text(text)); }
    FAKE(put_Port, LONG number) { return Set("put_Port " + std::to_string(number), port, number); }
    FAKE(put_Protocol, NET_FW_IP_PROTOCOL type) { return Set("put_Protocol " + std::to_string(type), protocol, +type); }

    FAKE_NOTIMPL(GetTypeInfoCount, UINT*) FAKE_NOTIMPL(GetTypeInfo, UINT, LCID, ITypeInfo**)
    FAKE_NOTIMPL(GetIDsOfNames, REFIID, LPOLESTR*, UINT, LCID, DISPID*)
    FAKE_NOTIMPL(Invoke, DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*)
    FAKE_NOTIMPL(IsPortAllowed, BSTR, NET_FW_IP_VERSION, LONG, BSTR, NET_FW_IP_PROTOCOL, VARIANT*, VARIANT*)
    FAKE_NOTIMPL(IsIcmpTypeAllowed, NET_FW_IP_VERSION, BSTR, BYTE, VARIANT*, VARIANT*)
    FAKE_NOTIMPL(get_CurrentProfileType, NET_FW_PROFILE_TYPE*) FAKE_NOTIMPL(RestoreDefaults, void)
    FAKE_NOTIMPL(GetProfileByType, NET_FW_PROFILE_TYPE, INetFwProfile**) FAKE_NOTIMPL(get_Type, NET_FW_PROFILE_TYPE*)
    FAKE_NOTIMPL(put_FirewallEnabled, VARIANT_BOOL) FAKE_NOTIMPL(get_ExceptionsNotAllowed, VARIANT_BOOL*)
    FAKE_NOTIMPL(put_ExceptionsNotAllowed, VARIANT_BOOL) FAKE_NOTIMPL(get_NotificationsDisabled, VARIANT_BOOL*)
    FAKE_NOTIMPL(put_NotificationsDisabled, VARIANT_BOOL) FAKE_NOTIMPL(get_Services, INetFwServices**)
    FAKE_NOTIMPL(get_UnicastResponsesToMulticastBroadcastDisabled, VARIANT_BOOL*)
    FAKE_NOTIMPL(put_UnicastResponsesToMulticastBroadcastDisabled, VARIANT_BOOL)
    FAKE_NOTIMPL(get_RemoteAdminSettings, INetFwRemoteAdminSettings**) FAKE_NOTIMPL(get_Count, LONG*)
    FAKE_NOTIMPL(get_IcmpSettings, INetFwIcmpSettings**) FAKE_NOTIMPL(get__NewEnum, IUnknown**)
    FAKE_NOTIMPL(get_Name, BSTR*) FAKE_NOTIMPL(get_ProcessImageFileName, BSTR*) FAKE_NOTIMPL(get_BuiltIn, VARIANT_BOOL*)
    FAKE_NOTIMPL(get_IpVersion, NET_FW_IP_VERSION*) FAKE_NOTIMPL(put_IpVersion, NET_FW_IP_VERSION)
    FAKE_NOTIMPL(get_Scope, NET_FW_SCOPE*) FAKE_NOTIMPL(put_Scope, NET_FW_SCOPE) FAKE_NOTIMPL(get_Port, LONG*)
    FAKE_NOTIMPL(get_RemoteAddresses, BSTR*) FAKE_NOTIMPL(put_RemoteAddresses, BSTR)
    FAKE_NOTIMPL(put_Enabled, VARIANT_BOOL) FAKE_NOTIMPL(get_Protocol, NET_FW_IP_PROTOCOL*)
};

namespace {

HRESULT WINAPI FakeCoInitializeEx(LPVOID, DWORD mode)
{
    Step("CoInitializeEx " + std::to_string(mode));
    g.comStarts += SUCCEEDED(g.comStart) ? 1 : 0;
    return g.comStart;
}

void WINAPI FakeCoUninitialize()
{
    Step("CoUninitialize");
    if (++g.comStops == g.comStarts)
        for (const auto& object : g.objects)
            g.heldWhenComStopped = g.heldWhenComStopped || object->refs > 0;
}

HRESULT WINAPI FakeCoCreateInstance(REFCLSID type, LPUNKNOWN outer, DWORD context, REFIID face, LPVOID* out)
{
    const std::string call = outer || context != CLSCTX_INPROC_SERVER ? "CoCreateInstance (not in-process) "
                                                                       : "CoCreateInstance ";
    if (type == CLSID_NetFwMgr && face == IID_INetFwMgr)
        return FakeFirewallObject::Give(call + "NetFwMgr", reinterpret_cast<INetFwMgr**>(out), "manager");
    if (type == CLSID_NetFwAuthorizedApplication && face == IID_INetFwAuthorizedApplication)
        return FakeFirewallObject::Give(call + "NetFwAuthorizedApplication",
                                        reinterpret_cast<INetFwAuthorizedApplication**>(out), "program");
    if (type == CLSID_NetFwOpenPort && face == IID_INetFwOpenPort)
        return FakeFirewallObject::Give(call + "NetFwOpenPort", reinterpret_cast<INetFwOpenPort**>(out), "port");
    Step(call + "(another class or interface)");
    return *out = nullptr, REGDB_E_CLASSNOTREG;
}

BSTR WINAPI FakeSysAllocString(const OLECHAR* text)
{
    BSTR copy = Step("SysAllocString " + Text(text)) == S_OK ? SysAllocString(text) : nullptr;
    return copy ? *g.bstrs.insert(copy).first : nullptr;
}

void WINAPI FakeSysFreeString(BSTR text)
{
    if (g.bstrs.erase(text))
        SysFreeString(text);
    else if (text)
        ++g.strayFrees;
}

// The fake, when it has the Windows function's exact type (else the build fails).
template <typename F>
void* Same(F*, F* fake) { return reinterpret_cast<void*>(fake); }
#define FAKE_HOOK(dll, function) dll, #function, Same(&function, &Fake##function)

}  // namespace

void FakeFirewall::Reset() { *this = FakeFirewall(); }

std::vector<int> FakeFirewall::Refs(const std::string& kind) const
{
    std::vector<int> refs;
    for (const auto& object : objects)
        if (object->kind == kind)
            refs.push_back(object->refs);
    return refs;
}

void FakeFirewall::ExpectAllReleased() const
{
    for (const auto& object : objects) {
        EXPECT_EQ(0, object->refs) << "references left on a " << object->kind;
        EXPECT_EQ(0, object->extraReleases) << "releases of a " << object->kind << " not held";
    }
    EXPECT_EQ(0u, bstrs.size()) << "BSTRs not freed";
    EXPECT_EQ(0, strayFrees) << "BSTRs freed that were not allocated";
    EXPECT_EQ(comStarts, comStops) << "CoUninitialize calls against successful CoInitializeEx calls";
    EXPECT_FALSE(heldWhenComStopped) << "a reference was held when COM stopped";
}

FirewallHooks::FirewallHooks()
    : m_start{FAKE_HOOK("ole32.dll", CoInitializeEx)}, m_stop{FAKE_HOOK("ole32.dll", CoUninitialize)},
      m_create{FAKE_HOOK("ole32.dll", CoCreateInstance)}, m_alloc{FAKE_HOOK("OLEAUT32.dll", SysAllocString)},
      m_free{FAKE_HOOK("OLEAUT32.dll", SysFreeString)}
{
}

bool FirewallHooks::installed() const
{
    return m_start.installed() && m_stop.installed() && m_create.installed() && m_alloc.installed()
           && m_free.installed();
}

}  // namespace testsupport
