// Replacing texts in texts: matches, growth and failures of it.
#include <string>

#include <gtest/gtest.h>

#include "testing/cxx/failing_allocator.h"
#include "base/std_string.h"

namespace {

struct ReplaceCase {
    const char* name;
    const char* text;
    const char* pattern;
    const char* replacement;
    const char* expected;
    int count;
};

const ReplaceCase kReplaceCases[] = {
    {"longer", "a{x}b{x}c", "{x}", "value", "avaluebvaluec", 2},
    {"shorter", "a{x}b{x}c", "{x}", "v", "avbvc", 2},
    {"as_long", "a{x}b{x}c", "{x}", "123", "a123b123c", 2},
    {"by_nothing", "a{x}b{x}c", "{x}", "", "abc", 2},
    {"by_null", "a{x}b{x}c", "{x}", nullptr, "abc", 2},
    {"whole_text", "{x}", "{x}", "y", "y", 1},
    {"whole_text_by_nothing", "{x}{x}", "{x}", "", "", 2},
    {"no_match", "abc", "x", "y", "abc", 0},
    {"empty_pattern", "abc", "", "y", "abc", 0},
    {"null_pattern", "abc", nullptr, "y", "abc", 0},
    {"inserted_text_is_not_searched", "aa", "a", "aa", "aaaa", 2},
    {"pattern_across_inserted_and_old_text", "abb", "ab", "a", "ab", 1},
    {"overlapping_matches_from_the_left", "aaa", "aa", "b", "ba", 1},
    {"doubled_backslashes", "a\\b\\", "\\", "\\\\", "a\\\\b\\\\", 2},
    {"in_an_empty_text", "", "a", "b", "", 0},
};

TEST(ReplaceAll, Replaces_every_match_from_left_to_right) {
    for (const ReplaceCase& test : kReplaceCases) {
        SCOPED_TRACE(test.name);
        CStdString text(test.text);
        EXPECT_EQ(test.count, text.replace_all(test.pattern, test.replacement));
        EXPECT_STREQ(test.expected, text.c_str());
        EXPECT_EQ(std::string(test.expected).size(), text.length());
    }
}

TEST(ReplaceAll, Works_at_every_capacity_between_just_enough_and_plenty) {
    for (const ReplaceCase& test : kReplaceCases) {
        for (unsigned capacity = 64; capacity < 160; ++capacity) {
            SCOPED_TRACE(std::string(test.name) + " " + std::to_string(capacity));
            const std::string padding(50, '.');
            CStdString text((padding + test.text).c_str());
            text.grow(capacity);
            EXPECT_EQ(test.count, text.replace_all(test.pattern, test.replacement));
            EXPECT_EQ(padding + test.expected, text.c_str());
        }
    }
}

TEST(ReplaceAll, Grows_to_exactly_what_the_result_needs) {
    CStdString text;
    for (int i = 0; i < 30; ++i)
        text += "{x}";
    ASSERT_EQ(91u, text.capacity());
    {
        FailingAllocator allocator(0);
        EXPECT_EQ(30, text.replace_all("{x}", "12345"));
        EXPECT_EQ(1u, allocator.calls());
    }
    EXPECT_EQ(151u, text.capacity());
    EXPECT_EQ(151u, text.count());
}

TEST(ReplaceAll, Allocates_nothing_when_the_result_fits) {
    CStdString text("a{x}b");
    FailingAllocator allocator(1);
    EXPECT_EQ(1, text.replace_all("{x}", "0123456789"));
    EXPECT_EQ(1, text.replace_all("0123456789", "z"));
    EXPECT_EQ(0, text.replace_all("{x}", "0123456789"));
    EXPECT_EQ(0u, allocator.calls());
    EXPECT_STREQ("azb", text.c_str());
    EXPECT_EQ(64u, text.capacity());
    EXPECT_EQ(1, text.replace_all("z", "0123456789012345678901234567890123456789012345678901234567890")); // 61
    EXPECT_EQ(64u, text.count());
    EXPECT_EQ(0u, allocator.calls());
}

TEST(ReplaceAll, Pattern_and_replacement_may_lie_in_the_text) {
    CStdString text("ab.ab.b");
    EXPECT_EQ(3, text.replace_all(text.c_str() + 6, "xyz"));
    EXPECT_STREQ("axyz.axyz.xyz", text.c_str());
    EXPECT_EQ(2, text.replace_all("a", text.c_str() + 9));
    EXPECT_STREQ(".xyzxyz..xyzxyz.xyz", text.c_str());
    EXPECT_EQ(1, text.replace_all(text.c_str(), text.c_str()));
    EXPECT_STREQ(".xyzxyz..xyzxyz.xyz", text.c_str());
    EXPECT_EQ(64u, text.capacity());
}

TEST(ReplaceAll, Replaces_behind_a_NUL_too) {
    CStdString text;
    text.assign("a\0ab", 4);
    EXPECT_EQ(2, text.replace_all("a", "cc"));
    EXPECT_EQ(std::string("cc\0ccb", 6), std::string(text.c_str(), text.length()));
}

TEST(ReplaceAll, A_string_as_replacement_goes_in_by_its_length) {
    CStdString replacement;
    replacement.assign("x\0y", 3);
    CStdString text("a{}b{}");
    EXPECT_EQ(2, text.replace_all("{}", replacement));
    EXPECT_EQ(std::string("ax\0ybx\0y", 8), std::string(text.c_str(), text.length()));
    text = "a.b";
    EXPECT_EQ(1, text.replace_all(".", text));
    EXPECT_STREQ("aa.bb", text.c_str());
    EXPECT_EQ(2, text.replace_all("a", CStdString()));
    EXPECT_STREQ(".bb", text.c_str());
}

TEST(ReplaceAll, A_result_beyond_one_block_is_out_of_memory) {
    CStdString text;
    const unsigned n = 70000;
    char* buffer = text.get_buffer(n);
    memset(buffer, 'a', n);
    text.release_buffer();
    const std::string replacement(n, 'b'); // 70000 * 70000 exceeds 32 bits
    FailingAllocator allocator(0);
    EXPECT_THROW(text.replace_all("a", replacement.c_str()), gen::genlib_out_of_memory);
    EXPECT_EQ(0u, allocator.calls());
    EXPECT_EQ(n, text.length());
    EXPECT_EQ('a', text.at(n - 1));
}

// Replacing in a loop of single moves would need some 10^13 steps here, and the watchdog would end the program.
TEST(ReplaceAll, Takes_time_in_proportion_to_the_text) {
    constexpr unsigned kMatches = 4 << 20;
    CStdString text;
    memset(text.get_buffer(kMatches), 'a', kMatches);
    text.release_buffer();
    EXPECT_EQ(static_cast<int>(kMatches), text.replace_all("a", "bc"));
    EXPECT_EQ(2 * kMatches, text.length());
    EXPECT_EQ(static_cast<int>(kMatches), text.replace_all("c", ""));
    EXPECT_EQ(kMatches, text.length());
    EXPECT_EQ(static_cast<int>(kMatches), text.replace_all("b", "dd"));
    EXPECT_EQ(2 * kMatches + 1, text.capacity());
    EXPECT_EQ(2 * kMatches, strlen(text.c_str()));
}

TEST(ReplaceAll, Works_on_wide_text) {
    const unsigned short raw[] = {0x41, 0x141, 0x41, 0};
    const unsigned short pattern[] = {0x41, 0};
    const unsigned short replacement[] = {0x3042, 0x3043, 0};
    gen::basic_string<unsigned short> text(raw);
    EXPECT_EQ(2, text.replace_all(pattern, replacement));
    const unsigned short expected[] = {0x3042, 0x3043, 0x141, 0x3042, 0x3043, 0};
    EXPECT_TRUE(text == expected);
    EXPECT_EQ(5u, text.length());
    gen::basic_string<unsigned short> grown(expected);
    grown.grow(300);
    EXPECT_EQ(2, grown.replace_all(replacement, raw));
    EXPECT_EQ(7u, grown.length());
}

} // namespace
