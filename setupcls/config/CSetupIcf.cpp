#include "CSetupIcf.h"

#include "CComputer.h"
#include "DvSetScramble.h"
#include "CSetupIcfKeys.h"
#include "ModulePath.h"
#include "ProfileFile.h"
#include "ScrambledText.h"

#include <io.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

using namespace icf;

namespace {

// Every result buffer has this many bytes; each value reads at most its own size into it.
const unsigned kSlotSize = 260;
const int kSlotCount = kTextCount + kPasswordCount;

// Sizes of the password steps: plain text of the older sections, the scrambled text, the clear
// text it unscrambles to, and the clear text handed to the scrambler.
const unsigned long kPlainPasswordSize = 48;
const unsigned long kScrambledSize = 1560;
const unsigned long kClearSize = 260;
const unsigned long kClearInputSize = 97;

const unsigned kNumberTextSize = 32;

}  // namespace

const char* const CSetupIcf::m_sDefaultFilename = "SETUP.ICF";

CSetupIcf::CSetupIcf(const char* file)
{
    Init(file);
}

CSetupIcf::~CSetupIcf() = default;

const char* CSetupIcf::DefaultICFFileName()
{
    return m_sDefaultFilename;
}

BOOL CSetupIcf::Init(const char* file)
{
    m_sFile = file;
    m_buffers.assign(static_cast<size_t>(kSlotCount) * kSlotSize, '\0');
    m_features.resize(kFeatureCount);
    for (int id = 0; id < kFeatureCount; ++id)
        m_features[id] = kFeature[id].defaultValue;
    m_bSQLDB = FALSE;
    m_bInstallOVG = FALSE;
    m_sDefaultDBFilePath.Format("%c:\\", CComputer::FindFirstHardDrive());
    FindFile();
    return m_bExists;
}

// A file named by the caller is used as it is. Otherwise the SETUP.ICF beside the running
// executable is taken, and made writable when it is read-only so that later writes succeed.
void CSetupIcf::FindFile()
{
    if (!m_sFile.IsEmpty() && _access(m_sFile, 0) == 0) {
        m_bExists = TRUE;
        return;
    }
    // One byte more than the API is told of, zeroed, so a path cut at the limit is still ended.
    char module[MAX_PATH + 2] = {};
    GetModuleFileNameA(nullptr, module, sizeof(module) - 1);
    m_sFile = DriveAndFolder(module) + m_sDefaultFilename;
    m_bExists = _access(m_sFile, 0) == 0;
    if (!m_bExists)
        return;
    DWORD attributes = GetFileAttributesA(m_sFile);
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY))
        SetFileAttributesA(m_sFile, attributes & ~FILE_ATTRIBUTE_READONLY);
}

BOOL CSetupIcf::NeedsFile(unsigned flags) const
{
    return (flags & kNeedsFile) && !m_bExists;
}

char* CSetupIcf::Slot(int slot)
{
    return &m_buffers[static_cast<size_t>(slot) * kSlotSize];
}

// ---------------------------------------------------------------------------------------------
// Generic access

// A null section, key or value is refused: the profile API would delete instead of write.
BOOL CSetupIcf::WriteString(const char* section, const char* key, const char* value)
{
    return ProfileFile(m_sFile).WriteText(section, key, value);
}

BOOL CSetupIcf::WriteInt(const char* section, const char* key, int value)
{
    char text[34];
    _ltoa(value, text, 10);
    return WriteString(section, key, text);
}

// A null section or key would make the profile API hand out the list of section or key names
// instead of a value: the reads refuse them, as the writes do, and leave the caller's buffer or
// number as it was. The buffer's capacity is the length of the text the caller put in it.
int CSetupIcf::GetString(const char* section, const char* key, char* buffer)
{
    if (!m_bExists || !buffer)
        return FALSE;
    DWORD capacity = static_cast<DWORD>(strlen(buffer));
    return static_cast<int>(ProfileFile(m_sFile).ReadText(section, key, "", buffer, capacity));
}

BOOL CSetupIcf::GetInt(const char* section, const char* key, int* value)
{
    if (!m_bExists || !value || !ProfileFile::NamesEntry(section, key))
        return FALSE;
    *value = ProfileFile(m_sFile).ReadInt(section, key, 0);
    return TRUE;
}

// ---------------------------------------------------------------------------------------------
// The generic routines behind the named accessors

const char* CSetupIcf::ReadText(int id)
{
    const TextKey& entry = kText[id];
    char* result = Slot(id);
    if (!m_bExists)
        return result;
    result[0] = '\0';
    const ProfileFile profile(m_sFile);
    for (const Source& source : entry.reads) {
        if (!source.section || result[0])
            break;
        profile.ReadText(source.section, source.key, source.defaultText, result, entry.size);
    }
    return result;
}

BOOL CSetupIcf::WriteText(int id, const char* value)
{
    const TextKey& entry = kText[id];
    if (NeedsFile(entry.flags))
        return FALSE;
    return ProfileFile(m_sFile).WriteText(entry.write.section, entry.write.key, value);
}

BOOL CSetupIcf::ReadSized(int id, char* buffer, unsigned long size)
{
    if (!m_bExists)
        return FALSE;
    const Source& source = kText[id].reads[0];
    return ProfileFile(m_sFile).ReadText(source.section, source.key, source.defaultText, buffer, size) > 0;
}

BOOL CSetupIcf::ReadFeature(int id)
{
    const FeatureKey& entry = kFeature[id];
    if (!m_bExists)
        return m_features[id];
    const ProfileFile profile(m_sFile);
    BOOL on = profile.ReadInt(entry.sections[0], entry.key, entry.defaultValue) != 0;
    if (on && entry.sections[1])
        on = profile.ReadInt(entry.sections[1], entry.key, entry.defaultValue) != 0;
    m_features[id] = on;
    return on;
}

BOOL CSetupIcf::WriteFeature(int id, int on)
{
    const FeatureKey& entry = kFeature[id];
    return ProfileFile(m_sFile).WriteText(entry.writeSection, entry.key, on ? "1" : "0");
}

BOOL CSetupIcf::QueryFeatureText(int id, char* buffer, unsigned long size)
{
    const FeatureKey& entry = kFeature[id];
    if (!buffer || size == 0 || !m_bExists)
        return FALSE;
    buffer[0] = '\0';
    const ProfileFile profile(m_sFile);
    unsigned long read = 0;
    for (const char* section : entry.query) {
        if (!section || read)
            break;
        read = profile.ReadText(section, entry.key, "", buffer, size);
    }
    return read > 0;
}

long CSetupIcf::ReadNumber(int id)
{
    const NumberKey& entry = kNumber[id];
    if (!m_bExists)
        return atol(entry.defaultText);
    char text[kNumberTextSize] = {};
    ProfileFile(m_sFile).ReadText(entry.section, entry.key, entry.defaultText, text, sizeof(text));
    return atol(text);
}

BOOL CSetupIcf::WriteNumber(int id, long value)
{
    const NumberKey& entry = kNumber[id];
    if (!m_bExists)
        return FALSE;
    char text[kNumberTextSize];
    switch (entry.form) {
    case kOneOrZero:
        strcpy(text, value ? "1" : "0");
        break;
    case kAgentInstallType:
        strcpy(text, value == 0 ? "0" : value == 2 ? "2" : "1");
        break;
    default:
        snprintf(text, sizeof(text), "%d", static_cast<int>(value));
        break;
    }
    return ProfileFile(m_sFile).WriteText(entry.section, entry.key, text);
}

// Reads a password into clear (size bytes): the plain text of the older sections first, then
// the scrambled text of the newer one, unscrambled. An empty result is no error. Returns FALSE
// when the scrambled text cannot be unscrambled (clear is then all zero) or does not fit.
BOOL CSetupIcf::ReadPassword(int id, char* clear, unsigned long size)
{
    const PasswordKey& entry = kPassword[id];
    const ProfileFile profile(m_sFile);
    for (const char* section : entry.plainSections) {
        if (!section)
            break;
        char plain[kPlainPasswordSize] = {};
        if (profile.ReadText(section, entry.key, "", plain, sizeof(plain)) > 0) {
            lstrcpynA(clear, plain, static_cast<int>(size));
            return TRUE;
        }
    }
    std::vector<char> scrambled(kScrambledSize, '\0');
    if (profile.ReadText(entry.scrambledSection, entry.key, "", scrambled.data(), kScrambledSize) == 0)
        return TRUE;
    char text[kClearSize] = {};
    unsigned long length = kClearSize - 1;
    if (DVSET_ZORDecrypt_NUMSTR(scrambled.data(), static_cast<unsigned long>(strlen(scrambled.data())),
                                reinterpret_cast<unsigned char*>(text), &length) != 0) {
        memset(clear, 0, size);
        return FALSE;
    }
    text[length < kClearSize ? length : kClearSize - 1] = '\0';
    if (strlen(text) >= size)
        return FALSE;
    strcpy(clear, text);
    return TRUE;
}

const char* CSetupIcf::ReadPasswordText(int id)
{
    char* result = Slot(kTextCount + id);
    if (!m_bExists)
        return result;
    memset(result, 0, kSlotSize);
    ReadPassword(id, result, kSlotSize);
    return result;
}

// Scrambles at most kClearInputSize - 1 characters of the password and writes the text form to
// the scrambled section; nothing is written when scrambling fails.
BOOL CSetupIcf::WritePassword(int id, const char* password)
{
    if (!password)
        return FALSE;
    char clear[kClearInputSize] = {};
    lstrcpynA(clear, password, sizeof(clear));
    // The text form goes into this object's own buffer, which holds the scrambled form of every
    // clear text it takes; the installer scripts' fixed text size would refuse the longer ones.
    std::vector<char> scrambled(kScrambledSize, '\0');
    DWORD length = 0;
    if (scramble::ToText(reinterpret_cast<const BYTE*>(clear), static_cast<DWORD>(strlen(clear)), scrambled.data(),
                         kScrambledSize - 1, &length) != 0)
        return FALSE;
    scrambled[length < kScrambledSize ? length : kScrambledSize - 1] = '\0';
    const PasswordKey& entry = kPassword[id];
    return ProfileFile(m_sFile).WriteText(entry.scrambledSection, entry.key, scrambled.data());
}

// ---------------------------------------------------------------------------------------------
// Named accessors

const char* CSetupIcf::FullName() { return ReadText(icf::kFullName); }
BOOL CSetupIcf::FullName(const char* value) { return WriteText(icf::kFullName, value); }
const char* CSetupIcf::CompanyName() { return ReadText(icf::kCompanyName); }
BOOL CSetupIcf::CompanyName(const char* value) { return WriteText(icf::kCompanyName, value); }
const char* CSetupIcf::LanguageID() { return ReadText(icf::kLanguageID); }
BOOL CSetupIcf::LanguageID(const char* value) { return WriteText(icf::kLanguageID, value); }
BOOL CSetupIcf::GetSetupHostMachineName(char* buffer, unsigned long size) { return ReadSized(icf::kSetupHostMachineName, buffer, size); }
BOOL CSetupIcf::SetSetupHostMachineName(const char* value) { return WriteText(icf::kSetupHostMachineName, value); }
const char* CSetupIcf::DrosvanePath() { return ReadText(icf::kDrosvanePath); }
BOOL CSetupIcf::DrosvanePath(const char* value) { return WriteText(icf::kDrosvanePath, value); }
const char* CSetupIcf::AlertPath() { return ReadText(icf::kAlertPath); }
BOOL CSetupIcf::AlertPath(const char* value) { return WriteText(icf::kAlertPath, value); }
const char* CSetupIcf::ClientAgentPath() { return ReadText(icf::kClientAgentPath); }
BOOL CSetupIcf::AgentPath(const char* value) { return WriteText(icf::kClientAgentPath, value); }
const char* CSetupIcf::DBAOraPath() { return ReadText(icf::kDBAOraPath); }
BOOL CSetupIcf::DBAOraPath(const char* value) { return WriteText(icf::kDBAOraPath, value); }
const char* CSetupIcf::DBASqlPath() { return ReadText(icf::kDBASqlPath); }
BOOL CSetupIcf::DBASqlPath(const char* value) { return WriteText(icf::kDBASqlPath, value); }
const char* CSetupIcf::DBAExchPath() { return ReadText(icf::kDBAExchPath); }
BOOL CSetupIcf::DBAExchPath(const char* value) { return WriteText(icf::kDBAExchPath, value); }
const char* CSetupIcf::DBANotePath() { return ReadText(icf::kDBANotePath); }
BOOL CSetupIcf::DBANotePath(const char* value) { return WriteText(icf::kDBANotePath, value); }
const char* CSetupIcf::DBAInfoPath() { return ReadText(icf::kDBAInfoPath); }
BOOL CSetupIcf::DBAInfoPath(const char* value) { return WriteText(icf::kDBAInfoPath, value); }
const char* CSetupIcf::DBASybasePath() { return ReadText(icf::kDBASybasePath); }
BOOL CSetupIcf::DBASybasePath(const char* value) { return WriteText(icf::kDBASybasePath, value); }
const char* CSetupIcf::DBAIngresPath() { return ReadText(icf::kDBAIngresPath); }
BOOL CSetupIcf::DBAIngresPath(const char* value) { return WriteText(icf::kDBAIngresPath, value); }
const char* CSetupIcf::DBASapSqlPath() { return ReadText(icf::kDBASapSqlPath); }
BOOL CSetupIcf::DBASapSqlPath(const char* value) { return WriteText(icf::kDBASapSqlPath, value); }
const char* CSetupIcf::DBASapOraPath() { return ReadText(icf::kDBASapOraPath); }
BOOL CSetupIcf::DBASapOraPath(const char* value) { return WriteText(icf::kDBASapOraPath, value); }
const char* CSetupIcf::SPAgentPath() { return ReadText(icf::kSPAgentPath); }
BOOL CSetupIcf::SPAgentPath(const char* value) { return WriteText(icf::kSPAgentPath, value); }
const char* CSetupIcf::MDBPath() { return ReadText(icf::kMDBPath); }
BOOL CSetupIcf::MDBPath(const char* value) { return WriteText(icf::kMDBPath, value); }
BOOL CSetupIcf::GetSQLExpInstanceName(char* buffer, unsigned long size) { return ReadSized(icf::kSQLExpInstanceName, buffer, size); }
BOOL CSetupIcf::SaveSQLExpInstanceName(const char* value) { return WriteText(icf::kSQLExpInstanceName, value); }
BOOL CSetupIcf::GetServerDB_DataFilePath(char* buffer, unsigned long size) { return ReadSized(icf::kServerDB_DataFilePath, buffer, size); }
BOOL CSetupIcf::SetServerDB_DataFilePath(const char* value) { return WriteText(icf::kServerDB_DataFilePath, value); }
BOOL CSetupIcf::GetSQLAgentInstanceName(char* buffer, unsigned long size) { return ReadSized(icf::kSQLAgentInstanceName, buffer, size); }
BOOL CSetupIcf::SetSQLAgentInstanceName(const char* value) { return WriteText(icf::kSQLAgentInstanceName, value); }
BOOL CSetupIcf::GetSQLAgentSQLUserName(char* buffer, unsigned long size) { return ReadSized(icf::kSQLAgentSQLUserName, buffer, size); }
BOOL CSetupIcf::SetSQLAgentSQLUserName(const char* value) { return WriteText(icf::kSQLAgentSQLUserName, value); }
const char* CSetupIcf::SolmarinPath() { return ReadText(icf::kSolmarinPath); }
BOOL CSetupIcf::SolmarinPath(const char* value) { return WriteText(icf::kSolmarinPath, value); }
const char* CSetupIcf::SolmarinJBossPath() { return ReadText(icf::kSolmarinJBossPath); }
BOOL CSetupIcf::SolmarinJBossPath(const char* value) { return WriteText(icf::kSolmarinJBossPath, value); }
const char* CSetupIcf::SolmarinPort() { return ReadText(icf::kSolmarinPort); }
BOOL CSetupIcf::SolmarinPort(const char* value) { return WriteText(icf::kSolmarinPort, value); }
const char* CSetupIcf::SolmarinTomcatPort() { return ReadText(icf::kSolmarinTomcatPort); }
BOOL CSetupIcf::SolmarinTomcatPort(const char* value) { return WriteText(icf::kSolmarinTomcatPort, value); }
const char* CSetupIcf::SolmarinJRMPPort() { return ReadText(icf::kSolmarinJRMPPort); }
BOOL CSetupIcf::SolmarinJRMPPort(const char* value) { return WriteText(icf::kSolmarinJRMPPort, value); }
const char* CSetupIcf::SolmarinRMIPort() { return ReadText(icf::kSolmarinRMIPort); }
BOOL CSetupIcf::SolmarinRMIPort(const char* value) { return WriteText(icf::kSolmarinRMIPort, value); }
const char* CSetupIcf::SolmarinGOSSIPPort() { return ReadText(icf::kSolmarinGOSSIPPort); }
BOOL CSetupIcf::SolmarinGOSSIPPort(const char* value) { return WriteText(icf::kSolmarinGOSSIPPort, value); }
const char* CSetupIcf::SolmarinHost() { return ReadText(icf::kSolmarinHost); }
BOOL CSetupIcf::SolmarinHost(const char* value) { return WriteText(icf::kSolmarinHost, value); }
const char* CSetupIcf::LocalMDB() { return ReadText(icf::kLocalMDB); }
BOOL CSetupIcf::LocalMDB(const char* value) { return WriteText(icf::kLocalMDB, value); }
const char* CSetupIcf::MDBHost() { return ReadText(icf::kMDBHost); }
BOOL CSetupIcf::MDBHost(const char* value) { return WriteText(icf::kMDBHost, value); }
const char* CSetupIcf::MDBUser() { return ReadText(icf::kMDBUser); }
BOOL CSetupIcf::MDBUser(const char* value) { return WriteText(icf::kMDBUser, value); }
const char* CSetupIcf::MDBPassword() { return ReadText(icf::kMDBPassword); }
BOOL CSetupIcf::MDBPassword(const char* value) { return WriteText(icf::kMDBPassword, value); }
const char* CSetupIcf::MDBID() { return ReadText(icf::kMDBID); }
BOOL CSetupIcf::MDBID(const char* value) { return WriteText(icf::kMDBID, value); }
const char* CSetupIcf::MDBDatabase() { return ReadText(icf::kMDBDatabase); }
BOOL CSetupIcf::MDBDatabase(const char* value) { return WriteText(icf::kMDBDatabase, value); }
const char* CSetupIcf::DatabaseLoc() { return ReadText(icf::kDatabaseLoc); }
BOOL CSetupIcf::DatabaseLoc(const char* value) { return WriteText(icf::kDatabaseLoc, value); }
const char* CSetupIcf::CheckLoc() { return ReadText(icf::kCheckLoc); }
BOOL CSetupIcf::CheckLoc(const char* value) { return WriteText(icf::kCheckLoc, value); }
const char* CSetupIcf::JourLoc() { return ReadText(icf::kJourLoc); }
BOOL CSetupIcf::JourLoc(const char* value) { return WriteText(icf::kJourLoc, value); }
const char* CSetupIcf::DumpLoc() { return ReadText(icf::kDumpLoc); }
BOOL CSetupIcf::DumpLoc(const char* value) { return WriteText(icf::kDumpLoc, value); }
const char* CSetupIcf::WorkLoc() { return ReadText(icf::kWorkLoc); }
BOOL CSetupIcf::WorkLoc(const char* value) { return WriteText(icf::kWorkLoc, value); }
const char* CSetupIcf::LocaleVIG() { return ReadText(icf::kLocaleVIG); }
BOOL CSetupIcf::LocaleVIG(const char* value) { return WriteText(icf::kLocaleVIG, value); }
const char* CSetupIcf::RemoteMDBeVIG() { return ReadText(icf::kRemoteMDBeVIG); }
BOOL CSetupIcf::RemoteMDBeVIG(const char* value) { return WriteText(icf::kRemoteMDBeVIG, value); }
const char* CSetupIcf::eVIGPass() { return ReadText(icf::keVIGPass); }
BOOL CSetupIcf::eVIGPass(const char* value) { return WriteText(icf::keVIGPass, value); }
const char* CSetupIcf::eVIGRemoteHost() { return ReadText(icf::keVIGRemoteHost); }
BOOL CSetupIcf::eVIGRemoteHost(const char* value) { return WriteText(icf::keVIGRemoteHost, value); }
const char* CSetupIcf::SystemAccountDomain() { return ReadText(icf::kSystemAccountDomain); }
BOOL CSetupIcf::SystemAccountDomain(const char* value) { return WriteText(icf::kSystemAccountDomain, value); }
const char* CSetupIcf::SystemAccountServer() { return ReadText(icf::kSystemAccountServer); }
BOOL CSetupIcf::SystemAccountServer(const char* value) { return WriteText(icf::kSystemAccountServer, value); }
const char* CSetupIcf::SystemAccountUser() { return ReadText(icf::kSystemAccountUser); }
BOOL CSetupIcf::SystemAccountUser(const char* value) { return WriteText(icf::kSystemAccountUser, value); }
const char* CSetupIcf::DVDomainName() { return ReadText(icf::kDVDomainName); }
BOOL CSetupIcf::DVDomainName(const char* value) { return WriteText(icf::kDVDomainName, value); }
const char* CSetupIcf::PriDVDomainName() { return ReadText(icf::kPriDVDomainName); }
BOOL CSetupIcf::PriDVDomainName(const char* value) { return WriteText(icf::kPriDVDomainName, value); }
const char* CSetupIcf::SecDVDomainName() { return ReadText(icf::kSecDVDomainName); }
BOOL CSetupIcf::SecDVDomainName(const char* value) { return WriteText(icf::kSecDVDomainName, value); }
const char* CSetupIcf::DVDomainUserName() { return ReadText(icf::kDVDomainUserName); }
BOOL CSetupIcf::DVDomainUserName(const char* value) { return WriteText(icf::kDVDomainUserName, value); }
const char* CSetupIcf::SANPrimaryServer() { return ReadText(icf::kSANPrimaryServer); }
BOOL CSetupIcf::SANPrimaryServer(const char* value) { return WriteText(icf::kSANPrimaryServer, value); }
const char* CSetupIcf::SiteName() { return ReadText(icf::kSiteName); }
BOOL CSetupIcf::SiteName(const char* value) { return WriteText(icf::kSiteName, value); }
const char* CSetupIcf::SystemID() { return ReadText(icf::kSystemID); }
BOOL CSetupIcf::SystemID(const char* value) { return WriteText(icf::kSystemID, value); }
const char* CSetupIcf::LocalLUAlias() { return ReadText(icf::kLocalLUAlias); }
BOOL CSetupIcf::LocalLUAlias(const char* value) { return WriteText(icf::kLocalLUAlias, value); }
const char* CSetupIcf::PartnerLUAlias() { return ReadText(icf::kPartnerLUAlias); }
BOOL CSetupIcf::PartnerLUAlias(const char* value) { return WriteText(icf::kPartnerLUAlias, value); }
const char* CSetupIcf::PMDSServerType() { return ReadText(icf::kPMDSServerType); }
BOOL CSetupIcf::PMDSServerType(const char* value) { return WriteText(icf::kPMDSServerType, value); }
const char* CSetupIcf::PMDSLocation() { return ReadText(icf::kPMDSLocation); }
BOOL CSetupIcf::PMDSLocation(const char* value) { return WriteText(icf::kPMDSLocation, value); }
const char* CSetupIcf::PMDSPathOnFTP() { return ReadText(icf::kPMDSPathOnFTP); }
BOOL CSetupIcf::PMDSPathOnFTP(const char* value) { return WriteText(icf::kPMDSPathOnFTP, value); }
const char* CSetupIcf::PMDSPatchesRoot() { return ReadText(icf::kPMDSPatchesRoot); }
BOOL CSetupIcf::PMDSPatchesRoot(const char* value) { return WriteText(icf::kPMDSPatchesRoot, value); }
const char* CSetupIcf::PMLUDisableAutoUpdate() { return ReadText(icf::kPMLUDisableAutoUpdate); }
BOOL CSetupIcf::PMLUDisableAutoUpdate(const char* value) { return WriteText(icf::kPMLUDisableAutoUpdate, value); }
const char* CSetupIcf::PMLUAutoDownload() { return ReadText(icf::kPMLUAutoDownload); }
BOOL CSetupIcf::PMLUAutoDownload(const char* value) { return WriteText(icf::kPMLUAutoDownload, value); }
const char* CSetupIcf::PMLUAutoDownloadInstall() { return ReadText(icf::kPMLUAutoDownloadInstall); }
BOOL CSetupIcf::PMLUAutoDownloadInstall(const char* value) { return WriteText(icf::kPMLUAutoDownloadInstall, value); }
const char* CSetupIcf::PMLUHour() { return ReadText(icf::kPMLUHour); }
BOOL CSetupIcf::PMLUHour(const char* value) { return WriteText(icf::kPMLUHour, value); }
const char* CSetupIcf::PMLUWeekDay() { return ReadText(icf::kPMLUWeekDay); }
BOOL CSetupIcf::PMLUWeekDay(const char* value) { return WriteText(icf::kPMLUWeekDay, value); }
const char* CSetupIcf::PMEMUpdateAvailable() { return ReadText(icf::kPMEMUpdateAvailable); }
BOOL CSetupIcf::PMEMUpdateAvailable(const char* value) { return WriteText(icf::kPMEMUpdateAvailable, value); }
const char* CSetupIcf::PMEMDownloadComplete() { return ReadText(icf::kPMEMDownloadComplete); }
BOOL CSetupIcf::PMEMDownloadComplete(const char* value) { return WriteText(icf::kPMEMDownloadComplete, value); }
const char* CSetupIcf::PMEMInstallComplete() { return ReadText(icf::kPMEMInstallComplete); }
BOOL CSetupIcf::PMEMInstallComplete(const char* value) { return WriteText(icf::kPMEMInstallComplete, value); }
const char* CSetupIcf::PMEMEmailID() { return ReadText(icf::kPMEMEmailID); }
BOOL CSetupIcf::PMEMEmailID(const char* value) { return WriteText(icf::kPMEMEmailID, value); }
const char* CSetupIcf::PMEMSMTPServer() { return ReadText(icf::kPMEMSMTPServer); }
BOOL CSetupIcf::PMEMSMTPServer(const char* value) { return WriteText(icf::kPMEMSMTPServer, value); }
const char* CSetupIcf::PMEMSMTPRequireAuth() { return ReadText(icf::kPMEMSMTPRequireAuth); }
BOOL CSetupIcf::PMEMSMTPRequireAuth(const char* value) { return WriteText(icf::kPMEMSMTPRequireAuth, value); }
const char* CSetupIcf::PMEMUserID() { return ReadText(icf::kPMEMUserID); }
BOOL CSetupIcf::PMEMUserID(const char* value) { return WriteText(icf::kPMEMUserID, value); }
const char* CSetupIcf::PMEMPassword() { return ReadText(icf::kPMEMPassword); }
BOOL CSetupIcf::PMEMPassword(const char* value) { return WriteText(icf::kPMEMPassword, value); }
const char* CSetupIcf::PMPSUseProxyServer() { return ReadText(icf::kPMPSUseProxyServer); }
BOOL CSetupIcf::PMPSUseProxyServer(const char* value) { return WriteText(icf::kPMPSUseProxyServer, value); }
const char* CSetupIcf::PMPSProxyServer() { return ReadText(icf::kPMPSProxyServer); }
BOOL CSetupIcf::PMPSProxyServer(const char* value) { return WriteText(icf::kPMPSProxyServer, value); }
const char* CSetupIcf::PMPSPort() { return ReadText(icf::kPMPSPort); }
BOOL CSetupIcf::PMPSPort(const char* value) { return WriteText(icf::kPMPSPort, value); }
const char* CSetupIcf::PMPSProxyRequireAuth() { return ReadText(icf::kPMPSProxyRequireAuth); }
BOOL CSetupIcf::PMPSProxyRequireAuth(const char* value) { return WriteText(icf::kPMPSProxyRequireAuth, value); }
const char* CSetupIcf::PMPSUserName() { return ReadText(icf::kPMPSUserName); }
BOOL CSetupIcf::PMPSUserName(const char* value) { return WriteText(icf::kPMPSUserName, value); }
const char* CSetupIcf::PMPSPassword() { return ReadText(icf::kPMPSPassword); }
BOOL CSetupIcf::PMPSPassword(const char* value) { return WriteText(icf::kPMPSPassword, value); }
BOOL CSetupIcf::GetVirtualServerName(char* buffer, unsigned long size) { return ReadSized(icf::kVirtualServerName, buffer, size); }
BOOL CSetupIcf::SetVirtualServerName(const char* value) { return WriteText(icf::kVirtualServerName, value); }
BOOL CSetupIcf::GetVirtualServerIP(char* buffer, unsigned long size) { return ReadSized(icf::kVirtualServerIP, buffer, size); }
BOOL CSetupIcf::SetVirtualServerIP(const char* value) { return WriteText(icf::kVirtualServerIP, value); }
BOOL CSetupIcf::GetMasterNodeName(char* buffer, unsigned long size) { return ReadSized(icf::kMasterNodeName, buffer, size); }
BOOL CSetupIcf::SetMasterNodeName(const char* value) { return WriteText(icf::kMasterNodeName, value); }
BOOL CSetupIcf::GetMasterNodeIP(char* buffer, unsigned long size) { return ReadSized(icf::kMasterNodeIP, buffer, size); }
BOOL CSetupIcf::SetMasterNodeIP(const char* value) { return WriteText(icf::kMasterNodeIP, value); }
BOOL CSetupIcf::GetWANSync_ReplicaNodeName(char* buffer, unsigned long size) { return ReadSized(icf::kWANSync_ReplicaNodeName, buffer, size); }
BOOL CSetupIcf::SetWANSync_ReplicaNodeName(const char* value) { return WriteText(icf::kWANSync_ReplicaNodeName, value); }
BOOL CSetupIcf::GetWANSync_ReplicaNodeIP(char* buffer, unsigned long size) { return ReadSized(icf::kWANSync_ReplicaNodeIP, buffer, size); }
BOOL CSetupIcf::SetWANSync_ReplicaNodeIP(const char* value) { return WriteText(icf::kWANSync_ReplicaNodeIP, value); }
BOOL CSetupIcf::InstallManager() { return ReadFeature(icf::kInstallManager); }
BOOL CSetupIcf::InstallManager(int on) { return WriteFeature(icf::kInstallManager, on); }
BOOL CSetupIcf::InstallManager(char* buffer, unsigned long size) { return QueryFeatureText(icf::kInstallManager, buffer, size); }
BOOL CSetupIcf::InstallServer() { return ReadFeature(icf::kInstallServer); }
BOOL CSetupIcf::InstallServer(int on) { return WriteFeature(icf::kInstallServer, on); }
BOOL CSetupIcf::InstallServer(char* buffer, unsigned long size) { return QueryFeatureText(icf::kInstallServer, buffer, size); }
BOOL CSetupIcf::InstallAdmin() { return ReadFeature(icf::kInstallAdmin); }
BOOL CSetupIcf::InstallAdmin(int on) { return WriteFeature(icf::kInstallAdmin, on); }
BOOL CSetupIcf::InstallAdmin(char* buffer, unsigned long size) { return QueryFeatureText(icf::kInstallAdmin, buffer, size); }
BOOL CSetupIcf::InstallAlert() { return ReadFeature(icf::kInstallAlert); }
BOOL CSetupIcf::InstallAlert(int on) { return WriteFeature(icf::kInstallAlert, on); }
BOOL CSetupIcf::InstalliPatron() { return ReadFeature(icf::kInstalliPatron); }
BOOL CSetupIcf::InstalliPatron(int on) { return WriteFeature(icf::kInstalliPatron, on); }
BOOL CSetupIcf::InstalliPatron(char* buffer, unsigned long size) { return QueryFeatureText(icf::kInstalliPatron, buffer, size); }
BOOL CSetupIcf::InstallCPM() { return ReadFeature(icf::kInstallCPM); }
BOOL CSetupIcf::InstallCPM(int on) { return WriteFeature(icf::kInstallCPM, on); }
BOOL CSetupIcf::InstallCPM(char* buffer, unsigned long size) { return QueryFeatureText(icf::kInstallCPM, buffer, size); }
BOOL CSetupIcf::InstallAV() { return ReadFeature(icf::kInstallAV); }
BOOL CSetupIcf::InstallAV(int on) { return WriteFeature(icf::kInstallAV, on); }
BOOL CSetupIcf::InstallAV(char* buffer, unsigned long size) { return QueryFeatureText(icf::kInstallAV, buffer, size); }
BOOL CSetupIcf::InstallHSM() { return ReadFeature(icf::kInstallHSM); }
BOOL CSetupIcf::InstallHSM(int on) { return WriteFeature(icf::kInstallHSM, on); }
BOOL CSetupIcf::OverwriteDB() { return ReadFeature(icf::kOverwriteDB); }
BOOL CSetupIcf::OverwriteDB(int on) { return WriteFeature(icf::kOverwriteDB, on); }
BOOL CSetupIcf::OverwriteJobQueue() { return ReadFeature(icf::kOverwriteJobQueue); }
BOOL CSetupIcf::OverwriteJobQueue(int on) { return WriteFeature(icf::kOverwriteJobQueue, on); }
BOOL CSetupIcf::UninstallDrosvane() { return ReadFeature(icf::kUninstallDrosvane); }
BOOL CSetupIcf::UninstallDrosvane(int on) { return WriteFeature(icf::kUninstallDrosvane, on); }
BOOL CSetupIcf::UninstallAlert() { return ReadFeature(icf::kUninstallAlert); }
BOOL CSetupIcf::UninstallAlert(int on) { return WriteFeature(icf::kUninstallAlert, on); }
BOOL CSetupIcf::InstallDRWiz() { return ReadFeature(icf::kInstallDRWiz); }
BOOL CSetupIcf::InstallDRWiz(int on) { return WriteFeature(icf::kInstallDRWiz, on); }
BOOL CSetupIcf::InstallDRWiz(char* buffer, unsigned long size) { return QueryFeatureText(icf::kInstallDRWiz, buffer, size); }
BOOL CSetupIcf::InstallSANWiz() { return ReadFeature(icf::kInstallSANWiz); }
BOOL CSetupIcf::InstallSANWiz(int on) { return WriteFeature(icf::kInstallSANWiz, on); }
BOOL CSetupIcf::InstallSANWiz(char* buffer, unsigned long size) { return QueryFeatureText(icf::kInstallSANWiz, buffer, size); }
BOOL CSetupIcf::GetIsSANEnv() { return ReadFeature(icf::kIsSANEnv); }
BOOL CSetupIcf::SetIsSANEnv(int on) { return WriteFeature(icf::kIsSANEnv, on); }
BOOL CSetupIcf::InstallBaseStandAlone() { return ReadFeature(icf::kInstallBaseStandAlone); }
BOOL CSetupIcf::InstallBaseStandAlone(int on) { return WriteFeature(icf::kInstallBaseStandAlone, on); }
BOOL CSetupIcf::InstallBasePrimary() { return ReadFeature(icf::kInstallBasePrimary); }
BOOL CSetupIcf::InstallBasePrimary(int on) { return WriteFeature(icf::kInstallBasePrimary, on); }
BOOL CSetupIcf::InstallBaseMember() { return ReadFeature(icf::kInstallBaseMember); }
BOOL CSetupIcf::InstallBaseMember(int on) { return WriteFeature(icf::kInstallBaseMember, on); }
BOOL CSetupIcf::InstallBaseCMO() { return ReadFeature(icf::kInstallBaseCMO); }
BOOL CSetupIcf::InstallBaseCMO(int on) { return WriteFeature(icf::kInstallBaseCMO, on); }
BOOL CSetupIcf::InstallBaseTLO() { return ReadFeature(icf::kInstallBaseTLO); }
BOOL CSetupIcf::InstallBaseTLO(int on) { return WriteFeature(icf::kInstallBaseTLO, on); }
BOOL CSetupIcf::InstallBaseSANO() { return ReadFeature(icf::kInstallBaseSANO); }
BOOL CSetupIcf::InstallBaseSANO(int on) { return WriteFeature(icf::kInstallBaseSANO, on); }
BOOL CSetupIcf::InstallBaseD2D2T() { return ReadFeature(icf::kInstallBaseD2D2T); }
BOOL CSetupIcf::InstallBaseD2D2T(int on) { return WriteFeature(icf::kInstallBaseD2D2T, on); }
BOOL CSetupIcf::InstallBaseVMWare() { return ReadFeature(icf::kInstallBaseVMWare); }
BOOL CSetupIcf::InstallBaseVMWare(int on) { return WriteFeature(icf::kInstallBaseVMWare, on); }
BOOL CSetupIcf::InstallBaseEModule() { return ReadFeature(icf::kInstallBaseEModule); }
BOOL CSetupIcf::InstallBaseEModule(int on) { return WriteFeature(icf::kInstallBaseEModule, on); }
BOOL CSetupIcf::InstallBaseDRO() { return ReadFeature(icf::kInstallBaseDRO); }
BOOL CSetupIcf::InstallBaseDRO(int on) { return WriteFeature(icf::kInstallBaseDRO, on); }
BOOL CSetupIcf::InstallBaseNASAgent() { return ReadFeature(icf::kInstallBaseNASAgent); }
BOOL CSetupIcf::InstallBaseNASAgent(int on) { return WriteFeature(icf::kInstallBaseNASAgent, on); }
BOOL CSetupIcf::InstallBaseOmnivale() { return ReadFeature(icf::kInstallBaseOmnivale); }
BOOL CSetupIcf::InstallBaseOmnivale(int on) { return WriteFeature(icf::kInstallBaseOmnivale, on); }
BOOL CSetupIcf::UpgradeIE() { return ReadFeature(icf::kUpgradeIE); }
BOOL CSetupIcf::UpgradeIE(int on) { return WriteFeature(icf::kUpgradeIE, on); }
BOOL CSetupIcf::CreateDVDomain() { return ReadFeature(icf::kCreateDVDomain); }
BOOL CSetupIcf::CreateDVDomain(int on) { return WriteFeature(icf::kCreateDVDomain, on); }
BOOL CSetupIcf::SaveDVDomainPWD() { return ReadFeature(icf::kSaveDVDomainPWD); }
BOOL CSetupIcf::SaveDVDomainPWD(int on) { return WriteFeature(icf::kSaveDVDomainPWD, on); }
int CSetupIcf::GetSetupMode() { return static_cast<int>(ReadNumber(icf::kSetupMode)); }
BOOL CSetupIcf::SetSetupMode(int value) { return WriteNumber(icf::kSetupMode, static_cast<long>(value)); }
int CSetupIcf::GetTalvikBetaUpgFlag() { return static_cast<int>(ReadNumber(icf::kTalvikBetaUpgFlag)); }
BOOL CSetupIcf::SetTalvikBetaUpgFlag(int value) { return WriteNumber(icf::kTalvikBetaUpgFlag, static_cast<long>(value)); }
unsigned long CSetupIcf::GetDrosvaneDBUpgradeFlag() { return static_cast<unsigned long>(ReadNumber(icf::kDrosvaneDBUpgradeFlag)); }
BOOL CSetupIcf::SetDrosvaneDBUpgradeFlag(unsigned long value) { return WriteNumber(icf::kDrosvaneDBUpgradeFlag, static_cast<long>(value)); }
unsigned long CSetupIcf::GetSQLExpInstallFlag() { return static_cast<unsigned long>(ReadNumber(icf::kSQLExpInstallFlag)); }
BOOL CSetupIcf::SetSQLExpInstallFlag(unsigned long value) { return WriteNumber(icf::kSQLExpInstallFlag, static_cast<long>(value)); }
unsigned long CSetupIcf::GetClusterEnvType() { return static_cast<unsigned long>(ReadNumber(icf::kClusterEnvType)); }
BOOL CSetupIcf::SetClusterEnvType(unsigned long value) { return WriteNumber(icf::kClusterEnvType, static_cast<long>(value)); }
unsigned long CSetupIcf::Get_WANSync_MasterType() { return static_cast<unsigned long>(ReadNumber(icf::kWANSyncMasterType)); }
BOOL CSetupIcf::Set_WANSync_MasterType(unsigned long value) { return WriteNumber(icf::kWANSyncMasterType, static_cast<long>(value)); }

int CSetupIcf::GetProductSubType()
{
    if (!m_bExists)
        return 0;
    int subType = ProfileFile(m_sFile).ReadInt("Install", "ProdSubType", -1);
    return subType >= 0 && subType <= 4 ? subType : -1;
}

BOOL CSetupIcf::SQLDB()
{
    if (!m_bExists)
        return m_bSQLDB;
    const ProfileFile profile(m_sFile);
    BOOL on = profile.ReadInt("DatabaseOption", "SQL", 0) != 0;
    if (!on)
        on = profile.ReadInt("Base", "SQL", 0) != 0;
    m_bSQLDB = on;
    return on;
}

BOOL CSetupIcf::SQLDB(int on)
{
    return ProfileFile(m_sFile).WriteText("Base", "SQL", on ? "1" : "0");
}

int CSetupIcf::GetDBType()
{
    if (!m_bExists)
        return 0;
    const ProfileFile profile(m_sFile);
    return profile.ReadInt("Base", "SQL", profile.ReadInt("DatabaseOption", "SQL", 0));
}

BOOL CSetupIcf::SetDBType(int type)
{
    if (type < 0 || !m_bExists)
        return FALSE;
    char text[kNumberTextSize];
    snprintf(text, sizeof(text), "%d", type);
    return ProfileFile(m_sFile).WriteText("Base", "SQL", text);
}

unsigned int CSetupIcf::GetSQLAgentInstanceAuthType() { return static_cast<unsigned int>(ReadNumber(kSQLAgentInstanceAuthType)); }
BOOL CSetupIcf::SetSQLAgentInstanceAuthType(unsigned int type) { return WriteNumber(kSQLAgentInstanceAuthType, static_cast<long>(type)); }
unsigned int CSetupIcf::GetSQLAgent_Install_Flag() { return static_cast<unsigned int>(ReadNumber(kSQLAgentInstallFlag)); }
BOOL CSetupIcf::SetSQLAgent_Install_Flag(unsigned int flag) { return WriteNumber(kSQLAgentInstallFlag, static_cast<long>(flag)); }
BOOL CSetupIcf::GetClusterInstallFlag() { return ReadNumber(kClusterInstallFlag) != 0; }
BOOL CSetupIcf::SetClusterInstallFlag(BOOL on) { return WriteNumber(kClusterInstallFlag, on); }

const char* CSetupIcf::SystemAccountPassword() { return ReadPasswordText(kSystemAccountPassword); }
BOOL CSetupIcf::SystemAccountPassword(const char* password) { return WritePassword(kSystemAccountPassword, password); }
const char* CSetupIcf::DVDomainPassword() { return ReadPasswordText(kDVDomainPassword); }
BOOL CSetupIcf::DVDomainPassword(const char* password) { return WritePassword(kDVDomainPassword, password); }
BOOL CSetupIcf::SaveSQLExpPWD(const char* password) { return WritePassword(kSQLExpPWD, password); }

BOOL CSetupIcf::GetSQLExpPWD(char* buffer, unsigned long size)
{
    if (!buffer || size == 0 || !m_bExists)
        return FALSE;
    return ReadPassword(kSQLExpPWD, buffer, size);
}

BOOL CSetupIcf::GetSQLRemoteSerPWD(char* buffer, unsigned long size)
{
    if (!buffer || size == 0 || !m_bExists)
        return FALSE;
    return ReadPassword(kSQLRemoteSerPWD, buffer, size);
}

BOOL CSetupIcf::InstallOVG() { return m_bInstallOVG; }
BOOL CSetupIcf::InstallOVG(int) { return FALSE; }

const char* CSetupIcf::DefaultDrosvanePath() { return kText[kDrosvanePath].reads[0].defaultText; }
const char* CSetupIcf::DefaultAgent95Path() { return ""; }
const char* CSetupIcf::DefaultAgentNTPath() { return ""; }
const char* CSetupIcf::DefaultAlertPath() { return kText[kAlertPath].reads[1].defaultText; }
const char* CSetupIcf::DefaultCheckLoc() { return kText[kCheckLoc].reads[0].defaultText; }
const char* CSetupIcf::DefaultDatabaseLoc() { return kText[kDatabaseLoc].reads[0].defaultText; }
const char* CSetupIcf::DefaultDumpLoc() { return kText[kDumpLoc].reads[0].defaultText; }
const char* CSetupIcf::DefaultJourLoc() { return kText[kJourLoc].reads[0].defaultText; }
const char* CSetupIcf::DefaultLocalMDB() { return kText[kLocalMDB].reads[0].defaultText; }
const char* CSetupIcf::DefaultLocaleVIG() { return kText[kLocaleVIG].reads[0].defaultText; }
const char* CSetupIcf::DefaultMDBDatabase() { return kText[kMDBDatabase].reads[0].defaultText; }
const char* CSetupIcf::DefaultMDBHost() { return kText[kMDBHost].reads[0].defaultText; }
const char* CSetupIcf::DefaultMDBID() { return kText[kMDBID].reads[0].defaultText; }
const char* CSetupIcf::DefaultMDBPassword() { return kText[kMDBPassword].reads[0].defaultText; }
const char* CSetupIcf::DefaultMDBPath() { return kText[kMDBPath].reads[0].defaultText; }
const char* CSetupIcf::DefaultMDBUser() { return kText[kMDBUser].reads[0].defaultText; }
const char* CSetupIcf::DefaultSolmarinHost() { return kText[kSolmarinHost].reads[0].defaultText; }
const char* CSetupIcf::DefaultSolmarinJBossPath() { return kText[kSolmarinJBossPath].reads[0].defaultText; }
const char* CSetupIcf::DefaultSolmarinPath() { return kText[kSolmarinPath].reads[0].defaultText; }
const char* CSetupIcf::DefaultSolmarinPort() { return kText[kSolmarinPort].reads[0].defaultText; }
const char* CSetupIcf::DefaultSolmarinTomcatPort() { return kText[kSolmarinTomcatPort].reads[0].defaultText; }
const char* CSetupIcf::DefaultRemoteMDBeVIG() { return kText[kRemoteMDBeVIG].reads[0].defaultText; }
const char* CSetupIcf::DefaultWorkLoc() { return kText[kWorkLoc].reads[0].defaultText; }
const char* CSetupIcf::DefaulteVIGPass() { return kText[keVIGPass].reads[0].defaultText; }
const char* CSetupIcf::DefaulteVIGRemoteHost() { return kText[keVIGRemoteHost].reads[0].defaultText; }
