// What the program (the library included) writes to its standard output during one scope.
#pragma once

#include "TestSupport.h"

#include <string>

namespace testsupport {

// Standard output goes to a temporary file from construction until Text() is first asked for.
class StdoutCapture : NoCopy {
public:
    StdoutCapture();
    ~StdoutCapture();
    std::string Text();

private:
    void Restore();
    std::string m_file;
    int m_saved = -1;
    std::string m_text;
};

}  // namespace testsupport
