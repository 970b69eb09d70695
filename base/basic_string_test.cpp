#include "base/basic_string.h"

#include <string>

#include <gtest/gtest.h>

#include "testing/cxx/failures.h"
#include "testing/cxx/test_text.h"

namespace {

template <typename T>
class String : public testing::Test {};

using CharacterTypes = testing::Types<char, unsigned short>;
TYPED_TEST_SUITE(String, CharacterTypes);

TYPED_TEST(String, Is_empty_with_storage_for_64_elements_and_a_NUL_when_made) {
    const gen::basic_string<TypeParam> text;
    EXPECT_EQ(0u, text.length());
    EXPECT_EQ(0u, text.count());
    EXPECT_EQ(64u, text.capacity());
    EXPECT_EQ(0, text.c_str()[0]);
    EXPECT_TRUE(text.empty());
}

TYPED_TEST(String, Assigning_the_empty_text_gives_count_1) {
    gen::basic_string<TypeParam> text;
    text = lit<TypeParam>("");
    EXPECT_EQ(1u, text.count());
    EXPECT_EQ(0u, text.length());
    EXPECT_EQ(64u, text.capacity());
    EXPECT_TRUE(text.empty());
}

TYPED_TEST(String, Making_or_assigning_a_fresh_string_from_null_leaves_count_0) {
    gen::basic_string<TypeParam> text(nullptr);
    EXPECT_EQ(0u, text.count());
    EXPECT_EQ(64u, text.capacity());
    text = static_cast<const TypeParam*>(nullptr);
    EXPECT_EQ(0u, text.count());
    EXPECT_EQ(0u, text.length());
    EXPECT_EQ(0, text.c_str()[0]);
}

TYPED_TEST(String, Assigning_null_to_a_text_empties_it_but_keeps_its_length) {
    gen::basic_string<TypeParam> text(lit<TypeParam>("hello"));
    text = static_cast<const TypeParam*>(nullptr);
    EXPECT_EQ(6u, text.count());
    EXPECT_EQ(5u, text.length());
    EXPECT_EQ(0, text.c_str()[0]);
    EXPECT_TRUE(text.empty());
    EXPECT_EQ(std::string("\0ello", 5), narrow(text));
    text.assign(nullptr, 3);
    EXPECT_EQ(6u, text.count());
}

TYPED_TEST(String, Assignment_grows_to_exactly_what_the_text_needs) {
    gen::basic_string<TypeParam> text;
    text = lit<TypeParam>(std::string(63, 'x').c_str());
    EXPECT_EQ(64u, text.capacity());
    text = lit<TypeParam>(std::string(64, 'x').c_str());
    EXPECT_EQ(65u, text.capacity());
    text = lit<TypeParam>(std::string(100, 'y').c_str());
    EXPECT_EQ(101u, text.capacity());
    EXPECT_EQ(101u, text.count());
    EXPECT_EQ(std::string(100, 'y'), narrow(text));
    text = lit<TypeParam>("short");
    EXPECT_EQ(101u, text.capacity());
    EXPECT_EQ("short", narrow(text));
}

TYPED_TEST(String, Assigns_exactly_n_characters_with_their_NULs) {
    gen::basic_string<TypeParam> text;
    text.assign(lit<TypeParam>("abcdef"), 3);
    EXPECT_EQ("abc", narrow(text));
    const TypeParam with_nul[] = {'a', 0, 'b'};
    text.assign(with_nul, 3);
    EXPECT_EQ(3u, text.length());
    EXPECT_EQ(std::string("a\0b", 3), narrow(text));
    text.assign(with_nul, 0);
    EXPECT_EQ(1u, text.count());
}

TYPED_TEST(String, Assigning_a_part_of_itself_is_safe) {
    gen::basic_string<TypeParam> text(lit<TypeParam>("0123456789"));
    text = text.c_str() + 4;
    EXPECT_EQ("456789", narrow(text));
    text.assign(text.c_str() + 1, 3);
    EXPECT_EQ("567", narrow(text));
    text = text.c_str();
    EXPECT_EQ("567", narrow(text));
    // A part that reaches over the NUL, with a NUL more to be stored than there is storage for.
    gen::basic_string<TypeParam> full(lit<TypeParam>(std::string(100, 'z').c_str()));
    full.assign(full.c_str(), 101);
    EXPECT_EQ(std::string(100, 'z') + std::string(1, '\0'), narrow(full));
    EXPECT_EQ(102u, full.capacity());
}

TYPED_TEST(String, Checked_access_ends_before_the_NUL) {
    gen::basic_string<TypeParam> text(lit<TypeParam>("abc"));
    EXPECT_EQ('c', text.at(2));
    text.at(0) = 'x';
    text[1] = 'y';
    EXPECT_EQ("xyc", narrow(text));
    const gen::basic_string<TypeParam>& constant = text;
    EXPECT_EQ('y', constant[1]);
    for (unsigned index : {3u, 4u, 63u, 0xFFFFFFFFu}) {
        expect_out_of_range(index, 3, [&] { (void)constant.at(index); });
        EXPECT_THROW((void)text.at(index), gen::genlib_out_of_range);
        EXPECT_THROW((void)text[index], gen::genlib_out_of_range);
        EXPECT_THROW((void)constant[index], gen::genlib_out_of_range);
    }
}

TYPED_TEST(String, The_first_character_of_an_empty_string_is_out_of_range) {
    gen::basic_string<TypeParam> fresh;
    gen::basic_string<TypeParam> assigned(lit<TypeParam>(""));
    expect_out_of_range(0, 0, [&] { (void)fresh.at(0); });
    expect_out_of_range(0, 0, [&] { (void)assigned.at(0); });
}

TYPED_TEST(String, Appends_texts_strings_and_characters) {
    gen::basic_string<TypeParam> text;
    text += lit<TypeParam>("ab");
    text += static_cast<TypeParam>('c');
    text += gen::basic_string<TypeParam>(lit<TypeParam>("de"));
    text.append(lit<TypeParam>("fgh"), 2);
    EXPECT_EQ("abcdefg", narrow(text));
    EXPECT_EQ("abcdefg!", narrow(text + lit<TypeParam>("!")));
    EXPECT_EQ("abcdefgabcdefg", narrow(text + text));
}

TYPED_TEST(String, Appending_null_or_nothing_does_nothing) {
    gen::basic_string<TypeParam> text(lit<TypeParam>("ab"));
    text += static_cast<const TypeParam*>(nullptr);
    text.append(nullptr, 5);
    text.append(lit<TypeParam>("xyz"), 0);
    text += lit<TypeParam>("");
    EXPECT_EQ("ab", narrow(text));
}

TYPED_TEST(String, Appending_grows_to_exactly_what_is_needed) {
    gen::basic_string<TypeParam> text(lit<TypeParam>(std::string(63, 'x').c_str()));
    text += static_cast<TypeParam>('y');
    EXPECT_EQ(65u, text.capacity());
    text += lit<TypeParam>("0123456789");
    EXPECT_EQ(75u, text.capacity());
    EXPECT_EQ(std::string(63, 'x') + "y0123456789", narrow(text));
}

TYPED_TEST(String, A_text_that_just_fits_needs_no_new_storage) {
    gen::basic_string<TypeParam> text;
    const TypeParam* const piece = lit<TypeParam>(std::string(63, 'x').c_str());
    FailingAllocator allocator(1);
    text = piece;
    EXPECT_EQ(64u, text.count());
    text = lit<TypeParam>("");
    text += piece;
    EXPECT_EQ(64u, text.count());
    text.get_buffer(63);
    EXPECT_EQ(0u, allocator.calls());
}

TYPED_TEST(String, Appending_itself_or_a_part_of_itself_is_safe) {
    gen::basic_string<TypeParam> text(lit<TypeParam>("0123456789"));
    text += text;
    EXPECT_EQ("01234567890123456789", narrow(text));
    const std::string before = "01234567890123456789";
    text += text;
    text += text; // 80 characters: this one grows
    EXPECT_EQ(before + before + before + before, narrow(text));
    text.append(text.c_str() + 78, 3); // reaches over the NUL
    EXPECT_EQ(before + before + before + before + std::string("89\0", 3), narrow(text));
    text = lit<TypeParam>("abc");
    text += text.c_str() + 1;
    EXPECT_EQ("abcbc", narrow(text));
    text += text.at(4);
    EXPECT_EQ("abcbcc", narrow(text));
}

TYPED_TEST(String, Finds_texts_and_the_last_of_a_character) {
    const gen::basic_string<TypeParam> text(lit<TypeParam>("one two one"));
    EXPECT_EQ(0, text.find(lit<TypeParam>("one")));
    EXPECT_EQ(8, text.find(lit<TypeParam>("one"), 1));
    EXPECT_EQ(-1, text.find(lit<TypeParam>("one"), 9));
    EXPECT_EQ(-1, text.find(lit<TypeParam>("three")));
    EXPECT_EQ(-1, text.find(lit<TypeParam>("")));
    EXPECT_EQ(-1, text.find(nullptr));
    EXPECT_EQ(8, text.rfind('o'));
    EXPECT_EQ(4, text.rfind('t'));
    EXPECT_EQ(10, text.rfind('e'));
    EXPECT_EQ(-1, text.rfind('x'));
    EXPECT_EQ(-1, text.rfind(0));
    EXPECT_EQ(-1, gen::basic_string<TypeParam>().rfind('x'));
    EXPECT_EQ(-1, gen::basic_string<TypeParam>().find(lit<TypeParam>("x")));
}

TYPED_TEST(String, Left_and_substr_keep_within_the_text) {
    const gen::basic_string<TypeParam> text(lit<TypeParam>("abcdef"));
    EXPECT_EQ("abc", narrow(text.left(3)));
    EXPECT_EQ("", narrow(text.left(0)));
    EXPECT_EQ("", narrow(text.left(-1)));
    EXPECT_EQ("abcdef", narrow(text.left(6)));
    EXPECT_EQ("abcdef", narrow(text.left(0x7FFFFFFF)));
    EXPECT_EQ("cd", narrow(text.substr(2, 2)));
    EXPECT_EQ("cdef", narrow(text.substr(2)));
    EXPECT_EQ("f", narrow(text.substr(5, 100)));
    EXPECT_EQ("", narrow(text.substr(6)));
    EXPECT_EQ("", narrow(text.substr(0xFFFFFFFF, 0xFFFFFFFF)));
    EXPECT_EQ("", narrow(gen::basic_string<TypeParam>().left(1)));
}

TYPED_TEST(String, Trims_the_characters_of_the_set_from_the_end) {
    gen::basic_string<TypeParam> text(lit<TypeParam>("\\a\\b\\\\"));
    text.trim_right(lit<TypeParam>("\\"));
    EXPECT_EQ("\\a\\b", narrow(text));
    text.trim_right(lit<TypeParam>("xyb\\"));
    EXPECT_EQ("\\a", narrow(text));
    text.trim_right(lit<TypeParam>(""));
    text.trim_right(nullptr);
    EXPECT_EQ("\\a", narrow(text));
    text.trim_right(lit<TypeParam>("a\\"));
    EXPECT_EQ("", narrow(text));
    EXPECT_EQ(1u, text.count());
    text.trim_right(lit<TypeParam>("a\\"));
    EXPECT_EQ(1u, text.count());
}

TYPED_TEST(String, Reserve_grows_exactly_and_keeps_the_text) {
    gen::basic_string<TypeParam> text(lit<TypeParam>("abc"));
    text.reserve(65);
    EXPECT_EQ(65u, text.capacity());
    EXPECT_EQ("abc", narrow(text));
    text.grow(10);
    text.grow(70);
    EXPECT_EQ(70u, text.capacity());
    EXPECT_EQ("abc", narrow(text));
}

TYPED_TEST(String, A_string_that_was_never_assigned_stays_an_empty_text_when_it_grows) {
    gen::basic_string<TypeParam> reserved;
    reserved.reserve(1000);
    EXPECT_EQ(0u, reserved.count());
    EXPECT_EQ(0, reserved.c_str()[0]);
    gen::basic_string<TypeParam> grown;
    grown.grow(1000);
    EXPECT_EQ(1000u, grown.capacity());
    EXPECT_EQ(0u, grown.count());
    EXPECT_EQ(0, grown.c_str()[0]);
}

TYPED_TEST(String, Reserve_within_the_capacity_cuts_the_text_and_ends_it) {
    gen::basic_string<TypeParam> text(lit<TypeParam>("abcdef"));
    text.reserve(64);
    EXPECT_EQ("abcdef", narrow(text));
    text.reserve(4);
    EXPECT_EQ(4u, text.count());
    EXPECT_EQ(0, text.c_str()[3]);
    EXPECT_EQ("abc", narrow(text));
    text.reserve(0);
    EXPECT_EQ(0u, text.count());
    EXPECT_EQ(0, text.c_str()[0]);
}

TYPED_TEST(String, A_buffer_is_zeroed_and_its_text_found_again) {
    gen::basic_string<TypeParam> text(lit<TypeParam>("old text"));
    TypeParam* buffer = text.get_buffer(100);
    EXPECT_EQ(101u, text.capacity());
    for (int i = 0; i <= 100; ++i)
        ASSERT_EQ(0, buffer[i]);
    buffer[0] = 'h';
    buffer[1] = 'i';
    text.release_buffer();
    EXPECT_EQ("hi", narrow(text));
    EXPECT_EQ(3u, text.count());

    buffer = text.get_buffer(3);
    for (int i = 0; i <= 3; ++i)
        buffer[i] = 'x'; // over the NUL too
    text.release_buffer();
    EXPECT_EQ("xxx", narrow(text));

    text.get_buffer(0);
    text.release_buffer();
    EXPECT_EQ(1u, text.count());
}

} // namespace
