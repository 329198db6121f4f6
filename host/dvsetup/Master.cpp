#include "Master.h"

#include "CMIF.h"
#include "CRemoteMailslot.h"
#include "Handles.h"

#include <cstdio>
#include <string>
#include <vector>

namespace {

const char* const kMailslots[] = {"\\\\.\\mailslot\\Quellmarsh_Setup_Status", "\\\\.\\mailslot\\MasterSetup_Status"};
const DWORD kReadWaitMs = 200;

// The next message of a mailslot, or false when none is waiting.
bool ReadMessage(HANDLE slot, std::string& message)
{
    DWORD next = MAILSLOT_NO_MESSAGE;
    if (!GetMailslotInfo(slot, nullptr, &next, nullptr, nullptr) || next == MAILSLOT_NO_MESSAGE)
        return false;
    std::vector<char> buffer(next + 1);
    DWORD read = 0;
    if (!ReadFile(slot, buffer.data(), next, &read, nullptr))
        return false;
    message.assign(buffer.data(), read);
    return true;
}

CString ComputerName()
{
    char name[MAX_COMPUTERNAME_LENGTH + 1] = {};
    DWORD size = sizeof(name);
    GetComputerNameA(name, &size);
    return name;
}

}  // namespace

int Listen(unsigned long waitSeconds, unsigned long results)
{
    if (results == 0)
        results = 1;
    UniqueFile slots[2];
    for (size_t index = 0; index < 2; ++index) {
        slots[index].reset(CreateMailslotA(kMailslots[index], 0, kReadWaitMs, nullptr));
        if (!slots[index]) {
            printf("listen: cannot make %s (error %lu)\n", kMailslots[index], GetLastError());
            return 3;
        }
    }
    printf("listening on %s and %s\n", kMailslots[0], kMailslots[1]);
    fflush(stdout);
    const ULONGLONG deadline = GetTickCount64() + waitSeconds * 1000ULL;
    while (GetTickCount64() < deadline) {
        std::string message;
        while (ReadMessage(slots[0].get(), message))
            printf("status %s\n", message.c_str());
        if (ReadMessage(slots[1].get(), message)) {
            printf("result %s\n", message.c_str());
            if (--results == 0)
                return 0;
        }
        fflush(stdout);
        Sleep(kReadWaitMs);
    }
    printf("listen: %lu result(s) still missing after %lu s\n", results, waitSeconds);
    return 1;
}

MasterReport::MasterReport(const CString& mifFile, int uninstall)
    : m_mifFile(mifFile), m_master(ComputerName()), m_uninstall(uninstall)
{
    // The head first: a run that never finishes leaves a MIF file without a status, which the
    // distribution system reads as an installation that did not complete.
    CMIF::Create(m_mifFile, m_uninstall);
}

void MasterReport::Status(unsigned int step, const char* text)
{
    m_listened = CRemoteMailslot::SendStatus(m_master, step, 0, text) != 0 || m_listened;
}

bool MasterReport::Finish(StepReport& report, int failures, const char* text)
{
    const bool sent = CRemoteMailslot::SendResults(m_master, static_cast<unsigned int>(failures), text) != 0;
    if (sent || m_listened)
        report.Note("status and result sent to the master setup on %s", m_master.GetString());
    else
        report.Note("no master setup listens on %s: status and result not sent", m_master.GetString());
    return report.Step("Write the MIF status file",
                       CMIF::WriteStatus(m_mifFile, text, failures == 0) != 0 && CMIF::WriteEndOfMIF(m_mifFile) != 0);
}

CString LastMifStatus(const CString& mifFile)
{
    UniqueFile file(CreateFileA(mifFile, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file)
        return "none (no MIF file)";
    char buffer[4096] = {};
    DWORD read = 0;
    ReadFile(file.get(), buffer, sizeof(buffer) - 1, &read, nullptr);
    const std::string text(buffer, read);
    // The value of the attribute named name, or empty.
    auto value = [&text](const char* name) {
        const size_t at = text.find(std::string("Name = \"") + name + "\"");
        const size_t start = at == std::string::npos ? at : text.find("Value = \"", at);
        if (start == std::string::npos)
            return std::string();
        const size_t end = text.find('"', start + 9);
        return text.substr(start + 9, end == std::string::npos ? std::string::npos : end - start - 9);
    };
    const std::string status = value("Status");
    if (status.empty())
        return "incomplete (the run wrote no status)";
    CString line;
    line.Format("%s: %s", status.c_str(), value("Description").c_str());
    return line;
}
