// CService: the product's services and any other service of the machine, through the service
// control manager: install, change, start and stop (in dependency order), remove, existence and
// state, a fixed access list, start types kept across an upgrade, failure actions, the program
// behind a service, and the firewall exceptions of a service's program.
//
// Two faces. An object holds the record of one service (name, display name, bare program file,
// service type, load-order group) and forwards to the statics with its own fields filled in. The
// statics take a service name, and the rest of the configuration where needed, as plain texts, so
// that any service of the machine can be driven.
//
// Every operation is synchronous, answers an int (1 success, 0 failure) unless stated, writes no
// trace line and throws nothing; the reason of a 0 is left in GetLastError. Outcomes that mean the
// work is already done count as success: installing a service that exists (1073; it keeps its old
// configuration), starting one that runs (1056), removing one marked for deletion (1072),
// stopping or removing one that does not exist (1060). A missing service is a failure for start,
// change, access list and start-type change. A null service name is refused (0,
// ERROR_INVALID_PARAMETER) before the service manager is asked.
//
// Each operation opens its own service manager and service handles and closes them before it
// returns, with two exceptions kept on purpose for the callers that rely on them: see
// GetServiceFileName and ChangeServiceInfo.
//
// Several names are also Windows names (windows.h maps StartService to StartServiceA); the
// members carry the "A" name so that the macro does not rename them.
#pragma once

#include "CString.h"

class SETUPCLS_API CService {
public:
    // The product's services.
    enum ServiceType {
        JobEngine = 0,          // "QDVJobEngine", JOBENG.EXE
        TapeEngine = 1,         // "QDVTapeEngine", TAPEENG.EXE
        DatabaseEngine = 2,     // "QDVDBEngine", DBENG.EXE
        MessageEngine = 3,      // "QDVMessageEngine", MSGENG.EXE
        AlertNotification = 4,  // "Tamberly Alert Notification Server", Alert.EXE
        Discovery = 5,          // "QDVDiscovery", QDVDSCSVC.EXE
    };

    // The record of one of the product's services; any other value gives a record of empty texts
    // and type 0.
    explicit CService(ServiceType type);
    // Any service. Null texts are allowed: a null display name becomes the name, a null group "".
    CService(const char* name, const char* binaryFile, const char* displayName, unsigned long serviceType,
             const char* loadOrderGroup);
    CService(const CService&) = default;
    CService(CService&&) = default;
    CService& operator=(const CService&) = default;
    CService& operator=(CService&&) = default;
    ~CService() = default;

    const char* Name() const { return m_name; }
    const char* DisplayName() const { return m_displayName; }
    const char* BinaryFile() const { return m_binaryFile; }
    unsigned long Type() const { return m_serviceType; }
    const char* LoadOrderGroup() const { return m_loadOrderGroup; }

    // The object face: the statics of the same names with this record's fields. The program's
    // path is the quoted text of folder, one back-slash and the binary file (a folder that ends
    // in a back-slash gets no second one; an empty or null folder gives "\"\\<file>\"").
    int InstallService(const char* folder, int startType, const char* account, const char* password) const;
    int ChangeService(const char* folder, int startType, const char* account, const char* password) const;
    int Exists() const;
    int IsStarted() const;
    int IsStopped() const;
    int StartServiceA(int wait) const;
    int StopService(int wait, int stopDependents) const;
    int RemoveService() const;
    int AddAccessPermission() const;
    int BackupServiceStatus(const char* key) const;
    int RestoreServiceStatus(const char* key) const;  // with this record's display name

    // Creates the service (own process types: the given group; kernel and file-system drivers,
    // types 1 and 2: group "Filter" whatever is given), error control normal, no tag.
    // dependencies is a list of names each ending in a NUL, closed by one more NUL, or null.
    static int InstallService(const char* name, const char* displayName, const char* binaryPath,
                              unsigned long serviceType, int startType, const char* loadOrderGroup,
                              const char* dependencies, const char* account, const char* password);
    // Changes the configuration: error control is always set to normal; a null text leaves its
    // item unchanged, SERVICE_NO_CHANGE (0xFFFFFFFF) a number. The group rule of InstallService.
    static int ChangeService(const char* name, const char* displayName, const char* binaryPath,
                             unsigned long serviceType, int startType, const char* loadOrderGroup,
                             const char* dependencies, const char* account, const char* password);

    // 1 when the service can be opened.
    static int ServiceExists(const char* name);
    // 1 when a key of that name (any letter case) is under the services key of the machine; a
    // null or empty machine, or the local machine's name, is this machine. Another machine is
    // reached through its remote registry.
    static int ServiceExists(const char* machine, const char* name);
    // Started: the service opens and is in any state but stopped (pending states count).
    static int IsStarted(const char* name);
    // Stopped: 1 unless the service opens and is in a state other than stopped (a missing service
    // is stopped).
    static int IsStopped(const char* name);

    // Starts the service. With wait non-zero the call follows the service's own wait hints for
    // as long as its check point advances, and answers 1 when it runs or is still starting.
    static int StartServiceA(const char* name, int wait);
    // Starts the services whose DependOnService names this one (exact letter case), each by name
    // with the same wait, in the order of the services key; 1 when every start succeeded.
    static int StartDependentServices(const char* name, int wait);
    // Stops the service; 1 when it is stopped, already stopping (not waited for), or missing.
    // With wait non-zero the call polls once a second, for the service's stop wait hint in
    // seconds plus one at most. A stop refused because dependents run (1051) is retried once
    // after stopping the direct dependents when stopDependents is non-zero.
    static int StopService(const char* name, int wait, int stopDependents);
    // Stops (waiting, without chasing dependents; its outcome does not count) and deletes.
    static int RemoveService(const char* name);

    // Replaces the whole access list of the service: Everyone may query the status (and read
    // the service, on Windows 6 and later), Backup Operators and Administrators have full
    // access. A null or empty name gives 0.
    static int AddAccessPermission(const char* name);

    // Writes the service's start type as a REG_DWORD value named after the service in
    // HKEY_LOCAL_MACHINE\<key> (created when missing). 0 only when the key or the value cannot be
    // written: a service that is not installed is backed up as nothing, with 1.
    static int BackupServiceStatus(const char* key, const char* name);
    // Gives the service the start type kept by BackupServiceStatus (and the display name, when
    // not null). 1 with nothing changed when no start type is kept; else ChangeService's answer.
    static int RestoreServiceStatus(const char* key, const char* name, const char* displayName);

    // First, second and third failure action (SC_ACTION_TYPE values), each after delay
    // milliseconds; the failure count is reset after seven days.
    static int ChangeSvcFailureActions(const char* name, unsigned long first, unsigned long second,
                                       unsigned long third, unsigned long delay);
    static int ChangeSvcStartType(const char* name, unsigned long startType);

    // Copies the service's program path (as the service manager holds it) into buffer, cut to
    // size - 1 bytes, after zeroing all size bytes. Answers 0 only when the configuration cannot
    // be read; when the service manager or the service cannot be opened the answer is 1 and the
    // buffer is left untouched, so callers check the buffer, not only the answer. Kept as the
    // product's setup programs know it: on the two failure paths the service manager and service
    // handles are not closed. A null buffer is refused (0, ERROR_INVALID_PARAMETER).
    static int GetServiceFileName(const char* name, char* buffer, unsigned long size);

    // Firewall exceptions of a program (the firewall's own messages go to buffer, cut to size - 1
    // bytes; a null buffer or size 0 takes none).
    // 1 when the firewall can be reached and is on.
    static int IsWindowsFirewallStarted();
    // 1 when the program is allowed through the firewall; the message is copied in every case.
    static int IsWindowsFirewallAdded(const char* imagePath, char* buffer, unsigned long size);
    // 1 when the program was added or was already allowed; the message is copied on failure.
    static int WindowsFirewallAdd(const char* imagePath, const char* name, char* buffer, unsigned long size);
    // 1 when the program is no longer allowed; the message is copied on failure.
    static int WindowsFirewallRemove(const char* imagePath, char* buffer, unsigned long size);

private:
    void Construct(const char* name, const char* binaryFile, const char* displayName, unsigned long serviceType,
                   const char* loadOrderGroup);
    CString BinaryPath(const char* folder) const;

    static int StartServiceA(SC_HANDLE service, int wait);
    static int StopService(SC_HANDLE service, const char* name, int wait, int stopDependents);
    static int StopDependentServices(const char* name, int wait);

    CString m_name;
    CString m_displayName;
    CString m_binaryFile;
    unsigned long m_serviceType = 0;
    CString m_loadOrderGroup;
};

// Plain functions for installer scripts. commandLine is the command line of a service program
// that installs, removes, starts or stops itself when given the switch " -install", " -remove",
// " -start" or " -stop" (normally its quoted path). The switch is appended and the program
// started detached; the call does not wait for it. 1 when the program was started. The whole
// command line must fit in 260 bytes with its NUL: a longer one is refused (0,
// ERROR_FILENAME_EXCED_RANGE) rather than cut, since a cut line would run another command.
SETUPCLS_C int WINAPI InstallServiceByCmdLine(const char* commandLine);
SETUPCLS_C int WINAPI RemoveServiceByCmdLine(const char* commandLine);
SETUPCLS_C int WINAPI StartServiceByCmdLine(const char* commandLine);
SETUPCLS_C int WINAPI StopServiceByCmdLine(const char* commandLine);

// Sets a service's display name and description, under the service manager's database lock,
// with the caller's open service manager handle (which stays the caller's). When the service
// cannot be opened the call answers 0 and leaves the database lock taken, as the product's setup
// programs expect it; every other path unlocks.
SETUPCLS_C int WINAPI ChangeServiceInfo(SC_HANDLE scManager, const char* name, const char* displayName,
                                        const char* description);
