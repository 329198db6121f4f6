// The product's Explorer shell extension (DSHELL.DLL in the product folder, an in-process COM
// server) for drives, folders and all files, and the product's job script files (".asx"),
// which the extension draws and whose menus and property pages it adds.
//
// Registry view. The extension is a 32-bit DLL: only 32-bit processes can load it, and they look
// for its class under the 32-bit view of HKEY_CLASSES_ROOT\CLSID (HKCR\Wow6432Node\CLSID on a
// 64-bit system), which is where the product's 32-bit installers have always registered it.
// Every key of this file, below HKEY_CLASSES_ROOT as below HKEY_LOCAL_MACHINE\SOFTWARE, is
// therefore created, opened and deleted in the product's 32-bit view (regview), so that the
// 32-bit and the 64-bit builds of this library register the extension in the same place. The
// file type and handler keys (".asx", "*\shellex\...", "Drive", "Directory") are shared by the
// two views on Windows 7 and later, where the flag does not move them.
#include "CTambRegistry.h"

#include "Failure.h"
#include "PathRules.h"
#include "RegistryView.h"
#include "TextRules.h"

#include <cstring>

// The product's own class identifier, fixed for every release of the extension.
#define SETUPCLS_SHELL_CLSID "{5a1c7e42-93d0-4b6e-8f21-c03b9d4e7a15}"

const char* const CTambRegistry::m_sDrosvaneShellExtension = "Brannoch Quellmarsh Shell Extension";
const char* const CTambRegistry::m_sDrosvaneShellExtensionCLSID = SETUPCLS_SHELL_CLSID;
const char* const CTambRegistry::m_sDrosvaneShellExtensionCLSIDKey = "CLSID\\" SETUPCLS_SHELL_CLSID;
const char* const CTambRegistry::m_sDrosvaneShellExtensionInProcServerKey =
    "CLSID\\" SETUPCLS_SHELL_CLSID "\\InProcServer32";
const char* const CTambRegistry::m_sThreadingModel = "ThreadingModel";
const char* const CTambRegistry::m_sShellExtApprovedKey =
    "Software\\Microsoft\\Windows\\CurrentVersion\\Shell Extensions\\Approved";
const char* const CTambRegistry::m_sDrivePropertySheetHandler = "Drive\\shellex\\PropertySheetHandlers\\" SETUPCLS_SHELL_CLSID;
const char* const CTambRegistry::m_sDriveMenuHandler = "Drive\\shellex\\ContextMenuHandlers\\" SETUPCLS_SHELL_CLSID;
const char* const CTambRegistry::m_sDirMenuHandler = "Directory\\shellex\\ContextMenuHandlers\\" SETUPCLS_SHELL_CLSID;
const char* const CTambRegistry::m_sAllMenuHandler = "*\\shellex\\ContextMenuHandlers\\" SETUPCLS_SHELL_CLSID;
const char* const CTambRegistry::m_sDrosvaneScriptExtension = ".asx";
const char* const CTambRegistry::m_sDrosvaneScriptFile = "DrosvaneScriptFile";
const char* const CTambRegistry::m_sDrosvaneScriptDefaultIcon = "DrosvaneScriptFile\\DefaultIcon";
const char* const CTambRegistry::m_sDrosvaneScriptFileShellExtension = "DrosvaneScriptFile\\shellex";
const char* const CTambRegistry::m_sDrosvaneScriptIconHandler = "DrosvaneScriptFile\\shellex\\IconHandler";
const char* const CTambRegistry::m_sDrosvaneScriptMenuHandler = "DrosvaneScriptFile\\shellex\\ContextMenuHandlers";
const char* const CTambRegistry::m_sDrosvaneScriptMenuHandlerCLSID =
    "DrosvaneScriptFile\\shellex\\ContextMenuHandlers\\" SETUPCLS_SHELL_CLSID;
const char* const CTambRegistry::m_sDrosvaneScriptPropertySheetHandler =
    "DrosvaneScriptFile\\shellex\\PropertySheetHandlers";
const char* const CTambRegistry::m_sDrosvaneScriptPropertySheetHandlerCLSID =
    "DrosvaneScriptFile\\shellex\\PropertySheetHandlers\\" SETUPCLS_SHELL_CLSID;
const char* const CTambRegistry::m_sDrosvaneShellExtensionOld = "Brannoch DrosvaneIT Shell Extension";

#undef SETUPCLS_SHELL_CLSID

namespace {

using R = CTambRegistry;

const char kServerFile[] = "DSHELL.DLL";
const char kApartment[] = "Apartment";
// Below the class key: the extension may change the default item of the menus it extends.
const char kMayChangeDefaultMenu[] = "%s\\ShellEx\\MayChangeDefaultMenu";
// A script file's icon is the one its icon handler draws for that file: "%1" hands each file
// to the handler registered under IconHandler instead of naming one icon for all of them.
const char kScriptIcon[] = "%1";

// The class key's sub key whose MayChangeDefaultMenu key Set creates.
CString MayChangeDefaultMenuKey()
{
    CString key;
    key.Format(kMayChangeDefaultMenu, R::m_sDrosvaneShellExtensionCLSIDKey);
    return key;
}

// One REG_SZ value of a key; a null name is the key's default value, a null text no value.
struct ShellValue {
    const char* name;
    const char* text;
};

// One key that registration creates (with full access) and the values it writes into it.
struct ShellKey {
    HKEY root;
    const char* key;
    ShellValue values[2];
};

LONG WriteShellKey(const ShellKey& entry)
{
    UniqueKey key;
    LONG status = regview::CreateKey(entry.root, entry.key, key);
    for (const ShellValue& value : entry.values) {
        if (status == ERROR_SUCCESS && value.text)
            status = RegSetValueExA(key.get(), value.name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.text),
                                    static_cast<DWORD>(strlen(value.text) + 1));
    }
    return status;
}

// One step of unregistration: a value of a key (null: the default value), or a key without sub
// keys.
struct ShellRemoval {
    HKEY root;
    const char* key;
    bool valueOnly;
    const char* value;
};

// What is not there any more counts as removed: an earlier uninstall, or a registration that
// stopped half-way, left less to remove.
LONG Remove(const ShellRemoval& step)
{
    LONG status = ERROR_SUCCESS;
    if (step.valueOnly) {
        UniqueKey key;
        status = regview::OpenKey(step.root, step.key, KEY_SET_VALUE, key);
        if (status == ERROR_SUCCESS)
            status = RegDeleteValueA(key.get(), step.value);
    } else {
        status = regview::DeleteKey(step.root, step.key);
    }
    return status == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : status;
}

}  // namespace

// The keys are written in this order and registration stops at the first one that fails: the
// handler keys name the class, so they are not written for a class that could not be.
// The handler keys below the class identifier carry the extension's display name as their
// default value, for a reader of the registry (the shell goes by the key's name); the icon
// handler key, whose name is fixed, names the class in its default value, as the shell needs.
// A folder without its trailing back-slash gets one; a null or empty folder writes nothing (the
// server's path would be a bare file name, loaded from wherever the search finds one).
int CTambRegistry::SetDrosvaneShellExtension(const char* dir)
{
    return failure::ContainExceptions(0, [&] {
        if (IsEmptyText(dir))
            return failure::ResultOf(ERROR_INVALID_PARAMETER);
        CString server(dir);
        AppendBackSlash(server);
        server += kServerFile;
        const CString mayChange = MayChangeDefaultMenuKey();
        const char* const name = m_sDrosvaneShellExtension;
        const ShellKey keys[] = {
            {HKEY_LOCAL_MACHINE, m_sShellExtApprovedKey, {{m_sDrosvaneShellExtensionCLSID, name}, {}}},
            {HKEY_CLASSES_ROOT, m_sDrosvaneShellExtensionCLSIDKey, {{nullptr, name}, {}}},
            {HKEY_CLASSES_ROOT, m_sDrosvaneShellExtensionInProcServerKey,
             {{nullptr, server}, {m_sThreadingModel, kApartment}}},
            {HKEY_CLASSES_ROOT, mayChange, {}},
            {HKEY_CLASSES_ROOT, m_sDrivePropertySheetHandler, {{nullptr, name}, {}}},
            {HKEY_CLASSES_ROOT, m_sDriveMenuHandler, {{nullptr, name}, {}}},
            {HKEY_CLASSES_ROOT, m_sDirMenuHandler, {{nullptr, name}, {}}},
            {HKEY_CLASSES_ROOT, m_sAllMenuHandler, {{nullptr, name}, {}}},
            {HKEY_CLASSES_ROOT, m_sDrosvaneScriptExtension, {{nullptr, m_sDrosvaneScriptFile}, {}}},
            {HKEY_CLASSES_ROOT, m_sDrosvaneScriptDefaultIcon, {{nullptr, kScriptIcon}, {}}},
            {HKEY_CLASSES_ROOT, m_sDrosvaneScriptIconHandler, {{nullptr, m_sDrosvaneShellExtensionCLSID}, {}}},
            {HKEY_CLASSES_ROOT, m_sDrosvaneScriptPropertySheetHandlerCLSID, {{nullptr, name}, {}}},
            {HKEY_CLASSES_ROOT, m_sDrosvaneScriptMenuHandlerCLSID, {{nullptr, name}, {}}},
        };
        for (const ShellKey& key : keys) {
            const LONG status = WriteShellKey(key);
            if (status != ERROR_SUCCESS)
                return failure::ResultOf(status);
        }
        return 1;
    });
}

// Children before parents, as the registry deletes only keys without sub keys; the class key's
// ShellEx branch goes before the class key for that reason. The handler lists of drives,
// folders and all files are shared with other extensions: only the extension's own entries go.
// Every step runs even after one failed (a key another program put something below stays); the
// answer is 1 when everything is gone, else 0 with the first failure's status in GetLastError.
// The keys do not depend on the product folder: dir is not read.
int CTambRegistry::DeleteDrosvaneShellExtension(const char* /*dir*/)
{
    return failure::ContainExceptions(0, [&] {
        const CString mayChange = MayChangeDefaultMenuKey();
        const CString shellEx = regview::ParentKey(mayChange);
        const ShellRemoval steps[] = {
            {HKEY_LOCAL_MACHINE, m_sShellExtApprovedKey, true, m_sDrosvaneShellExtensionCLSID},
            {HKEY_CLASSES_ROOT, m_sDrosvaneShellExtensionInProcServerKey, false, nullptr},
            {HKEY_CLASSES_ROOT, mayChange, false, nullptr},
            {HKEY_CLASSES_ROOT, shellEx, false, nullptr},
            {HKEY_CLASSES_ROOT, m_sDrosvaneShellExtensionCLSIDKey, false, nullptr},
            {HKEY_CLASSES_ROOT, m_sDrivePropertySheetHandler, false, nullptr},
            {HKEY_CLASSES_ROOT, m_sDriveMenuHandler, false, nullptr},
            {HKEY_CLASSES_ROOT, m_sDirMenuHandler, false, nullptr},
            {HKEY_CLASSES_ROOT, m_sAllMenuHandler, false, nullptr},
            {HKEY_CLASSES_ROOT, m_sDrosvaneScriptExtension, true, nullptr},
            {HKEY_CLASSES_ROOT, m_sDrosvaneScriptExtension, false, nullptr},
            {HKEY_CLASSES_ROOT, m_sDrosvaneScriptDefaultIcon, false, nullptr},
            {HKEY_CLASSES_ROOT, m_sDrosvaneScriptIconHandler, false, nullptr},
            {HKEY_CLASSES_ROOT, m_sDrosvaneScriptPropertySheetHandlerCLSID, false, nullptr},
            {HKEY_CLASSES_ROOT, m_sDrosvaneScriptPropertySheetHandler, false, nullptr},
            {HKEY_CLASSES_ROOT, m_sDrosvaneScriptMenuHandlerCLSID, false, nullptr},
            {HKEY_CLASSES_ROOT, m_sDrosvaneScriptMenuHandler, false, nullptr},
            {HKEY_CLASSES_ROOT, m_sDrosvaneScriptFileShellExtension, false, nullptr},
            {HKEY_CLASSES_ROOT, m_sDrosvaneScriptFile, false, nullptr},
        };
        LONG first = ERROR_SUCCESS;
        for (const ShellRemoval& step : steps) {
            const LONG status = Remove(step);
            if (first == ERROR_SUCCESS)
                first = status;
        }
        return failure::ResultOf(first);
    });
}

int CTambRegistry::SetDrosvaneShellExtension()
{
    return MayWrite() ? SetDrosvaneShellExtension(m_settings.DrosvanePath()) : 0;
}

int CTambRegistry::DeleteDrosvaneShellExtension()
{
    return MayWrite() ? DeleteDrosvaneShellExtension(m_settings.DrosvanePath()) : 0;
}
