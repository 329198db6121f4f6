#include "PathRules.h"

#include "TextRules.h"

#include <cstring>

bool RealBackSlashAt(const char* text, int index)
{
    if (text[index] != '\\')
        return false;
    if (index == 0 || !IsLeadByte(text[index - 1]))
        return true;
    // The byte before is a lead byte. With no room for an earlier pair it is the lead of this
    // back-slash. Otherwise count the run of lead bytes that ends two bytes before: an odd run
    // means the byte before is itself the trail of an earlier pair.
    if (index < 2)
        return false;
    int run = 0;
    for (int i = index - 2; i >= 0 && IsLeadByte(text[i]); --i)
        ++run;
    return (run % 2) == 1;
}

// An index past the text's end answers false without reading there.
bool IsRealBackSlash(const char* text, int index)
{
    return text && index >= 0 && strnlen(text, static_cast<size_t>(index) + 1) > static_cast<size_t>(index) &&
           RealBackSlashAt(text, index);
}

int TrimTailBackSlash(CString& path)
{
    int length = path.GetLength();
    while (length >= 1 && RealBackSlashAt(path, length - 1))
        --length;
    if (length != path.GetLength())
        path = path.Left(length);
    return length;
}

int AppendBackSlash(CString& path)
{
    if (TrimTailBackSlash(path) != 0)
        path += '\\';
    return path.GetLength();
}
