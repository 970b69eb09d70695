#include <gtest/gtest.h>

#include "report/key_filter.h"

namespace {

constexpr unsigned char space = 0x20, letter = 0x57, alt = 0x12;

report::KeyFilter shown_at(unsigned time) {
    report::KeyFilter filter;
    filter.shown(time);
    return filter;
}

TEST(KeyFilter, Takes_nothing_before_the_dialog_is_shown) {
    report::KeyFilter filter;
    EXPECT_FALSE(filter.press(space, false, 5000));
    EXPECT_FALSE(filter.release(space));
}

TEST(KeyFilter, Takes_nothing_in_the_first_second) {
    report::KeyFilter filter = shown_at(5000);
    for (const unsigned time : {4000u, 5000u, 5999u}) {
        EXPECT_FALSE(filter.press(space, false, time)) << time;
        EXPECT_FALSE(filter.release(space)) << time;
    }
}

TEST(KeyFilter, Takes_a_key_pressed_after_the_first_second_until_its_release) {
    report::KeyFilter filter = shown_at(5000);
    EXPECT_TRUE(filter.press(space, false, 6000));
    EXPECT_TRUE(filter.press(space, true, 6500));
    EXPECT_TRUE(filter.release(space));
    EXPECT_FALSE(filter.release(space));
}

TEST(KeyFilter, Counts_its_second_past_the_end_of_the_clock) {
    report::KeyFilter filter = shown_at(0xFFFFFF00);
    EXPECT_FALSE(filter.press(space, false, 0xFFFFFFF0));
    EXPECT_FALSE(filter.press(space, false, 0x000002E7));
    EXPECT_TRUE(filter.press(space, false, 0x000002E8));
}

TEST(KeyFilter, Takes_no_key_that_is_down_since_before_the_dialog) {
    report::KeyFilter filter = shown_at(5000);
    EXPECT_FALSE(filter.press(space, true, 9000));
    EXPECT_FALSE(filter.release(space));
    EXPECT_TRUE(filter.press(space, false, 9500));
}

TEST(KeyFilter, Takes_no_key_that_was_pressed_in_the_first_second_and_held) {
    report::KeyFilter filter = shown_at(5000);
    EXPECT_FALSE(filter.press(space, false, 5500));
    EXPECT_FALSE(filter.press(space, true, 7000));
    EXPECT_FALSE(filter.release(space));
}

TEST(KeyFilter, Takes_no_other_key_while_one_from_before_is_down) {
    report::KeyFilter filter = shown_at(5000);
    EXPECT_FALSE(filter.press(letter, true, 7000));
    EXPECT_EQ(filter.held(), letter);
    EXPECT_FALSE(filter.press(space, false, 7500));
    EXPECT_FALSE(filter.release(space));
    EXPECT_FALSE(filter.release(letter));
    EXPECT_EQ(filter.held(), 0);
    EXPECT_TRUE(filter.press(space, false, 8000));
}

TEST(KeyFilter, Forgets_a_held_key_whose_release_went_elsewhere) {
    report::KeyFilter filter = shown_at(5000);
    EXPECT_FALSE(filter.press(alt, true, 7000));
    filter.forget_held();
    EXPECT_TRUE(filter.press(space, false, 8000));
    EXPECT_FALSE(filter.press(alt, true, 8100));
    EXPECT_TRUE(filter.press(alt, false, 8200)) << "pressed anew: it was released in between";
}

TEST(KeyFilter, Takes_keys_together) {
    report::KeyFilter filter = shown_at(5000);
    EXPECT_TRUE(filter.press(alt, false, 7000));
    EXPECT_TRUE(filter.press(alt, true, 7500));
    EXPECT_TRUE(filter.press(space, false, 7600));
    EXPECT_TRUE(filter.release(alt));
    EXPECT_TRUE(filter.release(space));
}

TEST(KeyFilter, Begins_anew_each_time_the_dialog_is_shown) {
    report::KeyFilter filter = shown_at(5000);
    EXPECT_TRUE(filter.press(space, false, 7000));
    filter.shown(8000);
    EXPECT_FALSE(filter.release(space));
    EXPECT_FALSE(filter.press(space, false, 7500)); // waited in the queue
    EXPECT_FALSE(filter.release(space));
    EXPECT_TRUE(filter.press(space, false, 9000));
}

} // namespace
