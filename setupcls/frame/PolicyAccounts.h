// The local security authority's account calls that the system's import headers do not declare
// (advapi32 exports them). Internal to the library; the tests see the same declarations.
#pragma once

#include <windows.h>
#include <ntsecapi.h>

extern "C" {
NTSTATUS NTAPI LsaOpenAccount(LSA_HANDLE policy, PSID accountSid, ACCESS_MASK access, PLSA_HANDLE account);
NTSTATUS NTAPI LsaSetSystemAccessAccount(LSA_HANDLE account, ULONG systemAccess);
NTSTATUS NTAPI LsaAddPrivilegesToAccount(LSA_HANDLE account, PPRIVILEGE_SET privileges);
}
