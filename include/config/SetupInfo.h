// tagSETUP_INFO: the fixed-layout record a setup program fills and hands to CSettings.
//
// The layout is shared with the setup programs byte for byte: 2644 bytes, natural 4-byte
// alignment, texts NUL-terminated ANSI. The compile-time checks below hold every offset.
#pragma once

#include <windows.h>

#include <cstddef>

struct tagSETUP_INFO {
    char szProductName[256];       // "short name - edition"
    char szProfile[261];           // answer file
    char szTraceFile[261];
    char szSourcePath[261];        // the medium
    char szBatchFile[261];
    char szMIFFile[261];
    char szProgramGroupName[256];
    char szLogFile[261];
    char padding[2];               // aligns the numbers that follow
    int nProductType;
    BOOL bIgnoreErrors;
    BOOL bTrace;
    BOOL bBatchOperation;
    BOOL bMIF;
    BOOL bConfigurationOnly;
    unsigned char reserved[272];   // the setup program's own; CSettings does not read it
    BOOL bCopyOnlyMode;
    char szFixNumber[256];         // patch number
    BOOL bForceOperation;
    BOOL bUninstallAll;
};

static_assert(sizeof(tagSETUP_INFO) == 2644, "tagSETUP_INFO is 2644 bytes");
static_assert(offsetof(tagSETUP_INFO, szProductName) == 0, "tagSETUP_INFO layout");
static_assert(offsetof(tagSETUP_INFO, szProfile) == 256, "tagSETUP_INFO layout");
static_assert(offsetof(tagSETUP_INFO, szTraceFile) == 517, "tagSETUP_INFO layout");
static_assert(offsetof(tagSETUP_INFO, szSourcePath) == 778, "tagSETUP_INFO layout");
static_assert(offsetof(tagSETUP_INFO, szBatchFile) == 1039, "tagSETUP_INFO layout");
static_assert(offsetof(tagSETUP_INFO, szMIFFile) == 1300, "tagSETUP_INFO layout");
static_assert(offsetof(tagSETUP_INFO, szProgramGroupName) == 1561, "tagSETUP_INFO layout");
static_assert(offsetof(tagSETUP_INFO, szLogFile) == 1817, "tagSETUP_INFO layout");
static_assert(offsetof(tagSETUP_INFO, padding) == 2078, "tagSETUP_INFO layout");
static_assert(offsetof(tagSETUP_INFO, nProductType) == 2080, "tagSETUP_INFO layout");
static_assert(offsetof(tagSETUP_INFO, bIgnoreErrors) == 2084, "tagSETUP_INFO layout");
static_assert(offsetof(tagSETUP_INFO, bTrace) == 2088, "tagSETUP_INFO layout");
static_assert(offsetof(tagSETUP_INFO, bBatchOperation) == 2092, "tagSETUP_INFO layout");
static_assert(offsetof(tagSETUP_INFO, bMIF) == 2096, "tagSETUP_INFO layout");
static_assert(offsetof(tagSETUP_INFO, bConfigurationOnly) == 2100, "tagSETUP_INFO layout");
static_assert(offsetof(tagSETUP_INFO, reserved) == 2104, "tagSETUP_INFO layout");
static_assert(offsetof(tagSETUP_INFO, bCopyOnlyMode) == 2376, "tagSETUP_INFO layout");
static_assert(offsetof(tagSETUP_INFO, szFixNumber) == 2380, "tagSETUP_INFO layout");
static_assert(offsetof(tagSETUP_INFO, bForceOperation) == 2636, "tagSETUP_INFO layout");
static_assert(offsetof(tagSETUP_INFO, bUninstallAll) == 2640, "tagSETUP_INFO layout");
