#include "DvSetScramble.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>
#include <vector>

using testsupport::CopyFixture;
using testsupport::ExeDir;
using testsupport::ReadFileBytes;
using testsupport::RunProgram;
using testsupport::ScopedCurrentDir;
using testsupport::ScopedEnv;
using testsupport::TempDir;
using testsupport::WriteFileBytes;

namespace {

using Bytes = std::vector<BYTE>;

Bytes ToBytes(const std::string& text)
{
    return Bytes(text.begin(), text.end());
}

std::string Hex(const Bytes& bytes)
{
    std::string text;
    char pair[3];
    for (BYTE b : bytes) {
        snprintf(pair, sizeof(pair), "%02x", b);
        text += pair;
    }
    return text;
}

Bytes Encrypt(const Bytes& in, int* result)
{
    Bytes out(256);
    DWORD length = static_cast<DWORD>(out.size());
    *result = DVSET_ZOREncrypt(in.data(), static_cast<DWORD>(in.size()), out.data(), &length);
    out.resize(*result == 0 ? length : 0);
    return out;
}

// DVDCEN.DLL in a fresh current folder: the search finds it there (the test program's folder and
// its parent hold no SETUP.INF).
class Scramble : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(CopyFixture("DVDCEN.DLL", m_dir / "DVDCEN.DLL"));
        ASSERT_TRUE(SetCurrentDirectoryA(m_dir.path().c_str()));
    }

    // The folder is removed after the current folder has moved back out of it.
    TempDir m_dir;
    ScopedCurrentDir m_keepFolder;
    ScopedEnv m_noTrace{DVSET_TRACE_FILE_VARIABLE, nullptr};
    ScopedEnv m_loadedFrom{"DVDCEN_FIXTURE_LOADED_FROM", nullptr};
};

}  // namespace

TEST_F(Scramble, RoundTripsBytesAndTextThroughTheLibrary)
{
    const std::string inputs[] = {"a", "password", "12345678", std::string("\0\xff\x10 zero", 8),
                                  "a longer pass phrase of forty characters"};
    bool sawLowByte = false;
    for (const std::string& input : inputs) {
        SCOPED_TRACE(input);
        const Bytes plain = ToBytes(input);
        int result = -1;
        const Bytes scrambled = Encrypt(plain, &result);
        ASSERT_EQ(0, result);
        EXPECT_EQ(0u, scrambled.size() % 8);  // whole triple-DES blocks
        EXPECT_GT(scrambled.size(), plain.size());
        EXPECT_NE(plain, Bytes(scrambled.begin(), scrambled.begin() + plain.size()));

        Bytes back(64, 0xCC);
        DWORD backLength = static_cast<DWORD>(back.size());
        ASSERT_EQ(0, DVSET_ZORDecrypt(scrambled.data(), static_cast<DWORD>(scrambled.size()), back.data(), &backLength));
        EXPECT_EQ(plain, Bytes(back.begin(), back.begin() + backLength));

        // The text form is the same scrambled bytes, two lower-case digits each.
        char text[DVSET_NUMSTR_TEXT_SIZE];
        DWORD textLength = 0;
        ASSERT_EQ(0, DVSET_ZOREncrypt_NUMSTR(plain.data(), static_cast<DWORD>(plain.size()), text, &textLength));
        EXPECT_EQ(Hex(scrambled), std::string(text, textLength));
        EXPECT_EQ('\0', text[textLength]);
        for (BYTE b : scrambled)
            sawLowByte = sawLowByte || b < 0x10;

        // Upper-case digits read the same; an odd last character is ignored.
        std::string upper = std::string(text, textLength);
        for (char& c : upper)
            c = static_cast<char>(toupper(c));
        for (const std::string& form : {std::string(text, textLength) + "7", upper}) {
            backLength = static_cast<DWORD>(back.size());
            ASSERT_EQ(0, DVSET_ZORDecrypt_NUMSTR(form.c_str(), static_cast<DWORD>(form.size()), back.data(), &backLength));
            EXPECT_EQ(plain, Bytes(back.begin(), back.begin() + backLength));
        }
    }
    EXPECT_TRUE(sawLowByte) << "no scrambled byte below 0x10: the leading zero of the text form went unchecked";
}

TEST_F(Scramble, ResultThatDoesNotFitLeavesTheCallersBuffersAlone)
{
    const Bytes plain = ToBytes("password");  // scrambles to 16 bytes
    Bytes out(15, 0xCC);
    DWORD length = 15;
    EXPECT_EQ(ERROR_INSUFFICIENT_BUFFER, DVSET_ZOREncrypt(plain.data(), 8, out.data(), &length));
    EXPECT_EQ(15u, length);
    EXPECT_EQ(Bytes(15, 0xCC), out);

    int result = -1;
    const Bytes scrambled = Encrypt(plain, &result);
    ASSERT_EQ(0, result);
    length = 7;
    EXPECT_NE(0, DVSET_ZORDecrypt(scrambled.data(), static_cast<DWORD>(scrambled.size()), out.data(), &length));
    EXPECT_EQ(7u, length);
    EXPECT_EQ(Bytes(15, 0xCC), out);

    // The text buffer holds 150 characters: 71 bytes scramble to 72 (144 digits), 72 to 80.
    char text[DVSET_NUMSTR_TEXT_SIZE + 1];
    memset(text, '#', sizeof(text));
    DWORD textLength = 0;
    const Bytes fits(71, 'x');
    const Bytes tooLong(72, 'x');
    EXPECT_EQ(0, DVSET_ZOREncrypt_NUMSTR(fits.data(), 71, text, &textLength));
    EXPECT_EQ(144u, textLength);
    memset(text, '#', sizeof(text));
    EXPECT_EQ(ERROR_INSUFFICIENT_BUFFER, DVSET_ZOREncrypt_NUMSTR(tooLong.data(), 72, text, &textLength));
    EXPECT_EQ(static_cast<DWORD>(DVSET_NUMSTR_TEXT_SIZE), textLength);
    EXPECT_EQ(std::string(sizeof(text), '#'), std::string(text, sizeof(text)));
}

TEST_F(Scramble, MissingLibraryOrEntryFailsAndLeavesBuffersAlone)
{
    const Bytes plain = ToBytes("password");
    const char hexText[] = "00112233445566778899aabbccddeeff";
    for (bool libraryPresent : {false, true}) {
        SCOPED_TRACE(libraryPresent ? "library without entry points" : "no library");
        DeleteFileA((m_dir / "DVDCEN.DLL").c_str());
        if (libraryPresent) {
            ASSERT_TRUE(CopyFixture("noexports.dll", m_dir / "DVDCEN.DLL"));
        }
        const int expected = libraryPresent ? ERROR_PROC_NOT_FOUND : ERROR_MOD_NOT_FOUND;
        Bytes out(32, 0xCC);
        DWORD length = 32;
        char text[DVSET_NUMSTR_TEXT_SIZE] = "untouched";
        DWORD textLength = 0;
        EXPECT_EQ(expected, DVSET_ZOREncrypt(plain.data(), 8, out.data(), &length));
        EXPECT_EQ(expected, DVSET_ZORDecrypt(plain.data(), 8, out.data(), &length));
        EXPECT_EQ(expected, DVSET_ZORDecrypt_NUMSTR(hexText, 32, out.data(), &length));
        EXPECT_EQ(expected, DVSET_ZOREncrypt_NUMSTR(plain.data(), 8, text, &textLength));
        EXPECT_EQ(Bytes(32, 0xCC), out);
        EXPECT_EQ(32u, length);
        EXPECT_STREQ("untouched", text);
        EXPECT_EQ(static_cast<DWORD>(DVSET_NUMSTR_TEXT_SIZE), textLength);  // the preset stays
    }
}

TEST_F(Scramble, FailureOfTheLibraryIsPassedOn)
{
    ScopedEnv failure("DVDCEN_FIXTURE_RESULT", "1234");
    const Bytes plain = ToBytes("password");
    Bytes out(32, 0xCC);
    DWORD length = 32;
    EXPECT_EQ(1234, DVSET_ZOREncrypt(plain.data(), 8, out.data(), &length));
    EXPECT_EQ(1234, DVSET_ZORDecrypt(plain.data(), 8, out.data(), &length));
    EXPECT_EQ(Bytes(32, 0xCC), out);
}

TEST_F(Scramble, TraceLinesGoToTheFileTheSetupNames)
{
    const std::string trace = m_dir / "trace.log";
    const Bytes plain = ToBytes("12345");
    int result = -1;
    Encrypt(plain, &result);
    ASSERT_EQ(0, result);
    EXPECT_EQ(INVALID_FILE_ATTRIBUTES, GetFileAttributesA(trace.c_str())) << "no trace file was named";

    ScopedEnv traceFile(DVSET_TRACE_FILE_VARIABLE, trace.c_str());
    Encrypt(plain, &result);
    ASSERT_EQ(0, result);
    std::istringstream lines(ReadFileBytes(trace));
    std::string first, second, third;
    std::getline(lines, first);
    std::getline(lines, second);
    EXPECT_FALSE(std::getline(lines, third));
    EXPECT_NE(std::string::npos, first.find("\tpOutData=")) << first;
    EXPECT_NE(std::string::npos, first.find(" maxoutLen=8\r")) << first;
    EXPECT_NE(std::string::npos, second.find(" IndataLen=5 *pOutData=")) << second;
    EXPECT_NE(std::string::npos, second.find(" *pOutDataBufSize=8\r")) << second;
}

TEST_F(Scramble, BadArgumentsAreRefused)
{
    const Bytes plain = ToBytes("password");
    Bytes out(32, 0xCC);
    DWORD length = 32;
    char text[DVSET_NUMSTR_TEXT_SIZE];
    EXPECT_EQ(ERROR_INVALID_PARAMETER, DVSET_ZOREncrypt(nullptr, 8, out.data(), &length));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, DVSET_ZOREncrypt(plain.data(), 8, nullptr, &length));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, DVSET_ZOREncrypt(plain.data(), 8, out.data(), nullptr));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, DVSET_ZORDecrypt(nullptr, 8, out.data(), &length));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, DVSET_ZORDecrypt(plain.data(), 8, out.data(), nullptr));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, DVSET_ZOREncrypt_NUMSTR(plain.data(), 8, nullptr, &length));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, DVSET_ZOREncrypt_NUMSTR(plain.data(), 8, text, nullptr));
    EXPECT_EQ(ERROR_INVALID_PARAMETER, DVSET_ZORDecrypt_NUMSTR(nullptr, 4, out.data(), &length));
    EXPECT_EQ(ERROR_INVALID_DATA, DVSET_ZORDecrypt_NUMSTR("0g11", 4, out.data(), &length));
    EXPECT_NE(0, DVSET_ZORDecrypt_NUMSTR("", 0, out.data(), &length));  // nothing to unscramble
    EXPECT_EQ(Bytes(32, 0xCC), out);
    EXPECT_EQ(32u, length);
}

TEST(Is3DESEncrypt, IsTrueOnlyForMethodFour)
{
    TempDir dir;
    const std::string file = dir / "SETUP.ICF";
    const struct {
        const char* content;
        int expected;
    } cases[] = {{"[INSTALL]\r\nEM=4\r\n", 1}, {"[INSTALL]\r\nEM=3\r\n", 0}, {"[INSTALL]\r\nUser=x\r\n", 0},
                 {"[OTHER]\r\nEM=4\r\n", 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.content);
        ASSERT_TRUE(WriteFileBytes(file, c.content));
        EXPECT_EQ(c.expected, DVSET_Is3DESEncrypt(file.c_str()));
    }
    EXPECT_EQ(0, DVSET_Is3DESEncrypt((dir / "missing.icf").c_str()));
    EXPECT_EQ(0, DVSET_Is3DESEncrypt(""));
    EXPECT_EQ(0, DVSET_Is3DESEncrypt(nullptr));
}

// The search for DVDCEN.DLL, seen from a setup program in a folder of its own: the fixture
// program scrambles through SetupCLS.dll and reports which copy it loaded, the library
// environment and its current folder afterwards.
namespace {

struct Found {
    long result;
    std::string library, tsHome, shlibPath, currentFolder;
};

std::string Lower(std::string text)
{
    for (char& c : text)
        c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
    return text;
}

Found RunSetup(const std::string& program, const std::string& setupcls, const TempDir& dir)
{
    const std::string report = dir / "report.txt";
    DeleteFileA(report.c_str());
    Found found;
    found.result = RunProgram("\"" + program + "\" \"" + setupcls + "\" \"" + report + "\"");
    std::istringstream lines(ReadFileBytes(report));
    std::getline(lines, found.library);
    std::getline(lines, found.tsHome);
    std::getline(lines, found.shlibPath);
    std::getline(lines, found.currentFolder);
    found.library = Lower(found.library);
    found.currentFolder = Lower(found.currentFolder);
    return found;
}

class LibrarySearch : public ::testing::Test {
protected:
    // An empty current folder, so that only the steps under test can find the library.
    void SetUp() override
    {
        for (const char* folder : {"empty", "setup", "lib"})
            ASSERT_TRUE(CreateDirectoryA((m_dir / folder).c_str(), nullptr));
        ASSERT_TRUE(SetCurrentDirectoryA((m_dir / "empty").c_str()));
    }

    std::string Path(const std::string& name) const { return m_dir / name; }
    std::string LowerPath(const std::string& name) const { return Lower(m_dir / name); }

    TempDir m_dir;
    ScopedCurrentDir m_keepFolder;
    ScopedEnv m_tsHome{"TS_HOME", nullptr};
    ScopedEnv m_shlibPath{"R_SHLIB_LD_LIBRARY_PATH", nullptr};
    const std::string m_setupcls = ExeDir() + "SetupCLS.dll";
};

}  // namespace

TEST_F(LibrarySearch, SetupInfBesideTheProgramNamesTheLibraryFolder)
{
    ScopedEnv administratorsChoice("TS_HOME", "D:\\kept");
    ASSERT_TRUE(CopyFixture("scramblehost.exe", Path("setup\\install.exe")));
    ASSERT_TRUE(WriteFileBytes(Path("setup\\SETUP.INF"), "[Components]\r\nEVPKI_LIBCFGPATH=..\\lib\r\n"));
    ASSERT_TRUE(CopyFixture("DVDCEN.DLL", Path("lib\\DVDCEN.DLL")));
    ASSERT_TRUE(CopyFixture("DVDCEN.DLL", Path("setup\\DVDCEN.DLL")));  // a later step's copy

    Found found = RunSetup(Path("setup\\install.exe"), m_setupcls, m_dir);
    EXPECT_EQ(0, found.result);
    EXPECT_EQ(LowerPath("lib\\DVDCEN.DLL"), found.library);
    EXPECT_EQ("D:\\kept", found.tsHome);  // set already: left alone
    EXPECT_EQ(Path("setup\\..\\lib"), found.shlibPath);
    EXPECT_EQ(LowerPath("lib"), found.currentFolder);
}

TEST_F(LibrarySearch, SetupInfInTheParentFolderNamesTheLibraryFolder)
{
    ASSERT_TRUE(CopyFixture("scramblehost.exe", Path("setup\\install.exe")));
    ASSERT_TRUE(WriteFileBytes(Path("SETUP.INF"), "[Components]\r\nEVPKI_LIBCFGPATH=lib\r\n"));
    ASSERT_TRUE(CopyFixture("DVDCEN.DLL", Path("lib\\DVDCEN.DLL")));

    Found found = RunSetup(Path("setup\\install.exe"), m_setupcls, m_dir);
    EXPECT_EQ(0, found.result);
    EXPECT_EQ(LowerPath("lib\\DVDCEN.DLL"), found.library);
    EXPECT_EQ(Path("setup\\..\\lib"), found.tsHome);
    EXPECT_EQ(Path("setup\\..\\lib"), found.shlibPath);
    EXPECT_EQ(LowerPath("lib"), found.currentFolder);
}

TEST_F(LibrarySearch, WithoutTheNamedFolderTheCurrentFolderThenTheProgramFolder)
{
    ASSERT_TRUE(CopyFixture("scramblehost.exe", Path("setup\\install.exe")));
    ASSERT_TRUE(WriteFileBytes(Path("setup\\SETUP.INF"), "[Components]\r\nEVPKI_LIBCFGPATH=nowhere\r\n"));
    ASSERT_TRUE(CopyFixture("DVDCEN.DLL", Path("setup\\DVDCEN.DLL")));
    ASSERT_TRUE(CopyFixture("DVDCEN.DLL", Path("empty\\DVDCEN.DLL")));

    Found found = RunSetup(Path("setup\\install.exe"), m_setupcls, m_dir);
    EXPECT_EQ(0, found.result);
    EXPECT_EQ(LowerPath("empty\\DVDCEN.DLL"), found.library);
    EXPECT_EQ("", found.tsHome);
    EXPECT_EQ("", found.shlibPath);

    ASSERT_TRUE(DeleteFileA(Path("empty\\DVDCEN.DLL").c_str()));
    found = RunSetup(Path("setup\\install.exe"), m_setupcls, m_dir);
    EXPECT_EQ(0, found.result);
    EXPECT_EQ(LowerPath("setup\\DVDCEN.DLL"), found.library);
    EXPECT_EQ(LowerPath("empty"), found.currentFolder);
}

// Inside the Windows Installer the running program is msiexec, whose folder says nothing about
// the setup: the library's own folder takes its place. Any other program name keeps its own.
TEST_F(LibrarySearch, InsideTheWindowsInstallerTheLibrarysOwnFolderCounts)
{
    ASSERT_TRUE(CopyFileA(m_setupcls.c_str(), Path("lib\\SetupCLS.dll").c_str(), FALSE));
    ASSERT_TRUE(CopyFixture("DVDCEN.DLL", Path("lib\\DVDCEN.DLL")));
    ASSERT_TRUE(CopyFixture("scramblehost.exe", Path("setup\\MsiExec.exe")));
    ASSERT_TRUE(CopyFixture("scramblehost.exe", Path("setup\\install.exe")));

    Found found = RunSetup(Path("setup\\MsiExec.exe"), Path("lib\\SetupCLS.dll"), m_dir);
    EXPECT_EQ(0, found.result);
    EXPECT_EQ(LowerPath("lib\\DVDCEN.DLL"), found.library);

    found = RunSetup(Path("setup\\install.exe"), Path("lib\\SetupCLS.dll"), m_dir);
    EXPECT_EQ(ERROR_MOD_NOT_FOUND, found.result);
    EXPECT_EQ("", found.library);
}
