// Product registration and uninstall entries: product records and the records of replaced
// products, the Windows uninstall entries and shared-DLL counts, the maker's list of installed
// products, the key families below the maker and product keys, and the registered user.
#include "CTambRegistry.h"

#include "AccountTool.h"
#include "CComputer.h"
#include "Failure.h"
#include "ProductLibrary.h"
#include "RegistryView.h"
#include "TextRules.h"
#include "RegistryAccess.h"

#include <cstring>

using namespace registry;

namespace {

CString ProductsKeyOf(const CString& parent)
{
    return parent + "\\" + CTambRegistry::m_sProducts;
}

// The Products key a record is registered under: the patch manager ("PM") keeps its record
// apart, every other product under the product's Products key.
CString RegistrationKeyOf(const char* name)
{
    return CString(name) == CTambRegistry::m_sPatchManagerProduct ? CString(CTambRegistry::m_sPatchManagerProductsKey)
                                                                   : CTambRegistry::m_sProductsKey;
}

LONG WriteRecord(const CString& key, const char* name, const tagProductStruct* record)
{
    if (IsEmptyText(name) || !record)
        return ERROR_INVALID_PARAMETER;
    return WriteLocalValue(key, name, REG_BINARY, reinterpret_cast<const BYTE*>(record), sizeof(*record));
}

// Deletes the record, then the Products key below parent once it holds no value. A null name
// deletes no value but still drops an empty Products key; a name that is not there is no error,
// and a Products key that still has sub keys stays.
void DeleteRecord(const CString& parent, const char* name)
{
    bool empty = false;
    {
        UniqueKey products;
        if (regview::OpenKey(HKEY_LOCAL_MACHINE, ProductsKeyOf(parent), KEY_ALL_ACCESS, products) != ERROR_SUCCESS)
            return;
        if (name)
            RegDeleteValueA(products.get(), name);
        char first[2];
        DWORD length = sizeof(first);
        empty = RegEnumValueA(products.get(), 0, first, &length, nullptr, nullptr, nullptr, nullptr)
                == ERROR_NO_MORE_ITEMS;
    }
    UniqueKey parentKey;
    if (empty && regview::OpenKey(HKEY_LOCAL_MACHINE, parent, KEY_ALL_ACCESS, parentKey) == ERROR_SUCCESS)
        regview::DeleteKey(parentKey.get(), CTambRegistry::m_sProducts);
}

unsigned MajorOf(unsigned short version)
{
    return HIBYTE(version);
}

unsigned MinorOf(unsigned short version)
{
    return LOBYTE(version);
}

// Products from 6.6 on keep the records they replace apart from those of earlier releases.
const unsigned kBNOldMajor = 6;
const unsigned kBNOldMinor = 6;

CString UninstallEntryOf(const char* subKey)
{
    return CString(CTambRegistry::m_sUninstallKey) + "\\" + subKey;
}

// ---- Shared-DLL counts. ----

UniqueKey OpenSharedDLLs()
{
    UniqueKey key;
    regview::OpenKey(HKEY_LOCAL_MACHINE, CTambRegistry::m_sSharedDLLKey, KEY_ALL_ACCESS, key);
    return key;
}

// The count stored for path; false when there is none or the value is no count.
bool ReadCount(HKEY key, const char* path, DWORD& count)
{
    DWORD type = REG_NONE;
    DWORD bytes = sizeof(count);
    return RegQueryValueExA(key, path, nullptr, &type, reinterpret_cast<BYTE*>(&count), &bytes) == ERROR_SUCCESS
           && type == REG_DWORD && bytes == sizeof(count);
}

bool WriteCount(HKEY key, const char* path, DWORD count)
{
    return RegSetValueExA(key, path, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&count), sizeof(count))
           == ERROR_SUCCESS;
}

// ---- Keys below a root (the maker key or the product key). ----

// root + "\" + key; empty when key is, so that no operation ever reaches the root itself.
CString Below(const CString& root, const CString& key)
{
    return key.IsEmpty() ? CString() : root + "\\" + key;
}

LONG AddKeyBelow(const CString& root, const CString& key)
{
    const CString path = Below(root, key);
    UniqueKey handle;
    return path.IsEmpty() ? ERROR_INVALID_PARAMETER : regview::CreateKey(HKEY_LOCAL_MACHINE, path, handle);
}

// A key with sub keys is not deleted: a wrong name must never take a whole branch with it.
void DeleteKeyBelow(const CString& root, const CString& key)
{
    const CString path = Below(root, key);
    if (!path.IsEmpty())
        regview::DeleteKey(HKEY_LOCAL_MACHINE, path);
}

LONG SetValueBelow(const CString& root, const CString& key, const CString& value, unsigned long type,
                   const unsigned char* data, unsigned long size)
{
    const CString path = Below(root, key);
    if (path.IsEmpty() || value.IsEmpty() || !data)
        return ERROR_INVALID_PARAMETER;
    return WriteLocalValue(path, value, type, data, size);
}

// As RegQueryValueExA: type may be null, and data null asks for the size alone.
int QueryValueBelow(const CString& root, const CString& key, const CString& value, unsigned long* type,
                    unsigned char* data, unsigned long* size)
{
    const CString path = Below(root, key);
    if (path.IsEmpty() || value.IsEmpty() || !size)
        return 0;
    UniqueKey handle;
    if (regview::OpenKey(HKEY_LOCAL_MACHINE, path, KEY_READ, handle) != ERROR_SUCCESS)
        return 0;
    return RegQueryValueExA(handle.get(), value, nullptr, type, data, size) == ERROR_SUCCESS ? 1 : 0;
}

int SetTamberlyText(const CString& key, const char* value, const char* text)
{
    return CTambRegistry::SetTamberlyKeyValue(key, value, REG_SZ, reinterpret_cast<const unsigned char*>(text),
                                              static_cast<unsigned long>(strlen(text) + 1));
}

CString BNITProductKey()
{
    return CString(CTambRegistry::m_sBNInstalledITProducts) + "\\" + CTambRegistry::m_sDrosvane;
}

// Editions with a sub type of 0 or 1 are not listed among the maker's installed products.
bool ListedEdition(int subType)
{
    return subType != 0 && subType != 1;
}

}  // namespace

// ---- Product records. ----

int CTambRegistry::RegisterProduct(const char* name, tagProductStruct* record)
{
    return failure::ResultOf(WriteRecord(RegistrationKeyOf(name), name, record));
}

// Always the product's own Products key, "PM" included: the patch manager's record is not
// removed here.
void CTambRegistry::UnregisterProduct(const char* name)
{
    DeleteRecord(m_sDrosvaneKey, name);
}

int CTambRegistry::RegisterProduct_SQM(const char* name, tagProductStruct* record)
{
    return failure::ResultOf(WriteRecord(ProductsKeyOf(m_sSQMKey), name, record));
}

void CTambRegistry::UnregisterProduct_SQM(const char* name)
{
    DeleteRecord(m_sSQMKey, name);
}

void CTambRegistry::UnregisterTamberlyProduct(const char* name)
{
    DeleteRecord(m_sOldTamberlyKey, name);
}

int CTambRegistry::IsProductInstalled_SQM(const char* name, HKEY root)
{
    if (IsEmptyText(name))
        return 0;
    tagProductStruct record;
    return ReadRecordFromPlaces(root, RecordPlacesIn({ProductsKeyOf(m_sSQMKey)}, name), &record);
}

int CTambRegistry::IsProductInstalled(const char* name, unsigned short major, unsigned short minor)
{
    tagProductStruct record;
    return GetProductInfo(name, &record) && MajorOf(record.wVersionNumber) == major
                   && MinorOf(record.wVersionNumber) == minor
               ? 1
               : 0;
}

int CTambRegistry::SavePerviousRegisterProduct(const char* name, unsigned short major, unsigned short minor)
{
    tagProductStruct record;
    if (!GetProductInfo(name, &record))
        return 0;
    const unsigned storedMajor = MajorOf(record.wVersionNumber);
    const unsigned storedMinor = MinorOf(record.wVersionNumber);
    if (storedMajor > major || (storedMajor == major && storedMinor >= minor))
        return 0;
    const bool bn = storedMajor > kBNOldMajor || (storedMajor == kBNOldMajor && storedMinor >= kBNOldMinor);
    const CString target = m_sDrosvaneKey + "\\" + (bn ? m_sBNOldProducts : m_sOldProducts);
    if (!failure::ResultOf(WriteRecord(target, name, &record)))
        return 0;
    UnregisterTamberlyProduct(name);
    return 1;
}

// ---- Uninstall entries. ----

// A system older than Windows NT 4.0 has no such list: nothing is written and the answer is 1,
// whatever the arguments.
int CTambRegistry::CreateUninstallKey(const char* subKey, const char* displayName, const char* uninstallString)
{
    if (!CComputer::IsNT4xOrLater())
        return 1;
    if (IsEmptyText(subKey) || IsEmptyText(displayName) || IsEmptyText(uninstallString))
        return failure::ResultOf(ERROR_INVALID_PARAMETER);
    const CString entry = UninstallEntryOf(subKey);
    LONG status = WriteLocalText(entry, m_sDisplayName, displayName);
    if (status == ERROR_SUCCESS)
        status = WriteLocalText(entry, m_sUninstallString, uninstallString);
    return failure::ResultOf(status);
}

// Only the entry's own key goes; the Uninstall key stays whatever it holds.
void CTambRegistry::DeleteUninstallKey(const char* subKey)
{
    if (!IsEmptyText(subKey))
        regview::DeleteKey(HKEY_LOCAL_MACHINE, UninstallEntryOf(subKey));
}

// The command line is built from the settings' product path as it stands (it ends in a
// back-slash).
int CTambRegistry::CreateDrosvaneUninstallKey()
{
    CString command;
    command.Format(m_sUninstallCommand, m_settings.DrosvanePath());
    return CreateUninstallKey(m_sDrosvaneUninstallKey, m_settings.ProductName(), command);
}

void CTambRegistry::DeleteDrosvaneUninstallKey()
{
    DeleteUninstallKey(m_sDrosvaneUninstallKey);
}

// ---- Shared-DLL counts. ----

int CTambRegistry::IncrementSharedDLLCount(const char* path, int keep)
{
    if (IsEmptyText(path))
        return 0;
    UniqueKey key = OpenSharedDLLs();
    if (!key)
        return 0;
    DWORD count = 0;
    if (!ReadCount(key.get(), path, count))
        count = 1;
    else if (!keep)
        ++count;
    return WriteCount(key.get(), path, count) ? 1 : 0;
}

// A stored 0 is a count that went wrong before; it wraps to 4294967295 and is written back, so
// that no later uninstaller takes it for the last reference and deletes a file still in use.
// The answer is the new count even when writing it failed: the stored count is then higher,
// never lower, than the answer says.
unsigned long CTambRegistry::DecrementSharedDLLCount(const char* path)
{
    if (IsEmptyText(path))
        return 0;
    UniqueKey key = OpenSharedDLLs();
    DWORD count = 0;
    if (!key || !ReadCount(key.get(), path, count))
        return 0;
    --count;
    if (count == 0)
        RegDeleteValueA(key.get(), path);
    else
        WriteCount(key.get(), path, count);
    return count;
}

// ---- The maker's list of installed products. ----

// An edition that is not listed has nothing to write: 1. A listed one records the settings'
// component code as it stands, an empty one included.
int CTambRegistry::SetBNITProduct()
{
    if (!ListedEdition(m_settings.ProductSubType()))
        return 1;
    const CString code = m_settings.ComponentCode();
    const CString entry = BNITProductKey();
    return AddTamberlyKey(m_sBNInstalledITProducts) && AddTamberlyKey(entry)
                   && SetTamberlyText(entry, m_sDisplayName, m_sDrosvane) && SetTamberlyText(entry, m_sProductCode, code)
               ? 1
               : 0;
}

// The values go first, so that the entry is gone from the list even when a sub key someone
// else put below it keeps the key.
void CTambRegistry::DeleteBNITProductBranch()
{
    const CString entry = BNITProductKey();
    {
        UniqueKey key;
        if (regview::OpenKey(HKEY_LOCAL_MACHINE, Below(m_sTamberlyKey, entry), KEY_ALL_ACCESS, key) != ERROR_SUCCESS)
            return;
        RegDeleteValueA(key.get(), m_sDisplayName);
        RegDeleteValueA(key.get(), m_sProductCode);
    }
    DeleteTamberlyKey(entry);
}

// ---- Key families. ----

int CTambRegistry::AddTamberlyKey(CString key) { return failure::ResultOf(AddKeyBelow(m_sTamberlyKey, key)); }
void CTambRegistry::DeleteTamberlyKey(CString key) { DeleteKeyBelow(m_sTamberlyKey, key); }
int CTambRegistry::SetTamberlyKeyValue(CString key, CString value, unsigned long type, const unsigned char* data,
                                       unsigned long size)
{
    return failure::ResultOf(SetValueBelow(m_sTamberlyKey, key, value, type, data, size));
}
int CTambRegistry::QueryTamberlyKeyValue(CString key, CString value, unsigned long* type, unsigned char* data,
                                         unsigned long* size)
{
    return QueryValueBelow(m_sTamberlyKey, key, value, type, data, size);
}

int CTambRegistry::AddDrosvaneKey(CString key) { return failure::ResultOf(AddKeyBelow(m_sDrosvaneKey, key)); }
void CTambRegistry::DeleteDrosvaneKey(CString key) { DeleteKeyBelow(m_sDrosvaneKey, key); }
int CTambRegistry::SetDrosvaneKeyValue(CString key, CString value, unsigned long type, const unsigned char* data,
                                       unsigned long size)
{
    return failure::ResultOf(SetValueBelow(m_sDrosvaneKey, key, value, type, data, size));
}
int CTambRegistry::QueryDrosvaneKeyValue(CString key, CString value, unsigned long* type, unsigned char* data,
                                         unsigned long* size)
{
    return QueryValueBelow(m_sDrosvaneKey, key, value, type, data, size);
}

// ---- The registered user and the system account. ----

int CTambRegistry::GetDrosvaneUserName(char* buffer, unsigned long& size, HKEY root)
{
    return ReadTextFromKeys(root, BaseKeys(m_sUserSubKey), m_sRegisteredName, buffer, size);
}

int CTambRegistry::GetDrosvaneOrganization(char* buffer, unsigned long& size, HKEY root)
{
    return ReadTextFromKeys(root, BaseKeys(m_sUserSubKey), m_sRegisteredOrg, buffer, size);
}

const char* CTambRegistry::GetDrosvaneUserName()
{
    return Refresh(m_sUserName, &CTambRegistry::GetDrosvaneUserName);
}

const char* CTambRegistry::GetDrosvaneOrganization()
{
    return Refresh(m_sOrganization, &CTambRegistry::GetDrosvaneOrganization);
}

// A missing entry counts as a failed call. The account tool takes the account in its own two
// records (AccountTool.h), the same ones the account operations hand it: the server goes into
// the 256-byte computer field, and the record holds the domain, the user name and the password.
void CTambRegistry::AddSystemUserAccount() const
{
    ProductLibrary qwtool = ProductLibrary::InCurrentFolderThenByName(accounttool::kLibraryName);
    if (!qwtool) {
        failure::TraceFailureText(m_settings.LogFile(), "Failed to load QWTOOL.DLL to create system user account.");
        return;
    }
    DWORD answer = 0;
    if (!accounttool::SetUserAccount(qwtool, m_settings.SystemAccountServer(), m_settings.SystemAccountDomain(),
                                     m_settings.SystemAccountName(), m_settings.SystemAccountPassword(), answer)
        || !accounttool::Succeeded(answer))
        failure::TraceFailureText(m_settings.LogFile(), "Failed to add a user account");
}
