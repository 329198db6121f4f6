// Small text tests shared by the library's sources. Internal to the library.
#pragma once

#include <windows.h>

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
