#include "DvSetUpgrade.h"

#include "Handles.h"
#include "ImportHook.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <type_traits>
#include <vector>

using namespace testsupport;

namespace {

using Lines = std::vector<std::string>;

Lines SplitLines(const std::string& text, const char* end)
{
    Lines lines;
    for (size_t at = 0, next; (next = text.find(end, at)) != std::string::npos; at = next + strlen(end))
        lines.push_back(text.substr(at, next - at));
    return lines;
}

std::vector<DWORD> g_pauses;
VOID WINAPI FakeSleep(DWORD ms)
{
    g_pauses.push_back(ms);
}
static_assert(std::is_same<decltype(&::Sleep), decltype(&FakeSleep)>::value, "FakeSleep is no Sleep");

// The upgrade trace and the fixture's record go to a fresh folder; the library's pause after a
// command line (20 s) is only counted.
class OldProduct : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_sleep.installed());
        ASSERT_TRUE(WriteFileBytes(m_icf, "[Setup]\r\n"));
    }
    Lines Trace() const { return SplitLines(ReadFileBytes(m_dir / "Upgrade_SetupCls.log"), "\r\n"); }
    Lines Record() const { return SplitLines(ReadFileBytes(m_dir / "record.txt"), "\n"); }

    TempDir m_dir;
    ScopedEnv m_trace{"UPGRADE_SETUPCLS", m_dir.path().c_str()};
    ScopedEnv m_record{"UPGRADEUTIL_RECORD", (m_dir / "record.txt").c_str()};
    ImportHook m_sleep{"KERNEL32.dll", "Sleep", reinterpret_cast<void*>(&FakeSleep)};
    const std::string m_fixture = "\"" + FixturePath("UpgradeUtil.exe") + "\"";
    const std::string m_icf = m_dir / "SETUP.ICF";
};

// The upgrade utility beside the test program while it lives.
struct UtilityBeside : NoCopy {
    const std::string path = ExeDir() + "UpgradeUtil.exe";
    UtilityBeside() { EXPECT_TRUE(CopyFixture("UpgradeUtil.exe", path)); }
    ~UtilityBeside() { DeleteFileA(path.c_str()); }
};

HANDLE g_dispatched;
LRESULT CALLBACK RecordingWindow(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_APP)
        SetEvent(g_dispatched);
    return DefWindowProcA(window, message, wParam, lParam);
}

// What the library asked CreateProcessA for. The fixture runs in its place (same flags and
// folder), so that the library has a real process to wait for.
struct StartCall {
    std::string line;
    BOOL inherit;
    DWORD flags, startFlags;
    std::string folder;
};
std::vector<StartCall> g_starts;
BOOL WINAPI FakeCreateProcessA(LPCSTR application, LPSTR line, LPSECURITY_ATTRIBUTES processAttributes,
                               LPSECURITY_ATTRIBUTES threadAttributes, BOOL inherit, DWORD flags, LPVOID environment,
                               LPCSTR folder, LPSTARTUPINFOA startup, LPPROCESS_INFORMATION info)
{
    g_starts.push_back({line, inherit, flags, startup->dwFlags, folder ? folder : "(none)"});
    std::string fixture = "\"" + FixturePath("UpgradeUtil.exe") + "\"";
    return CreateProcessA(application, &fixture[0], processAttributes, threadAttributes, inherit, flags, environment,
                          folder, startup, info);
}

}  // namespace

TEST_F(OldProduct, CommandLineRunsInItsFolderWhileTheCallersMessagesAreDispatched)
{
    // The program waits for the event that the window sets when the message posted to it is
    // dispatched: without the library's dispatching it would wait 10 s and the message stay queued.
    UniqueHandle event(CreateEventA(nullptr, TRUE, FALSE, "OldProductTest.Dispatched"));
    g_dispatched = event.get();
    ScopedEnv wait{"UPGRADEUTIL_WAIT", "OldProductTest.Dispatched"};
    WNDCLASSA windowClass = {};
    windowClass.lpfnWndProc = RecordingWindow;
    windowClass.hInstance = GetModuleHandleA(nullptr);
    windowClass.lpszClassName = "OldProductTest";
    ASSERT_NE(0, RegisterClassA(&windowClass));
    HWND window = CreateWindowA("OldProductTest", "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, windowClass.hInstance, nullptr);
    ASSERT_TRUE(PostMessageA(window, WM_APP, 0, 0));

    const std::string command = m_fixture + " /remove \"a b\"";
    EXPECT_EQ(1, DvSetUninstallOldProd(command.c_str(), TRUE, m_dir.path().c_str()));
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(event.get(), 0)) << "the posted message was not dispatched";
    EXPECT_EQ((Lines{command, m_dir.path()}), Record());
    EXPECT_EQ((Lines{"DvSetUninstallOldProd() - Start", "szCommandLine is " + command,
                     "DvSetUninstallOldProd() - End - Return 1,"}),
              Trace());
    DestroyWindow(window);
    UnregisterClassA("OldProductTest", windowClass.hInstance);
}

TEST_F(OldProduct, UtilityRunsInTheProgramsFolderAndItsExitCodeIsTheAnswer)
{
    UtilityBeside utility;
    ScopedEnv exitCode{"UPGRADEUTIL_EXIT", "1603"};
    const std::string line = "\"" + utility.path + "\" /q Caller=dvsetup OperationMode=Backup ICFPATH=\"" + m_icf + "\"";
    EXPECT_EQ(1603u, DvSetBetaUpgrade_Backup(m_icf.c_str(), "dvsetup"));
    EXPECT_EQ((Lines{line, ExeDir().substr(0, ExeDir().size() - 1)}), Record());
    EXPECT_EQ((Lines{"DvSetBetaUpgrade_Backup() - Start", "Call_UpgradeUtility() - The command line is:!" + line,
                     "The return code of the UpgradeUtil.exe is: 1603", "DvSetBetaUpgrade_Backup() - End - Return 1603,"}),
              Trace());
}

TEST_F(OldProduct, ProgramThatCannotStartIsTracedAndAnswersFailure)
{
    const std::string missing = "\"" + m_dir / "missing.exe" + "\"";
    EXPECT_EQ(0, DvSetUninstallOldProd(missing.c_str(), TRUE, nullptr));
    EXPECT_EQ((Lines{"DvSetUninstallOldProd() - Start", "szCommandLine is " + missing, "RemoveOldProduct FAILED.",
                     "DvSetUninstallOldProd() - End - Return 0,"}),
              Trace());

    DeleteFileA((m_dir / "Upgrade_SetupCls.log").c_str());
    ASSERT_EQ(INVALID_FILE_ATTRIBUTES, GetFileAttributesA((ExeDir() + "UpgradeUtil.exe").c_str())) << "left over";
    EXPECT_EQ(0xFFFFFFFFu, DvSetBetaUpgrade_Backup(m_icf.c_str(), "dvsetup"));
    const Lines trace = Trace();
    ASSERT_EQ(4u, trace.size());
    EXPECT_EQ(0u, trace[2].find("Call_UpgradeUtility() - Can not create the process UpgradeUtil.exe.")) << trace[2];
    EXPECT_EQ("DvSetBetaUpgrade_Backup() - End - Return -1,", trace[3]);
}

// Wine shows neither the start-up flags nor the creation flags, and msiexec is not run in a test:
// the start is intercepted.
class OldProductIntercepted : public OldProduct {};

TEST_F(OldProductIntercepted, StartArgumentsAndPausePerForm)
{
    SETUPCLS_HOOK_IMPORT(start, "KERNEL32.dll", CreateProcessA, FakeCreateProcessA);
    ScopedEnv exitCode{"UPGRADEUTIL_EXIT", "7"};
    const std::string longest(32766, 'x'), code = "{0C0DE000-1111-2222-3333-444455556666}", folder = m_dir.path();
    const std::string utility = "\"" + ExeDir() + "UpgradeUtil.exe\" /q Caller=dvsetup OperationMode=";
    const char* icf = m_icf.c_str();
    const struct {
        const char* what;
        std::function<DWORD()> call;
        DWORD result;
        std::string line;
        BOOL inherit;
        DWORD flags, startFlags;
        std::string folder;
        std::vector<DWORD> pauses;
    } cases[] = {
        {"code", [&] { return DvSetUninstallOldProd(code.c_str(), FALSE, ""); }, 1, "MSIEXEC /x " + code + " /qn",
         FALSE, 0, STARTF_FORCEOFFFEEDBACK, "(none)", {}},
        {"code in folder", [&] { return DvSetUninstallOldProd(code.c_str(), FALSE, folder.c_str()); }, 1,
         "MSIEXEC /x " + code + " /qn", FALSE, 0, STARTF_FORCEOFFFEEDBACK, folder, {}},
        {"longest command", [&] { return DvSetUninstallOldProd(longest.c_str(), TRUE, nullptr); }, 1, longest, FALSE,
         0, STARTF_FORCEOFFFEEDBACK, "(none)", {20000}},
        {"backup", [&] { return DvSetBetaUpgrade_Backup(icf, "dvsetup"); }, 7,
         utility + "Backup ICFPATH=\"" + m_icf + "\"", TRUE, DETACHED_PROCESS, 0, ExeDir(), {}},
        {"restore", [&] { return DvSetBetaUpgrade_Restore(icf, "dvsetup"); }, 7,
         utility + "Restore ICFPATH=\"" + m_icf + "\"", TRUE, DETACHED_PROCESS, 0, ExeDir(), {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        g_starts.clear();
        g_pauses.clear();
        EXPECT_EQ(c.result, c.call());
        EXPECT_EQ(c.pauses, g_pauses);
        ASSERT_EQ(1u, g_starts.size());
        EXPECT_EQ(c.line, g_starts[0].line);
        EXPECT_EQ(c.inherit, g_starts[0].inherit);
        EXPECT_EQ(c.flags, g_starts[0].flags);
        EXPECT_EQ(c.startFlags, g_starts[0].startFlags);
        EXPECT_EQ(c.folder, g_starts[0].folder);
    }
}

TEST_F(OldProductIntercepted, BadInputStartsNothing)
{
    SETUPCLS_HOOK_IMPORT(start, "KERNEL32.dll", CreateProcessA, FakeCreateProcessA);
    const std::string tooLong(32767, 'x');
    const char* icf = m_icf.c_str();
    g_starts.clear();
    const int tooLongAnswer = DvSetUninstallOldProd(tooLong.c_str(), TRUE, "");
    const DWORD tooLongReason = GetLastError();
    EXPECT_EACH(0, ANSWER(DvSetUninstallOldProd(nullptr, FALSE, "")), ANSWER(DvSetUninstallOldProd("", TRUE, "")),
                ANSWER(tooLongAnswer));
    EXPECT_EQ(static_cast<DWORD>(ERROR_FILENAME_EXCED_RANGE), tooLongReason);
    EXPECT_EACH(ERROR_INVALID_PARAMETER, ANSWER(DvSetBetaUpgrade_Backup(nullptr, "dvsetup")),
                ANSWER(DvSetBetaUpgrade_Restore(icf, "")), ANSWER(DvSetBetaUpgrade_Backup(icf, nullptr)));
    EXPECT_EACH(ERROR_FILE_NOT_FOUND, ANSWER(DvSetBetaUpgrade_Backup((m_icf + "x").c_str(), "dvsetup")),
                ANSWER(DvSetBetaUpgrade_Restore(m_dir.path().c_str(), "dvsetup")));
    EXPECT_EQ(0u, g_starts.size());
}
