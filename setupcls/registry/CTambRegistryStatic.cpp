// The static operations of CTambRegistry: setters that write the local product key, getters
// that walk the key generations, and the product record lookups.
#include "CTambRegistry.h"

#include "Failure.h"
#include "RegistryView.h"
#include "RegistryAccess.h"

#include <cstdlib>
#include <cstring>

namespace registry {

LONG OpenFirstKey(HKEY root, const KeyList& keys, REGSAM access, UniqueKey& key)
{
    LONG status = ERROR_FILE_NOT_FOUND;
    for (const CString& name : keys) {
        status = regview::OpenKey(root ? root : HKEY_LOCAL_MACHINE, name, access, key);
        if (status == ERROR_SUCCESS)
            return status;
    }
    return status;
}

int ReadTextFromKeys(HKEY root, const KeyList& keys, const char* value, char* buffer, unsigned long& size)
{
    if (!buffer || size == 0)
        return 0;
    buffer[0] = '\0';
    for (const CString& name : keys) {
        // Only a text read whole ends the walk; a value too long for the buffer or of another
        // type is passed over like a missing key, and ReadText leaves the buffer empty then.
        unsigned long bytes = size;
        if (regview::ReadText(root ? root : HKEY_LOCAL_MACHINE, name, value, buffer, bytes) == ERROR_SUCCESS) {
            size = bytes;
            return 1;
        }
    }
    return 0;
}

int ReadRecordFromPlaces(HKEY root, const RecordList& places, tagProductStruct* record)
{
    if (!record)
        return 0;
    memset(record, 0, sizeof(*record));
    for (const RecordPlace& place : places) {
        UniqueKey key;
        if (regview::OpenKey(root ? root : HKEY_LOCAL_MACHINE, place.key, KEY_READ, key) != ERROR_SUCCESS)
            continue;
        // The size is asked first; then the record's 49 bytes are read into a zeroed record.
        // A shorter value is a record all the same (the rest stays zero); a longer one answers
        // ERROR_MORE_DATA and is passed over.
        DWORD bytes = 0;
        if (RegQueryValueExA(key.get(), place.name, nullptr, nullptr, nullptr, &bytes) != ERROR_SUCCESS)
            continue;
        tagProductStruct read;
        memset(&read, 0, sizeof(read));
        bytes = sizeof(read);
        if (RegQueryValueExA(key.get(), place.name, nullptr, nullptr, reinterpret_cast<BYTE*>(&read), &bytes)
            == ERROR_SUCCESS) {
            *record = read;
            return 1;
        }
    }
    return 0;
}

LONG WriteLocalValue(const char* key, const char* value, DWORD type, const BYTE* data, DWORD bytes)
{
    UniqueKey handle;
    LONG status = regview::CreateKey(HKEY_LOCAL_MACHINE, key, handle);
    return status == ERROR_SUCCESS ? RegSetValueExA(handle.get(), value, 0, type, data, bytes) : status;
}

LONG WriteLocalText(const char* key, const char* value, const char* text)
{
    if (!text)
        return ERROR_INVALID_PARAMETER;
    return WriteLocalValue(key, value, REG_SZ, reinterpret_cast<const BYTE*>(text),
                           static_cast<DWORD>(strlen(text) + 1));
}

LONG WriteLocalNumber(const char* key, const char* value, DWORD number)
{
    return WriteLocalValue(key, value, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof(number));
}

}  // namespace registry

using namespace registry;

// ---- Setters. ----

int CTambRegistry::SetDrosvaneHomeDir(const char* dir)
{
    return failure::ResultOf(WriteLocalText(Join(m_sDrosvaneBaseKey, m_sPathSubKey), m_sHome, dir));
}

int CTambRegistry::SetDrosvaneDBDir(const char* dir)
{
    return failure::ResultOf(WriteLocalText(Join(m_sDrosvaneBaseKey, m_sPathSubKey), m_sDatabase, dir));
}

int CTambRegistry::SetDrosvaneLogDir(const char* dir)
{
    return failure::ResultOf(WriteLocalText(Join(m_sDrosvaneBaseKey, m_sPathSubKey), m_sLog, dir));
}

int CTambRegistry::SetDrosvaneTempDir(const char* dir)
{
    return failure::ResultOf(WriteLocalText(Join(m_sDrosvaneBaseKey, m_sPathSubKey), m_sTemp, dir));
}

int CTambRegistry::SetDrosvaneUser(const char* user)
{
    return failure::ResultOf(WriteLocalText(Join(m_sDrosvaneBaseKey, m_sUserSubKey), m_sRegisteredName, user));
}

int CTambRegistry::SetDrosvaneCompany(const char* company)
{
    return failure::ResultOf(WriteLocalText(Join(m_sDrosvaneBaseKey, m_sUserSubKey), m_sRegisteredOrg, company));
}

int CTambRegistry::SetDrosvaneManager(int on)
{
    const CString key = Join(m_sDrosvaneBaseKey, m_sComponentsSubKey);
    return failure::ResultOf(WriteLocalNumber(key, m_sManager, static_cast<DWORD>(on)));
}

int CTambRegistry::SetDrosvaneServer(int on)
{
    const CString key = Join(m_sDrosvaneBaseKey, m_sComponentsSubKey);
    return failure::ResultOf(WriteLocalNumber(key, m_sServer, static_cast<DWORD>(on)));
}

int CTambRegistry::SetDrosvaneAdmin(int on)
{
    const CString key = Join(m_sDrosvaneBaseKey, m_sComponentsSubKey);
    return failure::ResultOf(WriteLocalNumber(key, m_sAdmin, static_cast<DWORD>(on)));
}

int CTambRegistry::SetDrosvaneDatabase(int type)
{
    const CString key = Join(m_sDrosvaneBaseKey, m_sDatabaseSubKey);
    return failure::ResultOf(WriteLocalNumber(key, m_sDatabaseType, static_cast<DWORD>(type)));
}

int CTambRegistry::SetAgentHomeDir(const char* dir)
{
    return failure::ResultOf(WriteLocalText(m_sAgentKey, m_sPath, dir));
}

// ---- Getters. ----

int CTambRegistry::GetDrosvaneHomeDir(char* buffer, unsigned long& size, HKEY root)
{
    return ReadTextFromKeys(root, HomeDirKeys(), m_sHome, buffer, size);
}

int CTambRegistry::GetDrosvaneDBDir(char* buffer, unsigned long& size, HKEY root)
{
    return ReadTextFromKeys(root, DirectoryKeys(), m_sDatabase, buffer, size);
}

int CTambRegistry::GetDrosvaneLogDir(char* buffer, unsigned long& size, HKEY root)
{
    return ReadTextFromKeys(root, DirectoryKeys(), m_sLog, buffer, size);
}

int CTambRegistry::GetDrosvaneTempDir(char* buffer, unsigned long& size, HKEY root)
{
    return ReadTextFromKeys(root, DirectoryKeys(), m_sTemp, buffer, size);
}

int CTambRegistry::GetAgentHomeDir(char* buffer, unsigned long& size, HKEY root)
{
    return ReadTextFromKeys(root, AgentKeys(), m_sPath, buffer, size);
}

int CTambRegistry::GetAlertHomeDir(char* buffer, unsigned long& size, HKEY root)
{
    return ReadTextFromKeys(root, AlertPathKeys(), m_sHome, buffer, size);
}

int CTambRegistry::GetRegisteredOwner(char* buffer, unsigned long& size, HKEY root)
{
    return ReadTextFromKeys(root, WindowsOwnerKeys(), m_sRegisteredOwner, buffer, size);
}

int CTambRegistry::GetRegisteredOrganization(char* buffer, unsigned long& size, HKEY root)
{
    return ReadTextFromKeys(root, WindowsOwnerKeys(), m_sRegisteredOrganization, buffer, size);
}

// The alert key that opens first answers, even when it lacks the value: the build belongs to
// the alert installation found, not to an older one.
int CTambRegistry::GetAlertBuildNumber(unsigned short* build, HKEY root)
{
    if (!build)
        return 0;
    UniqueKey key;
    if (OpenFirstKey(root, AlertKeys(), KEY_READ, key) != ERROR_SUCCESS)
        return 0;
    char text[32];
    unsigned long size = sizeof(text);
    if (regview::QueryText(key.get(), m_sCurrentBuildNumber, text, size) != ERROR_SUCCESS)
        return 0;
    *build = static_cast<unsigned short>(strtoul(text, nullptr, 10));
    return 1;
}

long CTambRegistry::GetTalvikDrosvane_LocalHomeDir(char* buffer, unsigned long& size)
{
    if (!buffer || size == 0)
        return ERROR_INVALID_PARAMETER;
    buffer[0] = '\0';
    UniqueKey key;
    LONG status = OpenFirstKey(HKEY_LOCAL_MACHINE, LocalHomeKeys(), KEY_READ, key);
    if (status != ERROR_SUCCESS)
        return status;
    return regview::QueryText(key.get(), m_sHome, buffer, size);
}

// ---- Product records. ----

int CTambRegistry::GetDrosvaneProductInfo(tagProductStruct* record, HKEY root)
{
    return ReadRecordFromPlaces(root, ProductRecordPlaces(), record);
}

int CTambRegistry::GetProductInfo(const char* name, tagProductStruct* record, HKEY root)
{
    if (!name || !*name) {
        if (record)
            memset(record, 0, sizeof(*record));
        return 0;
    }
    return ReadRecordFromPlaces(root, NamedRecordPlaces(name), record);
}

unsigned long CTambRegistry::GetProductCode(const char* name)
{
    tagProductStruct record;
    return GetProductInfo(name, &record) ? record.dwProductCode : 0;
}

unsigned short CTambRegistry::GetVersionNumber(const char* name)
{
    tagProductStruct record;
    return GetProductInfo(name, &record) ? record.wVersionNumber : 0;
}

unsigned short CTambRegistry::GetBuildNumber(const char* name)
{
    tagProductStruct record;
    return GetProductInfo(name, &record) ? record.wBuildNumber : 0;
}

unsigned char CTambRegistry::GetSubType(const char* name)
{
    tagProductStruct record;
    return GetProductInfo(name, &record) ? static_cast<unsigned char>(record.chSubType) : 0;
}

int CTambRegistry::IsProductInstalled(const char* name)
{
    return IsProductInstalled(name, nullptr);
}

int CTambRegistry::IsProductInstalled(const char* name, HKEY root)
{
    tagProductStruct record;
    return GetProductInfo(name, &record, root);
}
