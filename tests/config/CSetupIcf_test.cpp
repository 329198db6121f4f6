#include "CSetupIcf.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

using namespace testsupport;

namespace {

std::string Upper(std::string text) { CharUpperBuffA(&text[0], static_cast<DWORD>(text.size())); return text; }
bool FileExists(const std::string& path) { return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES; }

// Sets a key the way an earlier setup or an administrator left it; null removes it.
void Put(const std::string& file, const char* section, const char* key, const char* value)
{
    ASSERT_TRUE(WritePrivateProfileStringA(section, key, value, file.c_str())) << section << "/" << key;
}

// Deletes a file and the profile API's cached copy of it, which would otherwise come back.
void Remove(const std::string& file)
{
    SetFileAttributesA(file.c_str(), FILE_ATTRIBUTE_NORMAL);
    DeleteFileA(file.c_str());
    WritePrivateProfileStringA(nullptr, nullptr, nullptr, file.c_str());
}

// An answer file holding only an unrelated section.
std::string NewIcf(const TempDir& dir, const std::string& name)
{
    WriteFileBytes(dir / (name + ".icf"), "[Unrelated]\r\nKey=1\r\n");
    return dir / (name + ".icf");
}

// The file holds the bytes it held before plus this one key (null: nothing); names without case.
void ExpectOnlyWrite(const std::string& file, const std::string& before, const char* section, const char* key,
                     const char* value)
{
    const std::string reference = file + ".ref";
    WriteFileBytes(reference, before);
    if (value)
        Put(reference, section, key, value);
    EXPECT_EQ(Upper(ReadFileBytes(reference)), Upper(ReadFileBytes(file))) << section << "/" << key;
    Remove(reference);
}

// The SETUP.ICF beside the test program: Init's fall-back, so where an object without a file
// writes. Absent while a guard lives.
std::string ExeIcf() { return ExeDir() + "SETUP.ICF"; }
struct ExeIcfGuard { ExeIcfGuard() { Remove(ExeIcf()); } ~ExeIcfGuard() { Remove(ExeIcf()); } };

// ---------------------------------------------------------------------------------------------
// Every named value: its sections in read order (setters write the last), key and default.

struct Src { const char* section; const char* key; const char* def; };
// Text: the first non-empty section. Switch: on unless a section switches it off (AllOn), or on
// if a section switches it on (AnyOn). Number: of its section (Plain), as 0/1 (Flag), of the last
// section present (LastWins), 0 to 4 or else -1 (SubType).
enum Rule { FirstText, AllOn, AnyOn, Plain, Flag, LastWins, SubType };
// A setter writes: the text, "1"/"0", "%d", the agent install type (0, 2, else 1), "%d" unless negative.
enum Form { AsIs, OneZero, Decimal, AgentType, NonNegative };
using Values = std::vector<const char*>;  // one per read section; null: the key is absent

struct Row {
    const char* name;
    Rule rule;
    Form form;
    unsigned size;  // result buffer of a text getter
    std::vector<Src> reads;
    std::function<const char*(CSetupIcf&)> text;
    std::function<long(CSetupIcf&)> number;  // number or switch getter
    std::function<BOOL(CSetupIcf&, char*, unsigned long)> sized;  // sized getter, or a switch's text query
    std::function<BOOL(CSetupIcf&, const char*)> set;  // numbers given in decimal
    Values querySections;
    bool needsFile;
    const char* (*staticDefault)();
    Row& NeedsFile() { needsFile = true; return *this; }
    Row& D(const char* (*query)()) { staticDefault = query; return *this; }
};

std::vector<Src> Each(const Values& sections, const char* key, const char* def)
{
    std::vector<Src> reads;
    for (const char* section : sections)
        reads.push_back({section, key, def});
    return reads;
}

#define GET_TEXT(g) [](CSetupIcf& f) { return f.g(); }
#define GET_NUM(g) [](CSetupIcf& f) -> long { return static_cast<long>(f.g()); }
#define GET_SIZED(g) [](CSetupIcf& f, char* b, unsigned long n) { return f.g(b, n); }
#define SET_TEXT(s) [](CSetupIcf& f, const char* v) { return f.s(v); }
#define SET_NUM(s, type) [](CSetupIcf& f, const char* v) { return f.s(static_cast<type>(atol(v))); }
#define TXT(name, size, ...) Row{#name, FirstText, AsIs, size, {__VA_ARGS__}, GET_TEXT(name), {}, {}, SET_TEXT(name), {}, false, nullptr}
#define TXTS(name, size, key, ...) \
    Row{#name, FirstText, AsIs, size, Each({__VA_ARGS__}, key, ""), GET_TEXT(name), {}, {}, SET_TEXT(name), {}, false, nullptr}
#define SIZED(get, set, ...) Row{#get, FirstText, AsIs, 0, {__VA_ARGS__}, {}, {}, GET_SIZED(get), SET_TEXT(set), {}, false, nullptr}
#define SWITCH(name, key, def, ...) \
    Row{#name, AllOn, OneZero, 0, Each({__VA_ARGS__}, key, def), {}, GET_NUM(name), {}, SET_NUM(name, int), {}, false, nullptr}
#define QUERY(name, query, key, def, ...) \
    Row{#name, AllOn, OneZero, 0, Each({__VA_ARGS__}, key, def), {}, GET_NUM(name), GET_SIZED(name), SET_NUM(name, int), query, false, nullptr}
#define NUMBER(get, set, type, rule, form, ...) \
    Row{#get, rule, form, 0, {__VA_ARGS__}, {}, GET_NUM(get), {}, SET_NUM(set, type), {}, true, nullptr}
// Shorthands of the groups that share a section or a form: the default query is Default<name>,
// a plain number is Get<name>/Set<name>, and a cluster node value's key is its name.
#define BASE(name, key) SWITCH(name, key, "1", "Base")
#define NUM(name, type, section, key) NUMBER(Get##name, Set##name, type, Plain, Decimal, {section, key, "0"})
#define NODE(name) SIZED(Get##name, Set##name, {"Base", #name, ""}).NeedsFile()
#define AGENT(name, section) TXT(name, 260, {section, "AgentPath", ""})
#define MVS(name, key) TXT(name, 48, {"MVSConfig", key, ""})
#define SQM(name, size, key, def) TXT(name, size, {"SQM", key, def})
#define SQMD(name, size, key, def) SQM(name, size, key, def).D(&CSetupIcf::Default##name)
#define PM(name, key, def) TXT(name, 260, {"PM", key, def})
#define DOM(name, size, key) TXTS(name, size, key, "QuellmarshDomain", "Base")
#define CHOICE(name, key) QUERY(name, installBase, key, "1", "Install", "Base")

const std::vector<Row>& Rows()
{
    const Values installBase{"Install", "Base"}, base{"Base"};
    static const std::vector<Row> rows = {
        // User and product
        TXT(FullName, 256, {"UserInfo", "FullName", ""}), TXT(CompanyName, 256, {"UserInfo", "CompanyName", ""}),
        TXT(LanguageID, 10, {"Install", "LanguageID", "1033"}), SWITCH(UpgradeIE, "UpgradeIE", "0", "Install"),
        Row{"GetProductSubType", SubType, AsIs, 0, {{"Install", "ProdSubType", "-1"}}, {}, GET_NUM(GetProductSubType), {}, {}, {}, false, nullptr},
        SIZED(GetSetupHostMachineName, SetSetupHostMachineName, {"Install", "SetupHostMachineName", "0"}), NUM(SetupMode, int, "Install", "MastersetupMode"),
        NUM(TalvikBetaUpgFlag, int, "Install", "TalvikBetaUpgFlag"),
        // Paths
        TXT(DrosvanePath, 260, {"DrosvaneInstall", "InstallPath", ""}, {"InstallPath", "ProductPath", ""}, {"Base", "ProductPath", ""}).D(&CSetupIcf::DefaultDrosvanePath),
        TXT(AlertPath, 260, {"DrosvaneInstall", "AlertPath", ""}, {"InstallPath", "AlertPath", "C:\\ALERT"}, {"Base", "AlertPath", "C:\\ALERT"}).D(&CSetupIcf::DefaultAlertPath),
        Row{"ClientAgentPath", FirstText, AsIs, 260, Each({"InstallPath", "ClientAgent"}, "AgentPath", ""), GET_TEXT(ClientAgentPath), {}, {}, SET_TEXT(AgentPath), {}, false, nullptr},
        AGENT(DBAOraPath, "DBAORA"), AGENT(DBASqlPath, "DBASQL"), AGENT(DBAExchPath, "DBAEXCH"), AGENT(DBANotePath, "DBANOTE"), AGENT(DBAInfoPath, "DBAINFO"),
        AGENT(DBASybasePath, "DBASYBASE"), AGENT(DBAIngresPath, "DBAINGRES"), AGENT(DBASapSqlPath, "DBASAPSQL"), AGENT(DBASapOraPath, "DBASAPORA"),
        AGENT(SPAgentPath, "SPAgent"), TXT(MDBPath, 260, {"MDB", "MDBPath", ""}).D(&CSetupIcf::DefaultMDBPath),
        // Installation choices
        CHOICE(InstallManager, "ManagerFeature"), CHOICE(InstallServer, "SeverFeature"), CHOICE(InstallAdmin, "AdminFeature"),
        SWITCH(InstallAlert, "AlertFeature", "1", "Install", "Base"), QUERY(InstallAV, installBase, "AVFeature", "1", "Base"),
        QUERY(InstalliPatron, base, "iPatronFeature", "1", "Base"), QUERY(InstallCPM, base, "CPMFeature", "0", "Base"),
        QUERY(InstallDRWiz, base, "DRWIZFeature", "0", "Base"), QUERY(InstallSANWiz, base, "SANWIZFeature", "0", "Base"),
        SWITCH(InstallHSM, "DataMigration", "1", "Install"), SWITCH(OverwriteDB, "OverwriteDB", "1", "Install"),
        SWITCH(OverwriteJobQueue, "OverwriteJobQueue", "1", "Install"), SWITCH(UninstallDrosvane, "SeverFeature", "1", "Uninstall"),
        SWITCH(UninstallAlert, "AlertFeature", "1", "Uninstall"), BASE(InstallBaseStandAlone, "StandAloneSrvFeature"),
        Row{"GetIsSANEnv", AllOn, OneZero, 0, {{"Base", "SANEnvronment", "1"}}, {}, GET_NUM(GetIsSANEnv), {}, SET_NUM(SetIsSANEnv, int), {}, false, nullptr},
        BASE(InstallBasePrimary, "PrimarySrvFeature"), BASE(InstallBaseMember, "MemberSrvFeature"), BASE(InstallBaseCMO, "CMOFeature"),
        BASE(InstallBaseTLO, "TLOFeature"), BASE(InstallBaseSANO, "SANOFeature"), BASE(InstallBaseD2D2T, "D2D2TFeature"), BASE(InstallBaseVMWare, "VMWareFeature"),
        BASE(InstallBaseEModule, "EModuleFeature"), BASE(InstallBaseDRO, "DROFeature"), BASE(InstallBaseNASAgent, "NASAgentFeature"),
        BASE(InstallBaseOmnivale, "OmnivaleFeature"),
        // Database
        Row{"SQLDB", AnyOn, OneZero, 0, Each({"DatabaseOption", "Base"}, "SQL", "0"), {}, GET_NUM(SQLDB), {}, SET_NUM(SQLDB, int), {}, false, nullptr},
        NUMBER(GetDBType, SetDBType, int, LastWins, NonNegative, {"DatabaseOption", "SQL", "0"}, {"Base", "SQL", "0"}),
        NUM(DrosvaneDBUpgradeFlag, unsigned long, "Base", "ZORDBUpdateFlag"), NUM(SQLExpInstallFlag, unsigned long, "Base", "SQLExpInstallFlag"),
        SIZED(GetSQLExpInstanceName, SaveSQLExpInstanceName, {"Base", "SQLExpInstanceName", ""}), SIZED(GetServerDB_DataFilePath, SetServerDB_DataFilePath, {"Base", "DB_DataFilePath", ""}),
        SIZED(GetSQLAgentInstanceName, SetSQLAgentInstanceName, {"DBASQL", "SID01", ""}).NeedsFile(),
        SIZED(GetSQLAgentSQLUserName, SetSQLAgentSQLUserName, {"DBASQL", "LoginID01", ""}).NeedsFile(),
        NUMBER(GetSQLAgentInstanceAuthType, SetSQLAgentInstanceAuthType, unsigned, Plain, OneZero, {"DBASQL", "NTAuthentication01", "0"}),
        NUMBER(GetSQLAgent_Install_Flag, SetSQLAgent_Install_Flag, unsigned, Plain, AgentType, {"DBASQL", "SQLAgentInstallType", "1"}),
        // Storage management web component and its database
        SQMD(SolmarinPath, 260, "SolmarinPath", ""), SQMD(SolmarinJBossPath, 260, "JBossPath", ""), SQMD(SolmarinPort, 260, "JNPPORT", "1099"),
        SQMD(SolmarinTomcatPort, 260, "TOMCATPORT", "8080"), SQM(SolmarinJRMPPort, 260, "JRMPPORT", "4444"), SQM(SolmarinRMIPort, 260, "RMIPORT", "1098"),
        SQM(SolmarinGOSSIPPort, 260, "GOSSIPPORT", "5555"), SQMD(SolmarinHost, 260, "Host", ""), SQMD(LocalMDB, 48, "LOCALMDB", "YES"),
        SQMD(MDBHost, 48, "MDBHOST", ""), SQMD(MDBUser, 48, "MDBUSER", "sqmadmin"), SQMD(MDBPassword, 48, "MDBPASSWORD", ""), SQMD(MDBID, 48, "MDBID", "SQ"),
        SQMD(MDBDatabase, 48, "MDBDATABASE", ""), SQMD(DatabaseLoc, 260, "DATABASELOC", ""), SQMD(CheckLoc, 260, "DATABASECHECKPOINTLOC", ""),
        SQMD(JourLoc, 260, "DATABASEJOURNALLOC", ""), SQMD(DumpLoc, 260, "DATABASEDUMPLOC", ""), SQMD(WorkLoc, 260, "DATABASEWORKLOC", ""),
        SQMD(LocaleVIG, 48, "LOCALEVIG", "YES"), SQMD(RemoteMDBeVIG, 48, "REMOTEMDBEVIG", "NO"), SQMD(eVIGPass, 48, "EVIGPASS", ""),
        SQMD(eVIGRemoteHost, 260, "EVIGREMOTEHOST", ""),
        // Service account and product domain (the passwords have their own tests)
        TXTS(SystemAccountDomain, 48, "SystemDomainName", "System Account", "SystemAccount", "Base"),
        TXTS(SystemAccountUser, 48, "SystemUserName", "System Account", "SystemAccount", "Base"),
        TXT(SystemAccountServer, 260, {"Base", "SystemServerName", ""}), TXT(SANPrimaryServer, 48, {"Base", "SANPrimaryServer", ""}),
        SWITCH(CreateDVDomain, "CreateQuellmarshDomain", "1", "QuellmarshDomain", "Base"), SWITCH(SaveDVDomainPWD, "SaveQuellmarshDomainPassword", "1", "Base"),
        DOM(DVDomainName, 48, "QuellmarshDomainName"), DOM(PriDVDomainName, 260, "PrimaryServerName"),
        DOM(SecDVDomainName, 260, "SecondaryServerName"), DOM(DVDomainUserName, 48, "QuellmarshDomainUserName"),
        // Mainframe link
        MVS(SiteName, "SITENAME"), MVS(SystemID, "SYSTEMID"), MVS(LocalLUAlias, "LOCALLUALIAS"), MVS(PartnerLUAlias, "PARTNERLUALIAS"),
        // Patch manager
        PM(PMDSServerType, "DS_SERVERTYPE", ""), PM(PMDSLocation, "DS_LOCATION", ""), PM(PMDSPathOnFTP, "DS_PATHONFTP", ""), PM(PMDSPatchesRoot, "DS_PATCHESROOT", ""),
        PM(PMLUDisableAutoUpdate, "LU_DISABLEAUTOUPDATE", ""), PM(PMLUAutoDownload, "LU_AUTODOWNLOAD", ""), PM(PMLUAutoDownloadInstall, "LU_AUTODOWNLOADINSTALL", ""),
        PM(PMLUHour, "LU_HOUR", ""), PM(PMLUWeekDay, "LU_WEEKDAY", ""), PM(PMEMUpdateAvailable, "EM_UPDATEAVAILABLE", "NO"), PM(PMEMEmailID, "EM_EMAILID", ""),
        PM(PMEMDownloadComplete, "EM_DOWNLOADCOMPLETE", "NO"), PM(PMEMInstallComplete, "EM_INSTALLCOMPLETE", "NO"), PM(PMEMSMTPServer, "EM_SMTPSERVER", ""),
        PM(PMEMSMTPRequireAuth, "EM_SMTPREQUREAUTH", ""), PM(PMEMUserID, "EM_USERID", ""), PM(PMEMPassword, "EM_PASSWORD", ""), PM(PMPSPort, "PS_PORT", ""),
        PM(PMPSUseProxyServer, "PS_USEPROXYSERVER", ""), PM(PMPSProxyServer, "PS_PROXYSERVER", ""), PM(PMPSProxyRequireAuth, "PS_PROXYREQUREAUTH", ""),
        PM(PMPSUserName, "PS_USERNAME", ""), PM(PMPSPassword, "PS_PASSWORD", ""),
        // Cluster and replication
        NUMBER(GetClusterInstallFlag, SetClusterInstallFlag, BOOL, Flag, OneZero, {"Install", "ClusterEnvInst", "0"}),
        NUM(ClusterEnvType, unsigned long, "Install", "ClusterEnvType"), NUM(_WANSync_MasterType, unsigned long, "Install", "WANSync_MasterType"),
        NODE(VirtualServerName), NODE(VirtualServerIP), NODE(MasterNodeName), NODE(MasterNodeIP), NODE(WANSync_ReplicaNodeName), NODE(WANSync_ReplicaNodeIP),
    };
    return rows;
}

// What the read sections hold in turn. Texts: nothing, a value each, then emptied and removed from
// the first on. Switches: absent, off, on, each section off alone. Numbers: around the subtype's
// bounds, each section present alone.
const char* const no = nullptr;
const std::vector<Values> kTextCases = {
    {no}, {"v1"}, {""}, {no, no}, {"v1", "v2"}, {"", "v2"}, {no, "v2"}, {no, ""}, {no, no, no}, {"v1", "v2", "v3"},
    {"", "v2", "v3"}, {no, "v2", "v3"}, {no, "", "v3"}, {no, no, "v3"}, {no, no, ""}};
const std::vector<Values> kSwitchCases = {{no}, {"0"}, {"1"}, {no, no}, {"0", "1"}, {"1", "0"}, {"1", "1"}};
const std::vector<Values> kNumberCases = {{no}, {"0"}, {"4"}, {"5"}, {"-2"}, {no, no}, {"4", no}, {no, "4"}, {"4", "5"}};

// What a getter answers when each read section holds values[i].
std::string Expected(const Row& row, const Values& values)
{
    auto text = [&](size_t i) { return std::string(values[i] ? values[i] : row.reads[i].def); };
    auto number = [&](size_t i) { return atol(text(i).c_str()); };
    size_t i = 0;
    switch (row.rule) {
    case FirstText:
        while (i + 1 < values.size() && text(i).empty())
            ++i;
        return text(i);
    case AllOn:
    case AnyOn:  // the next section is read while the switch stays on (AllOn) or off (AnyOn)
        while (i + 1 < values.size() && (number(i) != 0) == (row.rule == AllOn))
            ++i;
        return std::to_string(number(i) != 0);
    case Flag: return std::to_string(number(0) != 0);
    case LastWins: return values.back() ? values.back() : text(0);
    case SubType: return std::to_string(number(0) >= 0 && number(0) <= 4 ? number(0) : -1);
    default: return std::to_string(number(0));
    }
}

// What a setter writes for an input; empty when it writes nothing.
std::string Written(Form form, const char* input)
{
    const long value = atol(input);
    switch (form) {
    case OneZero: return value ? "1" : "0";
    case AgentType: return value == 2 ? "2" : value ? "1" : "0";
    case NonNegative: return value < 0 ? "" : input;
    default: return input;
    }
}

// A value as the caller sees it: a text, a number in decimal, or what a sized getter put in a
// large buffer (it answers TRUE exactly when it read something).
std::string Read(const Row& row, CSetupIcf& icf)
{
    if (row.text || row.number)
        return row.text ? row.text(icf) : std::to_string(row.number(icf));
    std::string buffer(300, '#');
    const BOOL result = row.sized(icf, &buffer[0], static_cast<unsigned long>(buffer.size()));
    EXPECT_EQ(result != 0, buffer[0] != '\0');
    return buffer.c_str();
}

}  // namespace

// One answer file for all of them: each value's sections are set before each read.
TEST(CSetupIcf, EveryNamedValueFollowsItsSectionsKeyAndDefault)
{
    TempDir dir;
    ExeIcfGuard guard;
    const std::string file = NewIcf(dir, "named");
    CSetupIcf icf(file.c_str()), none((dir / "absent.icf").c_str());
    struct Kept { const char* name; const char* text; std::string expected; };
    std::vector<Kept> kept;
    for (const Row& row : Rows()) {
        SCOPED_TRACE(row.name);
        const Src& out = row.reads.back();
        for (const Values& values : row.rule == FirstText ? kTextCases : row.rule <= AnyOn ? kSwitchCases : kNumberCases) {
            if (values.size() != row.reads.size())
                continue;
            for (size_t i = 0; i < values.size(); ++i)
                Put(file, row.reads[i].section, row.reads[i].key, values[i]);
            EXPECT_EQ(Expected(row, values), Read(row, icf)) << ::testing::PrintToString(values);
        }
        const Values absent(row.reads.size(), nullptr);
        if (row.staticDefault) {
            EXPECT_EQ(Expected(row, absent), row.staticDefault());
        }
        // A switch's text query: the raw text of the first query section that holds the key.
        const Values& query = row.querySections;
        for (size_t i = 0; i < query.size(); ++i)
            Put(file, query[i], out.key, i ? "yes" : "0");
        for (size_t i = 0; !query.empty() && i <= query.size(); ++i) {
            char buffer[16] = "###############";
            EXPECT_EQ(i < query.size(), row.sized(icf, buffer, sizeof(buffer)) != 0) << i;
            if (i < query.size()) {
                EXPECT_STREQ(i ? "yes" : "0", buffer);
                Put(file, query[i], out.key, nullptr);
            }
        }
        const Values inputs = !row.set ? Values{} : row.rule == FirstText ? Values{"w-value"} : Values{"0", "2", "5", "-2"};
        for (const char* input : inputs) {
            const std::string before = ReadFileBytes(file), text = Written(row.form, input);
            EXPECT_EQ(!text.empty(), row.set(icf, input) != 0) << input;
            ExpectOnlyWrite(file, before, out.section, out.key, text.empty() ? nullptr : text.c_str());
        }
        // A long value in the first section: cut to the getter's result buffer, which keeps it
        // while the others are read, or to the caller's size, and never written past.
        const std::string letters(300, static_cast<char>('A' + kept.size() % 26));
        if (row.rule == FirstText || !query.empty())
            Put(file, query.empty() ? row.reads[0].section : query[0], row.reads[0].key, letters.c_str());
        if (row.text) {
            kept.push_back({row.name, row.text(icf), letters.substr(0, row.size - 1)});
        } else if (row.rule == FirstText || !query.empty()) {
            std::string buffer(64, '#');
            EXPECT_TRUE(row.sized(icf, &buffer[0], 48));
            EXPECT_EQ(letters.substr(0, 47) + '\0' + std::string(16, '#'), buffer);
        }

        // Without a file nothing is read: texts are empty, sized getters fail, switches answer
        // their default; setters that need the file fail, the others write beside the program.
        if (row.text || row.number) {
            EXPECT_EQ(row.text ? "" : row.rule == SubType ? "0" : Expected(row, absent), Read(row, none));
        }
        char buffer[8] = "#######";
        if (row.sized) {
            EXPECT_FALSE(row.sized(none, buffer, sizeof(buffer)));
            EXPECT_STREQ("#######", buffer);
        }
        if (row.set) {
            EXPECT_EQ(!row.needsFile, row.set(none, "0") != 0);
            ExpectOnlyWrite(ExeIcf(), "", out.section, out.key, row.needsFile ? nullptr : "0");
            EXPECT_EQ(!row.needsFile, FileExists(ExeIcf()));
            Remove(ExeIcf());
        }
    }
    for (const Kept& result : kept)
        EXPECT_EQ(result.expected, result.text) << result.name;
    EXPECT_STREQ("", CSetupIcf::DefaultAgent95Path());
    EXPECT_STREQ("", CSetupIcf::DefaultAgentNTPath());
}

TEST(CSetupIcf, GenericAccessWritesAnyKeyAndReadsWithinTheCallersText)
{
    TempDir dir;
    ExeIcfGuard guard;
    int value = 5;
    char buffer[24] = "xxxx";
    CSetupIcf none((dir / "absent.icf").c_str());  // writes without a file go beside the program
    EXPECT_TRUE(none.WriteString("Extra", "Name", "text"));
    EXPECT_TRUE(none.WriteInt("Extra", "Count", -12));
    EXPECT_EQ(Upper("[Extra]\r\nName=text\r\nCount=-12\r\n"), Upper(ReadFileBytes(ExeIcf())));
    EXPECT_EACH(0, ANSWER(none.GetInt("Extra", "Count", &value)), ANSWER(none.GetString("Extra", "Name", buffer)));
    EXPECT_EQ(5, value);
    EXPECT_STREQ("xxxx", buffer);
    Remove(ExeIcf());

    const std::string file = NewIcf(dir, "generic");
    CSetupIcf icf(file.c_str());
    ASSERT_TRUE(icf.WriteString("Extra", "Name", "abcdefgh"));
    ASSERT_TRUE(icf.WriteInt("Extra", "Count", 42));
    EXPECT_TRUE(icf.GetInt("Extra", "Count", &value));
    EXPECT_EQ(42, value);
    EXPECT_TRUE(icf.GetInt("Extra", "Missing", &value));
    EXPECT_EQ(0, value);

    // The buffer's capacity is the length of the text already in it.
    char empty[9] = "\0#######";
    EXPECT_EQ(0, icf.GetString("Extra", "Name", empty));
    EXPECT_EQ(std::string("\0#######", 8), std::string(empty, 8));
    char five[12] = "xxxxx\0#####";
    EXPECT_EQ(4, icf.GetString("Extra", "Name", five));
    EXPECT_EQ(std::string("abcd\0\0#####", 12), std::string(five, 12));
    EXPECT_EQ(0, icf.GetString("Extra", "Missing", five));
    EXPECT_STREQ("", five);
}

TEST(CSetupIcf, InitTakesTheFileBesideTheProgramAndMakesOnlyThatOneWritable)
{
    TempDir dir;
    ExeIcfGuard guard;
    const std::string absent = dir / "absent.icf", named = dir / "named.icf";
    for (const char* name : {static_cast<const char*>(nullptr), "", absent.c_str()}) {
        CSetupIcf icf(name);
        EXPECT_FALSE(icf.Exists());
        EXPECT_EQ(0, _stricmp(ExeIcf().c_str(), icf.FileName())) << icf.FileName();
    }
    ASSERT_TRUE(WriteFileBytes(ExeIcf(), "[UserInfo]\r\nFullName=Beside\r\n"));
    ASSERT_TRUE(SetFileAttributesA(ExeIcf().c_str(), FILE_ATTRIBUTE_READONLY));
    CSetupIcf beside(nullptr);
    EXPECT_STREQ("Beside", beside.FullName());
    EXPECT_EQ(0u, GetFileAttributesA(ExeIcf().c_str()) & FILE_ATTRIBUTE_READONLY);
    ASSERT_TRUE(SetFileAttributesA(ExeIcf().c_str(), FILE_ATTRIBUTE_READONLY));
    EXPECT_TRUE(beside.Init(""));
    EXPECT_TRUE(beside.CompanyName("Writable"));
    // A named file that is missing gives way to the one beside the program.
    EXPECT_STREQ("Writable", CSetupIcf(absent.c_str()).CompanyName());

    ASSERT_TRUE(WriteFileBytes(named, "[UserInfo]\r\nFullName=Named\r\n"));
    ASSERT_TRUE(SetFileAttributesA(named.c_str(), FILE_ATTRIBUTE_READONLY));
    CSetupIcf icf(named.c_str());
    EXPECT_EQ(named, icf.FileName());
    EXPECT_STREQ("Named", icf.FullName());
    EXPECT_NE(0u, GetFileAttributesA(named.c_str()) & FILE_ATTRIBUTE_READONLY);
    Remove(ExeIcf());
    EXPECT_FALSE(icf.Init(absent.c_str())) << "Init again starts over with the new file";
    EXPECT_EQ(DRIVE_FIXED, GetDriveTypeA(icf.DefaultDBFilePath())) << icf.DefaultDBFilePath();
    EXPECT_STREQ("SETUP.ICF", CSetupIcf::DefaultICFFileName());
}

// Null and empty names, null texts and buffers, zero sizes, passwords of a missing file: a
// failure, nothing written or filled.
TEST(CSetupIcf, BadInputFailsCleanly)
{
    TempDir dir;
    ExeIcfGuard guard;
    const std::string file = NewIcf(dir, "bad");
    Put(file, "Extra", "Key", "value");
    Put(file, "Base", "OVGFeature", "1");  // the management framework switch: always off, never written
    Put(file, "Install", "OVGFeature", "1");
    const std::string bytes = ReadFileBytes(file);
    CSetupIcf icf(file.c_str()), none((dir / "absent.icf").c_str());
    char small[4] = "##";
    int value = 5;
    EXPECT_EACH(0, ANSWER(icf.InstallOVG()), ANSWER(icf.InstallOVG(1)), ANSWER(icf.InstallOVG(0)), ANSWER(none.InstallOVG(1)),
                ANSWER(none.InstallOVG()), ANSWER(icf.WriteString("Extra", "Key", nullptr)),
                ANSWER(icf.GetString("Extra", "Key", nullptr)), ANSWER(icf.GetInt("Extra", "Key", nullptr)),
                ANSWER(icf.SystemAccountPassword(nullptr)), ANSWER(icf.DVDomainPassword(nullptr)), ANSWER(icf.SaveSQLExpPWD(nullptr)),
                ANSWER(icf.GetSQLExpPWD(nullptr, 48)), ANSWER(icf.GetSQLExpPWD(small, 0)),
                ANSWER(icf.GetSQLRemoteSerPWD(nullptr, 48)), ANSWER(icf.GetSQLRemoteSerPWD(small, 0)),
                ANSWER(none.GetSQLExpPWD(small, sizeof(small))), ANSWER(none.GetSQLRemoteSerPWD(small, sizeof(small))));
    for (const char* bad : {static_cast<const char*>(nullptr), ""}) {
        EXPECT_EACH(0, ANSWER(icf.WriteString(bad, "Key", "x")), ANSWER(icf.WriteString("Extra", bad, "x")),
                    ANSWER(icf.WriteInt(bad, "Key", 1)), ANSWER(icf.WriteInt("Extra", bad, 1)), ANSWER(icf.GetString(bad, "Key", small)),
                    ANSWER(icf.GetString("Extra", bad, small)), ANSWER(icf.GetInt(bad, "Key", &value)),
                    ANSWER(icf.GetInt("Extra", bad, &value))) << (bad ? " with an empty name" : " with a null name");
    }
    for (const Row& row : Rows()) {
        if (row.rule == FirstText) {
            EXPECT_FALSE(row.set(icf, nullptr)) << row.name;
        }
        if (row.sized) {
            EXPECT_FALSE(row.sized(icf, nullptr, 48)) << row.name;
            EXPECT_FALSE(row.sized(icf, small, 0)) << row.name;
        }
    }
    EXPECT_EQ(5, value);
    EXPECT_STREQ("##", small);
    EXPECT_EQ(bytes, ReadFileBytes(file));
    EXPECT_FALSE(FileExists(ExeIcf()));
}

namespace {

// The scrambling library in the current folder (m_dir); answer files in m_files.
class CSetupIcfPasswords : public ScramblerTest {
protected:
    // The three kept scrambled in "Base"; the sections of earlier setups that hold them as plain
    // text; a failed GetSQLExpPWD reads as "<FALSE>".
    struct Password {
        const char* key;
        Values plainSections;
        std::function<BOOL(CSetupIcf&, const char*)> set;
        std::function<std::string(CSetupIcf&)> get;
    };
    const std::vector<Password> m_passwords = {
        {"SystemPassword", {"System Account", "SystemAccount"}, SET_TEXT(SystemAccountPassword), GET_TEXT(SystemAccountPassword)},
        {"QuellmarshDomainPassword", {"QuellmarshDomain"}, SET_TEXT(DVDomainPassword), GET_TEXT(DVDomainPassword)},
        {"SQLExpSAPWD", {}, SET_TEXT(SaveSQLExpPWD), [](CSetupIcf& f) {
             char buffer[260] = {};
             return f.GetSQLExpPWD(buffer, sizeof(buffer)) ? std::string(buffer) : std::string("<FALSE>");
         }},
    };

    TempDir m_files;  // never left as the current folder: it goes before the current folder moves back
    ScopedEnv m_noFailure{"DVDCEN_FIXTURE_RESULT", nullptr};
    ExeIcfGuard m_guard;
};

}  // namespace

TEST_F(CSetupIcfPasswords, BaseHoldsThemScrambledAndOlderSectionsPlainTextWins)
{
    for (const Password& password : m_passwords) {
        SCOPED_TRACE(password.key);
        const std::string file = NewIcf(m_files, password.key);
        CSetupIcf icf(file.c_str());
        EXPECT_EQ("", password.get(icf));
        const std::string before = ReadFileBytes(file);
        ASSERT_TRUE(password.set(icf, "Pa55 w0rd!"));
        char scrambled[1600] = {};
        GetPrivateProfileStringA("Base", password.key, "", scrambled, sizeof(scrambled), file.c_str());
        EXPECT_STRNE("", scrambled);
        EXPECT_EQ(strlen(scrambled), strspn(scrambled, "0123456789abcdef")) << scrambled << ": lower-case hexadecimal digits";
        ExpectOnlyWrite(file, before, "Base", password.key, scrambled);
        EXPECT_EQ("Pa55 w0rd!", password.get(icf));

        // Plain text of the sections earlier setups wrote comes first, in their order.
        const Values& older = password.plainSections;
        for (size_t i = 0; i < older.size(); ++i)
            Put(file, older[i], password.key, ("plain-" + std::to_string(i)).c_str());
        for (size_t i = 0; i < older.size(); ++i) {
            EXPECT_EQ("plain-" + std::to_string(i), password.get(icf));
            Put(file, older[i], password.key, "");
        }
        EXPECT_EQ("Pa55 w0rd!", password.get(icf));
        for (const char* section : older) {  // plain text longer than its 48-byte buffer comes back cut
            Put(file, section, password.key, std::string(300, 'p').c_str());
            EXPECT_EQ(std::string(47, 'p'), password.get(icf));
        }
        if (older.empty()) {
            // The remote server's password is kept scrambled in section "SQLSetup".
            Put(file, "SQLSetup", "RemoteServerPwd", scrambled);
            char buffer[64] = {};
            EXPECT_TRUE(icf.GetSQLRemoteSerPWD(buffer, sizeof(buffer)));
            EXPECT_STREQ("Pa55 w0rd!", buffer);
        }
    }
}

TEST_F(CSetupIcfPasswords, GetSQLExpPWDKeepsToTheCallersBuffer)
{
    CSetupIcf icf(NewIcf(m_files, "sqlexp").c_str());
    std::string buffer(16, '#');
    EXPECT_TRUE(icf.GetSQLExpPWD(&buffer[0], 8)) << "no password is no failure";
    ASSERT_TRUE(icf.SaveSQLExpPWD("Secret-1"));
    EXPECT_FALSE(icf.GetSQLExpPWD(&buffer[0], 8)) << "no room for the terminating zero";
    EXPECT_EQ(std::string(16, '#'), buffer) << "neither call writes";
    EXPECT_TRUE(icf.GetSQLExpPWD(&buffer[0], 9));
    EXPECT_EQ(std::string("Secret-1\0#######", 16), buffer);

    // A scrambled text the library refuses: the whole buffer zeroed, and no more.
    ScopedEnv refuse("DVDCEN_FIXTURE_RESULT", "13");
    buffer.assign(16, '#');
    EXPECT_FALSE(icf.GetSQLExpPWD(&buffer[0], 12));
    EXPECT_EQ(std::string(12, '\0') + "####", buffer);
}

TEST_F(CSetupIcfPasswords, WithoutTheScramblerNothingIsWritten)
{
    const std::string file = NewIcf(m_files, "noscrambler");
    CSetupIcf icf(file.c_str());
    for (const Password& password : m_passwords)
        ASSERT_TRUE(password.set(icf, "kept"));
    const std::string bytes = ReadFileBytes(file);
    for (const char* folder : {m_files.path().c_str(), m_dir.path().c_str()}) {
        SCOPED_TRACE(folder == m_files.path() ? "no library" : "the library refuses");
        ASSERT_TRUE(SetCurrentDirectoryA(folder));
        ScopedEnv refuse("DVDCEN_FIXTURE_RESULT", folder == m_files.path() ? nullptr : "13");
        for (const Password& password : m_passwords) {
            EXPECT_FALSE(password.set(icf, "changed")) << password.key;
            EXPECT_EQ(password.plainSections.empty() ? "<FALSE>" : "", password.get(icf))
                << password.key << ": a text that cannot be unscrambled reads as no password";
        }
        EXPECT_EQ(bytes, ReadFileBytes(file));
    }
}

// Random texts as long as each value's buffer holds (passwords: the 96 characters that are
// scrambled) and random numbers, written and read back: named values, passwords, the generic
// access. The profile functions drop blanks and quotes around a value, so those never stand at
// the ends.
TEST_F(CSetupIcfPasswords, RandomValuesWithinTheirBoundsReadBack)
{
    const unsigned seed = 1125;
    std::mt19937 random(seed);
    auto text = [&](size_t most) {
        std::string result(random() % (most + 1), 'x');
        for (size_t i = 0; i < result.size(); ++i) {
            do
                result[i] = static_cast<char>(32 + random() % 224);
            while (result[i] == 127 || ((i == 0 || i + 1 == result.size()) && strchr(" \"'", result[i])));
        }
        return result;
    };
    const std::string file = NewIcf(m_files, "random");
    CSetupIcf icf(file.c_str());
    UniqueModule pinned(LoadLibraryA((m_dir / "DVDCEN.DLL").c_str()));  // its key made once
    for (int round = 0; round < 3; ++round) {
        for (const Row& row : Rows()) {
            if (!row.set)
                continue;
            const std::string value = row.rule == FirstText ? text((row.size ? row.size : 260) - 1)
                                                             : std::to_string(static_cast<int>(random()));
            const std::string written = Written(row.form, value.c_str());
            const bool writes = row.rule == FirstText || !written.empty();  // no negative database type
            SCOPED_TRACE("seed " + std::to_string(seed) + ", " + row.name + " = " + value);
            Values values(row.reads.size(), nullptr);
            values.back() = written.c_str();
            EXPECT_EQ(writes, row.set(icf, value.c_str()) != 0);
            if (writes) {
                EXPECT_EQ(Expected(row, values), Read(row, icf));
            }
        }
        for (const Password& password : m_passwords) {
            const std::string value = text(96);
            SCOPED_TRACE("seed " + std::to_string(seed) + ", " + password.key + " = " + value);
            EXPECT_TRUE(password.set(icf, value.c_str()));
            EXPECT_EQ(value, password.get(icf));
        }
        const std::string section = "S" + std::to_string(random()), key = "K" + std::to_string(random()), value = text(200);
        const int number = static_cast<int>(random());
        SCOPED_TRACE("seed " + std::to_string(seed) + ", [" + section + "] " + key + " = " + value + " / " + std::to_string(number));
        std::string buffer(value.size() + 1, '#');
        EXPECT_TRUE(icf.WriteString(section.c_str(), key.c_str(), value.c_str()));
        EXPECT_EQ(int(value.size()), icf.GetString(section.c_str(), key.c_str(), &buffer[0]));
        EXPECT_EQ(value, buffer.c_str());
        int read = 0;
        EXPECT_TRUE(icf.WriteInt(section.c_str(), (key + "n").c_str(), number));
        EXPECT_TRUE(icf.GetInt(section.c_str(), (key + "n").c_str(), &read));
        EXPECT_EQ(number, read);
    }
}

// Setup programs running side by side write one answer file: each keeps every key it wrote and
// reads the others' as they were written, and the file ends holding all of them.
TEST(CSetupIcf, ConcurrentWritersLoseNoKey)
{
    TempDir dir;
    const std::string file = NewIcf(dir, "shared");
    const int writers = 6, keysEach = 40;
    std::vector<std::string> commandLines;
    for (int w = 0; w < writers; ++w)
        commandLines.push_back("\"" + FixturePath("icfwriter.exe") + "\" \"" + file + "\" " + std::to_string(w) + " " +
                               std::to_string(keysEach) + " " + std::to_string(writers));
    EXPECT_EQ(std::vector<long>(writers, 0), RunTogether(commandLines)) << "failed writes or wrong reads of each writer";
    CSetupIcf icf(file.c_str());
    for (int w = 0; w < writers; ++w) {
        for (int n = 0; n < keysEach; ++n) {
            const std::string key = "W" + std::to_string(w) + "K" + std::to_string(n);
            char value[32] = "###############################";
            icf.GetString("Shared", key.c_str(), value);
            EXPECT_EQ("value " + std::to_string(w) + " " + std::to_string(n), value) << key;
        }
    }
}
