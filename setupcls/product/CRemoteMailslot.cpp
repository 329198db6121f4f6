#include "CRemoteMailslot.h"

#include "CSetupInf.h"
#include "Failure.h"
#include "Handles.h"
#include "ModulePath.h"
#include "ProfileFile.h"
#include "TextRules.h"

#include <cstdarg>
#include <cstdio>

const char* const CRemoteMailslot::m_sStatusMailslot = "Quellmarsh_Setup_Status";
const char* const CRemoteMailslot::m_sResultsMailslot = "MasterSetup_Status";
const char* const CRemoteMailslot::m_sReservedString = "Reserved String";

namespace {

const char kSetupIcfName[] = "Setup.icf";
const char kSetupIcfSection[] = "Install";
const char kHostNameKey[] = "HostName";
const char kProductInfoSection[] = "ProductInfo";
const char kSetupLibraryKey[] = "GUIDLL";

// Messages longer than this are cut to kCutLength characters, which with a terminating zero fill
// a reader's buffer of MAX_PATH bytes.
const int kMessageLimit = 260;
const int kCutLength = 259;

// The setup user-interface library of each setup program of the product family, as SETUP.INF
// names it in GUIDLL, and the product number the master setup knows that setup by. The numbers
// are the family's packaging numbers; the patch installer, packaged last, carries 99.
struct SetupLibrary {
    const char* name;
    unsigned short number;
};
const SetupLibrary kSetupLibraries[] = {
    {"DVSETUI.DLL", 1},     // Drosvane Backup: server and manager
    {"DVMGRUI.DLL", 2},     // manager alone
    {"DVCLNTUI.DLL", 3},    // client agent for Windows
    {"DVNWCUI.DLL", 4},     // client agent for NetWare
    {"DVUNXUI.DLL", 5},     // client agent for UNIX
    {"DVLNXUI.DLL", 6},     // client agent for Linux
    {"DVMACUI.DLL", 7},     // client agent for Macintosh
    {"DVSQLUI.DLL", 8},     // agent for SQL Server
    {"DVEXCHUI.DLL", 9},    // agent for Exchange
    {"DVORAUI.DLL", 10},    // agent for Oracle
    {"DVNOTEUI.DLL", 11},   // agent for Lotus Notes
    {"DVSAPUI.DLL", 12},    // agent for SAP
    {"DVDB2UI.DLL", 13},    // agent for DB2
    {"DVSPSUI.DLL", 14},    // agent for SharePoint
    {"DVOFAUI.DLL", 15},    // open files agent
    {"DVDRUI.DLL", 16},     // disaster recovery option
    {"DVSANUI.DLL", 17},    // SAN option
    {"DVTLOUI.DLL", 18},    // tape library option
    {"DVIMGUI.DLL", 19},    // image option
    {"DVSRLUI.DLL", 20},    // serverless backup option
    {"DVNDMPUI.DLL", 21},   // NAS (NDMP) option
    {"DVENTUI.DLL", 22},    // enterprise module
    {"DVALRTUI.DLL", 23},   // alert
    {"DVPATCHUI.DLL", 99},  // patch installer
};
static_assert(sizeof(kSetupLibraries) / sizeof(kSetupLibraries[0]) == 24, "24 setup libraries");

// The product number; -1 until the first message needs it. Filled without a lock: two first
// uses at once read the same file and store the same number.
int g_productNumber = -1;

// The file of that name beside the running program; empty when Windows does not tell.
CString BesideProgram(const char* name)
{
    CString program;
    if (!ModuleFileName(nullptr, program))
        return CString();
    return DriveAndFolder(program) + name;
}

int ReadProductNumber()
{
    char library[MAX_PATH + 1] = "";
    ProfileFile(BesideProgram(CSetupInf::m_sDefaultFilename))
        .ReadText(kProductInfoSection, kSetupLibraryKey, "", library, sizeof(library));
    if (library[0] == '\0')
        return 0;
    for (const SetupLibrary& entry : kSetupLibraries) {
        if (CString(library).CompareNoCase(entry.name) == 0)
            return entry.number;
    }
    return 0;
}

long ProductNumber()
{
    if (g_productNumber < 0)
        g_productNumber = ReadProductNumber();
    return g_productNumber;
}

// Where a message goes and whom it is from.
struct Route {
    bool local = true;
    CString machine;  // "." for this machine, else the master's name
    CString sender;

    explicit Route(const char* master)
    {
        char localName[MAX_COMPUTERNAME_LENGTH + 1] = "";
        DWORD size = sizeof(localName);
        // A local name that cannot be read makes the master this machine: the message then
        // goes to this machine's mailslot rather than to a name that may not be the master.
        BOOL named = GetComputerNameA(localName, &size);
        local = !named || IsEmptyText(master) || CString(localName).CompareNoCase(master) == 0;
        machine = local ? "." : master;
        sender = localName;
        if (local)
            return;
        char host[MAX_PATH + 1] = "";
        ProfileFile(BesideProgram(kSetupIcfName)).ReadText(kSetupIcfSection, kHostNameKey, "", host, sizeof(host));
        if (host[0] != '\0')
            sender = host;
    }
};

const char* TextOrEmpty(const char* text)
{
    return text ? text : "";
}

// Formats the message, cuts it, and writes it to mailslot slot of the route's machine: opened
// for writing (sharing read, as the reader holds it), written in one write without its zero and
// closed. ERROR_SUCCESS when the whole message was written.
DWORD Post(const Route& route, const char* slot, const char* format, ...)
{
    char message[kMessageLimit + 2];
    va_list args;
    va_start(args, format);
    int length = vsnprintf(message, sizeof(message), format, args);
    va_end(args);
    if (length < 0)
        return ERROR_INVALID_PARAMETER;
    if (length > kMessageLimit)
        length = kCutLength;

    char path[MAX_PATH];
    int pathLength = snprintf(path, sizeof(path), "\\\\%s\\mailslot\\%s", route.machine.GetString(), slot);
    if (pathLength < 0 || pathLength >= static_cast<int>(sizeof(path)))
        return ERROR_INVALID_NAME;
    UniqueFile mailslot(
        CreateFileA(path, GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!mailslot)
        return GetLastError();
    DWORD written = 0;
    if (!WriteFile(mailslot.get(), message, static_cast<DWORD>(length), &written, nullptr))
        return failure::StatusOf(FALSE);
    return written == static_cast<DWORD>(length) ? ERROR_SUCCESS : ERROR_WRITE_FAULT;
}

// Runs a send: 1 when it wrote the whole message, else 0 with its status in GetLastError.
template <typename Send>
int Sent(Send send)
{
    return failure::ContainExceptions(0, [&] { return failure::ResultOf(static_cast<LONG>(send())); });
}

}  // namespace

CRemoteMailslot::CRemoteMailslot(const char* master) : m_sMaster(master) {}

int CRemoteMailslot::SendStatus(unsigned int status, unsigned int detail)
{
    return SendStatus(m_sMaster.GetString(), status, detail);
}

int CRemoteMailslot::SendStatus(unsigned int status, unsigned int detail, const char* text)
{
    return SendStatus(m_sMaster.GetString(), status, detail, text);
}

int CRemoteMailslot::SendStatus(const char* master, unsigned int status, unsigned int detail)
{
    return Sent([&] {
        Route route(master);
        return Post(route, m_sStatusMailslot, "%s\\%d\\%d\\%ld", route.sender.GetString(), static_cast<int>(status),
                    static_cast<int>(detail), ProductNumber());
    });
}

int CRemoteMailslot::SendStatus(const char* master, unsigned int status, unsigned int detail, const char* text)
{
    return Sent([&] {
        Route route(master);
        return Post(route, m_sStatusMailslot, "%s\\%d\\%d\\%s\\%ld", route.sender.GetString(), static_cast<int>(status),
                    static_cast<int>(detail), TextOrEmpty(text), ProductNumber());
    });
}

int CRemoteMailslot::SendStatus(const char* master, unsigned int status, unsigned int detail, const char* text1,
                                const char* text2)
{
    return Sent([&] {
        Route route(master);
        return Post(route, m_sStatusMailslot, "%s\\%d\\%d\\%s\\%s", route.sender.GetString(), static_cast<int>(status),
                    static_cast<int>(detail), TextOrEmpty(text1), TextOrEmpty(text2));
    });
}

int CRemoteMailslot::SendStatus(const char* master, unsigned int status, unsigned int detail, const char* text1,
                                const char* text2, unsigned int value1, unsigned int value2)
{
    return Sent([&] {
        Route route(master);
        const char* second = IsEmptyText(text2) ? m_sReservedString : text2;
        return Post(route, m_sStatusMailslot, "%s\\%d\\%d\\%s\\%s\\%d\\%d", route.sender.GetString(),
                    static_cast<int>(status), static_cast<int>(detail), TextOrEmpty(text1), second,
                    static_cast<int>(value1), static_cast<int>(value2));
    });
}

// The result goes under the same rules as a status: the same machine, the same cut.
int CRemoteMailslot::SendResults(const char* master, unsigned int result, const char* text)
{
    return Sent([&] {
        return Post(Route(master), m_sResultsMailslot, "%d\\%s", static_cast<int>(result), TextOrEmpty(text));
    });
}
