// Access lists as dvsetup's status prints them: one line an entry, with the account's name
// (or its SID when the machine cannot name it), the entry's kind, rights and inheritance.
#pragma once

#include <windows.h>

// Prints the access list of a key below HKEY_LOCAL_MACHINE in the product's 32-bit view.
void PrintKeyAccess(const char* key);
// Prints the access list of a file or folder.
void PrintFolderAccess(const char* path);
