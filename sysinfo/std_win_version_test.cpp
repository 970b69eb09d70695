#include <gtest/gtest.h>

#include <stdio.h>

#include <string>

#include "sysinfo/std_win_version.h"

namespace {

using sysinfo::RegistryEdition;
using sysinfo::WinVersion;

// What this system says of itself, read without the class under test.
TEST(StdWinVersion, Names_the_build_that_Windows_reports) {
    OSVERSIONINFOA record = {};
    record.dwOSVersionInfoSize = sizeof(record);
    ASSERT_TRUE(GetVersionExA(&record));
    ASSERT_EQ(record.dwPlatformId, 2u);
    ASSERT_GT(record.dwMajorVersion, 4u);
    char build[200];
    snprintf(build, sizeof(build), "%s (Build %d)\n", record.szCSDVersion,
             static_cast<int>(record.dwBuildNumber & 0xFFFF));

    const CStdString text = CStdWinVersion().GetVersionText(false);
    ASSERT_GE(text.find(build), 0) << text.c_str();
    EXPECT_EQ(text.find(build) + std::string(build).size(), text.length());
}

TEST(StdWinVersion, Tag_has_the_service_pack_number_and_no_blank) {
    OSVERSIONINFOEXA record = {};
    record.dwOSVersionInfoSize = sizeof(record);
    ASSERT_TRUE(GetVersionExA(reinterpret_cast<OSVERSIONINFOA*>(&record)));
    const std::string text = CStdWinVersion().GetVersionText(true).c_str();
    const std::string end = "SP" + std::to_string(record.wServicePackMajor);
    ASSERT_GE(text.size(), end.size());
    EXPECT_EQ(text.substr(text.size() - end.size()), end);
    EXPECT_EQ(text.find(' '), std::string::npos);
}

constexpr char kRoot[] = "Software\\WendaxTestOfTheProductType";
constexpr char kKey[] = "Software\\WendaxTestOfTheProductType\\SYSTEM\\CurrentControlSet\\Control\\ProductOptions";

class ProductType : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(RegCreateKeyA(HKEY_CURRENT_USER, kRoot, &m_root), ERROR_SUCCESS); }
    void TearDown() override {
        RegCloseKey(m_root);
        for (const char* sub : {"SYSTEM\\CurrentControlSet\\Control\\ProductOptions",
                                "SYSTEM\\CurrentControlSet\\Control", "SYSTEM\\CurrentControlSet", "SYSTEM"})
            RegDeleteKeyA(HKEY_CURRENT_USER, (std::string(kRoot) + "\\" + sub).c_str());
        RegDeleteKeyA(HKEY_CURRENT_USER, kRoot);
    }

    void MakeKey() {
        HKEY key;
        ASSERT_EQ(RegCreateKeyA(HKEY_CURRENT_USER, kKey, &key), ERROR_SUCCESS);
        RegCloseKey(key);
    }

    void MakeValue(const std::string& value) {
        HKEY key;
        ASSERT_EQ(RegCreateKeyA(HKEY_CURRENT_USER, kKey, &key), ERROR_SUCCESS);
        ASSERT_EQ(RegSetValueExA(key, "ProductType", 0, REG_SZ, reinterpret_cast<const BYTE*>(value.data()),
                                 static_cast<DWORD>(value.size())),
                  ERROR_SUCCESS);
        RegCloseKey(key);
    }

    WinVersion Read() {
        WinVersion version = {};
        sysinfo::ReadRegistryEdition(m_root, version);
        return version;
    }

    HKEY m_root = nullptr;
};

TEST_F(ProductType, Missing_key_is_told_from_a_missing_value) {
    EXPECT_EQ(Read().edition, RegistryEdition::key_missing);
    MakeKey();
    EXPECT_EQ(Read().edition, RegistryEdition::value_missing);
}

TEST_F(ProductType, Is_the_text_of_the_value) {
    MakeValue(std::string("LanmanNT\0", 9));
    const WinVersion version = Read();
    EXPECT_EQ(version.edition, RegistryEdition::read);
    EXPECT_STREQ(version.edition_name, "LanmanNT");
}

TEST_F(ProductType, May_fill_the_80_bytes_but_no_more) {
    MakeValue(std::string(79, 'x') + '\0');
    const WinVersion version = Read();
    EXPECT_EQ(version.edition, RegistryEdition::read);
    EXPECT_EQ(std::string(version.edition_name), std::string(79, 'x'));
    MakeValue(std::string(80, 'x') + '\0');
    EXPECT_EQ(Read().edition, RegistryEdition::value_missing);
}

} // namespace
