// ProductLibrary: one of the product's own libraries (the version library, the product map, the
// account tool, the brand library, the cryptographic library...) loaded for the length of one
// call and reached through entries looked up at run time. Internal to the library.
//
// Each place that loads a library names how it is searched for by the factory it calls; the
// loader knows no library by name. The module is owned by a UniqueModule and freed when the
// object goes, on every path.
#pragma once

#include "CString.h"
#include "Handles.h"

class ProductLibrary {
public:
    // Nothing loaded: every entry is null.
    ProductLibrary() = default;

    // A bare file name through the system's own search for libraries (LoadLibraryA).
    static ProductLibrary ByName(const char* name);

    // A path as the caller gives it, loaded with LOAD_WITH_ALTERED_SEARCH_PATH: the libraries a
    // full path's library needs are then looked for beside it first.
    static ProductLibrary FromPath(const char* path);

    // name in folder, at PathIn(folder, name), as FromPath.
    static ProductLibrary InFolder(const char* folder, const char* name);

    // name in the process's current folder, as InFolder.
    static ProductLibrary InCurrentFolder(const char* name);

    // InCurrentFolder, and when that finds nothing, ByName. Setup programs keep their helper
    // libraries in their own folder, which is the current folder while they run, so a copy there
    // wins over one along the search path.
    static ProductLibrary InCurrentFolderThenByName(const char* name);

    // folder and name joined by exactly one back-slash, whatever the folder ends in; a folder of
    // back-slashes alone ("\") keeps its one, for the root of the current drive.
    static CString PathIn(const char* folder, const char* name);

    explicit operator bool() const { return static_cast<bool>(m_module); }

    // The loaded module (null when nothing is loaded), for asking Windows about the file it was
    // loaded from; the object keeps owning it.
    HMODULE Module() const { return m_module.get(); }

    // Why the load failed (a Win32 error code; of the last attempt where a search makes several);
    // 0 when the library is loaded. A null or empty name or folder fails with
    // ERROR_INVALID_PARAMETER without Windows being asked.
    DWORD Error() const { return m_error; }

    // The entry of that name, or of that ordinal, as a function of type Fn; null when the library
    // is not loaded, the library has no such entry, or the name is null or empty (ordinal 0).
    template <typename Fn>
    Fn Entry(const char* name) const
    {
        return reinterpret_cast<Fn>(reinterpret_cast<void*>(Address(name)));
    }
    template <typename Fn>
    Fn Entry(WORD ordinal) const
    {
        return reinterpret_cast<Fn>(reinterpret_cast<void*>(Address(ordinal)));
    }

private:
    explicit ProductLibrary(DWORD error) : m_error(error) {}
    // What a load call answered: the module it loaded, or the error it left (GetLastError).
    static ProductLibrary Loaded(HMODULE module);

    FARPROC Address(const char* name) const;
    FARPROC Address(WORD ordinal) const;

    UniqueModule m_module;
    DWORD m_error = ERROR_MOD_NOT_FOUND;
};
