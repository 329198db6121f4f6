// CFirewall and CService's firewall statics on a fake firewall (FakeFirewall in place of
// SetupCLS.dll's COM imports), since Wine's firewall objects store nothing and are always off:
// the answer, message and calls of each path, the COM start and its end, and copies. After each
// case every reference and BSTR the library received must have been let go exactly once.
#include "CFirewall.h"
#include "CService.h"

#include "FakeFirewall.h"

#include <gtest/gtest.h>

#include <cstring>
#include <optional>

namespace {

using testsupport::g_firewall;
using Calls = std::vector<std::string>;

#define PATH "C:\\Program Files\\Agent\\agent.exe"
#define NAME "Agent Service"
#define ENABLED "Authorized application " PATH " is enabled in the firewall : 0x00000000"
#define DISABLED "Authorized application " PATH " is disabled in the firewall : 0x00000000"
#define CLOSED "Port 8080 is not open in the firewall : 0x00000000"
#define STOPPED                                                                                          \
    "get_CurrentProfile failed: 0x80070426, root reason seems that: Windows Firewall/Internet Connection " \
    "Sharing (ICS) service do NOT start,Or Firewall don't exist!"
const HRESULT kStopped = HRESULT_FROM_WIN32(ERROR_SERVICE_NOT_ACTIVE);

enum Entry { Absent, Off, On };  // the program and the port asked about; Off also turns the firewall off

Calls operator+(Calls first, const Calls& then)
{
    first.insert(first.end(), then.begin(), then.end());
    return first;
}
const Calls kStart = {"CoInitializeEx 6", "CoCreateInstance NetFwMgr", "get_LocalPolicy", "get_CurrentProfile"};
const Calls kFindProgram = {"get_AuthorizedApplications", "SysAllocString " PATH, "Item " PATH, "get_Enabled"};
const Calls kFindPort = {"get_GloballyOpenPorts", "Item 8080 6", "get_Enabled"};

struct Operation {
    const char* prefix;  // of its messages
    HRESULT (*run)(CFirewall&, int& out);
    bool query, port;
    Entry full;  // the entry that makes its longest path
    Calls all;   // the calls of that path
};
const Operation kIsOn{"WindowsFirewallIsOn: ", [](CFirewall& f, int& on) { return f.WindowsFirewallIsOn(on); },
                      true, false, On, {"get_FirewallEnabled"}};
const Operation kProgramIs{"WindowsFirewallAppIsEnabled: ",
                           [](CFirewall& f, int& on) { return f.WindowsFirewallAppIsEnabled(PATH, on); }, true, false,
                           On, kFindProgram};
const Operation kAddProgram{
    "WindowsFirewallAddApp: ", [](CFirewall& f, int&) { return f.WindowsFirewallAddApp(PATH, NAME); }, false, false,
    Off, kFindProgram + Calls{"get_AuthorizedApplications", "CoCreateInstance NetFwAuthorizedApplication",
                              "SysAllocString " PATH, "put_ProcessImageFileName " PATH, "SysAllocString " NAME,
                              "put_Name " NAME, "Add"}};
const Operation kRemoveProgram{
    "WindowsFirewallAddApp: ", [](CFirewall& f, int&) { return f.WindowsFirewallRemoveApp(PATH); }, false, false, On,
    kFindProgram + Calls{"get_AuthorizedApplications", "SysAllocString " PATH, "Remove " PATH}};
const Operation kPortIs{
    "WindowsFirewallPortIsEnabled: ",
    [](CFirewall& f, int& on) { return f.WindowsFirewallPortIsEnabled(8080, NET_FW_IP_PROTOCOL_TCP, on); }, true, true,
    On, kFindPort};
const Operation kAddPort{
    "WindowsFirewallAddPort: ",
    [](CFirewall& f, int&) { return f.WindowsFirewallAddPort(8080, NAME, NET_FW_IP_PROTOCOL_TCP); }, false, true, Off,
    kFindPort + Calls{"get_GloballyOpenPorts", "CoCreateInstance NetFwOpenPort", "put_Port 8080", "put_Protocol 6",
                      "SysAllocString " NAME, "put_Name " NAME, "Add"}};
const Operation kRemovePort{
    "WindowsFirewallAddPort: ",
    [](CFirewall& f, int&) { return f.WindowsFirewallRemovePort(8080, NET_FW_IP_PROTOCOL_TCP); }, false, true, On,
    kFindPort + Calls{"get_GloballyOpenPorts", "Remove 8080 6"}};

// The calls of `all` up to `at` ("text", or "text#n" for its n-th time); an absent entry is not
// asked whether it is enabled.
Calls Upto(const Calls& all, const std::string& at, Entry entry)
{
    const size_t mark = at.find('#');
    int time = mark == std::string::npos ? 1 : std::stoi(at.substr(mark + 1));
    Calls calls;
    for (const auto& call : all) {
        if (entry != Absent || call != "get_Enabled")
            calls.push_back(call);
        if (call == at.substr(0, mark) && --time == 0)
            break;
    }
    return calls;
}

std::string EntryText(bool port)
{
    const auto& entries = port ? g_firewall.ports : g_firewall.programs;
    auto entry = entries.find(port ? "8080 6" : PATH);
    return entry == entries.end() ? "" : entry->second.name + (entry->second.enabled ? ": on" : ": off");
}

class CFirewallIntercepted : public ::testing::Test {
protected:
    void SetUp() override
    {
        g_firewall.Reset();
        ASSERT_TRUE(hooks.installed());
    }
    void TearDown() override { Finish(); }
    static void Prepare(Entry entry, const char* at = "", HRESULT answer = S_OK)
    {
        g_firewall.Reset();
        g_firewall.firewallOn = entry != Off;
        if (entry != Absent)
            g_firewall.programs[PATH] = g_firewall.ports["8080 6"] = {"Old name", entry == On};
        g_firewall.answerAt = at;
        g_firewall.answer = answer;
    }
    // A started CFirewall; the calls of the start are forgotten.
    void Start()
    {
        firewall.emplace();
        ASSERT_EQ(S_OK, firewall->WindowsFirewallInitialize());
        g_firewall.calls.clear();
    }
    void Finish()
    {
        firewall.reset();
        g_firewall.ExpectAllReleased();
    }
    // `at` answers `answer` (the operation's result) and is the last call made. outcome: a query's
    // out value, or a change's entry afterwards (null: 0, or as before); message: after the prefix.
    void Expect(const Operation& op, Entry entry, const char* at, HRESULT answer, const char* outcome,
                const char* message)
    {
        SCOPED_TRACE(::testing::Message() << op.prefix << entry << ", at " << at << ": " << std::hex << answer);
        Prepare(entry);
        Start();
        const std::string before = EntryText(op.port);
        g_firewall.answerAt = at;
        g_firewall.answer = answer;
        int out = -1;
        EXPECT_EQ(answer, op.run(*firewall, out));
        EXPECT_EQ(outcome ? outcome : op.query ? "0" : before, op.query ? std::to_string(out) : EntryText(op.port));
        if (message) {
            EXPECT_EQ(op.prefix + std::string(message), firewall->ErrorMessage());
        }
        EXPECT_EQ(Upto(op.all, at, entry), g_firewall.calls);
        Finish();
    }
    testsupport::FirewallHooks hooks;
    std::optional<CFirewall> firewall;
};

TEST_F(CFirewallIntercepted, AnswersByEntry)
{
    const struct {
        const Operation* op;
        Entry entry;
        const char *at, *outcome, *message;  // message null: not looked at
    } cases[] = {{&kIsOn, On, "get_FirewallEnabled", "1", nullptr},
                 {&kIsOn, Off, "get_FirewallEnabled", "0", "The firewall is off"},
                 {&kProgramIs, On, "get_Enabled", "1", ENABLED},
                 {&kProgramIs, Off, "get_Enabled", "0", DISABLED},
                 {&kProgramIs, Absent, "Item " PATH, "0", DISABLED},
                 {&kAddProgram, Absent, "Add", NAME ": on", nullptr},
                 {&kAddProgram, Off, "Add", NAME ": on", nullptr},
                 {&kAddProgram, On, "get_Enabled", "Old name: on", nullptr},
                 {&kRemoveProgram, On, "Remove " PATH, "", nullptr},
                 {&kRemoveProgram, Off, "get_Enabled", "Old name: off", nullptr},
                 {&kPortIs, On, "get_Enabled", "1", "Port 8080 is open in the firewall : 0x00000000"},
                 {&kPortIs, Off, "get_Enabled", "0", CLOSED},
                 {&kPortIs, Absent, "Item 8080 6", "0", CLOSED},
                 {&kAddPort, Off, "Add", NAME ": on", nullptr},
                 {&kAddPort, On, "get_Enabled", "Old name: on", nullptr},
                 {&kRemovePort, On, "Remove 8080 6", "", nullptr},
                 {&kRemovePort, Off, "get_Enabled", "Old name: off", nullptr}};
    for (const auto& c : cases)
        Expect(*c.op, c.entry, c.at, S_OK, c.outcome, c.message);
}

// Each call of an operation's longest path fails in turn, with E_UNEXPECTED (SysAllocString with
// null: E_OUTOFMEMORY): the operation answers it with its message; a query gives 0, nothing changes.
TEST_F(CFirewallIntercepted, AFailingCallEndsTheOperationWithItsMessage)
{
    const std::pair<const Operation*, std::vector<std::pair<const char*, const char*>>> failures[] = {
        {&kIsOn, {{"get_FirewallEnabled", "get_FirewallEnabled failed: 0x8000ffff"}}},
        {&kProgramIs,
         {{"get_AuthorizedApplications", "fail to retrieve the authorized application collection : 0x8000ffff"},
          {"SysAllocString " PATH, "fail to Allocate a BSTR for the process image file name(" PATH ") : 0x8007000e"},
          {"get_Enabled", "fail to find out if the authorized application is enabled : 0x8000ffff"}}},
        {&kAddProgram,
         {{"get_AuthorizedApplications", "WindowsFirewallAppIsEnabled failed: 0x8000ffff"},
          {"get_AuthorizedApplications#2", "get_AuthorizedApplications failed: 0x8000ffff"},
          {"CoCreateInstance NetFwAuthorizedApplication", "CoCreateInstance failed: 0x8000ffff"},
          {"SysAllocString " PATH "#2",
           "fail to Allocate a BSTR for the process image file name(" PATH "): 0x8007000e"},
          {"put_ProcessImageFileName " PATH, "fail to Set the process image file name: 0x8000ffff"},
          {"SysAllocString " NAME, "fail to Allocate a BSTR for the application(" NAME "): 0x8007000e"},
          {"put_Name " NAME, "failed to Set the application(" NAME "): 0x8000ffff"},
          {"Add", "fail to Add the application(" NAME ") to the collection: 0x8000ffff"}}},
        {&kRemoveProgram,
         {{"get_AuthorizedApplications", "WindowsFirewallAppIsEnabled failed: 0x8000ffff"},
          {"get_AuthorizedApplications#2", "get_AuthorizedApplications failed: 0x8000ffff"},
          {"SysAllocString " PATH "#2", "fail to Allocate a BSTR for the process image file(" PATH "): 0x8007000e"},
          {"Remove " PATH, "fail to Remove the application(" PATH ") to the collection: 0x8000ffff"}}},
        {&kPortIs,
         {{"get_GloballyOpenPorts", "fail to retrieve the globally open ports collection : 0x8000ffff"},
          {"get_Enabled", "fail to find out if the globally open port is enabled : 0x8000ffff"}}},
        {&kAddPort,
         {{"get_GloballyOpenPorts", "fail to check first to see if the port is already added : 0x8000ffff"},
          {"get_GloballyOpenPorts#2", "fail to Retrieve the collection of globally open ports : 0x8000ffff"},
          {"CoCreateInstance NetFwOpenPort", "fail to create an instance of an open port : 0x8000ffff"},
          {"put_Port 8080", "fail to set the port number(8080) : 0x8000ffff"},
          {"put_Protocol 6", "fail to set the IP protocol : 0x8000ffff"},
          {"SysAllocString " NAME, "fail to lllocate a BSTR for the friendly name of the port(" NAME ") : 0x8007000e"},
          {"put_Name " NAME, "fail to set the friendly name of the port : 0x8000ffff"},
          {"Add", "fail to opens the port and adds it to the collection : 0x8000ffff"}}},
        {&kRemovePort,
         {{"get_GloballyOpenPorts", "fail to check first to see if the port is already added : 0x8000ffff"},
          {"get_GloballyOpenPorts#2", "fail to Retrieve the collection of globally open ports : 0x8000ffff"},
          {"Remove 8080 6", "fail to remove the port(8080) and adds it to the collection : 0x8000ffff"}}}};
    for (const auto& [op, cases] : failures)
        for (const auto& [at, message] : cases)
            Expect(*op, op->full, at, strncmp(at, "SysAllocString", 14) ? E_UNEXPECTED : E_OUTOFMEMORY, nullptr,
                   message);
}

TEST_F(CFirewallIntercepted, WithoutAProfileEveryOperationAnswersSFalseAndCallsNothing)
{
    for (auto op : {&kIsOn, &kProgramIs, &kAddProgram, &kRemoveProgram, &kPortIs, &kAddPort, &kRemovePort}) {
        CFirewall unstarted;
        int out = 0;
        EXPECT_EQ(S_FALSE, op->run(unstarted, out)) << op->prefix;
        EXPECT_EQ(op->prefix + std::string("you do not initialize the firewall profile"), unstarted.ErrorMessage());
    }
    EXPECT_EQ(Calls{}, g_firewall.calls);
}

TEST_F(CFirewallIntercepted, NullTextsAreRefusedWithoutACall)
{
    int on = 0;
    Start();
    EXPECT_EQ(E_POINTER, firewall->WindowsFirewallAppIsEnabled(nullptr, on));
    EXPECT_STREQ("WindowsFirewallAppIsEnabled: Application name is null", firewall->ErrorMessage());
    EXPECT_EQ(E_POINTER, firewall->WindowsFirewallAddApp(nullptr, NAME));
    EXPECT_STREQ("WindowsFirewallAddApp: Application full path is null", firewall->ErrorMessage());
    EXPECT_EQ(E_POINTER, firewall->WindowsFirewallAddApp(PATH, nullptr));
    EXPECT_STREQ("WindowsFirewallAddApp: Application file name is null", firewall->ErrorMessage());
    EXPECT_EQ(E_POINTER, firewall->WindowsFirewallRemoveApp(nullptr));
    EXPECT_STREQ("WindowsFirewallAddApp: Application full path is null", firewall->ErrorMessage());
    EXPECT_EQ(E_POINTER, firewall->WindowsFirewallAddPort(80, nullptr, NET_FW_IP_PROTOCOL_UDP));
    EXPECT_STREQ("WindowsFirewallAddPort: Application name is null", firewall->ErrorMessage());
    EXPECT_EQ(Calls{}, g_firewall.calls);
}

// Initialization, then a copy and an assignment of the object: every COM start that succeeded
// is ended once (ExpectAllReleased), a start refused for another mode never.
TEST_F(CFirewallIntercepted, InitializeAndTheEndOfCom)
{
    const struct {
        HRESULT comStart;
        const char* at;
        HRESULT result;
        const char* message;
        size_t calls;  // of kStart
        int comStops;
    } rows[] = {{S_OK, "", S_OK, "", 4, 3},
                {S_FALSE, "", S_OK, "", 4, 3},
                {RPC_E_CHANGED_MODE, "", S_OK, "", 4, 0},
                {E_OUTOFMEMORY, "", E_OUTOFMEMORY, "WindowsFirewallInitialize: CoInitializeEx failed: 0x8007000e", 1,
                 0},
                {S_OK, "CoCreateInstance NetFwMgr", REGDB_E_CLASSNOTREG,
                 "WindowsFirewallInitialize: CoCreateInstance failed: 0x80040154", 2, 3},
                {S_OK, "get_LocalPolicy", E_UNEXPECTED, "get_LocalPolicy failed: 0x8000ffff", 3, 3},
                {S_OK, "get_CurrentProfile", kStopped, STOPPED, 4, 3}};
    for (const auto& row : rows) {
        SCOPED_TRACE(::testing::Message() << std::hex << row.comStart << ", at " << row.at);
        Prepare(On, row.at, row.result);
        g_firewall.comStart = row.comStart;
        {
            CFirewall first;
            EXPECT_EQ(row.result, first.WindowsFirewallInitialize());
            EXPECT_STREQ(row.message, first.ErrorMessage());
            EXPECT_EQ(Calls(kStart.begin(), kStart.begin() + row.calls), g_firewall.calls);
            CFirewall copy(first), assigned;
            assigned = first;
        }
        EXPECT_EQ(row.comStops, g_firewall.comStops);
        Finish();
    }
}

TEST_F(CFirewallIntercepted, CopiesHoldTheProfileWithAReferenceOfTheirOwn)
{
    Prepare(Off);
    Start();
    int on = 1;
    firewall->WindowsFirewallIsOn(on);
    CFirewall copy(*firewall), assigned;
    EXPECT_EQ(std::vector<int>{2}, g_firewall.Refs("profile"));
    EXPECT_STREQ("WindowsFirewallIsOn: The firewall is off", copy.ErrorMessage());
    ASSERT_EQ(S_OK, assigned.WindowsFirewallInitialize());
    assigned = copy;  // lets its own profile go
    EXPECT_EQ((std::vector<int>{3, 0}), g_firewall.Refs("profile"));
    assigned = assigned;
    EXPECT_EQ((std::vector<int>{3, 0}), g_firewall.Refs("profile"));
    firewall.reset();
    g_firewall.calls.clear();
    EXPECT_EQ(S_OK, copy.WindowsFirewallIsOn(on));
    EXPECT_EQ(Calls{"get_FirewallEnabled"}, g_firewall.calls);
    EXPECT_EQ((std::vector<int>{2, 0}), g_firewall.Refs("profile"));
}

TEST_F(CFirewallIntercepted, GetErrorMessageCopiesANonEmptyMessageCutAndZeroed)
{
    const std::string off = "WindowsFirewallIsOn: The firewall is off";
    const struct {
        bool message;
        unsigned long size;
        std::string written;
    } rows[] = {{false, 50, ""}, {true, 0, ""}, {true, 8, std::string("Windows\0", 8)},
                {true, 50, off + std::string(50 - off.size(), '\0')}};
    Prepare(Off);
    for (const auto& row : rows) {
        Start();
        int on = 0;
        if (row.message)
            firewall->WindowsFirewallIsOn(on);
        char buffer[64];
        memset(buffer, '#', sizeof(buffer));
        firewall->GetErrorMessage(buffer, row.size);
        EXPECT_EQ(row.written + std::string(64 - row.written.size(), '#'), std::string(buffer, 64)) << row.size;
    }
    firewall->GetErrorMessage(nullptr, 50);  // no buffer: nothing written
}

// Each static starts a CFirewall of its own; the message goes to a buffer of 100 bytes.
TEST_F(CFirewallIntercepted, ServiceStatics)
{
    using Static = int (*)(char*, unsigned long);
    const Static added = [](char* text, unsigned long n) { return CService::IsWindowsFirewallAdded(PATH, text, n); };
    const Static add = [](char* text, unsigned long n) { return CService::WindowsFirewallAdd(PATH, NAME, text, n); };
    const Static remove = [](char* text, unsigned long n) { return CService::WindowsFirewallRemove(PATH, text, n); };
    const struct {
        Static run;
        Entry entry;
        const char* at;
        int result;
        const char *message, *after;  // message null: the buffer is left as it was; after: the program's entry
    } rows[] = {{added, On, "", 1, "WindowsFirewallAppIsEnabled: " ENABLED, "Old name: on"},
                {added, Absent, "", 0, "WindowsFirewallAppIsEnabled: " DISABLED, ""},
                {added, On, "get_CurrentProfile", 0, STOPPED, "Old name: on"},
                {add, Absent, "", 1, nullptr, NAME ": on"},
                {add, On, "", 1, nullptr, "Old name: on"},
                {add, Off, "get_CurrentProfile", 0, STOPPED, "Old name: off"},
                {remove, On, "", 1, nullptr, ""},
                {remove, On, "get_CurrentProfile", 0, STOPPED, "Old name: on"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(::testing::Message() << row.entry << ", at " << row.at << ", " << row.after);
        Prepare(row.entry, row.at, kStopped);
        char buffer[100];
        memset(buffer, '#', sizeof(buffer));
        EXPECT_EQ(row.result, row.run(buffer, sizeof(buffer)));
        const std::string written = row.message ? std::string(row.message).substr(0, 99) : std::string(100, '#');
        EXPECT_EQ(written + std::string(100 - written.size(), '\0'), std::string(buffer, 100));
        EXPECT_EQ(row.after, EntryText(false));
        Finish();
    }
    const std::pair<Entry, int> starts[] = {{On, 1}, {Off, 0}};
    for (const auto& [entry, started] : starts) {
        Prepare(entry);
        EXPECT_EQ(started, CService::IsWindowsFirewallStarted()) << entry;
        Finish();
    }
    Prepare(On, "get_CurrentProfile", kStopped);
    EXPECT_EQ(0, CService::IsWindowsFirewallStarted());
}

}  // namespace
