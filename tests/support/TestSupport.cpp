#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cstdio>

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
    std::string name = info ? info->name() : "setup";
    char unique[64];
    snprintf(unique, sizeof(unique), "-%lu-%d", GetCurrentProcessId(), ++counter);
    m_path = std::string(temp) + "SetupCLS-" + name + unique;
    RemoveTree(m_path);
    CreateDirectoryA(m_path.c_str(), nullptr);
}

TempDir::~TempDir()
{
    RemoveTree(m_path);
}

ScopedEnv::ScopedEnv(const char* name, const char* value) : m_name(name)
{
    char buffer[32768];
    DWORD length = GetEnvironmentVariableA(name, buffer, sizeof(buffer));
    m_hadOld = length > 0 && length < sizeof(buffer);
    if (m_hadOld)
        m_old.assign(buffer, length);
    SetEnvironmentVariableA(name, value);
}

ScopedEnv::~ScopedEnv()
{
    SetEnvironmentVariableA(m_name.c_str(), m_hadOld ? m_old.c_str() : nullptr);
}

ScopedCurrentDir::ScopedCurrentDir()
{
    char buffer[MAX_PATH] = {};
    GetCurrentDirectoryA(MAX_PATH, buffer);
    m_old = buffer;
}

ScopedCurrentDir::~ScopedCurrentDir()
{
    SetCurrentDirectoryA(m_old.c_str());
}

std::string ReadFileBytes(const std::string& path)
{
    std::string bytes;
    FILE* file = fopen(path.c_str(), "rb");
    if (!file)
        return bytes;
    char buffer[4096];
    size_t count;
    while ((count = fread(buffer, 1, sizeof(buffer), file)) > 0)
        bytes.append(buffer, count);
    fclose(file);
    return bytes;
}

bool WriteFileBytes(const std::string& path, const std::string& bytes)
{
    FILE* file = fopen(path.c_str(), "wb");
    if (!file)
        return false;
    bool ok = fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    return fclose(file) == 0 && ok;
}

bool CopyFixture(const char* name, const std::string& target)
{
    return CopyFileA(FixturePath(name).c_str(), target.c_str(), FALSE) != FALSE;
}

void RemoveTree(const std::string& path)
{
    WIN32_FIND_DATAA entry;
    HANDLE find = FindFirstFileA((path + "\\*").c_str(), &entry);
    if (find != INVALID_HANDLE_VALUE) {
        do {
            std::string name = entry.cFileName;
            if (name == "." || name == "..")
                continue;
            std::string full = path + "\\" + name;
            if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
                RemoveTree(full);
            } else {
                SetFileAttributesA(full.c_str(), FILE_ATTRIBUTE_NORMAL);
                DeleteFileA(full.c_str());
            }
        } while (FindNextFileA(find, &entry));
        FindClose(find);
    }
    SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    RemoveDirectoryA(path.c_str());
}

namespace {

long RunWithOutput(const std::string& commandLine, HANDLE output, DWORD timeoutMs)
{
    STARTUPINFOA startup = {};
    startup.cb = sizeof(startup);
    if (output) {
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
        startup.hStdOutput = output;
        startup.hStdError = output;
    }
    PROCESS_INFORMATION process = {};
    std::string line = commandLine;
    if (!CreateProcessA(nullptr, &line[0], nullptr, nullptr, output != nullptr, 0, nullptr, nullptr, &startup,
                        &process))
        return -1;
    long result = -1;
    if (WaitForSingleObject(process.hProcess, timeoutMs) == WAIT_OBJECT_0) {
        DWORD code = 0;
        if (GetExitCodeProcess(process.hProcess, &code))
            result = static_cast<long>(code);
    } else {
        TerminateProcess(process.hProcess, 1);
    }
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return result;
}

}  // namespace

long RunProgram(const std::string& commandLine, DWORD timeoutMs)
{
    return RunWithOutput(commandLine, nullptr, timeoutMs);
}

// The output goes through a temporary file: no pipe to drain while the program runs.
long RunProgramCapture(const std::string& commandLine, std::string& output, DWORD timeoutMs)
{
    output.clear();
    TempDir dir;
    const std::string file = dir / "output.txt";
    SECURITY_ATTRIBUTES inherit = {sizeof(inherit), nullptr, TRUE};
    HANDLE handle = CreateFileA(file.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit,
                                CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        return -1;
    long result = RunWithOutput(commandLine, handle, timeoutMs);
    CloseHandle(handle);
    output = ReadFileBytes(file);
    return result;
}

}  // namespace testsupport
