// The setup program's trace file, for the parts of the library that are called without the
// installation settings: the installer scripts' plain functions (password scrambling) and the
// upgrade description reader (CProduct). Internal to the library.
//
// The library never picks a trace file name of its own. The setup program names its trace file
// in the environment variable DVSET_TRACEFILE (DVSET_TRACE_FILE_VARIABLE, CLog.h), which the
// installer scripts it starts inherit; without it these callers write no trace.
#pragma once

#include <windows.h>

namespace setuptrace {

// The file the variable names into file; false when it is not set (or does not fit MAX_PATH).
bool FileName(char (&file)[MAX_PATH]);

// One CLog line, formatted into CLog's 512-byte message (cut there), to that file when it is
// named. The message is formatted once: a "%" in an argument is written as it stands.
void Write(const char* format, ...);

}  // namespace setuptrace
