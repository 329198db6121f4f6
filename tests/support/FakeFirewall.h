// FakeFirewall: the Windows Firewall's automation objects as SetupCLS.dll meets them, while a
// FirewallHooks replaces the DLL's CoInitializeEx, CoUninitialize, CoCreateInstance,
// SysAllocString and SysFreeString.
//
// Every call is recorded in order as one text with its arguments ("Item C:\x.exe", "put_Port
// 8080", "CoCreateInstance NetFwMgr"). One chosen call answers a chosen HRESULT (SysAllocString
// then gives null). Add and Remove change the programs and ports, Item finds them (a missing one
// answers "not found"). Every object and BSTR handed to the DLL is counted.
#pragma once

#include "ImportHook.h"

#include <oleauto.h>

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace testsupport {

struct FirewallEntry {
    std::string name;
    bool enabled;
};

class FakeFirewallObject;

struct FakeFirewall {
    bool firewallOn = true;
    std::map<std::string, FirewallEntry> programs;  // by image path
    std::map<std::string, FirewallEntry> ports;     // by "port protocol", e.g. "8080 6"
    std::vector<std::string> calls;
    std::string answerAt;  // the call that answers `answer`: its text, with "#2" for its second time
    HRESULT answer = S_OK;
    HRESULT comStart = S_OK;  // every CoInitializeEx's answer
    int comStarts = 0, comStops = 0;  // successful CoInitializeEx calls, CoUninitialize calls
    bool heldWhenComStopped = false;
    std::vector<std::unique_ptr<FakeFirewallObject>> objects;
    std::set<BSTR> bstrs;  // allocated and not freed
    int strayFrees = 0;    // of texts not allocated, or freed twice

    void Reset();
    // The reference counts of the objects of a kind (manager, policy, profile, programs, program,
    // ports, port), in the order they were made.
    std::vector<int> Refs(const std::string& kind) const;
    // A test failure for every reference or BSTR still held or let go twice, and for COM not
    // stopped exactly as often as it was started, or stopped while a reference was held.
    void ExpectAllReleased() const;
};
extern FakeFirewall g_firewall;

class FirewallHooks {
public:
    FirewallHooks();
    bool installed() const;

private:
    ImportHook m_start, m_stop, m_create, m_alloc, m_free;
};

}  // namespace testsupport
