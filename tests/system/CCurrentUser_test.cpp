// CCurrentUser against Wine's real tokens, user names and account look-up. Under Wine the user
// (root) is an administrator. Wine's CreatePrivateObjectSecurity is a stub: the descriptor it
// makes has the owner and group Everyone and no access list at all, whatever list it is given, so
// the real AccessCheck grants everything to anybody and IsAdministrator's 1 here does not prove
// the Administrators entry is checked. That entry, the check's arguments and a refusal are shown
// in CCurrentUserIntercepted.
#include "CCurrentUser.h"

#include "Handles.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// The domain of the token's user, looked up by the test itself.
std::string TokenUserDomain()
{
    UniqueHandle token;
    BYTE user[1000];
    DWORD length = 0;
    char name[256], domain[256];
    DWORD nameSize = sizeof(name), domainSize = sizeof(domain);
    SID_NAME_USE use;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, token.put()) ||
        !GetTokenInformation(token.get(), TokenUser, user, sizeof(user), &length) ||
        !LookupAccountSidA(nullptr, reinterpret_cast<TOKEN_USER*>(user)->User.Sid, name, &nameSize, domain,
                           &domainSize, &use))
        return "(no domain)";
    return domain;
}

}  // namespace

TEST(CCurrentUser, NamesAreThoseOfTheProcessUser)
{
    char expectedUser[256];
    DWORD size = sizeof(expectedUser);
    ASSERT_TRUE(GetUserNameA(expectedUser, &size));
    const std::string expectedDomain = TokenUserDomain();
    ASSERT_NE("", expectedDomain);

    CCurrentUser user;
    EXPECT_STREQ(expectedUser, user.GetUser());
    EXPECT_EQ(expectedDomain, user.GetDomain());
    CCurrentUser copy(user);
    EXPECT_STREQ(expectedUser, copy.GetUser());
}

TEST(CCurrentUser, StaticFormsFillTheBufferOrAnswerTheSizeNeeded)
{
    char text[48];
    unsigned long size = sizeof(text);
    // The size is LookupAccountSidA's: Wine counts the terminating zero, Windows does not.
    ASSERT_EQ(1, CCurrentUser::GetDomain(text, &size));
    EXPECT_EQ(TokenUserDomain(), text);
    size = 1;
    EXPECT_EQ(0, CCurrentUser::GetUser(text, &size));
    EXPECT_EQ(static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER), GetLastError());
    EXPECT_EQ(strlen(CCurrentUser().GetUser()) + 1, size);
}

TEST(CCurrentUser, MissingBuffersAnswerZero)
{
    char text[48];
    unsigned long size = sizeof(text);
    EXPECT_EACH(0, ANSWER(CCurrentUser::GetUser(text, nullptr)), ANSWER(CCurrentUser::GetDomain(text, nullptr)),
                ANSWER(CCurrentUser::GetUser(nullptr, &size)), ANSWER(CCurrentUser::GetDomain(nullptr, &size)));
    EXPECT_EQ(static_cast<DWORD>(ERROR_INVALID_PARAMETER), GetLastError());
}

TEST(CCurrentUser, WineUserIsAdministratorAndTheThreadIsRevertedAfterwards)
{
    EXPECT_EQ(1, CCurrentUser::IsAdministrator());
    UniqueHandle threadToken;
    EXPECT_FALSE(OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, threadToken.put()));
    EXPECT_EQ(static_cast<DWORD>(ERROR_NO_TOKEN), GetLastError());
}
