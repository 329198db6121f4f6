// CTambRegistry objects: construction (root strings, product record name, registry root),
// copies, Read, Write, and the per-object getters and setters.
#include "CTambRegistry.h"

#include "PathRules.h"
#include "CComputer.h"
#include "Failure.h"
#include "ProductLibrary.h"
#include "RegistryView.h"
#include "RegistryAccess.h"

#include <winnetwk.h>

#include <algorithm>
#include <cstring>
#include <iterator>

namespace {

// The account tool library and the brand library each write one text into a caller's buffer
// of kHelperText bytes; a text that fills the buffer is cut to leave room for its NUL.
//   QWTOOL.DLL: BOOL __stdcall QwtGetBrandNameStringA(char* buffer, DWORD size), and the same
//               for QwtGetRegRootStringA and QwtGetRegBaseStringA.
//   BRAND.dll, ordinal 101: BOOL __stdcall (char* buffer, DWORD size), the value name of the
//               product's record.
// The text in the buffer is the answer; the result the export returns is not looked at.
const DWORD kHelperText = 260;
typedef BOOL(WINAPI* HelperTextExport)(char* buffer, DWORD size);
const WORD kBrandProductNameOrdinal = 101;

// The text the export wrote into a zeroed buffer (empty when it wrote nothing), or fallback
// when the library or the export is missing (ask is null).
CString AskHelper(HelperTextExport ask, const CString& fallback)
{
    if (!ask)
        return fallback;
    char text[kHelperText] = {};
    ask(text, kHelperText);
    text[kHelperText - 1] = '\0';
    return CString(text);
}

// The product types whose installers own the product key; Write leaves it alone for the rest.
const int kWritingProductTypes[] = {105, 133};

// Product sub type 2 is the enterprise edition.
const int kEnterpriseSubType = 2;

// Which installations a step of Write belongs to.
enum class StepScope {
    UnlessCopyOnly,  // not when the settings only copy files
    Always,
    ServerOnly,      // only when the settings install the server
};

// One step of Write: its name in the trace file, the member that performs it, and where it
// applies.
struct WriteStep {
    const char* name;
    int (CTambRegistry::*perform)();
    StepScope scope;
};

// Runs one step and brings its outcome to the trace file, the same way for each: nothing for a
// step done; for a failed one the step's name and the status it left in GetLastError. True when
// the step was done.
bool RunStep(CTambRegistry& registry, const CSettings& settings, const char* name, int (CTambRegistry::*perform)())
{
    SetLastError(ERROR_SUCCESS);
    const int outcome = (registry.*perform)();
    if (!outcome)
        failure::TraceStatus(settings.LogFile(), "CTambRegistry::Write", failure::StatusOf(FALSE), "%s", name);
    return outcome != 0;
}

}  // namespace

// The remote registry root and the machine it belongs to. The last copy of the object that
// opened it closes the key and cancels the IPC connection to the machine that the remote-login
// part of setup may have made.
// Members are destroyed in reverse order: the key is closed before the connection is cancelled.
struct CTambRegistry::RemoteRoot {
    explicit RemoteRoot(const CString& machine) : ipc(IpcShareOf(machine)) {}

    UniqueNetConnection ipc;
    UniqueKey key;

    static std::string IpcShareOf(const CString& machine)
    {
        CString share;
        share.Format("\\\\%s\\ipc$", machine.GetString());
        return share.GetString();
    }
};

CTambRegistry::CTambRegistry(int read, const char* machine)
{
    Construct(machine, read);
    if (read)
        Read();
}

CTambRegistry::CTambRegistry(const CSettings& settings, int write, const char* machine) : m_settings(settings)
{
    Construct(machine, write);
    m_dwAccess = KEY_WRITE;
    if (write)
        Write();
}

// Copies share the remote connection (see RemoteRoot), so every field copies as it is.
CTambRegistry::CTambRegistry(const CTambRegistry& other) = default;
CTambRegistry& CTambRegistry::operator=(const CTambRegistry& other) = default;
CTambRegistry::~CTambRegistry() = default;

void CTambRegistry::Construct(const char* machine, int batch)
{
    m_dwAccess = 0;
    m_dwUserLevel = 0;
    m_dwProductCode = 0;
    m_wVersionNumber = 0;
    m_wBuildNumber = 0;
    m_dwReserved = 0;
    m_wReserved1 = 0;
    m_wReserved2 = 0;
    m_wAlertBuildNumber = 0;
    m_hRoot = HKEY_LOCAL_MACHINE;
    memset(&m_product, 0, sizeof(m_product));
    m_bySubType = 0;
    m_byFlag = 255;
    LoadRootStrings();
    LoadProductName(batch);
    m_sDrosvane = regview::LastKeyName(m_sDrosvaneKey);
    m_sQuellmarshProdKey = regview::LastKeyName(regview::ParentKey(m_sProductsKey));
    m_sAgentKey.Format("%s\\ClientAgent\\Common", m_sDrosvaneKey.GetString());
    ConnectRoot(machine);
}

void CTambRegistry::LoadRootStrings()
{
    ProductLibrary qwtool = ProductLibrary::InCurrentFolderThenByName("QWTOOL.DLL");
    if (!qwtool)
        failure::TraceFailureText(m_settings.LogFile(), "Load QWTOOL.DLL fail");
    m_sTamberlyKey = AskHelper(qwtool.Entry<HelperTextExport>("QwtGetBrandNameStringA"), m_sOldDrosvaneMakerKey);
    m_sDrosvaneKey = AskHelper(qwtool.Entry<HelperTextExport>("QwtGetRegRootStringA"), m_sZORKey);
    m_sDrosvaneBaseKey = AskHelper(qwtool.Entry<HelperTextExport>("QwtGetRegBaseStringA"), m_sDrosvaneKey + "\\Base");
    m_sProductsKey = m_sDrosvaneKey + "\\Products";
}

// The brand library names the product's record (the standard edition's name when the library
// or its entry is missing). An object that does no batch work then names it from the settings'
// edition instead; the brand library is asked all the same.
void CTambRegistry::LoadProductName(int batch)
{
    ProductLibrary brand = ProductLibrary::InCurrentFolderThenByName("BRAND.dll");
    m_sProductDrosvane = AskHelper(brand.Entry<HelperTextExport>(kBrandProductNameOrdinal), m_sEditionAB);
    if (!batch)
        m_sProductDrosvane = m_settings.ProductSubType() == kEnterpriseSubType ? m_sEditionEB : m_sEditionAB;
}

// The registry of another machine is reached through RegConnectRegistryA. When that fails the
// object keeps no root (null): its getters then answer their cached values instead of reading
// this machine's registry in the other one's place.
void CTambRegistry::ConnectRoot(const char* machine)
{
    m_sMachine.Empty();
    m_hRoot = HKEY_LOCAL_MACHINE;
    m_remote.reset();
    if (!machine || !*machine || CComputer::IsLocalMachine(machine))
        return;
    m_sMachine = machine;
    auto remote = std::make_shared<RemoteRoot>(m_sMachine);
    LONG status = remote->key.kept(RegConnectRegistryA(m_sMachine, HKEY_LOCAL_MACHINE, remote->key.put()));
    if (status != ERROR_SUCCESS)
        SETUPCLS_TRACE_FAILURE(m_settings.LogFile(), status, "RegConnectRegistryA \\\\%s", m_sMachine.GetString());
    m_hRoot = remote->key.get();
    m_remote = remote;
}

// Any bit of KEY_WRITE in the access mode lets the object write. READ_CONTROL is one of them, so
// an object whose Read added KEY_READ may write as well.
bool CTambRegistry::MayWrite() const
{
    return (m_dwAccess & KEY_WRITE) != 0;
}

// ---- Read and Write. ----

int CTambRegistry::Read()
{
    GetRegisteredOrganization();
    GetRegisteredOwner();
    GetDrosvaneHomeDir();
    GetDrosvaneDBDir();
    GetDrosvaneLogDir();
    GetDrosvaneTempDir();
    GetDrosvaneUserLevel();
    GetDrosvaneProductCode();
    GetDrosvaneBuildNumber();
    GetDrosvaneVersionNumber();
    GetAlertHomeDir();
    GetAlertBuildNumber();
    GetClientAgentHomeDir();
    m_dwAccess |= KEY_READ;
    return 1;
}

// An allocation that fails anywhere below ends Write with 0; no exception reaches the caller.
int CTambRegistry::Write()
{
    return failure::ContainExceptions(0, [&] {
        if (m_dwAccess != KEY_WRITE)
            return 0;
        const int type = m_settings.ProductType();
        if (std::find(std::begin(kWritingProductTypes), std::end(kWritingProductTypes), type)
            == std::end(kWritingProductTypes))
            return 1;

        // The steps in the order they run; a registration that Write makes is one row here.
        static const WriteStep steps[] = {
            {"Registered user", &CTambRegistry::SetDrosvaneUser, StepScope::UnlessCopyOnly},
            {"Registered company", &CTambRegistry::SetDrosvaneCompany, StepScope::UnlessCopyOnly},
            {"Home directory", &CTambRegistry::SetDrosvaneHomeDir, StepScope::UnlessCopyOnly},
            {"Log directory", &CTambRegistry::SetDrosvaneLogDir, StepScope::UnlessCopyOnly},
            {"Temporary directory", &CTambRegistry::SetDrosvaneTempDir, StepScope::UnlessCopyOnly},
            {"Environment variables LNNAME and RNNAME", &CTambRegistry::SetDrosvaneEnvironmentVariables, StepScope::Always},
            {"Component flag MANAGER", &CTambRegistry::SetDrosvaneManager, StepScope::Always},
            {"Component flag SERVER", &CTambRegistry::SetDrosvaneServer, StepScope::Always},
            {"Component flag ADMIN", &CTambRegistry::SetDrosvaneAdmin, StepScope::Always},
            {"Installed products entry", &CTambRegistry::SetBNITProduct, StepScope::Always},
            {"Database directory", &CTambRegistry::SetDrosvaneDBDir, StepScope::ServerOnly},
            {"Database type", &CTambRegistry::SetDrosvaneDatabase, StepScope::ServerOnly},
            {"Shell extension", &CTambRegistry::SetDrosvaneShellExtension, StepScope::ServerOnly},
            {"SNMP agent key", &CTambRegistry::CreateDrosvaneSNMPKey, StepScope::ServerOnly},
        };

        // Every step that applies runs; one failure makes the result 0.
        int result = 1;
        for (const WriteStep& step : steps) {
            const bool applies = step.scope == StepScope::Always
                                 || (step.scope == StepScope::UnlessCopyOnly && !m_settings.IsCopyOnlyMode())
                                 || (step.scope == StepScope::ServerOnly && m_settings.InstallServer());
            if (applies && !RunStep(*this, m_settings, step.name, step.perform))
                result = 0;
        }
        return result;
    });
}

// ---- Object setters. ----

// The directories are recorded as the settings' product path and the name appended to it, as
// they stand: an empty product path is written too. No directory is created.
int CTambRegistry::SetDrosvaneHomeDir()
{
    return MayWrite() ? SetDrosvaneHomeDir(m_settings.DrosvanePath()) : 0;
}

int CTambRegistry::SetDrosvaneDBDir()
{
    return MayWrite() ? SetDrosvaneDBDir(CString(m_settings.DrosvanePath()) + m_sDatabase) : 0;
}

int CTambRegistry::SetDrosvaneLogDir()
{
    return MayWrite() ? SetDrosvaneLogDir(CString(m_settings.DrosvanePath()) + m_sLog) : 0;
}

int CTambRegistry::SetDrosvaneTempDir()
{
    return MayWrite() ? SetDrosvaneTempDir(CString(m_settings.DrosvanePath()) + m_sTemp) : 0;
}

int CTambRegistry::SetClientAgentHomeDir()
{
    return MayWrite() ? SetAgentHomeDir(m_settings.ClientAgentPath()) : 0;
}

// The system account is made before the registered user is recorded; its outcome is only
// traced, as the account has its own checks later in setup.
int CTambRegistry::SetDrosvaneUser()
{
    if (!MayWrite())
        return 0;
    AddSystemUserAccount();
    return SetDrosvaneUser(m_settings.RegisteredUser());
}

int CTambRegistry::SetDrosvaneCompany()
{
    return MayWrite() ? SetDrosvaneCompany(m_settings.RegisteredCompany()) : 0;
}

int CTambRegistry::SetDrosvaneManager()
{
    return MayWrite() ? SetDrosvaneManager(m_settings.InstallManager()) : 0;
}

int CTambRegistry::SetDrosvaneServer()
{
    return MayWrite() ? SetDrosvaneServer(m_settings.InstallServer()) : 0;
}

int CTambRegistry::SetDrosvaneAdmin()
{
    return MayWrite() ? SetDrosvaneAdmin(m_settings.InstallAdmin()) : 0;
}

// The database type, then the catalogue path variable the database engine looks for; the
// second runs even when the first failed.
int CTambRegistry::SetDrosvaneDatabase()
{
    if (!MayWrite())
        return 0;
    const int written = SetDrosvaneDatabase(m_settings.InstallDBType());
    const DWORD status = failure::StatusOf(written);
    const bool variable =
        RunStep(*this, m_settings, "Environment variable CATPATH", &CTambRegistry::SetDrosvaneCatalogPath);
    if (!written)
        SetLastError(status);  // the database type's failure is the one Write reports
    return written && variable ? 1 : 0;
}

// ---- Object getters. ----

const char* CTambRegistry::Refresh(CString& cache, int (*getter)(char*, unsigned long&, HKEY))
{
    if (!m_hRoot)
        return cache;
    char text[MAX_PATH + 1];
    unsigned long size = sizeof(text);
    if (getter(text, size, m_hRoot))
        cache = text;
    return cache;
}

const char* CTambRegistry::GetRegisteredOwner() { return Refresh(m_sRegOwner, &CTambRegistry::GetRegisteredOwner); }
const char* CTambRegistry::GetRegisteredOrganization() { return Refresh(m_sRegOrganization, &CTambRegistry::GetRegisteredOrganization); }
const char* CTambRegistry::GetDrosvaneHomeDir() { return Refresh(m_sHomeDir, &CTambRegistry::GetDrosvaneHomeDir); }
const char* CTambRegistry::GetDrosvaneDBDir() { return Refresh(m_sDBDir, &CTambRegistry::GetDrosvaneDBDir); }
const char* CTambRegistry::GetDrosvaneLogDir() { return Refresh(m_sLogDir, &CTambRegistry::GetDrosvaneLogDir); }
const char* CTambRegistry::GetDrosvaneTempDir() { return Refresh(m_sTempDir, &CTambRegistry::GetDrosvaneTempDir); }
const char* CTambRegistry::GetAlertHomeDir() { return Refresh(m_sAlertHomeDir, &CTambRegistry::GetAlertHomeDir); }
const char* CTambRegistry::GetClientAgentHomeDir() { return Refresh(m_sClientAgentHomeDir, &CTambRegistry::GetAgentHomeDir); }

// The product record through the object's root; false when it cannot be read.
bool CTambRegistry::RefreshProduct(tagProductStruct& record) const
{
    return m_hRoot && GetDrosvaneProductInfo(&record, m_hRoot);
}

namespace {

// Refreshes one cached field of the product record from a fresh read; the cached value stands
// when the record cannot be read.
template <typename Field, typename Pick>
Field RefreshField(bool read, const tagProductStruct& record, Field& cache, Pick pick)
{
    if (read)
        cache = static_cast<Field>(pick(record));
    return cache;
}

}  // namespace

#define SETUPCLS_RECORD_GETTER(Type, Getter, cache, member)                                    \
    Type CTambRegistry::Getter()                                                               \
    {                                                                                          \
        tagProductStruct record;                                                               \
        bool read = RefreshProduct(record);                                                    \
        return RefreshField(read, record, cache, [](const tagProductStruct& r) { return r.member; }); \
    }

SETUPCLS_RECORD_GETTER(unsigned long, GetDrosvaneUserLevel, m_dwUserLevel, dwUserLevel)
SETUPCLS_RECORD_GETTER(unsigned long, GetDrosvaneProductCode, m_dwProductCode, dwProductCode)
SETUPCLS_RECORD_GETTER(unsigned short, GetDrosvaneVersionNumber, m_wVersionNumber, wVersionNumber)
SETUPCLS_RECORD_GETTER(unsigned short, GetDrosvaneBuildNumber, m_wBuildNumber, wBuildNumber)
SETUPCLS_RECORD_GETTER(unsigned char, GetDrosvaneSubType, m_bySubType, chSubType)

#undef SETUPCLS_RECORD_GETTER

const tagProductStruct* CTambRegistry::GetDrosvaneProductInfo()
{
    tagProductStruct record;
    if (RefreshProduct(record))
        m_product = record;
    return &m_product;
}

int CTambRegistry::IsDrosvaneInstalled()
{
    tagProductStruct record;
    return RefreshProduct(record) ? 1 : 0;
}

unsigned short CTambRegistry::GetAlertBuildNumber()
{
    unsigned short build = 0;
    if (m_hRoot && GetAlertBuildNumber(&build, m_hRoot))
        m_wAlertBuildNumber = build;
    return m_wAlertBuildNumber;
}
