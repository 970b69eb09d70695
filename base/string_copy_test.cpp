// Copies, moves and sums of strings, and what each leaves of the other.
#include "base/basic_string.h"

#include <string>

#include <gtest/gtest.h>

#include "testing/cxx/failing_allocator.h"
#include "testing/cxx/test_text.h"

namespace {

template <typename T>
class StringCopy : public testing::Test {};

using CharacterTypes = testing::Types<char, unsigned short>;
TYPED_TEST_SUITE(StringCopy, CharacterTypes);

TYPED_TEST(StringCopy, Compares_by_text) {
    const gen::basic_string<TypeParam> text(lit<TypeParam>("abc"));
    EXPECT_TRUE(text == lit<TypeParam>("abc"));
    EXPECT_FALSE(text == lit<TypeParam>("abd"));
    EXPECT_FALSE(text == lit<TypeParam>("ab"));
    EXPECT_FALSE(text == lit<TypeParam>("abcd"));
    EXPECT_TRUE(text != lit<TypeParam>("xbc"));
    EXPECT_TRUE(text == gen::basic_string<TypeParam>(text));
    EXPECT_TRUE(gen::basic_string<TypeParam>() == gen::basic_string<TypeParam>(lit<TypeParam>("")));
    EXPECT_TRUE(gen::basic_string<TypeParam>() == static_cast<const TypeParam*>(nullptr));
    EXPECT_FALSE(text == static_cast<const TypeParam*>(nullptr));
}

TYPED_TEST(StringCopy, Copies_are_independent_and_keep_count_and_NULs) {
    const TypeParam with_nul[] = {'a', 0, 'b'};
    gen::basic_string<TypeParam> text;
    text.assign(with_nul, 3);
    gen::basic_string<TypeParam> copy(text);
    gen::basic_string<TypeParam> assigned(lit<TypeParam>("old"));
    assigned = text;
    text.at(0) = 'x';
    EXPECT_EQ(std::string("a\0b", 3), narrow(copy));
    EXPECT_EQ(std::string("a\0b", 3), narrow(assigned));
    const gen::basic_string<TypeParam> fresh;
    assigned = fresh;
    EXPECT_EQ(0u, assigned.count());
    EXPECT_EQ(0, assigned.c_str()[0]);
    EXPECT_EQ(0, gen::basic_string<TypeParam>(fresh).c_str()[0]);
    const gen::basic_string<TypeParam>& itself = copy;
    copy = itself;
    EXPECT_EQ(std::string("a\0b", 3), narrow(copy));
}

TYPED_TEST(StringCopy, Moved_from_string_is_empty_and_usable) {
    using Text = gen::basic_string<TypeParam>;
    const auto moved_from = [] {
        Text source(lit<TypeParam>("abc"));
        Text target(static_cast<Text&&>(source));
        EXPECT_EQ("abc", narrow(target));
        return source; // not elided away: a named object that lost its storage
    };
    Text text = moved_from();
    EXPECT_EQ(0u, text.capacity());
    EXPECT_EQ(0u, text.length());
    EXPECT_EQ(0, text.c_str()[0]);
    EXPECT_TRUE(text.empty());
    EXPECT_THROW((void)text.at(0), gen::genlib_out_of_range);
    text = static_cast<const TypeParam*>(nullptr);
    text.trim_right(lit<TypeParam>("x"));
    text.release_buffer();
    text.reserve(0);
    EXPECT_EQ(0, text.replace_all(lit<TypeParam>("a"), lit<TypeParam>("b")));
    EXPECT_EQ(0u, text.capacity());
    EXPECT_EQ(0, Text(text).c_str()[0]);
    text = lit<TypeParam>("");
    EXPECT_EQ(1u, text.capacity());
    EXPECT_EQ(1u, text.count());

    Text appended = moved_from();
    appended += lit<TypeParam>("xy");
    EXPECT_EQ("xy", narrow(appended));
    EXPECT_EQ(3u, appended.capacity());

    Text reserved = moved_from();
    reserved.reserve(5);
    EXPECT_EQ(0, reserved.c_str()[0]);

    Text assigned = moved_from();
    assigned = moved_from();
    assigned = Text(lit<TypeParam>("abc"));
    EXPECT_EQ("abc", narrow(assigned));
    assigned = static_cast<const Text&>(moved_from());
    EXPECT_TRUE(assigned.empty());
}

TYPED_TEST(StringCopy, Moved_from_string_takes_no_storage_for_nothing) {
    using Text = gen::basic_string<TypeParam>;
    Text text(lit<TypeParam>("abc")), other(lit<TypeParam>("abc"));
    const Text text_target(static_cast<Text&&>(text)), other_target(static_cast<Text&&>(other));
    FailingAllocator allocator(1);
    text = static_cast<const Text&>(other);
    text.grow(0);
    EXPECT_EQ(0u, allocator.calls());
    EXPECT_EQ(0u, text.capacity());
    EXPECT_EQ(0, text.c_str()[0]);
}

TYPED_TEST(StringCopy, Moving_allocates_nothing) {
    using Text = gen::basic_string<TypeParam>;
    Text text(lit<TypeParam>("abc"));
    FailingAllocator allocator(1);
    Text target(static_cast<Text&&>(text));
    text = static_cast<Text&&>(target);
    EXPECT_EQ(0u, allocator.calls());
    EXPECT_EQ("abc", narrow(text));
}

} // namespace
