// CString: the library's 8-bit ANSI string. Texts are bytes in the active ANSI code page;
// double-byte characters are two bytes. The text getters of the library's classes hand out
// pointers into such strings, valid while their owner lives.
#pragma once

#include "SetupCLSExport.h"

#include <cstdarg>
#include <string>

class SETUPCLS_API CString {
public:
    CString() = default;
    CString(const char* text);              // null gives the empty string
    CString(const char* text, int length);  // the first length bytes (fewer when text is shorter)
    CString(char ch, int repeat = 1);
    CString(const std::string& text) : m_text(text) {}

    operator const char*() const { return m_text.c_str(); }
    const char* GetString() const { return m_text.c_str(); }
    const std::string& str() const { return m_text; }

    int GetLength() const { return static_cast<int>(m_text.size()); }
    bool IsEmpty() const { return m_text.empty(); }
    void Empty() { m_text.clear(); }

    // Indexing outside the string reads as NUL and SetAt outside it does nothing.
    char GetAt(int index) const;
    char operator[](int index) const { return GetAt(index); }
    void SetAt(int index, char ch);

    CString Left(int count) const;
    CString Right(int count) const;
    CString Mid(int first) const;
    CString Mid(int first, int count) const;

    // Byte positions, -1 when not found.
    int Find(char ch, int start = 0) const;
    int Find(const char* sub, int start = 0) const;
    int ReverseFind(char ch) const;

    // Upper and lower case by the rules of the active ANSI code page; double-byte characters
    // are left whole.
    CString& MakeUpper();
    CString& MakeLower();

    int Compare(const char* other) const;        // byte order, like strcmp
    int CompareNoCase(const char* other) const;  // ignoring case, double-byte aware

    // printf-style formatting with no length limit.
    void Format(const char* format, ...);
    void FormatV(const char* format, va_list args);

    // A writable buffer of at least minLength bytes plus the NUL; ReleaseBuffer takes the text
    // up to its first NUL (or newLength bytes when that is not -1).
    char* GetBuffer(int minLength);
    void ReleaseBuffer(int newLength = -1);

    CString& operator=(const char* text);
    CString& operator+=(const CString& text);
    CString& operator+=(const char* text);
    CString& operator+=(char ch);

    friend SETUPCLS_API CString operator+(const CString& a, const CString& b);
    friend SETUPCLS_API CString operator+(const CString& a, const char* b);
    friend SETUPCLS_API CString operator+(const char* a, const CString& b);
    friend SETUPCLS_API CString operator+(const CString& a, char b);

    friend bool operator==(const CString& a, const CString& b) { return a.m_text == b.m_text; }
    friend bool operator==(const CString& a, const char* b) { return a.Compare(b) == 0; }
    friend bool operator==(const char* a, const CString& b) { return b.Compare(a) == 0; }
    friend bool operator!=(const CString& a, const CString& b) { return !(a == b); }
    friend bool operator!=(const CString& a, const char* b) { return !(a == b); }
    friend bool operator!=(const char* a, const CString& b) { return !(a == b); }
    friend bool operator<(const CString& a, const CString& b) { return a.m_text < b.m_text; }
    friend bool operator>(const CString& a, const CString& b) { return b < a; }
    friend bool operator<=(const CString& a, const CString& b) { return !(b < a); }
    friend bool operator>=(const CString& a, const CString& b) { return !(a < b); }

private:
    std::string m_text;
};
