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

#include "frame/Handles.h"

namespace regview {

const REGSAM kProductView = KEY_WOW64_32KEY;

// RegOpenKeyExA of path below root with access, in the product's view.
LONG OpenKey(HKEY root, const char* path, REGSAM access, UniqueKey& key);

// RegCreateKeyExA of path below root with full access, in the product's view.
LONG CreateKey(HKEY root, const char* path, UniqueKey& key);

// RegDeleteKeyExA of path below root (a key without sub keys), in the product's view.
LONG DeleteKey(HKEY root, const char* path);

}  // namespace regview
