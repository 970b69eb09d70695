#include <gtest/gtest.h>

#include "report/dialog_layout.h"

namespace {

TEST(Centred, Puts_an_extent_in_the_middle) {
    EXPECT_EQ(report::centred(0, 1280, 480), 400);
}

TEST(Centred, Rounds_both_halves_on_their_own) {
    // 641 / 2 = 320 and 301 / 2 = 150; (641 - 301) / 2 would be 170 too, 640 and 301 show the difference.
    EXPECT_EQ(report::centred(0, 641, 301), 170);
    EXPECT_EQ(report::centred(0, 640, 301), 170);
    EXPECT_EQ(report::centred(0, 641, 300), 170);
}

TEST(Centred, Follows_a_work_area_that_does_not_begin_at_zero) {
    EXPECT_EQ(report::centred(-1280, 0, 480), -880);
    EXPECT_EQ(report::centred(48, 1024, 300), 386);
}

TEST(Centred, Lets_a_dialog_larger_than_the_screen_begin_outside) {
    EXPECT_EQ(report::centred(0, 200, 300), -50);
}

} // namespace
