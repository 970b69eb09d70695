#include <gtest/gtest.h>

#include <afx.h>

namespace {

TEST(CTime, Formats_local_time) {
    const CTime time(2006, 1, 15, 9, 5, 7);
    EXPECT_STREQ(time.Format("%A, %d, %y %S:%M:%H"), "Sunday, 15, 06 07:05:09");
}

TEST(CTime, Now_lies_between_two_readings_of_the_clock) {
    const time_t before = time(nullptr);
    const time_t now = CTime::GetCurrentTime().GetTime();
    EXPECT_LE(before, now);
    EXPECT_LE(now, time(nullptr));
}

TEST(CTime, Text_that_does_not_fit_is_empty) {
    EXPECT_STREQ(CTime(2006, 1, 15, 9, 5, 7).Format(std::string(200, 'x').c_str()), "");
}

} // namespace
