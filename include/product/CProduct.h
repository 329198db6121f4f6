// CProduct: one product as the upgrade description file describes it.
//
// The description file is a private-profile (INI) file shipped with the installer (the
// product's setup.inf). It describes the product being installed (section "Setup", and the
// messages of section "Upgrade") and the earlier products it may replace, entry NN of section
// "Upgrade" (NN = the entry's index as two digits at least: 01, 07, 12, 100):
//
//   ProductCodeNN    Windows Installer product code of the earlier product
//   BuildRangeNN     min,max  decimal builds that qualify (empty: 0 to 10000)
//   VersionRangeNN   min,max  versions major.minor that qualify (empty: any)
//   ProdSubTypeNN    the sub type numbers of the earlier product, as text ("1,2")
//   RegSubKeyNN      its registry sub keys to carry over, comma-separated
//   RegRootKeyNN     its registry key path
//   RegBKValuesNN    value names to back up; "Version,Dll,ProdSubtype,BuildNumber" always follow
//   RegSubKeyNewNN   the new paths of the sub keys, in the same order
//
// Each value read goes to the setup program's trace file, the file the environment variable
// DVSET_TRACEFILE names (DVSET_TRACE_FILE_VARIABLE, CLog.h); without it nothing is written.
//
// Numbers: a version number is major << 8 | minor (11.5 is 0x0B05), a build number 16 bits.
// List setters split their text at every ","; empty items between commas are kept as they fall,
// and an empty text makes an empty list.
#pragma once

#include "CString.h"

#include <vector>

class SETUPCLS_API CProduct {
public:
    using StringList = std::vector<CString>;

    // All texts and lists empty, all numbers 0.
    CProduct();
    // Reads one product from the description file: index < 0 the product being installed,
    // otherwise the earlier product of that index. machine names the computer the product is
    // installed on (null, empty or this computer's name: this machine); its bitness decides
    // which version library of the new product is read.
    CProduct(const char* descriptionFile, int index, const char* machine);
    virtual ~CProduct();

    void setName(const char* name);
    const char* getName() const { return m_name; }
    void setProductCode(const char* code);
    const char* getProductCode() const { return m_productCode; }
    void setProductDescriptor(const char* descriptor);
    const char* getProductDescriptor() const { return m_productDescriptor; }
    void setProductSubType(const char* subType);
    const char* getProductSubType() const { return m_productSubType; }

    void setVersionNo(unsigned short version);
    void setVersionNo(const char* majorMinor);  // "11.5"
    unsigned short getVersionNo() const { return m_versionNo; }
    unsigned short getMajorVersionNo() const { return static_cast<unsigned short>(m_versionNo >> 8); }
    unsigned short getMinorVersionNo() const { return static_cast<unsigned short>(m_versionNo & 0xFF); }
    void setBuildNo(unsigned short build);
    unsigned short getBuildNo() const { return m_buildNo; }

    // "min,max", each side major.minor; an empty side (or an empty range) is 0.
    void setVersionRange(const char* range);
    const char* getVersionRange() const { return m_versionRange; }
    unsigned short getMinVersionNo() const;
    unsigned short getMaxVersionNo() const;
    unsigned short getMajorMinVersionNo() const { return static_cast<unsigned short>(getMinVersionNo() >> 8); }
    unsigned short getMinorMinVersionNo() const { return static_cast<unsigned short>(getMinVersionNo() & 0xFF); }
    unsigned short getMajorMaxVersionNo() const { return static_cast<unsigned short>(getMaxVersionNo() >> 8); }
    unsigned short getMinorMaxVersionNo() const { return static_cast<unsigned short>(getMaxVersionNo() & 0xFF); }

    // "min,max" decimal builds; an empty range is 0 to 10000 (the open upper bound is
    // deliberate), a range without "," has the maximum 0.
    void setBuildRange(const char* range);
    const char* getBuildRange() const { return m_buildRange; }
    int getMinBuildNo() const;
    int getMaxBuildNo() const;

    // Message identifiers shown when this upgrade is allowed / refused (0: none).
    void setUpgradeMsg(int id) { m_upgradeMsg = id; }
    int getUpgradeMsg() const { return m_upgradeMsg; }
    void setInvalidUpgradeMsg(int id) { m_invalidUpgradeMsg = id; }
    int getInvalidUpgradeMsg() const { return m_invalidUpgradeMsg; }

    // The product's registry key path, and where its keys are backed up (that path with
    // "(BACKUP)" appended).
    void setRegRootKey(const char* key);
    const char* getRegRootKey() const { return m_regRootKey; }
    void setRegBKRootKey(const char* key);
    const char* getRegBKRootKey() const { return m_regBKRootKey; }

    // Comma-separated lists: sub keys to carry over, value names to back up, the sub keys' new
    // paths (same order as the sub keys).
    void setRegSubKey(const char* list);
    const StringList& getRegSubKey() const { return m_regSubKeys; }
    void setRegBKValues(const char* list);
    const StringList& getRegBKValues() const { return m_regBKValues; }
    void setRegNewPathSubKey(const char* list);
    const StringList& getRegNewPathSubKey() const { return m_regNewPathSubKeys; }

private:
    void ReadEarlierProduct(const char* file, int index);
    void ReadNewProduct(const char* file, const char* machine);

    CString m_name;
    CString m_productCode;
    CString m_productDescriptor;
    CString m_productSubType;
    unsigned short m_versionNo;
    unsigned short m_buildNo;
    CString m_versionRange;
    CString m_buildRange;
    int m_upgradeMsg;
    int m_invalidUpgradeMsg;
    CString m_regRootKey;
    CString m_regBKRootKey;
    StringList m_regSubKeys;
    StringList m_regBKValues;
    StringList m_regNewPathSubKeys;
};
