// The plain functions are reached by installer scripts through their undecorated names.
#include "TestSupport.h"

#include <gtest/gtest.h>

TEST(Exports, ScramblingFunctionsAreFoundByName)
{
    HMODULE setupcls = LoadLibraryA((testsupport::ExeDir() + "SetupCLS.dll").c_str());
    ASSERT_NE(nullptr, setupcls);
    for (const char* name : {"DVSET_ZOREncrypt", "DVSET_ZORDecrypt", "DVSET_ZOREncrypt_NUMSTR",
                             "DVSET_ZORDecrypt_NUMSTR", "DVSET_Is3DESEncrypt"})
        EXPECT_NE(nullptr, reinterpret_cast<void*>(GetProcAddress(setupcls, name))) << name;
    FreeLibrary(setupcls);
}
