// Ownership of Windows handles inside the library: every registry key, service handle, token,
// loaded module, file, search, SID and ACL the library opens is held by one of these and closed
// on every path out of the function that opened it.
#pragma once

#include <windows.h>
#include <lm.h>

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
    explicit operator bool() const { return m_value != Traits::invalid(); }

    // The address to hand to an API that returns a new handle through a pointer; any handle
    // held before is closed first.
    T* put()
    {
        reset();
        return &m_value;
    }

    T release() { return std::exchange(m_value, Traits::invalid()); }

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
inline void FreeLocal(HLOCAL memory) { LocalFree(memory); }
inline void FreeNetBuffer(LPBYTE buffer) { NetApiBufferFree(buffer); }

}  // namespace handle_detail

using UniqueKey = UniqueAny<handle_detail::NullInvalid<HKEY, handle_detail::CloseKey>>;
using UniqueHandle = UniqueAny<handle_detail::NullInvalid<HANDLE, handle_detail::CloseObject>>;
using UniqueModule = UniqueAny<handle_detail::NullInvalid<HMODULE, handle_detail::CloseModule>>;
using UniqueLocal = UniqueAny<handle_detail::NullInvalid<HLOCAL, handle_detail::FreeLocal>>;
// A buffer that a network management call (NetWkstaGetInfo, NetServerGetInfo...) returned.
using UniqueNetBuffer = UniqueAny<handle_detail::NullInvalid<LPBYTE, handle_detail::FreeNetBuffer>>;
using UniqueFile = UniqueAny<handle_detail::MinusOneInvalid<handle_detail::CloseObject>>;
using UniqueFind = UniqueAny<handle_detail::MinusOneInvalid<handle_detail::CloseFind>>;
