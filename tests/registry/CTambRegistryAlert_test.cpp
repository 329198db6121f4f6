#include "CTambRegistry.h"

#include "ImportHook.h"
#include "RegistrySupport.h"
#include "ServiceSupport.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <ctime>
#include <string>
#include <vector>

using namespace testsupport;
using R = CTambRegistry;

namespace {

const std::string kMaker = "SOFTWARE\\Brannoch", kAlert = kMaker + "\\ALERT\\CurrentVersion";
const std::string kBase = kMaker + "\\BN Drosvane Backup\\Base", kServices = "SYSTEM\\CurrentControlSet\\Services\\";
const std::string kSource = kServices + "EventLog\\Application\\Alert Notification Server";
const std::string kAgents = kServices + "SNMP\\Parameters\\ExtensionAgents";
const std::string kEnvironment = "SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Environment";

// SYSTEM has one view: either flag reaches the same key.
std::string Agent(const char* name) { return RegRead(kView32, kAgents, name); }
std::string Variable(const char* name) { return RegRead(kView32, kEnvironment, name); }

// The fixture service's record file without the status questions (interrogate) of a wait.
std::string StartsAndStops(const std::string& record)
{
    std::string events = ReadFileBytes(record);
    for (size_t at; (at = events.find("control 4\r\n")) != std::string::npos;)
        events.erase(at, 11);
    return events;
}

class CTambRegistryAlertTest : public ::testing::Test {
protected:
    CSettings Settings() const
    {
        CSettings s;
        s.DrosvanePath("C:\\Drosvane"), s.AlertPath(m_dir.path().c_str()), s.RegisteredUser("User"), s.RegisteredCompany("Co");
        return s;
    }

    TempDir m_dir;
    const std::string m_alertDir = m_dir.path() + "\\";
    // Wine's prefix has neither the Application log's key nor an SNMP service, as Windows may:
    // what a test makes of them goes.
    ScopedRegistryKeys m_keys{{kMaker, kServices + "EventLog\\Application", kSource, kServices + "SNMP"}};
    ScopedValues m_variables{HKEY_LOCAL_MACHINE, kEnvironment.c_str(), {"LNNAME", "RNNAME", "CATPATH", "SETUPCLS_V"}};
    ScopedValues m_userVariable{HKEY_CURRENT_USER, "Environment", {"SETUPCLS_V"}};
};

// Wine stores every value: a refusal is shown by answering SetupCLS.dll's RegSetValueExA.
class CTambRegistryAlertIntercepted : public CTambRegistryAlertTest {};
std::string g_refused;
LONG WINAPI RefusingRegSetValueExA(HKEY key, LPCSTR name, DWORD reserved, DWORD type, const BYTE* data, DWORD size)
{
    return name && g_refused == name ? ERROR_ACCESS_DENIED : RegSetValueExA(key, name, reserved, type, data, size);
}

}  // namespace

// The object forms write through the static ones, under these keys and names.
TEST_F(CTambRegistryAlertTest, AlertValuesFromSettings)
{
    char windows[MAX_PATH + 1];
    ASSERT_NE(0u, GetWindowsDirectoryA(windows, sizeof(windows)));
    const std::string path = kAlert + "\\Path", user = kAlert + "\\User";
    const struct { int (R::*set)(); std::string key; const char* value; std::string expected; } rows[] = {
        {&R::SetAlertRegisteredOwner, kAlert, "RegisteredOwner", "User"},
        {&R::SetAlertRegisteredOrganization, kAlert, "RegisteredOrganization", "Co"},
        {&R::SetAlertHomeDir, path, "HOME", m_alertDir},
        {&R::SetAlertLogDir, path, "LOG", m_alertDir + "LOG"},
        {&R::SetAlertControlDir, path, "CONTROL", windows},
        {&R::SetAlertEventLogDir, path, "EVENTLOG", m_alertDir + "EVENTLOG"},
        {&R::SetAlertCompany, user, "Company", "Co"},
        {&R::SetAlertLocation, user, "Location", "Co"},
        {&R::SetAlertCurrentBuild, kAlert, "CurrentBuild", "4d2"},  // file version 11.5.1234.7
        {&R::SetAlertCurrentBuildNumber, kAlert, "CurrentBuildNumber", "1234"},
    };
    R registry(Settings());
    EXPECT_EQ(0, registry.SetAlertCurrentBuild()) << "no ALERT.EXE";
    ASSERT_TRUE(WriteFileBytes(m_dir / "ALERT.EXE", "not a program"));
    EXPECT_EQ(0, registry.SetAlertCurrentBuildNumber()) << "no version resource";
    EXPECT_FALSE(RegKeyExists(kView32, kAlert));
    ASSERT_TRUE(CopyFixture("ALERT.EXE", m_dir / "ALERT.EXE"));
    for (const auto& row : rows) {
        EXPECT_EQ(1, (registry.*row.set)()) << row.value;
        EXPECT_EQ(row.expected, RegRead(kView32, row.key, row.value));
    }
    EXPECT_EQ(1234, registry.GetAlertBuildNumber()) << "read back as a number";
    const unsigned long before = static_cast<unsigned long>(time(nullptr));
    ASSERT_EQ(1, registry.SetAlertInstallDate());
    EXPECT_NEAR(before, std::stoul(RegRead(kView32, kAlert, "InstallDate")), 2) << "now, in seconds since 1970";
    EXPECT_FALSE(RegKeyExists(kView64, kAlert)) << "the alert key lives in the 32-bit view";
    EXPECT_EQ(0, R::SetAlertHomeDir(nullptr));
}

TEST_F(CTambRegistryAlertTest, ObjectFormsWriteNothingWithoutWriteAccess)
{
    ASSERT_TRUE(CopyFixture("ALERT.EXE", m_dir / "ALERT.EXE"));
    ASSERT_TRUE(RegWrite(kView32, kAgents, "1", kBase + "\\SNMP"));
    R reader(0);
    ASSERT_EQ(0u, reader.AccessMode());
    for (int (R::*set)() : {&R::SetAlertCurrentBuild, &R::SetAlertCurrentBuildNumber, &R::SetAlertInstallDate,
                            &R::SetAlertRegisteredOwner, &R::SetAlertRegisteredOrganization, &R::SetAlertHomeDir,
                            &R::SetAlertLogDir, &R::SetAlertControlDir, &R::SetAlertEventLogDir, &R::SetAlertCompany,
                            &R::SetAlertLocation, &R::SetAlertEventLog, &R::SetDrosvaneSNMPPath, &R::CreateDrosvaneSNMPKey,
                            &R::DeleteDrosvaneSNMPKey, &R::SetDrosvaneEnvironmentVariables, &R::SetDrosvaneCatalogPath})
        EXPECT_EQ(0, (reader.*set)());
    EXPECT_FALSE(RegKeyExists(kView32, kMaker));
    EXPECT_FALSE(RegKeyExists(kView32, kSource));
    EXPECT_EQ(kBase + "\\SNMP", Agent("1"));
    EXPECT_EQ("-|-", Variable("LNNAME") + "|" + Variable("CATPATH"));
}

TEST_F(CTambRegistryAlertTest, EventSources)
{
    EXPECT_EACH(0, ANSWER(R::SetEventLogApplication("", "C:\\m.dll", 7)), ANSWER(R::SetEventLogApplication("S", nullptr, 7)));
    EXPECT_FALSE(RegKeyExists(kView32, kServices + "EventLog\\Application\\S"));
    EXPECT_EQ(1, R(Settings()).SetAlertEventLog());
    EXPECT_EQ(m_alertDir + "ALERT.EXE|7", RegRead(kView32, kSource, "EventMessageFile") + "|" + RegRead(kView32, kSource, "TypesSupported"));
}

TEST_F(CTambRegistryAlertTest, SNMPAgentsAreNumberedAfterTheGreatestNumber)
{
    EXPECT_EQ(1, R::SetSNMPRegistry("A")) << "no SNMP service: nothing to do";
    EXPECT_FALSE(RegKeyExists(kView32, kAgents));
    ASSERT_TRUE(RegWrite(kView32, kAgents, "1", "A"));
    ASSERT_TRUE(RegWrite(kView32, kAgents, "3", "B"));
    EXPECT_EQ(1, R::SetSNMPRegistry("C"));
    EXPECT_EQ("C", Agent("4"));
    EXPECT_EACH(1, ANSWER(R::SetSNMPRegistry("A")), ANSWER(R::SetSNMPRegistry("C")));
    EXPECT_EQ("-", Agent("5")) << "an agent already listed is not listed again";
    EXPECT_EQ(1, R::SetSNMPRegistry("c"));
    EXPECT_EQ("c", Agent("5")) << "letter case counts";
    EXPECT_EACH(0, ANSWER(R::SetSNMPRegistry(std::string(256, 'k').c_str())), ANSWER(R::SetSNMPRegistry(nullptr)));
}

TEST_F(CTambRegistryAlertTest, SNMPAgentDeletionHoldsSingleDigitNamesOnly)
{
    EXPECT_EQ(1, R::DeleteSNMPRegistry("X")) << "no SNMP service";
    for (const char* name : {"1", "2", "12"})
        ASSERT_TRUE(RegWrite(kView32, kAgents, name, name[0] == '2' ? "Y" : "X"));
    EXPECT_EQ(1, R::DeleteSNMPRegistry("Z")) << "nothing listed under that text";
    EXPECT_EQ(0, R::DeleteSNMPRegistry("X")) << "\"12\" does not fit a slot and stays";
    EXPECT_EQ("-|Y|X", Agent("1") + "|" + Agent("2") + "|" + Agent("12"));
    EXPECT_EQ(0, R::DeleteSNMPRegistry(""));
}

TEST_F(CTambRegistryAlertTest, SNMPServiceIsStartedAfterAnAgentIsDeleted)
{
    ScopedService snmp("SNMP");
    const std::string record = m_dir / "snmp.txt";
    ASSERT_TRUE(snmp.Create("/record:" + record));
    ASSERT_TRUE(RegWrite(kView32, kAgents, "1", "X"));
    EXPECT_EQ(1, R::DeleteSNMPRegistry("X"));
    EXPECT_EQ("start SNMP\r\n", StartsAndStops(record)) << "a stopped service is started afterwards";
    ASSERT_TRUE(snmp.WaitFor(SERVICE_RUNNING));
    ASSERT_TRUE(RegWrite(kView32, kAgents, "1", "X"));
    EXPECT_EQ(1, R::DeleteSNMPRegistry("X"));
    EXPECT_EQ("start SNMP\r\ncontrol 1\r\nstopped SNMP\r\nstart SNMP\r\n", StartsAndStops(record));
    EXPECT_EQ(static_cast<DWORD>(SERVICE_RUNNING), snmp.State());
    EXPECT_EQ("-", Agent("1"));
}

TEST_F(CTambRegistryAlertTest, DrosvaneSNMPKeyReplacesTheOldestAgent)
{
    ASSERT_TRUE(RegWrite(kView32, kAgents, "5", "SOFTWARE\\Tamberly\\Drosvane\\CurrentVersion\\SNMP"));
    ASSERT_TRUE(RegWrite(kView32, kAgents, "2", "Other"));
    R registry(Settings());
    EXPECT_EQ(1, registry.CreateDrosvaneSNMPKey());
    EXPECT_EQ("C:\\Drosvane\\tasnmp.dll", RegRead(kView32, kBase + "\\SNMP", "Pathname"));
    EXPECT_EQ("-|Other|" + kBase + "\\SNMP", Agent("5") + "|" + Agent("2") + "|" + Agent("3"))
        << "the oldest agent goes before the new one is numbered";
    EXPECT_EQ(1, registry.DeleteDrosvaneSNMPKey());
    EXPECT_EQ("-|Other", Agent("3") + "|" + Agent("2"));
}

TEST_F(CTambRegistryAlertTest, EnvironmentVariables)
{
    EXPECT_EQ(1, R::SetEnvironmentVariableA("SETUPCLS_V", "machine"));
    EXPECT_EQ("machine", Variable("SETUPCLS_V"));
    ASSERT_EQ(ERROR_SUCCESS, RegSetKeyValueA(HKEY_CURRENT_USER, "Environment", "SETUPCLS_V", REG_SZ, "user", 5));
    char text[16];
    unsigned long size = sizeof(text);
    EXPECT_EQ(1, R::GetEnvironmentVariableA("SETUPCLS_V", text, &size));
    EXPECT_EQ("user|5", std::string(text) + "|" + std::to_string(size)) << "the user's variable";
    EXPECT_EQ(1, R::DeleteEnvironmentVariable("SETUPCLS_V"));
    EXPECT_EQ("-", Variable("SETUPCLS_V"));
    EXPECT_EACH(0, ANSWER(R::SetEnvironmentVariableA("", "v")), ANSWER(R::SetEnvironmentVariableA("N", nullptr)),
                ANSWER(R::GetEnvironmentVariableA("TEMP", text, nullptr)), ANSWER(R::DeleteEnvironmentVariable(nullptr)));

    R registry(Settings());
    EXPECT_EACH(1, ANSWER(registry.SetDrosvaneEnvironmentVariables()), ANSWER(registry.SetDrosvaneCatalogPath()));
    EXPECT_EQ("DROSVANE|" + EnvText("COMPUTERNAME") + "|C:\\Drosvane\\DATABASE",
              Variable("LNNAME") + "|" + Variable("RNNAME") + "|" + Variable("CATPATH"));
}

TEST_F(CTambRegistryAlertTest, AlertBranchGoesWithItsSubKeys)
{
    ASSERT_TRUE(RegWrite(kView32, kAlert + "\\Path", "HOME", "C:\\Alert\\"));
    ASSERT_TRUE(RegWrite(kView32, kMaker + "\\ALERTS", "Other", "1"));
    ASSERT_TRUE(RegWrite(kView64, kMaker + "\\ALERT", "Native", "1"));
    R(0).DeleteAlertBranch();
    EXPECT_FALSE(RegKeyExists(kView32, kMaker + "\\ALERT"));
    EXPECT_TRUE(RegKeyExists(kView32, kMaker + "\\ALERTS"));
    EXPECT_TRUE(RegKeyExists(kView64, kMaker + "\\ALERT")) << "only the product's 32-bit view";
}

// After a refused write: the event source's second value is written all the same; the SNMP agent
// is not listed without its path, nor RNNAME written without LNNAME.
TEST_F(CTambRegistryAlertIntercepted, WhatFollowsARefusedWrite)
{
    SETUPCLS_HOOK_IMPORT(hook, "ADVAPI32.dll", RegSetValueExA, RefusingRegSetValueExA);
    ASSERT_TRUE(RegWrite(kView32, kAgents, "1", "Other"));
    // An uninstall leaves RNNAME, so the prefix may hold it; the fixture puts it back afterwards.
    RegDeleteKeyValueA(HKEY_LOCAL_MACHINE, kEnvironment.c_str(), "RNNAME");
    R registry(Settings());
    const struct { const char* refused; int (R::*call)(); std::string refusedKey, key; const char *value, *expected; } rows[] = {
        {"EventMessageFile", &R::SetAlertEventLog, kSource, kSource, "TypesSupported", "7"},
        {"Pathname", &R::CreateDrosvaneSNMPKey, kBase + "\\SNMP", kAgents, "2", "-"},
        {"LNNAME", &R::SetDrosvaneEnvironmentVariables, kEnvironment, kEnvironment, "RNNAME", "-"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.refused);
        g_refused = row.refused;
        EXPECT_EQ(0, (registry.*row.call)());
        EXPECT_EQ("-", RegRead(kView32, row.refusedKey, row.refused));
        EXPECT_EQ(row.expected, RegRead(kView32, row.key, row.value));
    }
    g_refused.clear();
}
