// ScopedLibraryPath: makes a fixture DLL the one that LoadLibrary finds by a bare name (the
// product's libraries, "QWTOOL.DLL" and the like, are loaded by name), for one scope.
//
// The fixture is copied under the load name into a fresh temporary folder, which becomes the
// process's DLL directory (SetDllDirectoryA). At exit the earlier DLL directory is restored and
// the folder removed, so no later test finds the library by accident. Fixtures never lie beside
// the test programs, where every test would find them.
//
//     ScopedLibraryPath qwtool("QWTOOL.DLL", "QWTOOL.DLL");
//     ASSERT_TRUE(qwtool.ok());
#pragma once

#include "TestSupport.h"

#include <string>

namespace testsupport {

class ScopedLibraryPath {
public:
    ScopedLibraryPath(const char* fixture, const char* loadName);
    ~ScopedLibraryPath();
    ScopedLibraryPath(const ScopedLibraryPath&) = delete;
    ScopedLibraryPath& operator=(const ScopedLibraryPath&) = delete;

    bool ok() const { return m_ok; }
    const std::string& path() const { return m_path; }  // the copied library

private:
    TempDir m_dir;
    std::string m_path;
    std::string m_oldDirectory;
    bool m_ok = false;
};

}  // namespace testsupport
