#include "SetupTraceFile.h"

#include "CLog.h"
#include "TextRules.h"

#include <cstdarg>

namespace setuptrace {

bool FileName(char (&file)[MAX_PATH])
{
    DWORD length = GetEnvironmentVariableA(DVSET_TRACE_FILE_VARIABLE, file, sizeof(file));
    return length != 0 && length < sizeof(file);
}

void Write(const char* format, ...)
{
    char file[MAX_PATH];
    if (!FileName(file))
        return;
    char message[512];
    va_list args;
    va_start(args, format);
    FormatCut(message, format, args);
    va_end(args);
    CLog::Write(file, "%s", message);
}

}  // namespace setuptrace
