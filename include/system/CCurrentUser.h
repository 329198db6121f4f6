// CCurrentUser: who runs setup. An object keeps the user name and the user's domain, read when it
// is made; the static operations read them into the caller's buffers and tell whether the user
// holds administrator rights.
//
// The getters without arguments answer the kept texts (empty when they could not be read); the
// static GetUser and GetDomain take a buffer and its size in characters, which they change as
// GetUserNameA and LookupAccountSidA do. No operation throws, traces or shows a message.
#pragma once

#include "CString.h"

class SETUPCLS_API CCurrentUser {
public:
    // Reads both names into 48-character buffers: a name of 48 characters or more, or one that
    // cannot be read, leaves its field empty.
    CCurrentUser();
    CCurrentUser(const CCurrentUser&) = default;
    CCurrentUser(CCurrentUser&&) = default;
    CCurrentUser& operator=(const CCurrentUser&) = default;
    CCurrentUser& operator=(CCurrentUser&&) = default;
    ~CCurrentUser() = default;

    const char* GetUser() const { return m_user; }
    const char* GetDomain() const { return m_domain; }

    // GetUserNameA's answer: size is the buffer's size on entry; the name's length with its
    // terminating zero on success, the size needed when the buffer is too small (122 in
    // GetLastError). A null size, or a null buffer with a non-zero size, answers 0 (87).
    static int GetUser(char* buffer, unsigned long* size);

    // 1 when the domain of the user of the process's token was found (LookupAccountSidA on the
    // local machine); size as LookupAccountSidA takes the domain buffer's. Null arguments as for
    // GetUser.
    static int GetDomain(char* buffer, unsigned long* size);

    // 1 when the user may open an object that only BUILTIN\Administrators may open (membership
    // through nested groups counts, a deny-only entry does not); 0 when not, or when the check
    // could not be made. GetLastError then holds the system error of the step that failed (0
    // for a user who is not an administrator), and the step's text goes to the debugger's output
    // only: a failed check is no error of setup, just a "no".
    static int IsAdministrator();

private:
    CString m_domain;
    CString m_user;
};
