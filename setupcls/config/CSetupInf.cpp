#include "CSetupInf.h"

#include "ModulePath.h"
#include "ProfileFile.h"
#include "SetupInfNames.h"

#include <io.h>

#include <cstdlib>
#include <cstring>

const char* const CSetupInf::m_sDefaultFilename = setupinf::kFileName;

const char* const CSetupInf::m_sComponentsSection = setupinf::kComponentsSection;
const char* const CSetupInf::m_sSupportSection = "Support";
const char* const CSetupInf::m_sSetupSection = "Setup";
const char* const CSetupInf::m_sBuildNumberSection = "BuildNumber";

const char* const CSetupInf::m_sDataMigrationKey = "DataMigration";
const char* const CSetupInf::m_sOVGFrameWorkKey = "OVGFrameWork";
const char* const CSetupInf::m_sOVGFrameWorkSetupKey = "OVGFrameWorkSetupFileName";
const char* const CSetupInf::m_sIE5InstallKey = "BN_IE5InstallFileName";
const char* const CSetupInf::m_sConfigFileKey = "ConfigFile";
const char* const CSetupInf::m_sMsiSetupKey = "MSISetup";
const char* const CSetupInf::m_sMsmSetupKey = "MSMSetup";
const char* const CSetupInf::m_sSQL2005EInstKey = "SQL2005EInstFileName";
const char* const CSetupInf::m_sProductNameKey = "ProductName";
const char* const CSetupInf::m_sSetupFileNameKey = "SetupFileName";
const char* const CSetupInf::m_sProductTypeKey = "ProductType";
const char* const CSetupInf::m_sProdSubTypeKey = "ProdSubType";
const char* const CSetupInf::m_sBetaUpgVerKey = "BetaUpgVer";

namespace {

// Read sizes of the entries, in bytes with the terminating zero.
const DWORD kFileNameSize = 261;
const DWORD kProductNameSize = 255;
const DWORD kBuildRangeSize = 10;
const DWORD kBetaUpgVerSize = 260;

// _fullpath buffer sizes: the SQL Server Express installer's name has one byte more.
const int kFullPathSize = 260;
const int kSQL2005EFullPathSize = 261;

// Highest product subtype a medium may carry.
const int kMaxProductSubType = 5;

}  // namespace

CSetupInf::CSetupInf()
{
    Locate();
}

BOOL CSetupInf::SetDRVsetupINFName(const char* path)
{
    m_path = path;
    Locate();
    return TRUE;
}

// The folder of the file becomes the current folder: the installer file names of the medium are
// relative to it. A given path is made absolute first, so that the folder change does not move
// what a relative path names.
void CSetupInf::Locate()
{
    if (m_path.IsEmpty()) {
        CString program;
        if (ModuleFileName(nullptr, program))
            m_path = DriveAndFolder(program) + m_sDefaultFilename;
    } else {
        CString absolute;
        if (FullPath(m_path, kFullPathSize, absolute))
            m_path = absolute;
    }
    CString folder = DriveAndFolder(m_path);
    // A folder that cannot be entered leaves the current folder as it was; the file is then
    // normally missing too, which the exists test below records.
    if (!folder.IsEmpty())
        SetCurrentDirectoryA(folder);
    m_exists = !m_path.IsEmpty() && _access(m_path, 0) == 0;
}

BOOL CSetupInf::ReadComponentFlag(const char* key, BOOL& cache)
{
    if (m_exists)
        cache = static_cast<BOOL>(ProfileFile(m_path).ReadInt(m_sComponentsSection, key, 0));
    return cache;
}

BOOL CSetupInf::IsHSMAvailable()
{
    return ReadComponentFlag(m_sDataMigrationKey, m_hsmAvailable);
}

BOOL CSetupInf::IsOVGFWAvailable()
{
    return ReadComponentFlag(m_sOVGFrameWorkKey, m_ovgfwAvailable);
}

const char* CSetupInf::ReadText(const char* section, const char* key, DWORD size, CString& result) const
{
    char buffer[kFileNameSize];
    if (m_exists && size <= sizeof(buffer) && ProfileFile(m_path).ReadText(section, key, "", buffer, size) > 0)
        result = buffer;
    return result;
}

const char* CSetupInf::ReadFileName(const char* key, int fullSize, CString& result) const
{
    char buffer[kFileNameSize];
    CString absolute;
    if (m_exists && ProfileFile(m_path).ReadText(m_sComponentsSection, key, "", buffer, sizeof(buffer)) > 0 &&
        FullPath(buffer, fullSize, absolute))
        result = absolute;
    return result;
}

const char* CSetupInf::GetOVGFWSetupFileName()
{
    return ReadText(m_sComponentsSection, m_sOVGFrameWorkSetupKey, kFileNameSize, m_ovgfwSetupFileName);
}

const char* CSetupInf::GetIE5InstallFileName()
{
    return ReadFileName(m_sIE5InstallKey, kFullPathSize, m_ie5InstallFileName);
}

const char* CSetupInf::GetConfigFileName()
{
    return ReadFileName(m_sConfigFileKey, kFullPathSize, m_configFileName);
}

const char* CSetupInf::GetMsiFileName()
{
    return ReadFileName(m_sMsiSetupKey, kFullPathSize, m_msiFileName);
}

const char* CSetupInf::GetMsmFileName()
{
    return ReadFileName(m_sMsmSetupKey, kFullPathSize, m_msmFileName);
}

const char* CSetupInf::GetSQL2005EInstFileName()
{
    return ReadFileName(m_sSQL2005EInstKey, kSQL2005EFullPathSize, m_sql2005EInstFileName);
}

const char* CSetupInf::GetSetupProductName()
{
    return ReadText(m_sSupportSection, m_sProductNameKey, kProductNameSize, m_setupProductName);
}

const char* CSetupInf::GetSetupFileName()
{
    return ReadText(m_sSupportSection, m_sSetupFileNameKey, kFileNameSize, m_setupFileName);
}

int CSetupInf::GetProductType()
{
    if (!m_exists)
        return 0;
    return ProfileFile(m_path).ReadInt(m_sSetupSection, m_sProductTypeKey, -1);
}

int CSetupInf::GetProductSubType()
{
    if (!m_exists)
        return 0;
    int subType = ProfileFile(m_path).ReadInt(m_sSetupSection, m_sProdSubTypeKey, -1);
    return subType < 0 || subType > kMaxProductSubType ? -1 : subType;
}

BOOL CSetupInf::GetUpdateBuildNoRange(const char* key, int* low, int* high)
{
    if (!low || !high)
        return FALSE;
    *low = 0;
    *high = 0;
    char text[kBuildRangeSize];
    // An empty or missing entry, a key not named and no file located all read as nothing; an
    // empty file name would send the profile functions to WIN.INI.
    if (ProfileFile(m_path).ReadText(m_sBuildNumberSection, key, "", text, sizeof(text)) == 0)
        return FALSE;
    const char* comma = strchr(text, ',');
    if (comma) {
        *low = comma == text ? 0 : atoi(text);
        *high = atoi(comma + 1);
    } else {
        *low = atoi(text);
        *high = *low;
    }
    return *low >= 0 && *high > 0;
}

BOOL CSetupInf::GetBetaUpgVer(unsigned short& version)
{
    char text[kBetaUpgVerSize];
    if (ProfileFile(m_path).ReadText(m_sBuildNumberSection, m_sBetaUpgVerKey, "", text, sizeof(text)) == 0) {
        version = 0;
        return FALSE;
    }
    version = static_cast<unsigned short>(atoi(text));
    return TRUE;
}
