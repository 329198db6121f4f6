// The firewall statics of CService: each starts the firewall on its own CFirewall, asks one
// question or makes one change, copies the firewall's message for the caller and lets the object
// close COM again.
#include "CService.h"

#include "CFirewall.h"
#include "Failure.h"

int CService::IsWindowsFirewallStarted()
{
    return failure::ContainExceptions(0, [] {
        CFirewall firewall;
        int on = 0;
        return SUCCEEDED(firewall.WindowsFirewallInitialize()) && SUCCEEDED(firewall.WindowsFirewallIsOn(on)) && on
                   ? 1
                   : 0;
    });
}

int CService::IsWindowsFirewallAdded(const char* imagePath, char* buffer, unsigned long size)
{
    return failure::ContainExceptions(0, [&] {
        CFirewall firewall;
        int enabled = 0;
        HRESULT result = firewall.WindowsFirewallInitialize();
        if (SUCCEEDED(result))
            result = firewall.WindowsFirewallAppIsEnabled(imagePath, enabled);
        firewall.GetErrorMessage(buffer, size);
        return SUCCEEDED(result) ? enabled : 0;
    });
}

namespace {

// One change on a started firewall; the message goes to the caller only when it failed.
template <typename Change>
int ChangeFirewall(char* buffer, unsigned long size, Change change)
{
    return failure::ContainExceptions(0, [&] {
        CFirewall firewall;
        HRESULT result = firewall.WindowsFirewallInitialize();
        if (SUCCEEDED(result))
            result = change(firewall);
        if (SUCCEEDED(result))
            return 1;
        firewall.GetErrorMessage(buffer, size);
        return 0;
    });
}

}  // namespace

int CService::WindowsFirewallAdd(const char* imagePath, const char* name, char* buffer, unsigned long size)
{
    return ChangeFirewall(buffer, size,
                          [&](CFirewall& firewall) { return firewall.WindowsFirewallAddApp(imagePath, name); });
}

int CService::WindowsFirewallRemove(const char* imagePath, char* buffer, unsigned long size)
{
    return ChangeFirewall(buffer, size,
                          [&](CFirewall& firewall) { return firewall.WindowsFirewallRemoveApp(imagePath); });
}
