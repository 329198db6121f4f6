// The upgrade trace: the upgrade functions' own trace file. Internal to the library.
//
// Support engineers switch it on per machine: the environment variable UPGRADE_SETUPCLS names a
// folder, and every line goes to "Upgrade_SetupCls.log" in it. Without the variable nothing is
// written. Each line is formatted into 1,024 bytes and ends in CR LF; it is appended under a
// lock of the range it writes, so the installer, the uninstaller and the patch installer can
// trace the same upgrade into one file. A file that cannot be opened (another process holds it
// at that moment, the folder is missing) loses the line silently: tracing never fails an upgrade.
#pragma once

#define UPGRADE_TRACE_VARIABLE "UPGRADE_SETUPCLS"
#define UPGRADE_TRACE_FILE_NAME "Upgrade_SetupCls.log"

namespace upgrade {

// Appends one formatted line to the upgrade trace, when it is switched on.
void Trace(const char* format, ...);

}  // namespace upgrade
