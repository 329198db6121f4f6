#include "PathRules.h"

#include "TextRules.h"

bool IsRealBackSlash(const char* text, int index)
{
    if (!text || index < 0 || text[index] != '\\')
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

int TrimTailBackSlash(CString& path)
{
    int length = path.GetLength();
    while (length >= 1 && IsRealBackSlash(path, length - 1))
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
