#include "CProduct.h"

#include "CTambRegistry.h"
#include "Failure.h"
#include "ProfileFile.h"
#include "SetupTraceFile.h"
#include "UpgradeTarget.h"
#include "VersionInfo.h"

#include <cstdio>
#include <cstdlib>

namespace {

const char kSetupSection[] = "Setup";
const char kUpgradeSection[] = "Upgrade";
const DWORD kTextSize = 260;

// Always backed up, after the file's own value names.
const char kStandardBackupValues[] = "Version,Dll,ProdSubtype,BuildNumber";
const char kBackupSuffix[] = "(BACKUP)";

// An empty build range admits every build from 0 to this one.
const int kOpenMaxBuild = 10000;

CString ReadText(const char* file, const char* section, const CString& key)
{
    char text[kTextSize] = "";
    ProfileFile(file).ReadText(section, key, "", text, sizeof(text));
    return CString(text);
}

// major.minor as major * 256 + minor, kept to 16 bits; no "." means minor 0.
unsigned short ParseMajorMinor(const CString& text)
{
    const int dot = text.Find('.');
    const int major = atoi(dot < 0 ? text : text.Left(dot));
    const int minor = dot < 0 ? 0 : atoi(text.Mid(dot + 1));
    return static_cast<unsigned short>(major * 256 + minor);
}

// The part of a "min,max" range before the first "," (all of it when there is none), and the
// part after it (empty when there is none).
CString LowerBound(const CString& range)
{
    const int comma = range.Find(',');
    return comma < 0 ? range : range.Left(comma);
}

CString UpperBound(const CString& range)
{
    const int comma = range.Find(',');
    return comma < 0 ? CString() : range.Mid(comma + 1);
}

CProduct::StringList Split(const char* list)
{
    CProduct::StringList items;
    const CString text(list);
    if (text.IsEmpty())
        return items;
    int start = 0;
    for (int comma = text.Find(','); comma >= 0; comma = text.Find(',', start)) {
        items.push_back(text.Mid(start, comma - start));
        start = comma + 1;
    }
    items.push_back(text.Mid(start));
    return items;
}

void TraceList(const char* format, const char* suffix, const CProduct::StringList& items)
{
    for (size_t i = 0; i < items.size(); ++i)
        setuptrace::Write(format, suffix, static_cast<int>(i), items[i].GetString());
}

// The version library beside the description file: the file's folder (the text before its last
// back-slash) and the library's name joined by one back-slash. A description file named without
// a folder is in the current folder, and so is its library: the name is then used alone.
CString LibraryBeside(const char* descriptionFile, const CString& name)
{
    const CString file(descriptionFile);
    const int separator = file.ReverseFind('\\');
    if (separator < 0)
        return name;
    CString path;
    path.Format("%s\\%s", file.Left(separator).GetString(), name.GetString());
    return path;
}

}  // namespace

CProduct::CProduct()
    : m_versionNo(0), m_buildNo(0), m_upgradeMsg(0), m_invalidUpgradeMsg(0)
{
}

// A failed allocation stops the reading; the object keeps what was read until then.
CProduct::CProduct(const char* descriptionFile, int index, const char* machine) : CProduct()
{
    failure::ContainExceptions(0, [&] {
        if (index < 0)
            ReadNewProduct(descriptionFile, machine);
        else
            ReadEarlierProduct(descriptionFile, index);
        return 0;
    });
}

CProduct::~CProduct() = default;

void CProduct::ReadEarlierProduct(const char* file, int index)
{
    char nn[16];
    snprintf(nn, sizeof(nn), "%02d", index);
    const CString suffix(nn);

    setProductCode(ReadText(file, kUpgradeSection, "ProductCode" + suffix));
    setuptrace::Write("productCode%s is %s", nn, getProductCode());

    setBuildRange(ReadText(file, kUpgradeSection, "BuildRange" + suffix));
    setuptrace::Write("BuildRange%s is %s", nn, getBuildRange());
    setuptrace::Write("MaxBuild%s is %d", nn, getMaxBuildNo());
    setuptrace::Write("MinBuild%s is %d", nn, getMinBuildNo());

    setVersionRange(ReadText(file, kUpgradeSection, "VersionRange" + suffix));
    setuptrace::Write("VersionRange%s is %s", nn, getVersionRange());
    setuptrace::Write("MaxVersion is%s %d", nn, getMaxVersionNo());
    setuptrace::Write("MajorMaxVersion%s is %2d", nn, getMajorMaxVersionNo());
    setuptrace::Write("MinorMaxVersion%s is %2d", nn, getMinorMaxVersionNo());
    setuptrace::Write("MinVersion is%s %d", nn, getMinVersionNo());
    setuptrace::Write("MajorMinVersion%s is %2d", nn, getMajorMinVersionNo());
    setuptrace::Write("MinorMinVersion%s is %2d", nn, getMinorMinVersionNo());

    // The sub type is a list of numbers as text ("1,2"); its line shows the number it starts with.
    setProductSubType(ReadText(file, kUpgradeSection, "ProdSubType" + suffix));
    setuptrace::Write("ProductSubType%s is %d", nn, atoi(getProductSubType()));

    setRegSubKey(ReadText(file, kUpgradeSection, "RegSubKey" + suffix));
    TraceList("lpszSubKey%s[%d] is %s", nn, getRegSubKey());

    setRegRootKey(ReadText(file, kUpgradeSection, "RegRootKey" + suffix));
    setuptrace::Write("RegRootKeyOld%s is %s", nn, getRegRootKey());

    CString values = ReadText(file, kUpgradeSection, "RegBKValues" + suffix);
    if (!values.IsEmpty())
        values += ",";
    values += kStandardBackupValues;
    setRegBKValues(values);
    TraceList("RegBKValues%s[%d] is %s", nn, getRegBKValues());

    setRegNewPathSubKey(ReadText(file, kUpgradeSection, "RegSubKeyNew" + suffix));
    TraceList("lpszNewSubKey%s[%d] is %s", nn, getRegNewPathSubKey());
}

void CProduct::ReadNewProduct(const char* file, const char* machine)
{
    setProductCode(ReadText(file, kSetupSection, "ProductCode"));
    setuptrace::Write("ProductCode is %s", getProductCode());
    setProductSubType(ReadText(file, kSetupSection, "ProdSubType"));
    setuptrace::Write("ProductSubType is %s", getProductSubType());
    setProductDescriptor(ReadText(file, kSetupSection, "ProductDescriptor"));
    setuptrace::Write("ProductDescriptor is %s", getProductDescriptor());

    setUpgradeMsg(ProfileFile(file).ReadInt(kUpgradeSection, "UpgradeMsg", 0));
    setuptrace::Write("UpgradeMsgID is %d", getUpgradeMsg());
    setInvalidUpgradeMsg(ProfileFile(file).ReadInt(kUpgradeSection, "InvalidUpgradeMsg", 0));
    setuptrace::Write("InvalidUpgradeMsgID is %d", getInvalidUpgradeMsg());

    // The product key as the last construction of the product registry left it (the brand's,
    // or the default).
    setRegBKRootKey(CTambRegistry::m_sDrosvaneKey + kBackupSuffix);
    setuptrace::Write("RegBKRootKey is %s", getRegBKRootKey());
    setRegRootKey(CTambRegistry::m_sDrosvaneKey);
    setuptrace::Write("RegRootKey is %s", getRegRootKey());

    // A 64-bit machine may have a library of its own for the 32-bit product ("32VersionDLL");
    // without one, and on a 32-bit machine, the product's "VersionDLL" is read.
    CString library;
    if (upgrade::IsRemote64BitSystem(machine)) {
        setuptrace::Write("IsRemote_64Bit_System is true");
        library = ReadText(file, kUpgradeSection, "32VersionDLL");
    }
    if (library.IsEmpty())
        library = ReadText(file, kUpgradeSection, "VersionDLL");

    // The product's version library answers its version and build through its own version
    // exports, packed as build << 16 | version. No library named: version and build 0.
    const unsigned long versionBuild = library.IsEmpty() ? 0 : SetupCLSGetVersionBuildNumber(LibraryBeside(file, library));
    setBuildNo(HIWORD(versionBuild));
    setuptrace::Write("newproduct getBuildNo is %d", getBuildNo());
    setVersionNo(LOWORD(versionBuild));
    setuptrace::Write("newproduct getVersionNo is %d.%d", getMajorVersionNo(), getMinorVersionNo());
}

void CProduct::setName(const char* name)
{
    m_name = name;
}

void CProduct::setProductCode(const char* code)
{
    m_productCode = code;
}

void CProduct::setProductDescriptor(const char* descriptor)
{
    m_productDescriptor = descriptor;
}

void CProduct::setProductSubType(const char* subType)
{
    m_productSubType = subType;
}

void CProduct::setVersionNo(unsigned short version)
{
    m_versionNo = version;
}

void CProduct::setVersionNo(const char* majorMinor)
{
    m_versionNo = ParseMajorMinor(majorMinor);
}

void CProduct::setBuildNo(unsigned short build)
{
    m_buildNo = build;
}

void CProduct::setVersionRange(const char* range)
{
    m_versionRange = range;
}

unsigned short CProduct::getMinVersionNo() const
{
    return ParseMajorMinor(LowerBound(m_versionRange));
}

unsigned short CProduct::getMaxVersionNo() const
{
    return ParseMajorMinor(UpperBound(m_versionRange));
}

void CProduct::setBuildRange(const char* range)
{
    m_buildRange = range;
}

int CProduct::getMinBuildNo() const
{
    return m_buildRange.IsEmpty() ? 0 : atoi(LowerBound(m_buildRange));
}

int CProduct::getMaxBuildNo() const
{
    return m_buildRange.IsEmpty() ? kOpenMaxBuild : atoi(UpperBound(m_buildRange));
}

void CProduct::setRegRootKey(const char* key)
{
    m_regRootKey = key;
}

void CProduct::setRegBKRootKey(const char* key)
{
    m_regBKRootKey = key;
}

void CProduct::setRegSubKey(const char* list)
{
    m_regSubKeys = Split(list);
}

void CProduct::setRegBKValues(const char* list)
{
    m_regBKValues = Split(list);
}

void CProduct::setRegNewPathSubKey(const char* list)
{
    m_regNewPathSubKeys = Split(list);
}
