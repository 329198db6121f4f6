// CSettings: the choices of one setup run.
//
// Built from the setup program's record (tagSETUP_INFO), completed by Initialize from the machine,
// SETUP.INF and SETUP.ICF, changed by the user through the setters, then read while the product
// is installed. Getters take no argument; the setter of the same name takes one. Text getters
// return pointers into the object, valid while it lives; a null text given to a setter stores the
// empty text. The object is plain data and copies freely (CTambRegistry keeps a copy).
#pragma once

#include "CString.h"
#include "SetupInfo.h"

class SETUPCLS_API CSettings {
public:
    // Component mask: what the run installs.
    static const unsigned INSTALL_MANAGER = 0x1;
    static const unsigned INSTALL_SERVER = 0x2;
    static const unsigned INSTALL_ADMIN = 0x4;
    static const unsigned INSTALL_ALERT = 0x8;
    static const unsigned INSTALL_HSM = 0x10;   // data migration
    static const unsigned INSTALL_OVG = 0x20;   // management framework
    static const unsigned INSTALL_AV = 0x40;
    static const unsigned UNINSTALL_DROSVANE = 0x7;  // manager, server and administration
    static const unsigned UNINSTALL_ALERT = 0x8;
    // Database mask.
    static const unsigned INSTALL_SQL = 0x1;
    static const unsigned INSTALL_RAIMA = 0x2;
    static const unsigned UNINSTALL_SQL = 0x1;

    CSettings();
    // Copies the record (null: defaults only); uninstall is the uninstall-mode flag.
    CSettings(tagSETUP_INFO* info, int uninstall);

    // Fills what the machine, the medium's SETUP.INF and the answer file (the batch file) say:
    // the product's name, the registered owner, the found-on-machine flags, the current paths
    // and, from them, the chosen paths, the medium's capabilities and, in batch operation, the
    // answer file's choices. Every step runs; a failed one is a TAB-led line in the log file.
    // 1 when every step succeeded. The current folder is the same after the call as before.
    int Initialize();

    // From the record.
    const char* ProductName() const { return m_productName; }
    void ProductName(const char* name);  // also splits it into short and edition name
    const char* ProductShortName() const { return m_productShortName; }
    const char* EditionName() const { return m_editionName; }
    const char* Profile() const { return m_profile; }
    void Profile(const char* path) { m_profile = path; }
    const char* TraceFile() const { return m_traceFile; }
    void TraceFile(const char* path) { m_traceFile = path; }
    const char* SourcePath() const { return m_sourcePath; }
    void SourcePath(const char* path) { m_sourcePath = path; }
    const char* BatchFile() const { return m_batchFile; }
    void BatchFile(const char* path) { m_batchFile = path; }
    const char* MIFFile() const { return m_mifFile; }
    void MIFFile(const char* path) { m_mifFile = path; }
    const char* ProgramGroupName() const { return m_programGroupName; }
    void ProgramGroupName(const char* name) { m_programGroupName = name; }
    const char* LogFile() const { return m_logFile; }
    void LogFile(const char* path) { m_logFile = path; }
    int ProductType() const { return m_productType; }
    void ProductType(int type) { m_productType = type; }
    int IgnoreErrors() const { return m_ignoreErrors; }
    void IgnoreErrors(int on) { m_ignoreErrors = on; }
    int Trace() const { return m_trace; }
    void Trace(int on) { m_trace = on; }
    int BatchOperation() const { return m_batchOperation; }
    void BatchOperation(int on) { m_batchOperation = on; }
    int MIF() const { return m_mif; }
    void MIF(int on) { m_mif = on; }
    int ConfigurationOnly() const { return m_configurationOnly; }
    void ConfigurationOnly(int on) { m_configurationOnly = on; }
    int IsCopyOnlyMode() const { return m_copyOnlyMode; }
    void IsCopyOnlyMode(int on) { m_copyOnlyMode = on; }
    const char* GetFixNumber() const { return m_fixNumber; }
    void GetFixNumber(const char* number) { m_fixNumber = number; }
    int IsForceOperation() const { return m_forceOperation; }
    void IsForceOperation(int on) { m_forceOperation = on; }
    int IsUninstallAll() const { return m_uninstallAll; }
    void IsUninstallAll(int on) { m_uninstallAll = on; }

    // The run.
    int Uninstall() const { return m_uninstall; }
    void Uninstall(int on) { m_uninstall = on; }
    int RemoteSetup() const { return m_remoteSetup; }
    void RemoteSetup(int on) { m_remoteSetup = on; }
    const char* RemoteHostServer() const { return m_remoteHostServer; }
    void RemoteHostServer(const char* server) { m_remoteHostServer = server; }
    int CustomSetup() const { return m_customSetup; }
    // 0 (express) switches on server, manager, alert and administration, and data migration
    // and the management framework as far as the medium offers them.
    void CustomSetup(int custom);
    int ExpressSetup() const { return !m_customSetup; }
    int Aborted() const { return m_abort; }
    void Abort(int on) { m_abort = on; }
    int Reboot() const { return m_reboot; }
    void Reboot(int on) { m_reboot = on; }
    int IsUpgrade() const { return m_upgrade; }
    void IsUpgrade(int on) { m_upgrade = on; }
    const char* RegisteredUser() const { return m_registeredUser; }
    void RegisteredUser(const char* user) { m_registeredUser = user; }
    const char* RegisteredCompany() const { return m_registeredCompany; }
    void RegisteredCompany(const char* company) { m_registeredCompany = company; }

    // Found on the machine.
    int DrosvaneExists() const { return m_drosvaneExists; }
    void DrosvaneExists(int on) { m_drosvaneExists = on; }
    int AlertExists() const { return m_alertExists; }
    void AlertExists(int on) { m_alertExists = on; }
    int NewAlertExists() const { return m_newAlertExists; }
    void NewAlertExists(int on) { m_newAlertExists = on; }
    int VexilanExists() const { return m_vexilanExists; }
    void VexilanExists(int on) { m_vexilanExists = on; }
    int ClientAgentExists() const { return m_clientAgentExists; }
    void ClientAgentExists(int on) { m_clientAgentExists = on; }
    int DBExists() const { return m_dbExists; }
    void DBExists(int on) { m_dbExists = on; }
    int QueueExists() const { return m_queueExists; }
    void QueueExists(int on) { m_queueExists = on; }

    // Directories: every setter stores the path with exactly one trailing back-slash (none when
    // it is empty).
    const char* CurrentDrosvanePath() const { return m_currentDrosvanePath; }
    void CurrentDrosvanePath(const char* path);
    const char* CurrentAlertPath() const { return m_currentAlertPath; }
    void CurrentAlertPath(const char* path);
    const char* CurrentClientAgentPath() const { return m_currentClientAgentPath; }
    void CurrentClientAgentPath(const char* path);
    const char* DrosvanePath() const { return m_drosvanePath; }
    void DrosvanePath(const char* path);
    const char* AlertPath() const { return m_alertPath; }
    void AlertPath(const char* path);
    const char* ClientAgentPath() const { return m_clientAgentPath; }
    void ClientAgentPath(const char* path);

    // Service logon account.
    const char* SystemAccountServer() const { return m_systemAccountServer; }
    void SystemAccountServer(const char* server) { m_systemAccountServer = server; }
    const char* SystemAccountDomain() const { return m_systemAccountDomain; }
    void SystemAccountDomain(const char* domain) { m_systemAccountDomain = domain; }
    const char* SystemAccountName() const { return m_systemAccountName; }
    void SystemAccountName(const char* name) { m_systemAccountName = name; }
    const char* SystemAccountPassword() const { return m_systemAccountPassword; }
    void SystemAccountPassword(const char* password) { m_systemAccountPassword = password; }

    // Components: a getter is TRUE when every bit of its constant is set; a setter sets the
    // bits for a non-zero argument and clears them for zero.
    unsigned Components() const { return m_components; }
    void Components(unsigned mask) { m_components = mask; }
    int InstallManager() const { return HasComponent(INSTALL_MANAGER); }
    void InstallManager(int on) { SetComponent(INSTALL_MANAGER, on); }
    int InstallServer() const { return HasComponent(INSTALL_SERVER); }
    void InstallServer(int on) { SetComponent(INSTALL_SERVER, on); }
    int InstallAdmin() const { return HasComponent(INSTALL_ADMIN); }
    void InstallAdmin(int on) { SetComponent(INSTALL_ADMIN, on); }
    int InstallAlert() const { return HasComponent(INSTALL_ALERT); }
    void InstallAlert(int on) { SetComponent(INSTALL_ALERT, on); }
    int InstallHSM() const { return HasComponent(INSTALL_HSM); }
    void InstallHSM(int on) { SetComponent(INSTALL_HSM, on); }
    int InstallOVG() const { return HasComponent(INSTALL_OVG); }
    void InstallOVG(int on) { SetComponent(INSTALL_OVG, on); }
    int InstallAV() const { return HasComponent(INSTALL_AV); }
    void InstallAV(int on) { SetComponent(INSTALL_AV, on); }
    int UninstallDrosvane() const { return HasComponent(UNINSTALL_DROSVANE); }
    void UninstallDrosvane(int on) { SetComponent(UNINSTALL_DROSVANE, on); }
    int UninstallAlert() const { return HasComponent(UNINSTALL_ALERT); }
    void UninstallAlert(int on) { SetComponent(UNINSTALL_ALERT, on); }
    // TRUE when the manager, the server or the administration is chosen.
    int InstallDrosvane() const;

    // Database.
    unsigned Databases() const { return m_databases; }
    void Databases(unsigned mask) { m_databases = mask; }
    int InstallSQL() const { return HasDatabase(INSTALL_SQL); }
    void InstallSQL(int on) { SetDatabase(INSTALL_SQL, on); }
    int InstallRAIMA() const { return HasDatabase(INSTALL_RAIMA); }
    void InstallRAIMA(int on) { SetDatabase(INSTALL_RAIMA, on); }
    int UninstallSQL() const { return HasDatabase(UNINSTALL_SQL); }
    void UninstallSQL(int on) { SetDatabase(UNINSTALL_SQL, on); }
    int OverwriteDB() const { return m_overwriteDB; }
    void OverwriteDB(int on) { m_overwriteDB = on; }
    int DeleteQueue() const { return m_deleteQueue; }
    void DeleteQueue(int on) { m_deleteQueue = on; }
    int AutoStartServices() const { return m_autoStartServices; }
    void AutoStartServices(int on) { m_autoStartServices = on; }
    int InstallDBType() const { return m_installDBType; }
    void InstallDBType(int type) { m_installDBType = type; }

    // What the medium offers.
    int HSMAvailable() const { return m_hsmAvailable; }
    void HSMAvailable(int on) { m_hsmAvailable = on; }
    int OVGFWAvailable() const { return m_ovgfwAvailable; }
    void OVGFWAvailable(int on) { m_ovgfwAvailable = on; }
    const char* OVGFWSetupFileName() const { return m_ovgfwSetupFileName; }
    void OVGFWSetupFileName(const char* name) { m_ovgfwSetupFileName = name; }
    const char* LaunchSetupProductName() const { return m_launchSetupProductName; }
    void LaunchSetupProductName(const char* name) { m_launchSetupProductName = name; }
    const char* LaunchSetupFileName() const { return m_launchSetupFileName; }
    void LaunchSetupFileName(const char* name) { m_launchSetupFileName = name; }
    int ChangerAvailable() const { return m_changerAvailable; }
    void ChangerAvailable(int on) { m_changerAvailable = on; }
    int RAIDAvailable() const { return m_raidAvailable; }
    void RAIDAvailable(int on) { m_raidAvailable = on; }
    int ProductSubType() const { return m_productSubType; }
    void ProductSubType(int type) { m_productSubType = type; }
    int ReplaceAlert() const { return m_replaceAlert; }
    void ReplaceAlert(int on) { m_replaceAlert = on; }
    const char* ComponentCode() const { return m_componentCode; }
    void ComponentCode(const char* code) { m_componentCode = code; }
    const char* Product() const { return m_product; }
    void Product(const char* product) { m_product = product; }

    // Room the chosen components need; 0 when none is chosen.
    unsigned long DiskSpaceNeeded() const;
    // TRUE when the product (the alert component) is not on the machine yet, or goes to
    // another folder than the one it is in.
    int NewDrosvaneInstall() const;
    int NewAlertInstall() const;

private:
    int HasComponent(unsigned bits) const { return (m_components & bits) == bits; }
    void SetComponent(unsigned bits, int on) { on ? AddComponent(bits) : RemoveComponent(bits); }
    void AddComponent(unsigned bits) { m_components |= bits; }
    void RemoveComponent(unsigned bits) { m_components &= ~bits; }
    int HasDatabase(unsigned bits) const { return (m_databases & bits) == bits; }
    void SetDatabase(unsigned bits, int on) { on ? AddDatabase(bits) : RemoveDatabase(bits); }
    void AddDatabase(unsigned bits) { m_databases |= bits; }
    void RemoveDatabase(unsigned bits) { m_databases &= ~bits; }

    CString m_productName;
    CString m_productShortName;
    CString m_editionName;
    CString m_profile;
    CString m_traceFile;
    CString m_sourcePath;
    CString m_batchFile;
    CString m_mifFile;
    CString m_programGroupName;
    CString m_logFile;
    int m_productType = 0;
    int m_ignoreErrors = 0;
    int m_trace = 0;
    int m_batchOperation = 0;
    int m_mif = 0;
    int m_configurationOnly = 0;
    int m_copyOnlyMode = 0;
    CString m_fixNumber;
    int m_forceOperation = 0;
    int m_uninstallAll = 0;

    int m_uninstall = 0;
    int m_remoteSetup = 0;
    CString m_remoteHostServer;
    int m_customSetup = 0;
    int m_abort = 0;
    int m_reboot = 0;
    int m_upgrade = 0;
    CString m_registeredUser;
    CString m_registeredCompany;
    int m_drosvaneExists = 0;
    int m_alertExists = 0;
    int m_newAlertExists = 0;
    int m_vexilanExists = 0;
    int m_clientAgentExists = 0;
    int m_dbExists = 0;
    int m_queueExists = 0;
    CString m_currentDrosvanePath;
    CString m_currentAlertPath;
    CString m_currentClientAgentPath;
    CString m_drosvanePath;
    CString m_alertPath;
    CString m_clientAgentPath;
    CString m_systemAccountServer;
    CString m_systemAccountDomain;
    CString m_systemAccountName;
    CString m_systemAccountPassword;
    unsigned m_components = 0;
    int m_hsmAvailable = 0;
    int m_ovgfwAvailable = 0;
    CString m_ovgfwSetupFileName;
    CString m_launchSetupProductName;
    CString m_launchSetupFileName;
    int m_changerAvailable = 0;
    int m_raidAvailable = 0;
    int m_productSubType = 0;
    int m_replaceAlert = 0;
    CString m_componentCode;
    CString m_product;
    unsigned m_databases = INSTALL_RAIMA;
    int m_overwriteDB = 0;
    int m_deleteQueue = 0;
    int m_autoStartServices = 0;
    int m_installDBType = 2;
};
