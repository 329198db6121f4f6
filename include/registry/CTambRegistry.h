// CTambRegistry: the product's registry layout and everything setup reads from or writes to it.
//
// Layout under HKEY_LOCAL_MACHINE (current generation, default root):
//   SOFTWARE\Brannoch\BN Drosvane Backup\Base\Path        HOME, DATABASE, LOG, TEMP   REG_SZ
//   ...\Base\User                                          Name, Org                   REG_SZ
//   ...\Base\Components                                    MANAGER, SERVER, ADMIN      REG_DWORD
//   ...\Base\Database                                      DatabaseType                REG_DWORD
//   ...\Base\SNMP                                          Pathname                    REG_SZ
//   SOFTWARE\Brannoch\BN Drosvane Backup\Products          one record a product        REG_BINARY (49)
//   SOFTWARE\Brannoch\BN Drosvane Backup\ClientAgent\Common  Path                      REG_SZ
//
// The maker key, the product key and its Base key are the texts the account tool library
// QWTOOL.DLL writes when it and its entries are present (the brand decides them); they and the texts derived from them
// are process-wide and rewritten by every construction. The static setters and getters use what
// the last construction left; before any construction they hold the defaults above.
//
// The product is 32-bit: its keys live in the 32-bit view of HKEY_LOCAL_MACHINE\SOFTWARE
// (SOFTWARE\Wow6432Node on a 64-bit system), which is where the product's 32-bit installers
// have always written; both builds of this library (32-bit and 64-bit) open, create and delete
// them in that view explicitly. Reading falls back to the fixed keys of earlier releases so that an
// upgrade finds an earlier installation.
//
// Static operations work on the local HKEY_LOCAL_MACHINE (the getters on a root key given by
// the caller, null meaning HKEY_LOCAL_MACHINE) and answer 1 for success, 0 for failure. An
// object adds a cache of the values read, the installation settings it was built from, and
// optionally a connection to another machine's registry, which only the object getters use.
#pragma once

#include "CSettings.h"
#include "CString.h"

#include <cstddef>
#include <memory>

// The product record, stored as a REG_BINARY value of exactly 49 bytes named after the product.
#pragma pack(push, 1)
struct tagProductStruct {
    unsigned long dwProductCode;
    unsigned char reserved1[4];
    unsigned short wVersionNumber;  // major in the high byte, minor in the low byte
    unsigned short wBuildNumber;
    char chSubType;
    unsigned char reserved2[3];
    unsigned long dwUserLevel;
    unsigned char reserved3[29];
};
#pragma pack(pop)

static_assert(sizeof(tagProductStruct) == 49, "tagProductStruct is 49 bytes");
static_assert(offsetof(tagProductStruct, dwProductCode) == 0, "tagProductStruct layout");
static_assert(offsetof(tagProductStruct, reserved1) == 4, "tagProductStruct layout");
static_assert(offsetof(tagProductStruct, wVersionNumber) == 8, "tagProductStruct layout");
static_assert(offsetof(tagProductStruct, wBuildNumber) == 10, "tagProductStruct layout");
static_assert(offsetof(tagProductStruct, chSubType) == 12, "tagProductStruct layout");
static_assert(offsetof(tagProductStruct, reserved2) == 13, "tagProductStruct layout");
static_assert(offsetof(tagProductStruct, dwUserLevel) == 16, "tagProductStruct layout");
static_assert(offsetof(tagProductStruct, reserved3) == 20, "tagProductStruct layout");

class SETUPCLS_API CTambRegistry {
public:
    // ---- Root strings: filled by every construction (see above). ----
    static CString m_sTamberlyKey;        // maker key, "SOFTWARE\Brannoch"
    static CString m_sDrosvaneKey;        // product key, "SOFTWARE\Brannoch\BN Drosvane Backup"
    static CString m_sDrosvaneBaseKey;    // product key + "\Base"
    static CString m_sProductsKey;        // product key + "\Products"
    static CString m_sAgentKey;           // product key + "\ClientAgent\Common"
    static CString m_sDrosvane;           // last component of the product key
    static CString m_sQuellmarshProdKey;  // last component of the Products key's parent
    static CString m_sProductDrosvane;    // value name of the product's own record

    // ---- Sub keys and value names of the product key. ----
    static const char* const m_sPathSubKey;
    static const char* const m_sComponentsSubKey;
    static const char* const m_sUserSubKey;
    static const char* const m_sDatabaseSubKey;
    static const char* const m_sSNMPSubKey;
    static const char* const m_sDomainSubKey;
    static const char* const m_sOldComponentsSubKey;
    static const char* const m_sOldPathSubKey;
    static const char* const m_sHome;
    static const char* const m_sDatabase;
    static const char* const m_sLog;
    static const char* const m_sTemp;
    static const char* const m_sManager;
    static const char* const m_sServer;
    static const char* const m_sAdmin;
    static const char* const m_sPatron;
    static const char* const m_sCPManager;
    static const char* const m_sDRWiz;
    static const char* const m_sSANWiz;
    static const char* const m_sRegisteredName;
    static const char* const m_sRegisteredOrg;
    static const char* const m_sDatabaseType;
    static const char* const m_sPathname;
    static const char* const m_sPath;
    static const char* const m_sProducts;
    static const char* const m_sOldProducts;
    static const char* const m_sSoftwareKey;
    static const char* const m_sTamberly;
    static const char* const m_sMicrosoftKey;
    static const char* const m_sRegisteredOwner;
    static const char* const m_sRegisteredOrganization;

    // ---- Key generations of earlier releases, still read. ----
    // 11.5
    static const char* const m_sZOR115Key;
    static const char* const m_sZOR115BaseKey;
    static const char* const m_sZOR115ProductsKey;
    static const char* const m_sZOR115AgentKey;
    static const char* const m_sProductZOR115;
    // The current generation at its fixed default place, whatever the brand says.
    static const char* const m_sZORKey;
    static const char* const m_sZORBaseKey;
    static const char* const m_sZORProductsKey;
    static const char* const m_sZORAgentKey;
    static const char* const m_sProductZOR;
    // Enterprise.
    static const char* const m_sZULKey;
    static const char* const m_sZULBaseKey;
    static const char* const m_sZULProductsKey;
    static const char* const m_sZULAgentKey;
    static const char* const m_sProductZUL;
    // IT.
    static const char* const m_sOldDrosvaneITKey;
    static const char* const m_sOldDrosvaneBaseKeyDrosvane;
    static const char* const m_sOldDrosvaneITProductsKey;
    static const char* const m_sOldDrosvaneITAgentKey;
    static const char* const m_sProductDrosvaneOld;
    // Oldest, under the former maker's key.
    static const char* const m_sOldDrosvaneKey;
    static const char* const m_sOldDrosvaneBaseKey;
    static const char* const m_sOldProductsKey;
    static const char* const m_sOldAgentKey;
    static const char* const m_sProductOmnivale125;
    static const char* const m_sOldDSAgentProductsKey;
    // The enterprise product of a still earlier naming.
    static const char* const m_sQuellmarshEnterpriseKey;
    static const char* const m_sQuellmarshEnterpriseBaseKey;
    static const char* const m_sQuellmarshEnterpriseProductsKey;
    // The patch manager keeps its own record, "PM".
    static const char* const m_sPatchManagerProductsKey;
    static const char* const m_sPatchManagerProduct;
    // The alert component (read by Read).
    static const char* const m_sAlertKey;
    static const char* const m_sOldAlertKey;
    static const char* const m_sCurrentBuildNumber;
    // Root names.
    static const char* const m_sZOR115RootKey;
    static const char* const m_sZORRootKey;
    static const char* const m_sKestrixRootKey;
    static const char* const m_sDrosvaneITRootKey;
    static const char* const m_sDrosvaneOld;
    static const char* const m_sOldTamberlyKey;
    static const char* const m_sOldDrosvaneMakerKey;
    // Product record names of the two editions.
    static const char* const m_sEditionAB;
    static const char* const m_sEditionEB;
    // Registration: the storage management centre's products, the records of replaced
    // products, the Windows uninstall entries and shared-DLL counts, the maker's list of
    // installed products.
    static const char* const m_sSQMKey;
    static const char* const m_sBNOldProducts;
    static const char* const m_sUninstallKey;
    static const char* const m_sDrosvaneUninstallKey;
    static const char* const m_sUninstallCommand;
    static const char* const m_sDisplayName;
    static const char* const m_sUninstallString;
    static const char* const m_sSharedDLLKey;
    static const char* const m_sBNInstalledITProducts;
    static const char* const m_sProductCode;

    // ---- Construction. ----
    // read != 0 calls Read. machine: another computer whose registry the object getters read;
    // null, empty or the local name (in any case) mean this computer.
    explicit CTambRegistry(int read = 0, const char* machine = nullptr);
    // Keeps a copy of the settings, allows writing; write != 0 calls Write. With write == 0 the
    // product's record name is taken from the settings' product sub type.
    CTambRegistry(const CSettings& settings, int write = 0, const char* machine = nullptr);
    CTambRegistry(const CTambRegistry& other);
    CTambRegistry& operator=(const CTambRegistry& other);
    ~CTambRegistry();

    // Fills the cache from the registry; always 1.
    int Read();
    // Writes the installation from the settings; 1 only when every step succeeded.
    int Write();

    // ---- Object getters: refresh the cache through the object's registry root and return it;
    // a value that cannot be read leaves the cached one. ----
    const char* GetRegisteredOwner();
    const char* GetRegisteredOrganization();
    const char* GetDrosvaneHomeDir();
    const char* GetDrosvaneDBDir();
    const char* GetDrosvaneLogDir();
    const char* GetDrosvaneTempDir();
    const char* GetAlertHomeDir();
    const char* GetClientAgentHomeDir();
    unsigned long GetDrosvaneUserLevel();
    unsigned long GetDrosvaneProductCode();
    unsigned short GetDrosvaneVersionNumber();
    unsigned short GetDrosvaneBuildNumber();
    unsigned char GetDrosvaneSubType();
    unsigned short GetAlertBuildNumber();
    const tagProductStruct* GetDrosvaneProductInfo();
    int IsDrosvaneInstalled();
    unsigned long AccessMode() const { return m_dwAccess; }
    const char* MachineName() const { return m_sMachine; }

    // ---- Object setters: values from the settings, written as they stand; 0 unless a bit of
    // KEY_WRITE is in the access mode. ----
    int SetDrosvaneHomeDir();    // product path
    int SetDrosvaneDBDir();      // product path + "DATABASE"
    int SetDrosvaneLogDir();     // product path + "LOG"
    int SetDrosvaneTempDir();    // product path + "TEMP"
    int SetClientAgentHomeDir(); // client agent path
    int SetDrosvaneUser();       // system account through QWTOOL.DLL, then the registered user
    int SetDrosvaneCompany();    // registered company
    int SetDrosvaneManager();
    int SetDrosvaneServer();
    int SetDrosvaneAdmin();
    int SetDrosvaneDatabase();   // database type

    // ---- Static setters: create the key under the local HKEY_LOCAL_MACHINE, write one value.
    static int SetDrosvaneHomeDir(const char* dir);
    static int SetDrosvaneDBDir(const char* dir);
    static int SetDrosvaneLogDir(const char* dir);
    static int SetDrosvaneTempDir(const char* dir);
    static int SetDrosvaneUser(const char* user);
    static int SetDrosvaneCompany(const char* company);
    static int SetDrosvaneManager(int on);
    static int SetDrosvaneServer(int on);
    static int SetDrosvaneAdmin(int on);
    static int SetDrosvaneDatabase(int type);
    static int SetAgentHomeDir(const char* dir);

    // ---- Static getters. size: in, the buffer's bytes; out, the bytes read with the NUL. The
    // buffer is emptied first; 1 when a value was found. The search stops at the first key whose
    // value is read whole; a value too long for the buffer or not a text is passed over. When
    // nothing is found: 0, empty buffer. ----
    static int GetDrosvaneHomeDir(char* buffer, unsigned long& size, HKEY root = nullptr);
    static int GetDrosvaneDBDir(char* buffer, unsigned long& size, HKEY root = nullptr);
    static int GetDrosvaneLogDir(char* buffer, unsigned long& size, HKEY root = nullptr);
    static int GetDrosvaneTempDir(char* buffer, unsigned long& size, HKEY root = nullptr);
    static int GetAgentHomeDir(char* buffer, unsigned long& size, HKEY root = nullptr);
    static int GetAlertHomeDir(char* buffer, unsigned long& size, HKEY root = nullptr);
    static int GetRegisteredOwner(char* buffer, unsigned long& size, HKEY root = nullptr);
    static int GetRegisteredOrganization(char* buffer, unsigned long& size, HKEY root = nullptr);
    static int GetAlertBuildNumber(unsigned short* build, HKEY root = nullptr);
    // HOME of the current generation at its fixed place, natural view first, then the
    // Wow6432Node path; the registry status of the last attempt.
    static long GetTalvikDrosvane_LocalHomeDir(char* buffer, unsigned long& size);

    // ---- Product records. The record is zeroed first; the size is asked, then the record's 49
    // bytes are read: 1 when that read succeeded (a shorter value leaves the rest zero, a
    // longer one is passed over). ----
    // The product's own record, through the key generations.
    static int GetDrosvaneProductInfo(tagProductStruct* record, HKEY root = nullptr);
    // Any product's record by name, each Products key tried in its Wow6432Node path first.
    static int GetProductInfo(const char* name, tagProductStruct* record, HKEY root = nullptr);
    static unsigned long GetProductCode(const char* name);      // 0 when not found
    static unsigned short GetVersionNumber(const char* name);   // 0 when not found
    static unsigned short GetBuildNumber(const char* name);     // 0 when not found
    static unsigned char GetSubType(const char* name);          // 0 when not found
    static int IsProductInstalled(const char* name);
    static int IsProductInstalled(const char* name, HKEY root);

    // ---- Registration (CTambRegistryRegistration.cpp). Writes go to the local
    // HKEY_LOCAL_MACHINE. Null or empty names and keys give 0 (or do nothing) and touch nothing,
    // except where said otherwise below.

    // The record as a 49-byte REG_BINARY named name, under the Products key ("PM", the patch
    // manager, under its own Products key). Unregistering always works on the product's
    // Products key: it deletes the value name and drops the Products key once it holds no value;
    // a name that is not there, or a null one (no value deleted), still drops an empty key.
    static int RegisterProduct(const char* name, tagProductStruct* record);
    static void UnregisterProduct(const char* name);
    // The same under the storage management centre's key.
    static int RegisterProduct_SQM(const char* name, tagProductStruct* record);
    static void UnregisterProduct_SQM(const char* name);
    static int IsProductInstalled_SQM(const char* name, HKEY root = nullptr);
    // The record found (see GetProductInfo) is of version major.minor exactly.
    static int IsProductInstalled(const char* name, unsigned short major, unsigned short minor);
    // Before an upgrade to major.minor: a strictly older record of name is copied to
    // BNOldProducts (6.6 and later) or OldProducts (before 6.6) below the product key, then
    // removed from the oldest generation's Products key. 1 when copied.
    static int SavePerviousRegisterProduct(const char* name, unsigned short major, unsigned short minor);
    static void UnregisterTamberlyProduct(const char* name);

    // Add or Remove Programs: DisplayName and UninstallString under the Uninstall key's subKey.
    // Before Windows NT 4.0 nothing is written and the answer is 1, whatever the arguments.
    static int CreateUninstallKey(const char* subKey, const char* displayName, const char* uninstallString);
    static void DeleteUninstallKey(const char* subKey);
    // The entry "DrosvaneNT" from the settings' product name and path, as they stand.
    int CreateDrosvaneUninstallKey();
    static void DeleteDrosvaneUninstallKey();

    // Windows' reference count of a shared file, named by its full path. keep != 0 writes an
    // existing count back unchanged; a missing count starts at 1. 1 when written; 0 when the
    // SharedDLLs key is missing.
    static int IncrementSharedDLLCount(const char* path, int keep);
    // The count less one, deleted at 0; a stored 0 wraps to 4294967295 and is kept. The new
    // count; 0 when none could be read.
    static unsigned long DecrementSharedDLLCount(const char* path);

    // The product among the maker's installed products (DisplayName, ProductCode: the settings'
    // component code as it stands), for the editions with a sub type other than 0 and 1; 1 with
    // nothing written for those two.
    int SetBNITProduct();
    static void DeleteBNITProductBranch();

    // Keys and values below the maker key and below the product key. Delete removes a key
    // without sub keys only. Query: type and data may be null (data null asks for the size).
    static int AddTamberlyKey(CString key);
    static void DeleteTamberlyKey(CString key);
    static int SetTamberlyKeyValue(CString key, CString value, unsigned long type, const unsigned char* data,
                                   unsigned long size);
    static int QueryTamberlyKeyValue(CString key, CString value, unsigned long* type, unsigned char* data,
                                     unsigned long* size);
    static int AddDrosvaneKey(CString key);
    static void DeleteDrosvaneKey(CString key);
    static int SetDrosvaneKeyValue(CString key, CString value, unsigned long type, const unsigned char* data,
                                   unsigned long size);
    static int QueryDrosvaneKeyValue(CString key, CString value, unsigned long* type, unsigned char* data,
                                     unsigned long* size);

    // Name and Org of the product's \User key, through the key generations in the order of the
    // DATABASE, LOG and TEMP directories. Static forms as the directory getters; object forms
    // refresh a cache through the object's registry root.
    static int GetDrosvaneUserName(char* buffer, unsigned long& size, HKEY root = nullptr);
    static int GetDrosvaneOrganization(char* buffer, unsigned long& size, HKEY root = nullptr);
    const char* GetDrosvaneUserName();
    const char* GetDrosvaneOrganization();

    // "A\B\C" -> "A\Wow6432Node\B\C"; "A" -> "A\Wow6432Node\"; "" -> "\Wow6432Node\".
    static CString Wow6432Node(CString key);

    // ---- The key texts. Root-derived ones are valid until the next construction. ----
    static const char* GetDrosvaneBaseKey();
    static const char* GetDrosvaneKey();
    static const char* GetDrosvaneITRootKey();
    static const char* GetZOR115RootKey();
    static const char* GetZORRootKey();
    static const char* GetQuellmarshProdKey();      // the Products key
    static const char* GetQuellmarshProdName();     // the product's record name
    static const char* GetQuellmarshProdRootKey();  // the product root's own name
    static const char* GetKestrixRootKey();
    static const char* OldDrosvaneBaseKey();
    static const char* OldDrosvaneKey();
    static const char* OldAgentKey();
    static const char* OldTamberlyKey();
    static const char* OldProductsKey();

    // ---- Alert component, event log, SNMP agents, environment (CTambRegistryAlert.cpp). Static
    // forms write one value under the local HKEY_LOCAL_MACHINE (the alert key in the product's
    // 32-bit view); object forms take the value from the settings and answer 0 unless a bit of
    // KEY_WRITE is in the access mode. ----
    static const char* const m_sALERT;                  // "ALERT"
    static const char* const m_sAlert;                  // "Alert Notification Server", its event source
    static const char* const m_sCurrentBuild;           // "CurrentBuild"
    static const char* const m_sInstallDate;            // "InstallDate"
    static const char* const m_sControl;                // "CONTROL"
    static const char* const m_sEventLog;               // "EVENTLOG"
    static const char* const m_sRegisteredCompany;      // "Company"
    static const char* const m_sRegisteredLocation;     // "Location"
    static const char* const m_sEventMessageFile;       // "EventMessageFile"
    static const char* const m_sTypesSupported;         // "TypesSupported"
    static const char* const m_sVexilanKey;             // the anti-virus server's service key
    static const char* const m_sEventLogKey;            // "SYSTEM\CurrentControlSet\Services\EventLog\Application"
    static const char* const m_sSNMPExtensionAgentsKey; // "SYSTEM\...\SNMP\Parameters\ExtensionAgents"
    static const char* const m_sEnvironmentKey;         // "SYSTEM\...\Session Manager\Environment"

    static int SetAlertCurrentBuild(const char* build);
    static int SetAlertCurrentBuildNumber(const char* build);
    static int SetAlertInstallDate(unsigned long secondsSince1970);
    static int SetAlertRegisteredOwner(const char* owner);
    static int SetAlertRegisteredOrganization(const char* organization);
    static int SetAlertHomeDir(const char* dir);
    static int SetAlertLogDir(const char* dir);
    static int SetAlertControlDir(const char* dir);
    static int SetAlertEventLogDir(const char* dir);
    static int SetAlertCompany(const char* company);
    static int SetAlertLocation(const char* location);
    int SetAlertCurrentBuild();           // 0, writing nothing, when ALERT.EXE is not in the alert path
    int SetAlertCurrentBuildNumber();
    int SetAlertInstallDate();            // now, in seconds since 1970-01-01 UTC
    int SetAlertRegisteredOwner();
    int SetAlertRegisteredOrganization();
    int SetAlertHomeDir();
    int SetAlertLogDir();
    int SetAlertControlDir();             // the Windows folder
    int SetAlertEventLogDir();
    int SetAlertCompany();
    int SetAlertLocation();               // the registered company, as the company
    // An event source of the Application log: its message file and the event types it reports.
    static int SetEventLogApplication(const char* source, const char* messageFile, unsigned long types);
    int SetAlertEventLog();
    // The product's SNMP agent: its DLL's path under the Base key, and the agent among the SNMP
    // service's extension agents (numbered after the greatest number; a missing SNMP service is
    // no error).
    static int SetDrosvaneSNMPPath(const char* path);
    int SetDrosvaneSNMPPath();
    static int SetSNMPRegistry(const char* agentKey);
    static int DeleteSNMPRegistry(const char* agentKey);
    int CreateDrosvaneSNMPKey();
    int DeleteDrosvaneSNMPKey();
    // System environment variables (HKEY_LOCAL_MACHINE's Session Manager); the getter reads the
    // current user's. No change is broadcast.
    static int SetEnvironmentVariableA(const char* name, const char* value);
    static int GetEnvironmentVariableA(const char* name, char* buffer, unsigned long* size);
    static int DeleteEnvironmentVariable(const char* name);
    // LNNAME = "DROSVANE", then RNNAME = the computer name; 1 only when both were written.
    int SetDrosvaneEnvironmentVariables();
    // CATPATH = the product path + "DATABASE".
    int SetDrosvaneCatalogPath();

    // ---- Shell extension and job script files (CTambRegistryShell.cpp). ----
    static const char* const m_sDrosvaneShellExtension;
    static const char* const m_sDrosvaneShellExtensionCLSID;
    static const char* const m_sDrosvaneShellExtensionCLSIDKey;
    static const char* const m_sDrosvaneShellExtensionInProcServerKey;
    static const char* const m_sThreadingModel;
    static const char* const m_sShellExtApprovedKey;
    static const char* const m_sDrivePropertySheetHandler;
    static const char* const m_sDriveMenuHandler;
    static const char* const m_sDirMenuHandler;
    static const char* const m_sAllMenuHandler;
    static const char* const m_sDrosvaneScriptExtension;
    static const char* const m_sDrosvaneScriptFile;
    static const char* const m_sDrosvaneScriptDefaultIcon;
    static const char* const m_sDrosvaneScriptFileShellExtension;
    static const char* const m_sDrosvaneScriptIconHandler;
    static const char* const m_sDrosvaneScriptMenuHandler;
    static const char* const m_sDrosvaneScriptMenuHandlerCLSID;
    static const char* const m_sDrosvaneScriptPropertySheetHandler;
    static const char* const m_sDrosvaneScriptPropertySheetHandlerCLSID;
    static const char* const m_sDrosvaneShellExtensionOld;
    // dir: the product folder, ending in a back-slash.
    static int SetDrosvaneShellExtension(const char* dir);
    static int DeleteDrosvaneShellExtension(const char* dir);
    int SetDrosvaneShellExtension();
    int DeleteDrosvaneShellExtension();

    // ---- Database and daemon tuning values under Base\Database (CTambRegistryTuning.cpp). ----
    static const char* const m_sDaemonSize;     // "BackupDaemonBufferSize"
    static const char* const m_sPruningFlag;    // "EnableDatabasePruning"
    static const char* const m_sDelayFlag;      // "EnableDelayPruning"
    static const char* const m_sPruningDays;    // "PruningDays"
    static const char* const m_sPruningTime;    // "PruningTime"
    static const char* const m_sSmartReaction;  // "SmartReaction"
    static int SetDrosvaneDatabase(unsigned long type);
    static int SetBackupDaemonBufferSize(unsigned long size);
    static int SetDatabasePruning(unsigned long on);
    static int SetDelayPruning(unsigned long on);
    static int SetPruningDays(unsigned long days);
    static int SetPruningTime(unsigned long time);
    // The registry status; type is set when the value was read.
    static unsigned long GetDrosvaneDatabase(unsigned long& type);
    static void DeleteSmartReactionBranch();

    // ---- Earlier products' keys, migration and uninstall clean-up (CTambRegistryMigration.cpp). ----
    // Keys under HKEY_LOCAL_MACHINE\SOFTWARE in the product's 32-bit view; a root of null means
    // HKEY_LOCAL_MACHINE.
    static const char* const m_sProfileListKey;  // "SOFTWARE\Microsoft\Windows NT\CurrentVersion\ProfileList"
    // Every key below key, deepest first; key itself stays. 1 when all went; 0 for a null root,
    // an empty key, a key that cannot be opened or a sub key that could not be deleted.
    static int DeleteSubKeys(HKEY root, const char* key);
    // A key of the oldest generation, named below "SOFTWARE\Tamberly" or by its full path there:
    // its tree, then the key, then "SOFTWARE\Tamberly" once nothing else is below it.
    static void DeleteOldDrosvaneKey(CString key);
    // ImagePath of the database agents' RPC service becomes path (REG_EXPAND_SZ) when it differs
    // in more than letter case and path, its variables expanded, names an existing file.
    static void UpdateRPCImagePath(CString path);
    // The database agents' records (names beginning "dba", 49 bytes at most) of the oldest
    // generation copied to / removed from "SOFTWARE\Brannoch\DrosvaneIT\OldDBAgents".
    void CreateOldProdDscrpt();
    void DeleteOldProdDscrpt();
    // Database agents of one installation. generation: 0 the product's own keys, 1 the 11.5
    // generation, 2 IT, 3 the oldest (agents under "SOFTWARE\Tamberly\DSAgent\CurrentVersion"),
    // 4 the enterprise generation, 5 the enterprise product of the earlier naming; any other
    // number gives 0 and does nothing. A record whose name begins "dba" is a database agent's.
    // 1 when a database agent other than agent (in any letter case) has a record; found names
    // the first (else empty).
    static int ExistOther_DBAgents(CString agent, int generation, CString& found);
    // The agent's folder: Path of the agent's "Common" key, else the client agent's Path, else
    // the product's HOME, in that installation. size: in, the buffer's bytes; out, the bytes read.
    static int GetDBAgentHomeDir(CString agent, char* buffer, unsigned long* size, int generation, HKEY root);
    // The agent's key in that installation, with everything below it. The two agent operations
    // take one key name: a name with a back-slash, or none, gives 0 and deletes nothing.
    static void DeleteAgentSubKeys(CString agent, int generation);
    // The root key of the installation whose product record is found first (the generations'
    // order above) into buffer, which holds MAX_PATH bytes; 1 when found, else 0 and empty.
    int GetOldProductRootKey_ForUpg(char* buffer, HKEY root);
    // The product's Base key is missing while BuildNumber (REG_DWORD or decimal text) of the
    // product key's "Diagnostic" sub key is there; the beta form also wants that build to equal
    // BetaUpgVer of "mastersetup.inf" in the settings' source folder.
    int IsProductInstalledWithoutBase(HKEY root);
    int IsBetaUpgProductInstalledWithoutBase(HKEY root);
    // The sub keys the running product makes, with their trees; 1 unless one could not go.
    int DeleteDynamicKey();
    // The product's keys, when the settings uninstall the product (uninstall mode, manager,
    // server and administration); 0, touching nothing, otherwise. The maker's keys go whole only
    // when the settings uninstall everything.
    int Delete();
    // all != 0: the branch with everything below it; 0: the key alone, when nothing is below it.
    // The user branches: the current user's and those of the loaded hives of every profile.
    void DeleteDrosvaneBaseBranch();
    void DeleteDrosvaneUserBranches();
    void DeleteTamberlyUserBranches(int all);
    static void DeleteTamberlyBranch(int all);
    static void DeleteDrosvaneBranch(int all);
    void DeleteAlertBranch();

    // ---- Access rights of a registry key (CTambRegistryAccess.cpp). ----
    // Everyone reads; Backup Operators and Administrators have full control; inherited by sub
    // keys; the parent's entries cut off. key must be open with WRITE_DAC. 0 only for a null key.
    static int AddAccessPermissionOnRegistryKey(HKEY key, int wow64View);
    // The effective rights of the built-in group S-1-5-32-<rid> under the key's access list.
    static int GetBuiltinDomainAccessMaskOnKey(HKEY key, unsigned long rid, unsigned long& mask);

private:
    // The connection to another machine's registry, shared by the copies of an object and
    // released with the last of them.
    struct RemoteRoot;

    void Construct(const char* machine, int batch);
    void LoadRootStrings();
    void LoadProductName(int batch);
    void ConnectRoot(const char* machine);
    bool MayWrite() const;
    const char* Refresh(CString& cache, int (*getter)(char*, unsigned long&, HKEY));
    bool RefreshProduct(tagProductStruct& record) const;

    // The settings' system account handed to QWTOOL.DLL; failures are traced.
    void AddSystemUserAccount() const;

    unsigned long m_dwAccess;
    CString m_sRegOrganization;
    CString m_sRegOwner;
    CString m_sHomeDir;
    CString m_sDBDir;
    CString m_sLogDir;
    CString m_sTempDir;
    CString m_sAlertHomeDir;
    CString m_sClientAgentHomeDir;
    unsigned long m_dwUserLevel;
    unsigned long m_dwProductCode;
    unsigned short m_wVersionNumber;
    unsigned short m_wBuildNumber;
    unsigned long m_dwReserved;
    unsigned short m_wReserved1;
    unsigned short m_wReserved2;
    unsigned short m_wAlertBuildNumber;
    CSettings m_settings;
    HKEY m_hRoot;  // null when another machine's registry could not be reached
    tagProductStruct m_product;
    unsigned char m_bySubType;
    unsigned char m_byFlag;
    CString m_sMachine;
    std::shared_ptr<RemoteRoot> m_remote;
    CString m_sUserName;
    CString m_sOrganization;
};
