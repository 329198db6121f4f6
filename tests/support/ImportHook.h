// ImportHook: for the length of one scope, SetupCLS.dll calls the test's own function in place
// of one Windows function it imports.
//
// The library calls Windows directly and carries no test doubles. Where Wine cannot show a
// behaviour (a machine whose only fixed disk is D:, a Windows 9x version answer, more than
// 4 GiB free) or only stubs it (service failure actions, LSA account rights, the firewall
// objects), or where calling it would end the process (LsaOpenAccount, NetUserSetInfo), a test
// replaces that import of SetupCLS.dll: the entry of the DLL's import address table is
// overwritten with the test's function and put back when the hook object dies. Only
// SetupCLS.dll's calls are redirected; the test program itself still reaches Windows.
//
// Usage (the macro checks at compile time that the stub has exactly the Windows function's
// type, calling convention included):
//
//     UINT WINAPI FakeGetDriveTypeA(LPCSTR root) { ... }
//
//     TEST(CComputerIntercepted, ...)
//     {
//         SETUPCLS_HOOK_IMPORT(hook, "KERNEL32.dll", GetDriveTypeA, FakeGetDriveTypeA);
//         ASSERT_TRUE(hook.installed());
//         ... call the library; FakeGetDriveTypeA answers ...
//     }   // the real GetDriveTypeA is back
//
// The macro works at block scope and for members of a test fixture as well.
//
// A stub that passes some calls on to Windows calls hook.original<decltype(&::GetDriveTypeA)>()
// or simply the Windows function itself. Hooks may be nested; they must end in reverse order
// (scopes do that). Stubs keep their state in static variables: they are plain WINAPI
// functions, not lambdas.
//
// Names are matched against the import's own name (the import name table), so a function is
// found even when the loader bound the entry to a forwarder; DLL names compare ignoring case.
// SetupCLS.dll imports straight from the Windows DLLs (KERNEL32.dll, ADVAPI32.dll,
// NETAPI32.dll, msvcrt.dll...), not through api-ms-* sets: use those names.
#pragma once

#include <windows.h>

#include <string>
#include <type_traits>

namespace testsupport {

class ImportHook {
public:
    // Replaces module's import of dll!function. A failed patch (no such import) is reported as
    // a test failure and leaves installed() false.
    ImportHook(const char* dll, const char* function, void* replacement, const char* module = "SetupCLS.dll");
    template <typename F>
    ImportHook(const char* dll, const char* function, F* replacement, const char* module = "SetupCLS.dll")
        : ImportHook(dll, function, reinterpret_cast<void*>(replacement), module)
    {
        static_assert(std::is_function<F>::value, "the replacement must be a function");
    }
    ~ImportHook();
    ImportHook(const ImportHook&) = delete;
    ImportHook& operator=(const ImportHook&) = delete;

    bool installed() const { return m_slot != nullptr; }

    // The function the entry held before (the real one, or an outer hook's stub).
    template <typename F>
    F original() const
    {
        return reinterpret_cast<F>(m_original);
    }

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
