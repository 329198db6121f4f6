// The machine an upgrade is decided for: this computer or another one on the network, named by
// the installer. Internal to the product area.
#pragma once

#include "Handles.h"

namespace upgrade {

// Null, empty or this computer's name (in any letter case) name this machine.
bool IsLocalMachine(const char* machine);

// HKEY_LOCAL_MACHINE of the target machine: the predefined key here, a remote registry
// connection (RegConnectRegistryA) for another machine, held until the object dies. root() is
// null when the other machine's registry cannot be reached: its keys are then never looked for
// in this machine's registry instead.
class TargetRegistry {
public:
    explicit TargetRegistry(const char* machine);
    HKEY root() const { return m_local ? HKEY_LOCAL_MACHINE : m_remote.get(); }

private:
    bool m_local;
    UniqueKey m_remote;
};

// Whether the target runs a 64-bit Windows (x64, Itanium or ARM64). This machine answers through
// its native system information, whatever the bitness of the running process; another machine
// through the processor architecture its registry records for its environment. A machine that
// cannot be asked is taken for a 32-bit one.
bool IsRemote64BitSystem(const char* machine);

}  // namespace upgrade
