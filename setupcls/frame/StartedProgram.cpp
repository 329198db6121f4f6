#include "StartedProgram.h"

#include "Failure.h"
#include "TextRules.h"

#include <cstring>
#include <string>

namespace {

const size_t kMaxCommandLength = 32766;

}  // namespace

StartedProgram StartProgram(const char* commandLine, BOOL inherit, DWORD flags, DWORD startFlags, const char* folder)
{
    StartedProgram started;
    if (!commandLine) {
        started.status = ERROR_INVALID_PARAMETER;
        return started;
    }
    if (strlen(commandLine) > kMaxCommandLength) {
        started.status = ERROR_FILENAME_EXCED_RANGE;
        return started;
    }
    std::string line = commandLine;  // CreateProcessA may write into its command line
    STARTUPINFOA startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = startFlags;
    PROCESS_INFORMATION info = {};
    started.status = failure::StatusOf(CreateProcessA(nullptr, &line[0], nullptr, nullptr, inherit, flags, nullptr,
                                                      IsEmptyText(folder) ? nullptr : folder, &startup, &info));
    if (started.status == ERROR_SUCCESS) {
        started.process.reset(info.hProcess);
        UniqueHandle thread(info.hThread);
    }
    return started;
}
