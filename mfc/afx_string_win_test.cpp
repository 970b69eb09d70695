#include <gtest/gtest.h>

#include <string>

#include <afx.h>
#include "base/genlib_error.h"

namespace {

TEST(CString, Is_one_pointer_wide) {
    EXPECT_EQ(sizeof(CString), sizeof(void*));
}

TEST(CString, Starts_empty_and_takes_null_as_empty) {
    EXPECT_STREQ(CString(), "");
    EXPECT_EQ(CString(static_cast<LPCSTR>(nullptr)).GetLength(), 0);
    EXPECT_TRUE(CString("").IsEmpty());
}

TEST(CString, Equals_a_text_of_the_same_bytes_alone) {
    const CString text("co\xADop"); // a soft hyphen, which the locale's order ignores
    EXPECT_TRUE(text == "co\xADop");
    EXPECT_FALSE(text == "coop");
    EXPECT_FALSE(text == nullptr);
    EXPECT_TRUE(CString() == nullptr);
}

TEST(CString, Copies_share_until_one_is_written_to) {
    CString first("shared");
    CString second(first);
    EXPECT_EQ(static_cast<LPCSTR>(first), static_cast<LPCSTR>(second));
    second.GetBuffer(0)[0] = 'S';
    second.ReleaseBuffer();
    EXPECT_STREQ(first, "shared");
    EXPECT_STREQ(second, "Shared");
}

TEST(CString, Keeps_NULs_of_a_text_with_a_length) {
    const CString text("a\0b", 3);
    EXPECT_EQ(text.GetLength(), 3);
    EXPECT_EQ(text.operator LPCSTR()[2], 'b');
}

TEST(CString, Appends_a_part_of_itself) {
    CString text("abc");
    text += static_cast<LPCSTR>(text) + 1;
    EXPECT_STREQ(text, "abcbc");
    text += text;
    EXPECT_STREQ(text, "abcbcabcbc");
}

TEST(CString, Assigned_to_itself_stays) {
    CString text("same");
    const CString& alias = text;
    text = alias;
    EXPECT_STREQ(text, "same");
    text = static_cast<LPCSTR>(text) + 2;
    EXPECT_STREQ(text, "me");
}

TEST(CString, Buffer_takes_its_length_from_the_text_or_from_the_caller) {
    CString text("old");
    char* const buffer = text.GetBuffer(100);
    EXPECT_STREQ(buffer, "old");
    memcpy(buffer, "longer text\0hidden", 19);
    text.ReleaseBuffer();
    EXPECT_EQ(text.GetLength(), 11);
    text.GetBuffer(50);
    text.ReleaseBuffer(2);
    EXPECT_STREQ(text, "lo");
}

TEST(CString, Releasing_an_empty_texts_buffer_leaves_other_empty_texts_alone) {
    CString text;
    text.ReleaseBuffer();
    text.GetBuffer(4);
    text.ReleaseBuffer(0);
    EXPECT_STREQ(CString(), "");
    EXPECT_EQ(CString().GetLength(), 0);
}

TEST(CString, Length_out_of_bounds_is_out_of_memory_and_changes_nothing) {
    CString text("kept");
    EXPECT_THROW(text.GetBuffer(0x7FFFFFFF), gen::genlib_out_of_memory);
    EXPECT_STREQ(text, "kept");
}

} // namespace
