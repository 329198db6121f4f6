// The product's registry layout: key and value names, the key generations of earlier releases,
// the fall-back lists built from them, and the 32-bit view rule.
#include "CTambRegistry.h"

#include "PathRules.h"
#include "TextRules.h"
#include "RegistryAccess.h"
#include "RegistryView.h"

namespace {

// The product's record names of the two editions, which the key generations share.
constexpr char kEditionAB[] = "QuellmarshAB";
constexpr char kEditionEB[] = "QuellmarshEB";

// One key generation of the product: its root key, the keys below it that the readers look in,
// and the name its product record went by. Every generation but the oldest keeps its Base and
// Products keys and its client agent ("ClientAgent\Common") under its root; the enterprise
// product of the earlier naming had no client agent key (null).
struct Generation {
    const char* root;
    const char* base;
    const char* products;
    const char* agent;
    const char* record;
};

enum GenerationRow { kIT, kOldest, kEnterprise, k115, kFixedCurrent, kEarlierEnterprise, kGenerationRows };

// The one place the generations' texts are written. The rows stand in the order in which the
// DATABASE, LOG and TEMP directories, the registered user and the client agent are looked for
// after the product's own keys; the other lists name their rows (below).
constexpr Generation kGenerations[] = {
    /* kIT */ {"SOFTWARE\\Brannoch\\DrosvaneIT", "SOFTWARE\\Brannoch\\DrosvaneIT\\Base",
               "SOFTWARE\\Brannoch\\DrosvaneIT\\Products", "SOFTWARE\\Brannoch\\DrosvaneIT\\ClientAgent\\Common",
               "Drosvane"},
    /* kOldest */ {"SOFTWARE\\Tamberly\\Drosvane", "SOFTWARE\\Tamberly\\Drosvane\\CurrentVersion",
                   "SOFTWARE\\Tamberly\\Products", "SOFTWARE\\Tamberly\\DrosvaneAgent\\CurrentVersion\\Common",
                   "Omnivale125Backup"},
    /* kEnterprise */ {"SOFTWARE\\Brannoch\\Kestrix", "SOFTWARE\\Brannoch\\Kestrix\\Base",
                       "SOFTWARE\\Brannoch\\Kestrix\\Products", "SOFTWARE\\Brannoch\\Kestrix\\ClientAgent\\Common",
                       kEditionEB},
    /* k115 */ {"SOFTWARE\\Brannoch\\Quellmarsh Drosvane Backup", "SOFTWARE\\Brannoch\\Quellmarsh Drosvane Backup\\Base",
                "SOFTWARE\\Brannoch\\Quellmarsh Drosvane Backup\\Products",
                "SOFTWARE\\Brannoch\\Quellmarsh Drosvane Backup\\ClientAgent\\Common", kEditionAB},
    /* kFixedCurrent */ {"SOFTWARE\\Brannoch\\BN Drosvane Backup", "SOFTWARE\\Brannoch\\BN Drosvane Backup\\Base",
                         "SOFTWARE\\Brannoch\\BN Drosvane Backup\\Products",
                         "SOFTWARE\\Brannoch\\BN Drosvane Backup\\ClientAgent\\Common", kEditionAB},
    /* kEarlierEnterprise */ {"SOFTWARE\\Brannoch\\Quellmarsh Enterprise Backup",
                              "SOFTWARE\\Brannoch\\Quellmarsh Enterprise Backup\\Base",
                              "SOFTWARE\\Brannoch\\Quellmarsh Enterprise Backup\\Products", nullptr, kEditionEB},
};
static_assert(sizeof(kGenerations) / sizeof(kGenerations[0]) == kGenerationRows, "a row for every generation");

// HOME is looked for in an order of its own: the 11.5 generation comes first and the IT,
// oldest and enterprise ones after it, where DATABASE, LOG and TEMP have the 11.5 generation
// after the enterprise one. Upgrades depend on both orders as they are.
constexpr GenerationRow kHomeOrder[] = {k115, kIT, kOldest, kEnterprise, kFixedCurrent, kEarlierEnterprise};

// Product records follow HOME's order but skip the fixed current generation: its Products key
// is the product's own one unless the account tool library names another root.
constexpr GenerationRow kRecordOrder[] = {k115, kIT, kOldest, kEnterprise, kEarlierEnterprise};

}  // namespace

// ---- Root strings, as they stand until a construction asks QWTOOL.DLL: the fixed current
// generation's texts. ----
CString CTambRegistry::m_sTamberlyKey = m_sOldDrosvaneMakerKey;
CString CTambRegistry::m_sDrosvaneKey = kGenerations[kFixedCurrent].root;
CString CTambRegistry::m_sDrosvaneBaseKey = kGenerations[kFixedCurrent].base;
CString CTambRegistry::m_sProductsKey = kGenerations[kFixedCurrent].products;
CString CTambRegistry::m_sAgentKey = kGenerations[kFixedCurrent].agent;
CString CTambRegistry::m_sDrosvane = m_sZORRootKey;
CString CTambRegistry::m_sQuellmarshProdKey = m_sZORRootKey;
CString CTambRegistry::m_sProductDrosvane = kEditionAB;

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

// ---- Key generations, from the table above. ----
#define SETUPCLS_GENERATION(row, Root, Base, Products, Agent, Record)              \
    const char* const CTambRegistry::Root = kGenerations[row].root;             \
    const char* const CTambRegistry::Base = kGenerations[row].base;             \
    const char* const CTambRegistry::Products = kGenerations[row].products;     \
    const char* const CTambRegistry::Agent = kGenerations[row].agent;           \
    const char* const CTambRegistry::Record = kGenerations[row].record;

SETUPCLS_GENERATION(k115, m_sZOR115Key, m_sZOR115BaseKey, m_sZOR115ProductsKey, m_sZOR115AgentKey, m_sProductZOR115)
SETUPCLS_GENERATION(kFixedCurrent, m_sZORKey, m_sZORBaseKey, m_sZORProductsKey, m_sZORAgentKey, m_sProductZOR)
SETUPCLS_GENERATION(kEnterprise, m_sZULKey, m_sZULBaseKey, m_sZULProductsKey, m_sZULAgentKey, m_sProductZUL)
SETUPCLS_GENERATION(kIT, m_sOldDrosvaneITKey, m_sOldDrosvaneBaseKeyDrosvane, m_sOldDrosvaneITProductsKey,
                    m_sOldDrosvaneITAgentKey, m_sProductDrosvaneOld)
SETUPCLS_GENERATION(kOldest, m_sOldDrosvaneKey, m_sOldDrosvaneBaseKey, m_sOldProductsKey, m_sOldAgentKey,
                    m_sProductOmnivale125)

#undef SETUPCLS_GENERATION

const char* const CTambRegistry::m_sOldDSAgentProductsKey = "SOFTWARE\\Tamberly\\DSAgent\\CurrentVersion\\Products";
const char* const CTambRegistry::m_sQuellmarshEnterpriseKey = kGenerations[kEarlierEnterprise].root;
const char* const CTambRegistry::m_sQuellmarshEnterpriseBaseKey = kGenerations[kEarlierEnterprise].base;
const char* const CTambRegistry::m_sQuellmarshEnterpriseProductsKey = kGenerations[kEarlierEnterprise].products;

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

const char* const CTambRegistry::m_sEditionAB = kEditionAB;
const char* const CTambRegistry::m_sEditionEB = kEditionEB;

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
    while (split < key.GetLength() && !RealBackSlashAt(key, split))
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

namespace {

// The named rows' keys of one column, joined with subKey.
template <size_t N>
void AddRows(KeyList& keys, const GenerationRow (&rows)[N], const char* Generation::*column, const char* subKey)
{
    for (GenerationRow row : rows)
        keys.push_back(Join(kGenerations[row].*column, subKey));
}

}  // namespace

// The product's own Base key, the generations in HOME's order, then the 32-bit view of the
// product's Base key.
KeyList HomeDirKeys()
{
    using R = CTambRegistry;
    KeyList keys{Join(R::m_sDrosvaneBaseKey, R::m_sPathSubKey)};
    AddRows(keys, kHomeOrder, &Generation::base, R::m_sPathSubKey);
    keys.push_back(R::Wow6432Node(keys.front()));
    return keys;
}

// Not the home directory's order (see kHomeOrder), and the 32-bit view is not tried.
KeyList DirectoryKeys()
{
    return BaseKeys(CTambRegistry::m_sPathSubKey);
}

// The product's own Base key, then every generation's in the table's order.
KeyList BaseKeys(const char* subKey)
{
    KeyList keys{Join(CTambRegistry::m_sDrosvaneBaseKey, subKey)};
    for (const Generation& generation : kGenerations)
        keys.push_back(Join(generation.base, subKey));
    return keys;
}

// The product's own agent key, then every generation's that has one, in the table's order.
KeyList AgentKeys()
{
    KeyList keys{CTambRegistry::m_sAgentKey};
    for (const Generation& generation : kGenerations) {
        if (generation.agent)
            keys.push_back(generation.agent);
    }
    return keys;
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
    CString path = Join(kGenerations[kFixedCurrent].base, CTambRegistry::m_sPathSubKey);
    return {path, CTambRegistry::Wow6432Node(path)};
}

// The product's own record, then each generation's under the name its product used there.
RecordList ProductRecordPlaces()
{
    RecordList places{{CTambRegistry::m_sProductsKey, CTambRegistry::m_sProductDrosvane}};
    for (GenerationRow row : kRecordOrder)
        places.push_back({kGenerations[row].products, kGenerations[row].record});
    return places;
}

// The product's own Products key, the generations' in the records' order, then the oldest
// client agent's Products key; the patch manager's record only under its own key.
RecordList NamedRecordPlaces(const char* name)
{
    using R = CTambRegistry;
    if (CString(name) == R::m_sPatchManagerProduct)
        return RecordPlacesIn({R::m_sPatchManagerProductsKey}, name);
    KeyList keys{R::m_sProductsKey};
    AddRows(keys, kRecordOrder, &Generation::products, "");
    keys.push_back(R::m_sOldDSAgentProductsKey);
    return RecordPlacesIn(keys, name);
}

// The oldest generation's database agents were a product of their own, with their keys and
// records under "SOFTWARE\Tamberly\DSAgent\CurrentVersion"; their records may also stand among
// the oldest generation's product records, which are looked at first. Every later generation
// keeps its agents below its own root and their records in its own Products key.
InstallationList Installations()
{
    using R = CTambRegistry;
    InstallationList installations{
        {R::m_sDrosvaneKey, R::m_sDrosvaneBaseKey, R::m_sAgentKey, {R::m_sProductsKey, R::m_sProductDrosvane},
         R::m_sDrosvaneKey, {R::m_sProductsKey}}};
    for (GenerationRow row : kRecordOrder) {
        const Generation& generation = kGenerations[row];
        Installation installation{generation.root, generation.base, generation.agent ? generation.agent : "",
                                  {generation.products, generation.record}, generation.root, {generation.products}};
        if (row == kOldest) {
            installation.agentsRoot = regview::ParentKey(R::m_sOldDSAgentProductsKey);
            installation.agentProducts.push_back(R::m_sOldDSAgentProductsKey);
        }
        installations.push_back(installation);
    }
    return installations;
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
