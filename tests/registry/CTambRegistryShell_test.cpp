#include "CTambRegistry.h"

#include "Handles.h"
#include "ImportHook.h"
#include "RegistrySupport.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace testsupport;
using R = CTambRegistry;

namespace {

#define SHELL_CLSID "{5a1c7e42-93d0-4b6e-8f21-c03b9d4e7a15}"
const char kClsid[] = SHELL_CLSID, kName[] = "Brannoch Quellmarsh Shell Extension";
const std::string kApproved = "Software\\Microsoft\\Windows\\CurrentVersion\\Shell Extensions\\Approved";
const std::string kClass = "CLSID\\" SHELL_CLSID, kServer = kClass + "\\InProcServer32",
                  kMayChange = kClass + "\\ShellEx\\MayChangeDefaultMenu", kScript = "DrosvaneScriptFile";
const std::string kScriptSheet = kScript + "\\shellex\\PropertySheetHandlers", kScriptMenu = kScript + "\\shellex\\ContextMenuHandlers";
const std::string kHandlers[] = {"Drive\\shellex\\PropertySheetHandlers\\" SHELL_CLSID, "Drive\\shellex\\ContextMenuHandlers\\" SHELL_CLSID,
                                 "Directory\\shellex\\ContextMenuHandlers\\" SHELL_CLSID, "*\\shellex\\ContextMenuHandlers\\" SHELL_CLSID};

// The HKEY_CLASSES_ROOT keys registration creates, in its order (after the Approved key).
const std::vector<std::string> kCreated = {kClass, kServer, kMayChange, kHandlers[0], kHandlers[1], kHandlers[2],
                                           kHandlers[3], ".asx", kScript + "\\DefaultIcon", kScript + "\\shellex\\IconHandler",
                                           kScriptSheet + "\\" SHELL_CLSID, kScriptMenu + "\\" SHELL_CLSID};

// A value of a key of HKEY_CLASSES_ROOT in one view (null: the default value): its text, "-" when
// the value is missing, "<no key>" when the key is.
std::string ClassesRead(REGSAM view, const std::string& key, const char* value = nullptr)
{
    UniqueKey handle;
    if (handle.kept(RegOpenKeyExA(HKEY_CLASSES_ROOT, key.c_str(), 0, KEY_READ | view, handle.put())) != ERROR_SUCCESS)
        return "<no key>";
    char text[MAX_PATH];
    DWORD size = sizeof(text), type = REG_NONE;
    if (RegQueryValueExA(handle.get(), value, nullptr, &type, reinterpret_cast<BYTE*>(text), &size) != ERROR_SUCCESS)
        return "-";
    return type == REG_SZ && size > 0 ? std::string(text, size - 1) : "<not a text>";
}

// HKEY_CLASSES_ROOT is HKEY_LOCAL_MACHINE\SOFTWARE\Classes for what setup writes; the drive and
// folder classes and ".asx" are not in Wine's prefix, the all-files handler list is.
class ShellExtensionTest : public ::testing::Test {
protected:
    ~ShellExtensionTest() override { RegDeleteValueIn(kView32, kApproved, kClsid); }
    ScopedRegistryKeys m_keys{{"SOFTWARE\\Classes\\" + kClass, "SOFTWARE\\Classes\\Drive", "SOFTWARE\\Classes\\Directory",
                               "SOFTWARE\\Classes\\" + kHandlers[3], "SOFTWARE\\Classes\\.asx", "SOFTWARE\\Classes\\" + kScript}};
};

// The order of the calls is what the registry cannot show afterwards: SetupCLS.dll's calls are
// recorded on their way to the real registry.
std::vector<std::string> g_calls;
std::string g_refused;  // the key whose creation answers ERROR_ACCESS_DENIED
class ShellExtensionIntercepted : public ShellExtensionTest {
protected:
    ShellExtensionIntercepted()
    {
        g_calls.clear();
        g_refused.clear();
    }
};

std::string Where(HKEY root, REGSAM view, const char* key)
{
    return std::string(root == HKEY_CLASSES_ROOT ? "HKCR" : root == HKEY_LOCAL_MACHINE ? "HKLM" : "?")
           + ((view & KEY_WOW64_32KEY) ? "32 " : (view & KEY_WOW64_64KEY) ? "64 " : " ") + key;
}
LONG WINAPI RecordCreate(HKEY root, LPCSTR key, DWORD reserved, LPSTR cls, DWORD options, REGSAM sam,
                         const LPSECURITY_ATTRIBUTES security, PHKEY result, LPDWORD disposition)
{
    g_calls.push_back("create " + Where(root, sam, key));
    return g_refused == key ? ERROR_ACCESS_DENIED
                            : RegCreateKeyExA(root, key, reserved, cls, options, sam, security, result, disposition);
}
LONG WINAPI RecordDeleteKey(HKEY root, LPCSTR key, REGSAM view, DWORD reserved)
{
    g_calls.push_back("delete " + Where(root, view, key));
    return RegDeleteKeyExA(root, key, view, reserved);
}
LONG WINAPI RecordDeleteValue(HKEY key, LPCSTR value)
{
    g_calls.push_back(std::string("delete value ") + (value ? value : "(default)"));
    return RegDeleteValueA(key, value);
}

}  // namespace

TEST_F(ShellExtensionIntercepted, SetCreatesEveryKeyInOrderInTheProductView)
{
    SETUPCLS_HOOK_IMPORT(create, "ADVAPI32.dll", RegCreateKeyExA, RecordCreate);
    ASSERT_EQ(1, R::SetDrosvaneShellExtension("C:\\Drosvane\\"));
    std::vector<std::string> expected{"create HKLM32 " + kApproved};
    for (const std::string& key : kCreated)
        expected.push_back("create HKCR32 " + key);
    EXPECT_EQ(expected, g_calls);
}

TEST_F(ShellExtensionIntercepted, SetStopsAtTheFirstKeyRefused)
{
    g_refused = ".asx";
    SETUPCLS_HOOK_IMPORT(create, "ADVAPI32.dll", RegCreateKeyExA, RecordCreate);
    EXPECT_EQ(0, R::SetDrosvaneShellExtension("C:\\Drosvane\\"));
    EXPECT_EQ(static_cast<DWORD>(ERROR_ACCESS_DENIED), GetLastError());
    EXPECT_EQ("create HKCR32 .asx", g_calls.back()) << "no key after the refused one";
}

TEST_F(ShellExtensionIntercepted, DeleteRemovesChildrenBeforeParents)
{
    ASSERT_EQ(1, R::SetDrosvaneShellExtension("C:\\Drosvane\\"));
    SETUPCLS_HOOK_IMPORT(key, "ADVAPI32.dll", RegDeleteKeyExA, RecordDeleteKey);
    SETUPCLS_HOOK_IMPORT(value, "ADVAPI32.dll", RegDeleteValueA, RecordDeleteValue);
    EXPECT_EQ(1, R::DeleteDrosvaneShellExtension("C:\\Drosvane\\"));
    std::vector<std::string> expected{"delete value " SHELL_CLSID};
    for (const std::string& key : {kServer, kMayChange, kClass + "\\ShellEx", kClass, kHandlers[0], kHandlers[1],
                                   kHandlers[2], kHandlers[3], std::string("(default)"), std::string(".asx"),
                                   kScript + "\\DefaultIcon", kScript + "\\shellex\\IconHandler",
                                   kScriptSheet + "\\" SHELL_CLSID, kScriptSheet, kScriptMenu + "\\" SHELL_CLSID,
                                   kScriptMenu, kScript + "\\shellex", kScript})
        expected.push_back(key == "(default)" ? "delete value (default)" : "delete HKCR32 " + key);
    EXPECT_EQ(expected, g_calls);
}

// The handler keys carry the display name, the icon handler the class, DefaultIcon "%1" (each
// file's icon comes from the icon handler).
TEST_F(ShellExtensionTest, SetWritesTheValues)
{
    CSettings settings;
    settings.DrosvanePath("C:\\Drosvane");
    ASSERT_EQ(1, CTambRegistry(settings).SetDrosvaneShellExtension()) << "the settings' product path";
    const struct {
        std::string key;
        const char* value;
        std::string text;
    } cases[] = {{kClass, nullptr, kName}, {kServer, nullptr, "C:\\Drosvane\\DSHELL.DLL"},
                 {kServer, "ThreadingModel", "Apartment"}, {kMayChange, nullptr, "-"}, {kHandlers[0], nullptr, kName},
                 {kHandlers[1], nullptr, kName}, {kHandlers[2], nullptr, kName}, {kHandlers[3], nullptr, kName},
                 {".asx", nullptr, kScript}, {kScript + "\\DefaultIcon", nullptr, "%1"},
                 {kScript + "\\shellex\\IconHandler", nullptr, kClsid}, {kScriptSheet + "\\" SHELL_CLSID, nullptr, kName},
                 {kScriptMenu + "\\" SHELL_CLSID, nullptr, kName}};
    for (const auto& c : cases)
        EXPECT_EQ(c.text, ClassesRead(kView32, c.key, c.value)) << c.key << " " << (c.value ? c.value : "(default)");
    EXPECT_EQ(kName, RegRead(kView32, kApproved, kClsid));
}

// Under WoW64, HKEY_CLASSES_ROOT\CLSID has a 32-bit view of its own (HKCR\Wow6432Node\CLSID),
// as HKLM\SOFTWARE has: the 32-bit DLL's class lands there, from the 32-bit and from the 64-bit
// build alike. (Windows shares the other keys, ".asx" and the handler lists, between the views;
// Wine gives a 64-bit program's 32-bit view a copy of its own, so they are read above in the
// 32-bit view only.)
TEST_F(ShellExtensionTest, ClassKeysLandInThe32BitViewInBothBuilds)
{
    ASSERT_EQ(1, R::SetDrosvaneShellExtension("C:\\Drosvane\\"));
    for (const std::string& key : {kClass, kServer, kMayChange}) {
        EXPECT_NE("<no key>", ClassesRead(kView32, key)) << key;
        EXPECT_EQ("<no key>", ClassesRead(kView64, key)) << key;
    }
    EXPECT_EQ("-", RegRead(kView64, kApproved, kClsid));
}

TEST_F(ShellExtensionTest, DeleteLeavesNoKeyAndAnswersOneWhenNothingIsLeft)
{
    ASSERT_EQ(1, R::SetDrosvaneShellExtension("C:\\Drosvane\\"));
    ASSERT_EQ(1, R::DeleteDrosvaneShellExtension(nullptr)) << "the folder is not needed";
    std::vector<std::string> gone = kCreated;
    gone.push_back(kScript);
    for (const std::string& key : gone)
        for (REGSAM view : {kView32, kView64})
            EXPECT_EQ("<no key>", ClassesRead(view, key)) << key << " in view " << view;
    EXPECT_EQ("-", RegRead(kView32, kApproved, kClsid));
    EXPECT_NE("<no key>", ClassesRead(kView32, "*\\shellex\\ContextMenuHandlers")) << "shared with others";
    EXPECT_EQ(1, R::DeleteDrosvaneShellExtension("C:\\Drosvane\\")) << "nothing left to delete";
}

// Wine, as Windows, refuses to delete a key with a sub key (5).
TEST_F(ShellExtensionTest, DeleteGoesOnPastAKeyItCannotRemove)
{
    ASSERT_EQ(1, R::SetDrosvaneShellExtension("C:\\Drosvane\\"));
    UniqueKey other;
    ASSERT_EQ(ERROR_SUCCESS, other.kept(RegCreateKeyExA(HKEY_CLASSES_ROOT, (kScript + "\\shellex\\IconHandler\\Other").c_str(), 0,
                                                        nullptr, 0, KEY_ALL_ACCESS | kView32, nullptr, other.put(), nullptr)));
    EXPECT_EQ(0, R::DeleteDrosvaneShellExtension("C:\\Drosvane\\"));
    EXPECT_EQ(static_cast<DWORD>(ERROR_ACCESS_DENIED), GetLastError());
    EXPECT_EQ("<no key>", ClassesRead(kView32, kScriptMenu)) << "a key after the refused one";
}

TEST_F(ShellExtensionTest, NoFolderOrNoWriteAccessWritesNothing)
{
    EXPECT_EACH(0, ANSWER(R::SetDrosvaneShellExtension(nullptr)), ANSWER(R::SetDrosvaneShellExtension("")),
                ANSWER(CTambRegistry(0).SetDrosvaneShellExtension()));
    EXPECT_EQ("<no key>", ClassesRead(kView32, kClass));
    ASSERT_EQ(1, R::SetDrosvaneShellExtension("C:\\NoSlash"));
    EXPECT_EQ("C:\\NoSlash\\DSHELL.DLL", ClassesRead(kView32, kServer));
    EXPECT_EQ(0, CTambRegistry(0).DeleteDrosvaneShellExtension());
    EXPECT_NE("<no key>", ClassesRead(kView32, kClass)) << "no right to delete";
    EXPECT_EQ(1, CTambRegistry(CSettings()).DeleteDrosvaneShellExtension());
    EXPECT_EQ("<no key>", ClassesRead(kView32, kClass));
}
