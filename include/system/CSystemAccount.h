// CSystemAccount: the Windows user account the product's services run under (the system account
// of the setup configuration: computer, domain, user name and password).
//
// The account is made on the local machine, or on a controller of its domain when the computer
// and the domain differ; it joins the built-in Administrators and Backup Operators groups, and
// the Backup Operators group gets the logon rights and privileges a backup needs (the user has
// them through its membership). The account can also be tested, deleted and handed to the
// product's account tool library QWTOOL.DLL.
//
// Results are int booleans (1 success, 0 failure). No operation throws, traces or shows a
// message. An account or membership that is already there counts as made.
//
// Texts are ANSI and converted to UTF-16 with the system code page for network management: the
// user and the password into 512 characters where the account is added (Create), every other
// text into 256; a longer text is cut to the buffer (511 or 255 characters and the terminator). A server
// is a UTF-16 name as network management takes it ("\\NAME"); null is the local machine. A null
// user names no account: the operations that need one answer 0 without asking Windows. Other
// null texts count as empty ones.
#pragma once

#include "CString.h"

#include <string>

class SETUPCLS_API CSystemAccount {
public:
    // Keeps the four texts, the computer and the domain upper-cased. The account is local when
    // the two upper-cased names are equal; otherwise a controller of the domain is asked for
    // (NetGetDCName on this machine), and when none answers, every operation runs against the
    // local machine all the same.
    CSystemAccount(const char* computer, const char* domain, const char* user, const char* password);
    CSystemAccount(const CSystemAccount&) = default;
    CSystemAccount& operator=(const CSystemAccount&) = default;
    ~CSystemAccount() = default;

    const char* Computer() const { return m_computer; }
    const char* Domain() const { return m_domain; }
    const char* User() const { return m_user; }
    const char* Password() const { return m_password; }
    // The domain controller's name, or null for none (a local account, or no controller found).
    const wchar_t* Controller() const { return m_controller.empty() ? nullptr : m_controller.c_str(); }
    int Local() const { return m_local; }

    // The statics below with this account's fields, the controller as the server.
    int Create() const;
    int AssignGroups() const;
    int Exists() const;
    int ValidPassword() const;
    int Delete() const;
    int Register() const;

    // In the statics the computer is accepted and not used.

    // Adds the user (level 2: a normal user whose password never expires, its full name the
    // user name, no expiry, no storage limit); a user that exists already is kept as it is, its
    // password untouched. Then AssignGroups.
    static int Create(const wchar_t* server, const char* computer, const char* domain, const char* user,
                      const char* password);
    // Resolves "domain\user" on the server, adds it to Administrators (RID 544) and Backup
    // Operators (551), then AddDrosvaneUserPrivileges; stops at the first failure. The password
    // is not used: the groups take the account by its SID.
    static int AssignGroups(const wchar_t* server, const char* computer, const char* domain, const char* user,
                            const char* password);
    static int Exists(const wchar_t* server, const char* user);
    // Tries to change the password to itself on the domain named (the server is not used; an
    // empty domain is this machine). 0
    // only for a wrong password; anything else (unknown user, password policy, no controller)
    // answers 1.
    static int ValidPassword(const wchar_t* server, const char* computer, const char* domain, const char* user,
                             const char* password);
    static int Delete(const wchar_t* server, const char* user);
    // Hands the account to QwtSetUserAccountA of the QWTOOL.DLL in the running program's folder;
    // 1 when its answer's low 16 bits are nonzero.
    static int Register(const char* computer, const char* domain, const char* user, const char* password);

protected:
    // Adds the SID to the built-in group S-1-5-32-rid under the group's name on the server (its
    // local, possibly translated name); a member already there counts as added.
    static int AddMemberToGroup(unsigned long rid, const wchar_t* server, PSID sid);
    // The name and domain ("BUILTIN") of S-1-5-32-rid on the server, cut to the buffers' sizes.
    // Either buffer may be null; both are emptied first.
    static int GetGroupName(unsigned long rid, const wchar_t* server, char* name, unsigned long nameSize,
                            char* domain, unsigned long domainSize);
    // Grants the privilege (looked up on the system named, null: local) to a policy account (an
    // LSA_HANDLE of LsaOpenAccount). Every answer whose severity is not an error is success.
    static int AddPrivilege(void* account, const char* system, const char* privilege);
    // Gives the Backup Operators group on the server the interactive, network, batch and
    // service logon rights and the SeTcbPrivilege and SeBackupPrivilege privileges.
    static int AddDrosvaneUserPrivileges(const wchar_t* server);

private:
    CString m_computer;
    CString m_domain;
    CString m_user;
    CString m_password;
    std::wstring m_controller;  // empty: none
    int m_local = 0;
};
