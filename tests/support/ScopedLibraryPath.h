// ScopedLibraryPath: for one scope, LoadLibrary finds a fixture DLL under a bare name (the
// product's libraries, "QWTOOL.DLL" and the like, are loaded by name). The fixture is copied
// under that name into a fresh temporary folder that becomes the DLL directory
// (SetDllDirectoryA); at exit the earlier DLL directory comes back and the folder goes.
// Fixtures never lie beside the test programs, where every test would find them.
#pragma once

#include "TestSupport.h"

namespace testsupport {

class ScopedLibraryPath {
public:
    ScopedLibraryPath(const char* fixture, const char* loadName);
    ~ScopedLibraryPath();
    ScopedLibraryPath(const ScopedLibraryPath&) = delete;
    ScopedLibraryPath& operator=(const ScopedLibraryPath&) = delete;

    bool ok() const { return m_ok; }

private:
    TempDir m_dir;
    std::string m_oldDirectory;
    bool m_ok = false;
};

}  // namespace testsupport
