#include "Failure.h"

#include "CLog.h"
#include "TextRules.h"

#include <cstdarg>

namespace failure {

namespace {

// What failed, formatted; cut to the buffer like every trace message.
const int kWhatSize = 384;

bool NamesFile(const char* file)
{
    return file && *file;
}

}  // namespace

void TraceStatus(const char* file, const char* where, DWORD status, const char* whatFormat, ...)
{
    if (!NamesFile(file))
        return;
    char what[kWhatSize];
    va_list args;
    va_start(args, whatFormat);
    FormatCut(what, whatFormat, args);
    va_end(args);
    CLog::Write(file, "\t%s failed (%lu) in %s", what, status, where ? where : "");
}

void TraceFailureText(const char* file, const char* text)
{
    if (NamesFile(file))
        CLog::Write(file, "\t%s", text ? text : "");
}

int ResultOf(LONG status)
{
    if (status == ERROR_SUCCESS)
        return 1;
    SetLastError(static_cast<DWORD>(status));
    return 0;
}

DWORD StatusOf(BOOL succeeded)
{
    if (succeeded)
        return ERROR_SUCCESS;
    DWORD status = GetLastError();
    return status != ERROR_SUCCESS ? status : ERROR_GEN_FAILURE;
}

}  // namespace failure
