// The DLL's entry point. The library keeps no state of its own and does nothing on load or
// unload; thread attach and detach notices are not needed.
#include <windows.h>

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID)
{
    if (reason == DLL_PROCESS_ATTACH)
        DisableThreadLibraryCalls(instance);
    return TRUE;
}
