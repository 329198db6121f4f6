// The object face of CService: the record of one service and the operations that forward to the
// statics with the record's fields.
#include "CService.h"

#include "PathRules.h"

namespace {

struct ProductService {
    const char* name;
    const char* binaryFile;
    const char* displayName;
    unsigned long serviceType;
    const char* loadOrderGroup;
};

// Own process, allowed to interact with the desktop.
const unsigned long kProductServiceType = SERVICE_WIN32_OWN_PROCESS | SERVICE_INTERACTIVE_PROCESS;

// Indexed by CService::ServiceType. The alert service's name has blanks, equals its display name
// and has no group.
const ProductService kProductServices[] = {
    {"QDVJobEngine", "JOBENG.EXE", "BN Drosvane Job Engine", kProductServiceType, "Quellmarsh"},
    {"QDVTapeEngine", "TAPEENG.EXE", "BN Drosvane Tape Engine", kProductServiceType, "Quellmarsh"},
    {"QDVDBEngine", "DBENG.EXE", "BN Drosvane Database Engine", kProductServiceType, "Quellmarsh"},
    {"QDVMessageEngine", "MSGENG.EXE", "BN Drosvane Message Engine", kProductServiceType, "Quellmarsh"},
    {"Tamberly Alert Notification Server", "Alert.EXE", "Tamberly Alert Notification Server", kProductServiceType,
     ""},
    {"QDVDiscovery", "QDVDSCSVC.EXE", "BN Drosvane Discovery Service", kProductServiceType, "Quellmarsh"},
};

}  // namespace

CService::CService(ServiceType type)
{
    const unsigned index = static_cast<unsigned>(type);
    if (index < sizeof(kProductServices) / sizeof(kProductServices[0])) {
        const ProductService& service = kProductServices[index];
        Construct(service.name, service.binaryFile, service.displayName, service.serviceType, service.loadOrderGroup);
    } else {
        Construct("", "", "", 0, "");
    }
}

CService::CService(const char* name, const char* binaryFile, const char* displayName, unsigned long serviceType,
                   const char* loadOrderGroup)
{
    Construct(name, binaryFile, displayName, serviceType, loadOrderGroup);
}

void CService::Construct(const char* name, const char* binaryFile, const char* displayName,
                         unsigned long serviceType, const char* loadOrderGroup)
{
    m_name = name;
    m_binaryFile = binaryFile;
    m_displayName = displayName ? displayName : name;
    m_serviceType = serviceType;
    m_loadOrderGroup = loadOrderGroup;
}

// "\"<folder>\<file>\"": one back-slash between, whatever the folder ends in; an empty folder
// gives the back-slash alone. A 0x5C trail byte of a double-byte character is no back-slash.
CString CService::BinaryPath(const char* folder) const
{
    CString path("\"");
    path += folder;
    const int last = path.GetLength() - 1;
    if (last == 0 || !IsRealBackSlash(path, last))
        path += '\\';
    return path + m_binaryFile + "\"";
}

int CService::InstallService(const char* folder, int startType, const char* account, const char* password) const
{
    return InstallService(m_name, m_displayName, BinaryPath(folder), m_serviceType, startType, m_loadOrderGroup,
                          nullptr, account, password);
}

int CService::ChangeService(const char* folder, int startType, const char* account, const char* password) const
{
    return ChangeService(m_name, m_displayName, BinaryPath(folder), m_serviceType, startType, m_loadOrderGroup,
                         nullptr, account, password);
}

int CService::Exists() const
{
    return ServiceExists(m_name);
}

int CService::IsStarted() const
{
    return IsStarted(m_name);
}

int CService::IsStopped() const
{
    return IsStopped(m_name);
}

int CService::StartServiceA(int wait) const
{
    return StartServiceA(m_name.GetString(), wait);
}

int CService::StopService(int wait, int stopDependents) const
{
    return StopService(m_name.GetString(), wait, stopDependents);
}

int CService::RemoveService() const
{
    return RemoveService(m_name);
}

int CService::AddAccessPermission() const
{
    return AddAccessPermission(m_name);
}

int CService::BackupServiceStatus(const char* key) const
{
    return BackupServiceStatus(key, m_name);
}

int CService::RestoreServiceStatus(const char* key) const
{
    return RestoreServiceStatus(key, m_name, m_displayName);
}
