// CRemoteMailslot: status and result messages of a remote installation to the master setup
// that started it, as one-way mailslot datagrams on the master machine.
//
// Status messages go to the mailslot "Quellmarsh_Setup_Status", the final result to
// "MasterSetup_Status". A message is plain 8-bit text, its fields separated by one back-slash,
// written without a terminating zero:
//
//     SendStatus(master, status, detail)                       sender\status\detail\product
//     SendStatus(master, status, detail, text)                 sender\status\detail\text\product
//     SendStatus(master, status, detail, text1, text2)         sender\status\detail\text1\text2
//     SendStatus(master, status, detail, text1, text2, v1, v2) sender\status\detail\text1\text2\v1\v2
//     SendResults(master, result, text)                        result\text
//
// Numbers are decimal, as the master setup reads them with signed conversions ("%d": a status
// of 0xFFFFFFFF reads "-1"). In the seven-field form an empty text 2 is sent as "Reserved
// String", so that the field is never empty. A message longer than 260 characters is cut to its
// first 259. A null text is an empty field.
//
// The master is this machine when its name equals the local computer name in any letter case
// (and when the local name cannot be read, or the master's name is null or empty); its mailslot
// is then reached as "\\.\mailslot\...", else as "\\<master>\mailslot\...". The sender is the
// local computer name, or for another master the "HostName" of section "Install" of the
// "Setup.icf" beside the running program (the local name when that is empty). The product number
// is that of the setup user-interface library the "SETUP.INF" beside the running program names
// in "GUIDLL" of "ProductInfo" (0 for none or an unknown name); it is read once and kept for the
// life of the library.
//
// Each send opens the mailslot, writes the message in one write and closes it; nothing waits for
// an answer. Results: non-zero when the whole message was written; 0 when the mailslot could not
// be opened (no master setup listening) or the write failed, with the reason in GetLastError.
#pragma once

#include "CString.h"

class SETUPCLS_API CRemoteMailslot {
public:
    static const char* const m_sStatusMailslot;   // "Quellmarsh_Setup_Status"
    static const char* const m_sResultsMailslot;  // "MasterSetup_Status"
    static const char* const m_sReservedString;   // "Reserved String"

    explicit CRemoteMailslot(const char* master);
    CRemoteMailslot(const CRemoteMailslot&) = default;
    CRemoteMailslot(CRemoteMailslot&&) = default;
    CRemoteMailslot& operator=(const CRemoteMailslot&) = default;
    CRemoteMailslot& operator=(CRemoteMailslot&&) = default;
    ~CRemoteMailslot() = default;

    const char* Master() const { return m_sMaster; }

    // The static forms below, to the object's master.
    int SendStatus(unsigned int status, unsigned int detail);
    int SendStatus(unsigned int status, unsigned int detail, const char* text);

    static int SendStatus(const char* master, unsigned int status, unsigned int detail);
    static int SendStatus(const char* master, unsigned int status, unsigned int detail, const char* text);
    static int SendStatus(const char* master, unsigned int status, unsigned int detail, const char* text1,
                          const char* text2);
    static int SendStatus(const char* master, unsigned int status, unsigned int detail, const char* text1,
                          const char* text2, unsigned int value1, unsigned int value2);
    static int SendResults(const char* master, unsigned int result, const char* text);

private:
    CString m_sMaster;
};
