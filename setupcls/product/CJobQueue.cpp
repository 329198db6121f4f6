#include "CJobQueue.h"

#include "CComputer.h"
#include "CTambRegistry.h"
#include "Failure.h"
#include "Handles.h"
#include "ProductLibrary.h"
#include "TextRules.h"

#include <cstdio>
#include <ctime>

const char* const CJobQueue::m_sCoreLibrary = "DVCORE.DLL";
const char* const CJobQueue::m_sQueueFolder = "00000001.QSD";
const char* const CJobQueue::m_sQueueName = "AQ_TAMB";
const char* const CJobQueue::m_sLogFilename = "setupcls_JobQue.log";

namespace {

// QSICreateQueue's answer for a queue that is already there.
const unsigned long kQueueExists = 0xFFFFFFFF;
// QSIGetQJobItemList's answer while the core library's RPC service is busy, and how long and how
// often GetQueueJobs waits for it.
const unsigned long kServerTooBusy = RPC_S_SERVER_TOO_BUSY;
const unsigned long kBusyRetries = 18;
const DWORD kBusyPauseMs = 10000;
// GetQueueJobStatus's answer when the core library cannot be asked.
const unsigned long kStatusUnknown = 2;

const char kTempFolder[] = "Temp\\";
const int kStampSize = 16;
const int kLineSize = 640;

// One line "date time<TAB>message<CR><LF>" at the end of the job queue trace file in the Windows
// folder's Temp. The file is opened for reading and writing, made when missing and never
// truncated; others may read and write it meanwhile, so a support engineer's viewer does not
// cost setup its lines. A file that cannot be opened loses the line.
DWORD TraceJobQueue(const char* message)
{
    if (!message)
        return ERROR_INVALID_PARAMETER;
    char path[MAX_PATH + 1];
    UINT length = GetWindowsDirectoryA(path, MAX_PATH);
    if (length == 0 || length >= MAX_PATH)
        return ERROR_PATH_NOT_FOUND;
    const char* separator = path[length - 1] == '\\' ? "" : "\\";
    char file[MAX_PATH];
    int fileLength = snprintf(file, sizeof(file), "%s%s%s%s", path, separator, kTempFolder, CJobQueue::m_sLogFilename);
    if (fileLength < 0 || fileLength >= static_cast<int>(sizeof(file)))
        return ERROR_FILENAME_EXCED_RANGE;

    char date[kStampSize], time[kStampSize];
    _strdate(date);
    _strtime(time);
    char line[kLineSize];
    int lineLength = snprintf(line, sizeof(line), "%s %s\t%s\r\n", date, time, message);
    if (lineLength < 0 || lineLength >= static_cast<int>(sizeof(line)))
        return ERROR_INSUFFICIENT_BUFFER;  // the operations' messages are far shorter

    UniqueFile handle(CreateFileA(file, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                  OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!handle)
        return GetLastError();
    if (SetFilePointer(handle.get(), 0, nullptr, FILE_END) == INVALID_SET_FILE_POINTER && GetLastError() != NO_ERROR)
        return GetLastError();
    DWORD written = 0;
    return failure::StatusOf(WriteFile(handle.get(), line, static_cast<DWORD>(lineLength), &written, nullptr));
}

// "<operation> - API <entry>() return value <answer>", the line every call of an entry leaves.
void TraceAnswer(const char* operation, const char* entry, unsigned long answer)
{
    char message[256];
    snprintf(message, sizeof(message), "CJobQueue::%s - API %s() return value %d", operation, entry,
             static_cast<int>(answer));
    TraceJobQueue(message);
}

// HOME of the product registry; empty when the registry names none.
CString HomeFolder()
{
    char home[MAX_PATH + 1] = "";
    unsigned long size = sizeof(home);
    if (!CTambRegistry::GetDrosvaneHomeDir(home, size))
        return CString();
    return CString(home);
}

// Loads DVCORE.DLL of folder for the length of one call and hands call an ask(arguments...) that
// calls the entry entryName with them and traces each answer as one of operation. Answers the
// status of the load (nothing is traced when the library or the entry is missing), and on
// success leaves what call answered in answer.
template <typename Fn, typename Call>
DWORD CallCoreEntry(const char* folder, const char* operation, const char* entryName, unsigned long& answer, Call call)
{
    ProductLibrary library = ProductLibrary::InFolder(folder, CJobQueue::m_sCoreLibrary);
    if (!library)
        return library.Error();
    Fn entry = library.Entry<Fn>(entryName);
    if (!entry)
        return ERROR_PROC_NOT_FOUND;
    answer = call([&](auto... arguments) {
        unsigned long result = entry(arguments...);
        TraceAnswer(operation, entryName, result);
        return result;
    });
    return ERROR_SUCCESS;
}

// An entry of the home folder's core library: 1 when its answer is 0.
template <typename Fn, typename Call>
int ForwardToHome(const char* operation, const char* entryName, Call call)
{
    return failure::ContainExceptions(0, [&] {
        unsigned long answer = 0;
        DWORD status = CallCoreEntry<Fn>(HomeFolder(), operation, entryName, answer, call);
        return failure::ResultOf(static_cast<LONG>(status != ERROR_SUCCESS ? status : answer));
    });
}

}  // namespace

CJobQueue::CJobQueue() : m_bExists(QueueExists()) {}

CString CJobQueue::GetPath()
{
    CString home = HomeFolder();
    return home.IsEmpty() ? home : ProductLibrary::PathIn(home, m_sQueueFolder);
}

int CJobQueue::QueueExists()
{
    return failure::ContainExceptions(0, [] { return CComputer::DirectoryExists(GetPath()); });
}

int CJobQueue::DeleteQueue()
{
    return failure::ContainExceptions(0, [] { return CComputer::DeleteTree(GetPath()); });
}

int CJobQueue::CreateQueue(char* coreFolder)
{
    return failure::ContainExceptions(0, [&] {
        if (IsEmptyText(coreFolder))
            return failure::ResultOf(ERROR_INVALID_PARAMETER);
        unsigned long answer = 0;
        // The queue handle is the core library's; setup keeps no queue open.
        auto create = [&](auto ask) {
            void* queue = nullptr;
            return ask(0UL, m_sQueueName, 0UL, static_cast<const char*>(coreFolder), &queue);
        };
        DWORD status = CallCoreEntry<QSICreateQueueFn>(coreFolder, "CreateQueue", "QSICreateQueue", answer, create);
        if (status != ERROR_SUCCESS)
            return failure::ResultOf(static_cast<LONG>(status));
        return failure::ResultOf(answer == kQueueExists ? ERROR_SUCCESS : static_cast<LONG>(answer));
    });
}

int CJobQueue::GetQueueJobs(char* queue, unsigned long flags, tagQJOBITEM* items, unsigned long itemCount,
                            unsigned long* returnedCount, tagQUEUEINFO* info)
{
    return ForwardToHome<QSIGetQJobItemListFn>("GetQueueJobs", "QSIGetQJobItemList", [&](auto ask) {
        unsigned long answer = ask(queue, flags, items, itemCount, returnedCount, info);
        for (unsigned long retries = 0; answer == kServerTooBusy && retries < kBusyRetries; ++retries) {
            TraceJobQueue("CJobQueue::GetQueueJobs() RPC service is busy. Wait the RPC service for 10000ms");
            Sleep(kBusyPauseMs);
            answer = ask(queue, flags, items, itemCount, returnedCount, info);
        }
        return answer;
    });
}

// The one operation that answers the entry's own code, and traces 2 when there is no entry.
unsigned long CJobQueue::GetQueueJobStatus(unsigned long status, unsigned long flags)
{
    return failure::ContainExceptions(kStatusUnknown, [&] {
        unsigned long answer = kStatusUnknown;
        if (CallCoreEntry<QSIMapJobStatusFn>(HomeFolder(), "GetQueueJobStatus", "QSIMapJobStatus", answer,
                                             [&](auto ask) { return ask(status, flags); }) != ERROR_SUCCESS)
            TraceAnswer("GetQueueJobStatus", "QSIMapJobStatus", kStatusUnknown);
        return answer;
    });
}

int CJobQueue::AddQueueJob(char* queue, char* command, unsigned short jobType, char* arguments, unsigned long flags,
                           unsigned long* jobId)
{
    return ForwardToHome<DVAddQueueJobFn>("AddQueueJob", "DVAddQueueJob", [&](auto ask) {
        return ask(queue, command, jobType, arguments, flags, jobId);
    });
}

int CJobQueue::DeleteQueueJob(char* queue, unsigned long jobId, unsigned long flags)
{
    return ForwardToHome<QSIDeleteJobFn>("DeleteQueueJob", "QSIDeleteJob",
                                         [&](auto ask) { return ask(queue, jobId, flags); });
}

int CJobQueue::GetDefaultQueue(char* server, char* queue, unsigned long* size)
{
    return ForwardToHome<DVGetDefaultQueueFn>("GetDefaultQueue", "DVGetDefaultQueue",
                                              [&](auto ask) { return ask(server, queue, size); });
}
