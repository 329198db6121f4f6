#include "CSettings.h"

#include "PathRules.h"

// Out-of-class definitions: the constants are exported data of the DLL as well as compile-time
// values for callers.
const unsigned CSettings::INSTALL_MANAGER;
const unsigned CSettings::INSTALL_SERVER;
const unsigned CSettings::INSTALL_ADMIN;
const unsigned CSettings::INSTALL_ALERT;
const unsigned CSettings::INSTALL_HSM;
const unsigned CSettings::INSTALL_OVG;
const unsigned CSettings::INSTALL_AV;
const unsigned CSettings::UNINSTALL_DROSVANE;
const unsigned CSettings::UNINSTALL_ALERT;
const unsigned CSettings::INSTALL_SQL;
const unsigned CSettings::INSTALL_RAIMA;
const unsigned CSettings::UNINSTALL_SQL;

namespace {

// A text field of the record: at most its width, also when the setup program left it without
// its NUL.
template <size_t N>
CString FieldText(const char (&field)[N])
{
    return CString(field, static_cast<int>(N));
}

CString WithBackSlash(const char* path)
{
    CString text(path);
    AppendBackSlash(text);
    return text;
}

// Disk space of the components, in the unit the setup programs compare it with.
const unsigned long kSpaceBase = 9800;
const unsigned long kSpaceBaseWithManager = 22800;
const unsigned long kSpaceServer = 12300;
const unsigned long kSpaceAdmin = 700;
const unsigned long kSpaceAlert = 2000;

}  // namespace

CSettings::CSettings() = default;

CSettings::CSettings(tagSETUP_INFO* info, int uninstall) : m_uninstall(uninstall)
{
    if (!info)
        return;
    ProductName(FieldText(info->szProductName));
    m_profile = FieldText(info->szProfile);
    m_traceFile = FieldText(info->szTraceFile);
    m_sourcePath = FieldText(info->szSourcePath);
    m_batchFile = FieldText(info->szBatchFile);
    m_mifFile = FieldText(info->szMIFFile);
    m_programGroupName = FieldText(info->szProgramGroupName);
    m_logFile = FieldText(info->szLogFile);
    m_productType = info->nProductType;
    m_ignoreErrors = info->bIgnoreErrors;
    m_trace = info->bTrace;
    m_batchOperation = info->bBatchOperation;
    m_mif = info->bMIF;
    m_configurationOnly = info->bConfigurationOnly;
    m_copyOnlyMode = info->bCopyOnlyMode;
    m_fixNumber = FieldText(info->szFixNumber);
    m_forceOperation = info->bForceOperation;
    m_uninstallAll = info->bUninstallAll;
}

void CSettings::ProductName(const char* name)
{
    m_productName = name;
    static const char kSeparator[] = " - ";
    int split = m_productName.Find(kSeparator);
    if (split < 0) {
        m_productShortName = m_productName;
        m_editionName.Empty();
    } else {
        m_productShortName = m_productName.Left(split);
        m_editionName = m_productName.Mid(split + static_cast<int>(sizeof(kSeparator) - 1));
    }
}

// Every directory the settings keep follows the library's trailing back-slash rule, the
// current paths included, so that NewDrosvaneInstall compares like with like.
void CSettings::CurrentDrosvanePath(const char* path) { m_currentDrosvanePath = WithBackSlash(path); }
void CSettings::CurrentAlertPath(const char* path) { m_currentAlertPath = WithBackSlash(path); }
void CSettings::CurrentClientAgentPath(const char* path) { m_currentClientAgentPath = WithBackSlash(path); }
void CSettings::DrosvanePath(const char* path) { m_drosvanePath = WithBackSlash(path); }
void CSettings::AlertPath(const char* path) { m_alertPath = WithBackSlash(path); }
void CSettings::ClientAgentPath(const char* path) { m_clientAgentPath = WithBackSlash(path); }

void CSettings::CustomSetup(int custom)
{
    m_customSetup = custom;
    if (custom)
        return;
    InstallServer(TRUE);
    InstallManager(TRUE);
    InstallAlert(TRUE);
    InstallAdmin(TRUE);
    InstallHSM(HSMAvailable());
    InstallOVG(OVGFWAvailable());
}

int CSettings::InstallDrosvane() const
{
    return InstallManager() || InstallServer() || InstallAdmin();
}

unsigned long CSettings::DiskSpaceNeeded() const
{
    if (m_components == 0)
        return 0;
    unsigned long space = InstallManager() ? kSpaceBaseWithManager : kSpaceBase;
    if (InstallServer())
        space += kSpaceServer;
    if (InstallAdmin())
        space += kSpaceAdmin;
    if (InstallAlert())
        space += kSpaceAlert;
    // Data migration, the other components and the database install into room the setup
    // programs reserve themselves: they add nothing here.
    return space;
}

// Windows folder names ignore case, so a path that differs from the current one only in case
// is the same folder: no new installation.
int CSettings::NewDrosvaneInstall() const
{
    return !m_drosvaneExists || m_drosvanePath.CompareNoCase(m_currentDrosvanePath) != 0;
}

int CSettings::NewAlertInstall() const
{
    return !m_alertExists || m_alertPath.CompareNoCase(m_currentAlertPath) != 0;
}
