#include "CMIF.h"

#include "Failure.h"
#include "Handles.h"
#include "ProductLibrary.h"
#include "TextRules.h"

#include <ctime>

namespace {

// ---- The short status form. ----
//
//   Start Component
//   <TAB>Name = "WorkStation"
//   <TAB>Start Group Name = "INSTALLSTAUTS"          (uninstallation: "UNINSTALLSTATUS")
//   <TAB>ID = 1
//   <TAB>Class = "BRANNOCH|INSTALLSTAUTS|1.0"
//   <TAB><TAB>Start Attribute ... "Status" ... "Description" ... End Attribute
//   <TAB>End Group
//   End Component                                     (no line end after the last word)
//
// The installation's group name is spelt "INSTALLSTAUTS": the distribution systems that read
// these files know it by that name.
const char kShortHead[] =
    "Start Component\r\n\tName = \"WorkStation\"\r\n\tStart Group Name = \"%s\"\r\n\tID = 1\r\n"
    "\tClass = \"BRANNOCH|%s|1.0\"\r\n";
const char kInstallGroup[] = "INSTALLSTAUTS";
const char kUninstallGroup[] = "UNINSTALLSTATUS";
const char kShortStatus[] =
    "\t\tStart Attribute\r\n\t\t\tName = \"Status\"\r\n\t\t\tID = 1\r\n\t\t\tType = String(16)\r\n"
    "\t\t\tValue = \"%s\"\r\n\t\tEnd Attribute\r\n"
    "\t\tStart Attribute\r\n\t\t\tName = \"Description\"\r\n\t\t\tID = 2\r\n\t\t\tType = String(128)\r\n"
    "\t\t\tValue = \"%s\"\r\n\t\tEnd Attribute\r\n";
const char kShortEnd[] = "\tEnd Group\r\nEnd Component";
const char kShortSuccess[] = "SUCCESS";
const char kShortFailure[] = "FAILED";
const int kShortDescriptionWidth = 128;

// ---- The full DMTF form. ----
//
// Keywords in upper case, one keyword or one "KEY = value" a line, each line ending in CR LF
// (the last one too); texts in quote marks, numbers, access, storage and types bare. Each level
// of nesting is one TAB further in. Create writes:
//
//   START COMPONENT
//   <TAB>NAME = "WORKSTATION"
//   <TAB>START GROUP
//   <TAB><TAB>NAME = "ComponentID"
//   <TAB><TAB>ID = 1
//   <TAB><TAB>CLASS = "DMTF|ComponentID|1.0"
//   <TAB><TAB>START ATTRIBUTE
//   <TAB><TAB><TAB>NAME = "Manufacturer"
//   <TAB><TAB><TAB>ID = 1
//   <TAB><TAB><TAB>ACCESS = READ-ONLY
//   <TAB><TAB><TAB>STORAGE = SPECIFIC
//   <TAB><TAB><TAB>TYPE = STRING(100)
//   <TAB><TAB><TAB>VALUE = "Tamberly Software Inc."
//   <TAB><TAB>END ATTRIBUTE
//   ... attribute 2 "Product" STRING(100), attribute 3 "Version" STRING(15), alike
//
// and WriteStatus appends:
//
//   ... attribute 4 "Serial Number" STRING(100), attribute 5 "Installation" STRING(100)
//       with the value "<_strdate> <_strtime>" ("MM/DD/YY HH:MM:SS")
//   <TAB>END GROUP
//   <TAB>START GROUP
//   <TAB><TAB>NAME = "InstallStatus"
//   <TAB><TAB>ID = 2
//   <TAB><TAB>CLASS = "MICROSOFT|JOBSTATUS|1.0"
//   ... attribute 1 "Status" STRING(100) "Success" or "Failed",
//       attribute 2 "Description" STRING(255)
//   <TAB>END GROUP
//   END COMPONENT
//
// The manufacturer's width is that of its sibling names, 100. Every value is cut to the width
// its TYPE declares, so that a reader that holds the file to its declarations accepts it; the
// short form's description is cut to its 128 the same way.
const char kFullHead[] =
    "START COMPONENT\r\n\tNAME = \"WORKSTATION\"\r\n"
    "\tSTART GROUP\r\n\t\tNAME = \"ComponentID\"\r\n\t\tID = 1\r\n\t\tCLASS = \"DMTF|ComponentID|1.0\"\r\n";
const char kFullStatusGroup[] =
    "\tEND GROUP\r\n"
    "\tSTART GROUP\r\n\t\tNAME = \"InstallStatus\"\r\n\t\tID = 2\r\n\t\tCLASS = \"MICROSOFT|JOBSTATUS|1.0\"\r\n";
const char kFullEnd[] = "\tEND GROUP\r\nEND COMPONENT\r\n";
const char kFullAttribute[] =
    "\t\tSTART ATTRIBUTE\r\n\t\t\tNAME = \"%s\"\r\n\t\t\tID = %d\r\n\t\t\tACCESS = READ-ONLY\r\n"
    "\t\t\tSTORAGE = SPECIFIC\r\n\t\t\tTYPE = STRING(%d)\r\n\t\t\tVALUE = \"%s\"\r\n\t\tEND ATTRIBUTE\r\n";
const char kManufacturer[] = "Tamberly Software Inc.";
const char kFullSuccess[] = "Success";
const char kFullFailure[] = "Failed";
const int kNameWidth = 100;
const int kVersionWidth = 15;
const int kDescriptionWidth = 255;

// ---- The product's libraries. ----
//
// BOOL __stdcall CPGetProductName(char* buffer, DWORD size): the product-map library writes the
// product's name, NUL-terminated and cut to size, and answers TRUE when it knows it.
typedef BOOL(WINAPI* ProductNameExport)(char* buffer, DWORD size);
const char kProductMapLibrary[] = "TambProd.dll";
const char kProductNameEntry[] = "CPGetProductName";
// void __stdcall DvvGetVersionA(char* buffer): the version library writes its version text,
// NUL-terminated, at most 31 characters, into a 32-byte buffer.
typedef void(WINAPI* VersionExport)(char* buffer);
const char kVersionLibrary[] = "dvvctl.dll";
const char kVersionEntry[] = "DvvGetVersionA";
const int kVersionBufferSize = 32;

// Both libraries are the setup program's helpers, kept in its folder, which is the current
// folder while it runs: a copy there wins over one along the system's search for libraries.
CString ProductName()
{
    char name[kNameWidth + 1] = "";
    ProductLibrary library = ProductLibrary::InCurrentFolderThenByName(kProductMapLibrary);
    auto ask = library.Entry<ProductNameExport>(kProductNameEntry);
    if (!ask || !ask(name, sizeof(name)))
        return CString();
    name[kNameWidth] = '\0';
    return CString(name);
}

CString ProductVersion()
{
    char version[kVersionBufferSize] = "";
    ProductLibrary library = ProductLibrary::InCurrentFolderThenByName(kVersionLibrary);
    if (auto ask = library.Entry<VersionExport>(kVersionEntry))
        ask(version);
    version[kVersionBufferSize - 1] = '\0';  // a library that overruns the limit is still cut here
    return CString(version);
}

// The text, null as empty, cut to width bytes.
CString Cut(const char* text, int width)
{
    return CString(text ? text : "", width);
}

void AppendAttribute(CString& block, int id, const char* name, int width, const char* value)
{
    CString attribute;
    attribute.Format(kFullAttribute, name, id, width, Cut(value, width).GetString());
    block += attribute;
}

// "<date> <time>" of the moment of the call, as _strdate and _strtime give them.
CString InstallationTime()
{
    char date[9] = "", time[9] = "";
    _strdate(date);
    _strtime(time);
    CString text;
    text.Format("%s %s", date, time);
    return text;
}

// Writes block into file with one WriteFile: a new file (replacing one that is there) for
// CREATE_ALWAYS, the end of the existing file for OPEN_EXISTING. The file is closed before the
// status is answered.
DWORD WriteBlock(const char* file, DWORD disposition, const CString& block)
{
    if (IsEmptyText(file))
        return ERROR_INVALID_PARAMETER;
    UniqueFile handle(CreateFileA(file, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                  disposition, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!handle)
        return failure::StatusOf(FALSE);
    if (disposition == OPEN_EXISTING && SetFilePointer(handle.get(), 0, nullptr, FILE_END) == INVALID_SET_FILE_POINTER &&
        GetLastError() != NO_ERROR)
        return failure::StatusOf(FALSE);
    const DWORD length = static_cast<DWORD>(block.GetLength());
    DWORD written = 0;
    if (!WriteFile(handle.get(), block.GetString(), length, &written, nullptr))
        return failure::StatusOf(FALSE);
    return written == length ? ERROR_SUCCESS : ERROR_WRITE_FAULT;
}

// The operation's result from what makes and writes its block.
template <typename MakeBlock>
int Write(const char* file, DWORD disposition, MakeBlock makeBlock)
{
    return failure::ContainExceptions(0, [&] { return failure::ResultOf(WriteBlock(file, disposition, makeBlock())); });
}

}  // namespace

CMIF::CMIF(const char* path) : m_path(path) {}

CMIF::CMIF(const char* path, const char* name) : m_path(path), m_name(name) {}

int CMIF::Create(int uninstall)
{
    return Create(m_path, uninstall);
}

int CMIF::WriteStatus(const char* description, int success)
{
    return WriteStatus(m_path, description, success);
}

int CMIF::WriteEndOfMIF()
{
    return WriteEndOfMIF(m_path);
}

int CMIF::Create()
{
    return Create(m_path.GetString());
}

int CMIF::WriteStatus(int success, const char* description)
{
    return WriteStatus(m_path, m_name, success, description);
}

int CMIF::Create(const char* file, int uninstall)
{
    return Write(file, CREATE_ALWAYS, [&] {
        const char* group = uninstall ? kUninstallGroup : kInstallGroup;
        CString block;
        block.Format(kShortHead, group, group);
        return block;
    });
}

int CMIF::WriteStatus(const char* file, const char* description, int success)
{
    return Write(file, OPEN_EXISTING, [&] {
        CString block;
        block.Format(kShortStatus, success ? kShortSuccess : kShortFailure,
                     Cut(description, kShortDescriptionWidth).GetString());
        return block;
    });
}

int CMIF::WriteEndOfMIF(const char* file)
{
    return Write(file, OPEN_EXISTING, [] { return CString(kShortEnd); });
}

int CMIF::Create(const char* file)
{
    return Write(file, CREATE_ALWAYS, [] {
        CString block(kFullHead);
        AppendAttribute(block, 1, "Manufacturer", kNameWidth, kManufacturer);
        AppendAttribute(block, 2, "Product", kNameWidth, ProductName());
        AppendAttribute(block, 3, "Version", kVersionWidth, ProductVersion());
        return block;
    });
}

int CMIF::WriteStatus(const char* file, const char* serialNumber, int success, const char* description)
{
    return Write(file, OPEN_EXISTING, [&] {
        CString block;
        AppendAttribute(block, 4, "Serial Number", kNameWidth, serialNumber);
        AppendAttribute(block, 5, "Installation", kNameWidth, InstallationTime());
        block += kFullStatusGroup;
        AppendAttribute(block, 1, "Status", kNameWidth, success ? kFullSuccess : kFullFailure);
        AppendAttribute(block, 2, "Description", kDescriptionWidth, description);
        block += kFullEnd;
        return block;
    });
}
