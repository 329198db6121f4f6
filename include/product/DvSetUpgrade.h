// Upgrade of an earlier product, for the installer scripts: may the installed product be
// upgraded by this one, back up the earlier product's registry keys, and restore them once the
// new product is installed.
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
