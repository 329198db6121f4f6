// The master setup's side of a remote installation, as dvsetup plays it on one machine: a
// listener that reads the status and result mailslots, and the installing side that reports
// to it and writes the MIF status file for software distribution.
#pragma once

#include "Report.h"

#include "CString.h"

// dvsetup listen: creates the two mailslots of the master setup on this machine, prints every
// message that arrives ("status <text>", "result <text>") and ends after the given number of
// results, or after waitSeconds. Answers 0 when they all arrived, 1 after the wait, 3 when the
// mailslots cannot be made (another listener has them).
int Listen(unsigned long waitSeconds, unsigned long results);

// The installing side: status messages to the master on this machine, the result at the end,
// and the MIF status file (install or uninstall form).
class MasterReport {
public:
    MasterReport(const CString& mifFile, int uninstall);
    // Sends the step count so far as a status message; a master that does not listen is no
    // failure of the installation.
    void Status(unsigned int step, const char* text);
    // The result message and the MIF file's status and end; answers whether the MIF was written.
    bool Finish(StepReport& report, int failures, const char* text);

private:
    CString m_mifFile;
    CString m_master;
    int m_uninstall;
    bool m_listened = false;
};

// The status of the last MIF file ("SUCCESS: install finished..." or a line saying there is
// none), for dvsetup status.
CString LastMifStatus(const CString& mifFile);
