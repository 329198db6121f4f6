// Starting another program from the library: the earlier product's uninstaller, the upgrade
// utility, a service program driven by its switches. Internal to the library.
#pragma once

#include "Handles.h"

// The process of a started program, or the Win32 status of why it did not start. Its thread
// handle is closed at once: nothing in the library uses it.
struct StartedProgram {
    UniqueHandle process;
    DWORD status = ERROR_SUCCESS;
};

// Starts commandLine (the program is its first word, as CreateProcessA finds it) with handle
// inheritance, creation flags and start-up flags as given, in folder, or in the caller's current
// folder when folder is null or empty. A command line longer than CreateProcessA takes
// (32,767 characters with its NUL) is refused as too long (ERROR_FILENAME_EXCED_RANGE) rather
// than cut: cut, it would run another command. A null command line is ERROR_INVALID_PARAMETER.
StartedProgram StartProgram(const char* commandLine, BOOL inherit, DWORD flags, DWORD startFlags, const char* folder);
