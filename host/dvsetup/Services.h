// The product's services on the machine, as dvsetup installs, reports and removes them: the job
// engine and the message engine, run by the medium's programs of those names copied into the
// product's home folder, each allowed through the firewall.
#pragma once

#include "Report.h"

#include "CString.h"

// A service state (SERVICE_RUNNING...) and a start type (SERVICE_AUTO_START...) in words.
const char* StateName(DWORD state);
const char* StartTypeName(DWORD startType);

// Copies the service programs from the medium into home, installs each service (automatic
// start, under the account given, or LocalSystem for an empty one), gives it its failure actions
// and access list, starts it and opens the firewall for its program.
void InstallServices(StepReport& report, const CString& medium, const CString& home, const char* account,
                     const char* password);
// Stops each service (and what depends on it), closes the firewall for its program and removes
// it.
void UninstallServices(StepReport& report, const CString& home);
// Prints each service's state, start type, program and dependencies, and the firewall's answers.
// Answers the number of services installed.
int PrintServices(const CString& home);

// The start type of each service, kept as a value of HKEY_LOCAL_MACHINE\<key> (product view)
// before an earlier product is removed, and given back to the new services after the install:
// a user who set a service to start by hand keeps that choice across an upgrade.
void BackupServiceStartTypes(StepReport& report, const char* key);
void RestoreServiceStartTypes(StepReport& report, const char* key);
