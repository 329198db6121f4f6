// Copying registry key trees for the upgrade: the earlier product's keys into the backup key,
// and the backup key back into the product key once the new product is installed. Internal to
// the product area.
//
// Only the registry of this machine is copied, below HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER or
// HKEY_USERS; below HKEY_LOCAL_MACHINE\SOFTWARE the keys are the product's 32-bit view. Every
// step is written to the upgrade trace.
#pragma once

#include <windows.h>

namespace upgrade {

// Copies the key source, with every key and value below it (types and data as they are), to
// destination, which is created as needed; a key named "TamberlyAgentNodeAdress" (the old name
// of the agent node address key, in any letter case) is created as "ClientAgentNodeAdress".
// deleteSource: the source tree is deleted afterwards, deepest keys first. ERROR_SUCCESS, or
// the status of the call that failed; ERROR_INVALID_PARAMETER for another root, an empty path,
// or a destination inside the source (which would copy itself without end).
LONG CopyRegSubTree(HKEY root, const char* source, const char* destination, bool deleteSource);

// One value, name, of the key source copied to the key destination (created as needed).
// ERROR_FILE_NOT_FOUND when the key or the value is missing; the roots as above.
LONG CopyRegValue(HKEY root, const char* source, const char* destination, const char* name);

}  // namespace upgrade
