#include "CTambRegistry.h"

#include "ImportHook.h"
#include "RegistrySupport.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace testsupport;
using R = CTambRegistry;

namespace {

// HKEY_CLASSES_ROOT shows HKEY_LOCAL_MACHINE\SOFTWARE\Classes where the user has no class of the
// name: the keys are read there, in each view, with the shared registry helpers.
#define ID "{5a1c7e42-93d0-4b6e-8f21-c03b9d4e7a15}"
const std::string kApproved = "Software\\Microsoft\\Windows\\CurrentVersion\\Shell Extensions\\Approved",
                  kName = "Brannoch Quellmarsh Shell Extension", kClasses = "SOFTWARE\\Classes\\", kClass = "CLSID\\" ID,
                  kMayChange = kClass + "\\ShellEx\\MayChangeDefaultMenu", kScript = "DrosvaneScriptFile",
                  kSheet = kScript + "\\shellex\\PropertySheetHandlers", kMenu = kScript + "\\shellex\\ContextMenuHandlers";
// The HKEY_CLASSES_ROOT keys registration creates after the Approved key, in order, with their
// default values.
const std::pair<std::string, std::string> kKeys[] = {
    {kClass, kName}, {kClass + "\\InProcServer32", "C:\\Drosvane\\DSHELL.DLL"}, {kMayChange, "-"},
    {"Drive\\shellex\\PropertySheetHandlers\\" ID, kName}, {"Drive\\shellex\\ContextMenuHandlers\\" ID, kName},
    {"Directory\\shellex\\ContextMenuHandlers\\" ID, kName}, {"*\\shellex\\ContextMenuHandlers\\" ID, kName},
    {".asx", kScript}, {kScript + "\\DefaultIcon", "%1"}, {kScript + "\\shellex\\IconHandler", ID},
    {kSheet + "\\" ID, kName}, {kMenu + "\\" ID, kName}};

// SetupCLS.dll's calls, recorded on their way to the registry (the order is what the registry
// cannot show afterwards); a call outside the product's 32-bit view is marked.
std::vector<std::string> g_calls;
std::string g_refused;  // its creation answers ERROR_ACCESS_DENIED
std::string Call(const char* key, REGSAM view) { return key + std::string((view & KEY_WOW64_32KEY) ? "" : " (not 32-bit)"); }
LONG WINAPI RecordCreate(HKEY root, LPCSTR key, DWORD zero, LPSTR cls, DWORD options, REGSAM sam,
                         const LPSECURITY_ATTRIBUTES security, PHKEY result, LPDWORD disposition)
{
    g_calls.push_back(Call(key, sam));
    return g_refused == key ? ERROR_ACCESS_DENIED : RegCreateKeyExA(root, key, zero, cls, options, sam, security, result, disposition);
}
LONG WINAPI RecordDeleteKey(HKEY root, LPCSTR key, REGSAM view, DWORD zero)
{
    g_calls.push_back(Call(key, view));
    return RegDeleteKeyExA(root, key, view, zero);
}
LONG WINAPI RecordDeleteValue(HKEY key, LPCSTR value)
{
    g_calls.push_back(std::string("value ") + (value ? value : "(default)"));
    return RegDeleteValueA(key, value);
}

class ShellExtensionTest : public ::testing::Test {
protected:
    ShellExtensionTest()
    {
        g_calls.clear();
        g_refused.clear();
    }
    ~ShellExtensionTest() override
    {
        for (REGSAM view : {kView32, kView64})  // a registration in the wrong view goes too
            RegDeleteValueIn(view, kApproved, ID);
    }
    ScopedRegistryKeys m_keys{{kClasses + kClass, kClasses + "Drive", kClasses + "Directory", kClasses + kKeys[6].first,
                               kClasses + ".asx", kClasses + kScript}};
};
class ShellExtensionIntercepted : public ShellExtensionTest {};

}  // namespace

TEST_F(ShellExtensionIntercepted, SetCreatesEveryKeyInOrderInTheProductView)
{
    SETUPCLS_HOOK_IMPORT(create, "ADVAPI32.dll", RegCreateKeyExA, RecordCreate);
    ASSERT_EQ(1, R::SetDrosvaneShellExtension("C:\\Drosvane\\"));
    std::vector<std::string> expected{kApproved};
    for (const auto& key : kKeys)
        expected.push_back(key.first);
    EXPECT_EQ(expected, g_calls);
}

TEST_F(ShellExtensionIntercepted, SetStopsAtTheFirstKeyRefused)
{
    g_refused = ".asx";
    SETUPCLS_HOOK_IMPORT(create, "ADVAPI32.dll", RegCreateKeyExA, RecordCreate);
    EXPECT_EQ(0, R::SetDrosvaneShellExtension("C:\\Drosvane\\"));
    EXPECT_EQ(static_cast<DWORD>(ERROR_ACCESS_DENIED), GetLastError());
    EXPECT_EQ(".asx", g_calls.back()) << "no key after the refused one";
}

TEST_F(ShellExtensionIntercepted, DeleteRemovesChildrenBeforeParentsAndLeavesNoKey)
{
    ASSERT_EQ(1, R::SetDrosvaneShellExtension("C:\\Drosvane\\"));
    {
        SETUPCLS_HOOK_IMPORT(key, "ADVAPI32.dll", RegDeleteKeyExA, RecordDeleteKey);
        SETUPCLS_HOOK_IMPORT(value, "ADVAPI32.dll", RegDeleteValueA, RecordDeleteValue);
        EXPECT_EQ(1, R::DeleteDrosvaneShellExtension(nullptr)) << "the folder is not needed";
    }
    const std::vector<std::string> expected{"value " ID, kKeys[1].first, kMayChange, kClass + "\\ShellEx", kClass,
        kKeys[3].first, kKeys[4].first, kKeys[5].first, kKeys[6].first, "value (default)", ".asx", kKeys[8].first,
        kKeys[9].first, kKeys[10].first, kSheet, kKeys[11].first, kMenu, kScript + "\\shellex", kScript};
    EXPECT_EQ(expected, g_calls);
    for (const auto& key : kKeys)
        EXPECT_EACH(0, ANSWER(RegKeyExists(kView32, kClasses + key.first)), ANSWER(RegKeyExists(kView64, kClasses + key.first)));
    EXPECT_TRUE(RegKeyExists(kView32, kClasses + "*\\shellex\\ContextMenuHandlers")) << "shared with others";
    EXPECT_EQ(1, R::DeleteDrosvaneShellExtension("C:\\")) << "nothing left to delete";
    EXPECT_EQ("-", RegRead(kView32, kApproved, ID));
}

TEST_F(ShellExtensionTest, SetWritesTheValuesFromTheProductPath)
{
    CSettings settings;
    settings.DrosvanePath("C:\\Drosvane");
    ASSERT_EQ(1, CTambRegistry(settings).SetDrosvaneShellExtension());
    for (const auto& key : kKeys)
        EXPECT_EQ(key.second, RegRead(kView32, kClasses + key.first, nullptr)) << key.first;
    EXPECT_TRUE(RegKeyExists(kView32, kClasses + kMayChange)) << "created empty";
    EXPECT_EQ("Apartment", RegRead(kView32, kClasses + kKeys[1].first, "ThreadingModel"));
    EXPECT_EQ(kName, RegRead(kView32, kApproved, ID));
}

// Under WoW64 HKEY_CLASSES_ROOT\CLSID has a 32-bit view of its own (Wow6432Node), as SOFTWARE
// has: the 32-bit DLL's class lands there from both builds. (Windows shares ".asx" and the handler
// lists between the views; Wine gives a 64-bit program's 32-bit view copies of its own, so those
// are read in the 32-bit view only.)
TEST_F(ShellExtensionTest, ClassKeysLandInThe32BitViewInBothBuilds)
{
    ASSERT_EQ(1, R::SetDrosvaneShellExtension("C:\\Drosvane\\"));
    for (const std::string& key : {kClass, kKeys[1].first, kMayChange})
        EXPECT_EACH(1, ANSWER(RegKeyExists(kView32, kClasses + key)), ANSWER(!RegKeyExists(kView64, kClasses + key)));
    EXPECT_EQ("-", RegRead(kView64, kApproved, ID));
}

// Wine, as Windows, refuses to delete a key that has a sub key (5).
TEST_F(ShellExtensionTest, DeleteGoesOnPastAKeyItCannotRemove)
{
    ASSERT_EQ(1, R::SetDrosvaneShellExtension("C:\\Drosvane\\"));
    ASSERT_TRUE(RegWrite(kView32, kClasses + kKeys[9].first + "\\Other", "v", "x"));
    EXPECT_EQ(0, R::DeleteDrosvaneShellExtension(nullptr));
    EXPECT_EQ(static_cast<DWORD>(ERROR_ACCESS_DENIED), GetLastError());
    EXPECT_FALSE(RegKeyExists(kView32, kClasses + kMenu)) << "a key after the refused one";
}

TEST_F(ShellExtensionTest, NoFolderOrNoWriteAccessWritesNothing)
{
    EXPECT_EACH(0, ANSWER(R::SetDrosvaneShellExtension(nullptr)), ANSWER(R::SetDrosvaneShellExtension("")),
                ANSWER(CTambRegistry(0).SetDrosvaneShellExtension()), ANSWER(RegKeyExists(kView32, kClasses + kClass)));
    ASSERT_EQ(1, R::SetDrosvaneShellExtension("C:\\NoSlash"));
    EXPECT_EQ("C:\\NoSlash\\DSHELL.DLL", RegRead(kView32, kClasses + kKeys[1].first, nullptr));
    EXPECT_EACH(0, ANSWER(CTambRegistry(0).DeleteDrosvaneShellExtension()), ANSWER(!RegKeyExists(kView32, kClasses + kClass)));
    EXPECT_EACH(1, ANSWER(CTambRegistry(CSettings()).DeleteDrosvaneShellExtension()),
                ANSWER(!RegKeyExists(kView32, kClasses + kClass)));
}
