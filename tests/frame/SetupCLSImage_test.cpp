// The shipped image of SetupCLS.dll: what it imports, its hardening flags, its version resource
// and its export names.
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace {

const std::string kDll = testsupport::ExeDir() + "SetupCLS.dll";

struct PeImage {
    std::string bytes;
    const IMAGE_NT_HEADERS32* nt = nullptr;

    explicit PeImage(const std::string& path) : bytes(testsupport::ReadFileBytes(path))
    {
        if (bytes.size() < sizeof(IMAGE_DOS_HEADER))
            return;
        auto dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(bytes.data());
        if (dos->e_magic != IMAGE_DOS_SIGNATURE || dos->e_lfanew <= 0 ||
            static_cast<size_t>(dos->e_lfanew) + sizeof(IMAGE_NT_HEADERS32) > bytes.size())
            return;
        nt = reinterpret_cast<const IMAGE_NT_HEADERS32*>(bytes.data() + dos->e_lfanew);
    }

    // File offset of a relative virtual address, or 0 when no section holds it.
    size_t Offset(DWORD rva) const
    {
        const IMAGE_SECTION_HEADER* section = IMAGE_FIRST_SECTION(nt);
        for (WORD i = 0; i < nt->FileHeader.NumberOfSections; ++i, ++section) {
            if (rva >= section->VirtualAddress && rva < section->VirtualAddress + section->Misc.VirtualSize)
                return rva - section->VirtualAddress + section->PointerToRawData;
        }
        return 0;
    }

    std::string Text(DWORD rva) const
    {
        size_t at = Offset(rva);
        return at && at < bytes.size() ? std::string(bytes.c_str() + at) : std::string();
    }

    std::vector<std::string> Imports() const
    {
        std::vector<std::string> names;
        const IMAGE_DATA_DIRECTORY& dir = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
        size_t at = Offset(dir.VirtualAddress);
        for (; at && at + sizeof(IMAGE_IMPORT_DESCRIPTOR) <= bytes.size(); at += sizeof(IMAGE_IMPORT_DESCRIPTOR)) {
            auto desc = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(bytes.data() + at);
            if (desc->Name == 0)
                break;
            names.push_back(Text(desc->Name));
        }
        return names;
    }

    std::vector<std::string> Exports() const
    {
        std::vector<std::string> names;
        const IMAGE_DATA_DIRECTORY& dir = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
        size_t at = Offset(dir.VirtualAddress);
        if (!at)
            return names;
        auto exports = reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(bytes.data() + at);
        size_t table = Offset(exports->AddressOfNames);
        for (DWORD i = 0; table && i < exports->NumberOfNames; ++i)
            names.push_back(Text(reinterpret_cast<const DWORD*>(bytes.data() + table)[i]));
        return names;
    }
};

std::string Lower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](char c) { return static_cast<char>(tolower(c)); });
    return text;
}

}  // namespace

TEST(SetupCLSImage, ImportsOnlyWindowsSystemLibraries)
{
    PeImage image(kDll);
    ASSERT_NE(nullptr, image.nt);
    std::vector<std::string> imports = image.Imports();
    ASSERT_FALSE(imports.empty());
    char system[MAX_PATH] = {};
    GetSystemDirectoryA(system, MAX_PATH);
    for (const std::string& name : imports) {
        SCOPED_TRACE(name);
        const std::string lower = Lower(name);
        EXPECT_EQ(std::string::npos, lower.find("libgcc"));
        EXPECT_EQ(std::string::npos, lower.find("libstdc++"));
        EXPECT_EQ(std::string::npos, lower.find("libwinpthread"));
        EXPECT_NE(INVALID_FILE_ATTRIBUTES, GetFileAttributesA((std::string(system) + "\\" + name).c_str()))
            << "not in the system folder";
    }
}

TEST(SetupCLSImage, IsA32BitDllWithAslrAndDep)
{
    PeImage image(kDll);
    ASSERT_NE(nullptr, image.nt);
    EXPECT_EQ(IMAGE_FILE_MACHINE_I386, image.nt->FileHeader.Machine);
    EXPECT_TRUE(image.nt->FileHeader.Characteristics & IMAGE_FILE_DLL);
    EXPECT_TRUE(image.nt->OptionalHeader.DllCharacteristics & IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE);
    EXPECT_TRUE(image.nt->OptionalHeader.DllCharacteristics & IMAGE_DLLCHARACTERISTICS_NX_COMPAT);
}

TEST(SetupCLSImage, VersionResourceCarriesTheProjectVersion)
{
    DWORD ignored = 0;
    DWORD size = GetFileVersionInfoSizeA(kDll.c_str(), &ignored);
    ASSERT_GT(size, 0u);
    std::vector<char> data(size);
    ASSERT_TRUE(GetFileVersionInfoA(kDll.c_str(), 0, size, data.data()));

    auto value = [&](const char* name) {
        char* text = nullptr;
        UINT length = 0;
        std::string key = std::string("\\StringFileInfo\\040904b0\\") + name;
        if (!VerQueryValueA(data.data(), key.c_str(), reinterpret_cast<void**>(&text), &length) || !text)
            return std::string();
        return std::string(text);
    };
    EXPECT_EQ(SETUPCLS_VERSION_TEXT, value("FileVersion"));
    EXPECT_EQ(SETUPCLS_VERSION_TEXT, value("ProductVersion"));
    EXPECT_FALSE(value("ProductName").empty());
    EXPECT_FALSE(value("FileDescription").empty());
    EXPECT_FALSE(value("CompanyName").empty());

    VS_FIXEDFILEINFO* fixed = nullptr;
    UINT length = 0;
    ASSERT_TRUE(VerQueryValueA(data.data(), "\\", reinterpret_cast<void**>(&fixed), &length));
    EXPECT_EQ(static_cast<DWORD>(SETUPCLS_VERSION_MAJOR << 16 | SETUPCLS_VERSION_MINOR), fixed->dwFileVersionMS);
}

TEST(SetupCLSImage, NoExportNameCarriesStdcallDecoration)
{
    PeImage image(kDll);
    ASSERT_NE(nullptr, image.nt);
    std::vector<std::string> exports = image.Exports();
    ASSERT_FALSE(exports.empty());
    for (const std::string& name : exports)
        EXPECT_EQ(std::string::npos, name.find('@')) << name;
}
