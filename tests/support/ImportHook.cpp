#include "ImportHook.h"

namespace testsupport {

ScopedImportHook::ScopedImportHook(const char* dll, const char* function, const void* replacement)
{
    auto base = reinterpret_cast<BYTE*>(GetModuleHandleA("SetupCLS.dll"));
    if (!base)
        return;
    auto dos = reinterpret_cast<IMAGE_DOS_HEADER*>(base);
    auto nt = reinterpret_cast<IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
    const IMAGE_DATA_DIRECTORY& directory = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    for (auto entry = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(base + directory.VirtualAddress); entry->Name; ++entry) {
        if (lstrcmpiA(reinterpret_cast<char*>(base + entry->Name), dll) != 0)
            continue;
        auto names = reinterpret_cast<IMAGE_THUNK_DATA*>(base + entry->OriginalFirstThunk);
        auto slots = reinterpret_cast<IMAGE_THUNK_DATA*>(base + entry->FirstThunk);
        for (; names->u1.AddressOfData; ++names, ++slots) {
            if (IMAGE_SNAP_BY_ORDINAL(names->u1.Ordinal))
                continue;
            auto byName = reinterpret_cast<IMAGE_IMPORT_BY_NAME*>(base + names->u1.AddressOfData);
            if (lstrcmpA(reinterpret_cast<char*>(byName->Name), function) == 0) {
                m_slot = reinterpret_cast<void**>(&slots->u1.Function);
                m_original = *m_slot;
                Swap(const_cast<void*>(replacement));
                return;
            }
        }
    }
}

ScopedImportHook::~ScopedImportHook()
{
    if (m_slot)
        Swap(m_original);
}

void ScopedImportHook::Swap(void* value)
{
    DWORD old = 0;
    if (VirtualProtect(m_slot, sizeof(void*), PAGE_READWRITE, &old)) {
        *m_slot = value;
        VirtualProtect(m_slot, sizeof(void*), old, &old);
    }
}

}  // namespace testsupport
