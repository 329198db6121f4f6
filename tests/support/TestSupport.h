// Helpers shared by the test programs: temporary folders that clean up after themselves,
// environment variables restored at scope exit, fixture paths and small file utilities.
#pragma once

#include <windows.h>

#include <string>

namespace testsupport {

// Folder of the running test program (ends in a back-slash).
std::string ExeDir();

// Path of a built fixture (bin/fixtures/<name>).
std::string FixturePath(const char* name);

// A fresh folder under the temporary folder, named after the running test, removed with all
// its content (read-only files included) when the object dies.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& path() const { return m_path; }       // no trailing back-slash
    std::string operator/(const std::string& name) const { return m_path + "\\" + name; }

private:
    std::string m_path;
};

// Sets (or, with null, removes) an environment variable of the process; restores it at exit.
class ScopedEnv {
public:
    ScopedEnv(const char* name, const char* value);
    ~ScopedEnv();
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

private:
    std::string m_name;
    std::string m_old;
    bool m_hadOld;
};

// Keeps the process's current folder and restores it at exit (the library moves it on purpose).
class ScopedCurrentDir {
public:
    ScopedCurrentDir();
    ~ScopedCurrentDir();
    ScopedCurrentDir(const ScopedCurrentDir&) = delete;
    ScopedCurrentDir& operator=(const ScopedCurrentDir&) = delete;

private:
    std::string m_old;
};

std::string ReadFileBytes(const std::string& path);
bool WriteFileBytes(const std::string& path, const std::string& bytes);
bool CopyFixture(const char* name, const std::string& target);

// Removes a folder tree; read-only files are made writable first.
void RemoveTree(const std::string& path);

// Starts a program (full command line) and returns its exit code, or -1 when it cannot start
// or does not end within the timeout.
long RunProgram(const std::string& commandLine, DWORD timeoutMs = 60000);

// The same, with what the program writes to its standard output and error in output.
long RunProgramCapture(const std::string& commandLine, std::string& output, DWORD timeoutMs = 60000);

}  // namespace testsupport
