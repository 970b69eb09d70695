#include <gtest/gtest.h>

#include "sysinfo/system_info_text.h"

namespace {

using sysinfo::describe_display_mode;

TEST(DisplayText, Has_four_lines_with_CR_LF_between) {
    EXPECT_STREQ(describe_display_mode({32, 1920, 1080, 60}).c_str(), "Color depth: 32 Bits per pixel.\r\n"
                                                                      "Pixel Width: 1920\r\n"
                                                                      "Pixel Height: 1080\r\n"
                                                                      "Refresh frequency: 60 Hz");
}

TEST(DisplayText, Of_16_colours_says_4_bits) {
    EXPECT_STREQ(describe_display_mode({4, 640, 480, 1}).c_str(), "Color depth: 4 Bits per pixel.\r\n"
                                                                  "Pixel Width: 640\r\n"
                                                                  "Pixel Height: 480\r\n"
                                                                  "Refresh frequency: 1 Hz");
}

TEST(DisplayText, Prints_large_values_as_signed_numbers) {
    EXPECT_STREQ(describe_display_mode({0x80000000, 0x7FFFFFFF, 0xFFFFFFFE, 0xFFFFFFFF}).c_str(),
                 "Color depth: -2147483648 Bits per pixel.\r\n"
                 "Pixel Width: 2147483647\r\n"
                 "Pixel Height: -2\r\n"
                 "Refresh frequency: -1 Hz");
}

} // namespace
