#include "OutputCapture.h"

#include <cstdio>
#include <io.h>

namespace testsupport {

StdoutCapture::StdoutCapture()
{
    char folder[MAX_PATH] = {}, name[MAX_PATH] = {};
    GetTempPathA(MAX_PATH, folder);
    GetTempFileNameA(folder, "out", 0, name);
    m_file = name;
    fflush(stdout);
    m_saved = _dup(_fileno(stdout));
    FILE* target = fopen(name, "wb");
    _dup2(_fileno(target), _fileno(stdout));
    fclose(target);
}

StdoutCapture::~StdoutCapture()
{
    Restore();
    DeleteFileA(m_file.c_str());
}

void StdoutCapture::Restore()
{
    if (m_saved < 0)
        return;
    fflush(stdout);
    _dup2(m_saved, _fileno(stdout));
    _close(m_saved);
    m_saved = -1;
    m_text = ReadFileBytes(m_file);
}

std::string StdoutCapture::Text()
{
    Restore();
    return m_text;
}

}  // namespace testsupport
