#include "VersionInfo.h"

#include "ProductLibrary.h"

#include <cstdlib>
#include <cstring>

namespace {

// The version exports write a NUL-terminated text of at most 31 characters into a caller's
// 32-byte buffer.
typedef void (WINAPI* DvvTextExport)(char* buffer);

CString QueryModuleText(const CString& modulePath, const char* exportName)
{
    char text[32] = {};
    ProductLibrary library = ProductLibrary::FromPath(modulePath);
    if (auto query = library.Entry<DvvTextExport>(exportName))
        query(text);
    text[sizeof(text) - 1] = '\0';  // a module that overruns the limit is still cut here
    return CString(text);
}

}  // namespace

CString SetupCLSGetVersionString(CString modulePath)
{
    return QueryModuleText(modulePath, "DvvGetVersionA");
}

CString SetupCLSGetBuildString(CString modulePath)
{
    return QueryModuleText(modulePath, "DvvGetBuildNumberA");
}

unsigned short SetupCLSGetVersionNumber(CString modulePath)
{
    CString text = SetupCLSGetVersionString(modulePath);
    if (text.IsEmpty())
        return 0;
    unsigned int major = static_cast<unsigned int>(atoi(text)) & 0xFF;
    unsigned int minor = 0;
    int dot = text.Find('.');
    if (dot >= 1)
        minor = static_cast<unsigned int>(atoi(text.Mid(dot + 1))) & 0xFF;
    return static_cast<unsigned short>((major << 8) | minor);
}

unsigned short SetupCLSGetBuildNumber(CString modulePath)
{
    return static_cast<unsigned short>(atoi(SetupCLSGetBuildString(modulePath)));
}

unsigned long SetupCLSGetVersionBuildNumber(CString modulePath)
{
    unsigned long version = SetupCLSGetVersionNumber(modulePath);
    unsigned long build = SetupCLSGetBuildNumber(modulePath);
    return version | (build << 16);
}
