// Splitting of paths into their folder and name, and the paths of loaded modules, for the parts
// of the library that look for files beside a program or beside the library itself. Internal to
// the library.
#pragma once

#include "CString.h"

// The drive and folder of path, up to and including its last separator (a back-slash, a slash or
// the colon of a drive); empty when it has none. Double-byte characters are kept whole.
CString DriveAndFolder(const char* path);

// The file name of path without its folder and without its last extension.
CString BaseName(const char* path);

// The full path of a loaded module (null: the running executable). False when Windows does not
// answer or the path does not fit MAX_PATH.
bool ModuleFileName(HMODULE module, CString& path);

// The absolute form of path against the current folder, through the runtime's _fullpath into a
// buffer of bufferSize bytes (at most MAX_PATH + 1). False when path is empty or the result does
// not fit.
bool FullPath(const char* path, int bufferSize, CString& result);
