// The trace log: lines written with CLog::Write (open, append, close per line) against one file
// kept open and against two bare loops, the same stamped line each time: the open-append-close
// loop (the fewest calls), and the loop of the log's own per-line steps (open, move to the end,
// lock, write, unlock, close), which keeps concurrent writers' lines whole.
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

UniqueFile Open(const std::string& path, DWORD access)
{
    return UniqueFile(CreateFileA(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS,
                                  FILE_ATTRIBUTE_NORMAL, nullptr));
}

UniqueFile OpenAppend(const std::string& path) { return Open(path, FILE_APPEND_DATA); }

// One line as the log's steps write it, without its retry when another writer moved the end.
bool AppendLocked(const std::string& path, int step)
{
    UniqueFile file = Open(path, GENERIC_WRITE);
    if (!file)
        return false;
    char line[640];
    const DWORD length = static_cast<DWORD>(FormatLine(line, step));
    const DWORD end = SetFilePointer(file.get(), 0, nullptr, FILE_END);
    LockFile(file.get(), end, 0, end + length, 0);
    DWORD written = 0;
    const bool ok = WriteFile(file.get(), line, length, &written, nullptr) && written == length;
    UnlockFile(file.get(), end, 0, end + length, 0);
    return ok;
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
        const Variant library{prepare, [&] {
                                  bool all = true;
                                  for (int step = 0; step < lines; ++step)
                                      all = CLog::Write(path.c_str(), kFormat, step) && all;
                                  return all;
                              }, written};
        const Variant oneOpenFile{prepare, [&] {
                                      UniqueFile file = OpenAppend(path);
                                      bool all = static_cast<bool>(file);
                                      for (int step = 0; all && step < lines; ++step)
                                          all = Append(file.get(), step);
                                      return all;
                                  }, written};
        const Variant appendLoop{prepare, [&] {
                                     bool all = true;
                                     for (int step = 0; all && step < lines; ++step) {
                                         UniqueFile file = OpenAppend(path);
                                         all = file && Append(file.get(), step);
                                     }
                                     return all;
                                 }, written};
        const Variant lockedLoop{prepare, [&] {
                                     bool all = true;
                                     for (int step = 0; all && step < lines; ++step)
                                         all = AppendLocked(path, step);
                                     return all;
                                 }, written};
        Row row{"trace log lines", lines, {}, {}, {}};
        Row locked{"trace log lines, locked loop as floor", lines, {}, {}, {}};
        ok = Measure(row, options.runs, library, oneOpenFile, appendLoop) &&
             Measure(locked, options.runs, library, oneOpenFile, lockedLoop);
        rows.push_back(row);
        rows.push_back(locked);
        DeleteFileA(path.c_str());
        if (!ok)
            break;
    }
    return ok;
}
