// Upgrade of an earlier product, for the installer scripts: may the installed product be
// upgraded by this one, back up the earlier product's registry keys, remove the earlier product,
// and restore the keys once the new product is installed; and the external utility that keeps
// the configuration across a beta upgrade.
//
// What may be upgraded is described by "setup.inf" in the setup folder (see CProduct.h): the new
// product, and the list of earlier products, entries 01 to 99 of section "Upgrade" (entry 00 is
// never read; the first entry without a product code ends the list). What is installed is the
// product record named by the product descriptor in the product registry of the target machine
// (null, empty or this computer's name: this machine), and the earlier product's Windows
// Installer entry under "Software\Microsoft\Windows\CurrentVersion\Uninstall".
//
// The backup key is the product key (CTambRegistry's product key path) with "(BACKUP)"
// appended, below HKEY_LOCAL_MACHINE in the product's 32-bit view.
//
// Every step is written to the upgrade trace: "Upgrade_SetupCls.log" in the folder the
// environment variable UPGRADE_SETUPCLS names, when it is set.
#pragma once

#include "SetupCLSExport.h"

// The verdicts of DvSetIsAllowUpgrade.
#define DVSET_UPGRADE_ALLOWED 0
#define DVSET_UPGRADE_REFUSED 1          // not allowed, or an installed product the list does not name
#define DVSET_UPGRADE_NOTHING_INSTALLED 2
#define DVSET_UPGRADE_SAME_BUILD 3       // this very version and build is installed

// Bytes of the product code buffer of DvSetBKOldProduct: a product code read from setup.inf
// always fits, with its NUL.
#define DVSET_PRODUCT_CODE_SIZE 260

// The upgrade verdict for the product productDescriptor on machine, one of the DVSET_UPGRADE_
// values. Unless nothing is installed, *versionBuild (when not null) receives the installed
// product's build << 16 | version (major << 8 | minor); with nothing installed it is not written.
SETUPCLS_C int WINAPI DvSetIsAllowUpgrade(const char* setupFolder, const char* productDescriptor,
                                          DWORD* versionBuild, const char* machine);

// Backs up the installed earlier product's keys, found as DvSetIsAllowUpgrade finds it, into the
// backup key: its sub keys (RegSubKeyNN) at their new paths (RegSubKeyNewNN, the same name where
// none is given) with everything below them, and its backup values (RegBKValuesNN) of its key
// (RegRootKeyNN; the product key when none is named). A sub key the earlier product does not have
// is no failure. productCode (when not null, DVSET_PRODUCT_CODE_SIZE bytes) receives the earlier
// product's product code, empty when none was found. 1 when the keys were backed up; 0 when no
// earlier product was found, the machine is another one (only this machine's keys are copied),
// or a copy failed.
SETUPCLS_C int WINAPI DvSetBKOldProduct(const char* setupFolder, const char* productDescriptor, char* productCode,
                                        const char* machine);

// Moves the backup key, when there is one, with everything below it into the product key, and
// deletes it.
SETUPCLS_C void WINAPI DvSetRSOldProdRegKey(void);

// Creates key + "(BACKUP)" + "\" + each sub key of subKeys (comma-separated; empty items are
// skipped) below HKEY_LOCAL_MACHINE in the product's view, so that the backup holds the new
// paths even where the earlier product had nothing to carry over. key: a key path; null or
// empty: the product key. 1 when every key was created (none named included), 0 otherwise.
SETUPCLS_C int WINAPI DvSetCreateRSSubRegKeys(const char* key, const char* subKeys);

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
