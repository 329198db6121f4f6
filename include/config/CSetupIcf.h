// CSetupIcf: the answer file SETUP.ICF of an installation, a private-profile (INI) file that
// records who the user is, which features to install or remove, where to put them, the database,
// the service account, the product domain, patch and cluster preferences.
//
// Every value has a named accessor that knows its sections, key and default:
// - a text getter returns a pointer into the object's own buffer for that value, valid until
//   the same getter is called again or the object dies; when the file was not found it returns
//   the buffer as it stands (empty, or the last result);
// - a text setter writes the value and creates the file as needed, except the SQL agent,
//   cluster and replication setters, which write nothing when the file was not found;
// - a feature getter answers the switch (cached when the file was not found), its setter writes
//   "1" or "0", and the (char*, size) form returns the raw text of the switch;
// - the Get...(char*, size) forms read at most size characters into the caller's buffer.
// Passwords of section "Base" are stored scrambled and handed out in clear.
#pragma once

#include "CString.h"

#include <vector>

class SETUPCLS_API CSetupIcf {
public:
    static const char* const m_sDefaultFilename;  // "SETUP.ICF"

    // A null or empty name means the SETUP.ICF beside the running executable.
    explicit CSetupIcf(const char* file = nullptr);
    CSetupIcf(const CSetupIcf&) = default;
    CSetupIcf& operator=(const CSetupIcf&) = default;
    ~CSetupIcf();

    // Finds the file and resets the cached switches; returns whether the file exists. A file
    // found beside the executable is made writable; one named by the caller is left as it is.
    BOOL Init(const char* file);
    BOOL Exists() const { return m_bExists; }
    const char* FileName() const { return m_sFile; }
    static const char* DefaultICFFileName();

    // The root of the first fixed disk when the object was initialised ("C:\"): where the
    // product database files go when the answer file names no folder.
    const char* DefaultDBFilePath() const { return m_sDefaultDBFilePath; }

    // Generic access. The writes do not require the file to exist.
    BOOL WriteString(const char* section, const char* key, const char* value);
    BOOL WriteInt(const char* section, const char* key, int value);
    // Reads into buffer, whose capacity is the length of the text already in it: fill the
    // buffer with non-NUL characters up to its usable size first. Returns the characters read;
    // FALSE when the file was not found.
    int GetString(const char* section, const char* key, char* buffer);
    // The integer (default 0); FALSE when the file was not found.
    BOOL GetInt(const char* section, const char* key, int* value);

    // Values with a section, key and default each.
    const char* FullName();
    BOOL FullName(const char* value);
    const char* CompanyName();
    BOOL CompanyName(const char* value);
    const char* LanguageID();
    BOOL LanguageID(const char* value);
    BOOL GetSetupHostMachineName(char* buffer, unsigned long size);
    BOOL SetSetupHostMachineName(const char* value);
    const char* DrosvanePath();
    BOOL DrosvanePath(const char* value);
    const char* AlertPath();
    BOOL AlertPath(const char* value);
    const char* ClientAgentPath();
    BOOL AgentPath(const char* value);
    const char* DBAOraPath();
    BOOL DBAOraPath(const char* value);
    const char* DBASqlPath();
    BOOL DBASqlPath(const char* value);
    const char* DBAExchPath();
    BOOL DBAExchPath(const char* value);
    const char* DBANotePath();
    BOOL DBANotePath(const char* value);
    const char* DBAInfoPath();
    BOOL DBAInfoPath(const char* value);
    const char* DBASybasePath();
    BOOL DBASybasePath(const char* value);
    const char* DBAIngresPath();
    BOOL DBAIngresPath(const char* value);
    const char* DBASapSqlPath();
    BOOL DBASapSqlPath(const char* value);
    const char* DBASapOraPath();
    BOOL DBASapOraPath(const char* value);
    const char* SPAgentPath();
    BOOL SPAgentPath(const char* value);
    const char* MDBPath();
    BOOL MDBPath(const char* value);
    BOOL GetSQLExpInstanceName(char* buffer, unsigned long size);
    BOOL SaveSQLExpInstanceName(const char* value);
    BOOL GetServerDB_DataFilePath(char* buffer, unsigned long size);
    BOOL SetServerDB_DataFilePath(const char* value);
    BOOL GetSQLAgentInstanceName(char* buffer, unsigned long size);
    BOOL SetSQLAgentInstanceName(const char* value);
    BOOL GetSQLAgentSQLUserName(char* buffer, unsigned long size);
    BOOL SetSQLAgentSQLUserName(const char* value);
    const char* SolmarinPath();
    BOOL SolmarinPath(const char* value);
    const char* SolmarinJBossPath();
    BOOL SolmarinJBossPath(const char* value);
    const char* SolmarinPort();
    BOOL SolmarinPort(const char* value);
    const char* SolmarinTomcatPort();
    BOOL SolmarinTomcatPort(const char* value);
    const char* SolmarinJRMPPort();
    BOOL SolmarinJRMPPort(const char* value);
    const char* SolmarinRMIPort();
    BOOL SolmarinRMIPort(const char* value);
    const char* SolmarinGOSSIPPort();
    BOOL SolmarinGOSSIPPort(const char* value);
    const char* SolmarinHost();
    BOOL SolmarinHost(const char* value);
    const char* LocalMDB();
    BOOL LocalMDB(const char* value);
    const char* MDBHost();
    BOOL MDBHost(const char* value);
    const char* MDBUser();
    BOOL MDBUser(const char* value);
    const char* MDBPassword();
    BOOL MDBPassword(const char* value);
    const char* MDBID();
    BOOL MDBID(const char* value);
    const char* MDBDatabase();
    BOOL MDBDatabase(const char* value);
    const char* DatabaseLoc();
    BOOL DatabaseLoc(const char* value);
    const char* CheckLoc();
    BOOL CheckLoc(const char* value);
    const char* JourLoc();
    BOOL JourLoc(const char* value);
    const char* DumpLoc();
    BOOL DumpLoc(const char* value);
    const char* WorkLoc();
    BOOL WorkLoc(const char* value);
    const char* LocaleVIG();
    BOOL LocaleVIG(const char* value);
    const char* RemoteMDBeVIG();
    BOOL RemoteMDBeVIG(const char* value);
    const char* eVIGPass();
    BOOL eVIGPass(const char* value);
    const char* eVIGRemoteHost();
    BOOL eVIGRemoteHost(const char* value);
    const char* SystemAccountDomain();
    BOOL SystemAccountDomain(const char* value);
    const char* SystemAccountServer();
    BOOL SystemAccountServer(const char* value);
    const char* SystemAccountUser();
    BOOL SystemAccountUser(const char* value);
    const char* DVDomainName();
    BOOL DVDomainName(const char* value);
    const char* PriDVDomainName();
    BOOL PriDVDomainName(const char* value);
    const char* SecDVDomainName();
    BOOL SecDVDomainName(const char* value);
    const char* DVDomainUserName();
    BOOL DVDomainUserName(const char* value);
    const char* SANPrimaryServer();
    BOOL SANPrimaryServer(const char* value);
    const char* SiteName();
    BOOL SiteName(const char* value);
    const char* SystemID();
    BOOL SystemID(const char* value);
    const char* LocalLUAlias();
    BOOL LocalLUAlias(const char* value);
    const char* PartnerLUAlias();
    BOOL PartnerLUAlias(const char* value);
    const char* PMDSServerType();
    BOOL PMDSServerType(const char* value);
    const char* PMDSLocation();
    BOOL PMDSLocation(const char* value);
    const char* PMDSPathOnFTP();
    BOOL PMDSPathOnFTP(const char* value);
    const char* PMDSPatchesRoot();
    BOOL PMDSPatchesRoot(const char* value);
    const char* PMLUDisableAutoUpdate();
    BOOL PMLUDisableAutoUpdate(const char* value);
    const char* PMLUAutoDownload();
    BOOL PMLUAutoDownload(const char* value);
    const char* PMLUAutoDownloadInstall();
    BOOL PMLUAutoDownloadInstall(const char* value);
    const char* PMLUHour();
    BOOL PMLUHour(const char* value);
    const char* PMLUWeekDay();
    BOOL PMLUWeekDay(const char* value);
    const char* PMEMUpdateAvailable();
    BOOL PMEMUpdateAvailable(const char* value);
    const char* PMEMDownloadComplete();
    BOOL PMEMDownloadComplete(const char* value);
    const char* PMEMInstallComplete();
    BOOL PMEMInstallComplete(const char* value);
    const char* PMEMEmailID();
    BOOL PMEMEmailID(const char* value);
    const char* PMEMSMTPServer();
    BOOL PMEMSMTPServer(const char* value);
    const char* PMEMSMTPRequireAuth();
    BOOL PMEMSMTPRequireAuth(const char* value);
    const char* PMEMUserID();
    BOOL PMEMUserID(const char* value);
    const char* PMEMPassword();
    BOOL PMEMPassword(const char* value);
    const char* PMPSUseProxyServer();
    BOOL PMPSUseProxyServer(const char* value);
    const char* PMPSProxyServer();
    BOOL PMPSProxyServer(const char* value);
    const char* PMPSPort();
    BOOL PMPSPort(const char* value);
    const char* PMPSProxyRequireAuth();
    BOOL PMPSProxyRequireAuth(const char* value);
    const char* PMPSUserName();
    BOOL PMPSUserName(const char* value);
    const char* PMPSPassword();
    BOOL PMPSPassword(const char* value);
    BOOL GetVirtualServerName(char* buffer, unsigned long size);
    BOOL SetVirtualServerName(const char* value);
    BOOL GetVirtualServerIP(char* buffer, unsigned long size);
    BOOL SetVirtualServerIP(const char* value);
    BOOL GetMasterNodeName(char* buffer, unsigned long size);
    BOOL SetMasterNodeName(const char* value);
    BOOL GetMasterNodeIP(char* buffer, unsigned long size);
    BOOL SetMasterNodeIP(const char* value);
    BOOL GetWANSync_ReplicaNodeName(char* buffer, unsigned long size);
    BOOL SetWANSync_ReplicaNodeName(const char* value);
    BOOL GetWANSync_ReplicaNodeIP(char* buffer, unsigned long size);
    BOOL SetWANSync_ReplicaNodeIP(const char* value);
    BOOL InstallManager();
    BOOL InstallManager(int on);
    BOOL InstallManager(char* buffer, unsigned long size);
    BOOL InstallServer();
    BOOL InstallServer(int on);
    BOOL InstallServer(char* buffer, unsigned long size);
    BOOL InstallAdmin();
    BOOL InstallAdmin(int on);
    BOOL InstallAdmin(char* buffer, unsigned long size);
    BOOL InstallAlert();
    BOOL InstallAlert(int on);
    BOOL InstalliPatron();
    BOOL InstalliPatron(int on);
    BOOL InstalliPatron(char* buffer, unsigned long size);
    BOOL InstallCPM();
    BOOL InstallCPM(int on);
    BOOL InstallCPM(char* buffer, unsigned long size);
    BOOL InstallAV();
    BOOL InstallAV(int on);
    BOOL InstallAV(char* buffer, unsigned long size);
    BOOL InstallHSM();
    BOOL InstallHSM(int on);
    BOOL OverwriteDB();
    BOOL OverwriteDB(int on);
    BOOL OverwriteJobQueue();
    BOOL OverwriteJobQueue(int on);
    BOOL UninstallDrosvane();
    BOOL UninstallDrosvane(int on);
    BOOL UninstallAlert();
    BOOL UninstallAlert(int on);
    BOOL InstallDRWiz();
    BOOL InstallDRWiz(int on);
    BOOL InstallDRWiz(char* buffer, unsigned long size);
    BOOL InstallSANWiz();
    BOOL InstallSANWiz(int on);
    BOOL InstallSANWiz(char* buffer, unsigned long size);
    BOOL GetIsSANEnv();
    BOOL SetIsSANEnv(int on);
    BOOL InstallBaseStandAlone();
    BOOL InstallBaseStandAlone(int on);
    BOOL InstallBasePrimary();
    BOOL InstallBasePrimary(int on);
    BOOL InstallBaseMember();
    BOOL InstallBaseMember(int on);
    BOOL InstallBaseCMO();
    BOOL InstallBaseCMO(int on);
    BOOL InstallBaseTLO();
    BOOL InstallBaseTLO(int on);
    BOOL InstallBaseSANO();
    BOOL InstallBaseSANO(int on);
    BOOL InstallBaseD2D2T();
    BOOL InstallBaseD2D2T(int on);
    BOOL InstallBaseVMWare();
    BOOL InstallBaseVMWare(int on);
    BOOL InstallBaseEModule();
    BOOL InstallBaseEModule(int on);
    BOOL InstallBaseDRO();
    BOOL InstallBaseDRO(int on);
    BOOL InstallBaseNASAgent();
    BOOL InstallBaseNASAgent(int on);
    BOOL InstallBaseOmnivale();
    BOOL InstallBaseOmnivale(int on);
    BOOL UpgradeIE();
    BOOL UpgradeIE(int on);
    BOOL CreateDVDomain();
    BOOL CreateDVDomain(int on);
    BOOL SaveDVDomainPWD();
    BOOL SaveDVDomainPWD(int on);
    int GetSetupMode();
    BOOL SetSetupMode(int value);
    int GetTalvikBetaUpgFlag();
    BOOL SetTalvikBetaUpgFlag(int value);
    unsigned long GetDrosvaneDBUpgradeFlag();
    BOOL SetDrosvaneDBUpgradeFlag(unsigned long value);
    unsigned long GetSQLExpInstallFlag();
    BOOL SetSQLExpInstallFlag(unsigned long value);
    unsigned long GetClusterEnvType();
    BOOL SetClusterEnvType(unsigned long value);
    unsigned long Get_WANSync_MasterType();
    BOOL Set_WANSync_MasterType(unsigned long value);

    // Special rules.
    int GetProductSubType();  // 0 to 4; -1 for another value or none; 0 without the file
    BOOL SQLDB();             // either section can switch it on
    BOOL SQLDB(int on);
    int GetDBType();          // "Base" wins over "DatabaseOption"
    BOOL SetDBType(int type); // negative types are ignored
    unsigned int GetSQLAgentInstanceAuthType();
    BOOL SetSQLAgentInstanceAuthType(unsigned int type);
    unsigned int GetSQLAgent_Install_Flag();
    BOOL SetSQLAgent_Install_Flag(unsigned int flag);
    BOOL GetClusterInstallFlag();
    BOOL SetClusterInstallFlag(BOOL on);

    // Passwords: plain text in the sections earlier setups wrote, scrambled in "Base".
    const char* SystemAccountPassword();
    BOOL SystemAccountPassword(const char* password);
    const char* DVDomainPassword();
    BOOL DVDomainPassword(const char* password);
    BOOL GetSQLExpPWD(char* buffer, unsigned long size);
    BOOL SaveSQLExpPWD(const char* password);
    BOOL GetSQLRemoteSerPWD(char* buffer, unsigned long size);

    // The management-framework switch is no longer kept in the file: always 0.
    BOOL InstallOVG();
    BOOL InstallOVG(int on);

    // Defaults of the values above.
    static const char* DefaultDrosvanePath();
    static const char* DefaultAgent95Path();
    static const char* DefaultAgentNTPath();
    static const char* DefaultAlertPath();
    static const char* DefaultCheckLoc();
    static const char* DefaultDatabaseLoc();
    static const char* DefaultDumpLoc();
    static const char* DefaultJourLoc();
    static const char* DefaultLocalMDB();
    static const char* DefaultLocaleVIG();
    static const char* DefaultMDBDatabase();
    static const char* DefaultMDBHost();
    static const char* DefaultMDBID();
    static const char* DefaultMDBPassword();
    static const char* DefaultMDBPath();
    static const char* DefaultMDBUser();
    static const char* DefaultSolmarinHost();
    static const char* DefaultSolmarinJBossPath();
    static const char* DefaultSolmarinPath();
    static const char* DefaultSolmarinPort();
    static const char* DefaultSolmarinTomcatPort();
    static const char* DefaultRemoteMDBeVIG();
    static const char* DefaultWorkLoc();
    static const char* DefaulteVIGPass();
    static const char* DefaulteVIGRemoteHost();

private:
    void FindFile();
    BOOL NeedsFile(unsigned flags) const;
    char* Slot(int slot);
    const char* ReadText(int id);
    BOOL WriteText(int id, const char* value);
    BOOL ReadSized(int id, char* buffer, unsigned long size);
    BOOL ReadFeature(int id);
    BOOL WriteFeature(int id, int on);
    BOOL QueryFeatureText(int id, char* buffer, unsigned long size);
    long ReadNumber(int id);
    BOOL WriteNumber(int id, long value);
    BOOL ReadPassword(int id, char* clear, unsigned long size);
    const char* ReadPasswordText(int id);
    BOOL WritePassword(int id, const char* password);

    CString m_sFile;
    BOOL m_bExists = FALSE;
    std::vector<char> m_buffers;  // one result buffer per text value and password
    std::vector<BOOL> m_features; // cached switches
    BOOL m_bSQLDB = FALSE;
    BOOL m_bInstallOVG = FALSE;
    CString m_sDefaultDBFilePath;
};
