#include "base/text_search.h"

#include <gtest/gtest.h>

namespace {

TEST(AsciiCase, Is_that_of_the_letters_A_to_Z_alone) {
    EXPECT_EQ(gen::ascii_upper('a'), 'A');
    EXPECT_EQ(gen::ascii_upper('z'), 'Z');
    for (const char c : {'A', 'Z', '@', '[', '`', '{', '0', '\0', '\xE4', '\xFF'})
        EXPECT_EQ(gen::ascii_upper(c), c);
}

TEST(AsciiCase, Beginning_is_all_of_the_other_text) {
    EXPECT_TRUE(gen::begins_ignoring_case("Sse2", "SSE"));
    EXPECT_TRUE(gen::begins_ignoring_case("sse", "sSe"));
    EXPECT_TRUE(gen::begins_ignoring_case("sse", ""));
    EXPECT_FALSE(gen::begins_ignoring_case("ss", "SSE"));
    EXPECT_FALSE(gen::begins_ignoring_case("", "S"));
    EXPECT_FALSE(gen::begins_ignoring_case(" sse", "SSE"));
}

TEST(AsciiCase, Equal_texts_end_together) {
    EXPECT_TRUE(gen::equal_ignoring_case("WinNT", "wINnt"));
    EXPECT_TRUE(gen::equal_ignoring_case("", ""));
    EXPECT_FALSE(gen::equal_ignoring_case("WINNT", "WINNT4"));
    EXPECT_FALSE(gen::equal_ignoring_case("WINNT4", "WINNT"));
    EXPECT_FALSE(gen::equal_ignoring_case("\xE4", "\xC4"));
}

} // namespace
