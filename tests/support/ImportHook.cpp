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

const IMAGE_IMPORT_DESCRIPTOR* FirstImport(HMODULE base)
{
    auto dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    if (dos->e_magic != IMAGE_DOS_SIGNATURE)
        return nullptr;
    auto nt = AtRva<const IMAGE_NT_HEADERS32>(base, static_cast<DWORD>(dos->e_lfanew));
    if (nt->Signature != IMAGE_NT_SIGNATURE)
        return nullptr;
    const IMAGE_DATA_DIRECTORY& dir = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    if (dir.VirtualAddress == 0)
        return nullptr;
    return AtRva<const IMAGE_IMPORT_DESCRIPTOR>(base, dir.VirtualAddress);
}

// The import address table entry through which module calls dll!function; null when module
// does not import it by that name.
void** FindSlot(HMODULE module, const char* dll, const char* function)
{
    for (auto desc = FirstImport(module); desc && desc->Name != 0; ++desc) {
        if (lstrcmpiA(AtRva<const char>(module, desc->Name), dll) != 0)
            continue;
        // The name table runs beside the address table; without it the names are gone once
        // the loader has bound the entries.
        if (desc->OriginalFirstThunk == 0)
            continue;
        auto names = AtRva<const IMAGE_THUNK_DATA32>(module, desc->OriginalFirstThunk);
        auto slots = AtRva<IMAGE_THUNK_DATA32>(module, desc->FirstThunk);
        for (; names->u1.AddressOfData != 0; ++names, ++slots) {
            if (IMAGE_SNAP_BY_ORDINAL32(names->u1.Ordinal))
                continue;
            auto byName = AtRva<const IMAGE_IMPORT_BY_NAME>(module, names->u1.AddressOfData);
            if (strcmp(reinterpret_cast<const char*>(byName->Name), function) == 0)
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
    DWORD ignored = 0;
    VirtualProtect(slot, sizeof(*slot), old, &ignored);
    FlushInstructionCache(GetCurrentProcess(), slot, sizeof(*slot));
    return true;
}

}  // namespace

ImportHook::ImportHook(const char* dll, const char* function, void* replacement, const char* module)
    : m_name(std::string(module) + " -> " + dll + "!" + function)
{
    HMODULE base = GetModuleHandleA(module);
    if (!base) {
        ADD_FAILURE() << m_name << ": " << module << " is not loaded";
        return;
    }
    void** slot = FindSlot(base, dll, function);
    if (!slot) {
        ADD_FAILURE() << m_name << ": no such import";
        return;
    }
    void* original = *slot;
    if (!WriteSlot(slot, replacement)) {
        ADD_FAILURE() << m_name << ": VirtualProtect failed with " << GetLastError();
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
