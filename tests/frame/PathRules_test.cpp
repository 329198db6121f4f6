#include "PathRulesCases.h"

// Code page 1252: no byte is a lead byte, so every 0x5C is a back-slash.
TEST(PathRules, TrailingBackSlashRules)
{
    ASSERT_EQ(1252u, GetACP());
    const PathCase cases[] = {
        {"\\", "", ""},  // no lone back-slash is ever produced
        {"", "", ""},
        {"C:\\Program Files\\Drosvane\\\\\\", "C:\\Program Files\\Drosvane", "C:\\Program Files\\Drosvane\\"},
        {"C:\\Drosvane", "C:\\Drosvane", "C:\\Drosvane\\"},
        {"C:\\\x95\\", "C:\\\x95", "C:\\\x95\\"},  // 0x95 is a plain character here
    };
    for (const PathCase& c : cases)
        ExpectPathRules(c);
}
