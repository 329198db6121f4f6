// The tables of SETUP.ICF. Every entry names its own id; the checks at the end of the file
// make sure each table lists its ids in order, so an entry can never answer for another.
#include "CSetupIcfKeys.h"

namespace icf {

// Text values:
//  id, result buffer size, flags, {write section, key}, {{read section, key, default}, ...}
constexpr TextKey kText[kTextCount] = {
    {kFullName, 256, 0, {"UserInfo", "FullName"}, {{"UserInfo", "FullName", ""}}},
    {kCompanyName, 256, 0, {"UserInfo", "CompanyName"}, {{"UserInfo", "CompanyName", ""}}},
    {kLanguageID, 10, 0, {"Install", "LanguageID"}, {{"Install", "LanguageID", "1033"}}},
    {kSetupHostMachineName, 260, 0, {"Install", "SetupHostMachineName"}, {{"Install", "SetupHostMachineName", "0"}}},
    {kDrosvanePath, 260, 0, {"Base", "ProductPath"}, {{"DrosvaneInstall", "InstallPath", ""}, {"InstallPath", "ProductPath", ""}, {"Base", "ProductPath", ""}}},
    {kAlertPath, 260, 0, {"Base", "AlertPath"}, {{"DrosvaneInstall", "AlertPath", ""}, {"InstallPath", "AlertPath", "C:\\ALERT"}, {"Base", "AlertPath", "C:\\ALERT"}}},
    {kClientAgentPath, 260, 0, {"ClientAgent", "AgentPath"}, {{"InstallPath", "AgentPath", ""}, {"ClientAgent", "AgentPath", ""}}},
    {kDBAOraPath, 260, 0, {"DBAORA", "AgentPath"}, {{"DBAORA", "AgentPath", ""}}},
    {kDBASqlPath, 260, 0, {"DBASQL", "AgentPath"}, {{"DBASQL", "AgentPath", ""}}},
    {kDBAExchPath, 260, 0, {"DBAEXCH", "AgentPath"}, {{"DBAEXCH", "AgentPath", ""}}},
    {kDBANotePath, 260, 0, {"DBANOTE", "AgentPath"}, {{"DBANOTE", "AgentPath", ""}}},
    {kDBAInfoPath, 260, 0, {"DBAINFO", "AgentPath"}, {{"DBAINFO", "AgentPath", ""}}},
    {kDBASybasePath, 260, 0, {"DBASYBASE", "AgentPath"}, {{"DBASYBASE", "AgentPath", ""}}},
    {kDBAIngresPath, 260, 0, {"DBAINGRES", "AgentPath"}, {{"DBAINGRES", "AgentPath", ""}}},
    {kDBASapSqlPath, 260, 0, {"DBASAPSQL", "AgentPath"}, {{"DBASAPSQL", "AgentPath", ""}}},
    {kDBASapOraPath, 260, 0, {"DBASAPORA", "AgentPath"}, {{"DBASAPORA", "AgentPath", ""}}},
    {kSPAgentPath, 260, 0, {"SPAgent", "AgentPath"}, {{"SPAgent", "AgentPath", ""}}},
    {kMDBPath, 260, 0, {"MDB", "MDBPath"}, {{"MDB", "MDBPath", ""}}},
    {kSQLExpInstanceName, 48, 0, {"Base", "SQLExpInstanceName"}, {{"Base", "SQLExpInstanceName", ""}}},
    {kServerDB_DataFilePath, 260, 0, {"Base", "DB_DataFilePath"}, {{"Base", "DB_DataFilePath", ""}}},
    {kSQLAgentInstanceName, 48, kNeedsFile, {"DBASQL", "SID01"}, {{"DBASQL", "SID01", ""}}},
    {kSQLAgentSQLUserName, 48, kNeedsFile, {"DBASQL", "LoginID01"}, {{"DBASQL", "LoginID01", ""}}},
    {kSolmarinPath, 260, 0, {"SQM", "SolmarinPath"}, {{"SQM", "SolmarinPath", ""}}},
    {kSolmarinJBossPath, 260, 0, {"SQM", "JBossPath"}, {{"SQM", "JBossPath", ""}}},
    {kSolmarinPort, 260, 0, {"SQM", "JNPPORT"}, {{"SQM", "JNPPORT", "1099"}}},
    {kSolmarinTomcatPort, 260, 0, {"SQM", "TOMCATPORT"}, {{"SQM", "TOMCATPORT", "8080"}}},
    {kSolmarinJRMPPort, 260, 0, {"SQM", "JRMPPORT"}, {{"SQM", "JRMPPORT", "4444"}}},
    {kSolmarinRMIPort, 260, 0, {"SQM", "RMIPORT"}, {{"SQM", "RMIPORT", "1098"}}},
    {kSolmarinGOSSIPPort, 260, 0, {"SQM", "GOSSIPPORT"}, {{"SQM", "GOSSIPPORT", "5555"}}},
    {kSolmarinHost, 260, 0, {"SQM", "Host"}, {{"SQM", "Host", ""}}},
    {kLocalMDB, 48, 0, {"SQM", "LOCALMDB"}, {{"SQM", "LOCALMDB", "YES"}}},
    {kMDBHost, 48, 0, {"SQM", "MDBHOST"}, {{"SQM", "MDBHOST", ""}}},
    {kMDBUser, 48, 0, {"SQM", "MDBUSER"}, {{"SQM", "MDBUSER", "sqmadmin"}}},
    {kMDBPassword, 48, 0, {"SQM", "MDBPASSWORD"}, {{"SQM", "MDBPASSWORD", ""}}},
    {kMDBID, 48, 0, {"SQM", "MDBID"}, {{"SQM", "MDBID", "SQ"}}},
    {kMDBDatabase, 48, 0, {"SQM", "MDBDATABASE"}, {{"SQM", "MDBDATABASE", ""}}},
    {kDatabaseLoc, 260, 0, {"SQM", "DATABASELOC"}, {{"SQM", "DATABASELOC", ""}}},
    {kCheckLoc, 260, 0, {"SQM", "DATABASECHECKPOINTLOC"}, {{"SQM", "DATABASECHECKPOINTLOC", ""}}},
    {kJourLoc, 260, 0, {"SQM", "DATABASEJOURNALLOC"}, {{"SQM", "DATABASEJOURNALLOC", ""}}},
    {kDumpLoc, 260, 0, {"SQM", "DATABASEDUMPLOC"}, {{"SQM", "DATABASEDUMPLOC", ""}}},
    {kWorkLoc, 260, 0, {"SQM", "DATABASEWORKLOC"}, {{"SQM", "DATABASEWORKLOC", ""}}},
    {kLocaleVIG, 48, 0, {"SQM", "LOCALEVIG"}, {{"SQM", "LOCALEVIG", "YES"}}},
    {kRemoteMDBeVIG, 48, 0, {"SQM", "REMOTEMDBEVIG"}, {{"SQM", "REMOTEMDBEVIG", "NO"}}},
    {keVIGPass, 48, 0, {"SQM", "EVIGPASS"}, {{"SQM", "EVIGPASS", ""}}},
    {keVIGRemoteHost, 260, 0, {"SQM", "EVIGREMOTEHOST"}, {{"SQM", "EVIGREMOTEHOST", ""}}},
    {kSystemAccountDomain, 48, 0, {"Base", "SystemDomainName"}, {{"System Account", "SystemDomainName", ""}, {"SystemAccount", "SystemDomainName", ""}, {"Base", "SystemDomainName", ""}}},
    {kSystemAccountServer, 260, 0, {"Base", "SystemServerName"}, {{"Base", "SystemServerName", ""}}},
    {kSystemAccountUser, 48, 0, {"Base", "SystemUserName"}, {{"System Account", "SystemUserName", ""}, {"SystemAccount", "SystemUserName", ""}, {"Base", "SystemUserName", ""}}},
    {kDVDomainName, 48, 0, {"Base", "QuellmarshDomainName"}, {{"QuellmarshDomain", "QuellmarshDomainName", ""}, {"Base", "QuellmarshDomainName", ""}}},
    {kPriDVDomainName, 260, 0, {"Base", "PrimaryServerName"}, {{"QuellmarshDomain", "PrimaryServerName", ""}, {"Base", "PrimaryServerName", ""}}},
    {kSecDVDomainName, 260, 0, {"Base", "SecondaryServerName"}, {{"QuellmarshDomain", "SecondaryServerName", ""}, {"Base", "SecondaryServerName", ""}}},
    {kDVDomainUserName, 48, 0, {"Base", "QuellmarshDomainUserName"}, {{"QuellmarshDomain", "QuellmarshDomainUserName", ""}, {"Base", "QuellmarshDomainUserName", ""}}},
    {kSANPrimaryServer, 48, 0, {"Base", "SANPrimaryServer"}, {{"Base", "SANPrimaryServer", ""}}},
    {kSiteName, 48, 0, {"MVSConfig", "SITENAME"}, {{"MVSConfig", "SITENAME", ""}}},
    {kSystemID, 48, 0, {"MVSConfig", "SYSTEMID"}, {{"MVSConfig", "SYSTEMID", ""}}},
    {kLocalLUAlias, 48, 0, {"MVSConfig", "LOCALLUALIAS"}, {{"MVSConfig", "LOCALLUALIAS", ""}}},
    {kPartnerLUAlias, 48, 0, {"MVSConfig", "PARTNERLUALIAS"}, {{"MVSConfig", "PARTNERLUALIAS", ""}}},
    {kPMDSServerType, 260, 0, {"PM", "DS_SERVERTYPE"}, {{"PM", "DS_SERVERTYPE", ""}}},
    {kPMDSLocation, 260, 0, {"PM", "DS_LOCATION"}, {{"PM", "DS_LOCATION", ""}}},
    {kPMDSPathOnFTP, 260, 0, {"PM", "DS_PATHONFTP"}, {{"PM", "DS_PATHONFTP", ""}}},
    {kPMDSPatchesRoot, 260, 0, {"PM", "DS_PATCHESROOT"}, {{"PM", "DS_PATCHESROOT", ""}}},
    {kPMLUDisableAutoUpdate, 260, 0, {"PM", "LU_DISABLEAUTOUPDATE"}, {{"PM", "LU_DISABLEAUTOUPDATE", ""}}},
    {kPMLUAutoDownload, 260, 0, {"PM", "LU_AUTODOWNLOAD"}, {{"PM", "LU_AUTODOWNLOAD", ""}}},
    {kPMLUAutoDownloadInstall, 260, 0, {"PM", "LU_AUTODOWNLOADINSTALL"}, {{"PM", "LU_AUTODOWNLOADINSTALL", ""}}},
    {kPMLUHour, 260, 0, {"PM", "LU_HOUR"}, {{"PM", "LU_HOUR", ""}}},
    {kPMLUWeekDay, 260, 0, {"PM", "LU_WEEKDAY"}, {{"PM", "LU_WEEKDAY", ""}}},
    {kPMEMUpdateAvailable, 260, 0, {"PM", "EM_UPDATEAVAILABLE"}, {{"PM", "EM_UPDATEAVAILABLE", "NO"}}},
    {kPMEMDownloadComplete, 260, 0, {"PM", "EM_DOWNLOADCOMPLETE"}, {{"PM", "EM_DOWNLOADCOMPLETE", "NO"}}},
    {kPMEMInstallComplete, 260, 0, {"PM", "EM_INSTALLCOMPLETE"}, {{"PM", "EM_INSTALLCOMPLETE", "NO"}}},
    {kPMEMEmailID, 260, 0, {"PM", "EM_EMAILID"}, {{"PM", "EM_EMAILID", ""}}},
    {kPMEMSMTPServer, 260, 0, {"PM", "EM_SMTPSERVER"}, {{"PM", "EM_SMTPSERVER", ""}}},
    {kPMEMSMTPRequireAuth, 260, 0, {"PM", "EM_SMTPREQUREAUTH"}, {{"PM", "EM_SMTPREQUREAUTH", ""}}},
    {kPMEMUserID, 260, 0, {"PM", "EM_USERID"}, {{"PM", "EM_USERID", ""}}},
    {kPMEMPassword, 260, 0, {"PM", "EM_PASSWORD"}, {{"PM", "EM_PASSWORD", ""}}},
    {kPMPSUseProxyServer, 260, 0, {"PM", "PS_USEPROXYSERVER"}, {{"PM", "PS_USEPROXYSERVER", ""}}},
    {kPMPSProxyServer, 260, 0, {"PM", "PS_PROXYSERVER"}, {{"PM", "PS_PROXYSERVER", ""}}},
    {kPMPSPort, 260, 0, {"PM", "PS_PORT"}, {{"PM", "PS_PORT", ""}}},
    {kPMPSProxyRequireAuth, 260, 0, {"PM", "PS_PROXYREQUREAUTH"}, {{"PM", "PS_PROXYREQUREAUTH", ""}}},
    {kPMPSUserName, 260, 0, {"PM", "PS_USERNAME"}, {{"PM", "PS_USERNAME", ""}}},
    {kPMPSPassword, 260, 0, {"PM", "PS_PASSWORD"}, {{"PM", "PS_PASSWORD", ""}}},
    {kVirtualServerName, 260, kNeedsFile, {"Base", "VirtualServerName"}, {{"Base", "VirtualServerName", ""}}},
    {kVirtualServerIP, 260, kNeedsFile, {"Base", "VirtualServerIP"}, {{"Base", "VirtualServerIP", ""}}},
    {kMasterNodeName, 260, kNeedsFile, {"Base", "MasterNodeName"}, {{"Base", "MasterNodeName", ""}}},
    {kMasterNodeIP, 260, kNeedsFile, {"Base", "MasterNodeIP"}, {{"Base", "MasterNodeIP", ""}}},
    {kWANSync_ReplicaNodeName, 260, kNeedsFile, {"Base", "WANSync_ReplicaNodeName"}, {{"Base", "WANSync_ReplicaNodeName", ""}}},
    {kWANSync_ReplicaNodeIP, 260, kNeedsFile, {"Base", "WANSync_ReplicaNodeIP"}, {{"Base", "WANSync_ReplicaNodeIP", ""}}},
};

// Feature switches:
//  id, key, default, write section, {read sections}, {text query sections}
constexpr FeatureKey kFeature[kFeatureCount] = {
    {kInstallManager, "ManagerFeature", 1, "Base", {"Install", "Base"}, {"Install", "Base"}},
    {kInstallServer, "SeverFeature", 1, "Base", {"Install", "Base"}, {"Install", "Base"}},
    {kInstallAdmin, "AdminFeature", 1, "Base", {"Install", "Base"}, {"Install", "Base"}},
    {kInstallAlert, "AlertFeature", 1, "Base", {"Install", "Base"}, {}},
    {kInstalliPatron, "iPatronFeature", 1, "Base", {"Base"}, {"Base"}},
    {kInstallCPM, "CPMFeature", 0, "Base", {"Base"}, {"Base"}},
    {kInstallAV, "AVFeature", 1, "Base", {"Base"}, {"Install", "Base"}},
    {kInstallHSM, "DataMigration", 1, "Install", {"Install"}, {}},
    {kOverwriteDB, "OverwriteDB", 1, "Install", {"Install"}, {}},
    {kOverwriteJobQueue, "OverwriteJobQueue", 1, "Install", {"Install"}, {}},
    {kUninstallDrosvane, "SeverFeature", 1, "Uninstall", {"Uninstall"}, {}},
    {kUninstallAlert, "AlertFeature", 1, "Uninstall", {"Uninstall"}, {}},
    {kInstallDRWiz, "DRWIZFeature", 0, "Base", {"Base"}, {"Base"}},
    {kInstallSANWiz, "SANWIZFeature", 0, "Base", {"Base"}, {"Base"}},
    {kIsSANEnv, "SANEnvronment", 1, "Base", {"Base"}, {}},
    {kInstallBaseStandAlone, "StandAloneSrvFeature", 1, "Base", {"Base"}, {}},
    {kInstallBasePrimary, "PrimarySrvFeature", 1, "Base", {"Base"}, {}},
    {kInstallBaseMember, "MemberSrvFeature", 1, "Base", {"Base"}, {}},
    {kInstallBaseCMO, "CMOFeature", 1, "Base", {"Base"}, {}},
    {kInstallBaseTLO, "TLOFeature", 1, "Base", {"Base"}, {}},
    {kInstallBaseSANO, "SANOFeature", 1, "Base", {"Base"}, {}},
    {kInstallBaseD2D2T, "D2D2TFeature", 1, "Base", {"Base"}, {}},
    {kInstallBaseVMWare, "VMWareFeature", 1, "Base", {"Base"}, {}},
    {kInstallBaseEModule, "EModuleFeature", 1, "Base", {"Base"}, {}},
    {kInstallBaseDRO, "DROFeature", 1, "Base", {"Base"}, {}},
    {kInstallBaseNASAgent, "NASAgentFeature", 1, "Base", {"Base"}, {}},
    {kInstallBaseOmnivale, "OmnivaleFeature", 1, "Base", {"Base"}, {}},
    {kUpgradeIE, "UpgradeIE", 0, "Install", {"Install"}, {}},
    {kCreateDVDomain, "CreateQuellmarshDomain", 1, "Base", {"QuellmarshDomain", "Base"}, {}},
    {kSaveDVDomainPWD, "SaveQuellmarshDomainPassword", 1, "Base", {"Base"}, {}},
};

// Numbers kept as text:
//  id, section, key, default, how the setter writes
constexpr NumberKey kNumber[kNumberCount] = {
    {kSetupMode, "Install", "MastersetupMode", "0", kDecimal},
    {kTalvikBetaUpgFlag, "Install", "TalvikBetaUpgFlag", "0", kDecimal},
    {kDrosvaneDBUpgradeFlag, "Base", "ZORDBUpdateFlag", "0", kDecimal},
    {kSQLExpInstallFlag, "Base", "SQLExpInstallFlag", "0", kDecimal},
    {kClusterEnvType, "Install", "ClusterEnvType", "0", kDecimal},
    {kWANSyncMasterType, "Install", "WANSync_MasterType", "0", kDecimal},
    {kSQLAgentInstanceAuthType, "DBASQL", "NTAuthentication01", "0", kOneOrZero},
    {kSQLAgentInstallFlag, "DBASQL", "SQLAgentInstallType", "1", kAgentInstallType},
    {kClusterInstallFlag, "Install", "ClusterEnvInst", "0", kOneOrZero},
};
// Passwords:
//  id, key, {plain-text sections}, scrambled section
constexpr PasswordKey kPassword[kPasswordCount] = {
    {kSystemAccountPassword, "SystemPassword", {"System Account", "SystemAccount"}, "Base"},
    {kDVDomainPassword, "QuellmarshDomainPassword", {"QuellmarshDomain", nullptr}, "Base"},
    {kSQLExpPWD, "SQLExpSAPWD", {nullptr, nullptr}, "Base"},
    {kSQLRemoteSerPWD, "RemoteServerPwd", {nullptr, nullptr}, "SQLSetup"},
};

namespace {

template <typename Entry, int Count>
constexpr bool InIdOrder(const Entry (&table)[Count])
{
    for (int i = 0; i < Count; ++i) {
        if (table[i].id != i)
            return false;
    }
    return true;
}

}  // namespace

static_assert(InIdOrder(kText), "text keys out of id order");
static_assert(InIdOrder(kFeature), "feature keys out of id order");
static_assert(InIdOrder(kNumber), "number keys out of id order");
static_assert(InIdOrder(kPassword), "password keys out of id order");

}  // namespace icf
