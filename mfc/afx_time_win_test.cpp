#include <gtest/gtest.h>

#include <stdlib.h>

#include <string>

#include <afx.h>

namespace {

// The C runtime's time zone for as long as the object lives, then again the one before.
class TimeZone {
public:
    explicit TimeZone(const std::string& zone) {
        if (const char* const before = getenv("TZ"))
            m_before = before;
        set(zone);
    }
    ~TimeZone() { set(m_before); }

private:
    static void set(const std::string& zone) {
        _putenv(("TZ=" + zone).c_str()); // without a zone the variable goes
        _tzset();
    }

    std::string m_before;
};

TEST(CTime, Formats_local_time) {
    const CTime time(2006, 1, 15, 9, 5, 7);
    EXPECT_STREQ(time.Format("%A, %d, %y %S:%M:%H"), "Sunday, 15, 06 07:05:09");
}

TEST(CTime, Shows_the_time_of_the_zone_and_not_that_of_Greenwich) {
    const TimeZone three_hours_east("XYZ-3");
    EXPECT_STREQ(CTime(1137315907).Format("%d %H:%M:%S"), "15 12:05:07");
}

TEST(CTime, Goes_on_after_the_seconds_of_32_bits) {
    const TimeZone greenwich("UTC0");
    EXPECT_STREQ(CTime(0x80000000LL + 86400).Format("%A, %d, %y"), "Wednesday, 20, 38");
    EXPECT_EQ(CTime(2038, 1, 20, 3, 14, 8).GetTime(), 0x80000000LL + 86400);
}

TEST(CTime, Now_lies_between_two_readings_of_the_clock) {
    const __time64_t before = _time64(nullptr);
    const __time64_t now = CTime::GetCurrentTime().GetTime();
    EXPECT_LE(before, now);
    EXPECT_LE(now, _time64(nullptr));
}

TEST(CTime, Text_of_one_letter_is_kept) {
    EXPECT_STREQ(CTime(2006, 1, 15, 9, 5, 7).Format("x"), "x");
}

TEST(CTime, Text_that_does_not_fit_is_empty) {
    EXPECT_STREQ(CTime(2006, 1, 15, 9, 5, 7).Format(std::string(200, 'x').c_str()), "");
}

} // namespace
