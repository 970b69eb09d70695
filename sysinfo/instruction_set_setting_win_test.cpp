#include <gtest/gtest.h>

#include <windows.h>

#include <string>

#include "sysinfo/instruction_set_setting.h"

namespace {

// A root of its own below the user's, so that no setting of the machine is touched.
class InstructionSetSetting : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(RegCreateKeyA(HKEY_CURRENT_USER, "Software\\WendaxTestOfTheSetting", &m_root), ERROR_SUCCESS);
    }
    void TearDown() override {
        RegDeleteKeyA(m_root, "Software\\Torvex");
        RegDeleteKeyA(m_root, "Software");
        RegCloseKey(m_root);
        RegDeleteKeyA(HKEY_CURRENT_USER, "Software\\WendaxTestOfTheSetting");
    }

    void SetValue(const char* name, DWORD type, const std::string& bytes) {
        HKEY key;
        ASSERT_EQ(RegCreateKeyA(m_root, "Software\\Torvex", &key), ERROR_SUCCESS);
        ASSERT_EQ(RegSetValueExA(key, name, 0, type, reinterpret_cast<const BYTE*>(bytes.data()),
                                 static_cast<DWORD>(bytes.size())),
                  ERROR_SUCCESS);
        RegCloseKey(key);
    }
    void SetSetting(const std::string& text) { SetValue("CPU instruction set", REG_SZ, text + '\0'); }

    HKEY m_root = nullptr;
};

TEST_F(InstructionSetSetting, Lowers_the_level_from_the_registry) {
    const struct {
        const char* setting;
        int after[4]; // starting at level 0, 1, 2, 3
    } rows[] = {
        {"NONE", {0, 0, 0, 0}}, {"MMX", {0, 1, 1, 1}},  {"SSE", {0, 1, 2, 2}},
        {"SSE2", {0, 1, 2, 3}}, {"sse3", {0, 1, 2, 2}},
    };
    for (const auto& row : rows) {
        SetSetting(row.setting);
        for (int start = 0; start < 4; ++start) {
            int level = start;
            EXPECT_EQ(GetInstructionSetSetting(m_root, &level), 1);
            EXPECT_EQ(level, row.after[start]) << row.setting << " at " << start;
        }
    }
}

TEST_F(InstructionSetSetting, Is_read_though_nothing_matches) {
    SetSetting("something else");
    int level = 3;
    EXPECT_EQ(GetInstructionSetSetting(m_root, &level), 1);
    EXPECT_EQ(level, 3);
    SetSetting("");
    EXPECT_EQ(GetInstructionSetSetting(m_root, &level), 1);
    EXPECT_EQ(level, 3);
}

TEST_F(InstructionSetSetting, Missing_key_or_value_leaves_the_level) {
    int level = 3;
    EXPECT_EQ(GetInstructionSetSetting(m_root, &level), 0);
    SetValue("CPU instruction sets", REG_SZ, std::string("NONE\0", 5));
    EXPECT_EQ(GetInstructionSetSetting(m_root, &level), 0);
    EXPECT_EQ(level, 3);
}

TEST_F(InstructionSetSetting, Of_another_type_counts_by_its_bytes) {
    SetValue("CPU instruction set", REG_BINARY, "MMX"); // without a terminator
    int level = 3;
    EXPECT_EQ(GetInstructionSetSetting(m_root, &level), 1);
    EXPECT_EQ(level, 1);
    SetValue("CPU instruction set", REG_DWORD, "SSE2");
    level = 3;
    EXPECT_EQ(GetInstructionSetSetting(m_root, &level), 1);
    EXPECT_EQ(level, 3);
}

TEST_F(InstructionSetSetting, May_fill_1024_bytes_but_no_more) {
    int level = 3;
    SetValue("CPU instruction set", REG_BINARY, "MMX" + std::string(1021, ' '));
    EXPECT_EQ(GetInstructionSetSetting(m_root, &level), 1);
    EXPECT_EQ(level, 1);
    level = 3;
    SetValue("CPU instruction set", REG_BINARY, "MMX" + std::string(1022, ' '));
    EXPECT_EQ(GetInstructionSetSetting(m_root, &level), 0);
    EXPECT_EQ(level, 3);
}

} // namespace
