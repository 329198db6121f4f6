#include "CSetupIcf.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <vector>

using testsupport::CopyFixture;
using testsupport::ExeDir;
using testsupport::ReadFileBytes;
using testsupport::ScopedCurrentDir;
using testsupport::ScopedEnv;
using testsupport::TempDir;
using testsupport::WriteFileBytes;

namespace {

// ---------------------------------------------------------------------------------------------
// The answer file as the tests see it: parsed from the bytes on disk, not through the profile API.

// "SECTION|KEY" (upper case: the profile API matches names without case) -> value.
using IniMap = std::map<std::string, std::string>;

std::string Upper(std::string text)
{
    for (char& c : text)
        c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
    return text;
}

std::string Trim(const std::string& text)
{
    size_t first = text.find_first_not_of(" \t");
    size_t last = text.find_last_not_of(" \t\r");
    return first == std::string::npos ? std::string() : text.substr(first, last - first + 1);
}

std::string Entry(const char* section, const char* key)
{
    return Upper(section) + "|" + Upper(key);
}

IniMap ParseIni(const std::string& path)
{
    IniMap map;
    std::istringstream in(ReadFileBytes(path));
    std::string line;
    std::string section;
    while (std::getline(in, line)) {
        line = Trim(line);
        if (!line.empty() && line[0] == '[') {
            section = line.substr(1, line.find(']') - 1);
            continue;
        }
        size_t eq = line.find('=');
        if (eq != std::string::npos)
            map[Upper(section) + "|" + Upper(Trim(line.substr(0, eq)))] = Trim(line.substr(eq + 1));
    }
    return map;
}

bool FileExists(const std::string& path)
{
    return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

// Sets a key through the profile API, the way an earlier setup or an administrator left it;
// null removes it.
void Put(const std::string& file, const char* section, const char* key, const char* value)
{
    ASSERT_TRUE(WritePrivateProfileStringA(section, key, value, file.c_str())) << section << "/" << key;
}

// An answer file holding only an unrelated section.
std::string NewIcf(const TempDir& dir, const std::string& name)
{
    std::string path = dir / (name + ".icf");
    WriteFileBytes(path, "[Unrelated]\r\nKey=1\r\n");
    return path;
}

// The SETUP.ICF beside the test program: where Init looks when no file is named or the named one
// is missing, and so where the writes of an object without a file land. Absent while a guard
// lives and removed again when it dies.
std::string ExeIcf()
{
    return ExeDir() + "SETUP.ICF";
}

// Deletes the file and drops the profile API's cached copy of it, which would otherwise come
// back with the next write.
void RemoveExeIcf()
{
    SetFileAttributesA(ExeIcf().c_str(), FILE_ATTRIBUTE_NORMAL);
    DeleteFileA(ExeIcf().c_str());
    WritePrivateProfileStringA(nullptr, nullptr, nullptr, ExeIcf().c_str());
}

struct ExeIcfGuard {
    ExeIcfGuard() { RemoveExeIcf(); }
    ~ExeIcfGuard() { RemoveExeIcf(); }
};

// Checks that the file now holds what it held before plus exactly one key with this value.
void ExpectOnlyWrite(const std::string& file, IniMap before, const char* section, const char* key,
                     const std::string& value)
{
    before[Entry(section, key)] = value;
    EXPECT_EQ(before, ParseIni(file)) << "expected only " << section << "/" << key << "=" << value;
}

// ---------------------------------------------------------------------------------------------
// The expectation table: every named value of the answer file.

struct Src {
    const char* section;
    const char* key;
    const char* def;
};

enum class Kind { Text, Sized, Switch, Number };
// How the sections combine: text takes the first non-empty one; a switch is on only if no section
// switches it off (AllOn) or if any section switches it on (AnyOn); a number comes from its one
// section, or from the last section present (LastWins); SubType keeps 0 to 4 and maps the rest to -1.
enum class Rule { FirstNonEmpty, AllOn, AnyOn, Plain, Flag, LastWins, SubType };
// How a setter writes a number: "%d", "1"/"0", the SQL agent install type (0, 2, else 1),
// "%d" ignoring negative values.
enum class Form { None, Decimal, OneZero, AgentType, NonNegative };

using TextGet = std::function<const char*(CSetupIcf&)>;
using TextSet = std::function<BOOL(CSetupIcf&, const char*)>;
using SizedGet = std::function<BOOL(CSetupIcf&, char*, unsigned long)>;
using NumGet = std::function<long(CSetupIcf&)>;
using NumSet = std::function<BOOL(CSetupIcf&, long)>;

// Getters read reads[] in order; every setter writes the last of them (the section current
// setups write).
struct Row {
    const char* name = nullptr;
    Kind kind = Kind::Text;
    std::vector<Src> reads;
    unsigned size = 0;  // result buffer of a text getter
    Rule rule = Rule::FirstNonEmpty;
    Form form = Form::None;
    bool needsFile = false;
    TextGet text;
    SizedGet sized;  // sized getter, or the raw-text query of a switch
    std::vector<const char*> querySections;
    NumGet number;  // number or switch getter
    TextSet setText;
    NumSet setNumber;  // number or switch setter
    const char* (*staticDefault)() = nullptr;

    const Src& write() const { return reads.back(); }
    Row& NeedsFile() { needsFile = true; return *this; }
    Row& Default(const char* (*query)()) { staticDefault = query; return *this; }
};

Row Make(const char* name, Kind kind, std::vector<Src> reads)
{
    Row row;
    row.name = name;
    row.kind = kind;
    row.reads = std::move(reads);
    return row;
}

Row Text(const char* name, TextGet get, TextSet set, unsigned size, std::vector<Src> reads)
{
    Row row = Make(name, Kind::Text, std::move(reads));
    row.size = size;
    row.text = std::move(get);
    row.setText = std::move(set);
    return row;
}

Row Sized(const char* name, SizedGet get, TextSet set, Src read)
{
    Row row = Make(name, Kind::Sized, {read});
    row.sized = std::move(get);
    row.setText = std::move(set);
    return row;
}

Row Switch(const char* name, NumGet get, NumSet set, std::vector<const char*> sections, const char* key,
           const char* def, Rule rule = Rule::AllOn)
{
    Row row = Make(name, Kind::Switch, {});
    for (const char* section : sections)
        row.reads.push_back({section, key, def});
    row.rule = rule;
    row.number = std::move(get);
    row.setNumber = std::move(set);
    return row;
}

Row SwitchQ(const char* name, NumGet get, NumSet set, SizedGet query, std::vector<const char*> sections,
            const char* key, const char* def, std::vector<const char*> querySections)
{
    Row row = Switch(name, std::move(get), std::move(set), std::move(sections), key, def);
    row.sized = std::move(query);
    row.querySections = std::move(querySections);
    return row;
}

Row Number(const char* name, NumGet get, NumSet set, std::vector<Src> reads, Form form, Rule rule = Rule::Plain)
{
    Row row = Make(name, Kind::Number, std::move(reads));
    row.form = form;
    row.rule = rule;
    row.number = std::move(get);
    row.setNumber = std::move(set);
    row.needsFile = true;
    return row;
}

#define TXT(get, set) #get, [](CSetupIcf& f) { return f.get(); }, [](CSetupIcf& f, const char* v) { return f.set(v); }
#define SZD(get, set) \
    #get, [](CSetupIcf& f, char* b, unsigned long n) { return f.get(b, n); }, [](CSetupIcf& f, const char* v) { return f.set(v); }
#define SW(get, set) \
    #get, [](CSetupIcf& f) -> long { return f.get(); }, [](CSetupIcf& f, long on) { return f.set(static_cast<int>(on)); }
#define SWQ(name) SW(name, name), [](CSetupIcf& f, char* b, unsigned long n) { return f.name(b, n); }
#define NUM(get, set, type) \
    #get, [](CSetupIcf& f) -> long { return static_cast<long>(f.get()); }, \
        [](CSetupIcf& f, long v) { return f.set(static_cast<type>(v)); }

Row Sqm(const char* name, TextGet get, TextSet set, unsigned size, const char* key, const char* def = "")
{
    return Text(name, std::move(get), std::move(set), size, {{"SQM", key, def}});
}

Row Pm(const char* name, TextGet get, TextSet set, const char* key, const char* def = "")
{
    return Text(name, std::move(get), std::move(set), 260, {{"PM", key, def}});
}

Row Agent(const char* name, TextGet get, TextSet set, const char* section)
{
    return Text(name, std::move(get), std::move(set), 260, {{section, "AgentPath", ""}});
}

const std::vector<Row>& Rows()
{
    static const std::vector<Row> rows = {
        // User and product
        Text(TXT(FullName, FullName), 256, {{"UserInfo", "FullName", ""}}),
        Text(TXT(CompanyName, CompanyName), 256, {{"UserInfo", "CompanyName", ""}}),
        Number("GetProductSubType", [](CSetupIcf& f) -> long { return f.GetProductSubType(); }, nullptr,
               {{"Install", "ProdSubType", "-1"}}, Form::None, Rule::SubType),
        Text(TXT(LanguageID, LanguageID), 10, {{"Install", "LanguageID", "1033"}}),
        Switch(SW(UpgradeIE, UpgradeIE), {"Install"}, "UpgradeIE", "0"),
        Sized(SZD(GetSetupHostMachineName, SetSetupHostMachineName), {"Install", "SetupHostMachineName", "0"}),
        Number(NUM(GetSetupMode, SetSetupMode, int), {{"Install", "MastersetupMode", "0"}}, Form::Decimal),
        Number(NUM(GetTalvikBetaUpgFlag, SetTalvikBetaUpgFlag, int), {{"Install", "TalvikBetaUpgFlag", "0"}},
               Form::Decimal),
        // Paths
        Text(TXT(DrosvanePath, DrosvanePath), 260,
             {{"DrosvaneInstall", "InstallPath", ""}, {"InstallPath", "ProductPath", ""}, {"Base", "ProductPath", ""}})
            .Default(&CSetupIcf::DefaultDrosvanePath),
        Text(TXT(AlertPath, AlertPath), 260,
             {{"DrosvaneInstall", "AlertPath", ""}, {"InstallPath", "AlertPath", "C:\\ALERT"},
              {"Base", "AlertPath", "C:\\ALERT"}})
            .Default(&CSetupIcf::DefaultAlertPath),
        Text(TXT(ClientAgentPath, AgentPath), 260, {{"InstallPath", "AgentPath", ""}, {"ClientAgent", "AgentPath", ""}}),
        Agent(TXT(DBAOraPath, DBAOraPath), "DBAORA"),
        Agent(TXT(DBASqlPath, DBASqlPath), "DBASQL"),
        Agent(TXT(DBAExchPath, DBAExchPath), "DBAEXCH"),
        Agent(TXT(DBANotePath, DBANotePath), "DBANOTE"),
        Agent(TXT(DBAInfoPath, DBAInfoPath), "DBAINFO"),
        Agent(TXT(DBASybasePath, DBASybasePath), "DBASYBASE"),
        Agent(TXT(DBAIngresPath, DBAIngresPath), "DBAINGRES"),
        Agent(TXT(DBASapSqlPath, DBASapSqlPath), "DBASAPSQL"),
        Agent(TXT(DBASapOraPath, DBASapOraPath), "DBASAPORA"),
        Agent(TXT(SPAgentPath, SPAgentPath), "SPAgent"),
        Text(TXT(MDBPath, MDBPath), 260, {{"MDB", "MDBPath", ""}}).Default(&CSetupIcf::DefaultMDBPath),
        // Installation choices
        SwitchQ(SWQ(InstallManager), {"Install", "Base"}, "ManagerFeature", "1", {"Install", "Base"}),
        SwitchQ(SWQ(InstallServer), {"Install", "Base"}, "SeverFeature", "1", {"Install", "Base"}),
        SwitchQ(SWQ(InstallAdmin), {"Install", "Base"}, "AdminFeature", "1", {"Install", "Base"}),
        Switch(SW(InstallAlert, InstallAlert), {"Install", "Base"}, "AlertFeature", "1"),
        SwitchQ(SWQ(InstalliPatron), {"Base"}, "iPatronFeature", "1", {"Base"}),
        SwitchQ(SWQ(InstallCPM), {"Base"}, "CPMFeature", "0", {"Base"}),
        SwitchQ(SWQ(InstallAV), {"Base"}, "AVFeature", "1", {"Install", "Base"}),
        Switch(SW(InstallHSM, InstallHSM), {"Install"}, "DataMigration", "1"),
        Switch(SW(OverwriteDB, OverwriteDB), {"Install"}, "OverwriteDB", "1"),
        Switch(SW(OverwriteJobQueue, OverwriteJobQueue), {"Install"}, "OverwriteJobQueue", "1"),
        Switch(SW(UninstallDrosvane, UninstallDrosvane), {"Uninstall"}, "SeverFeature", "1"),
        Switch(SW(UninstallAlert, UninstallAlert), {"Uninstall"}, "AlertFeature", "1"),
        SwitchQ(SWQ(InstallDRWiz), {"Base"}, "DRWIZFeature", "0", {"Base"}),
        SwitchQ(SWQ(InstallSANWiz), {"Base"}, "SANWIZFeature", "0", {"Base"}),
        Switch(SW(GetIsSANEnv, SetIsSANEnv), {"Base"}, "SANEnvronment", "1"),
        Switch(SW(InstallBaseStandAlone, InstallBaseStandAlone), {"Base"}, "StandAloneSrvFeature", "1"),
        Switch(SW(InstallBasePrimary, InstallBasePrimary), {"Base"}, "PrimarySrvFeature", "1"),
        Switch(SW(InstallBaseMember, InstallBaseMember), {"Base"}, "MemberSrvFeature", "1"),
        Switch(SW(InstallBaseCMO, InstallBaseCMO), {"Base"}, "CMOFeature", "1"),
        Switch(SW(InstallBaseTLO, InstallBaseTLO), {"Base"}, "TLOFeature", "1"),
        Switch(SW(InstallBaseSANO, InstallBaseSANO), {"Base"}, "SANOFeature", "1"),
        Switch(SW(InstallBaseD2D2T, InstallBaseD2D2T), {"Base"}, "D2D2TFeature", "1"),
        Switch(SW(InstallBaseVMWare, InstallBaseVMWare), {"Base"}, "VMWareFeature", "1"),
        Switch(SW(InstallBaseEModule, InstallBaseEModule), {"Base"}, "EModuleFeature", "1"),
        Switch(SW(InstallBaseDRO, InstallBaseDRO), {"Base"}, "DROFeature", "1"),
        Switch(SW(InstallBaseNASAgent, InstallBaseNASAgent), {"Base"}, "NASAgentFeature", "1"),
        Switch(SW(InstallBaseOmnivale, InstallBaseOmnivale), {"Base"}, "OmnivaleFeature", "1"),
        // Database
        Switch(SW(SQLDB, SQLDB), {"DatabaseOption", "Base"}, "SQL", "0", Rule::AnyOn),
        Number(NUM(GetDBType, SetDBType, int), {{"DatabaseOption", "SQL", "0"}, {"Base", "SQL", "0"}},
               Form::NonNegative, Rule::LastWins),
        Number(NUM(GetDrosvaneDBUpgradeFlag, SetDrosvaneDBUpgradeFlag, unsigned long),
               {{"Base", "ZORDBUpdateFlag", "0"}}, Form::Decimal),
        Number(NUM(GetSQLExpInstallFlag, SetSQLExpInstallFlag, unsigned long), {{"Base", "SQLExpInstallFlag", "0"}},
               Form::Decimal),
        Sized(SZD(GetSQLExpInstanceName, SaveSQLExpInstanceName), {"Base", "SQLExpInstanceName", ""}),
        Sized(SZD(GetServerDB_DataFilePath, SetServerDB_DataFilePath), {"Base", "DB_DataFilePath", ""}),
        Sized(SZD(GetSQLAgentInstanceName, SetSQLAgentInstanceName), {"DBASQL", "SID01", ""}).NeedsFile(),
        Sized(SZD(GetSQLAgentSQLUserName, SetSQLAgentSQLUserName), {"DBASQL", "LoginID01", ""}).NeedsFile(),
        Number(NUM(GetSQLAgentInstanceAuthType, SetSQLAgentInstanceAuthType, unsigned),
               {{"DBASQL", "NTAuthentication01", "0"}}, Form::OneZero),
        Number(NUM(GetSQLAgent_Install_Flag, SetSQLAgent_Install_Flag, unsigned),
               {{"DBASQL", "SQLAgentInstallType", "1"}}, Form::AgentType),
        // Storage management web component and its database
        Sqm(TXT(SolmarinPath, SolmarinPath), 260, "SolmarinPath").Default(&CSetupIcf::DefaultSolmarinPath),
        Sqm(TXT(SolmarinJBossPath, SolmarinJBossPath), 260, "JBossPath").Default(&CSetupIcf::DefaultSolmarinJBossPath),
        Sqm(TXT(SolmarinPort, SolmarinPort), 260, "JNPPORT", "1099").Default(&CSetupIcf::DefaultSolmarinPort),
        Sqm(TXT(SolmarinTomcatPort, SolmarinTomcatPort), 260, "TOMCATPORT", "8080")
            .Default(&CSetupIcf::DefaultSolmarinTomcatPort),
        Sqm(TXT(SolmarinJRMPPort, SolmarinJRMPPort), 260, "JRMPPORT", "4444"),
        Sqm(TXT(SolmarinRMIPort, SolmarinRMIPort), 260, "RMIPORT", "1098"),
        Sqm(TXT(SolmarinGOSSIPPort, SolmarinGOSSIPPort), 260, "GOSSIPPORT", "5555"),
        Sqm(TXT(SolmarinHost, SolmarinHost), 260, "Host").Default(&CSetupIcf::DefaultSolmarinHost),
        Sqm(TXT(LocalMDB, LocalMDB), 48, "LOCALMDB", "YES").Default(&CSetupIcf::DefaultLocalMDB),
        Sqm(TXT(MDBHost, MDBHost), 48, "MDBHOST").Default(&CSetupIcf::DefaultMDBHost),
        Sqm(TXT(MDBUser, MDBUser), 48, "MDBUSER", "sqmadmin").Default(&CSetupIcf::DefaultMDBUser),
        Sqm(TXT(MDBPassword, MDBPassword), 48, "MDBPASSWORD").Default(&CSetupIcf::DefaultMDBPassword),
        Sqm(TXT(MDBID, MDBID), 48, "MDBID", "SQ").Default(&CSetupIcf::DefaultMDBID),
        Sqm(TXT(MDBDatabase, MDBDatabase), 48, "MDBDATABASE").Default(&CSetupIcf::DefaultMDBDatabase),
        Sqm(TXT(DatabaseLoc, DatabaseLoc), 260, "DATABASELOC").Default(&CSetupIcf::DefaultDatabaseLoc),
        Sqm(TXT(CheckLoc, CheckLoc), 260, "DATABASECHECKPOINTLOC").Default(&CSetupIcf::DefaultCheckLoc),
        Sqm(TXT(JourLoc, JourLoc), 260, "DATABASEJOURNALLOC").Default(&CSetupIcf::DefaultJourLoc),
        Sqm(TXT(DumpLoc, DumpLoc), 260, "DATABASEDUMPLOC").Default(&CSetupIcf::DefaultDumpLoc),
        Sqm(TXT(WorkLoc, WorkLoc), 260, "DATABASEWORKLOC").Default(&CSetupIcf::DefaultWorkLoc),
        Sqm(TXT(LocaleVIG, LocaleVIG), 48, "LOCALEVIG", "YES").Default(&CSetupIcf::DefaultLocaleVIG),
        Sqm(TXT(RemoteMDBeVIG, RemoteMDBeVIG), 48, "REMOTEMDBEVIG", "NO").Default(&CSetupIcf::DefaultRemoteMDBeVIG),
        Sqm(TXT(eVIGPass, eVIGPass), 48, "EVIGPASS").Default(&CSetupIcf::DefaulteVIGPass),
        Sqm(TXT(eVIGRemoteHost, eVIGRemoteHost), 260, "EVIGREMOTEHOST").Default(&CSetupIcf::DefaulteVIGRemoteHost),
        // Service account and product domain (the passwords have their own test)
        Text(TXT(SystemAccountDomain, SystemAccountDomain), 48,
             {{"System Account", "SystemDomainName", ""}, {"SystemAccount", "SystemDomainName", ""},
              {"Base", "SystemDomainName", ""}}),
        Text(TXT(SystemAccountServer, SystemAccountServer), 260, {{"Base", "SystemServerName", ""}}),
        Text(TXT(SystemAccountUser, SystemAccountUser), 48,
             {{"System Account", "SystemUserName", ""}, {"SystemAccount", "SystemUserName", ""},
              {"Base", "SystemUserName", ""}}),
        Switch(SW(CreateDVDomain, CreateDVDomain), {"QuellmarshDomain", "Base"}, "CreateQuellmarshDomain", "1"),
        Text(TXT(DVDomainName, DVDomainName), 48,
             {{"QuellmarshDomain", "QuellmarshDomainName", ""}, {"Base", "QuellmarshDomainName", ""}}),
        Text(TXT(PriDVDomainName, PriDVDomainName), 260,
             {{"QuellmarshDomain", "PrimaryServerName", ""}, {"Base", "PrimaryServerName", ""}}),
        Text(TXT(SecDVDomainName, SecDVDomainName), 260,
             {{"QuellmarshDomain", "SecondaryServerName", ""}, {"Base", "SecondaryServerName", ""}}),
        Text(TXT(DVDomainUserName, DVDomainUserName), 48,
             {{"QuellmarshDomain", "QuellmarshDomainUserName", ""}, {"Base", "QuellmarshDomainUserName", ""}}),
        Switch(SW(SaveDVDomainPWD, SaveDVDomainPWD), {"Base"}, "SaveQuellmarshDomainPassword", "1"),
        Text(TXT(SANPrimaryServer, SANPrimaryServer), 48, {{"Base", "SANPrimaryServer", ""}}),
        // Mainframe link
        Text(TXT(SiteName, SiteName), 48, {{"MVSConfig", "SITENAME", ""}}),
        Text(TXT(SystemID, SystemID), 48, {{"MVSConfig", "SYSTEMID", ""}}),
        Text(TXT(LocalLUAlias, LocalLUAlias), 48, {{"MVSConfig", "LOCALLUALIAS", ""}}),
        Text(TXT(PartnerLUAlias, PartnerLUAlias), 48, {{"MVSConfig", "PARTNERLUALIAS", ""}}),
        // Patch manager
        Pm(TXT(PMDSServerType, PMDSServerType), "DS_SERVERTYPE"),
        Pm(TXT(PMDSLocation, PMDSLocation), "DS_LOCATION"),
        Pm(TXT(PMDSPathOnFTP, PMDSPathOnFTP), "DS_PATHONFTP"),
        Pm(TXT(PMDSPatchesRoot, PMDSPatchesRoot), "DS_PATCHESROOT"),
        Pm(TXT(PMLUDisableAutoUpdate, PMLUDisableAutoUpdate), "LU_DISABLEAUTOUPDATE"),
        Pm(TXT(PMLUAutoDownload, PMLUAutoDownload), "LU_AUTODOWNLOAD"),
        Pm(TXT(PMLUAutoDownloadInstall, PMLUAutoDownloadInstall), "LU_AUTODOWNLOADINSTALL"),
        Pm(TXT(PMLUHour, PMLUHour), "LU_HOUR"),
        Pm(TXT(PMLUWeekDay, PMLUWeekDay), "LU_WEEKDAY"),
        Pm(TXT(PMEMUpdateAvailable, PMEMUpdateAvailable), "EM_UPDATEAVAILABLE", "NO"),
        Pm(TXT(PMEMDownloadComplete, PMEMDownloadComplete), "EM_DOWNLOADCOMPLETE", "NO"),
        Pm(TXT(PMEMInstallComplete, PMEMInstallComplete), "EM_INSTALLCOMPLETE", "NO"),
        Pm(TXT(PMEMEmailID, PMEMEmailID), "EM_EMAILID"),
        Pm(TXT(PMEMSMTPServer, PMEMSMTPServer), "EM_SMTPSERVER"),
        Pm(TXT(PMEMSMTPRequireAuth, PMEMSMTPRequireAuth), "EM_SMTPREQUREAUTH"),
        Pm(TXT(PMEMUserID, PMEMUserID), "EM_USERID"),
        Pm(TXT(PMEMPassword, PMEMPassword), "EM_PASSWORD"),
        Pm(TXT(PMPSUseProxyServer, PMPSUseProxyServer), "PS_USEPROXYSERVER"),
        Pm(TXT(PMPSProxyServer, PMPSProxyServer), "PS_PROXYSERVER"),
        Pm(TXT(PMPSPort, PMPSPort), "PS_PORT"),
        Pm(TXT(PMPSProxyRequireAuth, PMPSProxyRequireAuth), "PS_PROXYREQUREAUTH"),
        Pm(TXT(PMPSUserName, PMPSUserName), "PS_USERNAME"),
        Pm(TXT(PMPSPassword, PMPSPassword), "PS_PASSWORD"),
        // Cluster and replication
        Number("GetClusterInstallFlag", [](CSetupIcf& f) -> long { return f.GetClusterInstallFlag(); },
               [](CSetupIcf& f, long v) { return f.SetClusterInstallFlag(static_cast<BOOL>(v)); },
               {{"Install", "ClusterEnvInst", "0"}}, Form::OneZero, Rule::Flag),
        Number(NUM(GetClusterEnvType, SetClusterEnvType, unsigned long), {{"Install", "ClusterEnvType", "0"}},
               Form::Decimal),
        Number(NUM(Get_WANSync_MasterType, Set_WANSync_MasterType, unsigned long),
               {{"Install", "WANSync_MasterType", "0"}}, Form::Decimal),
        Sized(SZD(GetVirtualServerName, SetVirtualServerName), {"Base", "VirtualServerName", ""}).NeedsFile(),
        Sized(SZD(GetVirtualServerIP, SetVirtualServerIP), {"Base", "VirtualServerIP", ""}).NeedsFile(),
        Sized(SZD(GetMasterNodeName, SetMasterNodeName), {"Base", "MasterNodeName", ""}).NeedsFile(),
        Sized(SZD(GetMasterNodeIP, SetMasterNodeIP), {"Base", "MasterNodeIP", ""}).NeedsFile(),
        Sized(SZD(GetWANSync_ReplicaNodeName, SetWANSync_ReplicaNodeName), {"Base", "WANSync_ReplicaNodeName", ""})
            .NeedsFile(),
        Sized(SZD(GetWANSync_ReplicaNodeIP, SetWANSync_ReplicaNodeIP), {"Base", "WANSync_ReplicaNodeIP", ""})
            .NeedsFile(),
    };
    return rows;
}

// ---------------------------------------------------------------------------------------------
// The reading rules, applied to what each section holds (null: the key is absent).

using Present = std::vector<const char*>;

std::string ExpectedText(const Row& row, const Present& values)
{
    std::string result;
    for (size_t i = 0; i < row.reads.size() && result.empty(); ++i)
        result = values[i] ? values[i] : row.reads[i].def;
    return result;
}

long ExpectedNumber(const Row& row, const Present& values)
{
    auto value = [&](size_t i) { return atol(values[i] ? values[i] : row.reads[i].def); };
    switch (row.rule) {
    case Rule::AllOn: {
        bool on = true;
        for (size_t i = 0; i < row.reads.size() && on; ++i)
            on = value(i) != 0;
        return on;
    }
    case Rule::AnyOn: {
        bool on = false;
        for (size_t i = 0; i < row.reads.size() && !on; ++i)
            on = value(i) != 0;
        return on;
    }
    case Rule::Flag:
        return value(0) != 0;
    case Rule::LastWins:
        for (size_t i = row.reads.size(); i-- > 0;)
            if (values[i])
                return atol(values[i]);
        return value(0);
    case Rule::SubType: {
        long type = value(0);
        return type >= 0 && type <= 4 ? type : -1;
    }
    default:
        return value(0);
    }
}

// What a number setter writes for a value; null when it writes nothing.
const char* ExpectedNumberText(Form form, long value)
{
    static char text[32];
    switch (form) {
    case Form::OneZero:
        return value ? "1" : "0";
    case Form::AgentType:
        return value == 0 ? "0" : value == 2 ? "2" : "1";
    case Form::NonNegative:
        if (value < 0)
            return nullptr;
        break;
    default:
        break;
    }
    snprintf(text, sizeof(text), "%ld", value);
    return text;
}

// Every combination of the candidate values (null: key absent) over the row's sections, each
// set in the file before check runs.
void ForEachCombination(const std::string& file, const Row& row, const Present& candidates,
                        const std::function<void(const Present&)>& check)
{
    size_t count = 1;
    for (size_t i = 0; i < row.reads.size(); ++i)
        count *= candidates.size();
    for (size_t n = 0; n < count; ++n) {
        Present values;
        std::string trace;
        for (size_t i = 0, rest = n; i < row.reads.size(); ++i, rest /= candidates.size()) {
            values.push_back(candidates[rest % candidates.size()]);
            Put(file, row.reads[i].section, row.reads[i].key, values.back());
            trace += std::string(row.reads[i].section) + "=" + (values.back() ? values.back() : "<absent>") + " ";
        }
        SCOPED_TRACE(trace);
        check(values);
    }
}

// A text or sized value as the caller sees it; result is what a sized getter answered.
std::string ReadValue(const Row& row, CSetupIcf& icf, BOOL* result = nullptr)
{
    if (row.kind == Kind::Text)
        return row.text(icf);
    char buffer[300];
    memset(buffer, '#', sizeof(buffer));
    buffer[sizeof(buffer) - 1] = '\0';
    BOOL answer = row.sized(icf, buffer, sizeof(buffer));
    if (result)
        *result = answer;
    return buffer;
}

void CheckTextValue(const Row& row, const TempDir& dir, const std::string& missing)
{
    const size_t count = row.reads.size();
    const std::string file = NewIcf(dir, row.name);
    CSetupIcf icf(file.c_str());
    ASSERT_TRUE(icf.Exists());
    Present values(count, nullptr);
    auto check = [&](const char* step) {
        SCOPED_TRACE(step);
        std::string expected = ExpectedText(row, values);
        BOOL result = FALSE;
        EXPECT_EQ(expected, ReadValue(row, icf, &result));
        if (row.kind == Kind::Sized) {
            EXPECT_EQ(!expected.empty(), result != 0);
        }
    };
    check("no key");
    const char* distinct[] = {"v-first", "v-second", "v-third"};
    for (size_t i = 0; i < count; ++i)
        Put(file, row.reads[i].section, row.reads[i].key, values[i] = distinct[i]);
    check("every section");
    // Emptied and then removed section by section, in read order.
    for (size_t i = 0; i < count; ++i) {
        Put(file, row.reads[i].section, row.reads[i].key, values[i] = "");
        check("emptied");
        Put(file, row.reads[i].section, row.reads[i].key, values[i] = nullptr);
        check("removed");
    }
    if (row.staticDefault) {
        EXPECT_EQ(ExpectedText(row, Present(count, nullptr)), row.staticDefault());
    }

    // The setter writes its one key, and the getter then answers by the same rules.
    const std::string target = NewIcf(dir, std::string(row.name) + "-set");
    CSetupIcf written(target.c_str());
    IniMap before = ParseIni(target);
    EXPECT_TRUE(row.setText(written, "w-value"));
    ExpectOnlyWrite(target, before, row.write().section, row.write().key, "w-value");
    values.assign(count, nullptr);
    values.back() = "w-value";
    EXPECT_EQ(ExpectedText(row, values), ReadValue(row, written));

    // Without a file: nothing is read; the setter writes to the file beside the program unless
    // it needs the file.
    CSetupIcf none(missing.c_str());
    ASSERT_FALSE(none.Exists());
    if (row.kind == Kind::Text) {
        EXPECT_STREQ("", row.text(none));
    } else {
        char buffer[8] = "#######";
        EXPECT_FALSE(row.sized(none, buffer, sizeof(buffer)));
        EXPECT_STREQ("#######", buffer);
    }
    if (row.needsFile) {
        EXPECT_FALSE(row.setText(none, "x"));
        EXPECT_FALSE(FileExists(ExeIcf()));
    } else {
        EXPECT_TRUE(row.setText(none, "x"));
        ExpectOnlyWrite(ExeIcf(), IniMap(), row.write().section, row.write().key, "x");
        RemoveExeIcf();
    }
    EXPECT_FALSE(FileExists(missing));
}

void CheckSwitch(const Row& row, const TempDir& dir, const std::string& missing)
{
    const Present allAbsent(row.reads.size(), nullptr);
    const std::string file = NewIcf(dir, row.name);
    CSetupIcf icf(file.c_str());
    ForEachCombination(file, row, {nullptr, "0", "1", "x"},
                       [&](const Present& values) { EXPECT_EQ(ExpectedNumber(row, values), row.number(icf)); });

    if (row.sized) {
        // The raw text of the first query section that has any.
        for (size_t i = 0; i < row.reads.size(); ++i)
            Put(file, row.reads[i].section, row.reads[i].key, nullptr);
        const char* raw[] = {"0", "yes"};
        for (size_t i = 0; i < row.querySections.size(); ++i)
            Put(file, row.querySections[i], row.reads[0].key, raw[i]);
        for (size_t i = 0; i <= row.querySections.size(); ++i) {
            char buffer[16] = "###############";
            BOOL result = row.sized(icf, buffer, sizeof(buffer));
            if (i < row.querySections.size()) {
                EXPECT_TRUE(result) << "answered by " << row.querySections[i];
                EXPECT_STREQ(raw[i], buffer) << "answered by " << row.querySections[i];
                Put(file, row.querySections[i], row.reads[0].key, nullptr);
            } else {
                EXPECT_FALSE(result) << "no query section holds the key";
            }
        }
    }

    const std::string target = NewIcf(dir, std::string(row.name) + "-set");
    CSetupIcf written(target.c_str());
    for (int on : {1, 0, 7}) {
        IniMap before = ParseIni(target);
        EXPECT_TRUE(row.setNumber(written, on));
        ExpectOnlyWrite(target, before, row.write().section, row.write().key, on ? "1" : "0");
        Present values = allAbsent;
        values.back() = on ? "1" : "0";
        EXPECT_EQ(ExpectedNumber(row, values), row.number(written)) << "after writing " << on;
    }

    // Without a file the cached switch (its default) answers; the setter still writes.
    CSetupIcf none(missing.c_str());
    EXPECT_EQ(ExpectedNumber(row, allAbsent), row.number(none));
    if (row.sized) {
        char buffer[4] = "##";
        EXPECT_FALSE(row.sized(none, buffer, sizeof(buffer)));
    }
    EXPECT_TRUE(row.setNumber(none, 0));
    ExpectOnlyWrite(ExeIcf(), IniMap(), row.write().section, row.write().key, "0");
    RemoveExeIcf();
}

void CheckNumber(const Row& row, const TempDir& dir, const std::string& missing)
{
    const std::string file = NewIcf(dir, row.name);
    CSetupIcf icf(file.c_str());
    ForEachCombination(file, row, {nullptr, "0", "3", "9", "-2"},
                       [&](const Present& values) { EXPECT_EQ(ExpectedNumber(row, values), row.number(icf)); });

    CSetupIcf none(missing.c_str());
    EXPECT_EQ(row.rule == Rule::SubType ? 0 : ExpectedNumber(row, Present(row.reads.size(), nullptr)),
              row.number(none));
    if (!row.setNumber)
        return;
    const std::string target = NewIcf(dir, std::string(row.name) + "-set");
    CSetupIcf written(target.c_str());
    for (long value : {0L, 2L, 5L, -2L}) {
        SCOPED_TRACE(value);
        IniMap before = ParseIni(target);
        const char* text = ExpectedNumberText(row.form, value);
        EXPECT_EQ(text != nullptr, row.setNumber(written, value) != 0);
        if (!text) {
            EXPECT_EQ(before, ParseIni(target));
            continue;
        }
        ExpectOnlyWrite(target, before, row.write().section, row.write().key, text);
        Present values(row.reads.size(), nullptr);
        values.back() = text;
        EXPECT_EQ(ExpectedNumber(row, values), row.number(written));
    }
    EXPECT_FALSE(row.setNumber(none, 3));
    EXPECT_FALSE(FileExists(ExeIcf()));
    EXPECT_FALSE(FileExists(missing));
}

}  // namespace

// Each named value against its sections (in read order), key, default and write key.
TEST(CSetupIcf, EveryNamedValueFollowsItsSectionsKeyAndDefault)
{
    TempDir dir;
    ExeIcfGuard guard;
    const std::string missing = dir / "absent.icf";
    for (const Row& row : Rows()) {
        SCOPED_TRACE(row.name);
        switch (row.kind) {
        case Kind::Text:
        case Kind::Sized:
            CheckTextValue(row, dir, missing);
            break;
        case Kind::Switch:
            CheckSwitch(row, dir, missing);
            break;
        case Kind::Number:
            CheckNumber(row, dir, missing);
            break;
        }
    }
    EXPECT_STREQ("", CSetupIcf::DefaultAgent95Path());
    EXPECT_STREQ("", CSetupIcf::DefaultAgentNTPath());
}

TEST(CSetupIcf, GenericAccessWritesAnyKeyAndReadsWithinTheCallersText)
{
    TempDir dir;
    ExeIcfGuard guard;
    {
        // The writes need no file: without one they create the file beside the program.
        CSetupIcf none((dir / "absent.icf").c_str());
        ASSERT_FALSE(none.Exists());
        EXPECT_TRUE(none.WriteString("Extra", "Name", "text"));
        EXPECT_TRUE(none.WriteInt("Extra", "Count", -12));
        EXPECT_EQ((IniMap{{"EXTRA|NAME", "text"}, {"EXTRA|COUNT", "-12"}}), ParseIni(ExeIcf()));
        int value = 5;
        EXPECT_FALSE(none.GetInt("Extra", "Count", &value)) << "the file was not there at Init";
        EXPECT_EQ(5, value);
        char buffer[] = "xxxx";
        EXPECT_EQ(0, none.GetString("Extra", "Name", buffer));
        EXPECT_STREQ("xxxx", buffer);
        RemoveExeIcf();
    }

    const std::string file = NewIcf(dir, "generic");
    CSetupIcf icf(file.c_str());
    EXPECT_TRUE(icf.WriteString("Extra", "Name", "abcdefgh"));
    EXPECT_TRUE(icf.WriteInt("Extra", "Count", 42));
    EXPECT_TRUE(icf.WriteInt("Extra", "Negative", -7));
    EXPECT_EQ((IniMap{{"UNRELATED|KEY", "1"}, {"EXTRA|NAME", "abcdefgh"}, {"EXTRA|COUNT", "42"},
                      {"EXTRA|NEGATIVE", "-7"}}),
              ParseIni(file));

    // The buffer's capacity is the length of the text already in it.
    char empty[8] = {'\0', '#', '#', '#', '#', '#', '#', '#'};
    EXPECT_EQ(0, icf.GetString("Extra", "Name", empty));
    EXPECT_EQ(std::string("\0#######", 8), std::string(empty, 8));
    char five[12] = {'x', 'x', 'x', 'x', 'x', '\0', '#', '#', '#', '#', '#', '#'};
    EXPECT_EQ(4, icf.GetString("Extra", "Name", five));
    EXPECT_EQ(std::string("abcd\0\0######", 12), std::string(five, 12));
    char wide[16] = "xxxxxxxxxxxxxxx";
    EXPECT_EQ(8, icf.GetString("Extra", "Name", wide));
    EXPECT_STREQ("abcdefgh", wide);
    char none[8] = "xxxxxxx";
    EXPECT_EQ(0, icf.GetString("Extra", "Missing", none));
    EXPECT_STREQ("", none);

    int value = 99;
    EXPECT_TRUE(icf.GetInt("Extra", "Count", &value));
    EXPECT_EQ(42, value);
    EXPECT_TRUE(icf.GetInt("extra", "negative", &value));
    EXPECT_EQ(-7, value);
    EXPECT_TRUE(icf.GetInt("Extra", "Missing", &value));
    EXPECT_EQ(0, value);
    EXPECT_TRUE(icf.GetInt("Extra", "Name", &value));
    EXPECT_EQ(0, value);
}

TEST(CSetupIcf, InitTakesTheFileBesideTheProgramAndMakesOnlyThatOneWritable)
{
    TempDir dir;
    ExeIcfGuard guard;
    const std::string absent = dir / "absent.icf";
    for (const char* name : {static_cast<const char*>(nullptr), "", absent.c_str()}) {
        CSetupIcf icf(name);
        EXPECT_FALSE(icf.Exists());
        EXPECT_EQ(0, _stricmp(ExeIcf().c_str(), icf.FileName())) << icf.FileName();
    }

    ASSERT_TRUE(WriteFileBytes(ExeIcf(), "[UserInfo]\r\nFullName=Beside\r\n"));
    for (const char* name : {static_cast<const char*>(nullptr), ""}) {
        ASSERT_TRUE(SetFileAttributesA(ExeIcf().c_str(), FILE_ATTRIBUTE_READONLY));
        CSetupIcf icf(name);
        EXPECT_TRUE(icf.Exists());
        EXPECT_STREQ("Beside", icf.FullName());
        EXPECT_EQ(0u, GetFileAttributesA(ExeIcf().c_str()) & FILE_ATTRIBUTE_READONLY);
        ASSERT_TRUE(SetFileAttributesA(ExeIcf().c_str(), FILE_ATTRIBUTE_READONLY));
        EXPECT_TRUE(icf.Init(name));
        EXPECT_EQ(0u, GetFileAttributesA(ExeIcf().c_str()) & FILE_ATTRIBUTE_READONLY);
        EXPECT_TRUE(icf.CompanyName("Writable"));
        EXPECT_EQ("Writable", ParseIni(ExeIcf())["USERINFO|COMPANYNAME"]);
    }
    // A named file that is missing gives way to the one beside the program.
    CSetupIcf fallback(absent.c_str());
    EXPECT_TRUE(fallback.Exists());
    EXPECT_EQ(0, _stricmp(ExeIcf().c_str(), fallback.FileName())) << fallback.FileName();
    EXPECT_STREQ("Beside", fallback.FullName());

    const std::string named = dir / "named.icf";
    ASSERT_TRUE(WriteFileBytes(named, "[UserInfo]\r\nFullName=Named\r\n"));
    ASSERT_TRUE(SetFileAttributesA(named.c_str(), FILE_ATTRIBUTE_READONLY));
    CSetupIcf icf(named.c_str());
    EXPECT_TRUE(icf.Exists());
    EXPECT_EQ(named, icf.FileName());
    EXPECT_STREQ("Named", icf.FullName());
    EXPECT_NE(0u, GetFileAttributesA(named.c_str()) & FILE_ATTRIBUTE_READONLY);

    // Init again starts over with the new file.
    RemoveExeIcf();
    EXPECT_FALSE(icf.Init(absent.c_str()));
    EXPECT_FALSE(icf.Exists());
    EXPECT_STREQ("", icf.FullName());
    EXPECT_EQ(DRIVE_FIXED, GetDriveTypeA(icf.DefaultDBFilePath())) << icf.DefaultDBFilePath();
    EXPECT_STREQ("SETUP.ICF", CSetupIcf::DefaultICFFileName());
}

TEST(CSetupIcf, BadInputFailsCleanlyAndLongValuesComeBackCut)
{
    TempDir dir;
    ExeIcfGuard guard;
    const std::string file = NewIcf(dir, "long");
    const std::vector<Row>& rows = Rows();
    // A 300-character value, one letter per row, in the first section every reader consults.
    auto letter = [](size_t i) { return static_cast<char>('A' + i % 26); };
    for (size_t i = 0; i < rows.size(); ++i) {
        const char* section = rows[i].kind == Kind::Switch ? (rows[i].sized ? rows[i].querySections[0] : nullptr)
                              : rows[i].kind == Kind::Number ? nullptr
                                                             : rows[i].reads[0].section;
        if (section)
            Put(file, section, rows[i].reads[0].key, std::string(300, letter(i)).c_str());
    }
    Put(file, "System Account", "SystemPassword", std::string(300, 'p').c_str());
    Put(file, "QuellmarshDomain", "QuellmarshDomainPassword", std::string(300, 'q').c_str());
    Put(file, "Extra", "Long", std::string(300, 'g').c_str());
    const std::string bytes = ReadFileBytes(file);
    CSetupIcf icf(file.c_str());
    ASSERT_TRUE(icf.Exists());

    // Null and empty names, null texts and buffers, zero sizes: a failure, nothing written.
    for (const char* bad : {static_cast<const char*>(nullptr), ""}) {
        EXPECT_FALSE(icf.WriteString(bad, "Long", "x"));
        EXPECT_FALSE(icf.WriteString("Extra", bad, "x"));
        EXPECT_FALSE(icf.WriteInt(bad, "Long", 1));
        EXPECT_FALSE(icf.WriteInt("Extra", bad, 1));
        char buffer[] = "xxxxxxxx";
        EXPECT_EQ(0, icf.GetString(bad, "Long", buffer));
        EXPECT_EQ(0, icf.GetString("Extra", bad, buffer));
        EXPECT_STREQ("xxxxxxxx", buffer);
        int value = 5;
        EXPECT_FALSE(icf.GetInt(bad, "Long", &value));
        EXPECT_FALSE(icf.GetInt("Extra", bad, &value));
        EXPECT_EQ(5, value);
    }
    EXPECT_FALSE(icf.WriteString("Extra", "Long", nullptr));
    EXPECT_EQ(0, icf.GetString("Extra", "Long", nullptr));
    EXPECT_FALSE(icf.GetInt("Extra", "Long", nullptr));
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        if (row.setText) {
            EXPECT_FALSE(row.setText(icf, nullptr));
        }
        if (row.sized) {
            char buffer[4] = "##";
            EXPECT_FALSE(row.sized(icf, nullptr, 48));
            EXPECT_FALSE(row.sized(icf, buffer, 0));
            EXPECT_STREQ("##", buffer);
        }
    }
    EXPECT_FALSE(icf.SystemAccountPassword(nullptr));
    EXPECT_FALSE(icf.DVDomainPassword(nullptr));
    EXPECT_FALSE(icf.SaveSQLExpPWD(nullptr));
    char small[4] = "##";
    EXPECT_FALSE(icf.GetSQLExpPWD(nullptr, 48));
    EXPECT_FALSE(icf.GetSQLExpPWD(small, 0));
    EXPECT_FALSE(icf.GetSQLRemoteSerPWD(nullptr, 48));
    EXPECT_FALSE(icf.GetSQLRemoteSerPWD(small, 0));
    EXPECT_STREQ("##", small);
    EXPECT_EQ(bytes, ReadFileBytes(file));

    // Long values: cut to the result buffer (text getters), to the caller's size (sized
    // getters, GetString), never past it.
    std::vector<std::pair<const char*, std::string>> results;
    for (size_t i = 0; i < rows.size(); ++i) {
        const Row& row = rows[i];
        SCOPED_TRACE(row.name);
        if (row.kind == Kind::Text) {
            const char* text = row.text(icf);
            results.emplace_back(text, std::string(row.size - 1, letter(i)));
            EXPECT_EQ(results.back().second, text);
        } else if (row.sized) {
            char buffer[64];
            memset(buffer, '#', sizeof(buffer));
            EXPECT_TRUE(row.sized(icf, buffer, 48));
            EXPECT_EQ(std::string(47, letter(i)), buffer);
            EXPECT_EQ(std::string(16, '#'), std::string(buffer + 48, 16));
        }
    }
    results.emplace_back(icf.SystemAccountPassword(), std::string(47, 'p'));
    EXPECT_EQ(results.back().second, results.back().first);
    results.emplace_back(icf.DVDomainPassword(), std::string(47, 'q'));
    EXPECT_EQ(results.back().second, results.back().first);
    for (const auto& result : results)
        EXPECT_EQ(result.second, result.first) << "a later read overwrote this result";

    char buffer[24];
    memset(buffer, '#', sizeof(buffer));
    memset(buffer, 'x', 10);
    buffer[10] = '\0';
    EXPECT_EQ(9, icf.GetString("Extra", "Long", buffer));
    EXPECT_EQ(std::string(9, 'g') + '\0' + '\0' + std::string(13, '#'), std::string(buffer, 24));
}

TEST(CSetupIcf, TheManagementFrameworkSwitchIsAlwaysOffAndNeverWritten)
{
    TempDir dir;
    ExeIcfGuard guard;
    const std::string file = NewIcf(dir, "ovg");
    Put(file, "Base", "OVGFeature", "1");
    Put(file, "Install", "OVGFeature", "1");
    const std::string bytes = ReadFileBytes(file);
    CSetupIcf icf(file.c_str());
    EXPECT_EQ(0, icf.InstallOVG());
    EXPECT_EQ(0, icf.InstallOVG(1));
    EXPECT_EQ(0, icf.InstallOVG(0));
    EXPECT_EQ(0, icf.InstallOVG());
    EXPECT_EQ(bytes, ReadFileBytes(file));
    CSetupIcf none((dir / "absent.icf").c_str());
    EXPECT_EQ(0, none.InstallOVG(1));
    EXPECT_EQ(0, none.InstallOVG());
    EXPECT_FALSE(FileExists(ExeIcf()));
}

namespace {

// The scrambling library DVDCEN.DLL in a fresh current folder, where the scrambling functions
// find it (the test program's folder and its parent hold no SETUP.INF).
class CSetupIcfPasswords : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(CopyFixture("DVDCEN.DLL", m_library / "DVDCEN.DLL"));
        ASSERT_TRUE(SetCurrentDirectoryA(m_library.path().c_str()));
    }

    // Password getters in one form: the text, or "<FALSE>" for a failed GetSQLExpPWD.
    struct Password {
        const char* name;
        const char* key;
        std::vector<const char*> plainSections;
        std::function<BOOL(CSetupIcf&, const char*)> set;
        std::function<std::string(CSetupIcf&)> get;
    };
    static std::vector<Password> Passwords()
    {
        return {
            {"SystemAccountPassword", "SystemPassword", {"System Account", "SystemAccount"},
             [](CSetupIcf& f, const char* p) { return f.SystemAccountPassword(p); },
             [](CSetupIcf& f) { return std::string(f.SystemAccountPassword()); }},
            {"DVDomainPassword", "QuellmarshDomainPassword", {"QuellmarshDomain"},
             [](CSetupIcf& f, const char* p) { return f.DVDomainPassword(p); },
             [](CSetupIcf& f) { return std::string(f.DVDomainPassword()); }},
            {"SQLExpPWD", "SQLExpSAPWD", {}, [](CSetupIcf& f, const char* p) { return f.SaveSQLExpPWD(p); },
             [](CSetupIcf& f) {
                 char buffer[260] = {};
                 return f.GetSQLExpPWD(buffer, sizeof(buffer)) ? std::string(buffer) : std::string("<FALSE>");
             }},
        };
    }

    // The folders are removed after the current folder has moved back out of them.
    TempDir m_library;
    TempDir m_files;
    ScopedCurrentDir m_keepFolder;
    ScopedEnv m_noTrace{"DVSET_TRACEFILE", nullptr};
    ScopedEnv m_noFailure{"DVDCEN_FIXTURE_RESULT", nullptr};
    ExeIcfGuard m_guard;
};

bool IsHexText(const std::string& text)
{
    return !text.empty() && text.size() % 2 == 0 && text.find_first_not_of("0123456789abcdef") == std::string::npos;
}

}  // namespace

TEST_F(CSetupIcfPasswords, BaseHoldsThemScrambledAndOlderSectionsPlainTextWins)
{
    for (const Password& password : Passwords()) {
        SCOPED_TRACE(password.name);
        const std::string file = NewIcf(m_files, password.name);
        CSetupIcf icf(file.c_str());
        EXPECT_EQ("", password.get(icf));

        IniMap before = ParseIni(file);
        ASSERT_TRUE(password.set(icf, "Pa55 w0rd!"));
        const std::string first = ParseIni(file)[Entry("Base", password.key)];
        EXPECT_TRUE(IsHexText(first)) << first;
        ExpectOnlyWrite(file, before, "Base", password.key, first);
        EXPECT_EQ("Pa55 w0rd!", password.get(icf));
        ASSERT_TRUE(password.set(icf, "another"));
        const std::string second = ParseIni(file)[Entry("Base", password.key)];
        EXPECT_TRUE(IsHexText(second)) << second;
        EXPECT_NE(first, second);
        EXPECT_EQ("another", password.get(icf));

        // Plain text of the sections earlier setups wrote comes first, in their order.
        const std::vector<const char*>& older = password.plainSections;
        for (size_t i = 0; i < older.size(); ++i)
            Put(file, older[i], password.key, ("plain-" + std::to_string(i)).c_str());
        for (size_t i = 0; i < older.size(); ++i) {
            EXPECT_EQ("plain-" + std::to_string(i), password.get(icf));
            Put(file, older[i], password.key, "");
            EXPECT_EQ(i + 1 < older.size() ? "plain-" + std::to_string(i + 1) : "another", password.get(icf));
            Put(file, older[i], password.key, nullptr);
        }
        if (password.key == std::string("SQLExpSAPWD")) {
            // The remote server's password is kept scrambled in section "SQLSetup".
            Put(file, "SQLSetup", "RemoteServerPwd", second.c_str());
            char buffer[64] = {};
            EXPECT_TRUE(icf.GetSQLRemoteSerPWD(buffer, sizeof(buffer)));
            EXPECT_STREQ("another", buffer);
        }
    }
}

TEST_F(CSetupIcfPasswords, GetSQLExpPWDKeepsToTheCallersBuffer)
{
    const std::string file = NewIcf(m_files, "sqlexp");
    CSetupIcf icf(file.c_str());
    char buffer[16];
    memset(buffer, '#', sizeof(buffer));
    EXPECT_TRUE(icf.GetSQLExpPWD(buffer, 8)) << "no password is no failure";
    EXPECT_EQ(std::string(16, '#'), std::string(buffer, 16));

    ASSERT_TRUE(icf.SaveSQLExpPWD("Secret-1"));
    EXPECT_FALSE(icf.GetSQLExpPWD(buffer, 8)) << "no room for the terminating zero";
    EXPECT_EQ(std::string(16, '#'), std::string(buffer, 16));
    EXPECT_TRUE(icf.GetSQLExpPWD(buffer, 9));
    EXPECT_EQ(std::string("Secret-1\0#######", 16), std::string(buffer, 16));

    // A scrambled text the library refuses: the whole buffer zeroed, and no more.
    ScopedEnv refuse("DVDCEN_FIXTURE_RESULT", "13");
    memset(buffer, '#', sizeof(buffer));
    EXPECT_FALSE(icf.GetSQLExpPWD(buffer, 12));
    EXPECT_EQ(std::string(12, '\0') + "####", std::string(buffer, 16));

    CSetupIcf none((m_files / "absent.icf").c_str());
    EXPECT_FALSE(none.GetSQLExpPWD(buffer, sizeof(buffer)));
    EXPECT_FALSE(none.GetSQLRemoteSerPWD(buffer, sizeof(buffer)));
}

TEST_F(CSetupIcfPasswords, WithoutTheScramblerNothingIsWritten)
{
    const std::string file = NewIcf(m_files, "noscrambler");
    CSetupIcf icf(file.c_str());
    ASSERT_TRUE(icf.SystemAccountPassword("kept"));
    ASSERT_TRUE(icf.DVDomainPassword("kept"));
    ASSERT_TRUE(icf.SaveSQLExpPWD("kept"));
    const std::string bytes = ReadFileBytes(file);

    ASSERT_TRUE(SetCurrentDirectoryA(m_files.path().c_str()));
    for (bool libraryThere : {false, true}) {
        SCOPED_TRACE(libraryThere ? "the library refuses" : "no library");
        if (libraryThere) {
            ASSERT_TRUE(SetCurrentDirectoryA(m_library.path().c_str()));
        }
        ScopedEnv refuse("DVDCEN_FIXTURE_RESULT", libraryThere ? "13" : nullptr);
        for (const Password& password : Passwords()) {
            SCOPED_TRACE(password.name);
            EXPECT_FALSE(password.set(icf, "changed"));
            EXPECT_EQ(password.key == std::string("SQLExpSAPWD") ? "<FALSE>" : "", password.get(icf))
                << "a text that cannot be unscrambled reads as no password";
        }
        EXPECT_EQ(bytes, ReadFileBytes(file));
    }
}
