// The folder operations: the test trees, the bare loops, and the three operations measured.
#include "Bench.h"

#include "Handles.h"
#include "SetupCLS.h"

#include <cstring>
#include <vector>

namespace {

bool IsDots(const WIN32_FIND_DATAA& entry)
{
    return std::strcmp(entry.cFileName, ".") == 0 || std::strcmp(entry.cFileName, "..") == 0;
}

bool IsFolder(const WIN32_FIND_DATAA& entry) { return (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0; }

// Calls visit for each entry of the folder but "." and "..", with one search (the basic
// information only, fetched in large blocks). false when the folder cannot be listed.
template <typename Visit>
bool ForEach(const std::string& folder, Visit visit)
{
    WIN32_FIND_DATAA entry;
    UniqueFind find(FindFirstFileExA((folder + "\\*").c_str(), FindExInfoBasic, &entry, FindExSearchNameMatch,
                                     nullptr, FIND_FIRST_EX_LARGE_FETCH));
    if (!find)
        return false;
    bool ok = true;
    do {
        if (!IsDots(entry))
            ok = visit(entry) && ok;
    } while (FindNextFileA(find.get(), &entry));
    return ok;
}

void WriteFile(const std::string& path, DWORD bytes)
{
    static std::vector<char> block(1u << 20, 'x');
    UniqueFile file(CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    for (DWORD left = bytes; file && left > 0;) {
        DWORD written = 0;
        const DWORD chunk = left < block.size() ? left : static_cast<DWORD>(block.size());
        if (!::WriteFile(file.get(), block.data(), chunk, &written, nullptr) || written == 0)
            break;
        left -= written;
    }
}

void MakeLargeFiles(const std::string& folder)
{
    for (int i = 0; i < kLargeFiles; ++i)
        WriteFile(folder + "\\large" + std::to_string(i) + ".bin", kLargeFileBytes);
}

// A deletion that also takes read-only entries: the attribute is known from the search, so it
// is changed only where it stands in the way.
bool DeleteEntry(const std::string& path, const WIN32_FIND_DATAA& entry)
{
    if (entry.dwFileAttributes & FILE_ATTRIBUTE_READONLY)
        SetFileAttributesA(path.c_str(), entry.dwFileAttributes & ~FILE_ATTRIBUTE_READONLY);
    return IsFolder(entry) ? FloorDeleteTree(path) : DeleteFileA(path.c_str()) != 0;
}

bool Gone(const std::string& path) { return GetFileAttributesA(path.c_str()) == INVALID_FILE_ATTRIBUTES; }

}  // namespace

void MakeTree(const std::string& root, int count)
{
    CreateDirectoryA(root.c_str(), nullptr);
    MakeLargeFiles(root);
    for (int leaf = 0; leaf < 100; ++leaf) {
        const std::string level1 = root + "\\dir" + std::to_string(leaf / 10);
        const std::string level2 = level1 + "\\sub" + std::to_string(leaf % 10);
        CreateDirectoryA(level1.c_str(), nullptr);
        CreateDirectoryA(level2.c_str(), nullptr);
        for (int file = leaf; file < count; file += 100)
            WriteFile(level2 + "\\file" + std::to_string(file) + ".dat", kSmallFileBytes);
    }
}

void MakeFlat(const std::string& folder, int count)
{
    CreateDirectoryA(folder.c_str(), nullptr);
    MakeLargeFiles(folder);
    for (int file = 0; file < count; ++file)
        WriteFile(folder + "\\file" + std::to_string(file) + ".dat", kSmallFileBytes);
}

int CountFiles(const std::string& root)
{
    int count = 0;
    bool listed = ForEach(root, [&](const WIN32_FIND_DATAA& entry) {
        if (!IsFolder(entry))
            ++count;
        else
            count += CountFiles(root + "\\" + entry.cFileName);
        return true;
    });
    return listed || !Gone(root) ? count : -1;
}

bool FloorCopy(const std::string& from, const std::string& to)
{
    if (!CreateDirectoryA(to.c_str(), nullptr) && GetLastError() != ERROR_ALREADY_EXISTS)
        return false;
    return ForEach(from, [&](const WIN32_FIND_DATAA& entry) {
        const std::string source = from + "\\" + entry.cFileName;
        const std::string target = to + "\\" + entry.cFileName;
        return IsFolder(entry) ? FloorCopy(source, target) : CopyFileA(source.c_str(), target.c_str(), FALSE) != 0;
    });
}

bool FloorDeleteTree(const std::string& path)
{
    ForEach(path, [&](const WIN32_FIND_DATAA& entry) { return DeleteEntry(path + "\\" + entry.cFileName, entry); });
    return RemoveDirectoryA(path.c_str()) != 0;
}

bool FloorDeleteFiles(const std::string& folder)
{
    return ForEach(folder, [&](const WIN32_FIND_DATAA& entry) {
        return IsFolder(entry) || DeleteEntry(folder + "\\" + entry.cFileName, entry);
    });
}

bool BenchFiles(const Options& options, std::vector<Row>& rows)
{
    const std::string source = options.work + "\\tree";
    const std::string flatSource = options.work + "\\flat";
    const std::string target = options.work + "\\copy";
    const std::string victim = options.work + "\\victim";
    const std::string xcopy = SystemFolder() + "\\xcopy.exe";
    const std::string cmd = SystemFolder() + "\\cmd.exe";
    bool ok = true;
    for (int size : options.sizes) {
        const int files = size + kLargeFiles;
        if (ok && options.tree) {
            MakeTree(source, size);
            // Tree copy into a folder that does not exist yet.
            const auto clearTarget = [&] { FloorDeleteTree(target); };
            const auto copied = [&] { return CountFiles(target) == files; };
            Row copy{"tree copy", size, {}, {}, {}};
            ok = Measure(copy, options.runs,
                         {clearTarget, [&] { CComputer::CopyFileRecursively(source.c_str(), target.c_str(), 0); return true; }, copied},
                         {clearTarget, [&] { return RunTool("\"" + xcopy + "\" \"" + source + "\" \"" + target + "\" /E /I /Y"); }, copied},
                         {clearTarget, [&] { return FloorCopy(source, target); }, copied});
            clearTarget();
            rows.push_back(copy);

            // Tree delete of a copy of the tree.
            const auto makeVictim = [&] { FloorCopy(source, victim); };
            const auto deleted = [&] { return Gone(victim); };
            Row remove{"tree delete", size, {}, {}, {}};
            ok = ok && Measure(remove, options.runs,
                               {makeVictim, [&] { return CComputer::DeleteTree(victim.c_str()) != 0; }, deleted},
                               {makeVictim, [&] { return RunTool("\"" + cmd + "\" /c rmdir /s /q \"" + victim + "\""); }, deleted},
                               {makeVictim, [&] { return FloorDeleteTree(victim); }, deleted});
            FloorDeleteTree(source);
            rows.push_back(remove);
        }
        if (ok && options.flat) {
            // The files of one folder, in a copy of the flat folder.
            MakeFlat(flatSource, size);
            const auto makeFlat = [&] { FloorCopy(flatSource, victim); };
            const auto emptied = [&] { return CountFiles(victim) == 0; };
            Row files_{"files delete", size, {}, {}, {}};
            ok = Measure(files_, options.runs,
                         {makeFlat, [&] { return CComputer::DeleteFiles(victim.c_str(), nullptr) != 0; }, emptied},
                         {makeFlat, [&] { return RunTool("\"" + cmd + "\" /c del /q \"" + victim + "\\*.*\""); }, emptied},
                         {makeFlat, [&] { return FloorDeleteFiles(victim); }, emptied});
            FloorDeleteTree(victim);
            FloorDeleteTree(flatSource);
            rows.push_back(files_);
        }
        if (!ok)
            break;
    }
    return ok;
}
