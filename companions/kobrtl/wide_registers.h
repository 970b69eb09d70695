// The vector registers beyond the 16 bytes that SSE code uses: those of AVX (32 bytes) and AVX-512 (64 bytes). For x86
// only.
#pragma once

#include <stdint.h>

namespace kobrtl {

// State components as the processor numbers them (Intel SDM vol. 1, 13.1).
enum WideRegisters : unsigned {
    registers_of_avx = 0x06,    // XMM and the upper halves of YMM
    registers_of_avx512 = 0xE6, // these, the masks, the upper halves of ZMM, and ZMM16 to 31
};

// Whether the system keeps these registers when it switches threads; without it they must not be used.
// features: what CPUID leaf 1 gives in ECX.
inline bool system_keeps(WideRegisters registers, unsigned features) {
    constexpr unsigned kSystemUsesXsave = 1u << 27;
    if (!(features & kSystemUsesXsave))
        return false;
    unsigned low, high;
    __asm__ volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return (low & registers) == registers;
}

// To be called, from a function that uses none of them, behind one that used wide registers. The compiler ends such a
// function with VZEROUPPER, which in a 32-bit program clears only the eight that it can reach. Some processors (AMD's
// Zen 4) go on minding upper halves then, and run SSE code at down to a quarter of its speed until the next switch of
// threads, the host's too. Restoring the initial state of the upper parts heals that, in a tenth of a microsecond;
// without it the host's SSE code took 1.3 (Zen 5) to 2.4 times (Zen 4) as long after a screenshot.
inline void leave_wide_registers() {
#if defined(__i386__)
    constexpr unsigned kUpperParts = registers_of_avx512 & ~3u;
    struct alignas(64) {
        uint32_t legacy[128];
        uint64_t saved_components[8]; // none: all that are restored get their initial state
    } area;
    for (uint64_t& word : area.saved_components)
        word = 0;
    __asm__ volatile("stmxcsr %1\n\t" // is restored along with the upper halves of YMM
                     "xrstor %0"
                     : "+m"(area), "=m"(area.legacy[6])
                     : "a"(kUpperParts), "d"(0));
#endif
}

} // namespace kobrtl
