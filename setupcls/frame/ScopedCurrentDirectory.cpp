#include "ScopedCurrentDirectory.h"

ScopedCurrentDirectory::ScopedCurrentDirectory()
{
    char folder[MAX_PATH + 1];
    DWORD length = GetCurrentDirectoryA(sizeof(folder), folder);
    m_saved = length > 0 && length < sizeof(folder);
    if (m_saved)
        m_folder = CString(folder, static_cast<int>(length));
}

ScopedCurrentDirectory::~ScopedCurrentDirectory()
{
    Restore();
}

bool ScopedCurrentDirectory::Restore()
{
    if (!m_pending)
        return false;
    m_pending = false;
    return m_saved && SetCurrentDirectoryA(m_folder) != FALSE;
}
