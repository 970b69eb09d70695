#include <gtest/gtest.h>

#include "report/key_filter.h"

namespace {

constexpr unsigned char kSpace = 0x20, kLetter = 0x57, kAlt = 0x12;

report::KeyFilter shown_at(unsigned time) {
    report::KeyFilter filter;
    filter.shown(time);
    return filter;
}

TEST(KeyFilter, Takes_nothing_before_the_dialog_is_shown) {
    report::KeyFilter filter;
    EXPECT_FALSE(filter.press(kSpace, false, 5000));
    EXPECT_FALSE(filter.release(kSpace));
}

TEST(KeyFilter, Takes_nothing_in_the_first_second) {
    report::KeyFilter filter = shown_at(5000);
    for (const unsigned time : {4000u, 5000u, 5999u}) {
        EXPECT_FALSE(filter.press(kSpace, false, time)) << time;
        EXPECT_FALSE(filter.release(kSpace)) << time;
    }
}

TEST(KeyFilter, Takes_a_key_pressed_after_the_first_second_until_its_release) {
    report::KeyFilter filter = shown_at(5000);
    EXPECT_TRUE(filter.press(kSpace, false, 6000));
    EXPECT_TRUE(filter.press(kSpace, true, 6500));
    EXPECT_TRUE(filter.release(kSpace));
    EXPECT_FALSE(filter.release(kSpace));
}

TEST(KeyFilter, Counts_its_second_past_the_end_of_the_clock) {
    report::KeyFilter filter = shown_at(0xFFFFFF00);
    EXPECT_FALSE(filter.press(kSpace, false, 0xFFFFFFF0));
    EXPECT_FALSE(filter.press(kSpace, false, 0x000002E7));
    EXPECT_TRUE(filter.press(kSpace, false, 0x000002E8));
}

TEST(KeyFilter, Takes_no_key_that_is_down_since_before_the_dialog) {
    report::KeyFilter filter = shown_at(5000);
    EXPECT_FALSE(filter.press(kSpace, true, 9000));
    EXPECT_FALSE(filter.release(kSpace));
    EXPECT_TRUE(filter.press(kSpace, false, 9500));
}

TEST(KeyFilter, Takes_no_key_that_was_pressed_in_the_first_second_and_held) {
    report::KeyFilter filter = shown_at(5000);
    EXPECT_FALSE(filter.press(kSpace, false, 5500));
    EXPECT_FALSE(filter.press(kSpace, true, 7000));
    EXPECT_FALSE(filter.release(kSpace));
}

TEST(KeyFilter, Takes_no_other_key_while_one_from_before_is_down) {
    report::KeyFilter filter = shown_at(5000);
    EXPECT_FALSE(filter.press(kLetter, true, 7000));
    EXPECT_EQ(filter.held(), kLetter);
    EXPECT_FALSE(filter.press(kSpace, false, 7500));
    EXPECT_FALSE(filter.release(kSpace));
    EXPECT_FALSE(filter.release(kLetter));
    EXPECT_EQ(filter.held(), 0);
    EXPECT_TRUE(filter.press(kSpace, false, 8000));
}

TEST(KeyFilter, Forgets_a_held_key_whose_release_went_elsewhere) {
    report::KeyFilter filter = shown_at(5000);
    EXPECT_FALSE(filter.press(kAlt, true, 7000));
    filter.forget_held();
    EXPECT_TRUE(filter.press(kSpace, false, 8000));
    EXPECT_FALSE(filter.press(kAlt, true, 8100));
    EXPECT_TRUE(filter.press(kAlt, false, 8200)) << "pressed anew: it was released in between";
}

TEST(KeyFilter, Takes_keys_together) {
    report::KeyFilter filter = shown_at(5000);
    EXPECT_TRUE(filter.press(kAlt, false, 7000));
    EXPECT_TRUE(filter.press(kAlt, true, 7500));
    EXPECT_TRUE(filter.press(kSpace, false, 7600));
    EXPECT_TRUE(filter.release(kAlt));
    EXPECT_TRUE(filter.release(kSpace));
}

TEST(KeyFilter, Begins_anew_each_time_the_dialog_is_shown) {
    report::KeyFilter filter = shown_at(5000);
    EXPECT_TRUE(filter.press(kSpace, false, 7000));
    filter.shown(8000);
    EXPECT_FALSE(filter.release(kSpace));
    EXPECT_FALSE(filter.press(kSpace, false, 7500)); // waited in the queue
    EXPECT_FALSE(filter.release(kSpace));
    EXPECT_TRUE(filter.press(kSpace, false, 9000));
}

} // namespace
