// Export conventions of SetupCLS.dll.
//
// SETUPCLS_API marks the exported classes and C++ free functions: dllexport while the DLL is
// built, dllimport for callers. The plain functions for installer scripts are declared with
// SETUPCLS_C: extern "C", __stdcall, exported undecorated under their own names by the module
// definition file, so GetProcAddress(module, "DVSET_ZOREncrypt") finds them.
#pragma once

#include <windows.h>

#if defined(SETUPCLS_BUILDING_DLL)
#define SETUPCLS_API __declspec(dllexport)
#define SETUPCLS_C_IMPORT
#else
#define SETUPCLS_API __declspec(dllimport)
#define SETUPCLS_C_IMPORT __declspec(dllimport)
#endif

#ifdef __cplusplus
#define SETUPCLS_C extern "C" SETUPCLS_C_IMPORT
#else
#define SETUPCLS_C SETUPCLS_C_IMPORT
#endif
