// CApplication: the product's own consoles, found and closed before setup replaces or removes
// their files. A console is known by two names: the window class of its main window and the
// name of the single-instance mutex it holds while it runs. Detection asks the mutex, closing
// asks the window class; a looser search finds top-level windows by a piece of their title.
//
// Two faces. An object carries the two names of one console and forwards to the statics; the
// statics take bare names. No operation logs, throws or shows a message, and none waits for a
// window to go away.
//
// FindWindowA and GetClassNameA are also Windows functions (windows.h declares them; with
// UNICODE undefined, FindWindow and GetClassName are macros to them). The members keep these
// names; inside the class the Windows functions are reached as ::FindWindowA and ::GetClassNameA.
#pragma once

#include "CString.h"

class SETUPCLS_API CApplication {
public:
    // The consoles the library knows.
    enum Application {
        DrosvaneManager = 0,          // "DrosvaneMgr", "DrosvaneMgrAppInstMutex"
        DrosvaneAdmin = 1,            // "DrosvaneAdmin", "DrosvaneAdminAppInstMutex"
        DrosvaneCentralDBConfig = 2,  // "DRVCentralDBConfig", "DRVCentralDBConfigAppInstMutex"
        DrosvaneMonitor = 3,          // "DVDM32WClass", "DVDM32Mutex"
        DrosvaneDeviceConfig = 4,     // "Device Configuration", "DrosvaneDeviceConfigurationMutex"
    };

    // The window classes and mutexes of the consoles. The administrator console's class constant
    // carries an extra "r" in its name; the exported name is kept so.
    static const char* const DrosvaneManagerClass;          // "DrosvaneMgr"
    static const char* const DrosvaneManagerMutex;          // "DrosvaneMgrAppInstMutex"
    static const char* const DrosvanerAdminClass;           // "DrosvaneAdmin"
    static const char* const DrosvaneAdminMutex;            // "DrosvaneAdminAppInstMutex"
    static const char* const DrosvaneCentralDBConfigClass;  // "DRVCentralDBConfig"
    static const char* const DrosvaneCentralDBConfigMutex;  // "DRVCentralDBConfigAppInstMutex"
    static const char* const DrosvaneMonitorClass;          // "DVDM32WClass"
    static const char* const DrosvaneMonitorMutex;          // "DVDM32Mutex"
    static const char* const DrosvaneDeviceConfigClass;     // "Device Configuration"
    static const char* const DrosvaneDeviceConfigMutex;     // "DrosvaneDeviceConfigurationMutex"

    // The two names of a known console; any other value leaves both names empty.
    explicit CApplication(Application application);
    // Any console: its main window's class, then its mutex's name (null texts become empty).
    CApplication(const char* windowClass, const char* mutexName);
    CApplication(const CApplication& other);
    CApplication(CApplication&& other) noexcept;
    CApplication& operator=(const CApplication& other);
    CApplication& operator=(CApplication&& other) noexcept;
    ~CApplication();

    // The statics on this console's mutex and window class.
    int IsRunning();
    int CloseWindow();
    // The window class name.
    const char* GetClassNameA();

    // Non-zero while a process holds the named mutex. The probe creates (or opens) the mutex
    // asking for ownership, waits on it for no time, releases it once and closes it: a mutex it
    // made is gone again afterwards. A name that cannot be created or opened as a mutex (the name
    // of an object of another kind, access denied) answers 0; so does a null or empty name, which
    // probes a fresh unnamed mutex.
    static int IsRunning(const char* mutexName);

    // Hides the first top-level window of the class and posts it its close request: the manager
    // console's class "DrosvaneMgr" (compared case-sensitively) its own shutdown message 0x637,
    // every other class WM_CLOSE. 1 when a window was found (whether or not the post succeeded),
    // 0 otherwise; it does not wait for the window to go.
    static int CloseWindow(const char* windowClass);

    // The first top-level window whose title (its first 255 characters) contains titleText,
    // case-sensitively; null when there is none. The caller's own windows are never answered.
    static HWND FindWindowA(const char* titleText);

    // Hides and posts WM_CLOSE to every top-level window whose title contains titleText, again
    // and again until FindWindowA finds none. A window that ignores WM_CLOSE keeps the caller in
    // the loop: use it only for windows that close on WM_CLOSE.
    static void CloseWindows(const char* titleText);

private:
    void Construct(const char* windowClass, const char* mutexName);

    CString m_windowClass;
    CString m_mutexName;
};
