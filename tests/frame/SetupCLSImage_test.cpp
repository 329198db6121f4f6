// The shipped images of SetupCLS.dll: machine, imports, hardening, version resource, export
// names. Each image is read as a file, so the 64-bit suite also checks the 32-bit DLL that
// SETUPCLS_TWIN_DLL names (scripts/test.sh): a host that cannot run 32-bit programs still checks
// it. Not the other way round: under Wine a 32-bit program cannot read a 64-bit DLL's version
// resource, and the 64-bit DLL has its own suite on every host.
#include "TestSupport.h"

#include <dbghelp.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

// A DLL file of either format, PE32 or PE32+, and the machine it must be for.
struct ImageFile {
    std::string path;
    WORD machine;
    std::string bytes = testsupport::ReadFileBytes(path);

    BYTE* base() const { return reinterpret_cast<BYTE*>(const_cast<char*>(bytes.data())); }
    // The file header and the optional header's magic lie at the same place in both formats.
    IMAGE_NT_HEADERS* headers() const { return bytes.empty() ? nullptr : ImageNtHeader(base()); }
    bool plus() const { return headers()->OptionalHeader.Magic == IMAGE_NT_OPTIONAL_HDR64_MAGIC; }
    WORD dllCharacteristics() const
    {
        return plus() ? reinterpret_cast<IMAGE_NT_HEADERS64*>(headers())->OptionalHeader.DllCharacteristics
                      : reinterpret_cast<IMAGE_NT_HEADERS32*>(headers())->OptionalHeader.DllCharacteristics;
    }
    template <typename T>
    const T* directory(USHORT entry) const
    {
        ULONG size = 0;
        return static_cast<const T*>(ImageDirectoryEntryToData(base(), FALSE, entry, &size));
    }
    template <typename T = char>
    const T* at(DWORD rva) const  // found through the section table
    {
        return static_cast<const T*>(ImageRvaToVa(headers(), base(), rva, nullptr));
    }
};

std::vector<ImageFile> ImagesUnderTest()
{
#ifdef _WIN64
    std::vector<ImageFile> images{{testsupport::ExeDir() + "SetupCLS.dll", IMAGE_FILE_MACHINE_AMD64}};
    const char* twin = getenv("SETUPCLS_TWIN_DLL");
    if (twin && *twin)
        images.push_back({twin, IMAGE_FILE_MACHINE_I386});
#else
    std::vector<ImageFile> images{{testsupport::ExeDir() + "SetupCLS.dll", IMAGE_FILE_MACHINE_I386}};
#endif
    for (const ImageFile& image : images)
        EXPECT_NE(nullptr, image.headers()) << image.path << " is no image";
    return images;
}

}  // namespace

TEST(SetupCLSImage, IsAHardenedDllOfItsMachineImportingOnlySystemLibraries)
{
    char system[MAX_PATH] = {};
    GetSystemDirectoryA(system, MAX_PATH);
    for (const ImageFile& image : ImagesUnderTest()) {
        SCOPED_TRACE(image.path);
        if (!image.headers())
            continue;
        EXPECT_EQ(image.machine, image.headers()->FileHeader.Machine);
        EXPECT_EQ(image.machine == IMAGE_FILE_MACHINE_AMD64, image.plus());
        EXPECT_TRUE(image.headers()->FileHeader.Characteristics & IMAGE_FILE_DLL);
        EXPECT_TRUE(image.dllCharacteristics() & IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE);
        EXPECT_TRUE(image.dllCharacteristics() & IMAGE_DLLCHARACTERISTICS_NX_COMPAT);
        // The system folder holds the libraries of both architectures under the same names.
        int count = 0;
        for (auto import = image.directory<IMAGE_IMPORT_DESCRIPTOR>(IMAGE_DIRECTORY_ENTRY_IMPORT);
             import && import->Name; ++import, ++count) {
            const std::string name = image.at(import->Name);
            EXPECT_NE(INVALID_FILE_ATTRIBUTES, GetFileAttributesA((std::string(system) + "\\" + name).c_str()))
                << name << " is not a library of the system folder";
        }
        EXPECT_GT(count, 0);
    }
}

TEST(SetupCLSImage, VersionResourceCarriesTheProjectVersion)
{
    for (const ImageFile& image : ImagesUnderTest()) {
        SCOPED_TRACE(image.path);
        DWORD ignored = 0;
        std::vector<char> data(GetFileVersionInfoSizeA(image.path.c_str(), &ignored));
        ASSERT_FALSE(data.empty());
        ASSERT_TRUE(GetFileVersionInfoA(image.path.c_str(), 0, static_cast<DWORD>(data.size()), data.data()));
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
}

TEST(SetupCLSImage, PlainFunctionsAreExportedUndecorated)
{
    for (const ImageFile& image : ImagesUnderTest()) {
        SCOPED_TRACE(image.path);
        auto exports = image.headers() ? image.directory<IMAGE_EXPORT_DIRECTORY>(IMAGE_DIRECTORY_ENTRY_EXPORT) : nullptr;
        ASSERT_NE(nullptr, exports);
        auto names = image.at<DWORD>(exports->AddressOfNames);
        bool plainFunction = false;
        for (DWORD i = 0; i < exports->NumberOfNames; ++i) {
            EXPECT_EQ(nullptr, strchr(image.at(names[i]), '@')) << image.at(names[i]);
            plainFunction = plainFunction || strcmp(image.at(names[i]), "DVSET_Is3DESEncrypt") == 0;
        }
        EXPECT_TRUE(plainFunction) << "DVSET_Is3DESEncrypt is exported under its plain name";
    }
}
