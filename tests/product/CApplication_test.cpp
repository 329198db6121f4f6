#include "CApplication.h"

#include "Handles.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

using namespace testsupport;

namespace {

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
    const std::string name = UniqueName("probe");
    EXPECT_EQ(0, ProbeElsewhere(name)) << "no one holds it";
    EXPECT_EQ(nullptr, UniqueHandle(OpenMutexA(SYNCHRONIZE, FALSE, name.c_str())).get()) << "the probe left it";
    {
        UniqueHandle held(CreateMutexA(nullptr, TRUE, name.c_str()));
        EXPECT_EQ(1, ProbeElsewhere(name)) << "held";
    }
    UniqueHandle abandoned;
    std::thread([&] { abandoned.reset(CreateMutexA(nullptr, TRUE, name.c_str())); }).join();
    EXPECT_EQ(1, ProbeElsewhere(name)) << "abandoned by its owner";
    const std::string eventName = UniqueName("event");
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
        FixtureConsole console(c.windowClass, UniqueName("title"));
        ASSERT_TRUE(console.ready());
        EXPECT_EQ(1, CApplication::IsRunning(console.mutex().c_str()));
        EXPECT_EQ(1, CApplication::CloseWindow(c.asked));
        EXPECT_EQ(0L, console.exitCode()) << "closed by the request";
        EXPECT_EQ(c.record, console.record());
        EXPECT_EQ(0, CApplication::IsRunning(console.mutex().c_str())) << "ended";
    }
    EXPECT_EACH(0, ANSWER(CApplication::CloseWindow(UniqueName("class").c_str())), ANSWER(CApplication::CloseWindow("")),
                ANSWER(CApplication::CloseWindow(nullptr)));
}

TEST(Application, FindWindowAMatchesTitleTextInTheFirst255Characters)
{
    const std::string head = UniqueName("head");
    std::string title = head + std::string(250 - head.size(), '.') + "ABCDEFGHIJ" + std::string(40, '.');
    FixtureConsole console(UniqueName("class"), title);
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
                 {UniqueName("none"), nullptr},
                 {"", nullptr}};
    for (const auto& c : cases)
        EXPECT_EQ(c.found, CApplication::FindWindowA(c.text.c_str())) << c.text;
    EXPECT_EQ(nullptr, CApplication::FindWindowA(nullptr));
    DestroyWindow(own);
}

TEST(Application, CloseWindowsClosesEveryWindowWhoseTitleHasTheText)
{
    const std::string text = UniqueName("closeall");
    FixtureConsole first(UniqueName("class"), "1 " + text), second(UniqueName("class"), text + " 2"), other(UniqueName("class"), "other");
    ASSERT_TRUE(first.ready());
    ASSERT_TRUE(second.ready());
    ASSERT_TRUE(other.ready());
    CApplication::CloseWindows(text.c_str());
    for (FixtureConsole* console : {&first, &second}) {
        EXPECT_EQ(0L, console->exitCode());
        std::string record = console->record(), rest = record;
        for (size_t at; (at = rest.find("WM_CLOSE hidden\r\n")) != std::string::npos;)
            rest.erase(at, 17);
        EXPECT_NE("", record);
        EXPECT_EQ("", rest) << "every request WM_CLOSE to a hidden window";
    }
    EXPECT_TRUE(other.running());
}
