// The product's registry layout: key and value names, the key generations of earlier releases,
// the fall-back lists built from them, and the 32-bit view rule.
#include "CTambRegistry.h"

#include "PathRules.h"
#include "registry/RegistryAccess.h"

// ---- Root strings, as they stand until a construction asks QWTOOL.DLL. ----
CString CTambRegistry::m_sTamberlyKey = "SOFTWARE\\Brannoch";
CString CTambRegistry::m_sDrosvaneKey = "SOFTWARE\\Brannoch\\BN Drosvane Backup";
CString CTambRegistry::m_sDrosvaneBaseKey = "SOFTWARE\\Brannoch\\BN Drosvane Backup\\Base";
CString CTambRegistry::m_sProductsKey = "SOFTWARE\\Brannoch\\BN Drosvane Backup\\Products";
CString CTambRegistry::m_sAgentKey = "SOFTWARE\\Brannoch\\BN Drosvane Backup\\ClientAgent\\Common";
CString CTambRegistry::m_sDrosvane = "BN Drosvane Backup";
CString CTambRegistry::m_sQuellmarshProdKey = "BN Drosvane Backup";
CString CTambRegistry::m_sProductDrosvane = "QuellmarshAB";

// ---- Sub keys and value names. ----
const char* const CTambRegistry::m_sPathSubKey = "\\Path";
const char* const CTambRegistry::m_sComponentsSubKey = "\\Components";
const char* const CTambRegistry::m_sUserSubKey = "\\User";
const char* const CTambRegistry::m_sDatabaseSubKey = "\\Database";
const char* const CTambRegistry::m_sSNMPSubKey = "\\SNMP";
const char* const CTambRegistry::m_sDomainSubKey = "\\DOMAIN";
const char* const CTambRegistry::m_sOldComponentsSubKey = "\\OldComponents";
const char* const CTambRegistry::m_sOldPathSubKey = "\\OldPath";
const char* const CTambRegistry::m_sHome = "HOME";
const char* const CTambRegistry::m_sDatabase = "DATABASE";
const char* const CTambRegistry::m_sLog = "LOG";
const char* const CTambRegistry::m_sTemp = "TEMP";
const char* const CTambRegistry::m_sManager = "MANAGER";
const char* const CTambRegistry::m_sServer = "SERVER";
const char* const CTambRegistry::m_sAdmin = "ADMIN";
const char* const CTambRegistry::m_sPatron = "PATRON";
const char* const CTambRegistry::m_sCPManager = "CPM";
const char* const CTambRegistry::m_sDRWiz = "DRWIZ";
const char* const CTambRegistry::m_sSANWiz = "SANWIZ";
const char* const CTambRegistry::m_sRegisteredName = "Name";
const char* const CTambRegistry::m_sRegisteredOrg = "Org";
const char* const CTambRegistry::m_sDatabaseType = "DatabaseType";
const char* const CTambRegistry::m_sPathname = "Pathname";
const char* const CTambRegistry::m_sPath = "Path";
const char* const CTambRegistry::m_sProducts = "Products";
const char* const CTambRegistry::m_sOldProducts = "OldProducts";
const char* const CTambRegistry::m_sSoftwareKey = "SOFTWARE";
const char* const CTambRegistry::m_sTamberly = "Brannoch";
const char* const CTambRegistry::m_sMicrosoftKey = "SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion";
const char* const CTambRegistry::m_sRegisteredOwner = "RegisteredOwner";
const char* const CTambRegistry::m_sRegisteredOrganization = "RegisteredOrganization";

// ---- Key generations. Every generation keeps its client agent at "<root>\ClientAgent\Common",
// as the current one does, except the oldest, which had a key of its own. ----
const char* const CTambRegistry::m_sZOR115Key = "SOFTWARE\\Brannoch\\Quellmarsh Drosvane Backup";
const char* const CTambRegistry::m_sZOR115BaseKey = "SOFTWARE\\Brannoch\\Quellmarsh Drosvane Backup\\Base";
const char* const CTambRegistry::m_sZOR115ProductsKey = "SOFTWARE\\Brannoch\\Quellmarsh Drosvane Backup\\Products";
const char* const CTambRegistry::m_sZOR115AgentKey = "SOFTWARE\\Brannoch\\Quellmarsh Drosvane Backup\\ClientAgent\\Common";
const char* const CTambRegistry::m_sProductZOR115 = "QuellmarshAB";

const char* const CTambRegistry::m_sZORKey = "SOFTWARE\\Brannoch\\BN Drosvane Backup";
const char* const CTambRegistry::m_sZORBaseKey = "SOFTWARE\\Brannoch\\BN Drosvane Backup\\Base";
const char* const CTambRegistry::m_sZORProductsKey = "SOFTWARE\\Brannoch\\BN Drosvane Backup\\Products";
const char* const CTambRegistry::m_sZORAgentKey = "SOFTWARE\\Brannoch\\BN Drosvane Backup\\ClientAgent\\Common";
const char* const CTambRegistry::m_sProductZOR = "QuellmarshAB";

const char* const CTambRegistry::m_sZULKey = "SOFTWARE\\Brannoch\\Kestrix";
const char* const CTambRegistry::m_sZULBaseKey = "SOFTWARE\\Brannoch\\Kestrix\\Base";
const char* const CTambRegistry::m_sZULProductsKey = "SOFTWARE\\Brannoch\\Kestrix\\Products";
const char* const CTambRegistry::m_sZULAgentKey = "SOFTWARE\\Brannoch\\Kestrix\\ClientAgent\\Common";
const char* const CTambRegistry::m_sProductZUL = "QuellmarshEB";

const char* const CTambRegistry::m_sOldDrosvaneITKey = "SOFTWARE\\Brannoch\\DrosvaneIT";
const char* const CTambRegistry::m_sOldDrosvaneBaseKeyDrosvane = "SOFTWARE\\Brannoch\\DrosvaneIT\\Base";
const char* const CTambRegistry::m_sOldDrosvaneITProductsKey = "SOFTWARE\\Brannoch\\DrosvaneIT\\Products";
const char* const CTambRegistry::m_sOldDrosvaneITAgentKey = "SOFTWARE\\Brannoch\\DrosvaneIT\\ClientAgent\\Common";
const char* const CTambRegistry::m_sProductDrosvaneOld = "Drosvane";

const char* const CTambRegistry::m_sOldDrosvaneKey = "SOFTWARE\\Tamberly\\Drosvane";
const char* const CTambRegistry::m_sOldDrosvaneBaseKey = "SOFTWARE\\Tamberly\\Drosvane\\CurrentVersion";
const char* const CTambRegistry::m_sOldProductsKey = "SOFTWARE\\Tamberly\\Products";
const char* const CTambRegistry::m_sOldAgentKey = "SOFTWARE\\Tamberly\\DrosvaneAgent\\CurrentVersion\\Common";
const char* const CTambRegistry::m_sProductOmnivale125 = "Omnivale125Backup";
const char* const CTambRegistry::m_sOldDSAgentProductsKey = "SOFTWARE\\Tamberly\\DSAgent\\CurrentVersion\\Products";

const char* const CTambRegistry::m_sQuellmarshEnterpriseKey = "SOFTWARE\\Brannoch\\Quellmarsh Enterprise Backup";
const char* const CTambRegistry::m_sQuellmarshEnterpriseBaseKey = "SOFTWARE\\Brannoch\\Quellmarsh Enterprise Backup\\Base";
const char* const CTambRegistry::m_sQuellmarshEnterpriseProductsKey = "SOFTWARE\\Brannoch\\Quellmarsh Enterprise Backup\\Products";

const char* const CTambRegistry::m_sPatchManagerProductsKey = "SOFTWARE\\Brannoch\\BN Drosvane Backup Patch Manager\\Products";
const char* const CTambRegistry::m_sPatchManagerProduct = "PM";

const char* const CTambRegistry::m_sAlertKey = "SOFTWARE\\Brannoch\\ALERT\\CurrentVersion";
const char* const CTambRegistry::m_sOldAlertKey = "SOFTWARE\\Tamberly\\ALERT\\CurrentVersion";
const char* const CTambRegistry::m_sCurrentBuildNumber = "CurrentBuildNumber";

const char* const CTambRegistry::m_sZOR115RootKey = "Quellmarsh Drosvane Backup";
const char* const CTambRegistry::m_sZORRootKey = "BN Drosvane Backup";
const char* const CTambRegistry::m_sKestrixRootKey = "Kestrix";
const char* const CTambRegistry::m_sDrosvaneITRootKey = "DrosvaneIT";
const char* const CTambRegistry::m_sDrosvaneOld = "DrosvaneIT";
const char* const CTambRegistry::m_sOldTamberlyKey = "SOFTWARE\\Tamberly";
const char* const CTambRegistry::m_sOldDrosvaneMakerKey = "SOFTWARE\\Brannoch";

const char* const CTambRegistry::m_sEditionAB = "QuellmarshAB";
const char* const CTambRegistry::m_sEditionEB = "QuellmarshEB";

// ---- Registration. Uninstall and SharedDLLs are Windows' own keys below SOFTWARE: the library
// reaches their 32-bit view (SOFTWARE\Wow6432Node\... on a 64-bit system) in both of its
// builds, like the product's own keys. ----
const char* const CTambRegistry::m_sSQMKey = "SOFTWARE\\Brannoch\\Quellmarsh Storage Quorum Manager";
const char* const CTambRegistry::m_sBNOldProducts = "BNOldProducts";
const char* const CTambRegistry::m_sUninstallKey = "Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall";
const char* const CTambRegistry::m_sDrosvaneUninstallKey = "DrosvaneNT";
const char* const CTambRegistry::m_sUninstallCommand = "%sUNINDV.EXE -U -dDVSETGUI.DLL";
const char* const CTambRegistry::m_sDisplayName = "DisplayName";
const char* const CTambRegistry::m_sUninstallString = "UninstallString";
const char* const CTambRegistry::m_sSharedDLLKey = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\SharedDLLs";
const char* const CTambRegistry::m_sBNInstalledITProducts = "BN-InstalledITProducts";
const char* const CTambRegistry::m_sProductCode = "ProductCode";

// ---- Key texts. ----
const char* CTambRegistry::GetDrosvaneBaseKey() { return m_sDrosvaneBaseKey; }
const char* CTambRegistry::GetDrosvaneKey() { return m_sDrosvaneKey; }
const char* CTambRegistry::GetDrosvaneITRootKey() { return m_sDrosvaneITRootKey; }
const char* CTambRegistry::GetZOR115RootKey() { return m_sZOR115RootKey; }
const char* CTambRegistry::GetZORRootKey() { return m_sZORRootKey; }
const char* CTambRegistry::GetQuellmarshProdKey() { return m_sProductsKey; }
const char* CTambRegistry::GetQuellmarshProdName() { return m_sProductDrosvane; }
const char* CTambRegistry::GetQuellmarshProdRootKey() { return m_sQuellmarshProdKey; }
const char* CTambRegistry::GetKestrixRootKey() { return m_sKestrixRootKey; }
const char* CTambRegistry::OldDrosvaneBaseKey() { return m_sOldDrosvaneBaseKey; }
const char* CTambRegistry::OldDrosvaneKey() { return m_sOldDrosvaneKey; }
const char* CTambRegistry::OldAgentKey() { return m_sOldAgentKey; }
const char* CTambRegistry::OldTamberlyKey() { return m_sOldTamberlyKey; }
const char* CTambRegistry::OldProductsKey() { return m_sOldProductsKey; }

// The first back-slash is found with the double-byte rule, so a key name in a double-byte
// code page is never split inside a character. A key without a back-slash has an empty rest:
// "A" gives "A\Wow6432Node\", and an empty key "\Wow6432Node\".
CString CTambRegistry::Wow6432Node(CString key)
{
    int split = 0;
    while (split < key.GetLength() && !IsRealBackSlash(key, split))
        ++split;
    const CString rest = split < key.GetLength() ? key.Mid(split + 1) : CString();
    CString result;
    result.Format("%s\\Wow6432Node\\%s", key.Left(split).GetString(), rest.GetString());
    return result;
}

namespace registry {

CString Join(const char* key, const char* subKey)
{
    return CString(key) + subKey;
}

KeyList HomeDirKeys()
{
    using R = CTambRegistry;
    return {
        Join(R::m_sDrosvaneBaseKey, R::m_sPathSubKey),
        Join(R::m_sZOR115BaseKey, R::m_sPathSubKey),
        Join(R::m_sOldDrosvaneBaseKeyDrosvane, R::m_sPathSubKey),
        Join(R::m_sOldDrosvaneBaseKey, R::m_sPathSubKey),
        Join(R::m_sZULBaseKey, R::m_sPathSubKey),
        Join(R::m_sZORBaseKey, R::m_sPathSubKey),
        Join(R::m_sQuellmarshEnterpriseBaseKey, R::m_sPathSubKey),
        R::Wow6432Node(Join(R::m_sDrosvaneBaseKey, R::m_sPathSubKey)),
    };
}

// Not the home directory's order: the IT and oldest generations come before the enterprise and
// 11.5 ones here, and the 32-bit view is not tried. Upgrades depend on both orders as they are.
KeyList DirectoryKeys()
{
    return BaseKeys(CTambRegistry::m_sPathSubKey);
}

KeyList BaseKeys(const char* subKey)
{
    using R = CTambRegistry;
    return {
        Join(R::m_sDrosvaneBaseKey, subKey),
        Join(R::m_sOldDrosvaneBaseKeyDrosvane, subKey),
        Join(R::m_sOldDrosvaneBaseKey, subKey),
        Join(R::m_sZULBaseKey, subKey),
        Join(R::m_sZOR115BaseKey, subKey),
        Join(R::m_sZORBaseKey, subKey),
        Join(R::m_sQuellmarshEnterpriseBaseKey, subKey),
    };
}

KeyList AgentKeys()
{
    using R = CTambRegistry;
    return {
        R::m_sAgentKey,
        R::m_sOldDrosvaneITAgentKey,
        R::m_sOldAgentKey,
        R::m_sZULAgentKey,
        R::m_sZOR115AgentKey,
        R::m_sZORAgentKey,
    };
}

KeyList AlertPathKeys()
{
    using R = CTambRegistry;
    return {Join(R::m_sAlertKey, R::m_sPathSubKey), Join(R::m_sOldAlertKey, R::m_sPathSubKey)};
}

KeyList AlertKeys()
{
    return {CTambRegistry::m_sAlertKey, CTambRegistry::m_sOldAlertKey};
}

KeyList WindowsOwnerKeys()
{
    return {CTambRegistry::m_sMicrosoftKey};
}

KeyList LocalHomeKeys()
{
    using R = CTambRegistry;
    CString path = Join(R::m_sZORBaseKey, R::m_sPathSubKey);
    return {path, R::Wow6432Node(path)};
}

// Each generation under the name its product used there; the IT generation named its record
// after the product itself.
RecordList ProductRecordPlaces()
{
    using R = CTambRegistry;
    return {
        {R::m_sProductsKey, R::m_sProductDrosvane},
        {R::m_sZOR115ProductsKey, R::m_sProductZOR115},
        {R::m_sOldDrosvaneITProductsKey, R::m_sProductDrosvaneOld},
        {R::m_sOldProductsKey, R::m_sProductOmnivale125},
        {R::m_sZULProductsKey, R::m_sProductZUL},
        {R::m_sQuellmarshEnterpriseProductsKey, R::m_sProductZUL},
    };
}

RecordList NamedRecordPlaces(const char* name)
{
    using R = CTambRegistry;
    KeyList keys;
    if (CString(name) == R::m_sPatchManagerProduct)
        keys = {R::m_sPatchManagerProductsKey};
    else
        keys = {R::m_sProductsKey,   R::m_sZOR115ProductsKey, R::m_sOldDrosvaneITProductsKey,
                R::m_sOldProductsKey, R::m_sZULProductsKey,    R::m_sQuellmarshEnterpriseProductsKey,
                R::m_sOldDSAgentProductsKey};
    return RecordPlacesIn(keys, name);
}

RecordList RecordPlacesIn(const KeyList& keys, const char* name)
{
    RecordList places;
    for (const CString& key : keys) {
        places.push_back({CTambRegistry::Wow6432Node(key), name});
        places.push_back({key, name});
    }
    return places;
}

}  // namespace registry
