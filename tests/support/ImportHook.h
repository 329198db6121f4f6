// ImportHook: for the length of one scope, SetupCLS.dll calls the test's own function in place
// of one Windows function it imports.
//
// The library calls Windows directly and carries no test doubles. Where Wine cannot show a
// behaviour (a machine whose only fixed disk is D:, a Windows 9x version answer), only stubs it
// (service failure actions, LSA account rights, the firewall objects), or would end the process
// (LsaOpenAccount, NetUserSetInfo), a test overwrites that entry of SetupCLS.dll's import
// address table with its own function; the entry is put back when the hook dies. Only the
// DLL's calls are redirected: the test program itself still reaches Windows, so a stub may pass
// calls on by calling the Windows function.
//
//     UINT WINAPI FakeGetDriveTypeA(LPCSTR root) { ... }   // plain WINAPI function, no lambda
//
//     SETUPCLS_HOOK_IMPORT(hook, "KERNEL32.dll", GetDriveTypeA, FakeGetDriveTypeA);
//     ASSERT_TRUE(hook.installed());
//     ... call the library ...
//
// The macro checks at compile time that the stub has the Windows function's exact type
// (calling convention included); it also declares members of a test fixture. Stubs keep their
// state in static variables. Nested hooks end in reverse order, as scopes do.
//
// The import is matched by its own name (the import name table), DLL names ignoring case.
// SetupCLS.dll imports straight from KERNEL32.dll, ADVAPI32.dll, NETAPI32.dll, msvcrt.dll and
// the like, not through api-ms-* sets.
#pragma once

#include <windows.h>

#include <string>
#include <type_traits>

namespace testsupport {

class ImportHook {
public:
    // A missing import is reported as a test failure and leaves installed() false.
    template <typename F>
    ImportHook(const char* dll, const char* function, F* replacement, const char* module = "SetupCLS.dll")
        : ImportHook(dll, function, reinterpret_cast<void*>(replacement), module)
    {
        static_assert(std::is_function<F>::value, "the replacement must be a function");
    }
    ImportHook(const char* dll, const char* function, void* replacement, const char* module);
    ~ImportHook();
    ImportHook(const ImportHook&) = delete;
    ImportHook& operator=(const ImportHook&) = delete;

    bool installed() const { return m_slot != nullptr; }

private:
    void** m_slot = nullptr;
    void* m_original = nullptr;
    std::string m_name;
};

}  // namespace testsupport

#define SETUPCLS_HOOK_IMPORT(var, dll, function, replacement)                                     \
    static_assert(std::is_same<decltype(&::function), decltype(&replacement)>::value,              \
                  #replacement " must have the type of " #function);                              \
    ::testsupport::ImportHook var{dll, #function, &replacement}
