// The keys of the answer file SETUP.ICF: for every named accessor of CSetupIcf its sections,
// key, default and buffer size. The accessors of CSetupIcf are thin calls into a few routines
// that walk these tables.
#pragma once

namespace icf {

// One place a value is read from: section, key, and the default the profile API returns when
// the key is missing there.
struct Source {
    const char* section;
    const char* key;
    const char* defaultText;
};

// Where a setter writes: section and key.
struct Target {
    const char* section;
    const char* key;
};

// Flags of a text key.
const unsigned kNeedsFile = 1;  // the setter writes nothing when the file was not found

// A text value. Getters read the sources in order, each only while the result is still empty;
// the setter writes to `write`.
struct TextKey {
    int id;
    unsigned size;  // bytes of the result buffer, NUL included
    unsigned flags;
    Target write;
    Source reads[3];
};

// A feature switch ("1" or "0"). The getter reads sections[0] with the default and, when that
// gave non-zero and a second section is listed, sections[1] too: a feature is on only if no
// section switches it off. The text query reads query[0], then query[1] when that was empty.
struct FeatureKey {
    int id;
    const char* key;
    int defaultValue;
    const char* writeSection;
    const char* sections[2];
    const char* query[2];
};

// How a number setter writes its value.
enum NumberForm {
    kDecimal,          // "%d"
    kOneOrZero,        // "1" for non-zero, "0" for zero
    kAgentInstallType  // "0" for 0, "2" for 2, "1" for anything else
};

// A number kept as text, read back with atoi. Its setter writes nothing when the file was not
// found.
struct NumberKey {
    int id;
    const char* section;
    const char* key;
    const char* defaultText;
    NumberForm form;
};

// A password: plain text in the older sections, scrambled under `scrambled`.
struct PasswordKey {
    int id;
    const char* key;
    const char* plainSections[2];
    const char* scrambledSection;
};

enum TextId {
    kFullName,
    kCompanyName,
    kLanguageID,
    kSetupHostMachineName,
    kDrosvanePath,
    kAlertPath,
    kClientAgentPath,
    kDBAOraPath,
    kDBASqlPath,
    kDBAExchPath,
    kDBANotePath,
    kDBAInfoPath,
    kDBASybasePath,
    kDBAIngresPath,
    kDBASapSqlPath,
    kDBASapOraPath,
    kSPAgentPath,
    kMDBPath,
    kSQLExpInstanceName,
    kServerDB_DataFilePath,
    kSQLAgentInstanceName,
    kSQLAgentSQLUserName,
    kSolmarinPath,
    kSolmarinJBossPath,
    kSolmarinPort,
    kSolmarinTomcatPort,
    kSolmarinJRMPPort,
    kSolmarinRMIPort,
    kSolmarinGOSSIPPort,
    kSolmarinHost,
    kLocalMDB,
    kMDBHost,
    kMDBUser,
    kMDBPassword,
    kMDBID,
    kMDBDatabase,
    kDatabaseLoc,
    kCheckLoc,
    kJourLoc,
    kDumpLoc,
    kWorkLoc,
    kLocaleVIG,
    kRemoteMDBeVIG,
    keVIGPass,
    keVIGRemoteHost,
    kSystemAccountDomain,
    kSystemAccountServer,
    kSystemAccountUser,
    kDVDomainName,
    kPriDVDomainName,
    kSecDVDomainName,
    kDVDomainUserName,
    kSANPrimaryServer,
    kSiteName,
    kSystemID,
    kLocalLUAlias,
    kPartnerLUAlias,
    kPMDSServerType,
    kPMDSLocation,
    kPMDSPathOnFTP,
    kPMDSPatchesRoot,
    kPMLUDisableAutoUpdate,
    kPMLUAutoDownload,
    kPMLUAutoDownloadInstall,
    kPMLUHour,
    kPMLUWeekDay,
    kPMEMUpdateAvailable,
    kPMEMDownloadComplete,
    kPMEMInstallComplete,
    kPMEMEmailID,
    kPMEMSMTPServer,
    kPMEMSMTPRequireAuth,
    kPMEMUserID,
    kPMEMPassword,
    kPMPSUseProxyServer,
    kPMPSProxyServer,
    kPMPSPort,
    kPMPSProxyRequireAuth,
    kPMPSUserName,
    kPMPSPassword,
    kVirtualServerName,
    kVirtualServerIP,
    kMasterNodeName,
    kMasterNodeIP,
    kWANSync_ReplicaNodeName,
    kWANSync_ReplicaNodeIP,
    kTextCount
};

enum FeatureId {
    kInstallManager,
    kInstallServer,
    kInstallAdmin,
    kInstallAlert,
    kInstalliPatron,
    kInstallCPM,
    kInstallAV,
    kInstallHSM,
    kOverwriteDB,
    kOverwriteJobQueue,
    kUninstallDrosvane,
    kUninstallAlert,
    kInstallDRWiz,
    kInstallSANWiz,
    kIsSANEnv,
    kInstallBaseStandAlone,
    kInstallBasePrimary,
    kInstallBaseMember,
    kInstallBaseCMO,
    kInstallBaseTLO,
    kInstallBaseSANO,
    kInstallBaseD2D2T,
    kInstallBaseVMWare,
    kInstallBaseEModule,
    kInstallBaseDRO,
    kInstallBaseNASAgent,
    kInstallBaseOmnivale,
    kUpgradeIE,
    kCreateDVDomain,
    kSaveDVDomainPWD,
    kFeatureCount
};

enum NumberId {
    kSetupMode,
    kTalvikBetaUpgFlag,
    kDrosvaneDBUpgradeFlag,
    kSQLExpInstallFlag,
    kClusterEnvType,
    kWANSyncMasterType,
    kSQLAgentInstanceAuthType,
    kSQLAgentInstallFlag,
    kClusterInstallFlag,
    kNumberCount
};

enum PasswordId {
    kSystemAccountPassword,
    kDVDomainPassword,
    kSQLExpPWD,
    kSQLRemoteSerPWD,
    kPasswordCount
};

extern const TextKey kText[kTextCount];
extern const FeatureKey kFeature[kFeatureCount];
extern const NumberKey kNumber[kNumberCount];
extern const PasswordKey kPassword[kPasswordCount];

}  // namespace icf
