// Upgrade of an earlier product, for the installer scripts: the verdict whether the installed
// product may be upgraded, the backup and restore of its registry keys, its removal, and the
// external utility that keeps the configuration across a beta upgrade.
//
// Every step writes to the upgrade trace when the environment variable UPGRADE_SETUPCLS names a
// folder: the lines go to "Upgrade_SetupCls.log" in it.
#pragma once

#include "SetupCLSExport.h"

// ---- Removing the earlier product and running the upgrade utility ----

// Removes the earlier product: runs "MSIEXEC /x <codeOrCommand> /qn" for a product code, or
// codeOrCommand itself when isCommandLine is non-zero, in workingFolder when it is not empty
// (else in the caller's current folder). Waits for it to end while dispatching the calling
// thread's window messages, so that the installer's window stays responsive; after a command
// line it waits 20 seconds more, for the uninstaller that command may have left running.
// 1 when the command ran (whatever its exit code), 0 when it could not be started (a null
// codeOrCommand, or a command longer than a command line may be, among the causes; the reason
// is left in GetLastError).
SETUPCLS_C int WINAPI DvSetUninstallOldProd(const char* codeOrCommand, BOOL isCommandLine, const char* workingFolder);

// Runs the upgrade utility "UpgradeUtil.exe", found beside the running program, to back up
// (before the upgrade) or restore (after it) the configuration that the setup configuration file
// icfPath describes, naming caller (the running setup program) to it:
//   "<utility>" /q Caller=<caller> OperationMode=Backup ICFPATH="<icfPath>"
//   "<utility>" /q Caller=<caller> OperationMode=Restore ICFPATH="<icfPath>"
// The utility runs detached, in its own folder, and is waited for without time-out.
// Answers the utility's exit code; ERROR_INVALID_PARAMETER (87) for a null or empty argument,
// ERROR_FILE_NOT_FOUND (2) when icfPath names no file, both without starting anything; and
// 0xFFFFFFFF when the utility could not be started.
SETUPCLS_C DWORD WINAPI DvSetBetaUpgrade_Backup(const char* icfPath, const char* caller);
SETUPCLS_C DWORD WINAPI DvSetBetaUpgrade_Restore(const char* icfPath, const char* caller);

// ---- end of the removal and upgrade utility functions ----
