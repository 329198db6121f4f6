// Access lists as text, for the tests that check the lists the library builds entry by entry.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace testsupport {

// "S-1-5-32-544"; "?" when the SID cannot be shown.
std::string SidText(PSID sid);
// "<sid> <ace type> <ace flags> 0x<mask>" for each entry of the list, in order.
std::vector<std::string> AceEntries(PACL list);

}  // namespace testsupport
