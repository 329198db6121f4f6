// The product's version library on the example medium: it answers the version and build the
// medium was made with.
#include <windows.h>

extern "C" __declspec(dllexport) void WINAPI DvvGetVersionA(char* buffer)
{
    lstrcpynA(buffer, DVVER_VERSION, 32);
}

extern "C" __declspec(dllexport) void WINAPI DvvGetBuildNumberA(char* buffer)
{
    lstrcpynA(buffer, DVVER_BUILD, 32);
}
