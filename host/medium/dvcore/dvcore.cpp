// DVCORE.DLL of the example medium: a small reference implementation of the product's core
// library, as far as setup reaches it. A queue is a folder "00000001.QSD" in the product's home
// folder holding one file per queue ("<name>.QUE"); each job is one line of that file,
// "<id> <type> <command> <arguments>". Enough for an installation to create, fill, list and
// delete the queue; the real library keeps its records in its own format.
#include <windows.h>

#include <cstdio>
#include <cstring>

namespace {

const char kQueueFolder[] = "00000001.QSD";
const char kDefaultQueue[] = "AQ_TAMB";

// The folder of this library: the product's home folder once setup has copied it there.
bool HomeFolder(char (&folder)[MAX_PATH])
{
    HMODULE self = nullptr;
    if (!GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                            reinterpret_cast<LPCSTR>(&HomeFolder), &self) ||
        !GetModuleFileNameA(self, folder, MAX_PATH))
        return false;
    char* cut = strrchr(folder, '\\');
    if (cut)
        cut[1] = '\0';
    return true;
}

bool QueueFile(const char* folder, const char* queue, char (&path)[MAX_PATH])
{
    const int written = snprintf(path, MAX_PATH, "%s%s\\%s.QUE", folder, kQueueFolder, queue ? queue : kDefaultQueue);
    return written > 0 && written < MAX_PATH;
}

// The jobs in a queue file, one a line; -1 when there is no such queue.
long CountJobs(const char* path)
{
    FILE* file = fopen(path, "r");
    if (!file)
        return -1;
    long lines = 0;
    for (int ch = fgetc(file); ch != EOF; ch = fgetc(file))
        lines += ch == '\n';
    fclose(file);
    return lines;
}

}  // namespace

// Creates the queue folder in folder (which ends in a back-slash) and the queue's file in it;
// 0xFFFFFFFF when the queue is there already.
extern "C" __declspec(dllexport) unsigned long WINAPI QSICreateQueue(unsigned long, const char* name, unsigned long,
                                                                     const char* folder, void** queue)
{
    char path[MAX_PATH], queueFolder[MAX_PATH];
    if (!folder || !QueueFile(folder, name, path) || snprintf(queueFolder, MAX_PATH, "%s%s", folder, kQueueFolder) >= MAX_PATH)
        return ERROR_INVALID_PARAMETER;
    if (!CreateDirectoryA(queueFolder, nullptr) && GetLastError() != ERROR_ALREADY_EXISTS)
        return GetLastError();
    HANDLE file = CreateFileA(path, GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return GetLastError() == ERROR_FILE_EXISTS ? 0xFFFFFFFF : GetLastError();
    CloseHandle(file);
    if (queue)
        *queue = nullptr;
    return 0;
}

// The number of jobs in the queue (one a line); the records themselves are the real library's.
extern "C" __declspec(dllexport) unsigned long WINAPI QSIGetQJobItemList(char* queue, unsigned long, void*,
                                                                         unsigned long, unsigned long* count, void*)
{
    char home[MAX_PATH], path[MAX_PATH];
    if (!HomeFolder(home) || !QueueFile(home, queue, path))
        return ERROR_INVALID_PARAMETER;
    const long jobs = CountJobs(path);
    if (jobs < 0)
        return ERROR_FILE_NOT_FOUND;
    if (count)
        *count = static_cast<unsigned long>(jobs);
    return 0;
}

extern "C" __declspec(dllexport) unsigned long WINAPI QSIMapJobStatus(unsigned long status, unsigned long)
{
    return status;
}

extern "C" __declspec(dllexport) unsigned long WINAPI DVAddQueueJob(char* queue, char* command, unsigned short type,
                                                                    char* arguments, unsigned long, unsigned long* id)
{
    char home[MAX_PATH], path[MAX_PATH];
    if (!HomeFolder(home) || !QueueFile(home, queue, path))
        return ERROR_INVALID_PARAMETER;
    const long jobs = CountJobs(path);
    FILE* file = jobs < 0 ? nullptr : fopen(path, "a");
    if (!file)
        return ERROR_FILE_NOT_FOUND;
    const unsigned long next = static_cast<unsigned long>(jobs) + 1;
    fprintf(file, "%lu %u %s %s\n", next, type, command ? command : "", arguments ? arguments : "");
    fclose(file);
    if (id)
        *id = next;
    return 0;
}

extern "C" __declspec(dllexport) unsigned long WINAPI QSIDeleteJob(char*, unsigned long, unsigned long)
{
    return 0;
}

extern "C" __declspec(dllexport) unsigned long WINAPI DVGetDefaultQueue(char*, char* queue, unsigned long* size)
{
    if (!queue || !size || *size <= strlen(kDefaultQueue))
        return ERROR_INSUFFICIENT_BUFFER;
    strcpy(queue, kDefaultQueue);
    *size = static_cast<unsigned long>(strlen(kDefaultQueue));
    return 0;
}
