#include "CMIF.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>

using namespace testsupport;

namespace {

std::string ShortHead(const std::string& group)
{
    return "Start Component\r\n\tName = \"WorkStation\"\r\n\tStart Group Name = \"" + group +
           "\"\r\n\tID = 1\r\n\tClass = \"BRANNOCH|" + group + "|1.0\"\r\n";
}

std::string ShortStatus(const std::string& status, const std::string& description)
{
    return "\t\tStart Attribute\r\n\t\t\tName = \"Status\"\r\n\t\t\tID = 1\r\n\t\t\tType = String(16)\r\n"
           "\t\t\tValue = \"" + status + "\"\r\n\t\tEnd Attribute\r\n"
           "\t\tStart Attribute\r\n\t\t\tName = \"Description\"\r\n\t\t\tID = 2\r\n\t\t\tType = String(128)\r\n"
           "\t\t\tValue = \"" + description + "\"\r\n\t\tEnd Attribute\r\n";
}

std::string FullAttribute(const std::string& name, int id, int width, const std::string& value)
{
    return "\t\tSTART ATTRIBUTE\r\n\t\t\tNAME = \"" + name + "\"\r\n\t\t\tID = " + std::to_string(id) +
           "\r\n\t\t\tACCESS = READ-ONLY\r\n\t\t\tSTORAGE = SPECIFIC\r\n\t\t\tTYPE = STRING(" + std::to_string(width) +
           ")\r\n\t\t\tVALUE = \"" + value + "\"\r\n\t\tEND ATTRIBUTE\r\n";
}

class MIF : public ::testing::Test {
protected:
    TempDir m_dir;
    const std::string m_file = m_dir / "status.mif";
};

}  // namespace

TEST_F(MIF, ShortFormIsWrittenByteForByte)
{
    EXPECT_EQ(1, CMIF::Create(m_file.c_str(), 0));
    EXPECT_EQ(1, CMIF::WriteStatus(m_file.c_str(), "Installed.", 1));
    EXPECT_EQ(1, CMIF::WriteEndOfMIF(m_file.c_str()));
    EXPECT_EQ(ShortHead("INSTALLSTAUTS") + ShortStatus("SUCCESS", "Installed.") + "\tEnd Group\r\nEnd Component",
              ReadFileBytes(m_file));

    CMIF mif(m_file.c_str());  // the object form, over the file written above
    EXPECT_EQ(1, mif.Create(1));
    EXPECT_EQ(1, mif.WriteStatus(std::string(130, 'd').c_str(), 0));
    EXPECT_EQ(1, mif.WriteEndOfMIF());
    EXPECT_EQ(ShortHead("UNINSTALLSTATUS") + ShortStatus("FAILED", std::string(128, 'd')) +
                  "\tEnd Group\r\nEnd Component",
              ReadFileBytes(m_file))
        << "replaced, description cut to its 128";
}

TEST_F(MIF, AppendsNeedAnExistingFile)
{
    EXPECT_EACH(0, ANSWER(CMIF::WriteStatus(m_file.c_str(), "text", 1)), ANSWER(CMIF::WriteEndOfMIF(m_file.c_str())),
                ANSWER(CMIF::WriteStatus(m_file.c_str(), "serial", 1, "text")), ANSWER(CMIF::Create(nullptr, 0)),
                ANSWER(CMIF::WriteEndOfMIF(nullptr)));
    EXPECT_EQ(INVALID_FILE_ATTRIBUTES, GetFileAttributesA(m_file.c_str())) << "nothing created";
}

TEST_F(MIF, FullFormNamesWhatTheProductLibrariesAnswer)
{
    const struct {
        const char* productMap;  // fixture copied as TambProd.dll, or none
        const char* version;     // fixture copied as dvvctl.dll, or none
        std::string name, versionText, product, expectedVersion;
    } cases[] = {
        {"TambProd.dll", "dvversion.dll", "Drosvane Backup", "19.0", "Drosvane Backup", "19.0"},
        {nullptr, nullptr, "Drosvane Backup", "19.0", "", ""},
        {"noexports.dll", "noexports.dll", "Drosvane Backup", "19.0", "", ""},
        {"TambProd.dll", "dvversion.dll", std::string(120, 'N'), "1234567890.1234567", std::string(100, 'N'),
         "1234567890.1234"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name + " " + (c.productMap ? c.productMap : "no library"));
        TempDir folder;
        ScopedCurrentDir keep;
        ASSERT_TRUE(SetCurrentDirectoryA(folder.path().c_str()));
        if (c.productMap) {
            ASSERT_TRUE(CopyFixture(c.productMap, folder / "TambProd.dll"));
            ASSERT_TRUE(CopyFixture(c.version, folder / "dvvctl.dll"));
        }
        ScopedEnv name("TAMBPROD_NAME_ANSWER", c.name.c_str()), version("DVV_FIXTURE_VERSION", c.versionText.c_str());
        CMIF mif(m_file.c_str(), "SERIAL-7");
        EXPECT_EQ(1, mif.Create());
        EXPECT_EQ(1, mif.WriteStatus(1, "Installed."));
        EXPECT_EQ("START COMPONENT\r\n\tNAME = \"WORKSTATION\"\r\n\tSTART GROUP\r\n\t\tNAME = \"ComponentID\"\r\n"
                  "\t\tID = 1\r\n\t\tCLASS = \"DMTF|ComponentID|1.0\"\r\n" +
                      FullAttribute("Manufacturer", 1, 100, "Tamberly Software Inc.") +
                      FullAttribute("Product", 2, 100, c.product) + FullAttribute("Version", 3, 15, c.expectedVersion) +
                      FullAttribute("Serial Number", 4, 100, "SERIAL-7") +
                      FullAttribute("Installation", 5, 100, "MM/DD/YY HH:MM:SS") +
                      "\tEND GROUP\r\n\tSTART GROUP\r\n\t\tNAME = \"InstallStatus\"\r\n\t\tID = 2\r\n"
                      "\t\tCLASS = \"MICROSOFT|JOBSTATUS|1.0\"\r\n" +
                      FullAttribute("Status", 1, 100, "Success") + FullAttribute("Description", 2, 255, "Installed.") +
                      "\tEND GROUP\r\nEND COMPONENT\r\n",
                  std::regex_replace(ReadFileBytes(m_file), std::regex("\\d\\d/\\d\\d/\\d\\d \\d\\d:\\d\\d:\\d\\d"),
                                     "MM/DD/YY HH:MM:SS"));
    }
    EXPECT_EQ(1, CMIF::WriteStatus(m_file.c_str(), "S", 0, "Disk full"));
    EXPECT_NE(std::string::npos, ReadFileBytes(m_file).find(FullAttribute("Status", 1, 100, "Failed")));
}
