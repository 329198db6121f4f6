// Helpers shared by the test programs: self-removing temporary folders, environment variables and
// current folder restored at scope exit, fixture paths and small file and process utilities.
#pragma once

#include <windows.h>

#include "Handles.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace testsupport {

struct NoCopy {
    NoCopy() = default;
    NoCopy(const NoCopy&) = delete;
    NoCopy& operator=(const NoCopy&) = delete;
};

std::string ExeDir();                        // folder of the running program, with a back-slash
std::string FixturePath(const char* name);  // <ExeDir>fixtures\<name>
std::string CurrentFolder();                 // without a trailing back-slash
std::string EnvText(const char* name);       // the variable's text, "" when it is not set

// A fresh folder under %TEMP% named after the running test; removed with all its content.
class TempDir : NoCopy {
public:
    TempDir();
    ~TempDir();
    const std::string& path() const { return m_path; }  // no trailing back-slash
    std::string operator/(const std::string& name) const { return m_path + "\\" + name; }

private:
    std::string m_path;
};

// Sets (null: removes) an environment variable of the process until scope exit.
class ScopedEnv : NoCopy {
public:
    ScopedEnv(const char* name, const char* value);
    ~ScopedEnv();

private:
    std::string m_name, m_old;
    bool m_hadOld;
};

// Restores the process's current folder at scope exit (the library moves it on purpose).
class ScopedCurrentDir : NoCopy {
public:
    ScopedCurrentDir() : m_old(CurrentFolder()) {}
    ~ScopedCurrentDir() { SetCurrentDirectoryA(m_old.c_str()); }

private:
    std::string m_old;
};

std::string ReadFileBytes(const std::string& path);
bool WriteFileBytes(const std::string& path, const std::string& bytes);
bool CopyFixture(const char* name, const std::string& target);
void RemoveTree(const std::string& path);  // read-only files included

// Exit code of a full command line; -1 when it cannot start or outlives the timeout. The capture
// form also returns what the program wrote to its standard output and error.
long RunProgram(const std::string& commandLine, DWORD timeoutMs = 60000);
long RunProgramCapture(const std::string& commandLine, std::string& output, DWORD timeoutMs = 60000);

// A program started on a full command line that runs beside the test, its standard output and
// error going to a file; ended at scope exit when it still runs.
class BackgroundProgram : NoCopy {
public:
    explicit BackgroundProgram(const std::string& commandLine);
    ~BackgroundProgram();
    HANDLE process() const { return m_process.get(); }
    // Its exit code once it ended; -1 when it did not start or outlived the timeout (it is then
    // ended).
    long Wait(DWORD timeoutMs = 60000);
    std::string Output() const { return ReadFileBytes(m_output); }

private:
    TempDir m_dir;
    std::string m_output = m_dir / "output.txt";
    UniqueHandle m_process;
};

// Starts every command line at once and waits for them all: their exit codes in order, -1 for one
// that did not start or outlived the timeout.
std::vector<long> RunTogether(const std::vector<std::string>& commandLines, DWORD timeoutMs = 120000);

// A name no other program of the prefix uses: "DVC-<process>-<counter>-<what>".
std::string UniqueName(const std::string& what);

// The console fixture DVCONSOLE.EXE with a window of the class and title, holding the mutex and
// recording the close requests it receives; ready once its window exists. A console still
// running at scope exit is ended.
class FixtureConsole : NoCopy {
public:
    FixtureConsole(const std::string& windowClass, const std::string& title,
                   const std::string& mutex = UniqueName("mutex"));
    bool ready() const { return m_isReady; }
    HWND window() const { return ::FindWindowA(m_class.c_str(), nullptr); }
    const std::string& mutex() const { return m_mutex; }
    bool running() const { return WaitForSingleObject(m_program.process(), 0) == WAIT_TIMEOUT; }
    // The exit code once it ended (-1 when it did not within 10 s).
    long exitCode() { return m_program.Wait(10000); }
    // One line a close request: "0x637 hidden", "WM_CLOSE visible"...
    std::string record() const { return ReadFileBytes(m_record); }

private:
    TempDir m_dir;
    std::string m_class, m_mutex, m_ready, m_record = m_dir / "record.txt";
    UniqueHandle m_readyEvent;
    BackgroundProgram m_program;
    bool m_isReady = false;
};

// A fresh current folder holding the scrambling library DVDCEN.DLL, where SetupCLS.dll finds it
// (the test program's folder and its parent hold no SETUP.INF, and the parent, tried first then,
// holds no DVDCEN.DLL); no trace file is named.
class ScramblerTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(CopyFixture("DVDCEN.DLL", m_dir / "DVDCEN.DLL"));
        ASSERT_TRUE(SetCurrentDirectoryA(m_dir.path().c_str()));
    }
    TempDir m_dir;
    ScopedCurrentDir m_keepFolder;  // moves back before the folder goes
    ScopedEnv m_noTrace{"DVSET_TRACEFILE", nullptr};
};

// A call's source text and its answer. EXPECT_EACH checks each answer of a list, the calls made
// in list order, against one value on its own, so that a failure names the call:
//     EXPECT_EACH(0, ANSWER(icf.GetInt(nullptr, "Key", &value)), ANSWER(icf.GetInt("", "Key", &value)));
struct Answer {
    const char* call;
    long long value;
};

}  // namespace testsupport

#define ANSWER(call) ::testsupport::Answer{#call, static_cast<long long>(call)}
#define EXPECT_EACH(expected, ...)                                                                 \
    for (const ::testsupport::Answer& answer_ : {__VA_ARGS__})                                     \
    EXPECT_EQ(expected, answer_.value) << answer_.call
