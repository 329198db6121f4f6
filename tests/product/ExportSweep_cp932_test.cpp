// Every plain export of SetupCLS.dll called with hostile arguments (the table of the fixture
// exportsweep.exe), each export in a process of its own so that one crash hides nothing. It runs
// with the ANSI code page 932, where a text ending in a lone lead byte (0x81) is a trap. The
// fixture runs from a scratch folder of its own: no UpgradeUtil.exe beside it, and DVDCEN.DLL
// there, so that the scrambling functions reach the scrambler.
#include "TestSupport.h"

#include <dbghelp.h>
#include <gtest/gtest.h>

#include <algorithm>
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

// The plain (undecorated, not C++) names in the export table of this build's SetupCLS.dll.
std::vector<std::string> PlainExports()
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
    for (DWORD i = 0; i < exports->NumberOfNames; ++i)
        if (strncmp(base + rvas[i], "_Z", 2) != 0)
            names.push_back(base + rvas[i]);
    return names;
}

}  // namespace

TEST(ExportSweep, EveryPlainExportSurvivesHostileArguments)
{
    ASSERT_EQ(932u, GetACP());
    testsupport::TempDir dir;
    for (const char* name : {"exportsweep.exe", "SetupCLS.dll", "DVDCEN.DLL"})
        ASSERT_TRUE(testsupport::CopyFixture(name, dir / name)) << name;
    const std::string program = "\"" + (dir / "exportsweep.exe") + "\"";
    std::string listed;
    ASSERT_EQ(0, testsupport::RunProgramCapture(program + " list", listed));
    const std::vector<std::string> table = Lines(listed);

    const std::vector<std::string> exports = PlainExports();
    ASSERT_FALSE(exports.empty());
    for (const std::string& name : exports)
        EXPECT_NE(table.end(), std::find(table.begin(), table.end(), name)) << name << " has no sweep entry";

    testsupport::ScopedCurrentDir keepFolder;
    for (const std::string& name : table) {
        testsupport::TempDir scratch;
        ASSERT_TRUE(SetCurrentDirectoryA(scratch.path().c_str()));
        std::string output;
        const long code = testsupport::RunProgramCapture(program + " " + name + " \"" + scratch.path() + "\"", output, 30000);
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
