#include "UpgradeTarget.h"

#include "CComputer.h"
#include "TextRules.h"

#include <cstring>

namespace {

// The machine's own environment, which records the processor architecture as "x86", "AMD64",
// "IA64" or "ARM64". The key is outside SOFTWARE and has one view only.
const char kEnvironmentKey[] = "SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Environment";
const char kArchitectureValue[] = "PROCESSOR_ARCHITECTURE";
const char* const k64BitArchitectureNames[] = {"AMD64", "IA64", "ARM64"};

#ifndef PROCESSOR_ARCHITECTURE_ARM64
#define PROCESSOR_ARCHITECTURE_ARM64 12
#endif
const WORD k64BitArchitectures[] = {PROCESSOR_ARCHITECTURE_AMD64, PROCESSOR_ARCHITECTURE_IA64,
                                    PROCESSOR_ARCHITECTURE_ARM64};

bool IsLocal64Bit()
{
    SYSTEM_INFO info;
    memset(&info, 0, sizeof(info));
    GetNativeSystemInfo(&info);
    for (WORD architecture : k64BitArchitectures) {
        if (info.wProcessorArchitecture == architecture)
            return true;
    }
    return false;
}

bool IsOther64Bit(const char* machine)
{
    upgrade::TargetRegistry target(machine);
    if (!target.root())
        return false;
    UniqueKey key;
    if (key.kept(RegOpenKeyExA(target.root(), kEnvironmentKey, 0, KEY_READ, key.put())) != ERROR_SUCCESS)
        return false;
    char name[32] = "";
    DWORD size = sizeof(name) - 1;
    DWORD type = REG_NONE;
    if (RegQueryValueExA(key.get(), kArchitectureValue, nullptr, &type, reinterpret_cast<BYTE*>(name), &size)
            != ERROR_SUCCESS
        || (type != REG_SZ && type != REG_EXPAND_SZ))
        return false;
    name[size] = '\0';
    for (const char* architecture : k64BitArchitectureNames) {
        if (lstrcmpiA(name, architecture) == 0)
            return true;
    }
    return false;
}

}  // namespace

namespace upgrade {

bool IsLocalMachine(const char* machine)
{
    return IsEmptyText(machine) || CComputer::IsLocalMachine(machine);
}

TargetRegistry::TargetRegistry(const char* machine) : m_local(IsLocalMachine(machine))
{
    if (!m_local)
        m_remote.kept(RegConnectRegistryA(machine, HKEY_LOCAL_MACHINE, m_remote.put()));
}

bool IsRemote64BitSystem(const char* machine)
{
    return IsLocalMachine(machine) ? IsLocal64Bit() : IsOther64Bit(machine);
}

}  // namespace upgrade
