#include <string>

#include <gtest/gtest.h>

#include "companions/faultkit/text_builder.h"

namespace {

using faultkit::TextBuilder;

struct Text : testing::Test {
    char bytes[64];
    TextBuilder text{bytes};
};

TEST(TextBuilder, Starts_empty_and_terminated) {
    char storage[4] = {'x', 'x', 'x', 'x'};
    const TextBuilder text(storage);
    EXPECT_STREQ(text.c_str(), "");
    EXPECT_EQ(text.space(), 3u);
}

TEST_F(Text, Joins_texts_and_characters_and_takes_null_for_nothing) {
    text.text("ab").text(nullptr).character('c').text("");
    EXPECT_STREQ(text.c_str(), "abc");
    EXPECT_EQ(text.length(), 3u);
}

TEST_F(Text, Hexadecimal_has_exactly_the_digits_asked_for) {
    text.hex(0xBEEF).character(' ').hex(0xBEEF, 4).character(' ').hex(0x12345, 2);
    EXPECT_STREQ(text.c_str(), "0000BEEF BEEF 45");
}

TEST_F(Text, Short_hexadecimal_has_the_digits_that_the_value_needs) {
    text.short_hex(0).character(' ').short_hex(0x1A).character(' ').short_hex(0xFFFFFFFF);
    EXPECT_STREQ(text.c_str(), "0x0 0x1A 0xFFFFFFFF");
}

TEST_F(Text, Decimal_reaches_from_nothing_to_the_largest_value) {
    text.decimal(0).character(' ').decimal(1000000).character(' ').decimal(0xFFFFFFFF);
    EXPECT_STREQ(text.c_str(), "0 1000000 4294967295");
}

TEST_F(Text, Name_keeps_its_line_whole) {
    text.name("a\nb\r\tc\x7F\xE4", 20);
    EXPECT_STREQ(text.c_str(), "a?b??c?\xE4");
}

TEST_F(Text, Name_of_just_the_length_is_whole_and_a_longer_one_ends_in_dots) {
    text.name("12345678", 8).character(' ').name("123456789", 8);
    EXPECT_STREQ(text.c_str(), "12345678 12345...");
}

TEST_F(Text, Long_path_keeps_its_end) {
    text.tail_of_name("c:\\source\\widget.cpp", 13).character(' ').tail_of_name("widget.cpp", 10);
    EXPECT_STREQ(text.c_str(), "...widget.cpp widget.cpp");
}

TEST(TextBuilder, What_does_not_fit_is_dropped_and_remembered) {
    char storage[5];
    TextBuilder text(storage);
    text.text("abcd");
    EXPECT_FALSE(text.overflowed());
    text.text("ef").decimal(7);
    EXPECT_TRUE(text.overflowed());
    EXPECT_STREQ(text.c_str(), "abcd");
    EXPECT_EQ(text.space(), 0u);
}

TEST(TextBuilder, Cutting_takes_a_line_back) {
    char storage[8];
    TextBuilder text(storage);
    text.text("one");
    const unsigned mark = text.length();
    text.text("\nthree");
    ASSERT_TRUE(text.overflowed());
    text.cut_to(mark);
    EXPECT_FALSE(text.overflowed());
    EXPECT_STREQ(text.c_str(), "one");
}

TEST(TextBuilder, Storage_of_one_byte_holds_the_empty_text) {
    char storage[1] = {'x'};
    TextBuilder text(storage);
    text.character('a').hex(1);
    EXPECT_STREQ(text.c_str(), "");
}

TEST_F(Text, Name_that_may_have_no_letter_is_dots) {
    text.name("1234", 3).character(' ').tail_of_name("1234", 2);
    EXPECT_STREQ(text.c_str(), "... ...");
}

TEST_F(Text, Cutting_to_more_than_there_is_changes_nothing) {
    text.text("one");
    text.cut_to(4);
    EXPECT_STREQ(text.c_str(), "one");
}

TEST_F(Text, Padded_numbers_have_zeros_in_front) {
    text.padded(7, 2).character(' ').padded(10, 2).character(' ').padded(123, 2).character(' ').padded(0, 3);
    text.character(' ').padded(99, 3).character(' ').padded(5, 1);
    EXPECT_STREQ(text.c_str(), "07 10 123 000 099 5");
}

TEST_F(Text, Cut_to_lines_keeps_whole_ones) {
    const auto cut = [&](unsigned most) {
        text.cut_to(0);
        text.text("head\none\ntwo\nthree").cut_to_lines(4, most);
        return std::string(text.c_str());
    };
    EXPECT_EQ(cut(14), "head\none\ntwo\nthree");
    EXPECT_EQ(cut(13), "head\none\ntwo");
    EXPECT_EQ(cut(8), "head\none\ntwo");
    EXPECT_EQ(cut(7), "head\none");
    EXPECT_EQ(cut(3), "head");
    EXPECT_EQ(cut(0), "head");
}

TEST(TextBuilder, Cut_to_lines_drops_the_one_that_did_not_fit) {
    char storage[12];
    faultkit::TextBuilder text(storage);
    text.text("a\nbb\ncccccccccc").cut_to_lines(1, 100);
    EXPECT_STREQ(text.c_str(), "a\nbb");
    EXPECT_FALSE(text.overflowed());
}

} // namespace
