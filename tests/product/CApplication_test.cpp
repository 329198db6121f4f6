#include "CApplication.h"

#include "Handles.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

using namespace testsupport;

namespace {

// Names no other program of the prefix uses.
std::string Unique(const std::string& what)
{
    static int counter = 0;
    return "DVC-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(++counter) + "-" + what;
}

// DVCONSOLE.EXE with a window of the class and title, holding the mutex; ready once its window
// exists. A console still running at scope exit is ended.
class Console : NoCopy {
public:
    Console(const std::string& windowClass, const std::string& title, const std::string& mutex = Unique("mutex"))
        : m_class(windowClass), m_mutex(mutex)
    {
        const std::string ready = Unique("ready");
        UniqueHandle event(CreateEventA(nullptr, TRUE, FALSE, ready.c_str()));
        std::string line = "\"" + FixturePath("DVCONSOLE.EXE") + "\" \"/class:" + windowClass + "\" \"/title:" + title +
                           "\" /mutex:" + mutex + " \"/record:" + m_record + "\" /ready:" + ready + " /timeout:30000";
        STARTUPINFOA startup = {};
        startup.cb = sizeof(startup);
        PROCESS_INFORMATION started = {};
        if (!CreateProcessA(nullptr, &line[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &started))
            return;
        UniqueHandle thread(started.hThread);
        m_process.reset(started.hProcess);
        HANDLE waits[] = {event.get(), m_process.get()};
        m_ready = WaitForMultipleObjects(2, waits, FALSE, 10000) == WAIT_OBJECT_0;
    }
    ~Console()
    {
        if (m_process && WaitForSingleObject(m_process.get(), 0) == WAIT_TIMEOUT) {
            TerminateProcess(m_process.get(), 9);
            WaitForSingleObject(m_process.get(), 5000);
        }
    }
    bool ready() const { return m_ready; }
    HWND window() const { return ::FindWindowA(m_class.c_str(), nullptr); }
    const std::string& mutex() const { return m_mutex; }
    bool running() const { return WaitForSingleObject(m_process.get(), 0) == WAIT_TIMEOUT; }
    // The exit code once it ended (STILL_ACTIVE when it did not within 10 s).
    DWORD exitCode() const
    {
        DWORD code = STILL_ACTIVE;
        WaitForSingleObject(m_process.get(), 10000);
        GetExitCodeProcess(m_process.get(), &code);
        return code;
    }
    std::string record() const { return ReadFileBytes(m_record); }

private:
    TempDir m_dir;
    std::string m_class, m_mutex, m_record = m_dir / "record.txt";
    UniqueHandle m_process;
    bool m_ready = false;
};

// IsRunning as another thread than the caller sees it: a mutex the caller's own thread owns
// would be taken again by a probe on that thread.
int ProbeElsewhere(const std::string& mutex)
{
    int answer = -1;
    std::thread([&] { answer = CApplication::IsRunning(mutex.c_str()); }).join();
    return answer;
}

}  // namespace

TEST(Application, EachConsoleHasItsClassAndMutex)
{
    const struct {
        CApplication::Application value;
        const char *windowClass, *mutex, *const& classConstant;
    } consoles[] = {{CApplication::DrosvaneManager, "DrosvaneMgr", "DrosvaneMgrAppInstMutex", CApplication::DrosvaneManagerClass},
                    {CApplication::DrosvaneAdmin, "DrosvaneAdmin", "DrosvaneAdminAppInstMutex", CApplication::DrosvanerAdminClass},
                    {CApplication::DrosvaneCentralDBConfig, "DRVCentralDBConfig", "DRVCentralDBConfigAppInstMutex",
                     CApplication::DrosvaneCentralDBConfigClass},
                    {CApplication::DrosvaneMonitor, "DVDM32WClass", "DVDM32Mutex", CApplication::DrosvaneMonitorClass},
                    {CApplication::DrosvaneDeviceConfig, "Device Configuration", "DrosvaneDeviceConfigurationMutex",
                     CApplication::DrosvaneDeviceConfigClass}};
    for (const auto& console : consoles) {
        CApplication application(console.value);
        EXPECT_STREQ(console.windowClass, application.GetClassNameA());
        EXPECT_STREQ(console.windowClass, console.classConstant);
        UniqueHandle held(CreateMutexA(nullptr, TRUE, console.mutex));
        int answer = -1;
        std::thread([&] { answer = application.IsRunning(); }).join();
        EXPECT_EQ(1, answer) << console.mutex << " is the object's mutex";
    }
}

TEST(Application, OutOfRangeValueHasEmptyNames)
{
    CApplication application(static_cast<CApplication::Application>(5));
    EXPECT_STREQ("", application.GetClassNameA());
    EXPECT_EQ(0, application.IsRunning());
    EXPECT_EQ(0, application.CloseWindow());
}

TEST(Application, IsRunningAnswersWhetherAnotherHoldsTheMutex)
{
    const std::string name = Unique("probe");
    EXPECT_EQ(0, ProbeElsewhere(name)) << "no one holds it";
    EXPECT_EQ(nullptr, UniqueHandle(OpenMutexA(SYNCHRONIZE, FALSE, name.c_str())).get()) << "the probe left it";
    {
        UniqueHandle held(CreateMutexA(nullptr, TRUE, name.c_str()));
        EXPECT_EQ(1, ProbeElsewhere(name)) << "held";
    }
    UniqueHandle abandoned;
    std::thread([&] { abandoned.reset(CreateMutexA(nullptr, TRUE, name.c_str())); }).join();
    EXPECT_EQ(1, ProbeElsewhere(name)) << "abandoned by its owner";
    const std::string eventName = Unique("event");
    UniqueHandle event(CreateEventA(nullptr, TRUE, FALSE, eventName.c_str()));
    EXPECT_EQ(0, ProbeElsewhere(eventName)) << "the name of an event";
}

TEST(Application, CloseWindowPostsTheManagerItsOwnRequest)
{
    const struct {
        const char* windowClass;  // the console's
        const char* asked;        // CloseWindow's argument
        const char* record;
    } cases[] = {{"DrosvaneMgr", "DrosvaneMgr", "0x637 hidden\r\n"},
                 {"DrosvaneAdmin", "DrosvaneAdmin", "WM_CLOSE hidden\r\n"},
                 {"DrosvaneMgr", "drosvanemgr", "WM_CLOSE hidden\r\n"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.asked);
        Console console(c.windowClass, Unique("title"));
        ASSERT_TRUE(console.ready());
        EXPECT_EQ(1, CApplication::IsRunning(console.mutex().c_str()));
        EXPECT_EQ(1, CApplication::CloseWindow(c.asked));
        EXPECT_EQ(0u, console.exitCode()) << "closed by the request";
        EXPECT_EQ(c.record, console.record());
        EXPECT_EQ(0, CApplication::IsRunning(console.mutex().c_str())) << "ended";
    }
    EXPECT_EACH(0, ANSWER(CApplication::CloseWindow(Unique("class").c_str())), ANSWER(CApplication::CloseWindow("")),
                ANSWER(CApplication::CloseWindow(nullptr)));
}

TEST(Application, FindWindowAMatchesTitleTextInTheFirst255Characters)
{
    const std::string head = Unique("head");
    std::string title = head + std::string(250 - head.size(), '.') + "ABCDEFGHIJ" + std::string(40, '.');
    Console console(Unique("class"), title);
    ASSERT_TRUE(console.ready());
    // The test's own window with the same title is never answered.
    HWND own = CreateWindowExA(0, "STATIC", title.c_str(), WS_OVERLAPPED, 0, 0, 10, 10, nullptr, nullptr, nullptr, nullptr);
    ASSERT_NE(nullptr, own);
    const struct {
        std::string text;
        HWND found;
    } cases[] = {{head, console.window()},
                 {"ABCDE", console.window()},      // ends at character 255
                 {"ABCDEF", nullptr},              // its last letter is the 256th
                 {Unique("none"), nullptr},
                 {"", nullptr}};
    for (const auto& c : cases)
        EXPECT_EQ(c.found, CApplication::FindWindowA(c.text.c_str())) << c.text;
    EXPECT_EQ(nullptr, CApplication::FindWindowA(nullptr));
    DestroyWindow(own);
}

TEST(Application, CloseWindowsClosesEveryWindowWhoseTitleHasTheText)
{
    const std::string text = Unique("closeall");
    Console first(Unique("class"), "1 " + text), second(Unique("class"), text + " 2"), other(Unique("class"), "other");
    ASSERT_TRUE(first.ready());
    ASSERT_TRUE(second.ready());
    ASSERT_TRUE(other.ready());
    CApplication::CloseWindows(text.c_str());
    for (const Console* console : {&first, &second}) {
        EXPECT_EQ(0u, console->exitCode());
        std::string record = console->record(), rest = record;
        for (size_t at; (at = rest.find("WM_CLOSE hidden\r\n")) != std::string::npos;)
            rest.erase(at, 17);
        EXPECT_NE("", record);
        EXPECT_EQ("", rest) << "every request WM_CLOSE to a hidden window";
    }
    EXPECT_TRUE(other.running());
}
