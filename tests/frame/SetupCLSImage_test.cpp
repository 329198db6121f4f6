// The shipped image of SetupCLS.dll: what it imports, its hardening flags, its version resource
// and its export names.
#include "TestSupport.h"

#include <dbghelp.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

const std::string kDll = testsupport::ExeDir() + "SetupCLS.dll";

// The DLL mapped as an image, without running or binding it.
struct MappedImage {
    HMODULE module = LoadLibraryExA(kDll.c_str(), nullptr, DONT_RESOLVE_DLL_REFERENCES);
    ~MappedImage() { FreeLibrary(module); }

    const BYTE* base() const { return reinterpret_cast<const BYTE*>(module); }
    const IMAGE_NT_HEADERS* headers() const { return ImageNtHeader(const_cast<BYTE*>(base())); }
    template <typename T>
    const T* directory(USHORT entry) const
    {
        ULONG size = 0;
        return static_cast<const T*>(ImageDirectoryEntryToData(const_cast<BYTE*>(base()), TRUE, entry, &size));
    }
    const char* text(DWORD rva) const { return reinterpret_cast<const char*>(base() + rva); }
};

}  // namespace

TEST(SetupCLSImage, IsAHardened32BitDllImportingOnlySystemLibraries)
{
    MappedImage image;
    ASSERT_NE(nullptr, image.module);
    const IMAGE_NT_HEADERS* nt = image.headers();
    ASSERT_NE(nullptr, nt);
    EXPECT_EQ(IMAGE_FILE_MACHINE_I386, nt->FileHeader.Machine);
    EXPECT_TRUE(nt->OptionalHeader.DllCharacteristics & IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE);
    EXPECT_TRUE(nt->OptionalHeader.DllCharacteristics & IMAGE_DLLCHARACTERISTICS_NX_COMPAT);

    char system[MAX_PATH] = {};
    GetSystemDirectoryA(system, MAX_PATH);
    int count = 0;
    for (auto import = image.directory<IMAGE_IMPORT_DESCRIPTOR>(IMAGE_DIRECTORY_ENTRY_IMPORT);
         import && import->Name; ++import, ++count) {
        std::string name = image.text(import->Name);
        EXPECT_NE(INVALID_FILE_ATTRIBUTES, GetFileAttributesA((std::string(system) + "\\" + name).c_str()))
            << name << " is not a library of the system folder";
    }
    EXPECT_GT(count, 0);
}

TEST(SetupCLSImage, VersionResourceCarriesTheProjectVersion)
{
    DWORD ignored = 0;
    std::vector<char> data(GetFileVersionInfoSizeA(kDll.c_str(), &ignored));
    ASSERT_FALSE(data.empty());
    ASSERT_TRUE(GetFileVersionInfoA(kDll.c_str(), 0, static_cast<DWORD>(data.size()), data.data()));
    auto value = [&](const char* name) {
        char* text = nullptr;
        UINT length = 0;
        std::string key = std::string("\\StringFileInfo\\040904b0\\") + name;
        return VerQueryValueA(data.data(), key.c_str(), reinterpret_cast<void**>(&text), &length) && text
                   ? std::string(text)
                   : std::string();
    };
    EXPECT_EQ(SETUPCLS_VERSION_TEXT, value("FileVersion"));
    EXPECT_EQ(SETUPCLS_VERSION_TEXT, value("ProductVersion"));
    for (const char* name : {"ProductName", "FileDescription", "CompanyName"})
        EXPECT_FALSE(value(name).empty()) << name;
    VS_FIXEDFILEINFO* fixed = nullptr;
    UINT length = 0;
    ASSERT_TRUE(VerQueryValueA(data.data(), "\\", reinterpret_cast<void**>(&fixed), &length));
    EXPECT_EQ(static_cast<DWORD>(SETUPCLS_VERSION_MAJOR << 16 | SETUPCLS_VERSION_MINOR), fixed->dwFileVersionMS);
}

TEST(SetupCLSImage, NoExportNameCarriesStdcallDecoration)
{
    MappedImage image;
    auto exports = image.directory<IMAGE_EXPORT_DIRECTORY>(IMAGE_DIRECTORY_ENTRY_EXPORT);
    ASSERT_NE(nullptr, exports);
    ASSERT_GT(exports->NumberOfNames, 0u);
    auto names = reinterpret_cast<const DWORD*>(image.base() + exports->AddressOfNames);
    for (DWORD i = 0; i < exports->NumberOfNames; ++i)
        EXPECT_EQ(nullptr, strchr(image.text(names[i]), '@')) << image.text(names[i]);
}
