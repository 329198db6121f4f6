// Version and build of a product module, read through the module's own version exports
// "DvvGetVersionA" and "DvvGetBuildNumberA".
//
// Packing: a version number is the major version in the high byte and the minor version in the
// low byte, each cut to 8 bits (a major version of 300 is stored as 44); a build number is the
// decimal build cut to 16 bits; a version-and-build number is the build in the high word and the
// version in the low word (19.0 build 8347 is 0x209B1300). Every query answers an empty text or
// 0 when the module or its export is missing.
#pragma once

#include "CString.h"

SETUPCLS_API CString SetupCLSGetVersionString(CString modulePath);
SETUPCLS_API CString SetupCLSGetBuildString(CString modulePath);
SETUPCLS_API unsigned short SetupCLSGetVersionNumber(CString modulePath);
SETUPCLS_API unsigned short SetupCLSGetBuildNumber(CString modulePath);
SETUPCLS_API unsigned long SetupCLSGetVersionBuildNumber(CString modulePath);
