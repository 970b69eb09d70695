#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "sysinfo/std_info.h"
#include "testing/cxx/test_files.h"

namespace {

using sysinfo::find_host_application;

constexpr char kRoot[] = "Software\\WendaxTestOfTheHostApplication";
constexpr char kAppPaths[] = "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\Lumivale.exe";

class HostApplication : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(RegCreateKeyA(HKEY_CURRENT_USER, kRoot, &m_root), ERROR_SUCCESS); }
    void TearDown() override {
        RegCloseKey(m_root);
        RegDeleteTreeA(HKEY_CURRENT_USER, kRoot);
    }
    void Register(const std::string& path) {
        ASSERT_EQ(RegSetValueA(m_root, kAppPaths, REG_SZ, path.c_str(), static_cast<DWORD>(path.size())),
                  ERROR_SUCCESS);
    }
    std::string Find(const char* executable = "C:\\host\\program.exe") {
        return find_host_application(m_root, executable).c_str();
    }
    static std::string TextOf(const std::string& path) {
        return sysinfo::host_application_text(*std::make_unique<CStdFileInfo>(), path.c_str()).c_str();
    }

    HKEY m_root = nullptr;
};

TEST_F(HostApplication, Is_where_the_registry_says_if_a_file_is_there) {
    Register(test_file("version_complete"));
    EXPECT_EQ(Find(), test_file("version_complete"));
}

// The registered path is taken as it stands, and may be too long to be one.
TEST_F(HostApplication, Is_beside_the_executable_otherwise) {
    EXPECT_EQ(Find(), "C:\\host\\Lumivale.exe"); // nothing is registered
    for (const std::string& path :
         {test_file("no_such_file"), std::string(), "\"" + test_file("version_complete") + "\"",
          std::string("%windir%\\system32\\kernel32.dll"), std::string(1023, 'x'), std::string(5000, 'x')}) {
        Register(path);
        EXPECT_EQ(Find(), "C:\\host\\Lumivale.exe") << path;
    }
}

TEST_F(HostApplication, Folder_is_all_before_the_last_backslash) {
    EXPECT_EQ(Find("C:\\program.exe"), "C:\\Lumivale.exe");
    EXPECT_EQ(Find("C:\\a/b\\c\\d/program.exe"), "C:\\a/b\\c\\Lumivale.exe");
    EXPECT_EQ(Find("\\program.exe"), "\\Lumivale.exe");
    EXPECT_EQ(Find("program.exe"), "");
    EXPECT_EQ(Find(""), "");
}

TEST_F(HostApplication, Text_is_of_the_file_at_the_path) {
    EXPECT_EQ(TextOf(test_file("version_complete")),
              "Lumivale module info:\nCompany: Example Software \xAE\nProduct name:Complete Example\n"
              "Version number: 3.1.0\nBuild number 12");
    EXPECT_EQ(TextOf(test_file("version_incomplete")),
              "Lumivale module info:\nCompany: \nProduct name:\nVersion number: 1.2.3.4..\nBuild number ");
}

TEST_F(HostApplication, Text_of_a_file_without_a_resource_is_unknown) {
    EXPECT_EQ(
        TextOf(test_file("version_none")),
        "Lumivale module info:\nCompany: Unknown\nProduct name:Unknown\nVersion number: Unknown..\nBuild number ");
}

TEST_F(HostApplication, Without_a_file_there_is_no_version) {
    EXPECT_EQ(TextOf(test_file("no_such_file")), "Cannot extract version number of Lumivale");
    EXPECT_EQ(TextOf(""), "Cannot extract version number of Lumivale");
}

TEST_F(HostApplication, Section_finds_the_application_beside_this_program) {
    const std::string beside = test_folder() + "Lumivale.exe";
    const auto info = std::make_unique<CStdInfo>();
    HKEY registered;
    if (RegOpenKeyA(HKEY_LOCAL_MACHINE, kAppPaths, &registered) == ERROR_SUCCESS) {
        RegCloseKey(registered);
        GTEST_SKIP() << "the application is installed here";
    }
    DeleteFileA(beside.c_str());
    EXPECT_STREQ(info->GetHostApplicationText().c_str(), "Cannot extract version number of Lumivale");
    ASSERT_TRUE(CopyFileA(test_file("version_complete").c_str(), beside.c_str(), TRUE));
    const CStdString text = info->GetHostApplicationText();
    DeleteFileA(beside.c_str());
    EXPECT_EQ(text.find("Lumivale module info:\nCompany: Example Software"), 0) << text.c_str();
}

} // namespace
