// The processor at hand, asked by its own instructions.
#pragma once

#include "sysinfo/cpuid_source.h"
#include "sysinfo/processor_clock.h"

namespace sysinfo {

// Whether instructions run that the processor has but the operating system may not let through: one of each kind is
// tried under a guard. In a build without guards such an instruction ends the program.
bool sse_runs();
bool time_stamp_counter_runs();

class MachineCpuid : public CpuidSource {
public:
    bool available() override;
    CpuidRegisters read(uint32_t leaf, uint32_t subleaf) override;
};

// The counter is that of QueryPerformanceCounter.
class MachineClock : public ClockSource {
public:
    bool time_stamp_usable() override;
    uint64_t time_stamp() override;
    uint64_t counter() override;
    uint64_t frequency() override;
    void scan_bits(uint32_t count) override;
};

} // namespace sysinfo
