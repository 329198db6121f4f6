// Who installs, the service logon account and the access rights of the product folders, as
// dvsetup sets, reports and removes them.
#pragma once

#include "Report.h"

#include "CSettings.h"

// True under Wine, whose local security authority ends the process on the calls that grant
// account rights and which keeps no file or folder access lists: the host says so and goes on
// without those steps instead.
bool RunsUnderWine();

// "Installing as DOMAIN\user (administrator: yes)".
void ReportInstaller(StepReport& report);
// The service logon account named in the answer file: created (or kept), put into
// Administrators and Backup Operators, its group given the backup rights. The name services
// run under ("DOMAIN\user"), or empty for LocalSystem.
CString CreateServiceAccount(StepReport& report, const CSettings& settings);
void DeleteServiceAccount(StepReport& report, const CSettings& settings);
// The product's folder rule on the home folder (its sub folders inherit it).
void ProtectProductFolders(StepReport& report, const char* home);
void PrintAccountAndFolders(const CSettings& settings, const char* home);
