// A path, what TrimTailBackSlash and AppendBackSlash make of it, checked under the code page
// the test program runs with.
#pragma once

#include "PathRules.h"

#include <gtest/gtest.h>

#include <cstring>

struct PathCase {
    const char *input, *trimmed, *appended;
};

inline void ExpectPathRules(const PathCase& c)
{
    SCOPED_TRACE(c.input);
    CString trimmed(c.input);
    EXPECT_EQ(static_cast<int>(strlen(c.trimmed)), TrimTailBackSlash(trimmed));
    EXPECT_STREQ(c.trimmed, trimmed);
    CString appended(c.input);
    EXPECT_EQ(static_cast<int>(strlen(c.appended)), AppendBackSlash(appended));
    EXPECT_STREQ(c.appended, appended);
}
