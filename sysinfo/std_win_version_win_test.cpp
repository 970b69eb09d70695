#include <gtest/gtest.h>

#include <stdio.h>
#include <string.h>

#include <string>

#include "sysinfo/std_win_version.h"
#include "testing/cxx/usage.h"

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
constexpr char kKey[] = "SYSTEM\\CurrentControlSet\\Control\\ProductOptions";

class ProductType : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(RegCreateKeyA(HKEY_CURRENT_USER, kRoot, &m_root), ERROR_SUCCESS); }
    void TearDown() override {
        RegCloseKey(m_root);
        RegDeleteTreeA(HKEY_CURRENT_USER, kRoot);
    }

    void MakeKey() {
        HKEY key;
        ASSERT_EQ(RegCreateKeyA(m_root, kKey, &key), ERROR_SUCCESS);
        RegCloseKey(key);
    }

    void MakeValue(const std::string& value, DWORD type = REG_SZ) {
        ASSERT_EQ(RegSetKeyValueA(m_root, kKey, "ProductType", type, value.data(), static_cast<DWORD>(value.size())),
                  ERROR_SUCCESS);
    }

    WinVersion Read() {
        WinVersion version = {};
        sysinfo::read_registry_edition(m_root, version);
        return version;
    }

    HKEY m_root = nullptr;
};

TEST_F(ProductType, Missing_key_is_told_from_a_missing_value) {
    EXPECT_EQ(Read().edition, RegistryEdition::key_missing);
    MakeKey();
    EXPECT_EQ(Read().edition, RegistryEdition::value_missing);
}

// Kept on purpose; the handles of the other cases are closed.
TEST_F(ProductType, Key_without_the_value_stays_open) {
    const unsigned before = process_handles();
    ASSERT_GT(before, 0u);
    EXPECT_EQ(Read().edition, RegistryEdition::key_missing);
    EXPECT_EQ(process_handles(), before);
    MakeKey();
    EXPECT_EQ(Read().edition, RegistryEdition::value_missing);
    EXPECT_EQ(process_handles(), before + 1);
    MakeValue("WINNT");
    EXPECT_EQ(Read().edition, RegistryEdition::read);
    EXPECT_EQ(process_handles(), before + 1);
}

TEST_F(ProductType, Is_the_text_of_the_value) {
    MakeValue(std::string("LanmanNT\0", 9));
    const WinVersion version = Read();
    EXPECT_EQ(version.edition, RegistryEdition::read);
    EXPECT_STREQ(version.edition_name, "LanmanNT");
}

TEST_F(ProductType, Without_a_terminator_ends_with_its_bytes) {
    MakeValue(std::string("WINNT"));
    EXPECT_STREQ(Read().edition_name, "WINNT");
    MakeValue("SERVERNT", REG_BINARY);
    WinVersion version = {};
    memset(version.edition_name, 'x', sizeof(version.edition_name));
    sysinfo::read_registry_edition(m_root, version);
    EXPECT_STREQ(version.edition_name, "SERVERNT");
}

TEST_F(ProductType, May_fill_the_80_bytes_but_no_more) {
    MakeValue(std::string(79, 'x') + '\0');
    const WinVersion version = Read();
    EXPECT_EQ(version.edition, RegistryEdition::read);
    EXPECT_EQ(std::string(version.edition_name), std::string(79, 'x'));
    MakeValue(std::string(80, 'x') + '\0');
    EXPECT_EQ(Read().edition, RegistryEdition::value_missing);
}

// A Windows that knows the records up to some size and fills in these fields.
struct FakeWindows {
    DWORD largest_record;
    DWORD platform;
};
FakeWindows g_windows;

BOOL WINAPI fake_get_version(OSVERSIONINFOA* plain) {
    if (plain->dwOSVersionInfoSize > g_windows.largest_record)
        return FALSE;
    EXPECT_TRUE(plain->dwOSVersionInfoSize == 156 || plain->dwOSVersionInfoSize == 148);
    EXPECT_EQ(plain->dwMajorVersion, 0u) << "the record isn't empty";
    plain->dwPlatformId = g_windows.platform;
    plain->dwMajorVersion = 4;
    plain->dwMinorVersion = 7;
    plain->dwBuildNumber = 1381;
    strcpy(plain->szCSDVersion, "Service Pack 6");
    if (plain->dwOSVersionInfoSize == 156) {
        auto* const extended = reinterpret_cast<OSVERSIONINFOEXA*>(plain);
        extended->wServicePackMajor = 6;
        extended->wSuiteMask = 2;
        extended->wProductType = 3;
    }
    return TRUE;
}

class VersionRecord : public ProductType {
protected:
    WinVersion ReadFrom(FakeWindows windows) {
        g_windows = windows;
        return sysinfo::read_win_version(fake_get_version, m_root);
    }
    static void ExpectPlainFields(const WinVersion& version) {
        EXPECT_TRUE(version.known);
        EXPECT_EQ(version.major, 4u);
        EXPECT_EQ(version.minor, 7u);
        EXPECT_EQ(version.build, 1381u);
        EXPECT_STREQ(version.service_pack, "Service Pack 6");
    }
};

TEST_F(VersionRecord, Extended_one_needs_no_registry) {
    const WinVersion version = ReadFrom({156, 2});
    ExpectPlainFields(version);
    EXPECT_TRUE(version.extended);
    EXPECT_EQ(version.service_pack_major, 6);
    EXPECT_EQ(version.suite_mask, 2);
    EXPECT_EQ(version.product_type, 3);
    EXPECT_EQ(version.edition, RegistryEdition::not_asked);
}

TEST_F(VersionRecord, Plain_one_of_NT_takes_the_edition_from_the_registry) {
    MakeValue(std::string("SERVERNT\0", 9));
    const WinVersion version = ReadFrom({148, 2});
    ExpectPlainFields(version);
    EXPECT_FALSE(version.extended);
    EXPECT_EQ(version.service_pack_major, 0);
    EXPECT_EQ(version.edition, RegistryEdition::read);
    EXPECT_STREQ(version.edition_name, "SERVERNT");
}

TEST_F(VersionRecord, Plain_one_of_9x_needs_no_registry) {
    const WinVersion version = ReadFrom({148, 1});
    ExpectPlainFields(version);
    EXPECT_EQ(version.platform, 1u);
    EXPECT_FALSE(version.extended);
    EXPECT_EQ(version.edition, RegistryEdition::not_asked);
}

TEST_F(VersionRecord, Is_unknown_where_Windows_gives_none) {
    const WinVersion version = ReadFrom({0, 2});
    EXPECT_FALSE(version.known);
    EXPECT_FALSE(version.extended);
    EXPECT_EQ(version.edition, RegistryEdition::not_asked);
}

} // namespace
