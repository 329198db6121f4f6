// The trace log: lines written with CLog::Write (open, append, close per line) against the bare
// open-append-close loop and against one file kept open, the same stamped line each time.
#include "Bench.h"

#include "Handles.h"
#include "SetupCLS.h"

#include <ctime>
#include <vector>

namespace {

const char kFormat[] = "Step %d: copying the product's files into the installation folder";

// The line as the log writes it: "date time<TAB>message<CR><LF>".
int FormatLine(char (&line)[640], int step)
{
    char date[32], time[32], message[512];
    _strdate(date);
    _strtime(time);
    wsprintfA(message, kFormat, step);
    return wsprintfA(line, "%s %s\t%s\r\n", date, time, message);
}

bool Append(HANDLE file, int step)
{
    char line[640];
    const DWORD length = static_cast<DWORD>(FormatLine(line, step));
    DWORD written = 0;
    return WriteFile(file, line, length, &written, nullptr) && written == length;
}

UniqueFile OpenAppend(const std::string& path)
{
    return UniqueFile(CreateFileA(path.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                  OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
}

int CountLines(const std::string& path)
{
    UniqueFile file(CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    std::vector<char> block(1 << 16);
    int lines = 0;
    DWORD read = 0;
    while (file && ReadFile(file.get(), block.data(), static_cast<DWORD>(block.size()), &read, nullptr) && read > 0)
        for (DWORD i = 0; i < read; ++i)
            lines += block[i] == '\n';
    return lines;
}

}  // namespace

bool BenchTraceLog(const Options& options, std::vector<Row>& rows)
{
    const std::string path = options.work + "\\trace.log";
    bool ok = true;
    for (int lines : options.sizes) {
        const auto prepare = [&] { DeleteFileA(path.c_str()); };
        const auto written = [&] { return CountLines(path) == lines; };
        Row row{"trace log lines", lines, {}, {}, {}};
        ok = Measure(row, options.runs,
                     {prepare, [&] {
                          bool all = true;
                          for (int step = 0; step < lines; ++step)
                              all = CLog::Write(path.c_str(), kFormat, step) && all;
                          return all;
                      }, written},
                     {prepare, [&] {
                          UniqueFile file = OpenAppend(path);
                          bool all = static_cast<bool>(file);
                          for (int step = 0; all && step < lines; ++step)
                              all = Append(file.get(), step);
                          return all;
                      }, written},
                     {prepare, [&] {
                          bool all = true;
                          for (int step = 0; all && step < lines; ++step) {
                              UniqueFile file = OpenAppend(path);
                              all = file && Append(file.get(), step);
                          }
                          return all;
                      }, written});
        rows.push_back(row);
        DeleteFileA(path.c_str());
        if (!ok)
            break;
    }
    return ok;
}
