#include "ScopedLibraryPath.h"

namespace testsupport {

ScopedLibraryPath::ScopedLibraryPath(const char* fixture, const char* loadName)
{
    char old[MAX_PATH] = {};
    DWORD length = GetDllDirectoryA(MAX_PATH, old);
    if (length < MAX_PATH)
        m_oldDirectory.assign(old, length);
    m_ok = CopyFixture(fixture, m_dir / loadName) && SetDllDirectoryA(m_dir.path().c_str());
}

ScopedLibraryPath::~ScopedLibraryPath()
{
    SetDllDirectoryA(m_oldDirectory.empty() ? nullptr : m_oldDirectory.c_str());
}

}  // namespace testsupport
