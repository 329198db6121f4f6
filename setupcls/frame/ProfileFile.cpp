#include "ProfileFile.h"

#include "TextRules.h"

bool ProfileFile::NamesEntry(const char* section, const char* key)
{
    return !IsEmptyText(section) && !IsEmptyText(key);
}

DWORD ProfileFile::ReadText(const char* section, const char* key, const char* defaultText, char* buffer,
                            DWORD size) const
{
    if (IsEmptyText(m_path) || !NamesEntry(section, key) || !buffer || size == 0)
        return 0;
    DWORD count = GetPrivateProfileStringA(section, key, defaultText ? defaultText : "", buffer, size, m_path);
    // Windows stores at most size - 1 characters and the zero; a count beyond that would be no
    // text of this buffer, so it is held to the bound.
    if (count >= size) {
        count = size - 1;
        buffer[count] = '\0';
    }
    return count;
}

int ProfileFile::ReadInt(const char* section, const char* key, int defaultValue) const
{
    if (IsEmptyText(m_path) || !NamesEntry(section, key))
        return defaultValue;
    // The profile functions hand a negative number back as its unsigned image.
    return static_cast<int>(GetPrivateProfileIntA(section, key, defaultValue, m_path));
}

BOOL ProfileFile::WriteText(const char* section, const char* key, const char* value) const
{
    if (IsEmptyText(m_path) || !NamesEntry(section, key) || !value)
        return FALSE;
    return WritePrivateProfileStringA(section, key, value, m_path) ? TRUE : FALSE;
}
