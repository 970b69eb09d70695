#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "sysinfo/std_file_info.h"
#include "sysinfo/std_info.h"
#include "testing/cxx/test_files.h"

namespace {

class FileInfo : public testing::Test {
protected:
    void Expect(const char* company, const char* product, const char* (&&parts)[4]) {
        EXPECT_STREQ(m_info->GetCompanyName().c_str(), company);
        EXPECT_STREQ(m_info->GetProductName().c_str(), product);
        for (int i = 0; i < 4; ++i)
            EXPECT_STREQ(m_info->GetProductVersionPart(i).c_str(), parts[i]) << "part " << i;
    }
    int Open(const char* name) { return m_info->Open(test_file(name).c_str()); }

    std::unique_ptr<CStdFileInfo> m_info = std::make_unique<CStdFileInfo>();
};

TEST_F(FileInfo, Reads_a_complete_resource) {
    EXPECT_EQ(Open("version_complete"), 1);
    Expect("Example Software \xAE", "Complete Example", {"3", "1", "0", "12"});
    EXPECT_STREQ(m_info->GetStringValue("fileVERSION").c_str(), "9, 8, 7, 6");
}

TEST_F(FileInfo, Value_that_the_resource_lacks_is_empty) {
    EXPECT_EQ(Open("version_incomplete"), 1);
    Expect("", "", {"1.2.3.4", "", "", ""});
    EXPECT_STREQ(m_info->GetStringValue("").c_str(), "");
    EXPECT_STREQ(m_info->GetStringValue("No such key").c_str(), "");
    EXPECT_STREQ(m_info->GetStringValue(std::string(100000, 'k').c_str()).c_str(), "");
}

TEST_F(FileInfo, Takes_the_strings_of_the_first_language) {
    EXPECT_EQ(Open("version_russian"), 1);
    Expect("Pervyj yazyk", "Primer", {"2", "2", "2", "5"});
}

TEST_F(FileInfo, Without_a_translation_takes_those_of_no_language) {
    EXPECT_EQ(Open("version_untranslated"), 1);
    Expect("No language", "Untranslated", {"4", "5", "", ""});
}

TEST_F(FileInfo, Numbers_without_strings_are_a_resource_with_empty_values) {
    EXPECT_EQ(Open("version_fixed_only"), 1);
    Expect("", "", {"", "", "", ""});
}

TEST_F(FileInfo, Value_is_cut_at_1024_characters) {
    EXPECT_EQ(Open("version_long"), 1);
    std::string expected;
    while (expected.size() < 1024)
        expected += "0123456789";
    expected.resize(1024);
    EXPECT_EQ(m_info->GetCompanyName().c_str(), expected);
}

TEST_F(FileInfo, Of_a_file_without_a_resource_is_unknown) {
    EXPECT_EQ(Open("version_none"), 0);
    Expect("Unknown", "Unknown", {"Unknown", "", "", ""});
}

TEST_F(FileInfo, Of_no_file_is_unknown) {
    Expect("Unknown", "Unknown", {"Unknown", "", "", ""}); // before anything was opened
    EXPECT_EQ(Open("no_such_file"), 0);
    Expect("Unknown", "Unknown", {"Unknown", "", "", ""});
    EXPECT_EQ(m_info->Open(""), 0);
    EXPECT_EQ(m_info->Open(nullptr), 0);
    EXPECT_EQ(m_info->Open(test_folder().c_str()), 0);
    EXPECT_EQ(m_info->Open(std::string(5000, 'x').c_str()), 0);
}

TEST_F(FileInfo, Forgets_the_file_before) {
    EXPECT_EQ(Open("version_russian"), 1);
    EXPECT_EQ(Open("version_untranslated"), 1);
    Expect("No language", "Untranslated", {"4", "5", "", ""});
    EXPECT_EQ(Open("version_none"), 0);
    Expect("Unknown", "Unknown", {"Unknown", "", "", ""});
}

TEST_F(FileInfo, Has_the_numbers_and_the_count_of_languages) {
    EXPECT_EQ(Open("version_russian"), 1);
    EXPECT_EQ(m_info->GetTranslationCount(), 2u);
    EXPECT_EQ(Open("version_untranslated"), 1);
    EXPECT_EQ(m_info->GetTranslationCount(), 0u);
    EXPECT_EQ(Open("version_fixed_only"), 1);
    ASSERT_NE(m_info->GetFixedInfo(), nullptr);
    EXPECT_EQ(m_info->GetFixedInfo()->dwFileVersionMS, 0x00010002u);
    EXPECT_EQ(m_info->GetFixedInfo()->dwProductVersionLS, 0x00070008u);
    EXPECT_EQ(Open("version_russian"), 1);
    EXPECT_EQ(Open("version_none"), 0);
    EXPECT_EQ(m_info->GetFixedInfo(), nullptr);
    EXPECT_EQ(m_info->GetTranslationCount(), 0u);
}

TEST_F(FileInfo, Has_no_numbers_of_a_resource_that_has_none) {
    EXPECT_EQ(Open("version_fixed_only"), 1);
    EXPECT_EQ(Open("version_strings_only"), 1);
    EXPECT_EQ(m_info->GetFixedInfo(), nullptr);
    EXPECT_STREQ(m_info->GetCompanyName().c_str(), "Strings only");
}

TEST_F(FileInfo, Opens_the_file_of_a_loaded_module) {
    const HMODULE module = LoadLibraryA(test_file("version_complete").c_str());
    ASSERT_NE(module, nullptr);
    EXPECT_EQ(m_info->OpenModule(module), 1);
    EXPECT_STREQ(m_info->GetProductName().c_str(), "Complete Example");
    FreeLibrary(module);
    EXPECT_EQ(m_info->OpenModule(nullptr), 0); // this program has no resource
    EXPECT_EQ(m_info->OpenModule(reinterpret_cast<HMODULE>(0x10)), 0);
}

TEST(ModuleSection, Is_of_the_module_that_is_asked_for) {
    const auto info = std::make_unique<CStdInfo>();
    const HMODULE module = LoadLibraryA(test_file("version_complete").c_str());
    ASSERT_NE(module, nullptr);
    EXPECT_STREQ(info->GetModuleInfoText(module).c_str(),
                 "\nCompany: Example Software \xAE\nProduct Name: Complete Example\nProduct Version: 3.1.0.12\n");
    FreeLibrary(module);
    EXPECT_STREQ(info->GetModuleInfoText(nullptr).c_str(),
                 "\nCompany: Unknown\nProduct Name: Unknown\nProduct Version: 0.0.0.0\n");
}

} // namespace
