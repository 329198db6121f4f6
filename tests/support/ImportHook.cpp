#include "ImportHook.h"

#include <gtest/gtest.h>

#include <cstring>

namespace testsupport {

namespace {

template <typename T>
T* AtRva(HMODULE base, DWORD rva)
{
    return reinterpret_cast<T*>(reinterpret_cast<BYTE*>(base) + rva);
}

// The import address table entry through which module calls dll!function, or null. Only
// descriptors with a name table count: without it the names are gone once the entries are bound.
// The module is one of this process's, so its headers and thunks are of the native image format
// (PE32 in the 32-bit build, PE32+ in the 64-bit one).
void** FindSlot(HMODULE module, const char* dll, const char* function)
{
    auto dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(module);
    auto nt = AtRva<const IMAGE_NT_HEADERS>(module, static_cast<DWORD>(dos->e_lfanew));
    const DWORD imports = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    if (dos->e_magic != IMAGE_DOS_SIGNATURE || nt->Signature != IMAGE_NT_SIGNATURE || imports == 0)
        return nullptr;
    for (auto desc = AtRva<const IMAGE_IMPORT_DESCRIPTOR>(module, imports); desc->Name != 0; ++desc) {
        if (lstrcmpiA(AtRva<const char>(module, desc->Name), dll) != 0 || desc->OriginalFirstThunk == 0)
            continue;
        auto names = AtRva<const IMAGE_THUNK_DATA>(module, desc->OriginalFirstThunk);
        auto slots = AtRva<IMAGE_THUNK_DATA>(module, desc->FirstThunk);
        for (; names->u1.AddressOfData != 0; ++names, ++slots) {
            if (!IMAGE_SNAP_BY_ORDINAL(names->u1.Ordinal)
                && strcmp(AtRva<const char>(module, names->u1.AddressOfData + 2), function) == 0)  // after Hint
                return reinterpret_cast<void**>(&slots->u1.Function);
        }
    }
    return nullptr;
}

bool WriteSlot(void** slot, void* value)
{
    DWORD old = 0;
    if (!VirtualProtect(slot, sizeof(*slot), PAGE_READWRITE, &old))
        return false;
    *slot = value;
    VirtualProtect(slot, sizeof(*slot), old, &old);
    return true;
}

}  // namespace

ImportHook::ImportHook(const char* dll, const char* function, void* replacement, const char* module)
    : m_name(std::string(module) + " -> " + dll + "!" + function)
{
    HMODULE base = GetModuleHandleA(module);
    void** slot = base ? FindSlot(base, dll, function) : nullptr;
    void* original = slot ? *slot : nullptr;
    if (!slot || !WriteSlot(slot, replacement)) {
        ADD_FAILURE() << m_name << ": " << (slot ? "VirtualProtect failed" : "module not loaded or no such import");
        return;
    }
    m_slot = slot;
    m_original = original;
}

ImportHook::~ImportHook()
{
    if (m_slot && !WriteSlot(m_slot, m_original))
        ADD_FAILURE() << m_name << ": the original could not be put back";
}

}  // namespace testsupport
