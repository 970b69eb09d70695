// Counts the ticks of the time-stamp counter in 50 ms of the performance counter, and corrects for what other threads
// took of them. Without a time-stamp counter a loop is timed whose cycles are known for some families.
#include "sysinfo/processor_clock.h"

#include <limits.h>

namespace sysinfo {

namespace {

constexpr uint32_t kMilliseconds = 50;

int clamp(uint64_t value) {
    return value > INT_MAX ? INT_MAX : static_cast<int>(value);
}

// How a wait on the counter ended.
struct Wait {
    enum End { over, gave_up, stepped_back } end;
    uint64_t passed; // steps, if it is over
};

// Waits until so many steps of the counter have passed; it looks at the counter once at least. Gives up if the counter
// stands still: no counter is read this often in the time that we wait.
Wait wait_steps(ClockSource& clock, uint64_t steps) {
    constexpr uint32_t kMostLooks = 20000000;
    const uint64_t start = clock.counter();
    uint64_t before = 0;
    for (uint32_t i = 0; i < kMostLooks; ++i) {
        const uint64_t passed = clock.counter() - start;
        if (static_cast<int64_t>(passed - before) < 0)
            return {Wait::stepped_back, 0}; // some machines' counters differ from one processor to the next
        if (passed >= steps)
            return {Wait::over, passed};
        before = passed;
    }
    return {Wait::gave_up, 0};
}

struct Measurement {
    Wait wait;
    uint64_t ticks;  // of the time-stamp counter in the wait
    uint64_t astray; // steps that passed outside it
};

Measurement measure(ClockSource& clock, uint64_t steps) {
    const uint64_t outer_start = clock.counter();
    const uint64_t wait_start = clock.time_stamp();
    const Wait wait = wait_steps(clock, steps);
    const uint64_t ticks = clock.time_stamp() - wait_start;
    const uint64_t overhead_start = clock.time_stamp();
    wait_steps(clock, 0);
    const uint64_t overhead = clock.time_stamp() - overhead_start;
    const uint64_t outer = clock.counter() - outer_start;
    // All steps of a counter that went back are astray: beyond the wait, or before it, where they make a huge number.
    return {wait, ticks > overhead ? ticks - overhead : 0,
            wait.end == Wait::stepped_back ? UINT64_MAX : outer - wait.passed};
}

// On a busy machine other threads get the processor within a measurement. Those that get it within the wait make that
// longer than the 50 ms, which can be made good, because the counter tells how long it was. Those that get it between
// the readings of the two counters spoil the measurement, so it is repeated a few times, and the least spoilt counts.
int measure_by_time_stamp(ClockSource& clock) {
    constexpr int kMostTries = 5;
    const uint64_t steps = clock.frequency() / 1000 * kMilliseconds;
    const uint64_t tolerated = steps / 200;

    Measurement best = measure(clock, steps);
    for (int i = 1; i < kMostTries && best.wait.end != Wait::gave_up && best.astray > tolerated; ++i) {
        const Measurement next = measure(clock, steps);
        if (next.astray < best.astray)
            best = next;
    }
    if (best.wait.end != Wait::over)
        return 0;
    uint64_t ticks = best.ticks;
    if (best.wait.passed > steps + tolerated && ticks <= UINT64_MAX / (steps + 1))
        ticks = ticks * steps / best.wait.passed;
    return clamp(ticks / kMilliseconds / 1000);
}

// The clock cycles of all scans on a processor of this family.
uint64_t scan_cycles(uint32_t family) {
    switch (family) {
    case 3:
        return 1150000000;
    case 4:
        return 470000000;
    case 5:
        return 430000000;
    default:
        return 0;
    }
}

int measure_by_scanning(ClockSource& clock, uint32_t family) {
    constexpr uint32_t kScans = 10000000;
    const uint64_t cycles = scan_cycles(family);
    const uint64_t frequency = clock.frequency();
    if (cycles == 0 || frequency > UINT64_MAX / cycles)
        return 0;
    constexpr int kMostTries = 2; // for a counter that steps back once
    for (int i = 0; i < kMostTries; ++i) {
        const uint64_t start = clock.counter();
        clock.scan_bits(kScans);
        const uint64_t steps = clock.counter() - start;
        if (static_cast<int64_t>(steps) > 0)
            return clamp(cycles * frequency / steps >> 20); // Kept: divided by 2^20, not by 10^6.
    }
    return 0;
}

} // namespace

int measure_clock(ClockSource& clock, bool has_time_stamp, uint32_t family) {
    if (clock.frequency() == 0)
        return 0;
    if (has_time_stamp && clock.time_stamp_usable())
        return measure_by_time_stamp(clock);
    return measure_by_scanning(clock, family);
}

} // namespace sysinfo
