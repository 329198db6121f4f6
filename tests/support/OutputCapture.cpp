#include "OutputCapture.h"

#include "TestSupport.h"

#include <cstdio>
#include <io.h>

namespace testsupport {

std::string StdoutOf(const std::function<void()>& body)
{
    char folder[MAX_PATH] = {}, name[MAX_PATH] = {};
    GetTempPathA(MAX_PATH, folder);
    if (!GetTempFileNameA(folder, "out", 0, name))
        return "(no temporary file)";
    fflush(stdout);
    const int saved = _dup(_fileno(stdout));
    FILE* target = fopen(name, "wb");
    _dup2(_fileno(target), _fileno(stdout));
    fclose(target);
    body();
    fflush(stdout);
    _dup2(saved, _fileno(stdout));
    _close(saved);
    const std::string text = ReadFileBytes(name);
    DeleteFileA(name);
    return text;
}

}  // namespace testsupport
