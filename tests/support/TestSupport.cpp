#include "TestSupport.h"

#include "Handles.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <memory>

namespace testsupport {

std::string ExeDir()
{
    char path[MAX_PATH] = {};
    GetModuleFileNameA(nullptr, path, MAX_PATH);
    std::string text(path);
    return text.substr(0, text.rfind('\\') + 1);
}

std::string FixturePath(const char* name)
{
    return ExeDir() + "fixtures\\" + name;
}

TempDir::TempDir()
{
    static int counter = 0;
    char temp[MAX_PATH] = {};
    GetTempPathA(MAX_PATH, temp);
    const ::testing::TestInfo* info = ::testing::UnitTest::GetInstance()->current_test_info();
    m_path = std::string(temp) + "SetupCLS-" + (info ? info->name() : "setup") + "-" +
             std::to_string(GetCurrentProcessId()) + "-" + std::to_string(++counter);
    RemoveTree(m_path);
    CreateDirectoryA(m_path.c_str(), nullptr);
}

TempDir::~TempDir()
{
    RemoveTree(m_path);
}

ScopedEnv::ScopedEnv(const char* name, const char* value) : m_name(name)
{
    std::string buffer(32768, '\0');
    DWORD length = GetEnvironmentVariableA(name, &buffer[0], DWORD(buffer.size()));
    m_hadOld = length > 0 && length < buffer.size();
    m_old = buffer.substr(0, m_hadOld ? length : 0);
    SetEnvironmentVariableA(name, value);
}

ScopedEnv::~ScopedEnv()
{
    SetEnvironmentVariableA(m_name.c_str(), m_hadOld ? m_old.c_str() : nullptr);
}

std::string CurrentFolder()
{
    char folder[MAX_PATH] = {};
    GetCurrentDirectoryA(MAX_PATH, folder);
    return folder;
}

std::string EnvText(const char* name)
{
    std::string text(GetEnvironmentVariableA(name, nullptr, 0), '\0');
    text.resize(text.empty() ? 0 : GetEnvironmentVariableA(name, &text[0], static_cast<DWORD>(text.size())));
    return text;
}

std::string ReadFileBytes(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

bool WriteFileBytes(const std::string& path, const std::string& bytes)
{
    std::ofstream file(path, std::ios::binary);
    file.write(bytes.data(), bytes.size());
    file.close();
    return !file.fail();
}

bool CopyFixture(const char* name, const std::string& target)
{
    return CopyFileA(FixturePath(name).c_str(), target.c_str(), FALSE) != FALSE;
}

void RemoveTree(const std::string& path)
{
    WIN32_FIND_DATAA entry;
    UniqueFind find(FindFirstFileA((path + "\\*").c_str(), &entry));
    for (BOOL more = static_cast<bool>(find); more; more = FindNextFileA(find.get(), &entry)) {
        const std::string name = entry.cFileName, full = path + "\\" + name;
        if (name == "." || name == "..")
            continue;
        if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
            RemoveTree(full);
        } else {
            SetFileAttributesA(full.c_str(), FILE_ATTRIBUTE_NORMAL);
            DeleteFileA(full.c_str());
        }
    }
    find.reset();
    SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    RemoveDirectoryA(path.c_str());
}

namespace {

// With an output handle, the program's standard output and error both go to it. The program's
// process, or nothing when it could not start.
UniqueHandle Start(const std::string& commandLine, HANDLE output)
{
    STARTUPINFOA startup = {};
    startup.cb = sizeof(startup);
    if (output) {
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
        startup.hStdOutput = startup.hStdError = output;
    }
    PROCESS_INFORMATION process = {};
    std::string line = commandLine;
    if (!CreateProcessA(nullptr, &line[0], nullptr, nullptr, output != nullptr, 0, nullptr, nullptr, &startup,
                        &process))
        return UniqueHandle();
    UniqueHandle thread(process.hThread);
    return UniqueHandle(process.hProcess);
}

long WaitForExit(HANDLE program, DWORD timeoutMs)
{
    DWORD code = 0;
    if (!program)
        return -1;
    bool ended = WaitForSingleObject(program, timeoutMs) == WAIT_OBJECT_0;
    if (!ended)
        TerminateProcess(program, 1);
    return ended && GetExitCodeProcess(program, &code) ? long(code) : -1;
}

}  // namespace

long RunProgram(const std::string& commandLine, DWORD timeoutMs)
{
    UniqueHandle program = Start(commandLine, nullptr);
    return WaitForExit(program.get(), timeoutMs);
}

// Through a temporary file: no pipe to drain while the program runs.
long RunProgramCapture(const std::string& commandLine, std::string& output, DWORD timeoutMs)
{
    BackgroundProgram program(commandLine);
    long result = program.Wait(timeoutMs);
    output = program.Output();
    return result;
}

BackgroundProgram::BackgroundProgram(const std::string& commandLine)
{
    SECURITY_ATTRIBUTES inherit = {sizeof(inherit), nullptr, TRUE};
    UniqueFile output(CreateFileA(m_output.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit,
                                  CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (output)
        m_process = Start(commandLine, output.get());
}

BackgroundProgram::~BackgroundProgram()
{
    if (m_process && WaitForSingleObject(m_process.get(), 0) == WAIT_TIMEOUT) {
        TerminateProcess(m_process.get(), 9);
        WaitForSingleObject(m_process.get(), 5000);
    }
}

long BackgroundProgram::Wait(DWORD timeoutMs)
{
    return WaitForExit(m_process.get(), timeoutMs);
}

std::vector<long> RunTogether(const std::vector<std::string>& commandLines, DWORD timeoutMs)
{
    std::vector<std::unique_ptr<BackgroundProgram>> programs;
    for (const std::string& line : commandLines)
        programs.push_back(std::make_unique<BackgroundProgram>(line));
    std::vector<long> codes;
    for (auto& program : programs)
        codes.push_back(program->Wait(timeoutMs));
    return codes;
}

std::string UniqueName(const std::string& what)
{
    static int counter = 0;
    return "DVC-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(++counter) + "-" + what;
}

FixtureConsole::FixtureConsole(const std::string& windowClass, const std::string& title, const std::string& mutex)
    : m_class(windowClass), m_mutex(mutex), m_ready(UniqueName("ready")),
      m_readyEvent(CreateEventA(nullptr, TRUE, FALSE, m_ready.c_str())),
      m_program("\"" + FixturePath("DVCONSOLE.EXE") + "\" \"/class:" + windowClass + "\" \"/title:" + title +
                "\" /mutex:" + mutex + " \"/record:" + m_record + "\" /ready:" + m_ready + " /timeout:30000")
{
    HANDLE waits[] = {m_readyEvent.get(), m_program.process()};
    m_isReady = m_program.process() && WaitForMultipleObjects(2, waits, FALSE, 10000) == WAIT_OBJECT_0;
}

}  // namespace testsupport
