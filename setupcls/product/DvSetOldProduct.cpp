// Removing the earlier product, and running the upgrade utility that keeps the configuration
// across a beta upgrade. Both start a program and wait for it; every step goes to the upgrade
// trace.
#include "DvSetUpgrade.h"

#include "CString.h"
#include "Failure.h"
#include "ModulePath.h"
#include "StartedProgram.h"
#include "TextRules.h"
#include "UpgradeTrace.h"

namespace {

const char kUninstallFormat[] = "MSIEXEC /x %s /qn";
// A command line is the earlier product's own uninstaller, which may hand its work to another
// process and end at once; a fixed pause after it gives that work time to finish before the new
// product's files arrive. The installers rely on it: kept on purpose.
const DWORD kAfterCommandPauseMs = 20000;

const char kUtilityName[] = "UpgradeUtil.exe";
const char kBackupFormat[] = "\"%s\" /q Caller=%s OperationMode=Backup ICFPATH=\"%s\"";
const char kRestoreFormat[] = "\"%s\" /q Caller=%s OperationMode=Restore ICFPATH=\"%s\"";
// The answer when the utility could not be started: no exit code of its own means that.
const DWORD kUtilityNotStarted = 0xFFFFFFFF;

// Dispatches every message waiting for the calling thread. A quit request is kept for the
// caller's own message loop, which is what it is meant for; true when one was taken.
bool DispatchWaitingMessages(WPARAM& quitCode)
{
    bool quit = false;
    MSG message;
    while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
        if (message.message == WM_QUIT) {
            quit = true;
            quitCode = message.wParam;
            continue;
        }
        TranslateMessage(&message);
        DispatchMessageA(&message);
    }
    return quit;
}

// Waits until the process has ended, dispatching the caller's window messages meanwhile so that
// its window keeps painting and answering. The process has ended when its exit code is no longer
// STILL_ACTIVE, or, for a program that chose that code itself, when its handle is signalled. A
// wait that fails (or an exit code that cannot be read) stops waiting rather than spin.
void WaitDispatchingMessages(HANDLE process)
{
    bool quit = false;
    WPARAM quitCode = 0;
    DWORD code = STILL_ACTIVE;
    while (GetExitCodeProcess(process, &code) && code == STILL_ACTIVE &&
           WaitForSingleObject(process, 0) == WAIT_TIMEOUT) {
        DWORD wake = MsgWaitForMultipleObjects(1, &process, FALSE, INFINITE, QS_ALLINPUT);
        if (wake == WAIT_OBJECT_0 + 1)
            quit = DispatchWaitingMessages(quitCode) || quit;
        else if (wake != WAIT_OBJECT_0)
            break;
    }
    if (quit)
        PostQuitMessage(static_cast<int>(quitCode));
}

// Null and empty texts start nothing: an empty product code would make the installer show its
// usage box to a silent setup, and an empty command line names no program.
int UninstallOldProduct(const char* codeOrCommand, BOOL isCommandLine, const char* workingFolder)
{
    if (IsEmptyText(codeOrCommand)) {
        upgrade::Trace("RemoveOldProduct FAILED.");
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    CString commandLine = codeOrCommand;
    if (!isCommandLine)
        commandLine.Format(kUninstallFormat, codeOrCommand);
    upgrade::Trace("szCommandLine is %s", commandLine.GetString());
    StartedProgram started = StartProgram(commandLine, FALSE, 0, STARTF_FORCEOFFFEEDBACK, workingFolder);
    if (!started.process) {
        upgrade::Trace("RemoveOldProduct FAILED.");
        return failure::ResultOf(started.status);
    }
    WaitDispatchingMessages(started.process.get());
    if (isCommandLine)
        Sleep(kAfterCommandPauseMs);
    return 1;
}

// Windows' own text for status, without its line end, so that the trace line says why the start
// failed; empty when Windows has none.
template <size_t Size>
void SystemMessage(DWORD status, char (&text)[Size])
{
    DWORD length = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, status, 0, text,
                                  Size, nullptr);
    while (length > 0 && (text[length - 1] == '\n' || text[length - 1] == '\r'))
        --length;
    text[length < Size ? length : 0] = '\0';
}

bool IsFile(const char* path)
{
    DWORD attributes = GetFileAttributesA(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

// Runs the upgrade utility beside the running program, in that folder, and answers its exit
// code. It inherits the caller's handles and gets no console: the utility works silently (/q).
DWORD CallUpgradeUtility(const char* format, const char* icfPath, const char* caller)
{
    if (IsEmptyText(icfPath) || IsEmptyText(caller))
        return ERROR_INVALID_PARAMETER;
    if (!IsFile(icfPath))
        return ERROR_FILE_NOT_FOUND;
    CString program;
    StartedProgram started;
    started.status = ERROR_FILE_NOT_FOUND;  // a program whose path Windows does not tell
    if (ModuleFileName(nullptr, program)) {
        const CString folder = DriveAndFolder(program);
        CString commandLine;
        commandLine.Format(format, (folder + kUtilityName).GetString(), caller, icfPath);
        upgrade::Trace("Call_UpgradeUtility() - The command line is:!%s", commandLine.GetString());
        started = StartProgram(commandLine, TRUE, DETACHED_PROCESS, 0, folder);
    }
    if (!started.process) {
        char reason[512];
        SystemMessage(started.status, reason);
        upgrade::Trace("Call_UpgradeUtility() - Can not create the process UpgradeUtil.exe.%s", reason);
        SetLastError(started.status);
        return kUtilityNotStarted;
    }
    WaitForSingleObject(started.process.get(), INFINITE);
    DWORD code = kUtilityNotStarted;
    GetExitCodeProcess(started.process.get(), &code);
    upgrade::Trace("The return code of the UpgradeUtil.exe is: %d", static_cast<int>(code));
    return code;
}

// Each exported function traces its start and its answer around its work.
template <typename Result, typename Work>
Result Traced(const char* function, Result onException, Work work)
{
    upgrade::Trace("%s() - Start", function);
    Result result = failure::ContainExceptions(onException, work);
    const DWORD reason = GetLastError();  // the trace file's calls would overwrite it
    upgrade::Trace("%s() - End - Return %d,", function, static_cast<int>(result));
    SetLastError(reason);
    return result;
}

}  // namespace

SETUPCLS_C int WINAPI DvSetUninstallOldProd(const char* codeOrCommand, BOOL isCommandLine, const char* workingFolder)
{
    return Traced(__func__, 0, [&] { return UninstallOldProduct(codeOrCommand, isCommandLine, workingFolder); });
}

SETUPCLS_C DWORD WINAPI DvSetBetaUpgrade_Backup(const char* icfPath, const char* caller)
{
    return Traced<DWORD>(__func__, ERROR_NOT_ENOUGH_MEMORY,
                         [&] { return CallUpgradeUtility(kBackupFormat, icfPath, caller); });
}

SETUPCLS_C DWORD WINAPI DvSetBetaUpgrade_Restore(const char* icfPath, const char* caller)
{
    return Traced<DWORD>(__func__, ERROR_NOT_ENOUGH_MEMORY,
                         [&] { return CallUpgradeUtility(kRestoreFormat, icfPath, caller); });
}
