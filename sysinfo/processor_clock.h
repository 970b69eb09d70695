// How fast the processor's clock runs. Pure; the time comes through a seam.
#pragma once

#include <stdint.h>

namespace sysinfo {

class ClockSource {
public:
    // Whether reading the processor's time-stamp counter is allowed here; asked only if the processor has one.
    virtual bool time_stamp_usable() = 0;
    // The time-stamp counter. Called only if it is usable.
    virtual uint64_t time_stamp() = 0;
    // A counter of real time, and its steps a second: 0 if there is none.
    virtual uint64_t counter() = 0;
    virtual uint64_t frequency() = 0;
    // Executes so many bit-scan instructions on the value 0x80000000, which takes an old processor longest.
    virtual void scan_bits(uint32_t count) = 0;

protected:
    ~ClockSource() = default;
};

// The clock in MHz, 0 if it can't be told. Takes 50 ms of the processor's time, rarely a multiple of it, with the
// time-stamp counter; without, the time of ten million bit scans, whose duration is known for the families 3 to 5
// alone. Uses no floating point: a fault may have left that unit in any state.
int measure_clock(ClockSource& clock, bool has_time_stamp, uint32_t family);

} // namespace sysinfo
