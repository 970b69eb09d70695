#include "base/std_string.h"

#include <string>

#include <gtest/gtest.h>

#include "testing/cxx/failing_allocator.h"

namespace {

// The capacity of the last try: the length of the format text plus 1024, then 1024 more each time the result doesn't
// fit, until 32767 is reached.
unsigned last_limit(unsigned format_length, unsigned result_length) {
    unsigned limit = format_length + 1024;
    while (result_length > limit && limit < 32767)
        limit += 1024;
    return limit;
}

TEST(StdString, Formats_like_printf) {
    CStdString text("old");
    text.format("%s: %d %5.1f%%", "value", -7, 99.5);
    EXPECT_STREQ("value: -7  99.5%", text.c_str());
    EXPECT_EQ(16u, text.length());
    text.format("%04x%04x", 0x409, 0x4b0);
    EXPECT_STREQ("040904b0", text.c_str());
}

TEST(StdString, Formatting_an_empty_or_null_format_gives_the_empty_text) {
    CStdString text("old");
    text.format("%s", "");
    EXPECT_EQ(1u, text.count());
    EXPECT_STREQ("", text.c_str());
    text = "old";
    const char* volatile no_format = nullptr;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
    text.format(no_format);
#pragma GCC diagnostic pop
    EXPECT_EQ(1u, text.count());
    EXPECT_STREQ("", text.c_str());
}

TEST(StdString, The_first_capacity_is_the_format_length_plus_1024) {
    CStdString text;
    text.format("%s", "x");
    EXPECT_EQ(2u + 1024 + 1, text.capacity());
    CStdString longer;
    longer.format("0123456789%s", "x");
    EXPECT_EQ(12u + 1024 + 1, longer.capacity());
}

TEST(StdString, Formatting_never_gives_up_capacity) {
    CStdString text;
    text.grow(5000);
    text.format("%s", "x");
    EXPECT_EQ(5000u, text.capacity());
}

TEST(StdString, A_result_that_just_fills_the_capacity_needs_no_second_try) {
    for (unsigned length : {1025u, 1026u, 1027u, 2050u, 2051u}) {
        const std::string argument(length, 'a');
        CStdString text;
        text.format("%s", argument.c_str());
        EXPECT_EQ(argument, text.c_str());
        EXPECT_EQ(length, text.length());
        EXPECT_EQ(last_limit(2, length) + 1, text.capacity()) << length;
    }
    EXPECT_EQ(1026u, last_limit(2, 1026));
    EXPECT_EQ(2050u, last_limit(2, 1027));
}

TEST(StdString, Each_try_starts_with_the_first_argument_again) {
    const std::string first(20000, 'a');
    CStdString text;
    text.format("%s%d%s", first.c_str(), 42, "end");
    EXPECT_EQ(first + "42end", text.c_str());
}

TEST(StdString, A_result_of_40000_characters_is_cut_at_the_last_capacity) {
    std::string argument;
    for (int i = 0; argument.size() < 40000; ++i)
        argument += static_cast<char>('a' + i % 23);
    CStdString text;
    text.format("%s", argument.c_str());
    EXPECT_EQ(32770u, last_limit(2, 40000)); // 2 + 32 * 1024
    EXPECT_EQ(32770u, text.length());
    EXPECT_EQ(argument.substr(0, 32770), text.c_str());
    EXPECT_EQ(32771u, text.capacity());
}

TEST(StdString, The_cut_depends_on_the_format_length) {
    const std::string argument(70000, 'a');
    for (unsigned format_length : {2u, 1022u, 1023u, 1024u, 31743u, 31744u, 32767u, 33000u}) {
        const std::string format = std::string(format_length - 2, '-') + "%s";
        CStdString text;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
        text.format(format.c_str(), argument.c_str());
#pragma GCC diagnostic pop
        const unsigned limit = last_limit(format_length, 100000);
        EXPECT_EQ(limit, text.length()) << format_length;
        EXPECT_EQ((std::string(format_length - 2, '-') + argument).substr(0, limit), text.c_str());
    }
    EXPECT_EQ(32767u, last_limit(31743, 100000)); // reached at the first try
    EXPECT_EQ(33790u, last_limit(1022, 100000));  // 32766 is not enough: one try more
}

TEST(StdString, A_NUL_that_is_printed_counts) {
    CStdString text;
    text.format("a%cb", 0);
    EXPECT_EQ(3u, text.length());
    EXPECT_EQ(std::string("a\0b", 3), std::string(text.c_str(), text.length()));
}

TEST(StdString, A_cut_text_ends_at_its_first_NUL) {
    const std::string argument(40000, 'a');
    CStdString text;
    text.format("ab%c%s", 0, argument.c_str());
    EXPECT_EQ(2u, text.length());
}

TEST(StdString, Arguments_may_point_into_the_string) {
    CStdString text("abc");
    text.format("<%s>", text.c_str());
    EXPECT_STREQ("<abc>", text.c_str());
    text.format("%s%s", text.c_str() + 1, text.c_str());
    EXPECT_STREQ("abc><abc>", text.c_str());
}

TEST(StdString, Adds_up_texts_strings_and_characters) {
    const CStdString name("name");
    const CStdString path = CStdString("C:\\") + name + ".txt" + '!' + CStdString("?");
    EXPECT_STREQ("C:\\name.txt!?", path.c_str());
    EXPECT_STREQ("my name", ("my " + name).c_str());
    EXPECT_STREQ("name.", (name + '.').c_str());
    EXPECT_STREQ("namename", (name + name).c_str());
    EXPECT_STREQ("name", (name + static_cast<const char*>(nullptr)).c_str());
    EXPECT_STREQ("name", (static_cast<const char*>(nullptr) + name).c_str());
    const gen::basic_string<char> plain("plain");
    EXPECT_STREQ("nameplain", (name + plain).c_str());
    EXPECT_STREQ("plainname", CStdString(plain + name).c_str());
    EXPECT_STREQ("name", name.c_str());
}

TEST(StdString, Adding_up_takes_storage_for_the_whole_text_at_once) {
    const CStdString left(std::string(1000, 'l').c_str());
    const CStdString right(std::string(1000, 'r').c_str());
    FailingAllocator allocator(0);
    const CStdString whole = left + right;
    EXPECT_EQ(1u, allocator.calls());
    EXPECT_EQ(2001u, whole.capacity());
}

TEST(StdString, Parts_are_CStdStrings_again) {
    const CStdString path("C:\\dir\\name.txt");
    CStdString directory = path.left(path.rfind('\\'));
    directory.format("%s|%s", directory.c_str(), path.substr(7, 4).c_str());
    EXPECT_STREQ("C:\\dir|name", directory.c_str());
    EXPECT_STREQ("", path.left(path.rfind('/')).c_str());
}

TEST(StdString, Compares_with_texts_on_either_side) {
    const CStdString text("abc");
    EXPECT_TRUE(text == "abc");
    EXPECT_TRUE("abc" == text);
    EXPECT_TRUE(text != "abd");
    EXPECT_TRUE(text == CStdString("abc"));
    EXPECT_TRUE(text == gen::basic_string<char>("abc"));
}

TEST(StdString, Copies_and_moves) {
    CStdString text("abc");
    CStdString copy(text);
    CStdString assigned;
    assigned = text;
    CStdString moved(static_cast<CStdString&&>(text));
    EXPECT_STREQ("abc", copy.c_str());
    EXPECT_STREQ("abc", assigned.c_str());
    EXPECT_STREQ("abc", moved.c_str());
    EXPECT_STREQ("", text.c_str());
    text.format("%d", 5);
    EXPECT_STREQ("5", text.c_str());
    text = "new";
    EXPECT_STREQ("new", text.c_str());
    text = gen::basic_string<char>("base");
    EXPECT_STREQ("base", text.c_str());
    assigned = nullptr;
    EXPECT_EQ(3u, assigned.length());
    EXPECT_TRUE(assigned.empty());
}

TEST(StdString, Extends_by_characters_that_the_caller_writes) {
    CStdString text;
    memcpy(text.extend(3), "abc", 3);
    EXPECT_STREQ("abc", text.c_str());
    memset(text.extend(100), 'x', 100);
    EXPECT_EQ("abc" + std::string(100, 'x'), text.c_str());
    EXPECT_EQ(103u, text.length());
    EXPECT_EQ(104u, text.capacity());
    text.extend(0);
    EXPECT_EQ(103u, text.length());
    EXPECT_THROW(text.extend(0xFFFFFFFF), gen::genlib_out_of_memory);
}

} // namespace
