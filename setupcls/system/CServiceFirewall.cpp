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

int CService::WindowsFirewallAdd(const char* imagePath, const char* name, char* buffer, unsigned long size)
{
    return failure::ContainExceptions(0, [&] {
        CFirewall firewall;
        HRESULT result = firewall.WindowsFirewallInitialize();
        if (SUCCEEDED(result))
            result = firewall.WindowsFirewallAddApp(imagePath, name);
        if (SUCCEEDED(result))
            return 1;
        firewall.GetErrorMessage(buffer, size);
        return 0;
    });
}

int CService::WindowsFirewallRemove(const char* imagePath, char* buffer, unsigned long size)
{
    return failure::ContainExceptions(0, [&] {
        CFirewall firewall;
        HRESULT result = firewall.WindowsFirewallInitialize();
        if (SUCCEEDED(result))
            result = firewall.WindowsFirewallRemoveApp(imagePath);
        if (SUCCEEDED(result))
            return 1;
        firewall.GetErrorMessage(buffer, size);
        return 0;
    });
}
