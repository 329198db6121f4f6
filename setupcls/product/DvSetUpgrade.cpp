#include "DvSetUpgrade.h"

#include "CProduct.h"
#include "CTambRegistry.h"
#include "Failure.h"
#include "ProfileFile.h"
#include "RegistryTreeCopy.h"
#include "RegistryView.h"
#include "TextRules.h"
#include "UpgradeTarget.h"
#include "UpgradeTrace.h"

#include <cstdio>
#include <cstring>

namespace {

const char kSetupInfName[] = "setup.inf";
const char kUpgradeSection[] = "Upgrade";
const char kBackupSuffix[] = "(BACKUP)";
const int kFirstEntry = 1;
const int kLastEntry = 99;

// The product's agents that on a 64-bit machine are upgraded by their own rule: the earlier
// 64-bit agents are not told apart by a Windows Installer entry of their own, so the first
// entry of the list stands for whichever is installed, and a version range of its own,
// "64VersionRange" of section "Upgrade", bounds the versions that qualify.
const char* const k64BitAgents[] = {"ClientAgentNT", "VSSAgent"};
const char k64BitVersionRangeKey[] = "64VersionRange";

const char* TextOf(const char* text)
{
    return text ? text : "";
}

bool Is64BitAgent(const char* descriptor)
{
    for (const char* agent : k64BitAgents) {
        if (lstrcmpiA(TextOf(descriptor), agent) == 0)
            return true;
    }
    return false;
}

// One upgrade question: the description file, the product asked about, the target machine and
// its registry, and the installed product's record there.
struct Upgrade {
    Upgrade(const char* setupFolder, const char* productDescriptor, const char* targetMachine)
        : descriptor(TextOf(productDescriptor)), machine(TextOf(targetMachine)), target(targetMachine)
    {
        inf.Format("%s\\%s", TextOf(setupFolder), kSetupInfName);
        memset(&record, 0, sizeof(record));
        installed = target.root() && !descriptor.IsEmpty()
                    && CTambRegistry::GetProductInfo(descriptor, &record, target.root());
        agentOn64 = installed && Is64BitAgent(descriptor) && upgrade::IsRemote64BitSystem(targetMachine);
    }

    DWORD VersionBuild() const { return MAKELONG(record.wVersionNumber, record.wBuildNumber); }

    CString inf;
    CString descriptor;
    CString machine;
    upgrade::TargetRegistry target;
    tagProductStruct record;
    bool installed;
    bool agentOn64;
};

bool IsUninstallEntry(const Upgrade& upgrade, const char* productCode)
{
    CString key;
    key.Format("%s\\%s", CTambRegistry::m_sUninstallKey, productCode);
    upgrade::Trace("sRegProductCode=%s", key.GetString());
    UniqueKey entry;
    return regview::OpenKey(upgrade.target.root(), key, KEY_READ, entry) == ERROR_SUCCESS;
}

// Whether the list entry is the installed product. The entry takes the installed version and
// build; an entry that names sub types takes the installed one when it is among them (the
// installed number, as decimal text, found in the entry's text).
bool IsInstalledEntry(const Upgrade& upgrade, CProduct& entry)
{
    entry.setBuildNo(upgrade.record.wBuildNumber);
    entry.setVersionNo(upgrade.record.wVersionNumber);
    upgrade::Trace("oldproduct getBuildNo is %d", entry.getBuildNo());
    upgrade::Trace("oldproduct getVersionNo is %d", entry.getVersionNo());
    upgrade::Trace("oldproduct getVersionNo(*.*) is %d.%d", entry.getMajorVersionNo(), entry.getMinorVersionNo());
    if (upgrade.agentOn64) {
        upgrade::Trace("IsRemote_64Bit_System(%s) = TRUE and ProductDescriptor is %s", upgrade.machine.GetString(),
                       upgrade.descriptor.GetString());
        return true;
    }
    if (!IsUninstallEntry(upgrade, entry.getProductCode()))
        return false;
    if (*entry.getProductSubType() == '\0')
        return true;
    char subType[8];
    snprintf(subType, sizeof(subType), "%d", static_cast<unsigned char>(upgrade.record.chSubType));
    if (!strstr(entry.getProductSubType(), subType))
        return false;
    entry.setProductSubType(subType);
    upgrade::Trace("oldproduct getProductSubType() is %s", entry.getProductSubType());
    return true;
}

// The first entry of the list that is the installed product, into found.
bool FindInstalledEntry(const Upgrade& upgrade, CProduct& found)
{
    for (int index = kFirstEntry; index <= kLastEntry; ++index) {
        CProduct entry(upgrade.inf, index, upgrade.machine);
        if (*entry.getProductCode() == '\0')
            return false;
        entry.setProductDescriptor(upgrade.descriptor);
        if (IsInstalledEntry(upgrade, entry)) {
            found = entry;
            return true;
        }
    }
    return false;
}

// The earlier product's version must be older and within its range (an empty range admits any),
// or the same; the build must be older, and within its range when the entry names one.
int UpgradeRule(const CProduct& earlier, const CProduct& newer)
{
    bool versionAllowed = false;
    if (newer.getVersionNo() > earlier.getVersionNo()) {
        versionAllowed = *earlier.getVersionRange() == '\0'
                         || (earlier.getVersionNo() >= earlier.getMinVersionNo()
                             && earlier.getVersionNo() <= earlier.getMaxVersionNo());
    } else {
        versionAllowed = newer.getVersionNo() == earlier.getVersionNo();
    }
    if (!versionAllowed)
        return DVSET_UPGRADE_REFUSED;
    if (newer.getBuildNo() <= earlier.getBuildNo())
        return DVSET_UPGRADE_REFUSED;
    if (*earlier.getBuildRange() != '\0'
        && (earlier.getBuildNo() < earlier.getMinBuildNo() || earlier.getBuildNo() > earlier.getMaxBuildNo()))
        return DVSET_UPGRADE_REFUSED;
    return DVSET_UPGRADE_ALLOWED;
}

// A 64-bit agent: the installed agent, with "64VersionRange" as its version range and no build
// range, under the upgrade rule of the list.
int IsAllowProductUpgradeOnRemote64(const Upgrade& upgrade, const CProduct& newer)
{
    upgrade::Trace("IsAllowProductUpgradeOnRemote64(%s,%s,%s) ->", upgrade.inf.GetString(),
                   upgrade.descriptor.GetString(), upgrade.machine.GetString());
    char range[260] = "";
    ProfileFile(upgrade.inf).ReadText(kUpgradeSection, k64BitVersionRangeKey, "", range, sizeof(range));
    CProduct earlier;
    earlier.setProductDescriptor(upgrade.descriptor);
    earlier.setVersionNo(upgrade.record.wVersionNumber);
    earlier.setBuildNo(upgrade.record.wBuildNumber);
    earlier.setVersionRange(range);
    upgrade::Trace("IsAllowProductUpgradeOnRemote64() -> old product: %d.%d,%d", earlier.getMajorVersionNo(),
                   earlier.getMinorVersionNo(), earlier.getBuildNo());
    return UpgradeRule(earlier, newer);
}

int Verdict(const Upgrade& upgrade)
{
    if (!upgrade.installed)
        return DVSET_UPGRADE_NOTHING_INSTALLED;
    const CProduct newer(upgrade.inf, -1, upgrade.machine);
    if (upgrade.record.wVersionNumber == newer.getVersionNo() && upgrade.record.wBuildNumber == newer.getBuildNo())
        return DVSET_UPGRADE_SAME_BUILD;
    if (upgrade.agentOn64)
        return IsAllowProductUpgradeOnRemote64(upgrade, newer);
    CProduct earlier;
    if (!FindInstalledEntry(upgrade, earlier))
        return DVSET_UPGRADE_REFUSED;  // an installed product that the list does not name
    const int verdict = UpgradeRule(earlier, newer);
    upgrade::Trace("Product is in setup.inf and %d", verdict);
    return verdict;
}

LONG CreateBackupSubKeys(const CString& key, const CProduct::StringList& subKeys)
{
    LONG result = ERROR_SUCCESS;
    for (const CString& subKey : subKeys) {
        if (subKey.IsEmpty())
            continue;
        CString path;
        path.Format("%s%s\\%s", key.GetString(), kBackupSuffix, subKey.GetString());
        UniqueKey created;
        const LONG status = regview::CreateKey(HKEY_LOCAL_MACHINE, path, created);
        if (status != ERROR_SUCCESS)
            result = status;
    }
    return result;
}

// The earlier product's sub keys at their new paths, then its backup values. Only this machine's
// registry is copied: another machine's root is refused by the copy.
LONG BackUpKeys(HKEY root, const CString& source, const CString& destination, const CProduct& earlier,
                const CProduct& newer)
{
    LONG result = ERROR_SUCCESS;
    if (root == HKEY_LOCAL_MACHINE)
        result = CreateBackupSubKeys(newer.getRegRootKey(), earlier.getRegNewPathSubKey());
    const CProduct::StringList& subKeys = earlier.getRegSubKey();
    const CProduct::StringList& newPaths = earlier.getRegNewPathSubKey();
    for (size_t i = 0; i < subKeys.size(); ++i) {
        if (subKeys[i].IsEmpty())
            continue;
        const CString& newPath = i < newPaths.size() && !newPaths[i].IsEmpty() ? newPaths[i] : subKeys[i];
        const LONG status =
            upgrade::CopyRegSubTree(root, source + "\\" + subKeys[i], destination + "\\" + newPath, false);
        if (status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND)
            result = status;
    }
    for (const CString& value : earlier.getRegBKValues()) {
        const LONG status = upgrade::CopyRegValue(root, source, destination, value);
        if (status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND)
            result = status;
    }
    return result;
}

int BackUp(const Upgrade& upgrade, char* productCode)
{
    if (!upgrade.installed)
        return 0;
    const CProduct newer(upgrade.inf, -1, upgrade.machine);
    upgrade::Trace("initialize for old product************");
    CProduct earlier;
    if (!FindInstalledEntry(upgrade, earlier))
        return 0;
    if (productCode)
        lstrcpynA(productCode, earlier.getProductCode(), DVSET_PRODUCT_CODE_SIZE);
    const CString source = *earlier.getRegRootKey() ? earlier.getRegRootKey() : newer.getRegRootKey();
    const CString destination = newer.getRegBKRootKey();
    upgrade::Trace("strSrcKey for backup is %s \nstrDestKey for backup is %s", source.GetString(),
                   destination.GetString());
    return BackUpKeys(upgrade.target.root(), source, destination, earlier, newer) == ERROR_SUCCESS ? 1 : 0;
}

}  // namespace

SETUPCLS_C int WINAPI DvSetIsAllowUpgrade(const char* setupFolder, const char* productDescriptor,
                                          DWORD* versionBuild, const char* machine)
{
    upgrade::Trace("DvSetIsAllowUpgrade() - Start");
    const int verdict = failure::ContainExceptions(DVSET_UPGRADE_REFUSED, [&] {
        const Upgrade upgrade(setupFolder, productDescriptor, machine);
        const int answer = Verdict(upgrade);
        if (answer != DVSET_UPGRADE_NOTHING_INSTALLED && versionBuild)
            *versionBuild = upgrade.VersionBuild();
        return answer;
    });
    upgrade::Trace("DvSetIsAllowUpgrade() - End - Return %d,", verdict);
    return verdict;
}

SETUPCLS_C int WINAPI DvSetBKOldProduct(const char* setupFolder, const char* productDescriptor, char* productCode,
                                        const char* machine)
{
    upgrade::Trace("DvSetBKOldProdRegKey() - Start");
    if (productCode)
        productCode[0] = '\0';
    const int result = failure::ContainExceptions(0, [&] {
        const Upgrade upgrade(setupFolder, productDescriptor, machine);
        return BackUp(upgrade, productCode);
    });
    upgrade::Trace("DvSetBKOldProdRegKey() - End - Return %d", result);
    return result;
}

// A backup key that is there is moved whole, even when it holds nothing: none is left behind.
SETUPCLS_C void WINAPI DvSetRSOldProdRegKey(void)
{
    upgrade::Trace("DvSetRSOldProdRegKey() - Start");
    failure::ContainExceptions(0, [] {
        const CString destination = CTambRegistry::m_sDrosvaneKey;
        const CString source = destination + kBackupSuffix;
        upgrade::Trace("SourceKey is %s,DestinationKey is %s", source.GetString(), destination.GetString());
        UniqueKey backup;
        if (regview::OpenKey(HKEY_LOCAL_MACHINE, source, KEY_READ, backup) == ERROR_SUCCESS) {
            backup.reset();
            upgrade::CopyRegSubTree(HKEY_LOCAL_MACHINE, source, destination, true);
        }
        return 0;
    });
    upgrade::Trace("DvSetRSOldProdRegKey() - End");
}

SETUPCLS_C int WINAPI DvSetCreateRSSubRegKeys(const char* key, const char* subKeys)
{
    upgrade::Trace("DvSetCreateRSSubRegKeys() - Start");
    const int result = failure::ContainExceptions(0, [&] {
        CProduct list;
        list.setRegNewPathSubKey(subKeys);
        const CString root = IsEmptyText(key) ? CTambRegistry::m_sDrosvaneKey : CString(key);
        return failure::ResultOf(CreateBackupSubKeys(root, list.getRegNewPathSubKey()));
    });
    upgrade::Trace("DvSetCreateRSSubRegKeys() - End - Return %d,", result);
    return result;
}
