// CJobQueue: the product's job queue, which its core library DVCORE.DLL owns.
//
// The queue lives in the folder "00000001.QSD" of the product's home folder (HOME of the product
// registry). Setup creates it on a fresh installation, removes it on uninstallation, and may add,
// list, query and delete jobs. Each forwarding operation loads DVCORE.DLL by its full path (with
// the altered search path, so that the libraries it needs are found beside it), calls one of its
// entry points with the caller's arguments unchanged, writes the answer to the job queue trace
// file and frees the library before it returns: nothing is kept between calls.
//
// Job queue trace file: "setupcls_JobQue.log" in the "Temp" folder of the Windows folder, one
// line "date time<TAB>message<CR><LF>" a call (_strdate, _strtime). A file that cannot be opened
// loses the line; tracing never fails an operation.
//
// Results: the int operations answer 1 for success and 0 for failure, with the reason in
// GetLastError: the entry point's own answer, passed on untranslated, or why the library could
// not be loaded (ERROR_MOD_NOT_FOUND...) or ERROR_PROC_NOT_FOUND for a missing entry point. A
// library or entry point that is missing writes no trace line (except for GetQueueJobStatus).
#pragma once

#include "CString.h"

// The core library's job and queue records. Their layout belongs to DVCORE.DLL and changes with
// it; setup only hands the caller's pointers through, so they stay incomplete types here and no
// caller can come to depend on a copy of the layout made by setup.
struct tagQJOBITEM;
struct tagQUEUEINFO;

// The entry points of DVCORE.DLL as setup calls them (__stdcall, like the Windows API).
typedef unsigned long(WINAPI* QSICreateQueueFn)(unsigned long server, const char* queueName, unsigned long flags,
                                                const char* coreFolder, void** queueHandle);
typedef unsigned long(WINAPI* QSIGetQJobItemListFn)(char*, unsigned long, tagQJOBITEM*, unsigned long, unsigned long*,
                                                    tagQUEUEINFO*);
typedef unsigned long(WINAPI* QSIMapJobStatusFn)(unsigned long, unsigned long);
typedef unsigned long(WINAPI* DVAddQueueJobFn)(char*, char*, unsigned short, char*, unsigned long, unsigned long*);
typedef unsigned long(WINAPI* QSIDeleteJobFn)(char*, unsigned long, unsigned long);
typedef unsigned long(WINAPI* DVGetDefaultQueueFn)(char*, char*, unsigned long*);

class SETUPCLS_API CJobQueue {
public:
    static const char* const m_sCoreLibrary;   // "DVCORE.DLL"
    static const char* const m_sQueueFolder;   // "00000001.QSD"
    static const char* const m_sQueueName;     // "AQ_TAMB"
    static const char* const m_sLogFilename;   // "setupcls_JobQue.log"

    // The object keeps whether the queue existed when it was made (QueueExists).
    CJobQueue();
    CJobQueue(const CJobQueue&) = default;
    CJobQueue(CJobQueue&&) = default;
    CJobQueue& operator=(const CJobQueue&) = default;
    CJobQueue& operator=(CJobQueue&&) = default;
    ~CJobQueue() = default;

    int Exists() const { return m_bExists; }

    // Home folder + "\00000001.QSD" (one back-slash whatever HOME ends in); empty when the
    // registry names no home folder, so that no operation ever works on a folder of that name
    // in the current folder or at the root of a drive.
    static CString GetPath();
    // Non-zero when the folder GetPath() exists.
    static int QueueExists();
    // Deletes the folder tree GetPath(); 0 when it cannot (or there is no home folder).
    static int DeleteQueue();

    // Creates the queue "AQ_TAMB" through DVCORE.DLL of coreFolder (normally ending in "\"):
    // QSICreateQueue(0, "AQ_TAMB", 0, coreFolder, &handle). A queue that is already there
    // (0xFFFFFFFF) counts as success, like 0. A null or empty folder loads nothing and fails with
    // ERROR_INVALID_PARAMETER: a bare name would take any DVCORE.DLL along the search path.
    static int CreateQueue(char* coreFolder);

    // The forwarding operations below use DVCORE.DLL of the home folder. Their arguments are
    // the core library's own and go through unchanged.

    // QSIGetQJobItemList; while it answers 1723 (RPC_S_SERVER_TOO_BUSY) it is asked again after
    // a pause of 10 s, at most 18 times (19 calls, three minutes). 1 when the last answer is 0.
    static int GetQueueJobs(char*, unsigned long, tagQJOBITEM*, unsigned long, unsigned long*, tagQUEUEINFO*);
    // QSIMapJobStatus's answer; 2 when the library or its entry point is missing.
    static unsigned long GetQueueJobStatus(unsigned long, unsigned long);
    // DVAddQueueJob, QSIDeleteJob, DVGetDefaultQueue: 1 when the entry point answers 0.
    static int AddQueueJob(char*, char*, unsigned short, char*, unsigned long, unsigned long*);
    static int DeleteQueueJob(char*, unsigned long, unsigned long);
    static int GetDefaultQueue(char*, char*, unsigned long*);

private:
    int m_bExists;
};
