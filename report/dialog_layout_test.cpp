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

struct Rect {
    int left, top, right, bottom;
};

TEST(Overlap, Needs_one_pixel) {
    const Rect dialog = {100, 100, 200, 200};
    EXPECT_TRUE(report::overlap(dialog, {0, 0, 101, 101}));
    EXPECT_TRUE(report::overlap(dialog, {199, 199, 300, 300}));
    EXPECT_TRUE(report::overlap(dialog, {120, 120, 130, 130}));
    EXPECT_TRUE(report::overlap(dialog, {0, 0, 300, 300}));
}

TEST(Overlap, Is_none_where_bounds_touch) {
    const Rect dialog = {100, 100, 200, 200};
    EXPECT_FALSE(report::overlap(dialog, {0, 100, 100, 200}));
    EXPECT_FALSE(report::overlap(dialog, {200, 100, 300, 200}));
    EXPECT_FALSE(report::overlap(dialog, {100, 0, 200, 100}));
    EXPECT_FALSE(report::overlap(dialog, {100, 200, 200, 300}));
}

TEST(Covers, Allows_no_pixel_outside) {
    const Rect screen = {0, 0, 1280, 1024};
    EXPECT_TRUE(report::covers(screen, screen));
    EXPECT_TRUE(report::covers({-8, -8, 1288, 1032}, screen));
    EXPECT_FALSE(report::covers({1, 0, 1280, 1024}, screen));
    EXPECT_FALSE(report::covers({0, 1, 1280, 1024}, screen));
    EXPECT_FALSE(report::covers({0, 0, 1279, 1024}, screen));
    EXPECT_FALSE(report::covers({0, 0, 1280, 1023}, screen));
}

} // namespace
