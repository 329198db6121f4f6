// The registry view of the product's keys.
//
// The product this library installs is a 32-bit product: its programs, services and uninstaller
// read HKEY_LOCAL_MACHINE\SOFTWARE through the 32-bit view (SOFTWARE\Wow6432Node on 64-bit
// Windows). Every key the library opens, creates or deletes below HKEY_LOCAL_MACHINE\SOFTWARE
// goes through these calls, which name that view explicitly, so that the 32-bit and the 64-bit
// builds of SetupCLS.dll put the product's keys in the same place. In the 32-bit build the flag
// names the view the module is in already; 32-bit Windows ignores it. Keys outside SOFTWARE
// (services, control settings) have one view only and are opened directly.
//
// The calls answer the Win32 status of the call they make; on failure the holder is empty.
#pragma once

#include "CString.h"
#include "Handles.h"

#include <vector>

namespace regview {

const REGSAM kProductView = KEY_WOW64_32KEY;
// Keys outside SOFTWARE (services, control settings), which no view redirects.
const REGSAM kOnlyView = 0;

// The calls below refuse a key path the registry would not take as named: one too long
// (ERROR_FILENAME_EXCED_RANGE) or ending in a lone lead byte (ERROR_INVALID_NAME, a key no later
// call would reach by its name).

// RegOpenKeyExA of path below root with access, in the product's view.
LONG OpenKey(HKEY root, const char* path, REGSAM access, UniqueKey& key);

// RegCreateKeyExA of path below root with full access, in the product's view (or the one given).
LONG CreateKey(HKEY root, const char* path, UniqueKey& key, REGSAM view = kProductView);

// RegDeleteKeyExA of path below root (a key without sub keys), in the product's view.
LONG DeleteKey(HKEY root, const char* path);

// One text value of an open key into buffer (size: in, the buffer's bytes; out, bytes read
// with the NUL, or the bytes needed on ERROR_MORE_DATA). The buffer always ends NUL-terminated
// and is empty on failure; a value that is not a text answers ERROR_UNSUPPORTED_TYPE.
LONG QueryText(HKEY key, const char* value, char* buffer, unsigned long& size);

// QueryText of value under path below root, the key opened for reading in the product's view.
LONG ReadText(HKEY root, const char* path, const char* value, char* buffer, unsigned long& size);

// The last name of a key path (the whole path when it holds no back-slash), and the path before
// it (empty then). A 0x5C trail byte of a double-byte name is no separator.
CString LastKeyName(const CString& path);
CString ParentKey(const CString& path);

// ---- Key trees, in the product's view below the root given; an empty path would name the
// root itself and is refused (ERROR_INVALID_PARAMETER). ----
// The names of the sub keys of an open key.
LONG SubKeyNames(HKEY key, std::vector<CString>& names);
// Every key below path, deepest first; path itself stays.
LONG DeleteBelow(HKEY root, const CString& path);
// The key at path with everything below it.
LONG DeleteTree(HKEY root, const CString& path);

}  // namespace regview
