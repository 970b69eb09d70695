#include <gtest/gtest.h>

#include <vector>

#include "sysinfo/processor_clock.h"

namespace {

using sysinfo::measure_clock;

constexpr uint32_t kPentium = 5;

// A machine whose time passes only when someone looks at a counter.
class FakeClock : public sysinfo::ClockSource {
public:
    bool usable = true;
    uint64_t steps_a_second = 10000000;
    uint64_t steps_a_look = 10;       // how far the counter moves when it is read
    uint64_t ticks_a_step = 260;      // of the time-stamp counter
    uint64_t ticks_a_look = 0;        // of the time-stamp counter, besides those of the steps
    uint64_t steps_of_a_scan = 0;     // of all bit scans together
    std::vector<uint64_t> looks_away; // at the n-th look, so many steps go by besides
    unsigned steps_back_at = ~0u;     // from this look on the counter is 100 ms behind

    uint64_t now = 123456789;
    unsigned looks = 0;
    uint32_t scanned = 0;

    bool time_stamp_usable() override { return usable; }
    uint64_t time_stamp() override {
        EXPECT_TRUE(usable);
        return now * ticks_a_step + looks * ticks_a_look;
    }
    uint64_t counter() override {
        now += steps_a_look + (looks < looks_away.size() ? looks_away[looks] : 0);
        return looks++ >= steps_back_at ? now - steps_a_second / 10 : now;
    }
    uint64_t frequency() override { return steps_a_second; }
    void scan_bits(uint32_t count) override {
        scanned += count;
        now += steps_of_a_scan;
    }
};

struct ProcessorClock : testing::Test {
    FakeClock clock;
};

TEST_F(ProcessorClock, Is_the_ticks_of_50_ms_less_the_overhead) {
    clock.ticks_a_step = 261; // of a counter of 10 MHz: 2610 MHz
    // The first look and the 50000 that wait, less the two looks of the overhead: 499990 steps.
    EXPECT_EQ(measure_clock(clock, true, kPentium), 499990 * 261 / 50 / 1000);
    EXPECT_LT(clock.looks, 50010u) << "measured more than once";
}

TEST_F(ProcessorClock, Subtracts_what_a_call_without_waiting_takes) {
    clock.steps_a_look = 1000; // 50 ms are 500 looks, and two looks are 0.4 % of them
    // Wait: one look, then 500 until 500000 steps have passed. Overhead: one look, then one.
    EXPECT_EQ(measure_clock(clock, true, kPentium), 2600 * (501 - 2) / 500);
}

TEST_F(ProcessorClock, Is_cut_to_whole_megahertz) {
    clock.steps_a_second = 1000000;
    clock.steps_a_look = 1;
    clock.ticks_a_step = 99; // 50000 steps: 50001 of the wait less 2 of the overhead are 4949901 ticks
    EXPECT_EQ(measure_clock(clock, true, kPentium), 98);
}

TEST_F(ProcessorClock, Counts_steps_in_whole_milliseconds) {
    clock.steps_a_second = 3579545; // / 1000 * 50 is 178950
    clock.steps_a_look = 1;
    clock.ticks_a_step = 100;
    EXPECT_EQ(measure_clock(clock, true, kPentium), (178951 - 2) * 100 / 50 / 1000);
}

TEST_F(ProcessorClock, Long_wait_is_reduced_to_50_ms) {
    clock.steps_a_look = 100;
    clock.looks_away = std::vector<uint64_t>(100);
    clock.looks_away.push_back(4000000); // 400 ms go by within the wait, which then is over
    // From the first look of the wait to its last are 99 looks, 4009900 steps. The time stamps are one look further
    // apart, and two are the overhead.
    EXPECT_EQ(measure_clock(clock, true, kPentium), 4009800ull * 260 * 500000 / 4009900 / 50 / 1000);
    EXPECT_EQ(clock.looks, 104u) << "measured more than once";
}

TEST_F(ProcessorClock, Measures_again_when_time_passed_beside_the_wait) {
    clock.steps_a_look = 1000;
    clock.looks_away = {0, 4000000}; // 400 ms between the reading of the time stamp and the wait
    EXPECT_EQ(measure_clock(clock, true, kPentium), 2600 * (501 - 2) / 500);
}

TEST_F(ProcessorClock, Takes_the_least_spoilt_of_five_measurements) {
    clock.steps_a_look = 500000; // each wait takes a single look, each measurement six
    clock.looks_away = std::vector<uint64_t>(30, 0);
    const uint64_t away[] = {900000, 700000, 100000, 300000, 500000};
    for (int i = 0; i < 5; ++i)
        clock.looks_away[i * 6 + 1] = away[i];
    // The wait has two looks and what goes by in the first: 1100000 steps, less 1000000 of the overhead.
    EXPECT_EQ(measure_clock(clock, true, kPentium), 100000 * 260 / 50 / 1000);
    EXPECT_EQ(clock.looks, 30u);
}

TEST_F(ProcessorClock, Counter_that_steps_back_once_does_no_harm) {
    // Before the wait, within it, in the overhead, and behind all.
    for (unsigned look : {1u, 2u, 25000u, 50001u, 50002u, 50003u, 50004u}) {
        FakeClock clock; // as in Is_the_ticks_of_50_ms_less_the_overhead
        clock.steps_back_at = look;
        EXPECT_EQ(measure_clock(clock, true, kPentium), 499990 * 260 / 50 / 1000) << look;
        EXPECT_LT(clock.looks, 2 * 50010u) << look << ": measured more than twice";
    }
}

TEST_F(ProcessorClock, Scan_in_which_the_counter_steps_back_is_repeated) {
    clock.steps_a_look = 0;
    clock.steps_of_a_scan = clock.steps_a_second / 20;
    clock.steps_back_at = 1; // behind the scan
    EXPECT_EQ(measure_clock(clock, false, kPentium), 430000000ull * 20 >> 20);
}

TEST_F(ProcessorClock, Is_0_when_the_overhead_is_all_there_is) {
    clock.steps_a_second = 999; // no whole step a millisecond: nothing is waited for
    EXPECT_EQ(measure_clock(clock, true, kPentium), 0);
}

TEST_F(ProcessorClock, Is_0_without_a_counter_of_real_time) {
    clock.steps_a_second = 0;
    EXPECT_EQ(measure_clock(clock, true, kPentium), 0);
    EXPECT_EQ(measure_clock(clock, false, kPentium), 0);
    EXPECT_EQ(clock.scanned, 0u);
}

TEST_F(ProcessorClock, Counter_that_stands_still_ends_the_measurement) {
    clock.steps_a_look = 0;
    clock.ticks_a_look = 50;
    EXPECT_EQ(measure_clock(clock, true, kPentium), 0);
}

TEST_F(ProcessorClock, Absurd_time_stamps_stay_an_int) {
    clock.ticks_a_step = uint64_t{1} << 38;
    EXPECT_EQ(measure_clock(clock, true, kPentium), 0x7FFFFFFF);
}

TEST_F(ProcessorClock, Absurd_time_stamps_of_a_long_wait_stay_an_int) {
    clock.steps_a_look = 100;
    clock.looks_away = std::vector<uint64_t>(100);
    clock.looks_away.push_back(4000000); // as above, but so many ticks can't be multiplied by the steps of 50 ms
    clock.ticks_a_step = uint64_t{1} << 40;
    EXPECT_EQ(measure_clock(clock, true, kPentium), 0x7FFFFFFF);
}

struct Scanning {
    uint32_t family;
    uint64_t milliseconds;
    int megahertz; // constant / seconds / 1048576, cut
};

TEST_F(ProcessorClock, Without_time_stamps_scans_bits_and_divides_by_2_to_the_20) {
    const Scanning cases[] = {
        {3, 28750, 38},  // 1150000000 / 28.75 / 1048576 = 38.15
        {4, 4700, 95},   // 470000000 / 4.7 / 1048576 = 95.37
        {5, 4300, 95},   // 430000000 / 4.3 / 1048576 = 95.37
        {3, 1000, 1096}, // 1096.73
        {4, 1000, 448},  // 448.23
        {5, 1000, 410},  // 410.08
        {5, 2000, 205},  // 205.04
    };
    for (const Scanning& row : cases) {
        FakeClock clock;
        clock.steps_a_look = 0;
        clock.steps_a_second = 1193182;
        clock.steps_of_a_scan = row.milliseconds * clock.steps_a_second / 1000;
        EXPECT_EQ(measure_clock(clock, false, row.family), row.megahertz) << row.family;
        EXPECT_EQ(clock.scanned, 10000000u);
    }
}

TEST_F(ProcessorClock, Scans_take_the_cycles_of_their_family) {
    const struct {
        uint32_t family;
        int cycles;
    } rows[] = {{3, 1150000000}, {4, 470000000}, {5, 430000000}};
    for (const auto& row : rows) {
        FakeClock clock;
        clock.steps_a_look = 0;
        clock.steps_a_second = 1048576;
        clock.steps_of_a_scan = 1; // in 2^-20 seconds, so that nothing is cut
        EXPECT_EQ(measure_clock(clock, false, row.family), row.cycles);
    }
}

TEST_F(ProcessorClock, Scans_too_where_reading_time_stamps_is_forbidden) {
    clock.usable = false;
    clock.steps_a_look = 0;
    clock.steps_of_a_scan = clock.steps_a_second;
    EXPECT_EQ(measure_clock(clock, true, kPentium), 410);
}

TEST_F(ProcessorClock, Of_other_families_stays_unknown_without_time_stamps) {
    for (uint32_t family : {0u, 1u, 2u, 6u, 7u, 15u}) {
        FakeClock clock;
        clock.steps_of_a_scan = clock.steps_a_second;
        EXPECT_EQ(measure_clock(clock, false, family), 0) << family;
        EXPECT_EQ(clock.scanned, 0u);
    }
}

TEST_F(ProcessorClock, Scan_that_takes_no_time_tells_nothing) {
    clock.steps_a_look = 0;
    EXPECT_EQ(measure_clock(clock, false, kPentium), 0);
}

TEST_F(ProcessorClock, Scan_at_an_absurd_frequency_tells_nothing) {
    clock.steps_a_second = ~uint64_t{0};
    clock.steps_of_a_scan = 1;
    EXPECT_EQ(measure_clock(clock, false, kPentium), 0);
    clock.steps_a_second = ~uint64_t{0} / 430000000 + 1;
    EXPECT_EQ(measure_clock(clock, false, kPentium), 0);
    clock.steps_a_second = ~uint64_t{0} / 430000000;
    clock.steps_a_look = 0;
    EXPECT_EQ(measure_clock(clock, false, kPentium), 0x7FFFFFFF);
}

} // namespace
