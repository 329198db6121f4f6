#include "CApplication.h"

#include "Handles.h"
#include "TextRules.h"

#include <cstring>
#include <utility>

const char* const CApplication::DrosvaneManagerClass = "DrosvaneMgr";
const char* const CApplication::DrosvaneManagerMutex = "DrosvaneMgrAppInstMutex";
const char* const CApplication::DrosvanerAdminClass = "DrosvaneAdmin";
const char* const CApplication::DrosvaneAdminMutex = "DrosvaneAdminAppInstMutex";
const char* const CApplication::DrosvaneCentralDBConfigClass = "DRVCentralDBConfig";
const char* const CApplication::DrosvaneCentralDBConfigMutex = "DRVCentralDBConfigAppInstMutex";
const char* const CApplication::DrosvaneMonitorClass = "DVDM32WClass";
const char* const CApplication::DrosvaneMonitorMutex = "DVDM32Mutex";
const char* const CApplication::DrosvaneDeviceConfigClass = "Device Configuration";
const char* const CApplication::DrosvaneDeviceConfigMutex = "DrosvaneDeviceConfigurationMutex";

namespace {

// The manager console's own shutdown request: it saves its state on this message, which WM_CLOSE
// would skip.
const UINT kManagerShutdownMessage = WM_USER + 0x237;  // 0x637

// Window titles are compared on what a 256-character buffer holds: their first 255 characters.
const int kTitleBufferSize = 256;

struct Console {
    const char* const* windowClass;
    const char* const* mutexName;
};

// In the order of CApplication::Application.
const Console kConsoles[] = {
    {&CApplication::DrosvaneManagerClass, &CApplication::DrosvaneManagerMutex},
    {&CApplication::DrosvanerAdminClass, &CApplication::DrosvaneAdminMutex},
    {&CApplication::DrosvaneCentralDBConfigClass, &CApplication::DrosvaneCentralDBConfigMutex},
    {&CApplication::DrosvaneMonitorClass, &CApplication::DrosvaneMonitorMutex},
    {&CApplication::DrosvaneDeviceConfigClass, &CApplication::DrosvaneDeviceConfigMutex},
};

// What the title search hands its enumeration callback: the text searched for, the caller's
// thread, and the slot for the window found.
struct TitleSearch {
    const char* text;
    DWORD callerThread;
    HWND found;
};

// The setup program's own windows are never answered. The library has no UI framework to ask
// for "the main window", so it takes every top-level window of the calling thread as the
// caller's own: the library runs on the setup program's one thread, which is the thread of its
// main window and of every dialog it shows. Skipping them all also keeps CloseWindows from
// posting WM_CLOSE to a window whose thread is the one looping in CloseWindows: that thread
// cannot handle the message until the loop ends, so the loop would never end.
bool IsCallersWindow(HWND window, DWORD callerThread)
{
    return GetWindowThreadProcessId(window, nullptr) == callerThread;
}

BOOL CALLBACK MatchTitle(HWND window, LPARAM parameter)
{
    TitleSearch& search = *reinterpret_cast<TitleSearch*>(parameter);
    if (!IsWindow(window) || IsCallersWindow(window, search.callerThread))
        return TRUE;
    char title[kTitleBufferSize] = "";
    GetWindowTextA(window, title, kTitleBufferSize);
    title[kTitleBufferSize - 1] = '\0';
    if (!strstr(title, search.text))
        return TRUE;
    search.found = window;
    return FALSE;
}

}  // namespace

CApplication::CApplication(Application application)
{
    const int index = static_cast<int>(application);
    const int count = static_cast<int>(sizeof(kConsoles) / sizeof(kConsoles[0]));
    if (index >= 0 && index < count)
        Construct(*kConsoles[index].windowClass, *kConsoles[index].mutexName);
    else
        Construct("", "");
}

CApplication::CApplication(const char* windowClass, const char* mutexName)
{
    Construct(windowClass, mutexName);
}

CApplication::CApplication(const CApplication& other) = default;
CApplication::CApplication(CApplication&& other) noexcept = default;
CApplication& CApplication::operator=(const CApplication& other) = default;
CApplication& CApplication::operator=(CApplication&& other) noexcept = default;
CApplication::~CApplication() = default;

void CApplication::Construct(const char* windowClass, const char* mutexName)
{
    m_windowClass = windowClass;
    m_mutexName = mutexName;
}

int CApplication::IsRunning()
{
    return IsRunning(m_mutexName);
}

int CApplication::CloseWindow()
{
    return CloseWindow(m_windowClass);
}

const char* CApplication::GetClassNameA()
{
    return m_windowClass;
}

// Asking for ownership of a mutex that a running console holds times the wait out, or answers
// WAIT_ABANDONED when the console died holding it: both count as running. The one release
// matches the wait's ownership or the creation's, and does nothing when the wait timed out; the
// handle closed, a mutex the probe made itself is gone.
int CApplication::IsRunning(const char* mutexName)
{
    UniqueHandle mutex(CreateMutexA(nullptr, TRUE, mutexName));
    if (!mutex)
        return 0;
    const int running = WaitForSingleObject(mutex.get(), 0) != WAIT_OBJECT_0 ? 1 : 0;
    ReleaseMutex(mutex.get());
    return running;
}

// A null class would make FindWindowA take the first top-level window of any class, and no window
// has an empty class name: neither is looked for.
int CApplication::CloseWindow(const char* windowClass)
{
    if (IsEmptyText(windowClass))
        return 0;
    HWND window = ::FindWindowA(windowClass, nullptr);
    if (!window)
        return 0;
    ShowWindow(window, SW_HIDE);
    const UINT request = lstrcmpA(windowClass, DrosvaneManagerClass) == 0 ? kManagerShutdownMessage : WM_CLOSE;
    PostMessageA(window, request, 0, 0);
    return 1;
}

// An empty text is contained in every title: it would answer (and CloseWindows would close) any
// window on the desktop, so a null or empty text finds nothing.
HWND CApplication::FindWindowA(const char* titleText)
{
    if (IsEmptyText(titleText))
        return nullptr;
    TitleSearch search = {titleText, GetCurrentThreadId(), nullptr};
    EnumWindows(MatchTitle, reinterpret_cast<LPARAM>(&search));
    return search.found;
}

void CApplication::CloseWindows(const char* titleText)
{
    while (HWND window = FindWindowA(titleText)) {
        ShowWindow(window, SW_HIDE);
        PostMessageA(window, WM_CLOSE, 0, 0);
    }
}
