// Password scrambling for the installer scripts. Passwords written into configuration files are
// stored scrambled by the product's cryptographic library DVDCEN.DLL; these functions find and
// load it on every call, prepare its environment, call it and release it again, and offer a
// printable text form ("NUMSTR") of the scrambled bytes.
//
// Where DVDCEN.DLL is looked for, in order ("setup folder": the running program's folder, or this
// library's own folder when the program is the Windows Installer, msiexec):
//   1. the folder named by "EVPKI_LIBCFGPATH" of section "Components" of SETUP.INF in the setup
//      folder, else of SETUP.INF in its parent; the name is relative to the folder of the
//      SETUP.INF that named it, so without a name (no SETUP.INF, no key or an empty value) that
//      folder itself is tried: the setup folder, or its parent when the setup folder holds no
//      SETUP.INF. When the folder exists, "TS_HOME" and "R_SHLIB_LD_LIBRARY_PATH" are set to it
//      (each only when not set already), and when the library loads from it, it becomes the
//      current folder. A variable that cannot be set or a folder that cannot be made current
//      does not stop the search or unload the library;
//   2. the current folder;
//   3. the setup folder.
//
// Results: 0 is success. A non-zero answer of DVDCEN.DLL is passed on unchanged; the wrapper's own
// failures are Win32 error codes: ERROR_MOD_NOT_FOUND (no DVDCEN.DLL), ERROR_PROC_NOT_FOUND (no
// entry point), ERROR_INVALID_PARAMETER (a null pointer), ERROR_INSUFFICIENT_BUFFER (the result
// does not fit the caller's buffer), ERROR_INVALID_DATA (a text that is not hexadecimal, or a
// library answer that breaks the contract below), ERROR_NOT_ENOUGH_MEMORY. On any failure the
// caller's output buffer and output length are left as they were.
//
// When the environment variable DVSET_TRACEFILE (DVSET_TRACE_FILE_VARIABLE, CLog.h) names a file,
// each scrambling call appends its two trace lines there through CLog.
#pragma once

#include "CLog.h"  // DVSET_TRACE_FILE_VARIABLE
#include "SetupCLSExport.h"

// Size in bytes of the text buffer of DVSET_ZOREncrypt_NUMSTR.
#define DVSET_NUMSTR_TEXT_SIZE 150

// Scrambles inLength bytes. outData holds *outLength bytes; on success *outLength is the number of
// scrambled bytes written.
SETUPCLS_C int WINAPI DVSET_ZOREncrypt(const BYTE* inData, DWORD inLength, BYTE* outData, DWORD* outLength);

// Unscrambles inLength bytes into outData (*outLength bytes); on success *outLength is the number
// of bytes written.
SETUPCLS_C int WINAPI DVSET_ZORDecrypt(const BYTE* inData, DWORD inLength, BYTE* outData, DWORD* outLength);

// Scrambles inLength bytes and writes them as text, two lower-case hexadecimal digits per byte.
// text holds DVSET_NUMSTR_TEXT_SIZE bytes, so the scrambled result may be at most half as many
// bytes. *textLength is set to DVSET_NUMSTR_TEXT_SIZE first and, on success, to the number of
// characters; a terminating zero follows the text when there is room and is not counted.
SETUPCLS_C int WINAPI DVSET_ZOREncrypt_NUMSTR(const BYTE* inData, DWORD inLength, char* text, DWORD* textLength);

// Turns each pair of hexadecimal digits of text (textLength characters; an odd last character is
// ignored) into one byte and unscrambles the bytes into outData, as DVSET_ZORDecrypt.
SETUPCLS_C int WINAPI DVSET_ZORDecrypt_NUMSTR(const char* text, DWORD textLength, BYTE* outData, DWORD* outLength);

// 1 when the private-profile file's "EM" of section "INSTALL" is 4 (its passwords are scrambled
// by triple DES), else 0.
SETUPCLS_C int WINAPI DVSET_Is3DESEncrypt(const char* file);

// The entry points of DVDCEN.DLL, exported undecorated under these names. They use the Windows
// API's __stdcall convention, like the product's other libraries: a caller and a library that
// disagreed on it would corrupt the stack on return. 0 is success.
//
// "ZOREncrypt_Ex": called with *outData null, it answers in *outLength the size its output needs;
// called again with *outData pointing at a buffer of *outLength bytes, it scrambles into that
// buffer and answers the number of bytes in *outLength.
typedef int(WINAPI* DvDcenEncryptEx)(const BYTE* inData, DWORD inLength, BYTE** outData, DWORD* outLength);
// "ZORDecrypt_Ex": unscrambles into outData, at most *outLength bytes, and answers the number of
// bytes in *outLength.
typedef int(WINAPI* DvDcenDecryptEx)(const BYTE* inData, DWORD inLength, BYTE* outData, DWORD* outLength);
