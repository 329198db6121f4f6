#include "CLog.h"

#include "Handles.h"
#include "TextRules.h"

#include <cstdio>
#include <ctime>

namespace {

// Fixed sizes of the line format.
const int kMessageSize = 512;
const int kDateTimeSize = 32;
const int kStampSize = 128;
const int kLineSize = 640;

// How long a writer waits for another process's line before it writes regardless.
const int kLockAttempts = 500;
const DWORD kLockPauseMs = 2;

// Appends the bytes at the end of the file. The lock reaches from the end offset P over P + N
// bytes, and the same figures release it. Two writers that saw the same end always overlap, so
// the one whose lock fails waits and takes the new end; a writer whose end moved while it
// locked (another line landed in between) does the same. After the wait the line is written
// anyway: a trace line is never dropped for a lock.
BOOL AppendToFile(const char* file, const char* bytes, DWORD count)
{
    UniqueFile handle(CreateFileA(file, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                  OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!handle)
        return FALSE;
    DWORD end = 0;
    BOOL locked = FALSE;
    for (int attempt = 0; attempt < kLockAttempts && !locked; ++attempt) {
        end = SetFilePointer(handle.get(), 0, nullptr, FILE_END);
        locked = LockFile(handle.get(), end, 0, end + count, 0);
        if (locked && SetFilePointer(handle.get(), 0, nullptr, FILE_END) != end) {
            UnlockFile(handle.get(), end, 0, end + count, 0);
            locked = FALSE;
        }
        if (!locked)
            Sleep(kLockPauseMs);
    }
    if (!locked)
        end = SetFilePointer(handle.get(), 0, nullptr, FILE_END);
    DWORD written = 0;
    BOOL result = WriteFile(handle.get(), bytes, count, &written, nullptr);
    if (locked)
        UnlockFile(handle.get(), end, 0, end + count, 0);
    return result;
}

}  // namespace

CLog::CLog(const char* file) : m_file(file) {}

BOOL CLog::Write(const char* file, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    BOOL result = WriteV(file, format, args);
    va_end(args);
    return result;
}

BOOL CLog::Write(const char* format, ...)
{
    char message[kMessageSize];
    va_list args;
    va_start(args, format);
    FormatCut(message, format, args);  // cut at kMessageSize - 1 bytes
    va_end(args);
    return Write(m_file, message);
}

BOOL CLog::WriteV(const char* file, const char* format, va_list args)
{
    if (!file)
        return FALSE;
    char message[kMessageSize];
    FormatCut(message, format, args);  // cut at kMessageSize - 1 bytes

    char date[kDateTimeSize];
    char time[kDateTimeSize];
    _strdate(date);
    _strtime(time);
    char stamp[kStampSize];
    wsprintfA(stamp, "%s %s", date, time);
    char line[kLineSize];
    int length = wsprintfA(line, "%s\t%s\r\n", stamp, message);
    return AppendToFile(file, line, static_cast<DWORD>(length));
}
