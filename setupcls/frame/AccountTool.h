// The product's account tool library QWTOOL.DLL and its entry QwtSetUserAccountA, which hands the
// service logon account to the product. Internal to the library; the account operations and the
// registry's system user step both call it through here, so that both fill the same records.
//
// The entry's interface is the tool's own:
//
//   DWORD __stdcall QwtSetUserAccountA(char computer[256], QwtUserAccount* account)
//
// computer is a 256-byte buffer holding the computer (or server) name; account is a record of
// three 64-byte fields: domain, user, password. The tool reports success with nonzero low 16
// bits of its answer; the high ones carry nothing for setup.
#pragma once

#include "ProductLibrary.h"
#include "TextRules.h"

#include <cstring>

namespace accounttool {

const char kLibraryName[] = "QWTOOL.DLL";
const char kSetUserAccountEntry[] = "QwtSetUserAccountA";
const size_t kComputerSize = 256;
const size_t kFieldSize = 64;

struct QwtUserAccount {
    char domain[kFieldSize];
    char user[kFieldSize];
    char password[kFieldSize];
};

typedef DWORD(WINAPI* SetUserAccountEntry)(char* computer, QwtUserAccount* account);

// Copies text into a field of size bytes: at most size - 1 bytes, never the first byte of a
// double-byte character without its second, and always the terminator (null: empty). A longer
// text is cut, the field is never overrun.
inline void CopyCut(char* field, size_t size, const char* text)
{
    std::memset(field, 0, size);
    if (!text)
        return;
    size_t end = 0;
    size_t length = std::strlen(text);
    while (end < length) {
        size_t step = (IsLeadByte(text[end]) && end + 1 < length) ? 2 : 1;
        if (end + step > size - 1)
            break;
        end += step;
    }
    std::memcpy(field, text, end);
}

// Calls the tool's entry with the account; false when the library has no such entry (answer is
// then 0). answer is what the tool returned.
inline bool SetUserAccount(const ProductLibrary& tool, const char* computer, const char* domain, const char* user,
                           const char* password, DWORD& answer)
{
    answer = 0;
    auto entry = tool.Entry<SetUserAccountEntry>(kSetUserAccountEntry);
    if (!entry)
        return false;
    char computerField[kComputerSize];
    QwtUserAccount account;
    CopyCut(computerField, sizeof(computerField), computer);
    CopyCut(account.domain, sizeof(account.domain), domain);
    CopyCut(account.user, sizeof(account.user), user);
    CopyCut(account.password, sizeof(account.password), password);
    answer = entry(computerField, &account);
    SecureZeroMemory(account.password, sizeof(account.password));
    return true;
}

// Success as the tool reports it.
inline bool Succeeded(DWORD answer)
{
    return LOWORD(answer) != 0;
}

}  // namespace accounttool
