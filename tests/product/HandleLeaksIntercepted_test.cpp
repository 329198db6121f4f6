// Every operation that opens something, run a thousand times, leaves the count
// of what SetupCLS.dll holds open where it was: kernel handles, searches,
// registry keys, service handles and locks, modules, SIDs, local allocations,
// policy handles and network buffers.
//
// Wine's GetProcessHandleCount answers 0 whatever is open, so the count is kept
// here instead: each import of the DLL that opens something and the one that
// closes it are intercepted in pairs (ImportHook), and every successful open
// adds one to its kind's balance, every close takes one away. The calls go on
// to Windows; only the DLL's own imports are counted.
//
// Each operation runs a thousand times; those whose round takes tens of
// milliseconds under Wine (the service manager's requests, loading a product
// library) a hundred: a leak is one or more per call, so it shows either way.
// The two leaks the library keeps on purpose are counted too: the service
// handles of CService::GetServiceFileName when the configuration cannot be read
// (the read is made to fail), which also shows that the count sees a leak. Not
// here: ChangeServiceInfo, whose kept database lock would hold up every later
// service operation of the run, and the firewall's COM objects (released
// through their interfaces: no import to count).
#include "ImportHook.h"
#include "PolicyAccounts.h"
#include "RegistrySupport.h"
#include "SetupCLS.h"
#include "TestSupport.h"

#include <aclapi.h>
#include <gtest/gtest.h>
#include <lm.h>
#include <ntsecapi.h>

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <vector>

using namespace testsupport;

namespace {

enum Kind { kKernel, kSearch, kKey, kService, kServiceLock, kModule, kSid, kLocal, kPolicy, kNetBuffer, kKinds };
const char* const kKindNames[kKinds] = {"kernel handles", "searches", "registry keys", "service handles",
    "service locks", "modules", "SIDs", "local allocations", "policy handles", "network buffers"};
std::array<long, kKinds> g_open;

// When a call counts, by its result: a handle or pointer, TRUE, or a status of
// 0 (ERROR_SUCCESS, NERR_Success, STATUS_SUCCESS); a close counts even when it
// fails.
const auto Handle = [](auto h) { return h != nullptr && h != INVALID_HANDLE_VALUE; };
const auto Nonzero = [](BOOL b) { return b != 0; };
const auto Zero = [](auto status) { return status == 0; };
const auto Always = [](auto) { return true; };

// The counting stand-in of one import: calls Windows, and when `counts` says
// the call did what it names, moves the balance of `kind` by `delta`. Id makes
// each import's stand-in its own.
template <typename Signature, int Id> struct Counted;
template <typename R, typename... A, int Id> struct Counted<R WINAPI(A...), Id> {
    static inline R(WINAPI* real)(A...) = nullptr;
    static inline Kind kind = kKernel;
    static inline int delta = 0;
    static inline bool (*counts)(R) = nullptr;
    static R WINAPI Call(A... args)
    {
        const R result = real(args...);
        if (counts(result))
            g_open[kind] += delta;
        return result;
    }
};

// Closes that count only for a real handle: a predefined key or a null
// allocation is no close.
LONG WINAPI CloseKey(HKEY key)
{
    const LONG status = RegCloseKey(key);
    if (reinterpret_cast<ULONG_PTR>(key) < reinterpret_cast<ULONG_PTR>(HKEY_CLASSES_ROOT))
        --g_open[kKey];
    return status;
}
HLOCAL WINAPI FreeLocal(HLOCAL memory)
{
    if (memory)
        --g_open[kLocal];
    return LocalFree(memory);
}
// A started program comes with two handles, its process and its first thread.
BOOL WINAPI StartProcess(LPCSTR application, LPSTR commandLine, LPSECURITY_ATTRIBUTES process,
    LPSECURITY_ATTRIBUTES thread, BOOL inherit, DWORD flags, LPVOID environment, LPCSTR folder, LPSTARTUPINFOA startup,
    LPPROCESS_INFORMATION information)
{
    const BOOL started = CreateProcessA(
        application, commandLine, process, thread, inherit, flags, environment, folder, startup, information);
    if (started)
        g_open[kKernel] += 2;
    return started;
}

// Counts the DLL's calls of dll!function; the line number makes each stand-in its own.
#define COUNT(dll, function, kind, delta, counts)                                                                      \
    Count<decltype(function), __LINE__>(dll, #function, function, kind, delta, counts)

// The hooks of one counting scope, installed for the imports the DLL has.
class Ledger {
public:
    Ledger()
    {
        COUNT("KERNEL32.dll", CreateFileA, kKernel, +1, Handle);
        COUNT("KERNEL32.dll", CreateEventA, kKernel, +1, Handle);
        COUNT("KERNEL32.dll", CreateMutexA, kKernel, +1, Handle);
        COUNT("KERNEL32.dll", CreateSemaphoreA, kKernel, +1, Handle);
        COUNT("KERNEL32.dll", OpenProcess, kKernel, +1, Handle);
        COUNT("KERNEL32.dll", DuplicateHandle, kKernel, +1, Nonzero);
        COUNT("ADVAPI32.dll", OpenProcessToken, kKernel, +1, Nonzero);
        COUNT("ADVAPI32.dll", OpenThreadToken, kKernel, +1, Nonzero);
        COUNT("KERNEL32.dll", CloseHandle, kKernel, -1, Always);
        Hook("KERNEL32.dll", "CreateProcessA", reinterpret_cast<void*>(&StartProcess));
        COUNT("KERNEL32.dll", FindFirstFileA, kSearch, +1, Handle);
        COUNT("KERNEL32.dll", FindClose, kSearch, -1, Always);
        COUNT("ADVAPI32.dll", RegOpenKeyExA, kKey, +1, Zero);
        COUNT("ADVAPI32.dll", RegCreateKeyExA, kKey, +1, Zero);
        COUNT("ADVAPI32.dll", RegConnectRegistryA, kKey, +1, Zero);
        Hook("ADVAPI32.dll", "RegCloseKey", reinterpret_cast<void*>(&CloseKey));
        COUNT("ADVAPI32.dll", OpenSCManagerA, kService, +1, Handle);
        COUNT("ADVAPI32.dll", OpenServiceA, kService, +1, Handle);
        COUNT("ADVAPI32.dll", CreateServiceA, kService, +1, Handle);
        COUNT("ADVAPI32.dll", CloseServiceHandle, kService, -1, Always);
        COUNT("ADVAPI32.dll", LockServiceDatabase, kServiceLock, +1, Handle);
        COUNT("ADVAPI32.dll", UnlockServiceDatabase, kServiceLock, -1, Always);
        COUNT("KERNEL32.dll", LoadLibraryA, kModule, +1, Handle);
        COUNT("KERNEL32.dll", LoadLibraryExA, kModule, +1, Handle);
        COUNT("KERNEL32.dll", LoadLibraryW, kModule, +1, Handle);
        COUNT("KERNEL32.dll", FreeLibrary, kModule, -1, Always);
        COUNT("ADVAPI32.dll", AllocateAndInitializeSid, kSid, +1, Nonzero);
        COUNT("ADVAPI32.dll", FreeSid, kSid, -1, Always);
        // Windows allocates the new list and the descriptors these hand out;
        // LocalFree returns them.
        COUNT("ADVAPI32.dll", SetEntriesInAclA, kLocal, +1, Zero);
        COUNT("ADVAPI32.dll", GetNamedSecurityInfoA, kLocal, +1, Zero);
        COUNT("ADVAPI32.dll", GetSecurityInfo, kLocal, +1, Zero);
        Hook("KERNEL32.dll", "LocalFree", reinterpret_cast<void*>(&FreeLocal));
        COUNT("ADVAPI32.dll", LsaOpenPolicy, kPolicy, +1, Zero);
        COUNT("ADVAPI32.dll", LsaOpenAccount, kPolicy, +1, Zero);
        COUNT("ADVAPI32.dll", LsaClose, kPolicy, -1, Always);
        COUNT("NETAPI32.dll", NetUserGetInfo, kNetBuffer, +1, Zero);
        COUNT("NETAPI32.dll", NetServerGetInfo, kNetBuffer, +1, Zero);
        COUNT("NETAPI32.dll", NetWkstaGetInfo, kNetBuffer, +1, Zero);
        COUNT("NETAPI32.dll", NetGetDCName, kNetBuffer, +1, Zero);
        COUNT("NETAPI32.dll", NetApiBufferFree, kNetBuffer, -1, Zero);
    }
    bool complete() const { return m_complete; }

private:
    template <typename Signature, int Id, typename R, typename... A, typename Counts>
    void Count(const char* dll, const char* name, R(WINAPI* real)(A...), Kind kind, int delta,
        Counts counts)
    {
        using Stand = Counted<Signature, Id>;
        Stand::real = real;
        Stand::kind = kind;
        Stand::delta = delta;
        Stand::counts = counts;
        Hook(dll, name, reinterpret_cast<void*>(&Stand::Call));
    }
    void Hook(const char* dll, const char* name, void* stand)
    {
        m_hooks.push_back(std::make_unique<ImportHook>(dll, name, stand));
        m_complete = m_complete && m_hooks.back()->installed();
    }

    std::vector<std::unique_ptr<ImportHook>> m_hooks;
    bool m_complete = true;
};

const int kRounds = 1000, kSlowRounds = 100;

BOOL WINAPI UnreadableConfig(SC_HANDLE, LPQUERY_SERVICE_CONFIGA, DWORD, LPDWORD)
{
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

const std::string kServiceKey = "SOFTWARE\\Brannoch\\LeakTest";

// The scrambler DVDCEN.DLL sits in the current folder, where the library finds
// it.
class HandleLeaksIntercepted : public ScramblerTest { };

}  // namespace

TEST_F(HandleLeaksIntercepted, EveryOperationClosesWhatItOpens)
{
    const TempDir& dir = m_dir;
    const std::string log = dir / "trace.log", source = dir / "source", copy = dir / "copy";
    ASSERT_TRUE(CreateDirectoryA(source.c_str(), nullptr));
    ASSERT_TRUE(CreateDirectoryA((source + "\\sub").c_str(), nullptr));
    ASSERT_TRUE(WriteFileBytes(source + "\\sub\\file.txt", "data"));
    ASSERT_TRUE(CopyFixture("modversion.dll", dir / "modversion.dll"));
    ScopedRegistryKeys keys({"SOFTWARE\\Brannoch", kServiceKey});
    const std::string module = dir / "modversion.dll";
    const std::string mutex = UniqueName("LeakTest");
    char user[256] = {};
    DWORD userSize = sizeof(user);
    ASSERT_TRUE(GetUserNameA(user, &userSize));

    struct Operation {
        const char* name;
        std::function<void(int)> run;
        int rounds = kRounds;
        std::array<long, kKinds> keptPerRound {};
    };
    const std::vector<Operation> operations = {
        {"CLog::Write", [&](int i) { CLog::Write(log.c_str(), "line %d", i); }},
        {"CComputer tree copy and delete",
            [&](int) {
                CComputer::CopyFileRecursively(source.c_str(), copy.c_str(), FALSE);
                CComputer::DeleteTree(copy.c_str());
            },
            kSlowRounds},
        {"CComputer queries",
            [&](int) {
                CComputer::IsServer(nullptr);
                CComputer::DirectoryExists(dir.path().c_str());
                CComputer::PathEmpty(source.c_str());
            }},
        {"CService queries and start-type backup",
            [&](int) {
                char path[MAX_PATH];
                CService::ServiceExists("SetupCLSNoSuchService");
                CService::IsStarted("RpcSs");
                CService::GetServiceFileName("RpcSs", path, sizeof(path));
                CService::BackupServiceStatus(kServiceKey.c_str(), "RpcSs");
            },
            kSlowRounds},
        {"CService::GetServiceFileName, configuration unreadable",
            [&](int) {
                char path[MAX_PATH];
                SETUPCLS_HOOK_IMPORT(read, "ADVAPI32.dll", QueryServiceConfigA, UnreadableConfig);
                EXPECT_EQ(0, CService::GetServiceFileName("RpcSs", path, sizeof(path)));
            },
            10, {0, 0, 0, 2}},
        {"CSystemAccount::Exists",
            [&](int) {
                CSystemAccount::Exists(nullptr, "SetupCLSNoSuchUser");
                CSystemAccount::Exists(nullptr, user);
            }},
        {"CCurrentUser",
            [&](int) {
                char name[256];
                unsigned long size = sizeof(name);
                CCurrentUser::GetUser(name, &size);
                size = sizeof(name);
                CCurrentUser::GetDomain(name, &size);
                CCurrentUser::IsAdministrator();
            }},
        {"folder access rights",
            [&](int) {
                DWORD mask = 0;
                AddAccessPermissionOnFolder(source.c_str());
                GetBuiltinDomainAccessMaskOnFolder(source.c_str(), DOMAIN_ALIAS_RID_ADMINS, &mask);
            }},
        {"upgrade keys: backup sub keys made, restored into the product key",
            [&](int) {
                DvSetCreateRSSubRegKeys(nullptr, "Base,Products");
                DvSetRSOldProdRegKey();
            }},
        {"CApplication::IsRunning", [&](int) { CApplication::IsRunning(mutex.c_str()); }},
        {"CRemoteMailslot::SendStatus", [&](int) { CRemoteMailslot::SendStatus(nullptr, 1, 2); }},
        {"CModuleVersion",
            [&](int) {
                CModuleVersion version;
                version.GetFileVersionInfoA(module.c_str());
            },
            kSlowRounds},
        {"password scrambling",
            [&](int) {
                BYTE out[64];
                DWORD length = sizeof(out);
                DVSET_ZOREncrypt(reinterpret_cast<const BYTE*>("secret"), 6, out, &length);
            },
            kSlowRounds},
    };

    Ledger ledger;
    ASSERT_TRUE(ledger.complete());
    for (const Operation& operation : operations) {
        g_open.fill(0);
        for (int round = 0; round < operation.rounds; ++round)
            operation.run(round);
        for (int kind = 0; kind < kKinds; ++kind)
            EXPECT_EQ(operation.keptPerRound[kind] * operation.rounds, g_open[kind])
                << operation.name << ": " << kKindNames[kind] << " open after " << operation.rounds << " rounds";
    }
}
