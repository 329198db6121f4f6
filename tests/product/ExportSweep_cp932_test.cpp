// Every plain export of SetupCLS.dll called with hostile arguments (the table of the fixture
// exportsweep.exe), each export in a process of its own so that one crash hides nothing. It runs
// with the ANSI code page 932, where a text ending in a lone lead byte (0x81) is a trap. The
// fixture runs from a scratch folder of its own: no UpgradeUtil.exe beside it, and DVDCEN.DLL
// there, so that the scrambling functions reach the scrambler.
#include "TestSupport.h"

#include <dbghelp.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cxxabi.h>
#include <memory>
#include <set>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

namespace {

std::vector<std::string> Lines(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        lines.push_back(line);
    }
    return lines;
}

// The names in the export table of this build's SetupCLS.dll: the plain ones (undecorated, not
// C++), or the C++ functions as the demangler spells them, without a trailing " const".
std::vector<std::string> Exports(bool cplusplus = false)
{
    std::vector<std::string> names;
    UniqueModule module(LoadLibraryA((testsupport::ExeDir() + "SetupCLS.dll").c_str()));
    HMODULE dll = module.get();
    ULONG size = 0;
    auto exports = dll ? static_cast<const IMAGE_EXPORT_DIRECTORY*>(
                             ImageDirectoryEntryToData(dll, TRUE, IMAGE_DIRECTORY_ENTRY_EXPORT, &size))
                       : nullptr;
    if (!exports)
        return names;
    auto base = reinterpret_cast<const char*>(dll);
    auto rvas = reinterpret_cast<const DWORD*>(base + exports->AddressOfNames);
    for (DWORD i = 0; i < exports->NumberOfNames; ++i) {
        const char* name = base + rvas[i];
        if ((strncmp(name, "_Z", 2) == 0) != cplusplus)
            continue;
        if (!cplusplus) {
            names.push_back(name);
            continue;
        }
        int status = 0;
        std::unique_ptr<char, decltype(&free)> text(abi::__cxa_demangle(name, nullptr, nullptr, &status), &free);
        std::string function = text ? text.get() : name;
        if (function.find('(') == std::string::npos || function.compare(0, 7, "vtable ") == 0 ||
            function.compare(0, 9, "typeinfo ") == 0)
            continue;  // data: static members, virtual tables, type information
        if (function.size() > 6 && function.compare(function.size() - 6, 6, " const") == 0)
            function.resize(function.size() - 6);
        names.push_back(function);
    }
    return names;
}

// Copies the sweep program, the DLL and the scrambler into the folder, reads the program's rows,
// and checks that every export of the kind it sweeps (plain, or C++) has one.
void ListRows(const testsupport::TempDir& dir, const char* programName, bool classes, std::string& program,
              std::vector<std::string>& rows)
{
    for (const char* name : {programName, "SetupCLS.dll", "DVDCEN.DLL"})
        ASSERT_TRUE(testsupport::CopyFixture(name, dir / name)) << name;
    program = "\"" + (dir / programName) + "\"";
    std::string listed;
    ASSERT_EQ(0, testsupport::RunProgramCapture(program + " list", listed));
    rows = Lines(listed);
    const std::vector<std::string> exports = Exports(classes);
    ASSERT_FALSE(exports.empty());
    for (const std::string& name : exports)
        EXPECT_NE(rows.end(), std::find(rows.begin(), rows.end(), name)) << name << " has no sweep row";
}

// Runs the sweep program for each group in a fresh scratch folder and reports its faults, its
// crash or its hang with the last case it announced. A group takes seconds; one that has not
// ended after two minutes (room for a busy machine) hangs.
void RunGroups(const testsupport::TempDir& dir, const std::string& program, const std::vector<std::string>& groups)
{
    testsupport::ScopedCurrentDir keepFolder;
    for (const std::string& name : groups) {
        testsupport::TempDir scratch;
        ASSERT_TRUE(SetCurrentDirectoryA(scratch.path().c_str()));
        std::string output;
        const long code = testsupport::RunProgramCapture(program + " " + name + " \"" + scratch.path() + "\"", output, 120000);
        const std::vector<std::string> lines = Lines(output);
        std::string lastCall = "(none)";
        for (const std::string& line : lines)
            if (line.compare(0, 5, "CALL ") == 0)
                lastCall = line.substr(5);
            else if (line.compare(0, 5, "FAIL ") == 0)
                ADD_FAILURE() << line.substr(5);
        const bool done = !lines.empty() && lines.back() == "DONE";
        EXPECT_TRUE(done) << name << ": crashed or hung (exit code " << code << ") in " << lastCall;
        EXPECT_NE(-1, code) << name << ": hung in " << lastCall;
        ASSERT_TRUE(SetCurrentDirectoryA(dir.path().c_str()));
    }
}

}  // namespace

TEST(ExportSweep, EveryPlainExportSurvivesHostileArguments)
{
    ASSERT_EQ(932u, GetACP());
    testsupport::TempDir dir;
    std::string program;
    std::vector<std::string> table;
    ASSERT_NO_FATAL_FAILURE(ListRows(dir, "exportsweep.exe", false, program, table));
    RunGroups(dir, program, table);
}

// Every public member of the exported classes, and the C++ free functions, with hostile arguments
// (the rows of classsweep.exe), one class a process. Every C++ function of the export table has
// a row; the rows of members an installer cannot reach (private, protected) only list them.
TEST(ExportSweep, EveryClassMemberSurvivesHostileArguments)
{
    testsupport::TempDir dir;
    std::string program;
    std::vector<std::string> rows;
    ASSERT_NO_FATAL_FAILURE(ListRows(dir, "classsweep.exe", true, program, rows));

    std::set<std::string> groups;
    for (const std::string& row : rows) {
        const size_t colon = row.find("::"), paren = row.find('(');
        groups.insert(colon < paren ? row.substr(0, colon) : "free");
    }
    // Then the readers once more for each content of the files and of the registry they read.
    for (const char* reader : {"CSetupIcf@file", "CSetupInf@file", "CSettings@file", "CSetupIcf@profile",
                               "CSetupInf@profile", "CSettings@profile", "CProduct@profile", "CTambRegistry@registry",
                               "CSettings@registry", "CJobQueue@registry", "CService@registry"})
        groups.insert(reader);
    RunGroups(dir, program, std::vector<std::string>(groups.begin(), groups.end()));
    // The scratch registry of a run that crashed (wide: its names need not be ANSI).
    RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\DVC-ClassSweep");
    RegDeleteKeyW(HKEY_CURRENT_USER, L"Software\\DVC-ClassSweep");
    HKEY left = nullptr;
    EXPECT_NE(ERROR_SUCCESS, RegOpenKeyExA(HKEY_CURRENT_USER, "Software\\DVC-ClassSweep", 0, KEY_READ, &left));
    UniqueKey holder(left);
}
