#include "CSetupException.h"

#include <gtest/gtest.h>

TEST(CSetupException, MessageIsTextAndLowerCaseHexErrorAndCodeBecomesTwo)
{
    CSetupException* e = new CSetupException(7, 0xDEADBEEF, "AccessCheck() failed");
    char buffer[64];
    unsigned int help = 1234;
    EXPECT_EQ(7, e->m_nCode);
    EXPECT_TRUE(e->GetErrorMessage(buffer, 1, &help));  // maxLength is not applied
    EXPECT_STREQ("AccessCheck() failed - [0xdeadbeef]", buffer);
    EXPECT_EQ(2, e->m_nCode);
    EXPECT_EQ(1234u, help);
    e->Delete();

    CSetupException empty;
    EXPECT_EQ(0, empty.m_nCode);
    EXPECT_TRUE(empty.GetErrorMessage(buffer, sizeof(buffer), nullptr));
    EXPECT_STREQ(" - [0x0]", buffer);
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
        ASSERT_EQ(CClsException::GetThisClass(), cls->GetBaseClass());
        EXPECT_EQ(CClsObject::GetThisClass(), cls->GetBaseClass()->GetBaseClass());
        EXPECT_TRUE(e->IsKindOf(CClsObject::GetThisClass()));
        e->Delete();
    }
}
