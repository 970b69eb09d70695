#include "companions/kobrtl/message_text.h"

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "testing/cxx/failing_allocator.h"

namespace {

[[gnu::format(printf, 1, 2)]] std::string message(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    char* text = kobrtl::format_message(format, arguments);
    va_end(arguments);
    const std::string copy = text ? text : "(null)";
    std::free(text);
    return copy;
}

// Without a repetition, so that a piece that is lost or doubled shows.
std::string text_of(size_t length) {
    std::string text;
    for (unsigned number = 0; text.size() < length; ++number)
        text += std::to_string(number) + " ";
    text.resize(length);
    return text;
}

TEST(MessageText, Arguments_stand_where_the_format_wants_them) {
    EXPECT_EQ(message("Bad format for %s, '%s'", "JPG", "fall.dll"), "Bad format for JPG, 'fall.dll'");
    EXPECT_EQ(message("%d of %u: %c", -7, 8u, 'x'), "-7 of 8: x");
    EXPECT_EQ(message("%s", ""), "");
}

TEST(MessageText, Percent_signs_in_an_argument_are_text) {
    EXPECT_EQ(message("100%%"), "100%");
    EXPECT_EQ(message("'%s'", "%s%n%5d.dll"), "'%s%n%5d.dll'");
}

// At the first of these lengths there is space to spare, at the second for all but a NUL, at the third too little.
TEST(MessageText, Text_around_the_end_of_the_first_buffer_is_whole) {
    for (size_t length : {511u, 512u, 513u, 1024u, 1025u, 65535u, 65536u}) {
        const std::string text = text_of(length);
        EXPECT_EQ(message("%s", text.c_str()), text) << length;
        EXPECT_EQ(message("%s-%d", text.c_str() + 3, 5).substr(0, length - 3), text.substr(3)) << length;
    }
}

TEST(MessageText, Longer_text_is_cut_after_65536_characters) {
    for (size_t length : {65537u, 70000u, 200000u}) {
        const std::string text = text_of(length);
        EXPECT_EQ(message("%s", text.c_str()), text.substr(0, 65536)) << length;
    }
}

#ifndef _WIN32
TEST(MessageText, Without_memory_for_any_buffer_is_null) {
    const std::string text = text_of(1000); // takes a second buffer
    for (unsigned nth : {1u, 2u}) {
        FailingAllocator allocator(nth);
        EXPECT_EQ(message("%s", text.c_str()), "(null)");
        EXPECT_EQ(allocator.calls(), nth);
    }
}
#endif

} // namespace
