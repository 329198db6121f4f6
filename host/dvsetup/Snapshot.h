// A snapshot of the machine state that the library and dvsetup change: the registry trees of the
// product and of its registrations, the product's services, its folders, the firewall's answers
// for its service programs and the access lists of its key and home folder. Sorted plain text,
// one fact a line, with nothing that changes while the machine state stays (no times, process
// ids or handles), so that two snapshots compare with diff: a machine before an install and after
// the uninstall gives the same text but for what the product leaves on purpose.
//
// Each line is "<area>\t<path>\t<name>\t<type>\t<data>":
//   registry  key path with its root and view (HKLM32, HKLM64, HKCR32, HKCU64, or HKLM for a key
//             below SYSTEM, which has one view), value name ("(default)"; empty on the key's own
//             line), REG_* type ("key" for the key itself, "absent" for a root not there), data
//   service   service name, the fact (state, start, program, account, ...), "-", its value
//   file      folder, file name (empty on the folder's own line), "file" or "folder", size
//   firewall  program path, "", "answer" (or "started" for the firewall itself), the answer
//   access    key or folder, "", "DACL", the access list in the security descriptor language
// Texts are written as they are but for control characters, which appear as \xNN; binary data
// is hex.
#pragma once

// Writes the snapshot into file (created or replaced). 0 on success, else the Win32 status of the
// failure (the text of the machine could not be written).
int WriteSnapshot(const char* file);
