// ImportHook: for one scope, SetupCLS.dll calls the test's own function in place of one Windows
// function it imports, for what Wine cannot show, only stubs, or would crash on. The entry of
// the DLL's import address table (matched by import name, DLL name ignoring case) is overwritten
// and put back when the hook dies; the test program itself still reaches Windows.
//
//     UINT WINAPI FakeGetDriveTypeA(LPCSTR root) { ... }   // plain WINAPI function
//     SETUPCLS_HOOK_IMPORT(hook, "KERNEL32.dll", GetDriveTypeA, FakeGetDriveTypeA);
//
// The macro checks at compile time that the stub has the Windows function's exact type, and
// ends the test (a fatal failure naming the function) when the import cannot be hooked.
//
// Suites that use it carry "Intercepted" in their name. The machine's disks and Windows version,
// the service manager's access lists, failure actions and database lock, a stop refused for
// running dependents, and the firewall objects are shown this way, as Wine only stubs them or
// does otherwise; the local security authority's account rights are to be shown the same way.
// The stub records the call's arguments and answers as Windows would, and the test checks both
// the call and the library's reaction to the answer.
#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

namespace testsupport {

class ImportHook {
public:
    // A missing import is reported as a test failure and leaves installed() false.
    ImportHook(const char* dll, const char* function, void* replacement, const char* module = "SetupCLS.dll");
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

#define SETUPCLS_HOOK_IMPORT(var, dll, function, replacement)                                      \
    static_assert(std::is_same<decltype(&::function), decltype(&replacement)>::value,              \
                  #replacement " must have the type of " #function);                               \
    ::testsupport::ImportHook var{dll, #function, reinterpret_cast<void*>(&replacement)};          \
    ASSERT_TRUE(var.installed()) << #function " is not hooked"
