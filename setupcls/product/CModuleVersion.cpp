#include "CModuleVersion.h"

#include "Failure.h"
#include "ModulePath.h"
#include "ProductLibrary.h"
#include "TextRules.h"

#include <shlwapi.h>

#include <cstring>

namespace {

const WORD kDefaultCodePage = 1252;
const DWORD kFixedBlockSignature = 0xFEEF04BD;

// One language and code page pair of "\VarFileInfo\Translation".
struct Translation {
    WORD language;
    WORD codePage;
};

}  // namespace

CModuleVersion::CModuleVersion() : VS_FIXEDFILEINFO()
{
    Clear();
}

CModuleVersion::~CModuleVersion() = default;

void CModuleVersion::Clear()
{
    VS_FIXEDFILEINFO& block = *this;
    memset(&block, 0, sizeof(block));
    m_resource.clear();
    m_language = 0;
    m_codePage = kDefaultCodePage;
}

// The module is loaded so that Windows resolves the name as it would for running it (a bare name
// through the library search path) and names the file it took. It is unloaded on every path,
// also when it has no version resource.
int CModuleVersion::GetFileVersionInfoA(const char* fileName)
{
    return failure::ContainExceptions(0, [&] {
        ProductLibrary module = ProductLibrary::ByName(fileName);
        if (!module)
            return 0;
        Clear();
        CString path;
        if (!ModuleFileName(module.Module(), path))
            return 0;
        DWORD ignored = 0;
        DWORD size = ::GetFileVersionInfoSizeA(path, &ignored);
        if (size == 0)
            return 0;
        m_resource.assign(size, 0);
        if (!::GetFileVersionInfoA(path, 0, size, m_resource.data())) {
            m_resource.clear();
            return 0;
        }
        void* block = nullptr;
        UINT blockSize = 0;
        if (!VerQueryValueA(m_resource.data(), "\\", &block, &blockSize) || !block
            || blockSize < sizeof(VS_FIXEDFILEINFO))
            return 0;
        VS_FIXEDFILEINFO& fixed = *this;
        memcpy(&fixed, block, sizeof(fixed));
        void* pairs = nullptr;
        UINT pairsSize = 0;
        if (VerQueryValueA(m_resource.data(), "\\VarFileInfo\\Translation", &pairs, &pairsSize) && pairs
            && pairsSize >= sizeof(Translation)) {
            Translation first;
            memcpy(&first, pairs, sizeof(first));
            m_language = first.language;
            m_codePage = first.codePage;
        }
        return dwSignature == kFixedBlockSignature ? 1 : 0;
    });
}

CString CModuleVersion::GetValue(const char* name) const
{
    if (m_resource.empty() || IsEmptyText(name))
        return CString();
    return failure::ContainExceptions(CString(), [&] {
        CString query;
        query.Format("\\StringFileInfo\\%04x%04x\\%s", m_language, m_codePage, name);
        void* text = nullptr;
        UINT length = 0;
        // VerQueryValueA only reads the copy; its parameter is not const.
        void* resource = const_cast<BYTE*>(m_resource.data());
        if (!VerQueryValueA(resource, query, &text, &length) || !text || length == 0)
            return CString();
        // The length counts the characters with the NUL; a text without one is cut there.
        return CString(static_cast<const char*>(text), static_cast<int>(strnlen(static_cast<const char*>(text), length)));
    });
}

int CModuleVersion::GetDLLVersionInfo(const char* fileName, DLLVERSIONINFO* info)
{
    if (!info)
        return 0;
    return failure::ContainExceptions(0, [&] {
        ProductLibrary module = ProductLibrary::ByName(fileName);
        DLLGETVERSIONPROC getVersion = module.Entry<DLLGETVERSIONPROC>("DllGetVersion");
        return getVersion && SUCCEEDED(getVersion(info)) ? 1 : 0;
    });
}
