// CModuleVersion: the version resource of a module file (a DLL or a program), the way setup
// reads the version of a file it is about to replace or has installed.
//
// The object is the resource's fixed file information block (VS_FIXEDFILEINFO, signature
// first), plus its own copy of the whole resource, from which GetValue reads the texts of the
// resource's string table in the language and code page of its first translation (1252 when
// the resource names none).
//
// windows.h maps GetFileVersionInfo to GetFileVersionInfoA: the member carries the "A" name on
// purpose so that the macro does not rename it, and a caller may write either.
#pragma once

#include "CString.h"

#include <vector>

// DLLVERSIONINFO of <shlwapi.h>, which a caller of GetDLLVersionInfo includes; this header does
// not, to keep the shell's macros out of every caller.
struct _DLLVERSIONINFO;

class SETUPCLS_API CModuleVersion : public VS_FIXEDFILEINFO {
public:
    // An empty block (no signature), no resource, code page 1252.
    CModuleVersion();
    virtual ~CModuleVersion();

    // Loads the module, reads its version resource and unloads it again. 1 when the module's
    // resource has a fixed block with the signature 0xFEEF04BD; 0 when the module cannot be
    // loaded, has no version resource or its block is missing or unsigned.
    int GetFileVersionInfoA(const char* fileName);

    // The text of name ("FileVersion", "CompanyName"...) from the resource read last; empty when
    // no resource is held or it has no such text.
    CString GetValue(const char* name) const;

    // Asks the module's own "DllGetVersion" export to fill info (whose cbSize the caller sets).
    // 1 when the export is there and answers success; 0 when the module cannot be loaded, has no
    // such export, or the export fails.
    static int GetDLLVersionInfo(const char* fileName, _DLLVERSIONINFO* info);

    // The first translation of the resource read last.
    WORD Language() const { return m_language; }
    WORD CodePage() const { return m_codePage; }

private:
    void Clear();

    std::vector<BYTE> m_resource;
    WORD m_language;
    WORD m_codePage;
};
