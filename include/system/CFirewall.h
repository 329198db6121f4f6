// CFirewall: programs and ports in the Windows Firewall (Windows XP Service Pack 2 and later),
// through the firewall's automation objects: the manager, its local policy, the current profile
// and the profile's authorized-application and globally-open-port collections.
//
// Use on one thread: WindowsFirewallInitialize starts COM on the calling thread (apartment
// threaded) and takes the current profile; every other operation works on that profile. Each
// operation answers an HRESULT (negative is failure) and leaves a readable text in the object's
// message, which GetErrorMessage copies out. The texts are fixed: callers show and log them as
// they stand.
//
// The object owns its profile reference and its COM start: the destructor releases the profile
// and calls CoUninitialize only when this object's own start succeeded (a thread whose COM was
// already started in another mode is used as it is and left as it was). A copy holds its own
// reference to the profile and, when the original had started COM, starts COM once more for
// itself, so that each object balances what it started.
#pragma once

#include "CString.h"

#include <netfw.h>

class SETUPCLS_API CFirewall {
public:
    CFirewall() = default;
    CFirewall(const CFirewall& other);
    CFirewall& operator=(const CFirewall& other);
    ~CFirewall();

    HRESULT WindowsFirewallInitialize();
    // on: 1 when the firewall is enabled, else 0 (with the message "...The firewall is off").
    HRESULT WindowsFirewallIsOn(int& on);
    // enabled: 1 when the program (its full path) is in the authorized applications and enabled.
    // A program that is not in the collection is not an error: enabled 0, S_OK.
    HRESULT WindowsFirewallAppIsEnabled(const char* imagePath, int& enabled);
    // Adds the program under the friendly name; a program already allowed is left as it is, S_OK.
    HRESULT WindowsFirewallAddApp(const char* imagePath, const char* name);
    // Removes the program; one that is not allowed has nothing to remove, S_OK.
    HRESULT WindowsFirewallRemoveApp(const char* imagePath);
    // enabled: 1 when the port is in the globally open ports for that protocol and enabled.
    HRESULT WindowsFirewallPortIsEnabled(long port, NET_FW_IP_PROTOCOL protocol, int& enabled);
    // Opens the port under the friendly name; a port already open is left as it is, S_OK.
    HRESULT WindowsFirewallAddPort(long port, const char* name, NET_FW_IP_PROTOCOL protocol);
    // Closes the port; one that is not open has nothing to close, S_OK.
    HRESULT WindowsFirewallRemovePort(long port, NET_FW_IP_PROTOCOL protocol);

    // Copies a non-empty message into buffer (zeroed first, at most size - 1 bytes); an empty
    // message, a null buffer or size 0 leaves the buffer untouched.
    void GetErrorMessage(char* buffer, unsigned long size) const;
    const char* ErrorMessage() const { return m_errorMessage; }
    HRESULT LastResult() const { return m_lastResult; }

private:
    // Keeps result as the last result and, with a format, the message made from it.
    HRESULT Answer(HRESULT result, const char* format = nullptr, ...);
    // False, with S_FALSE and "<prefix> you do not initialize the firewall profile", without one.
    bool HasProfile(const char* prefix);
    // Holds profile (one reference, handed over) in place of the one held before.
    void TakeProfile(INetFwProfile* profile);
    // COM is usable on this thread through this object: started by it, or found started.
    bool UsesCom() const;
    void StartComLike(const CFirewall& other);

    CString m_errorMessage;
    HRESULT m_lastResult = S_OK;
    HRESULT m_comStart = E_FAIL;  // CoInitializeEx's answer; E_FAIL until initialization
    INetFwProfile* m_profile = nullptr;
};
