// The step report of dvsetup: every step is printed as it ends and written to the trace file
// through CLog, failures with a leading TAB; nothing is hidden.
#pragma once

#include "CString.h"

class StepReport {
public:
    explicit StepReport(const char* traceFile) : m_traceFile(traceFile) {}

    // Reports the step and passes its outcome on; a failed step with the Win32 error the failing
    // call left (GetLastError as the step ends).
    bool Step(const char* name, bool ok);
    // A step this machine cannot take, with the reason; it is no failure.
    void Skip(const char* name, const char* why);
    // A line of information under the current step.
    void Note(const char* format, ...);
    int Failures() const { return m_failures; }
    // "install: 6 steps, all done" or "install: 6 steps, 2 failed"; returns the exit code.
    int Finish(const char* command) const;

private:
    CString m_traceFile;
    int m_steps = 0;
    int m_failures = 0;
};
