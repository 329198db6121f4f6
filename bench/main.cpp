// setupcls_bench: times the library's bulk operations against the reference tools and the bare
// Win32 loops on the same data, and prints the result as a Markdown table.
//
//   setupcls_bench.exe [/sizes:200,2000,20000] [/runs:5] [/only:tree,flat,registry,log]
//
// The parts: tree (tree copy and tree delete), flat (files delete, one folder), registry, log.
//
// The test data lives in %TEMP%\setupcls-bench, which is removed at the end; the registry part
// uses HKLM\SOFTWARE\Brannoch\BN Drosvane Backup and its backup key (32-bit view), and refuses
// to run when either exists already. Progress goes to the error output, the table to the output.
#include "Bench.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>

namespace {

const char* Value(const char* argument, const char* name)
{
    const size_t length = std::strlen(name);
    return _strnicmp(argument, name, length) == 0 ? argument + length : nullptr;
}

std::string Ratio(double part, double whole)
{
    char text[32];
    std::snprintf(text, sizeof(text), whole > 0 ? "%.2fx" : "-", part / whole);
    return text;
}

void PrintTable(const std::vector<Row>& rows)
{
    std::printf("| operation | size | library s | tool s | floor s | library/tool | library/floor |\n");
    std::printf("|---|---:|---:|---:|---:|---:|---:|\n");
    for (const Row& row : rows)
        std::printf("| %s | %d | %s | %s | %s | %s | %s |\n", row.operation.c_str(), row.size,
                    row.library.Text().c_str(), row.tool.Text().c_str(), row.floor.Text().c_str(),
                    Ratio(row.library.Median(), row.tool.Median()).c_str(),
                    Ratio(row.library.Median(), row.floor.Median()).c_str());
}

}  // namespace

int main(int argc, char** argv)
{
    Options options{{200, 2000, 20000}, 5, ""};
    std::string only = "tree,flat,registry,log";
    for (int i = 1; i < argc; ++i) {
        if (const char* sizes = Value(argv[i], "/sizes:")) {
            options.sizes.clear();
            std::stringstream list(sizes);
            for (std::string item; std::getline(list, item, ',');)
                if (std::atoi(item.c_str()) > 0)
                    options.sizes.push_back(std::atoi(item.c_str()));
        } else if (const char* runs = Value(argv[i], "/runs:")) {
            options.runs = std::atoi(runs);
        } else if (const char* parts = Value(argv[i], "/only:")) {
            only = parts;
        } else {
            std::fprintf(stderr, "usage: setupcls_bench [/sizes:200,2000,20000] [/runs:5] [/only:tree,flat,registry,log]\n");
            return 2;
        }
    }
    if (options.sizes.empty() || options.runs < 1) {
        std::fprintf(stderr, "setupcls_bench: no size or no run to measure\n");
        return 2;
    }
    char temp[MAX_PATH] = {};
    GetTempPathA(MAX_PATH, temp);
    options.work = std::string(temp) + "setupcls-bench";
    FloorDeleteTree(options.work);
    CreateDirectoryA(options.work.c_str(), nullptr);
    // The upgrade steps trace only when this names a folder: the measured move runs untraced,
    // as the bare loop does.
    SetEnvironmentVariableA("UPGRADE_SETUPCLS", nullptr);

    std::vector<Row> rows;
    bool ok = true;
    options.tree = only.find("tree") != std::string::npos;
    options.flat = only.find("flat") != std::string::npos;
    if (ok && (options.tree || options.flat))
        ok = BenchFiles(options, rows);
    if (ok && only.find("registry") != std::string::npos)
        ok = BenchRegistry(options, rows);
    if (ok && only.find("log") != std::string::npos)
        ok = BenchTraceLog(options, rows);
    FloorDeleteTree(options.work);

    PrintTable(rows);
    for (const Row& row : rows)
        if (row.operation == "trace log lines")
            std::printf("\ntrace log, %d lines: library %.0f lines/s, one open file %.0f lines/s, "
                        "open-append-close loop %.0f lines/s", row.size, row.size / row.library.Median(),
                        row.size / row.tool.Median(), row.size / row.floor.Median());
        else if (row.operation.find("trace log") == 0)
            std::printf("\ntrace log, %d lines: library %.0f lines/s, locked loop %.0f lines/s", row.size,
                        row.size / row.library.Median(), row.size / row.floor.Median());
    std::printf("\n");
    return ok ? 0 : 1;
}
