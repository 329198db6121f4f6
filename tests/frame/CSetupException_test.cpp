#include "CSetupException.h"

#include <gtest/gtest.h>

#include <cstring>

TEST(CSetupException, MessageIsTextAndLowerCaseHexErrorAndCodeBecomesTwo)
{
    CSetupException* e = new CSetupException(7, 5, "AccessCheck() failed");
    char buffer[64];
    unsigned int help = 1234;
    EXPECT_EQ(7, e->m_nCode);
    EXPECT_TRUE(e->GetErrorMessage(buffer, 1, &help));  // maxLength is not applied
    EXPECT_STREQ("AccessCheck() failed - [0x5]", buffer);
    EXPECT_EQ(2, e->m_nCode);
    EXPECT_EQ(1234u, help);

    CSetupException hex(0, 0xDEADBEEF, "OpenProcessToken() failed");
    EXPECT_TRUE(hex.GetErrorMessage(buffer, sizeof(buffer)));
    EXPECT_STREQ("OpenProcessToken() failed - [0xdeadbeef]", buffer);
    e->Delete();
}

TEST(CSetupException, DefaultExceptionFormatsEmptyTextAndZero)
{
    CSetupException e;
    EXPECT_EQ(0, e.m_nCode);
    EXPECT_EQ(0u, e.m_dwError);
    EXPECT_TRUE(e.m_sText.IsEmpty());
    char buffer[32];
    EXPECT_TRUE(e.GetErrorMessage(buffer, sizeof(buffer), nullptr));
    EXPECT_STREQ(" - [0x0]", buffer);
    EXPECT_TRUE(e.GetErrorMessage(nullptr, 0, nullptr));
    EXPECT_EQ(2, e.m_nCode);
}

TEST(CSetupException, ThrownPointerCarriesValuesAndClassInformation)
{
    try {
        AfxThrowSetupException(42, 1332, "LookupAccountName() failed");
        FAIL() << "AfxThrowSetupException returned";
    } catch (CSetupException* e) {
        EXPECT_EQ(42, e->m_nCode);
        EXPECT_EQ(1332u, e->m_dwError);
        EXPECT_STREQ("LookupAccountName() failed", e->m_sText);

        const CRuntimeClassInfo* cls = e->GetRuntimeClass();
        EXPECT_EQ(CSetupException::GetThisClass(), cls);
        EXPECT_STREQ("CSetupException", cls->m_lpszClassName);
        ASSERT_NE(nullptr, cls->GetBaseClass());
        EXPECT_EQ(CClsException::GetThisClass(), cls->GetBaseClass());
        EXPECT_EQ(CClsObject::GetThisClass(), cls->GetBaseClass()->GetBaseClass());
        EXPECT_TRUE(e->IsKindOf(CClsException::GetThisClass()));
        EXPECT_TRUE(e->IsKindOf(CClsObject::GetThisClass()));
        EXPECT_FALSE(CClsException::GetThisClass()->IsDerivedFrom(CSetupException::GetThisClass()));
        e->Delete();
    }
}
