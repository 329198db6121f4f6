// Small text rules shared by the library's sources. Internal to the library.
#pragma once

#include <windows.h>

#include <cstdarg>
#include <cstdio>

// A null pointer or an empty text: no name, path or value was given.
inline bool IsEmptyText(const char* text)
{
    return !text || !*text;
}

// A lead byte of a double-byte character in the active ANSI code page.
inline bool IsLeadByte(char ch)
{
    return IsDBCSLeadByte(static_cast<BYTE>(ch)) != FALSE;
}

// True when the text's last byte is the lead byte of a double-byte character whose second byte
// is missing (the character scan reaches the NUL as a trail byte).
inline bool EndsInLoneLeadByte(const char* text)
{
    if (!text)
        return false;
    for (const char* at = text; *at; ++at)
        if (IsLeadByte(*at) && !*++at)
            return true;
    return false;
}

// IsRealBackSlash for an index the caller knows to lie within the text (0 <= index < length):
// the exported form first makes sure of that, which costs a scan of the text.
bool RealBackSlashAt(const char* text, int index);

// printf-style formatting into a fixed buffer, cut to its size; a null format or a formatting
// error leaves it empty. The buffer always ends NUL-terminated.
template <size_t Size>
void FormatCut(char (&buffer)[Size], const char* format, va_list args)
{
    buffer[0] = '\0';
    if (format && vsnprintf(buffer, Size, format, args) < 0)
        buffer[0] = '\0';
    buffer[Size - 1] = '\0';
}
