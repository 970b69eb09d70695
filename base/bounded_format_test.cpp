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

TEST(BoundedFormat, A_text_has_its_NUL_where_there_is_space_and_a_longer_one_is_cut_and_reported) {
    const struct {
        const char* what;
        unsigned limit;
        int result;
        std::string buffer;
    } cases[] = {{"shorter", 6, 4, std::string("ab-7\0~", 6)},
                 {"just leaves space for the NUL", 5, 4, std::string("ab-7\0", 5)},
                 {"fills the buffer, which is a success", 4, 4, "ab-7"},
                 {"longer", 3, -1, "ab-"},
                 {"much longer", 2, -1, "ab"},
                 {"longer by far", 1, -1, "a"}};
    for (const auto& c : cases) {
        const Outcome outcome = bounded(c.limit, "%s-%d", "ab", 7);
        EXPECT_EQ(c.result, outcome.result) << c.what;
        EXPECT_EQ(c.buffer, outcome.buffer) << c.what;
    }
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
