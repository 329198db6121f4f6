// One private-profile (INI) file, read and written through the Windows private-profile
// functions: the answer file SETUP.ICF, the medium's SETUP.INF and HOST.INI, and any file the
// installer scripts name. Internal to the library.
//
// The profile functions give a missing name a meaning of its own: a null section or key reads
// the list of section or key names, a null key deletes the whole section and a null value the
// key, and an empty file name sends them to WIN.INI. None of that is ever wanted here, so the
// calls refuse such arguments and report the refusal by their result.
//
// Setup programs running side by side share these files: every call on a file takes its turn
// with the calls of all processes on the same file (a mutex named after the file), since the
// profile functions rewrite the whole file for each key they write.
//
// The object only names the file: it keeps the caller's pointer to the file name, which must stay
// valid while the object is used, and allocates nothing, so none of its calls can throw. It is
// meant to be made where it is used: ProfileFile(m_sFile).ReadText(...).
#pragma once

#include <windows.h>

class ProfileFile {
public:
    explicit ProfileFile(const char* path) : m_path(path) {}  // null or "": every call is refused

    // Both a section and a key are named.
    static bool NamesEntry(const char* section, const char* key);

    // The text of key in section into buffer, which holds size bytes: at most size - 1
    // characters and the terminating zero. defaultText (null: "") when the file, the section or
    // the key is missing; it is cut to the buffer as well. Returns the characters stored.
    // Refused, with 0 and the buffer left as it is: no file name, no section or key, no buffer
    // or a size of 0.
    DWORD ReadText(const char* section, const char* key, const char* defaultText, char* buffer, DWORD size) const;

    // The number of key in section as the profile functions read it (its leading decimal digits,
    // a leading minus kept); defaultValue when the file, the section or the key is missing, and
    // when the call is refused.
    int ReadInt(const char* section, const char* key, int defaultValue) const;

    // Writes value as the text of key in section; the file, the section and the key are made as
    // needed. FALSE when refused (no file name, no section or key, no value) or when Windows
    // cannot write the file.
    BOOL WriteText(const char* section, const char* key, const char* value) const;

private:
    const char* m_path;
};
