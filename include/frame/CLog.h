// CLog: time-stamped trace lines appended to a plain text file.
//
// Each line is "date time<TAB>message<CR><LF>" with the runtime's _strdate and _strtime
// ("11/13/26 18:31:17"). The file is opened, appended to and closed for every line, so several
// processes can trace into one file at once and a crash loses nothing already written. Messages
// that report a failure inside a step begin with a TAB.
//
// Messages are cut at 511 bytes.
//
// Mind the overloads: on an object, a call whose first two arguments are both texts resolves to
// the static form (file, format). Write log.Write("%s", text) as CLog::Write(file, "%s", text).
#pragma once

#include "CString.h"

// The environment variable through which the setup program names its trace file to the parts of
// the library it does not hand its settings to: the installer scripts' plain functions and the
// upgrade description reader.
#define DVSET_TRACE_FILE_VARIABLE "DVSET_TRACEFILE"

class SETUPCLS_API CLog {
public:
    explicit CLog(const char* file);
    CLog(const CLog&) = default;
    CLog(CLog&&) = default;
    CLog& operator=(const CLog&) = default;
    CLog& operator=(CLog&&) = default;
    ~CLog() = default;

    // Appends one line to file. Returns the result of the file write; 0 when the file cannot be
    // opened (a missing folder, a null name).
    static BOOL Write(const char* file, const char* format, ...);

    // Formats the message, then hands it to the static form as its format string: a "%" that
    // survives the first formatting is formatted a second time, with no arguments.
    BOOL Write(const char* format, ...);

    const char* File() const { return m_file; }

private:
    static BOOL WriteV(const char* file, const char* format, va_list args);

    CString m_file;
};
