// CSetupInf: the setup information file SETUP.INF of the installation medium. It tells which
// optional components the medium carries, the names of the installer files on it, the product
// type and subtype it installs and which earlier builds it may update. It is written when the
// medium is made; the library only reads it, through the Windows private-profile functions.
//
// Locating the file makes its folder the process's current folder, on purpose: the file names of
// the "Components" section are relative to the medium's folder, and the file-name getters resolve
// them against the current folder when they are called.
//
// Text getters return a pointer into the object, valid while it lives and until the same getter
// is called again. Each keeps its previous result when the file is missing or the key is empty.
#pragma once

#include "CString.h"

class SETUPCLS_API CSetupInf {
public:
    static const char* const m_sDefaultFilename;  // "SETUP.INF"

    static const char* const m_sComponentsSection;  // "Components"
    static const char* const m_sSupportSection;     // "Support"
    static const char* const m_sSetupSection;       // "Setup"
    static const char* const m_sBuildNumberSection; // "BuildNumber"

    static const char* const m_sDataMigrationKey;      // "DataMigration"
    static const char* const m_sOVGFrameWorkKey;       // "OVGFrameWork"
    static const char* const m_sOVGFrameWorkSetupKey;  // "OVGFrameWorkSetupFileName"
    static const char* const m_sIE5InstallKey;         // "BN_IE5InstallFileName"
    static const char* const m_sConfigFileKey;         // "ConfigFile"
    static const char* const m_sMsiSetupKey;           // "MSISetup"
    static const char* const m_sMsmSetupKey;           // "MSMSetup"
    static const char* const m_sSQL2005EInstKey;       // "SQL2005EInstFileName"
    static const char* const m_sProductNameKey;        // "ProductName"
    static const char* const m_sSetupFileNameKey;      // "SetupFileName"
    static const char* const m_sProductTypeKey;        // "ProductType"
    static const char* const m_sProdSubTypeKey;        // "ProdSubType"
    static const char* const m_sBetaUpgVerKey;         // "BetaUpgVer"

    // Locates SETUP.INF beside the running executable.
    CSetupInf();
    CSetupInf(const CSetupInf&) = default;
    CSetupInf(CSetupInf&&) = default;
    CSetupInf& operator=(const CSetupInf&) = default;
    CSetupInf& operator=(CSetupInf&&) = default;
    ~CSetupInf() = default;

    // Sets the file (null or empty: SETUP.INF beside the running executable), makes its folder
    // the current folder and notes whether it exists. A relative path is made absolute first.
    // Always TRUE.
    BOOL SetDRVsetupINFName(const char* path);

    // "Components": the component switches. When the file is missing, the value last read.
    BOOL IsHSMAvailable();
    BOOL IsOVGFWAvailable();

    // "Components": installer file names. The first is the text as written (at most 260 bytes);
    // the others are made absolute against the current folder.
    const char* GetOVGFWSetupFileName();
    const char* GetIE5InstallFileName();
    const char* GetConfigFileName();
    const char* GetMsiFileName();
    const char* GetMsmFileName();
    const char* GetSQL2005EInstFileName();

    // "Support": product name (at most 254 bytes) and setup program name (at most 260 bytes).
    const char* GetSetupProductName();
    const char* GetSetupFileName();

    // "Setup": -1 when the key is missing, 0 when the file is. A subtype outside 0 to 5 is -1.
    int GetProductType();
    int GetProductSubType();

    // "BuildNumber": the entry named key, "low,high" or one number for both, read as its first
    // nine characters. low and high are 0 unless read. TRUE when low >= 0 and high > 0.
    BOOL GetUpdateBuildNoRange(const char* key, int* low, int* high);

    // "BuildNumber", "BetaUpgVer": the number cut to 16 bits; 0 and FALSE when absent.
    BOOL GetBetaUpgVer(unsigned short& version);

private:
    void Locate();
    BOOL ReadComponentFlag(const char* key, BOOL& cache);
    const char* ReadText(const char* section, const char* key, DWORD size, CString& result) const;
    const char* ReadFileName(const char* key, int fullSize, CString& result) const;

    CString m_path;
    BOOL m_hsmAvailable = FALSE;
    BOOL m_ovgfwAvailable = FALSE;
    BOOL m_exists = FALSE;
    CString m_ovgfwSetupFileName;
    CString m_ie5InstallFileName;
    CString m_configFileName;
    CString m_msiFileName;
    CString m_msmFileName;
    CString m_sql2005EInstFileName;
    CString m_setupProductName;
    CString m_setupFileName;
};
