#include "glib/format_table.h"

#include <map>
#include <set>
#include <string>

#include <gtest/gtest.h>

namespace glib {
namespace {

TEST(FormatTable, Has_78_rows_and_every_name_once) {
    const FormatRow* rows = nullptr;
    ASSERT_EQ(format_table(&rows), 78u);
    EXPECT_EQ(format_table(nullptr), 78u);
    std::set<std::string> names;
    for (unsigned i = 0; i < 78; ++i) {
        names.insert(FormatName(rows[i].code).text);
        EXPECT_EQ(find_format(rows[i].code), &rows[i]);
        EXPECT_NE(rows[i].name, nullptr);
    }
    EXPECT_EQ(names.size(), 78u);
}

TEST(FormatTable, Holds_the_codes_that_others_rely_on) {
    const FormatRow* rows = nullptr;
    format_table(&rows);
    EXPECT_EQ(rows[0].code, 0x70464C4Du);
    EXPECT_STREQ(rows[0].name, "Torvex Film");
    EXPECT_EQ(rows[3].code, 0x044A5047u);
    EXPECT_EQ(rows[3].code, EFormat_JPG);
    EXPECT_EQ(rows[49].code, 0x00473320u) << "two letters and a blank";
    EXPECT_EQ(rows[50].code, 0x00473420u);
    EXPECT_EQ(rows[58].code, 0xB2535746u);
    EXPECT_STREQ(rows[68].name, "AT&T / Multigen ICN");
    EXPECT_EQ(rows[77].code, 0x00505852u);
    EXPECT_STREQ(rows[77].name, "Pixar picture");
}

// How often each top byte stands in the table.
TEST(FormatTable, Has_the_right_capability_bytes) {
    const FormatRow* rows = nullptr;
    format_table(&rows);
    std::map<unsigned, int> counts;
    for (unsigned i = 0; i < 78; ++i)
        ++counts[capabilities(rows[i].code) >> 24];
    const std::map<unsigned, int> expected = {{0x00, 45}, {0x01, 3}, {0x02, 1}, {0x04, 2}, {0x10, 2},
                                              {0x20, 4},  {0x24, 3}, {0x30, 2}, {0x32, 2}, {0x34, 1},
                                              {0x36, 1},  {0x70, 1}, {0x80, 8}, {0x90, 2}, {0xB2, 1}};
    EXPECT_EQ(counts, expected);
}

TEST(FormatTable, Only_two_rows_carry_options_and_share_them) {
    const FormatRow* rows = nullptr;
    format_table(&rows);
    for (unsigned i = 0; i < 78; ++i) {
        const bool has = i == 63 || i == 64;
        EXPECT_EQ(rows[i].option_count, has ? 2 : 0) << i;
        EXPECT_EQ(rows[i].options != nullptr, has) << i;
    }
    EXPECT_EQ(rows[63].options, rows[64].options);
    EXPECT_EQ(rows[63].options[0].key, 'R');
    EXPECT_STREQ(rows[63].options[0].label, "Enable read");
    EXPECT_EQ(rows[63].options[1].key, 'W');
    EXPECT_STREQ(rows[63].options[1].label, "Enable write");
}

TEST(FormatTable, Formats_are_found_by_their_low_24_bits) {
    EXPECT_EQ(find_format(static_cast<EFormat>(0x004A5047)), find_format(EFormat_JPG));
    EXPECT_EQ(find_format(static_cast<EFormat>(0x004A5048)), nullptr);
    EXPECT_EQ(find_format(EFormat_none), nullptr);
}

TEST(FormatCode, A_trailing_blank_is_not_part_of_the_name) {
    EXPECT_STREQ(FormatName(static_cast<EFormat>(0x00473320)).text, "G3");
    EXPECT_STREQ(FormatName(EFormat_JPG).text, "JPG");
    EXPECT_STREQ(FormatName(static_cast<EFormat>(0x00202020)).text, "");
    EXPECT_STREQ(FormatName(EFormat_none).text, "");
}

TEST(FormatCode, A_name_makes_the_code) {
    EXPECT_EQ(format_from_name("JPG"), 0x004A5047u);
    EXPECT_EQ(format_from_name("G3"), 0x00473320u);
    EXPECT_EQ(format_from_name("X"), 0x00582020u);
    EXPECT_EQ(format_from_name("JPEG"), EFormat_none);
    EXPECT_EQ(format_from_name(""), EFormat_none);
    EXPECT_EQ(format_from_name(nullptr), EFormat_none);
}

} // namespace
} // namespace glib
