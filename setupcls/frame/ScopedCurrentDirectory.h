// Keeps the process's current folder across work that moves it: the folder current at
// construction is made current again by Restore(), or at the latest when the holder goes, on
// every path out of the scope. Internal to the library.
//
// Parts of the library move the current folder on purpose (the medium's folder, the folder of
// the product's cryptographic library); a caller that only needs what such a part reads, and
// not the move, keeps its own folder with this holder.
#pragma once

#include "CString.h"

#include <windows.h>

class ScopedCurrentDirectory {
public:
    // Notes the current folder, when Windows names it within MAX_PATH.
    ScopedCurrentDirectory();
    ~ScopedCurrentDirectory();
    ScopedCurrentDirectory(const ScopedCurrentDirectory&) = delete;
    ScopedCurrentDirectory& operator=(const ScopedCurrentDirectory&) = delete;

    // Makes the noted folder current again. True when it is; false when no folder was noted or
    // SetCurrentDirectoryA failed (its reason is then in GetLastError). One attempt only: later
    // calls, and the destructor, do nothing and a later call returns false.
    bool Restore();

private:
    CString m_folder;
    bool m_saved = false;
    bool m_pending = true;
};
