// CCommandLineMap: a setup program's command line as a map from names to values.
//
// Tokens are split at blanks (quotes are not honoured). A token that does not start with the
// switch character is a positional argument, kept under "#0", "#1", ... A switch is either
// "<sw>name:value" (name up to the first colon, value after it) or "<sw>Lrest" (one letter L,
// value the rest, possibly empty). The whole tokens "-SMSInstall" and "-SMSUninstall" become
// "SMSInstall" and "SMSUninstall" with the answer file "DROSVANE.ICF". Keys are case-sensitive;
// a repeated key keeps its last value.
#pragma once

#include "CString.h"

#include <map>

class SETUPCLS_API CCommandLineMap {
public:
    // A null line gives an empty map.
    CCommandLineMap(const char* commandLine, char switchChar);
    virtual ~CCommandLineMap();

    // TRUE when positional argument index exists. The text is taken by value, so the caller
    // never receives the argument through it; Lookup("#<index>") gives the text itself.
    BOOL GetText(unsigned int index, CString text) const;

    BOOL GetSwitch(char letter) const;
    BOOL GetSwitch(const char* name) const;
    // TRUE and the value when the switch was given; otherwise FALSE and value = defaultValue
    // (value left as it was when defaultValue is null).
    BOOL GetSwitch(char letter, CString& value, const char* defaultValue) const;
    BOOL GetSwitch(const char* name, CString& value, const char* defaultValue) const;

    BOOL Lookup(const char* key, CString& value) const;
    int GetCount() const { return static_cast<int>(m_map.size()); }

protected:
    void ProcessSwitchToken(const char* token);
    void TextKey(CString& key, unsigned int index) const;

private:
    std::map<CString, CString> m_map;
};
