#include "SecuritySupport.h"

#include <sddl.h>

#include <cstdio>

namespace testsupport {

std::string SidText(PSID sid)
{
    char* text = nullptr;
    if (!ConvertSidToStringSidA(sid, &text))
        return "?";
    std::string result(text);
    LocalFree(text);
    return result;
}

std::vector<std::string> AceEntries(PACL list)
{
    std::vector<std::string> entries;
    for (DWORD index = 0; list && index < list->AceCount; ++index) {
        ACCESS_ALLOWED_ACE* ace = nullptr;
        if (!GetAce(list, index, reinterpret_cast<void**>(&ace)))
            continue;
        char text[64];
        snprintf(text, sizeof(text), " %u %u 0x%lX", ace->Header.AceType, ace->Header.AceFlags, ace->Mask);
        entries.push_back(SidText(&ace->SidStart) + text);
    }
    return entries;
}

}  // namespace testsupport
