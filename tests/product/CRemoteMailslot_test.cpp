#include "CRemoteMailslot.h"

#include "Handles.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cctype>
#include <functional>

using namespace testsupport;

namespace {

std::string LocalName()
{
    char name[MAX_COMPUTERNAME_LENGTH + 1] = "";
    DWORD size = sizeof(name);
    GetComputerNameA(name, &size);
    return name;
}

// A master setup listening on this machine. No SETUP.INF lies beside the test program, so every
// message sent from this process carries the product number 0.
class MasterSetup : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_EQ(INVALID_FILE_ATTRIBUTES, GetFileAttributesA((ExeDir() + "SETUP.INF").c_str()));
        ASSERT_TRUE(m_status);
        ASSERT_TRUE(m_results);
    }
    // The next message of the mailslot, whole; "<none>" when none is waiting.
    static std::string Next(const UniqueFile& slot)
    {
        DWORD size = 0, read = 0;
        if (!GetMailslotInfo(slot.get(), nullptr, &size, nullptr, nullptr) || size == MAILSLOT_NO_MESSAGE)
            return "<none>";
        std::string message(size, '\0');
        ReadFile(slot.get(), &message[0], size, &read, nullptr);
        return message.substr(0, read);
    }
    UniqueFile m_status{CreateMailslotA("\\\\.\\mailslot\\Quellmarsh_Setup_Status", 0, 0, nullptr)};
    UniqueFile m_results{CreateMailslotA("\\\\.\\mailslot\\MasterSetup_Status", 0, 0, nullptr)};
    const std::string m_local = LocalName();
};

}  // namespace

// The master is this machine under its name in another letter case: every form arrives whole,
// from the local name, at "\\.\mailslot\...".
TEST_F(MasterSetup, EveryFormArrivesWholeFromTheLocalName)
{
    std::string master = m_local;
    for (char& ch : master)
        ch = static_cast<char>(isupper(static_cast<unsigned char>(ch)) ? tolower(ch) : toupper(ch));
    ASSERT_NE(m_local, master);
    const char* m = master.c_str();
    CRemoteMailslot object(m);
    const std::string me = m_local + "\\", fits(260 - me.size() - 6, 'f'), longText(300, 't');
    const struct {
        std::function<int()> send;
        const UniqueFile& slot;
        std::string expected;
    } cases[] = {
        {[&] { return CRemoteMailslot::SendStatus(m, 1, 2); }, m_status, me + "1\\2\\0"},
        {[&] { return CRemoteMailslot::SendStatus(m, 3, 4, "copying"); }, m_status, me + "3\\4\\copying\\0"},
        {[&] { return CRemoteMailslot::SendStatus(m, 5, 6, "one", "two"); }, m_status, me + "5\\6\\one\\two"},
        {[&] { return CRemoteMailslot::SendStatus(m, 7, 8, "one", "two", 9, 10); }, m_status,
         me + "7\\8\\one\\two\\9\\10"},
        {[&] { return CRemoteMailslot::SendStatus(m, 7, 8, "one", "", 0xFFFFFFFF, 0); }, m_status,
         me + "7\\8\\one\\Reserved String\\-1\\0"},
        {[&] { return object.SendStatus(11, 12); }, m_status, me + "11\\12\\0"},
        {[&] { return object.SendStatus(13, 14, "x"); }, m_status, me + "13\\14\\x\\0"},
        {[&] { return CRemoteMailslot::SendStatus(m, 1, 2, fits.c_str()); }, m_status, me + "1\\2\\" + fits + "\\0"},
        {[&] { return CRemoteMailslot::SendStatus(m, 1, 2, longText.c_str()); }, m_status,
         (me + "1\\2\\" + longText).substr(0, 259)},
        {[&] { return CRemoteMailslot::SendResults(m, 3, "done"); }, m_results, "3\\done"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.expected);
        EXPECT_NE(0, c.send());
        EXPECT_EQ(c.expected, Next(c.slot));
    }
    EXPECT_EQ(260u, (me + "1\\2\\" + fits + "\\0").size());  // the longest message sent uncut
}

// Wine answers 3 (path not found) for "\\<any computer name>\mailslot\...", its own name too; on
// Windows another machine that does not listen fails the same send.
TEST_F(MasterSetup, NoListeningMasterAnswersZero)
{
    EXPECT_EACH(0, ANSWER(CRemoteMailslot::SendStatus("QMOTHERHOST", 1, 2)),
                ANSWER(CRemoteMailslot::SendResults("QMOTHERHOST", 1, "x")));
    EXPECT_EQ("<none>", Next(m_status));
    m_status.reset();
    m_results.reset();
    EXPECT_EACH(0, ANSWER(CRemoteMailslot::SendStatus(m_local.c_str(), 1, 2)),
                ANSWER(CRemoteMailslot::SendResults(m_local.c_str(), 1, "x")));
}

// The product number is read once per process: each case runs a setup program of its own, in a
// folder with its own SETUP.INF and Setup.icf. "." is not the computer's name, so the library
// takes it for another machine (its sender comes from Setup.icf), yet it reaches this machine.
TEST_F(MasterSetup, ProductNumberAndRemoteSenderComeFromTheFilesBesideTheProgram)
{
    const struct {
        const char *guidll, *hostName, *master;
        std::string expected;
    } cases[] = {
        {"GUIDLL=dvsetui.dll", "", nullptr, m_local + "\\1\\2\\1"},
        {"Other=DVSETUI.DLL", "", nullptr, m_local + "\\1\\2\\0"},
        {"GUIDLL=SETUPUI.DLL", "", nullptr, m_local + "\\1\\2\\0"},
        {"GUIDLL=DVPATCHUI.DLL", "HostName=SENDERHOST", ".", "SENDERHOST\\1\\2\\99"},
        {"GUIDLL=DVPATCHUI.DLL", "HostName=", ".", m_local + "\\1\\2\\99"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.expected);
        TempDir dir;
        ASSERT_TRUE(CopyFixture("statussender.exe", dir / "statussender.exe"));
        ASSERT_TRUE(CopyFixture("SetupCLS.dll", dir / "SetupCLS.dll"));
        ASSERT_TRUE(WriteFileBytes(dir / "SETUP.INF", std::string("[ProductInfo]\r\n") + c.guidll + "\r\n"));
        ASSERT_TRUE(WriteFileBytes(dir / "Setup.icf", std::string("[Install]\r\n") + c.hostName + "\r\n"));
        EXPECT_EQ(1, RunProgram("\"" + (dir / "statussender.exe") + "\" " + (c.master ? c.master : m_local)));
        EXPECT_EQ(c.expected, Next(m_status));
    }
}
