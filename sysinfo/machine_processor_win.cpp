// The instructions themselves (CPUID, RDTSC, BSF), and the construction of the processor object from them.
#include "sysinfo/machine_processor.h"

#include <windows.h>
#include <x86intrin.h>

#include "sysinfo/processor_info.h"
#include "win/guard.h"

namespace sysinfo {

bool sse_runs() {
    return win::run_guarded(win::kSwallowAll, [] { asm volatile("xorps %%xmm0, %%xmm0" ::: "xmm0"); });
}

bool time_stamp_counter_runs() {
    return win::run_guarded(win::kSwallowAll, [] { asm volatile("rdtsc" ::: "eax", "edx"); });
}

// A processor has CPUID if the identification flag can be changed.
bool MachineCpuid::available() {
    constexpr uint32_t kIdentification = 0x200000;
    const auto before = __readeflags();
    __writeeflags(before ^ kIdentification);
    const auto after = __readeflags();
    __writeeflags(before);
    return ((before ^ after) & kIdentification) != 0;
}

CpuidRegisters MachineCpuid::read(uint32_t leaf, uint32_t subleaf) {
    CpuidRegisters registers;
    asm volatile("cpuid"
                 : "=a"(registers.eax), "=b"(registers.ebx), "=c"(registers.ecx), "=d"(registers.edx)
                 : "a"(leaf), "c"(subleaf));
    return registers;
}

bool MachineClock::time_stamp_usable() {
    return time_stamp_counter_runs();
}

uint64_t MachineClock::time_stamp() {
    return __builtin_ia32_rdtsc();
}

uint64_t MachineClock::counter() {
    LARGE_INTEGER value = {};
    QueryPerformanceCounter(&value);
    return static_cast<uint64_t>(value.QuadPart);
}

uint64_t MachineClock::frequency() {
    LARGE_INTEGER value = {};
    return QueryPerformanceFrequency(&value) ? static_cast<uint64_t>(value.QuadPart) : 0;
}

void MachineClock::scan_bits(uint32_t count) {
    // BSF begins at the lowest bit and finds this one last.
    asm volatile("1:\n\t"
                 "bsfl %1, %%eax\n\t"
                 "decl %0\n\t"
                 "jnz 1b"
                 : "+r"(count)
                 : "r"(0x80000000u)
                 : "eax", "cc");
}

} // namespace sysinfo

CProcessorInfo::CProcessorInfo() {
    sysinfo::MachineCpuid cpuid;
    sysinfo::MachineClock clock;
    // What is identified stays when measuring meets a fault, which a hook of the performance counter may have.
    win::run_guarded([&] { Identify({cpuid, clock, sysinfo::sse_runs}); });
    win::run_guarded([&] { MeasureClock(clock); });
}
