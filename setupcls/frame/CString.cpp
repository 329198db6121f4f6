#include "CString.h"

#include "Failure.h"

#include <mbstring.h>

#include <cstdio>
#include <cstring>

CString::CString(const char* text) : m_text(text ? text : "") {}

CString::CString(const char* text, int length)
{
    if (text && length > 0)
        m_text.assign(text, strnlen(text, static_cast<size_t>(length)));
}

// A repeat count the string cannot hold (up to 2 GiB) leaves the text empty: no exception leaves
// the library.
CString::CString(char ch, int repeat)
{
    if (repeat > 0)
        failure::ContainExceptions(false, [&] {
            m_text.assign(static_cast<size_t>(repeat), ch);
            return true;
        });
}

char CString::GetAt(int index) const
{
    if (index < 0 || index >= GetLength())
        return '\0';
    return m_text[static_cast<size_t>(index)];
}

void CString::SetAt(int index, char ch)
{
    if (index >= 0 && index < GetLength())
        m_text[static_cast<size_t>(index)] = ch;
}

CString CString::Left(int count) const
{
    if (count <= 0)
        return CString();
    return CString(m_text.substr(0, static_cast<size_t>(count)));
}

CString CString::Right(int count) const
{
    if (count <= 0)
        return CString();
    if (count >= GetLength())
        return *this;
    return CString(m_text.substr(m_text.size() - static_cast<size_t>(count)));
}

CString CString::Mid(int first) const
{
    return Mid(first, GetLength());
}

CString CString::Mid(int first, int count) const
{
    if (first < 0)
        first = 0;
    if (count <= 0 || first >= GetLength())
        return CString();
    return CString(m_text.substr(static_cast<size_t>(first), static_cast<size_t>(count)));
}

int CString::Find(char ch, int start) const
{
    if (start < 0 || start > GetLength())
        return -1;
    size_t at = m_text.find(ch, static_cast<size_t>(start));
    return at == std::string::npos ? -1 : static_cast<int>(at);
}

int CString::Find(const char* sub, int start) const
{
    if (!sub || start < 0 || start > GetLength())
        return -1;
    size_t at = m_text.find(sub, static_cast<size_t>(start));
    return at == std::string::npos ? -1 : static_cast<int>(at);
}

int CString::ReverseFind(char ch) const
{
    size_t at = m_text.rfind(ch);
    return at == std::string::npos ? -1 : static_cast<int>(at);
}

CString& CString::MakeUpper()
{
    if (!m_text.empty())
        CharUpperBuffA(&m_text[0], static_cast<DWORD>(m_text.size()));
    return *this;
}

CString& CString::MakeLower()
{
    if (!m_text.empty())
        CharLowerBuffA(&m_text[0], static_cast<DWORD>(m_text.size()));
    return *this;
}

int CString::Compare(const char* other) const
{
    return strcmp(m_text.c_str(), other ? other : "");
}

int CString::CompareNoCase(const char* other) const
{
    return _mbsicmp(reinterpret_cast<const unsigned char*>(m_text.c_str()),
                    reinterpret_cast<const unsigned char*>(other ? other : ""));
}

void CString::Format(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    FormatV(format, args);
    va_end(args);
}

void CString::FormatV(const char* format, va_list args)
{
    if (!format) {
        m_text.clear();
        return;
    }
    va_list measure;
    va_copy(measure, args);
    int length = vsnprintf(nullptr, 0, format, measure);
    va_end(measure);
    if (length <= 0) {
        m_text.clear();
        return;
    }
    std::string text(static_cast<size_t>(length) + 1, '\0');
    vsnprintf(&text[0], text.size(), format, args);
    text.resize(static_cast<size_t>(length));
    m_text.swap(text);
}

// A length the string cannot hold answers null, the text unchanged: a shorter buffer would let
// the caller write past its end.
char* CString::GetBuffer(int minLength)
{
    if (minLength > GetLength() && !failure::ContainExceptions(false, [&] {
            m_text.resize(static_cast<size_t>(minLength));
            return true;
        }))
        return nullptr;
    return &m_text[0];
}

void CString::ReleaseBuffer(int newLength)
{
    if (newLength < 0 || newLength > GetLength())
        m_text.resize(strlen(m_text.c_str()));
    else
        m_text.resize(static_cast<size_t>(newLength));
}

CString& CString::operator=(const char* text)
{
    m_text = text ? text : "";
    return *this;
}

CString& CString::operator+=(const CString& text)
{
    m_text += text.m_text;
    return *this;
}

CString& CString::operator+=(const char* text)
{
    if (text)
        m_text += text;
    return *this;
}

CString& CString::operator+=(char ch)
{
    m_text += ch;
    return *this;
}

CString operator+(const CString& a, const CString& b)
{
    CString result(a);
    result += b;
    return result;
}

CString operator+(const CString& a, const char* b)
{
    CString result(a);
    result += b;
    return result;
}

CString operator+(const char* a, const CString& b)
{
    CString result(a);
    result += b;
    return result;
}

CString operator+(const CString& a, char b)
{
    CString result(a);
    result += b;
    return result;
}
