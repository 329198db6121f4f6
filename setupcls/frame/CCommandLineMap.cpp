#include "CCommandLineMap.h"

#include <cstring>
#include <string>

namespace {

// The systems-management deployment passes these whole tokens; each stands for a switch that
// names the deployment's answer file.
const char* const kSmsTokens[] = {"-SMSInstall", "-SMSUninstall"};
const char kSmsAnswerFile[] = ":DROSVANE.ICF";

bool IsSmsToken(const char* token)
{
    for (const char* sms : kSmsTokens) {
        if (strcmp(token, sms) == 0)
            return true;
    }
    return false;
}

}  // namespace

CCommandLineMap::CCommandLineMap(const char* commandLine, char switchChar)
{
    if (!commandLine)
        return;
    // Split at blanks: runs of blanks separate tokens, leading and trailing blanks are dropped.
    std::string line(commandLine);
    unsigned int position = 0;
    size_t at = 0;
    while ((at = line.find_first_not_of(' ', at)) != std::string::npos) {
        size_t end = line.find(' ', at);
        std::string token = line.substr(at, end == std::string::npos ? std::string::npos : end - at);
        at = end;
        // The two deployment tokens count as switches whatever the switch character is.
        if (token[0] == switchChar || IsSmsToken(token.c_str())) {
            ProcessSwitchToken(token.c_str());
        } else {
            CString key;
            TextKey(key, position++);
            m_map[key] = token.c_str();
        }
    }
}

CCommandLineMap::~CCommandLineMap() = default;

void CCommandLineMap::ProcessSwitchToken(const char* token)
{
    if (!token || !token[0] || !token[1])
        return;  // the switch character alone
    std::string text(token);
    if (IsSmsToken(token))
        text += kSmsAnswerFile;
    size_t colon = text.find(':');
    if (colon != std::string::npos)
        m_map[CString(text.substr(1, colon - 1))] = CString(text.substr(colon + 1));
    else
        m_map[CString(text.substr(1, 1))] = CString(text.substr(2));
}

void CCommandLineMap::TextKey(CString& key, unsigned int index) const
{
    key.Format("#%d", index);
}

BOOL CCommandLineMap::Lookup(const char* key, CString& value) const
{
    auto found = m_map.find(CString(key));
    if (found == m_map.end())
        return FALSE;
    value = found->second;
    return TRUE;
}

BOOL CCommandLineMap::GetText(unsigned int index, CString) const
{
    CString key;
    TextKey(key, index);
    return m_map.count(key) ? TRUE : FALSE;
}

BOOL CCommandLineMap::GetSwitch(char letter) const
{
    return m_map.count(CString(letter)) ? TRUE : FALSE;
}

BOOL CCommandLineMap::GetSwitch(const char* name) const
{
    return m_map.count(CString(name)) ? TRUE : FALSE;
}

BOOL CCommandLineMap::GetSwitch(char letter, CString& value, const char* defaultValue) const
{
    return GetSwitch(CString(letter), value, defaultValue);
}

BOOL CCommandLineMap::GetSwitch(const char* name, CString& value, const char* defaultValue) const
{
    if (Lookup(name, value))
        return TRUE;
    if (defaultValue)
        value = defaultValue;
    return FALSE;
}
