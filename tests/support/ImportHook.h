// Interception of one function that SetupCLS.dll imports, for the life of the object: the DLL's
// import address table entry is pointed at a replacement and restored at scope exit. Used where
// Wine cannot show a behaviour (a stub, or a call that cannot succeed in a test prefix).
#pragma once

#include <windows.h>

namespace testsupport {

class ScopedImportHook {
public:
    // dll: the imported library ("ADVAPI32.dll"), matched without regard to case.
    ScopedImportHook(const char* dll, const char* function, const void* replacement);
    ~ScopedImportHook();
    ScopedImportHook(const ScopedImportHook&) = delete;
    ScopedImportHook& operator=(const ScopedImportHook&) = delete;

    bool installed() const { return m_slot != nullptr; }

private:
    void Swap(void* value);

    void** m_slot = nullptr;
    void* m_original = nullptr;
};

}  // namespace testsupport
