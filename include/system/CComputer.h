// CComputer: what setup asks about a machine (name, workgroup or domain, controller and server
// roles, Windows version, first hard disk, free space) and the folder operations of setup
// (create a path level by level, test, empty-test, delete a tree or files, change attributes,
// copy a tree).
//
// The operations are static and take ANSI texts; an object caches the answers for one machine.
// Results are int booleans (non-zero = success) unless stated. No operation throws, traces or
// shows a message.
//
// Null and empty texts: a null or empty path names no folder, and no operation then touches
// the file system. This keeps an empty text from ever standing for the root of the current
// drive: unguarded, DirectoryExists("") would list "\*.*" and answer 1, and DeleteTree("") would
// delete everything on the drive. The queries answer as for a missing folder (DirectoryExists
// and PathExists 0, PathEmpty 1). CreateDirectoryA (also for a text of back-slashes only),
// DeleteFiles and ChangeFilesAttribute have nothing to do and answer 1; ChangeDirectory,
// RemoveDirectoryA, DeleteTree and CopyFileRecursively answer 0. A null machine name means the
// local machine, as an empty one does.
//
// Several names are also Windows names (windows.h maps GetComputerName to GetComputerNameA and
// so on); the members carry the "A" names on purpose so that the macros do not rename them.
#pragma once

#include "CString.h"

class SETUPCLS_API CComputer {
public:
    // The machine named, or the local one for null. A name equal to the computer name (in any
    // letter case) is the local machine too, and the object then keeps the name Windows gives.
    explicit CComputer(const char* name);
    CComputer(const CComputer&) = default;
    CComputer(CComputer&&) = default;
    CComputer& operator=(const CComputer&) = default;
    CComputer& operator=(CComputer&&) = default;
    ~CComputer() = default;

    const char* Name() const { return m_name; }
    const char* Domain() const { return m_domain; }  // empty when the query failed
    int PrimaryDomainController() const { return m_primaryDomainController; }
    int BackupDomainController() const { return m_backupDomainController; }
    int DomainController() const { return (m_primaryDomainController || m_backupDomainController) ? 1 : 0; }
    int Server() const { return m_server; }
    int IsLocal() const { return m_local; }
    unsigned long NTVersion() const { return m_ntVersion; }  // Windows major version

    // Machine facts.

    // Forwards to Windows: size is the buffer size on entry, the name's length on return.
    static int GetComputerNameA(char* buffer, unsigned long* size);

    // Workgroup or domain of the machine (the local one for a null or empty name). length is
    // the buffer size on entry (at most 256 bytes are used; a longer name is cut without
    // splitting a double-byte character) and the text's length on return. On failure the
    // buffer holds an empty text and the answer is 0. Only the first 32 characters of the
    // machine name are used.
    static int GetDomain(char* buffer, unsigned long* length, const char* machine);

    // The machine's server type has the domain controller bit (0x8) or the backup domain
    // controller bit (0x10); 0 when the query fails. Machine names as for GetDomain.
    static int IsPrimaryDomainController(const char* machine);
    static int IsBackupDomainController(const char* machine);

    // 1 when the machine's "ProductType" is "LANMANNT" or "SERVERNT" (any letter case). A
    // machine whose registry cannot be reached is answered from the local registry.
    static int IsServer(const char* machine);

    // The major version of the running Windows (0 when it cannot be read); the argument is not
    // used. IsNT4xOrLater answers 1 for any major version above 3, Windows 9x included.
    static unsigned long GetNTVersion(const char* machine = nullptr);
    static int IsNT4xOrLater(const char* machine = nullptr);
    // 1 on the Windows 9x family (platform identifier 1); the argument is not used.
    static int IsWindows95(const char* machine = nullptr);

    // Null is the local machine: 1. Otherwise 1 when the name equals the computer name
    // ignoring case; an empty text is therefore not local.
    static int IsLocalMachine(const char* name);

    // Drives.

    // The letter of the first fixed disk from A to Z; "Z" when none is fixed.
    static char FindFirstHardDrive();
    // Free bytes on the path's drive, computed in 32 bits: above 4 GiB the count wraps
    // (modulo 2^32). 0 on failure.
    static unsigned long DriveFreeSpaceBytes(const char* path);
    // Windows drive type of the path's drive; a path without a drive letter asks about the
    // current drive ("\"). A null path answers DRIVE_NO_ROOT_DIR.
    static unsigned int GetDriveTypeA(const char* path);

    // Folders.

    // 1 when the folder can be listed (anything found by "path\*.*").
    static int DirectoryExists(const char* path);
    // Creates every missing level of the path; 0 when a level cannot be created, 1 otherwise
    // (also when the text names no level: empty or back-slashes only). The second argument is
    // not used.
    static int CreateDirectoryA(const char* path, int unused = 0);
    static int ChangeDirectory(const char* path);
    // Removes an empty folder.
    static int RemoveDirectoryA(const char* path);
    // Deletes the folder with all its files (read-only ones too) and sub folders. The answer is
    // 0 only when a sub tree reports a failure: a file that cannot be deleted or a folder that
    // cannot be removed leaves the answer 1.
    static int DeleteTree(const char* path);
    // Deletes the files (not the sub folders) of the folder matching the pattern ("*.*" for
    // null), read-only ones too. Always 1 (a null or empty folder: nothing is deleted).
    static int DeleteFiles(const char* folder, const char* pattern);
    // Files and folders alike.
    static int PathExists(const char* path);
    // 1 when nothing but "." and ".." matches the pattern ("*.*" for null) in the folder; a
    // folder that does not exist counts as empty.
    static int PathEmpty(const char* folder, const char* pattern = nullptr);
    // Sets the attributes of every matching file ("*.*" for a null pattern) and goes on in
    // every matching sub folder with the same pattern; the folders keep their attributes.
    // Always 1 (a null or empty folder: nothing is changed).
    static int ChangeFilesAttribute(const char* folder, const char* pattern, unsigned long attributes);
    // Copies the source folder's files and sub folders into the target folder, creating it
    // when missing. The answer is the copy result of the last file of the source folder itself
    // (sub folders do not count; 0 when it holds no file).
    static int CopyFileRecursively(const char* source, const char* target, int failIfExists);

    // Asks the product's account tool library "QWTOOL.DLL" (found by name) through its entry
    // "IsWindowsVersionOKA", forwarding the three numbers; 0 when the library or the entry is
    // missing.
    static int IsWindowsVersionOK(unsigned long first, unsigned long second, unsigned long third);

private:
    CString m_name;
    CString m_domain;
    int m_primaryDomainController = 0;
    int m_backupDomainController = 0;
    int m_server = 0;
    int m_local = 0;
    unsigned long m_ntVersion = 0;
};
