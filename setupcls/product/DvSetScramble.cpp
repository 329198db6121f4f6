#include "DvSetScramble.h"

#include "CString.h"
#include "ModulePath.h"
#include "ProductLibrary.h"
#include "Failure.h"
#include "ProfileFile.h"
#include "ScrambledText.h"
#include "SetupInfNames.h"
#include "SetupTraceFile.h"  // the trace file DVSET_TRACEFILE names
#include "TextRules.h"

#include <io.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

const char kLibraryName[] = "DVDCEN.DLL";
const char kEncryptEntry[] = "ZOREncrypt_Ex";
const char kDecryptEntry[] = "ZORDecrypt_Ex";
const char kInstallerProgram[] = "msiexec";
const char kParentFolder[] = "..\\";
const char kLibraryFolderKey[] = "EVPKI_LIBCFGPATH";
const char* const kLibraryVariables[] = {"TS_HOME", "R_SHLIB_LD_LIBRARY_PATH"};

const char kInstallSection[] = "INSTALL";
const char kMethodKey[] = "EM";
const int kTripleDesMethod = 4;

const char kHexDigits[] = "0123456789abcdef";

struct FreeDeleter {
    void operator()(void* memory) const { free(memory); }
};
using MallocBuffer = std::unique_ptr<BYTE[], FreeDeleter>;

// A buffer of at least one byte, so that an empty result still has an address.
MallocBuffer AllocateBytes(DWORD size)
{
    return MallocBuffer(static_cast<BYTE*>(malloc(size ? size : 1)));
}

unsigned int Address(const void* pointer)
{
    return static_cast<unsigned int>(reinterpret_cast<uintptr_t>(pointer));
}

// The folder of the running program, or of this library when the program is the Windows
// Installer: a setup run inside msiexec has its files beside the library. Empty when Windows
// does not tell.
CString SetupFolder()
{
    CString program;
    if (!ModuleFileName(nullptr, program))
        return CString();
    if (BaseName(program).CompareNoCase(kInstallerProgram) != 0)
        return DriveAndFolder(program);
    HMODULE self = nullptr;
    if (!GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                            kLibraryName, &self))
        return CString();
    CString library;
    if (!ModuleFileName(self, library))
        return CString();
    return DriveAndFolder(library);
}

bool IsFolder(const CString& path)
{
    DWORD attributes = GetFileAttributesA(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

// Sets the variable unless it is set already: an administrator's own setting wins. A failure to
// set it is of no consequence to the search.
void SetUnlessSet(const char* name, const CString& value)
{
    if (GetEnvironmentVariableA(name, nullptr, 0) == 0)
        SetEnvironmentVariableA(name, value);
}

// DVDCEN.DLL in the folder that SETUP.INF names, with the library's environment prepared and its
// folder made current. SETUP.INF is the setup folder's or, failing that, its parent's; the
// folder it names is relative to the folder of the SETUP.INF. A missing or empty name leaves
// that folder itself (the setup folder, or its parent when SETUP.INF is not in the setup
// folder) to be tried.
ProductLibrary LoadFromConfiguredFolder(const CString& setupFolder)
{
    CString base = setupFolder;
    if (_access(base + setupinf::kFileName, 0) != 0)
        base += kParentFolder;
    const CString inf = base + setupinf::kFileName;
    char name[MAX_PATH + 1] = "";
    ProfileFile(inf).ReadText(setupinf::kComponentsSection, kLibraryFolderKey, "", name, sizeof(name));
    CString folder = base + name;
    if (!IsFolder(folder))
        return ProductLibrary();
    for (const char* variable : kLibraryVariables)
        SetUnlessSet(variable, folder);
    CString library;
    if (!FullPath(ProductLibrary::PathIn(folder, kLibraryName), MAX_PATH, library))
        return ProductLibrary();
    ProductLibrary module = ProductLibrary::FromPath(library);
    // The library reads its own files relative to the current folder. It stays loaded even when
    // the folder cannot be made current.
    if (module)
        SetCurrentDirectoryA(folder);
    return module;
}

// DVDCEN.DLL from the folder SETUP.INF names, else from the current folder, else beside the
// setup program. Every candidate is loaded by its path with the altered search path, which lets
// DVDCEN.DLL find the libraries it needs beside itself.
ProductLibrary LoadScrambleLibrary()
{
    CString setupFolder = SetupFolder();
    ProductLibrary library;
    if (!setupFolder.IsEmpty())
        library = LoadFromConfiguredFolder(setupFolder);
    if (!library)
        library = ProductLibrary::InCurrentFolder(kLibraryName);
    if (!library && !setupFolder.IsEmpty())
        library = ProductLibrary::FromPath(setupFolder + kLibraryName);
    return library;
}

// Loads DVDCEN.DLL, looks up one of its entry points and hands it to work: the one load path of
// both directions. The library stays loaded until work returns.
template <typename Entry, typename Work>
int WithEntry(const char* name, Work work)
{
    ProductLibrary library = LoadScrambleLibrary();
    if (!library)
        return ERROR_MOD_NOT_FOUND;
    Entry entry = library.Entry<Entry>(name);
    return entry ? work(entry) : ERROR_PROC_NOT_FOUND;
}

bool ValidArguments(const void* inData, DWORD inLength, const void* outData, const DWORD* outLength)
{
    return (inData || inLength == 0) && outData && outLength;
}

// The library is asked for the size of its output first; its output then goes to a buffer of
// that size and is copied to the caller only when it fits.
int Scramble(const BYTE* inData, DWORD inLength, BYTE* outData, DWORD* outLength)
{
    if (!ValidArguments(inData, inLength, outData, outLength))
        return ERROR_INVALID_PARAMETER;
    return WithEntry<DvDcenEncryptEx>(kEncryptEntry, [&](DvDcenEncryptEx encrypt) -> int {
        BYTE* sizeQuery = nullptr;
        DWORD maxOutLength = 0;
        if (int result = encrypt(inData, inLength, &sizeQuery, &maxOutLength))
            return result;
        MallocBuffer buffer = AllocateBytes(maxOutLength);
        if (!buffer)
            return ERROR_NOT_ENOUGH_MEMORY;
        setuptrace::Write("pOutData=%x maxoutLen=%d", Address(buffer.get()), static_cast<int>(maxOutLength));

        BYTE* scrambled = buffer.get();
        DWORD scrambledLength = maxOutLength;
        int result = encrypt(inData, inLength, &scrambled, &scrambledLength);
        setuptrace::Write("pInData=%x IndataLen=%d *pOutData=%x *pOutDataBufSize=%d", Address(inData),
                          static_cast<int>(inLength), Address(scrambled), static_cast<int>(scrambledLength));
        if (result != 0)
            return result;
        if (scrambled != buffer.get() || scrambledLength > maxOutLength)
            return ERROR_INVALID_DATA;
        if (scrambledLength > *outLength)
            return ERROR_INSUFFICIENT_BUFFER;
        memcpy(outData, buffer.get(), scrambledLength);
        *outLength = scrambledLength;
        return ERROR_SUCCESS;
    });
}

int Unscramble(const BYTE* inData, DWORD inLength, BYTE* outData, DWORD* outLength)
{
    if (!ValidArguments(inData, inLength, outData, outLength))
        return ERROR_INVALID_PARAMETER;
    return WithEntry<DvDcenDecryptEx>(kDecryptEntry, [&](DvDcenDecryptEx decrypt) -> int {
        DWORD length = *outLength;
        if (int result = decrypt(inData, inLength, outData, &length))
            return result;
        if (length > *outLength)
            return ERROR_INSUFFICIENT_BUFFER;
        *outLength = length;
        return ERROR_SUCCESS;
    });
}

int HexValue(char digit)
{
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    if (digit >= 'a' && digit <= 'f')
        return digit - 'a' + 10;
    if (digit >= 'A' && digit <= 'F')
        return digit - 'A' + 10;
    return -1;
}

int UnscrambleText(const char* text, DWORD textLength, BYTE* outData, DWORD* outLength)
{
    if (!text && textLength != 0)
        return ERROR_INVALID_PARAMETER;
    DWORD count = textLength / 2;
    MallocBuffer bytes = AllocateBytes(count);
    if (!bytes)
        return ERROR_NOT_ENOUGH_MEMORY;
    for (DWORD i = 0; i < count; ++i) {
        int high = HexValue(text[2 * i]);
        int low = HexValue(text[2 * i + 1]);
        if (high < 0 || low < 0)
            return ERROR_INVALID_DATA;
        bytes[i] = static_cast<BYTE>(high << 4 | low);
    }
    return Unscramble(bytes.get(), count, outData, outLength);
}

// The only exception inside is std::bad_alloc from a path string; it never leaves the library.
const int kOutOfMemory = ERROR_NOT_ENOUGH_MEMORY;

}  // namespace

namespace scramble {

int ToText(const BYTE* inData, DWORD inLength, char* text, DWORD textSize, DWORD* textLength)
{
    if (!text || !textLength)
        return ERROR_INVALID_PARAMETER;
    *textLength = textSize;
    return failure::ContainExceptions(kOutOfMemory, [&]() -> int {
        MallocBuffer bytes = AllocateBytes(textSize / 2);
        if (!bytes)
            return ERROR_NOT_ENOUGH_MEMORY;
        DWORD count = textSize / 2;
        if (int result = Scramble(inData, inLength, bytes.get(), &count))
            return result;
        for (DWORD i = 0; i < count; ++i) {
            text[2 * i] = kHexDigits[bytes[i] >> 4];
            text[2 * i + 1] = kHexDigits[bytes[i] & 0x0F];
        }
        if (2 * count < textSize)
            text[2 * count] = '\0';
        *textLength = 2 * count;
        return ERROR_SUCCESS;
    });
}

}  // namespace scramble

SETUPCLS_C int WINAPI DVSET_ZOREncrypt(const BYTE* inData, DWORD inLength, BYTE* outData, DWORD* outLength)
{
    return failure::ContainExceptions(kOutOfMemory, [&] { return Scramble(inData, inLength, outData, outLength); });
}

SETUPCLS_C int WINAPI DVSET_ZORDecrypt(const BYTE* inData, DWORD inLength, BYTE* outData, DWORD* outLength)
{
    return failure::ContainExceptions(kOutOfMemory, [&] { return Unscramble(inData, inLength, outData, outLength); });
}

SETUPCLS_C int WINAPI DVSET_ZOREncrypt_NUMSTR(const BYTE* inData, DWORD inLength, char* text, DWORD* textLength)
{
    return scramble::ToText(inData, inLength, text, DVSET_NUMSTR_TEXT_SIZE, textLength);
}

SETUPCLS_C int WINAPI DVSET_ZORDecrypt_NUMSTR(const char* text, DWORD textLength, BYTE* outData, DWORD* outLength)
{
    return failure::ContainExceptions(kOutOfMemory, [&] { return UnscrambleText(text, textLength, outData, outLength); });
}

// No file name is no triple-DES file: the profile functions would read WIN.INI instead.
SETUPCLS_C int WINAPI DVSET_Is3DESEncrypt(const char* file)
{
    return ProfileFile(file).ReadInt(kInstallSection, kMethodKey, 0) == kTripleDesMethod ? 1 : 0;
}
