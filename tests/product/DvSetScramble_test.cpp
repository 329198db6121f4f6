#include "DvSetScramble.h"

#include "ImportHook.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <sstream>
#include <vector>

using namespace testsupport;

namespace {

using Bytes = std::vector<BYTE>;
const BYTE* const kPlain = reinterpret_cast<const BYTE*>("password");  // scrambles to 16 bytes

Bytes Through(decltype(&DVSET_ZOREncrypt) direction, const Bytes& in)
{
    Bytes out(256);
    DWORD length = static_cast<DWORD>(out.size());
    EXPECT_EQ(0, direction(in.data(), static_cast<DWORD>(in.size()), out.data(), &length));
    out.resize(length);
    return out;
}

class Scramble : public ScramblerTest {};

}  // namespace

TEST_F(Scramble, RoundTripsBytesAndTextThroughTheLibrary)
{
    bool sawLowByte = false;
    for (const std::string& plain : {std::string("a"), std::string("\0\xff\x10 zero!", 9), std::string(32, 'p')}) {
        SCOPED_TRACE(plain);
        const Bytes scrambled = Through(DVSET_ZOREncrypt, Bytes(plain.begin(), plain.end()));
        ASSERT_GT(scrambled.size(), plain.size());
        EXPECT_NE(plain, std::string(scrambled.begin(), scrambled.begin() + plain.size()));
        EXPECT_EQ(Bytes(plain.begin(), plain.end()), Through(DVSET_ZORDecrypt, scrambled));
        // The text form: the same bytes, two lower-case digits each, then a zero.
        char text[DVSET_NUMSTR_TEXT_SIZE], pair[3];
        DWORD textLength = 0;
        ASSERT_EQ(0, DVSET_ZOREncrypt_NUMSTR(reinterpret_cast<const BYTE*>(plain.data()), DWORD(plain.size()), text, &textLength));
        ASSERT_EQ(2 * scrambled.size(), textLength);
        for (size_t i = 0; i < scrambled.size(); ++i) {
            snprintf(pair, sizeof(pair), "%02x", scrambled[i]);
            EXPECT_EQ(pair, std::string(text + 2 * i, 2)) << "byte " << i;
            sawLowByte = sawLowByte || scrambled[i] < 0x10;
        }
        EXPECT_EQ('\0', text[textLength]);
        Bytes back(64);  // back from the text; an odd last character is ignored
        DWORD backLength = static_cast<DWORD>(back.size());
        text[textLength] = '7';
        ASSERT_EQ(0, DVSET_ZORDecrypt_NUMSTR(text, textLength + 1, back.data(), &backLength));
        EXPECT_EQ(plain, std::string(back.begin(), back.begin() + backLength));
    }
    EXPECT_TRUE(sawLowByte) << "no scrambled byte below 0x10: the text form's leading zero went unchecked";
}

// Random bytes of every length the text form holds (71 bytes scramble to 72, 144 digits) come
// back unchanged. The library stays loaded meanwhile, so that its key is made once.
TEST_F(Scramble, RandomBytesOfEveryLengthComeBack)
{
    const unsigned seed = 1125;
    std::mt19937 random(seed);
    UniqueModule pinned(LoadLibraryA((m_dir / "DVDCEN.DLL").c_str()));
    for (DWORD length = 0; length <= 71; ++length) {
        Bytes plain(length), back(128);
        for (BYTE& byte : plain)
            byte = static_cast<BYTE>(random());
        SCOPED_TRACE("seed " + std::to_string(seed) + ", length " + std::to_string(length));
        char text[DVSET_NUMSTR_TEXT_SIZE];
        DWORD textLength = 0, backLength = static_cast<DWORD>(back.size());
        ASSERT_EQ(0, DVSET_ZOREncrypt_NUMSTR(plain.data(), length, text, &textLength));
        ASSERT_EQ(0, DVSET_ZORDecrypt_NUMSTR(text, textLength, back.data(), &backLength));
        back.resize(backLength);
        EXPECT_EQ(plain, back);
    }
}

TEST_F(Scramble, ResultThatDoesNotFitOrBadArgumentsLeaveTheCallersBuffersAlone)
{
    Bytes out(15, 0xCC);
    DWORD length = 15;
    EXPECT_EQ(ERROR_INSUFFICIENT_BUFFER, DVSET_ZOREncrypt(kPlain, 8, out.data(), &length));
    const Bytes scrambled = Through(DVSET_ZOREncrypt, Bytes(kPlain, kPlain + 8));
    length = 7;
    EXPECT_NE(0, DVSET_ZORDecrypt(scrambled.data(), 16, out.data(), &length));
    EXPECT_EACH(ERROR_INVALID_PARAMETER, ANSWER(DVSET_ZOREncrypt(nullptr, 8, out.data(), &length)),
                ANSWER(DVSET_ZORDecrypt(kPlain, 8, out.data(), nullptr)),
                ANSWER(DVSET_ZORDecrypt_NUMSTR(nullptr, 4, out.data(), &length)));
    EXPECT_EQ(ERROR_INVALID_DATA, DVSET_ZORDecrypt_NUMSTR("0g11", 4, out.data(), &length));
    EXPECT_NE(0, DVSET_ZORDecrypt_NUMSTR("", 0, out.data(), &length));  // nothing to unscramble
    EXPECT_EQ(7u, length);
    EXPECT_EQ(Bytes(15, 0xCC), out);

    // The text holds 150 characters: 71 bytes scramble to 72 (144 digits), 72 bytes to 80.
    char text[DVSET_NUMSTR_TEXT_SIZE];
    DWORD textLength = 0;
    const Bytes longPlain(72, 'x');
    EXPECT_EQ(0, DVSET_ZOREncrypt_NUMSTR(longPlain.data(), 71, text, &textLength));
    EXPECT_EQ(144u, textLength);
    memset(text, '#', sizeof(text));
    EXPECT_EQ(ERROR_INSUFFICIENT_BUFFER, DVSET_ZOREncrypt_NUMSTR(longPlain.data(), 72, text, &textLength));
    EXPECT_EQ(static_cast<DWORD>(DVSET_NUMSTR_TEXT_SIZE), textLength);
    EXPECT_EQ(std::string(sizeof(text), '#'), std::string(text, sizeof(text)));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, DVSET_ZOREncrypt_NUMSTR(kPlain, 8, text, nullptr));
}

// No library, one without the entry points, one that fails: every function fails and the caller's
// buffers stay as they were (the text length keeps its preset).
TEST_F(Scramble, MissingOrFailingLibraryLeavesTheCallersBuffersAlone)
{
    const struct {
        const char *library, *failure;  // copied into the current folder; the library's own answer
        int expected;
    } cases[] = {{nullptr, nullptr, ERROR_MOD_NOT_FOUND}, {"noexports.dll", nullptr, ERROR_PROC_NOT_FOUND},
                 {"DVDCEN.DLL", "1234", 1234}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.expected);
        DeleteFileA((m_dir / "DVDCEN.DLL").c_str());
        ASSERT_TRUE(!c.library || CopyFixture(c.library, m_dir / "DVDCEN.DLL"));
        ScopedEnv failure("DVDCEN_FIXTURE_RESULT", c.failure);
        Bytes out(32, 0xCC);
        DWORD length = 32, textLength = 0;
        char text[DVSET_NUMSTR_TEXT_SIZE] = "untouched";
        EXPECT_EACH(c.expected, ANSWER(DVSET_ZOREncrypt(kPlain, 8, out.data(), &length)),
                    ANSWER(DVSET_ZORDecrypt(kPlain, 8, out.data(), &length)),
                    ANSWER(DVSET_ZORDecrypt_NUMSTR("0011223344556677", 16, out.data(), &length)),
                    ANSWER(DVSET_ZOREncrypt_NUMSTR(kPlain, 8, text, &textLength)));
        EXPECT_EQ(Bytes(32, 0xCC), out);
        EXPECT_EQ(32u, length);
        EXPECT_STREQ("untouched", text);
        EXPECT_EQ(static_cast<DWORD>(DVSET_NUMSTR_TEXT_SIZE), textLength);
    }
}

TEST_F(Scramble, TraceLinesGoToTheFileTheSetupNames)
{
    const std::string trace = m_dir / "trace.log";
    Through(DVSET_ZOREncrypt, Bytes(5, 'p'));
    EXPECT_EQ(INVALID_FILE_ATTRIBUTES, GetFileAttributesA(trace.c_str())) << "no trace file was named";
    ScopedEnv traceFile(DVSET_TRACE_FILE_VARIABLE, trace.c_str());
    Through(DVSET_ZOREncrypt, Bytes(5, 'p'));
    const std::string lines = ReadFileBytes(trace);
    const size_t first = lines.find("\tpOutData="), size = lines.find(" maxoutLen=8\r\n"), second = lines.find(" IndataLen=5 *pOutData=");
    EXPECT_LT(first, size) << lines;
    EXPECT_LT(size, second) << lines;
    EXPECT_NE(std::string::npos, lines.find(" *pOutDataBufSize=8\r\n", second)) << lines;
}

TEST(Is3DESEncrypt, IsTrueOnlyForMethodFour)
{
    TempDir dir;
    const std::string file = dir / "SETUP.ICF";
    const std::pair<const char*, int> cases[] = {{"EM=4\r\n", 1}, {"EM=3\r\n", 0}, {"EM=04\r\n", 1}, {"", 0}};
    for (const auto& c : cases) {
        ASSERT_TRUE(WriteFileBytes(file, std::string("[INSTALL]\r\n") + c.first));
        EXPECT_EQ(c.second, DVSET_Is3DESEncrypt(file.c_str())) << c.first;
    }
    // Without a file name WIN.INI is not read in its place, even where it names method four.
    ASSERT_TRUE(WriteProfileStringA("INSTALL", "EM", "4"));
    EXPECT_EACH(0, ANSWER(DVSET_Is3DESEncrypt(nullptr)), ANSWER(DVSET_Is3DESEncrypt("")));
    WriteProfileStringA("INSTALL", nullptr, nullptr);
}

// The plain functions are reached by installer scripts through their undecorated names.
TEST(Exports, ScramblingFunctionsAreFoundByName)
{
    HMODULE setupcls = GetModuleHandleA("SetupCLS.dll");
    for (const char* name : {"DVSET_ZOREncrypt", "DVSET_ZORDecrypt", "DVSET_ZOREncrypt_NUMSTR",
                             "DVSET_ZORDecrypt_NUMSTR", "DVSET_Is3DESEncrypt"})
        EXPECT_NE(nullptr, reinterpret_cast<void*>(GetProcAddress(setupcls, name))) << name;
}

// A setup program in a folder of its own (a copy of the fixture program) scrambles through
// SetupCLS.dll and reports the DVDCEN.DLL loaded, TS_HOME and R_SHLIB_LD_LIBRARY_PATH (both the
// library's folder, but a TS_HOME set before stays) and its current folder afterwards.
// Paths are under a fresh folder, whose "empty" folder is current; "" is nothing.
TEST(LibrarySearch, FindsTheLibraryInItsOrder)
{
    const struct {
        const char *program, *setupcls;  // the setup program; a copy of SetupCLS.dll, or null for the build's
        const char *inf, *infFolder;     // SETUP.INF, or null; its library folder, or null for no key
        std::vector<const char*> libraries;  // folders with a DVDCEN.DLL
        const char *loaded, *variables, *currentFolder;
        bool presetHome = false;  // TS_HOME is D:\kept before the run
    } cases[] = {
        {"setup\\install.exe", nullptr, "setup\\SETUP.INF", "..\\lib", {"lib", "setup"}, "lib\\DVDCEN.DLL", "setup\\..\\lib", "lib", true},
        {"setup\\install.exe", nullptr, "SETUP.INF", "lib", {"lib"}, "lib\\DVDCEN.DLL", "setup\\..\\lib", "lib"},
        {"setup\\install.exe", nullptr, "setup\\SETUP.INF", "nowhere", {"empty", "setup"}, "empty\\DVDCEN.DLL", "", "empty"},
        // An empty or missing name: the folder of SETUP.INF itself comes first, before the current one.
        {"setup\\install.exe", nullptr, "setup\\SETUP.INF", "", {"empty", "setup"}, "setup\\DVDCEN.DLL", "setup\\", "setup"},
        {"setup\\install.exe", nullptr, "setup\\SETUP.INF", nullptr, {"empty", "setup"}, "setup\\DVDCEN.DLL", "setup\\", "setup"},
        // No SETUP.INF: the parent of the setup folder first, then the current folder, then the setup folder.
        {"lib\\bin\\install.exe", nullptr, nullptr, nullptr, {"lib", "empty", "lib\\bin"}, "lib\\DVDCEN.DLL", "lib\\bin\\..\\", "lib"},
        {"setup\\install.exe", nullptr, nullptr, nullptr, {"setup"}, "setup\\DVDCEN.DLL", "setup\\..\\", "empty"},
        // Inside the Windows Installer (msiexec, any case) the library's own folder counts.
        {"setup\\MsiExec.exe", "lib\\SetupCLS.dll", nullptr, nullptr, {"lib"}, "lib\\DVDCEN.DLL", "lib\\..\\", "empty"},
        {"setup\\install.exe", "lib\\SetupCLS.dll", nullptr, nullptr, {"lib"}, "", "setup\\..\\", "empty"},
    };
    ScopedCurrentDir keepFolder;
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.program) + " " + (c.inf ? c.inf : "") + " " + c.loaded);
        ScopedEnv tsHome("TS_HOME", c.presetHome ? "D:\\kept" : nullptr), shlibPath("R_SHLIB_LD_LIBRARY_PATH", nullptr);
        TempDir dir;
        auto at = [&](const char* path) { return path[0] && path[1] != ':' ? dir / path : std::string(path); };
        for (const char* folder : {"empty", "setup", "lib", "lib\\bin"})
            ASSERT_TRUE(CreateDirectoryA(at(folder).c_str(), nullptr));
        ASSERT_TRUE(CopyFixture("scramblehost.exe", at(c.program)));
        const std::string setupcls = c.setupcls ? at(c.setupcls) : ExeDir() + "SetupCLS.dll";
        ASSERT_TRUE(!c.setupcls || CopyFileA((ExeDir() + "SetupCLS.dll").c_str(), setupcls.c_str(), FALSE));
        ASSERT_TRUE(!c.inf || WriteFileBytes(at(c.inf), std::string("[Components]\r\n") +
                                            (c.infFolder ? std::string("EVPKI_LIBCFGPATH=") + c.infFolder : "")));
        for (const char* folder : c.libraries)
            ASSERT_TRUE(CopyFixture("DVDCEN.DLL", at(folder) + "\\DVDCEN.DLL"));
        ASSERT_TRUE(SetCurrentDirectoryA(at("empty").c_str()));

        const std::string report = dir / "report.txt";
        EXPECT_EQ(c.loaded[0] ? 0 : ERROR_MOD_NOT_FOUND,
                  RunProgram("\"" + at(c.program) + "\" \"" + setupcls + "\" \"" + report + "\""));
        std::istringstream lines(ReadFileBytes(report));
        const std::pair<const char*, const char*> reported[] = {{"loaded", c.loaded}, {"TS_HOME", c.presetHome ? "D:\\kept" : c.variables},
                                                                {"R_SHLIB_LD_LIBRARY_PATH", c.variables}, {"current", c.currentFolder}};
        for (const auto& expected : reported) {
            std::string line;
            std::getline(lines, line);
            EXPECT_EQ(0, _stricmp(at(expected.second).c_str(), line.c_str())) << expected.first << ": " << at(expected.second) << " / " << line;
        }
        SetCurrentDirectoryA(ExeDir().c_str());  // out of the folder before it goes
    }
}

namespace {

std::string g_program;                   // the running program's path SetupCLS.dll is told
std::vector<std::string> g_setVariables;  // variables SetupCLS.dll tried to set
std::vector<std::string> g_madeCurrent;   // folders SetupCLS.dll tried to make current

DWORD WINAPI FakeGetModuleFileNameA(HMODULE module, LPSTR buffer, DWORD size)
{
    if (module)
        return GetModuleFileNameA(module, buffer, size);
    return snprintf(buffer, size, "%s", g_program.c_str()) < int(size) ? DWORD(g_program.size()) : 0;
}

BOOL WINAPI FailingSetEnvironmentVariableA(LPCSTR name, LPCSTR)
{
    g_setVariables.push_back(name);
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return FALSE;
}

BOOL WINAPI FailingSetCurrentDirectoryA(LPCSTR folder)
{
    g_madeCurrent.push_back(folder);
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

class LibrarySearchIntercepted : public ScramblerTest {};

}  // namespace

// The library's folder named by SETUP.INF is kept even when its variables cannot be set and it
// cannot be made current: the copy in the current folder, next in the search, is not reached.
TEST_F(LibrarySearchIntercepted, FailuresToPrepareTheFolderKeepTheLibrary)
{
    for (const char* folder : {"setup", "lib"})
        ASSERT_TRUE(CreateDirectoryA((m_dir / folder).c_str(), nullptr));
    ASSERT_TRUE(WriteFileBytes(m_dir / "setup\\SETUP.INF", "[Components]\r\nEVPKI_LIBCFGPATH=..\\lib\r\n"));
    ASSERT_TRUE(CopyFixture("DVDCEN.DLL", m_dir / "lib\\DVDCEN.DLL"));
    g_program = m_dir / "setup\\install.exe";
    ScopedEnv tsHome("TS_HOME", nullptr), shlibPath("R_SHLIB_LD_LIBRARY_PATH", nullptr),
        loadedFrom("DVDCEN_FIXTURE_LOADED_FROM", nullptr);
    SETUPCLS_HOOK_IMPORT(program, "KERNEL32.dll", GetModuleFileNameA, FakeGetModuleFileNameA);
    SETUPCLS_HOOK_IMPORT(variables, "KERNEL32.dll", SetEnvironmentVariableA, FailingSetEnvironmentVariableA);
    SETUPCLS_HOOK_IMPORT(current, "KERNEL32.dll", SetCurrentDirectoryA, FailingSetCurrentDirectoryA);

    BYTE out[64];
    DWORD length = sizeof(out);
    EXPECT_EQ(0, DVSET_ZOREncrypt(kPlain, 8, out, &length));
    EXPECT_EQ(16u, length);
    const std::string loaded = EnvText("DVDCEN_FIXTURE_LOADED_FROM");
    EXPECT_EQ(0, _stricmp((m_dir / "lib\\DVDCEN.DLL").c_str(), loaded.c_str())) << loaded;
    EXPECT_EQ((std::vector<std::string>{"TS_HOME", "R_SHLIB_LD_LIBRARY_PATH"}), g_setVariables);
    EXPECT_EQ(std::vector<std::string>{m_dir / "setup\\..\\lib"}, g_madeCurrent);
    EXPECT_EQ(0, _stricmp(m_dir.path().c_str(), CurrentFolder().c_str())) << CurrentFolder();
}
