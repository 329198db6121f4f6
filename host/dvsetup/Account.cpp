#include "Account.h"

#include "AccessReport.h"

#include "CCurrentUser.h"
#include "CComputer.h"
#include "CSystemAccount.h"
#include "FolderAccess.h"

#include <cstdio>

namespace {

CSystemAccount AccountOf(const CSettings& settings)
{
    char computer[MAX_COMPUTERNAME_LENGTH + 1] = {};
    unsigned long size = sizeof(computer);
    CComputer::GetComputerNameA(computer, &size);
    const char* domain = CString(settings.SystemAccountDomain()).IsEmpty() ? computer : settings.SystemAccountDomain();
    return CSystemAccount(computer, domain, settings.SystemAccountName(), settings.SystemAccountPassword());
}

bool NamesAccount(const CSettings& settings)
{
    return !CString(settings.SystemAccountName()).IsEmpty();
}

const char kNoAccount[] = "the answer file names no service account; the services run as LocalSystem";
const char kWineAccount[] =
    "Wine's local security authority ends the process when account rights are granted; the services run as "
    "LocalSystem";

}  // namespace

bool RunsUnderWine()
{
    const HMODULE ntdll = GetModuleHandleA("ntdll.dll");
    return ntdll && GetProcAddress(ntdll, "wine_get_version");
}

void ReportInstaller(StepReport& report)
{
    CCurrentUser user;
    report.Note("installing as %s\\%s (administrator: %s)", user.GetDomain(), user.GetUser(),
                CCurrentUser::IsAdministrator() ? "yes" : "no");
}

CString CreateServiceAccount(StepReport& report, const CSettings& settings)
{
    const char* step = "Create the service logon account";
    if (!NamesAccount(settings)) {
        report.Skip(step, kNoAccount);
        return "";
    }
    if (RunsUnderWine()) {
        report.Skip(step, kWineAccount);
        return "";
    }
    const CSystemAccount account = AccountOf(settings);
    if (!report.Step(step, account.Create() != 0))
        return "";
    return CString(account.Domain()) + "\\" + account.User();
}

void DeleteServiceAccount(StepReport& report, const CSettings& settings)
{
    const char* step = "Delete the service logon account";
    if (!NamesAccount(settings))
        report.Skip(step, kNoAccount);
    else if (RunsUnderWine())
        report.Skip(step, "none was created under Wine");
    else
        report.Step(step, AccountOf(settings).Delete() != 0);
}

void ProtectProductFolders(StepReport& report, const char* home)
{
    const char* step = "Give the product folders their access list";
    const int done = AddAccessPermissionOnFolder(home);
    if (!done && GetLastError() == ERROR_NONE_MAPPED && RunsUnderWine())
        report.Skip(step,
                    "Wine has no NT SERVICE\\TrustedInstaller account (1332), which the list names on Windows 6 "
                    "and later, and keeps no folder access lists");
    else
        report.Step(step, done != 0);
}

void PrintAccountAndFolders(const CSettings& settings, const char* home)
{
    printf("Service account\n");
    if (!NamesAccount(settings)) {
        printf("  (none named: the services run as LocalSystem)\n");
    } else {
        const CSystemAccount account = AccountOf(settings);
        printf("  %s\\%s, %s account, exists: %s\n", account.Domain(), account.User(),
               account.Local() ? "local" : "domain", account.Exists() ? "yes" : "no");
    }
    printf("Access rights of the product folder\n");
    const struct {
        DWORD rid;
        const char* group;
    } groups[] = {{DOMAIN_ALIAS_RID_ADMINS, "Administrators"},
                  {DOMAIN_ALIAS_RID_BACKUP_OPS, "Backup Operators"},
                  {DOMAIN_ALIAS_RID_USERS, "Users"}};
    for (const auto& group : groups) {
        DWORD mask = 0;
        if (GetBuiltinDomainAccessMaskOnFolder(home, group.rid, &mask))
            printf("  %-18s 0x%08lX\n", group.group, mask);
        else
            printf("  %-18s (cannot be read: error %lu)\n", group.group, GetLastError());
    }
    PrintFolderAccess(home);
}
