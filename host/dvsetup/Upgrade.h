// What comes before the files of an installation are touched, as dvsetup does it: the product's
// running consoles are closed, the upgrade verdict for the medium is asked, and an earlier
// product that may be replaced has its keys backed up and is removed; after the new layout is
// written, the backed-up keys come back. Also the product's job queue, created with the
// installation and deleted with it.
#pragma once

#include "Report.h"

#include "CString.h"

// Asks every product console that runs to close, and waits until it has gone.
void CloseConsoles(StepReport& report);
// Lists the product's consoles and whether each runs; answers how many run.
int PrintConsoles();

// A value of the medium's SETUP.INF, section [Setup]: "ProductDescriptor" names the product's
// record in the registry, "ProductCode" its Windows Installer product code, under which its Add
// or Remove Programs entry is kept.
CString MediumSetupValue(const CString& medium, const char* key);

// The upgrade verdict an installation from the medium gets on this machine (0 allowed, 1 not
// allowed, 2 nothing installed, 3 this very version and build installed), and its words.
unsigned long UpgradeVerdict(const CString& medium, unsigned long* earlier);
const char* VerdictText(unsigned long verdict);

// Asks the verdict and acts on it: nothing installed goes on; an allowed upgrade backs up the
// earlier product's keys and removes it. Answers false when the installation must stop (the
// upgrade is refused, or the backup or the removal failed).
bool PrepareUpgrade(StepReport& report, const CString& medium);
// Puts the backed-up keys of an earlier product back below the new layout (nothing to do after
// a fresh installation).
void RestoreEarlierKeys(StepReport& report);

// The job queue in the home folder: the medium's job-queue library copied beside the services,
// then the queue created through it.
void CreateJobQueue(StepReport& report, const CString& medium, const CString& home);
void DeleteJobQueue(StepReport& report);
void PrintUpgradeAndQueue(const CString& medium);
