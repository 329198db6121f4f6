#include "Report.h"

#include "CLog.h"

#include <cstdarg>
#include <cstdio>

bool StepReport::Step(const char* name, bool ok)
{
    const DWORD error = GetLastError();  // the library's reason, read before anything else runs
    ++m_steps;
    if (ok) {
        printf("  %-7s %s\n", "ok", name);
        CLog::Write(m_traceFile, "%s", name);
    } else {
        ++m_failures;
        printf("  %-7s %s (error %lu)\n", "FAILED", name, error);
        CLog::Write(m_traceFile, "\tFailed: %s (error %lu)", name, error);
    }
    fflush(stdout);
    return ok;
}

void StepReport::Skip(const char* name, const char* why)
{
    ++m_steps;
    printf("  %-7s %s: %s\n", "skipped", name, why);
    fflush(stdout);
    CLog::Write(m_traceFile, "%s: skipped, %s", name, why);
}

void StepReport::Note(const char* format, ...)
{
    CString text;
    va_list args;
    va_start(args, format);
    text.FormatV(format, args);
    va_end(args);
    printf("          %s\n", text.GetString());
    CLog::Write(m_traceFile, "\t\t%s", text.GetString());
}

int StepReport::Finish(const char* command) const
{
    if (m_failures == 0)
        printf("%s: %d steps, all done\n", command, m_steps);
    else
        printf("%s: %d steps, %d failed\n", command, m_steps, m_failures);
    CLog::Write(m_traceFile, "%s finished: %d steps, %d failed", command, m_steps, m_failures);
    return m_failures;
}
