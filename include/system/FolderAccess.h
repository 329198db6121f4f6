// Access rights of the product's folders and files, as plain functions for installer scripts:
// the product's fixed list put on a folder, the rights a built-in group has on a path, and one
// allow entry for an account added to a file's list. Each answers 1 on success and 0 on failure.
#pragma once

#include "SetupCLSExport.h"

// Replaces the list of the folder (which must exist) with the product's rule, inherited by
// everything below it and no longer inherited from its parent: Everyone may read, Backup
// Operators and Administrators (and on Windows 6 and later TrustedInstaller) have full control.
// When the installer may not change the list, Administrators take ownership of the folder first.
SETUPCLS_C int WINAPI AddAccessPermissionOnFolder(const char* folder);

// The effective rights of the built-in group S-1-5-32-<rid> (544 Administrators, 545 Users,
// 551 Backup Operators...) under the list of path go to *mask. The path must be found as it is
// written: a folder named with a trailing back-slash is not.
SETUPCLS_C int WINAPI GetBuiltinDomainAccessMaskOnFolder(const char* path, DWORD rid, DWORD* mask);

// Gives account (looked up on system; null: the local machine) the rights in mask on path with
// one allow entry, placed after the path's explicit entries and before the inherited ones; the
// account's earlier entries, allow or deny, are dropped. Failures are printed on standard output.
// reserved1 and reserved2 have no meaning: any value is accepted and ignored (scripts pass 0).
SETUPCLS_C int WINAPI AdjustAccessRights(const char* system, int reserved1, int reserved2, const char* path,
                                         const char* account, DWORD mask);
