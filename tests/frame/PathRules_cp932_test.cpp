#include "PathRulesCases.h"

// Runs with the ANSI code page 932 (Shift-JIS): 0x95 0x5C is one double-byte character whose
// trail byte has the back-slash's value, and 0x81 is a lead byte too.
TEST(PathRulesCp932, TrailByteOfDoubleByteCharacterIsNeverCut)
{
    ASSERT_EQ(932u, GetACP()) << "this program must run with code page 932";
    const PathCase cases[] = {
        // The 0x5C of the pair stays; a back-slash is appended after it.
        {"C:\\\x95\x5C", "C:\\\x95\x5C", "C:\\\x95\x5C\\"},
        {"\x95\x5C", "\x95\x5C", "\x95\x5C\\"},
        // Real back-slashes after the pair go.
        {"\x95\x5C\\\\", "\x95\x5C", "\x95\x5C\\"},
        // Odd run of lead bytes: 0x81 0x95 is one character, the 0x5C after it is real.
        {"C:\\\x81\x95\\", "C:\\\x81\x95", "C:\\\x81\x95\\"},
        // Even run: 0x81 0x81 and 0x95 0x5C are two characters.
        {"\x81\x81\x95\x5C", "\x81\x81\x95\x5C", "\x81\x81\x95\x5C\\"},
    };
    for (const PathCase& c : cases)
        ExpectPathRules(c);
}
