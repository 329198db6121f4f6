// The plain service functions for installer scripts: a service program driven through its own
// command-line switches, and a service's display name and description set under the service
// manager's lock.
#include "CService.h"

#include "Handles.h"
#include "StartedProgram.h"

#include <cstring>

namespace {

// The command line is built in a buffer of this size, NUL included.
const size_t kCommandLineSize = 260;

// Starts "<commandLine><switchText>" detached, handles inherited, without waiting for it. A line
// that does not fit the buffer is refused rather than cut: a cut line would lose the switch, or
// part of the program's path, and start another command.
int StartWithSwitch(const char* commandLine, const char* switchText)
{
    if (!commandLine) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    const size_t length = strlen(commandLine);
    const size_t switchLength = strlen(switchText);
    if (length + switchLength >= kCommandLineSize) {
        SetLastError(ERROR_FILENAME_EXCED_RANGE);
        return 0;
    }
    char line[kCommandLineSize];
    memcpy(line, commandLine, length);
    memcpy(line + length, switchText, switchLength + 1);
    const StartedProgram started = StartProgram(line, TRUE, DETACHED_PROCESS, 0, nullptr);
    if (!started.process) {
        SetLastError(started.status);
        return 0;
    }
    return 1;
}

}  // namespace

int WINAPI InstallServiceByCmdLine(const char* commandLine)
{
    return StartWithSwitch(commandLine, " -install");
}

int WINAPI RemoveServiceByCmdLine(const char* commandLine)
{
    return StartWithSwitch(commandLine, " -remove");
}

int WINAPI StartServiceByCmdLine(const char* commandLine)
{
    return StartWithSwitch(commandLine, " -start");
}

int WINAPI StopServiceByCmdLine(const char* commandLine)
{
    return StartWithSwitch(commandLine, " -stop");
}

// Kept as the product's setup programs know it: when the service cannot be opened the database
// lock stays taken; and when the description is refused, ADVAPI32.DLL keeps the reference taken
// here (this DLL imports it, so it is never unloaded either way).
int WINAPI ChangeServiceInfo(SC_HANDLE scManager, const char* name, const char* displayName,
                             const char* description)
{
    using ChangeConfig2 = BOOL(WINAPI*)(SC_HANDLE, DWORD, LPVOID);
    UniqueServiceLock lock(LockServiceDatabase(scManager));
    if (!lock)
        return 0;
    UniqueService service(OpenServiceA(scManager, name, SERVICE_ALL_ACCESS));
    if (!service) {
        lock.release();  // left locked on purpose, see above
        return 0;
    }
    if (!ChangeServiceConfigA(service.get(), SERVICE_NO_CHANGE, SERVICE_NO_CHANGE, SERVICE_NO_CHANGE, nullptr,
                              nullptr, nullptr, nullptr, nullptr, nullptr, displayName))
        return 0;
    UniqueModule advapi(LoadLibraryA("ADVAPI32.DLL"));
    const auto change = advapi ? reinterpret_cast<ChangeConfig2>(
                                     reinterpret_cast<void*>(GetProcAddress(advapi.get(), "ChangeServiceConfig2A")))
                               : nullptr;
    SERVICE_DESCRIPTIONA text = {const_cast<char*>(description)};
    if (change && !change(service.get(), SERVICE_CONFIG_DESCRIPTION, &text)) {
        advapi.release();  // kept loaded on purpose, see above
        return 0;
    }
    return 1;
}
