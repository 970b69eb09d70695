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
        RegCloseKey(m_root);
        RegDeleteTreeA(HKEY_CURRENT_USER, "Software\\WendaxTestOfTheSetting");
    }

    void SetValue(const char* name, DWORD type, const std::string& bytes) {
        ASSERT_EQ(
            RegSetKeyValueA(m_root, "Software\\Torvex", name, type, bytes.data(), static_cast<DWORD>(bytes.size())),
            ERROR_SUCCESS);
    }
    void SetSetting(const std::string& text) { SetValue("CPU instruction set", REG_SZ, text + '\0'); }
    // The level that the setting leaves of this one; whether there is a setting, is as expected.
    int LevelOf(int level, int expected = 1) {
        EXPECT_EQ(GetInstructionSetSetting(m_root, &level), expected);
        return level;
    }

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
        for (int start = 0; start < 4; ++start)
            EXPECT_EQ(LevelOf(start), row.after[start]) << row.setting << " at " << start;
    }
}

TEST_F(InstructionSetSetting, Is_read_though_nothing_matches) {
    SetSetting("something else");
    EXPECT_EQ(LevelOf(3), 3);
    SetSetting("");
    EXPECT_EQ(LevelOf(3), 3);
}

TEST_F(InstructionSetSetting, Missing_key_or_value_leaves_the_level) {
    EXPECT_EQ(LevelOf(3, 0), 3);
    SetValue("CPU instruction sets", REG_SZ, std::string("NONE\0", 5));
    EXPECT_EQ(LevelOf(3, 0), 3);
}

TEST_F(InstructionSetSetting, Of_another_type_counts_by_its_bytes) {
    SetValue("CPU instruction set", REG_BINARY, "MMX"); // without a terminator
    EXPECT_EQ(LevelOf(3), 1);
    SetValue("CPU instruction set", REG_DWORD, "SSE2");
    EXPECT_EQ(LevelOf(3), 3);
}

TEST_F(InstructionSetSetting, May_fill_1024_bytes_but_no_more) {
    SetValue("CPU instruction set", REG_BINARY, "MMX" + std::string(1021, ' '));
    EXPECT_EQ(LevelOf(3), 1);
    SetValue("CPU instruction set", REG_BINARY, "MMX" + std::string(1022, ' '));
    EXPECT_EQ(LevelOf(3, 0), 3);
}

} // namespace
