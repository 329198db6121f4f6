// What the benchmark's parts share: the timed series, the reference tools run as child
// processes, and the rows of the result table.
#pragma once

#include <windows.h>

#include <functional>
#include <string>
#include <vector>

// The median, minimum and maximum of a series of runs, in seconds.
struct Series {
    std::vector<double> seconds;
    double Median() const;
    double Min() const;
    double Max() const;
    std::string Text() const;  // "1.234 (1.200-1.300)"
};

// One timed variant of an operation: prepare (not timed), then run (timed); check (not timed)
// answers whether the run did the work, and a run that did not is a failure of the benchmark.
struct Variant {
    std::function<void()> prepare;
    std::function<bool()> run;
    std::function<bool()> check;
};

// The three variants of one operation at one size, measured interleaved run by run so that a
// slow phase of the machine touches all three alike.
struct Row {
    std::string operation;
    int size;
    Series library, tool, floor;
};
bool Measure(Row& row, int runs, const Variant& library, const Variant& tool, const Variant& floor);

// Runs a command line as a child process with its output sent to NUL; true when it ran and
// ended with exit code 0.
bool RunTool(const std::string& commandLine);
// The folder Windows programs live in ("C:\windows\system32").
std::string SystemFolder();

// The parts of the benchmark; each adds its rows. false when a variant failed its check.
struct Options {
    std::vector<int> sizes;
    int runs;
    std::string work;  // the folder the test data lives in
    bool tree = true;  // the tree copy and the tree delete
    bool flat = true;  // the files delete
};
bool BenchFiles(const Options& options, std::vector<Row>& rows);
bool BenchRegistry(const Options& options, std::vector<Row>& rows);
bool BenchTraceLog(const Options& options, std::vector<Row>& rows);

// Test data: `count` small files spread over a tree three levels deep (10 x 10 folders, the
// files in the 100 leaf folders), plus the large files in the top folder.
const int kLargeFiles = 4;
const DWORD kLargeFileBytes = 16u << 20;  // 64 MiB in all
const DWORD kSmallFileBytes = 1024;
void MakeTree(const std::string& root, int count);
void MakeFlat(const std::string& folder, int count);  // small and large files side by side
int CountFiles(const std::string& root);               // files in the whole tree; -1: no folder
// The floor variants: the bare loops.
bool FloorCopy(const std::string& from, const std::string& to);
bool FloorDeleteTree(const std::string& path);
bool FloorDeleteFiles(const std::string& folder);
