// Ownership of Windows handles inside the library: every registry key, service handle, token,
// loaded module, file, search, SID, access list, policy handle, COM object and network
// connection the library opens is held by one of these and closed on every path out of the
// function that opened it.
//
// One idiom everywhere: the call that creates a handle writes it straight into its holder
// (put(), or the holder built from the call's result); no raw handle is wrapped afterwards, and
// no second copy of a handle is kept beside its holder. The holders are header-only, so a
// module imports the release function of a kind only when it uses that kind. The host and the
// test programs use the same holders.
#pragma once

#include <windows.h>
#include <lm.h>
#include <ntsecapi.h>
#include <objbase.h>
#include <oleauto.h>
#include <winnetwk.h>
#include <winsvc.h>

#include <string>

#include <utility>

// Traits: the handle type, its invalid value and the call that releases it.
template <typename Traits>
class UniqueAny {
public:
    using T = typename Traits::type;

    UniqueAny() = default;
    explicit UniqueAny(T value) : m_value(value) {}
    UniqueAny(const UniqueAny&) = delete;
    UniqueAny& operator=(const UniqueAny&) = delete;
    UniqueAny(UniqueAny&& other) noexcept : m_value(other.release()) {}
    UniqueAny& operator=(UniqueAny&& other) noexcept
    {
        if (this != &other)
            reset(other.release());
        return *this;
    }
    ~UniqueAny() { reset(); }

    T get() const { return m_value; }
    T operator->() const { return m_value; }  // for COM interface pointers
    explicit operator bool() const { return m_value != Traits::invalid(); }

    // The address to hand to an API that returns a new handle through a pointer; any handle
    // held before is closed first.
    T* put()
    {
        reset();
        return &m_value;
    }

    T release() { return std::exchange(m_value, Traits::invalid()); }

    // The Win32 status of the call that wrote through put(), handed back. A call that failed may
    // leave anything in its output: that is no handle, so it is let go, never closed.
    LONG kept(LONG status)
    {
        if (status != ERROR_SUCCESS)
            release();
        return status;
    }

    void reset(T value = Traits::invalid())
    {
        T old = std::exchange(m_value, value);
        if (old != Traits::invalid())
            Traits::close(old);
    }

private:
    T m_value = Traits::invalid();
};

namespace handle_detail {

template <typename H, void (*Close)(H)>
struct NullInvalid {
    using type = H;
    static H invalid() { return nullptr; }
    static void close(H value) { Close(value); }
};

// CreateFile and FindFirstFile answer INVALID_HANDLE_VALUE, not null, on failure.
template <void (*Close)(HANDLE)>
struct MinusOneInvalid {
    using type = HANDLE;
    static HANDLE invalid() { return INVALID_HANDLE_VALUE; }
    static void close(HANDLE value) { Close(value); }
};

inline void CloseKey(HKEY key) { RegCloseKey(key); }
inline void CloseObject(HANDLE handle) { CloseHandle(handle); }
inline void CloseFind(HANDLE handle) { FindClose(handle); }
inline void CloseModule(HMODULE module) { FreeLibrary(module); }
inline void FreeNetBuffer(LPBYTE buffer) { NetApiBufferFree(buffer); }
inline void CloseService(SC_HANDLE service) { CloseServiceHandle(service); }
inline void FreeAllocatedSid(PSID sid) { FreeSid(sid); }
inline void ClosePolicy(LSA_HANDLE policy) { LsaClose(policy); }
inline void FreePolicyMemory(PVOID memory) { LsaFreeMemory(memory); }
inline void FreeBstr(BSTR text) { SysFreeString(text); }
inline void UnlockDatabase(SC_LOCK lock) { UnlockServiceDatabase(lock); }
inline void DestroyPrivateSecurity(PSECURITY_DESCRIPTOR descriptor) { DestroyPrivateObjectSecurity(&descriptor); }
inline void FreeProcessHeap(LPVOID memory) { HeapFree(GetProcessHeap(), 0, memory); }
template <typename P>
void FreeLocalAs(P memory) { LocalFree(memory); }

// A COM interface pointer: one reference, released once.
template <typename I>
struct ComReference {
    using type = I*;
    static I* invalid() { return nullptr; }
    static void close(I* object) { object->Release(); }
};

}  // namespace handle_detail

using UniqueKey = UniqueAny<handle_detail::NullInvalid<HKEY, handle_detail::CloseKey>>;
using UniqueHandle = UniqueAny<handle_detail::NullInvalid<HANDLE, handle_detail::CloseObject>>;
using UniqueModule = UniqueAny<handle_detail::NullInvalid<HMODULE, handle_detail::CloseModule>>;
// Memory of LocalAlloc, and what the system hands out to be freed with LocalFree: access lists
// (SetEntriesInAclA: UniqueLocalPtr<PACL>), security descriptors, SIDs made from text.
template <typename P>
using UniqueLocalPtr = UniqueAny<handle_detail::NullInvalid<P, handle_detail::FreeLocalAs<P>>>;
using UniqueLocal = UniqueLocalPtr<HLOCAL>;
// A block of the process heap (HeapAlloc(GetProcessHeap(), ...)).
using UniqueHeapBlock = UniqueAny<handle_detail::NullInvalid<LPVOID, handle_detail::FreeProcessHeap>>;
// A buffer that a network management call (NetWkstaGetInfo, NetServerGetInfo...) returned.
using UniqueNetBuffer = UniqueAny<handle_detail::NullInvalid<LPBYTE, handle_detail::FreeNetBuffer>>;
using UniqueFile = UniqueAny<handle_detail::MinusOneInvalid<handle_detail::CloseObject>>;
using UniqueFind = UniqueAny<handle_detail::MinusOneInvalid<handle_detail::CloseFind>>;
// The service control manager and services (OpenSCManagerA, OpenServiceA, CreateServiceA).
using UniqueService = UniqueAny<handle_detail::NullInvalid<SC_HANDLE, handle_detail::CloseService>>;
// The service control manager's database lock (LockServiceDatabase).
using UniqueServiceLock = UniqueAny<handle_detail::NullInvalid<SC_LOCK, handle_detail::UnlockDatabase>>;
// A SID of AllocateAndInitializeSid.
using UniqueSid = UniqueAny<handle_detail::NullInvalid<PSID, handle_detail::FreeAllocatedSid>>;
// A private object security descriptor (CreatePrivateObjectSecurity).
using UniquePrivateSecurity =
    UniqueAny<handle_detail::NullInvalid<PSECURITY_DESCRIPTOR, handle_detail::DestroyPrivateSecurity>>;
// A local security authority policy (LsaOpenPolicy) and the memory its calls return
// (LsaEnumerateAccountRights...).
using UniquePolicy = UniqueAny<handle_detail::NullInvalid<LSA_HANDLE, handle_detail::ClosePolicy>>;
using UniquePolicyMemory = UniqueAny<handle_detail::NullInvalid<PVOID, handle_detail::FreePolicyMemory>>;
// A COM interface pointer; put() receives it from CoCreateInstance or a property getter.
template <typename I>
using UniqueCom = UniqueAny<handle_detail::ComReference<I>>;
// A text handed to a COM call (SysAllocString).
using UniqueBstr = UniqueAny<handle_detail::NullInvalid<BSTR, handle_detail::FreeBstr>>;

// A mutex held for the length of a scope: the holder takes the mutex handle (CreateMutexA made or
// opened it), waits for it at most timeoutMs, and when it dies gives it back (ReleaseMutex) and
// closes it. owned() tells whether the wait gave it; a mutex abandoned by a process that ended
// while holding it counts as given. No handle, or a wait that timed out, leaves nothing to give back.
class ScopedMutex {
public:
    ScopedMutex(UniqueHandle mutex, DWORD timeoutMs) : m_mutex(std::move(mutex))
    {
        if (!m_mutex)
            return;
        const DWORD wait = WaitForSingleObject(m_mutex.get(), timeoutMs);
        m_owned = wait == WAIT_OBJECT_0 || wait == WAIT_ABANDONED;
    }
    ~ScopedMutex()
    {
        if (m_owned)
            ReleaseMutex(m_mutex.get());
    }
    ScopedMutex(const ScopedMutex&) = delete;
    ScopedMutex& operator=(const ScopedMutex&) = delete;

    bool owned() const { return m_owned; }

private:
    UniqueHandle m_mutex;
    bool m_owned = false;
};

// COM for the length of a scope, in the apartment mode asked for. A thread whose apartment was
// already started in the other mode answers RPC_E_CHANGED_MODE: COM is usable all the same, and
// since this scope started nothing it does not call CoUninitialize. Every successful start, S_FALSE
// included (started before in the same mode), is balanced by one CoUninitialize.
class ComScope {
public:
    explicit ComScope(DWORD mode) : m_result(CoInitializeEx(nullptr, mode)) {}
    ~ComScope()
    {
        if (SUCCEEDED(m_result))
            CoUninitialize();
    }
    ComScope(const ComScope&) = delete;
    ComScope& operator=(const ComScope&) = delete;

    HRESULT result() const { return m_result; }
    bool usable() const { return SUCCEEDED(m_result) || m_result == RPC_E_CHANGED_MODE; }

private:
    HRESULT m_result;
};

// The thread impersonating the process's own user (ImpersonateSelf) until this holder dies,
// which reverts it (RevertToSelf). start() answers ImpersonateSelf's result; an impersonation that
// did not start is not reverted.
class ImpersonationScope {
public:
    ImpersonationScope() = default;
    ~ImpersonationScope()
    {
        if (m_started)
            RevertToSelf();
    }
    ImpersonationScope(const ImpersonationScope&) = delete;
    ImpersonationScope& operator=(const ImpersonationScope&) = delete;

    BOOL start(SECURITY_IMPERSONATION_LEVEL level)
    {
        m_started = ImpersonateSelf(level) != FALSE;
        return m_started ? TRUE : FALSE;
    }

private:
    bool m_started = false;
};

// A network connection to a remote resource ("\\machine\ipc$") whose cancelling this holder
// owns: when it dies it calls WNetCancelConnection2A(name, 0, TRUE) (no profile update, cancelled
// even while files are open on it). The connection may have been made by another part of setup:
// cancelling one that is not there is harmless (2250), and nothing is left to do then.
class UniqueNetConnection {
public:
    UniqueNetConnection() = default;
    explicit UniqueNetConnection(std::string remote) : m_name(std::move(remote)) {}
    ~UniqueNetConnection() { reset(); }
    UniqueNetConnection(const UniqueNetConnection&) = delete;
    UniqueNetConnection& operator=(const UniqueNetConnection&) = delete;

    const std::string& name() const { return m_name; }
    void reset()
    {
        if (!m_name.empty())
            WNetCancelConnection2A(m_name.c_str(), 0, TRUE);
        m_name.clear();
    }

private:
    std::string m_name;
};
