// CMIF: status files in the Management Information Format, from which software distribution
// systems learn the outcome of an unattended installation. Plain 8-bit text with CR LF line ends.
//
// Two forms:
// - the short status form, in three steps: Create(file, uninstall) writes the component's head
//   and opens its status group, WriteStatus(file, description, success) its two attributes,
//   WriteEndOfMIF(file) closes the group and the component;
// - the full form, in two steps: Create(file) writes the component and its ComponentID group
//   with the maker, the product's name and its version; WriteStatus(file, serial, success,
//   description) ends that group with the serial number and the installation time and adds the
//   InstallStatus group.
//
// Create replaces the file; the other steps append to a file that exists and fail (0, creating
// nothing) when there is none. Each step writes its whole block with one write and answers 1
// when the write succeeded, 0 otherwise, with the reason in GetLastError. A null file name fails
// with ERROR_INVALID_PARAMETER; a null text is written as an empty one.
#pragma once

#include "CString.h"

class SETUPCLS_API CMIF {
public:
    // The file at path (null: empty), with an empty name part.
    explicit CMIF(const char* path);
    // The file at path, and the name part the member WriteStatus of the full form writes as the
    // serial number (the machine's or the installation's name, as the caller chooses). Both are
    // copied; null texts become empty.
    CMIF(const char* path, const char* name);
    CMIF(const CMIF&) = default;
    CMIF(CMIF&&) = default;
    CMIF& operator=(const CMIF&) = default;
    CMIF& operator=(CMIF&&) = default;
    ~CMIF() = default;

    // The file the member operations write, and the name part.
    const char* GetPath() const { return m_path; }
    const char* GetName() const { return m_name; }

    int Create(int uninstall);
    int WriteStatus(const char* description, int success);
    int WriteEndOfMIF();
    int Create();
    int WriteStatus(int success, const char* description);  // the name part as the serial number

    // Short form.
    static int Create(const char* file, int uninstall);
    static int WriteStatus(const char* file, const char* description, int success);
    static int WriteEndOfMIF(const char* file);

    // Full form.
    static int Create(const char* file);
    static int WriteStatus(const char* file, const char* serialNumber, int success, const char* description);

private:
    CString m_path;
    CString m_name;
};
