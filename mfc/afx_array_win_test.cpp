#include <gtest/gtest.h>

#include <afxcoll.h>
#include <afxtempl.h>
#include "base/std_string.h"

namespace {

using Texts = CArray<CStdString, CStdString&>;

TEST(CArray, Has_the_frameworks_layout) {
    EXPECT_EQ(sizeof(Texts), sizeof(void*) == 8 ? 40u : 20u);
    EXPECT_EQ(sizeof(CByteArray), sizeof(void*) == 8 ? 40u : 20u);
}

TEST(CArray, Keeps_the_order_of_what_is_added) {
    Texts texts;
    for (int i = 0; i < 1000; ++i) {
        CStdString text;
        text.format("%d", i);
        EXPECT_EQ(texts.Add(text), i);
    }
    EXPECT_EQ(texts.GetSize(), 1000);
    EXPECT_STREQ(texts[0].c_str(), "0");
    EXPECT_STREQ(texts[999].c_str(), "999");
}

TEST(CArray, Adds_an_element_of_its_own_even_when_it_grows) {
    Texts texts;
    CStdString text("a text too long to lie within its object");
    texts.Add(text);
    for (int i = 1; i < 100; ++i)
        texts.Add(texts[i - 1]);
    for (int i = 0; i < 100; ++i)
        EXPECT_STREQ(texts[i].c_str(), text.c_str()) << i;
}

// A copy of it fails as one does for which there is no memory.
struct Uncopyable {
    Uncopyable() = default;
    Uncopyable(const Uncopyable&) { throw gen::genlib_out_of_memory(); }
    Uncopyable& operator=(const Uncopyable&) { throw gen::genlib_out_of_memory(); }
    Uncopyable& operator=(Uncopyable&&) = default;
};

TEST(CArray, Element_that_cannot_be_copied_changes_nothing) {
    CArray<Uncopyable, Uncopyable&> array;
    Uncopyable element;
    EXPECT_THROW(array.Add(element), gen::genlib_out_of_memory);
    EXPECT_EQ(array.GetSize(), 0);
}

TEST(CArray, Shrunk_and_grown_again_holds_fresh_elements) {
    Texts texts;
    CStdString text("old");
    texts.Add(text);
    texts.Add(text);
    texts.SetSize(1);
    texts.SetSize(2);
    EXPECT_STREQ(texts[1].c_str(), "");
    texts.SetSize(0);
    EXPECT_EQ(texts.GetSize(), 0);
}

TEST(CByteArray, New_bytes_are_zero) {
    CByteArray bytes;
    bytes.SetSize(3);
    EXPECT_EQ(bytes[0] | bytes[1] | bytes[2], 0);
    bytes.Add(0xFF);
    EXPECT_EQ(bytes[3], 0xFF);
}

TEST(CByteArray, Impossible_size_is_out_of_memory_and_changes_nothing) {
    CByteArray bytes;
    bytes.Add(1);
    EXPECT_THROW(bytes.SetSize(INTPTR_MAX), gen::genlib_out_of_memory);
    EXPECT_EQ(bytes.GetSize(), 1);
}

} // namespace
