#include "base/bounded_format.h"

#include <wchar.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

struct Outcome {
    int result;
    std::string buffer; // untouched characters are '~'
};

[[gnu::format(printf, 2, 3)]] Outcome bounded(unsigned limit, const char* format, ...) {
    // Exactly as long as promised, so that the sanitizer sees a character too many.
    std::vector<char> buffer(limit, '~');
    va_list arguments;
    va_start(arguments, format);
    const int result = gen::bounded_format(buffer.data(), limit, format, arguments);
    va_end(arguments);
    return {result, std::string(buffer.begin(), buffer.end())};
}

TEST(BoundedFormat, A_shorter_text_is_written_with_its_NUL) {
    const Outcome outcome = bounded(6, "%s-%d", "ab", 7);
    EXPECT_EQ(4, outcome.result);
    EXPECT_EQ(std::string("ab-7\0~", 6), outcome.buffer);
}

TEST(BoundedFormat, A_text_that_just_leaves_space_for_the_NUL) {
    const Outcome outcome = bounded(5, "%s-%d", "ab", 7);
    EXPECT_EQ(4, outcome.result);
    EXPECT_EQ(std::string("ab-7\0", 5), outcome.buffer);
}

TEST(BoundedFormat, A_text_that_fills_the_buffer_is_a_success_without_NUL) {
    const Outcome outcome = bounded(4, "%s-%d", "ab", 7);
    EXPECT_EQ(4, outcome.result);
    EXPECT_EQ("ab-7", outcome.buffer);
}

TEST(BoundedFormat, A_longer_text_is_cut_without_NUL_and_reported) {
    const Outcome outcome = bounded(3, "%s-%d", "ab", 7);
    EXPECT_EQ(-1, outcome.result);
    EXPECT_EQ("ab-", outcome.buffer);
    EXPECT_EQ("ab", bounded(2, "%s-%d", "ab", 7).buffer);
    EXPECT_EQ("a", bounded(1, "%s-%d", "ab", 7).buffer);
}

TEST(BoundedFormat, An_empty_text_is_one_NUL) {
    const Outcome outcome = bounded(2, "%s", "");
    EXPECT_EQ(0, outcome.result);
    EXPECT_EQ(std::string("\0~", 2), outcome.buffer);
}

#ifndef _WIN32 // whose formatter leaves out such a character
TEST(BoundedFormat, A_character_that_the_code_page_lacks_is_reported) {
    EXPECT_EQ(-1, bounded(4, "%lc", static_cast<wint_t>(0xDC00)).result);
}
#endif

TEST(BoundedFormat, Numbers_and_padding_come_out_alike_everywhere) {
    EXPECT_EQ("0a1f|  42|42  |007|-5|3.50|%",
              bounded(28, "%04x|%4d|%-4d|%03u|%d|%.2f|%%", 0x0a1f, 42, 42, 7u, -5, 3.5).buffer);
    EXPECT_EQ("ab |  ab|abcd|x", bounded(15, "%-3s|%4.2s|%.4s|%c", "ab", "abc", "abcdef", 'x').buffer);
}

} // namespace
