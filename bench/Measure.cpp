#include "Bench.h"

#include "Handles.h"

#include <algorithm>
#include <cstdio>

namespace {

double Now()
{
    static LARGE_INTEGER frequency = [] {
        LARGE_INTEGER value;
        QueryPerformanceFrequency(&value);
        return value;
    }();
    LARGE_INTEGER counter;
    QueryPerformanceCounter(&counter);
    return static_cast<double>(counter.QuadPart) / static_cast<double>(frequency.QuadPart);
}

bool TimeOnce(const char* what, const Variant& variant, Series& series)
{
    if (variant.prepare)
        variant.prepare();
    const double start = Now();
    const bool ran = variant.run();
    series.seconds.push_back(Now() - start);
    if (ran && (!variant.check || variant.check()))
        return true;
    std::fprintf(stderr, "setupcls_bench: the %s variant did not do the work\n", what);
    return false;
}

}  // namespace

double Series::Median() const
{
    std::vector<double> sorted(seconds);
    std::sort(sorted.begin(), sorted.end());
    const size_t n = sorted.size();
    return n == 0 ? 0 : (n % 2 ? sorted[n / 2] : (sorted[n / 2 - 1] + sorted[n / 2]) / 2);
}

double Series::Min() const { return seconds.empty() ? 0 : *std::min_element(seconds.begin(), seconds.end()); }
double Series::Max() const { return seconds.empty() ? 0 : *std::max_element(seconds.begin(), seconds.end()); }

std::string Series::Text() const
{
    char text[64];
    std::snprintf(text, sizeof(text), "%.3f (%.3f-%.3f)", Median(), Min(), Max());
    return text;
}

bool Measure(Row& row, int runs, const Variant& library, const Variant& tool, const Variant& floor)
{
    std::fprintf(stderr, "%s, %d: ", row.operation.c_str(), row.size);
    for (int run = 0; run < runs; ++run) {
        // Each run starts with another variant, so that none always meets the cold caches.
        for (int turn = 0; turn < 3; ++turn) {
            const int which = (run + turn) % 3;
            const bool done = which == 0   ? TimeOnce("library", library, row.library)
                              : which == 1 ? TimeOnce("tool", tool, row.tool)
                                           : TimeOnce("floor", floor, row.floor);
            if (!done)
                return false;
        }
        std::fprintf(stderr, ".");
    }
    std::fprintf(stderr, " library %s, tool %s, floor %s\n", row.library.Text().c_str(), row.tool.Text().c_str(),
                 row.floor.Text().c_str());
    return true;
}

bool RunTool(const std::string& commandLine)
{
    SECURITY_ATTRIBUTES inherit = {sizeof(inherit), nullptr, TRUE};
    UniqueFile nul(CreateFileA("NUL", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit,
                               OPEN_EXISTING, 0, nullptr));
    STARTUPINFOA startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = nul.get();
    startup.hStdOutput = nul.get();
    startup.hStdError = nul.get();
    PROCESS_INFORMATION process = {};
    std::string line(commandLine);  // CreateProcessA may write into its command line
    if (!CreateProcessA(nullptr, &line[0], nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process))
        return false;
    UniqueHandle child(process.hProcess);
    UniqueHandle thread(process.hThread);
    WaitForSingleObject(child.get(), INFINITE);
    DWORD code = 1;
    GetExitCodeProcess(child.get(), &code);
    return code == 0;
}

std::string SystemFolder()
{
    char folder[MAX_PATH] = {};
    GetSystemDirectoryA(folder, MAX_PATH);
    return folder;
}
