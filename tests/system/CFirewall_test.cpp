// CFirewall against Wine's own firewall objects, which answer but store nothing and keep the
// firewall off: only the start, the firewall's state and the COM start on a thread that runs COM
// in the other mode are shown here. Everything else is shown in CFirewallIntercepted_test.cpp.
#include "CFirewall.h"
#include "CService.h"

#include <gtest/gtest.h>

TEST(CFirewall, WineFirewallIsReachedAndOff)
{
    EXPECT_EQ(0, CService::IsWindowsFirewallStarted());
    CFirewall firewall;
    ASSERT_EQ(S_OK, firewall.WindowsFirewallInitialize());
    int on = 1;
    EXPECT_EQ(S_OK, firewall.WindowsFirewallIsOn(on));
    EXPECT_EQ(0, on);
    EXPECT_STREQ("WindowsFirewallIsOn: The firewall is off", firewall.ErrorMessage());
}

// The thread runs COM multithreaded: the apartment start is refused (RPC_E_CHANGED_MODE) and the
// firewall works all the same; COM is still running afterwards, since a further start of the
// same mode answers S_FALSE (already started) rather than S_OK (started anew).
TEST(CFirewall, ThreadInTheOtherComModeKeepsItsCom)
{
    ASSERT_EQ(S_OK, CoInitializeEx(nullptr, COINIT_MULTITHREADED));
    {
        CFirewall firewall;
        EXPECT_EQ(S_OK, firewall.WindowsFirewallInitialize());
    }
    EXPECT_EQ(S_FALSE, CoInitializeEx(nullptr, COINIT_MULTITHREADED));
    CoUninitialize();
    CoUninitialize();
}
