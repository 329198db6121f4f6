// What the program (the library included) writes to its standard output during one call.
#pragma once

#include <functional>
#include <string>

namespace testsupport {

// Runs body with standard output sent to a temporary file, and answers what was written. Checks
// belong after the call: a failure message printed during body would be captured too.
std::string StdoutOf(const std::function<void()>& body);

}  // namespace testsupport
