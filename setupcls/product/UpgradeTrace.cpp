#include "UpgradeTrace.h"

#include "Handles.h"
#include "TextRules.h"

#include <cstdio>
#include <cstring>

namespace {

const size_t kLineSize = 1024;
const char kLineEnd[] = "\r\n";

// The trace file's path, or false when the trace is switched off (or its path would not fit).
bool TraceFilePath(char (&path)[MAX_PATH])
{
    char folder[MAX_PATH];
    DWORD length = GetEnvironmentVariableA(UPGRADE_TRACE_VARIABLE, folder, sizeof(folder));
    if (length == 0 || length >= sizeof(folder))
        return false;
    int written = snprintf(path, sizeof(path), "%s\\%s", folder, UPGRADE_TRACE_FILE_NAME);
    return written > 0 && static_cast<size_t>(written) < sizeof(path);
}

}  // namespace

namespace upgrade {

void Trace(const char* format, ...)
{
    char path[MAX_PATH];
    if (!TraceFilePath(path))
        return;
    // The message is cut at 1,024 bytes with its NUL; the CR LF follows it.
    char message[kLineSize];
    va_list args;
    va_start(args, format);
    FormatCut(message, format, args);
    va_end(args);
    char line[kLineSize + sizeof(kLineEnd)];
    snprintf(line, sizeof(line), "%s%s", message, kLineEnd);
    DWORD count = static_cast<DWORD>(strlen(line));

    // No sharing: a writer that finds the file open elsewhere loses its line rather than
    // interleaving with it.
    UniqueFile file(CreateFileA(path, GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                                nullptr));
    if (!file)
        return;
    DWORD end = SetFilePointer(file.get(), 0, nullptr, FILE_END);
    if (end == INVALID_SET_FILE_POINTER)
        return;
    BOOL locked = LockFile(file.get(), end, 0, count, 0);
    DWORD written = 0;
    WriteFile(file.get(), line, count, &written, nullptr);
    if (locked)
        UnlockFile(file.get(), end, 0, count, 0);
}

}  // namespace upgrade
