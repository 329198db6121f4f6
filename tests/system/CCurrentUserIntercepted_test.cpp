// CCurrentUser with SetupCLS.dll's security calls intercepted (ImportHook): the arguments of the
// administrator check, a user who is refused, each step failing, and user names too long for the
// object's buffers. Wine's CreatePrivateObjectSecurity is a stub that drops the access list, so
// it is replaced here by one that hands out a descriptor of the test's own; AccessCheck answers as
// the test decides. The other calls reach Wine unless their step is made to fail.
#include "CCurrentUser.h"

#include "ImportHook.h"
#include "SecuritySupport.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

namespace {

std::vector<std::string> g_calls;  // every intercepted call, in order
std::vector<std::string> g_args;   // the arguments that matter, a line per call
std::vector<std::string> g_debug;  // the debugger output
std::string g_failing;             // the call that fails with 87; "refused": access is not granted
HANDLE g_processToken = nullptr, g_threadToken = nullptr;
PSECURITY_DESCRIPTOR g_made = nullptr;
std::string g_userName;

bool Proceed(const char* call)
{
    g_calls.push_back(call);
    if (g_failing != call)
        return true;
    SetLastError(ERROR_INVALID_PARAMETER);
    return false;
}

std::string Text(const char* format, unsigned long a, unsigned long b = 0, unsigned long c = 0)
{
    char text[128];
    snprintf(text, sizeof(text), format, a, b, c);
    return text;
}

BOOL WINAPI FakeOpenProcessToken(HANDLE process, DWORD access, PHANDLE token)
{
    g_args.push_back(Text("OpenProcessToken 0x%lX", access));
    if (!Proceed("OpenProcessToken") || !OpenProcessToken(process, access, token))
        return FALSE;
    g_processToken = *token;
    return TRUE;
}
BOOL WINAPI FakeInitializeSecurityDescriptor(PSECURITY_DESCRIPTOR descriptor, DWORD revision)
{
    return Proceed("InitializeSecurityDescriptor") && InitializeSecurityDescriptor(descriptor, revision);
}
BOOL WINAPI FakeInitializeAcl(PACL list, DWORD size, DWORD revision)
{
    g_args.push_back(Text("InitializeAcl %lu %lu", size, revision));
    return Proceed("InitializeAcl") && InitializeAcl(list, size, revision);
}
BOOL WINAPI FakeAllocateAndInitializeSid(PSID_IDENTIFIER_AUTHORITY authority, BYTE count, DWORD s0, DWORD s1,
                                         DWORD s2, DWORD s3, DWORD s4, DWORD s5, DWORD s6, DWORD s7, PSID* sid)
{
    return Proceed("AllocateAndInitializeSid") &&
           AllocateAndInitializeSid(authority, count, s0, s1, s2, s3, s4, s5, s6, s7, sid);
}
BOOL WINAPI FakeAddAccessAllowedAce(PACL list, DWORD revision, DWORD mask, PSID sid)
{
    g_args.push_back(Text("AddAccessAllowedAce %lu 0x%lX ", revision, mask) + testsupport::SidText(sid));
    return Proceed("AddAccessAllowedAce") && AddAccessAllowedAce(list, revision, mask, sid);
}
BOOL WINAPI FakeSetSecurityDescriptorDacl(PSECURITY_DESCRIPTOR descriptor, BOOL present, PACL list, BOOL byDefault)
{
    return Proceed("SetSecurityDescriptorDacl") && SetSecurityDescriptorDacl(descriptor, present, list, byDefault);
}
BOOL WINAPI FakeCreatePrivateObjectSecurity(PSECURITY_DESCRIPTOR, PSECURITY_DESCRIPTOR creator,
                                            PSECURITY_DESCRIPTOR* made, BOOL, HANDLE token, PGENERIC_MAPPING)
{
    BOOL present = FALSE, byDefault = FALSE;
    PACL list = nullptr;
    GetSecurityDescriptorDacl(creator, &present, &list, &byDefault);
    for (const std::string& entry : testsupport::AceEntries(list))
        g_args.push_back("CreatePrivateObjectSecurity " + entry + (token == g_processToken ? " process token" : ""));
    return Proceed("CreatePrivateObjectSecurity") &&
           (*made = g_made = LocalAlloc(LPTR, SECURITY_DESCRIPTOR_MIN_LENGTH)) != nullptr;
}
BOOL WINAPI FakeDestroyPrivateObjectSecurity(PSECURITY_DESCRIPTOR* descriptor)
{
    g_calls.push_back(*descriptor == g_made ? "DestroyPrivateObjectSecurity" : "DestroyPrivateObjectSecurity(other)");
    LocalFree(*descriptor);
    return TRUE;
}
BOOL WINAPI FakeImpersonateSelf(SECURITY_IMPERSONATION_LEVEL level)
{
    g_args.push_back(Text("ImpersonateSelf %lu", level));
    return Proceed("ImpersonateSelf") && ImpersonateSelf(level);
}
BOOL WINAPI FakeOpenThreadToken(HANDLE thread, DWORD access, BOOL asSelf, PHANDLE token)
{
    g_args.push_back(Text("OpenThreadToken 0x%lX %lu", access, asSelf));
    if (!Proceed("OpenThreadToken") || !OpenThreadToken(thread, access, asSelf, token))
        return FALSE;
    g_threadToken = *token;
    return TRUE;
}
BOOL WINAPI FakeAccessCheck(PSECURITY_DESCRIPTOR descriptor, HANDLE token, DWORD desired, PGENERIC_MAPPING mapping,
                            PPRIVILEGE_SET, LPDWORD privilegesSize, LPDWORD granted, LPBOOL status)
{
    g_args.push_back(Text("AccessCheck 0x%lX %lu ", desired, *privilegesSize) +
                     Text("0x%lX 0x%lX 0x%lX ", mapping->GenericRead, mapping->GenericWrite, mapping->GenericExecute) +
                     Text("0x%lX", mapping->GenericAll) + (descriptor == g_made ? " made" : "") +
                     (token == g_threadToken ? " thread token" : ""));
    if (!Proceed("AccessCheck"))
        return FALSE;
    *status = g_failing != "refused";
    *granted = *status ? desired : 0;
    return TRUE;
}
BOOL WINAPI FakeRevertToSelf()
{
    g_calls.push_back("RevertToSelf");
    return RevertToSelf();
}
PVOID WINAPI FakeFreeSid(PSID sid)
{
    g_calls.push_back("FreeSid");
    return FreeSid(sid);
}
void WINAPI FakeOutputDebugStringA(LPCSTR text)
{
    g_debug.push_back(text);
}
BOOL WINAPI FakeGetUserNameA(LPSTR buffer, LPDWORD size)
{
    const DWORD needed = static_cast<DWORD>(g_userName.size() + 1);
    g_args.push_back(Text("GetUserNameA %lu", *size));
    const bool fits = *size >= needed;
    if (fits)
        memcpy(buffer, g_userName.c_str(), needed);
    *size = needed;
    SetLastError(fits ? ERROR_SUCCESS : ERROR_INSUFFICIENT_BUFFER);
    return fits;
}

// Replaces the import name with Fake<name>, which must have its exact type.
#define SETUPCLS_HOOK(dll, name)                                                                   \
    static_assert(std::is_same<decltype(&::name), decltype(&Fake##name)>::value, #name);        \
    Hook(dll, #name, &Fake##name)

class CCurrentUserIntercepted : public ::testing::Test {
protected:
    void SetUp() override
    {
        g_calls.clear();
        g_args.clear();
        g_debug.clear();
        g_failing.clear();
    }

    template <typename F>
    void Hook(const char* dll, const char* name, F* fake)
    {
        m_hooks.push_back(std::make_unique<testsupport::ImportHook>(dll, name, reinterpret_cast<void*>(fake)));
        ASSERT_TRUE(m_hooks.back()->installed()) << name;
    }

    void HookCheck()
    {
        SETUPCLS_HOOK("ADVAPI32.dll", OpenProcessToken);
        SETUPCLS_HOOK("ADVAPI32.dll", InitializeSecurityDescriptor);
        SETUPCLS_HOOK("ADVAPI32.dll", InitializeAcl);
        SETUPCLS_HOOK("ADVAPI32.dll", AllocateAndInitializeSid);
        SETUPCLS_HOOK("ADVAPI32.dll", AddAccessAllowedAce);
        SETUPCLS_HOOK("ADVAPI32.dll", SetSecurityDescriptorDacl);
        SETUPCLS_HOOK("ADVAPI32.dll", CreatePrivateObjectSecurity);
        SETUPCLS_HOOK("ADVAPI32.dll", DestroyPrivateObjectSecurity);
        SETUPCLS_HOOK("ADVAPI32.dll", ImpersonateSelf);
        SETUPCLS_HOOK("ADVAPI32.dll", OpenThreadToken);
        SETUPCLS_HOOK("ADVAPI32.dll", AccessCheck);
        SETUPCLS_HOOK("ADVAPI32.dll", RevertToSelf);
        SETUPCLS_HOOK("ADVAPI32.dll", FreeSid);
        SETUPCLS_HOOK("KERNEL32.dll", OutputDebugStringA);
    }

    std::vector<std::unique_ptr<testsupport::ImportHook>> m_hooks;
};

// The clean-up calls among the intercepted ones, in order.
std::vector<std::string> CleanUp()
{
    std::vector<std::string> calls;
    for (const std::string& call : g_calls) {
        if (call == "FreeSid" || call == "RevertToSelf" || call.rfind("DestroyPrivateObjectSecurity", 0) == 0)
            calls.push_back(call);
    }
    return calls;
}

}  // namespace

TEST_F(CCurrentUserIntercepted, AdministratorsMayOpenTheDescriptorAsTheImpersonatedSelf)
{
    HookCheck();
    EXPECT_EQ(1, CCurrentUser::IsAdministrator());
    EXPECT_EQ((std::vector<std::string>{
                  "OpenProcessToken 0x20008", "InitializeAcl 4096 2", "AddAccessAllowedAce 2 0x10000000 S-1-5-32-544",
                  "CreatePrivateObjectSecurity S-1-5-32-544 0 0 0x10000000 process token", "ImpersonateSelf 2",
                  "OpenThreadToken 0x20008 1",
                  "AccessCheck 0x1F01FF 1024 0x120089 0x120116 0x1200A0 0x1F01FF made thread token"}),
              g_args);
    EXPECT_EQ((std::vector<std::string>{"FreeSid", "RevertToSelf", "DestroyPrivateObjectSecurity"}), CleanUp());
    EXPECT_TRUE(g_debug.empty());
}

TEST_F(CCurrentUserIntercepted, AFailedOrRefusedStepAnswersZeroAfterItsCleanUp)
{
    HookCheck();
    const std::vector<std::string> none, sid{"FreeSid"}, sidAndDescriptor{"FreeSid", "DestroyPrivateObjectSecurity"},
        all{"FreeSid", "RevertToSelf", "DestroyPrivateObjectSecurity"};
    const struct {
        const char* failing;
        const char* message;
        DWORD error;
        const std::vector<std::string>& cleanUp;
    } steps[] = {
        {"OpenProcessToken", "OpenProcessToken() failed", 87, none},
        {"InitializeSecurityDescriptor", "InitializeSecurityDescriptor() failed", 87, none},
        {"InitializeAcl", "InitializeAcl() failed", 87, none},
        {"AllocateAndInitializeSid", "AllocateAndInitializeSid() failed", 87, none},
        {"AddAccessAllowedAce", "AddAccessAllowedAce() failed", 87, sid},
        {"SetSecurityDescriptorDacl", "SetSecurityDescriptorDacl failed()", 87, sid},
        {"CreatePrivateObjectSecurity", "CreatePrivateObjectSecurity() failed", 87, sid},
        // No impersonation: Wine's thread has no token to open (1008), and nothing to revert.
        {"ImpersonateSelf", "OpenThreadToken() failed", ERROR_NO_TOKEN, sidAndDescriptor},
        {"OpenThreadToken", "OpenThreadToken() failed", 87, all},
        {"AccessCheck", "AccessCheck() failed", 87, all},
        {"refused", "AccessCheck() failed - not an administrator", 0, all},
    };
    for (const auto& step : steps) {
        SetUp();
        g_failing = step.failing;
        int answer = -1;
        EXPECT_NO_THROW(answer = CCurrentUser::IsAdministrator()) << step.failing;
        EXPECT_EQ(0, answer) << step.failing;
        EXPECT_EQ(step.error, GetLastError()) << step.failing;
        EXPECT_EQ(step.cleanUp, CleanUp()) << step.failing;
        char line[160];
        snprintf(line, sizeof(line), "CCurrentUser::IsAdministrator: %s - [0x%lx] (setup error 2)\n", step.message,
                 step.error);
        EXPECT_EQ(std::vector<std::string>{line}, g_debug) << step.failing;
    }
}

TEST_F(CCurrentUserIntercepted, NamesOfFortyEightCharactersDoNotFitTheObject)
{
    SETUPCLS_HOOK("ADVAPI32.dll", GetUserNameA);
    for (size_t length : {47, 48}) {
        g_args.clear();
        g_userName.assign(length, 'u');
        CCurrentUser user;
        EXPECT_EQ(std::vector<std::string>{"GetUserNameA 48"}, g_args);
        EXPECT_EQ(length < 48 ? g_userName : "", user.GetUser()) << length;
    }
}
