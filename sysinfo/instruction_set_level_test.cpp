#include <gtest/gtest.h>

#include "sysinfo/instruction_set_setting.h"

namespace {

using sysinfo::lower_instruction_set_level;

TEST(InstructionSetLevel, Is_lowered_to_the_setting_and_never_raised) {
    const struct {
        const char* setting;
        int after[5]; // starting at level 0, 1, 2, 3, 4
    } rows[] = {
        {"NONE", {0, 0, 0, 0, 0}},  {"MMX", {0, 1, 1, 1, 1}},  {"SSE", {0, 1, 2, 2, 2}},
        {"SSE2", {0, 1, 2, 3, 3}},  {"none", {0, 0, 0, 0, 0}}, {"mmx", {0, 1, 1, 1, 1}},
        {"sSe", {0, 1, 2, 2, 2}},   {"Sse2", {0, 1, 2, 3, 3}}, {"SSE3", {0, 1, 2, 2, 2}},
        {"SSE22", {0, 1, 2, 3, 3}}, {"MMX+", {0, 1, 1, 1, 1}}, {"NONE of them", {0, 0, 0, 0, 0}},
        {"", {0, 1, 2, 3, 4}},      {"NON", {0, 1, 2, 3, 4}},  {"SS", {0, 1, 2, 3, 4}},
        {"MM", {0, 1, 2, 3, 4}},    {" SSE", {0, 1, 2, 3, 4}}, {"3DNow", {0, 1, 2, 3, 4}},
    };
    for (const auto& row : rows)
        for (int level = 0; level < 5; ++level)
            EXPECT_EQ(lower_instruction_set_level(row.setting, level), row.after[level])
                << row.setting << " at " << level;
}

TEST(InstructionSetLevel, Below_0_is_left_alone_but_for_none) {
    EXPECT_EQ(lower_instruction_set_level("MMX", -1), -1);
    EXPECT_EQ(lower_instruction_set_level("SSE2", -1), -1);
    EXPECT_EQ(lower_instruction_set_level("NONE", -1), 0);
}

} // namespace
