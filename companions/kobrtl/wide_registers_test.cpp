#include "companions/kobrtl/wide_registers.h"

#if defined(__i386__) || defined(__x86_64__)

#include <cpuid.h>

#include <gtest/gtest.h>

namespace {

unsigned features() {
    unsigned eax, ebx, ecx, edx;
    return __get_cpuid(1, &eax, &ebx, &ecx, &edx) ? ecx : 0;
}

bool has_avx() {
    return features() & bit_AVX && kobrtl::system_keeps(kobrtl::registers_of_avx, features());
}

unsigned sse_settings() {
    unsigned settings;
    __asm__ volatile("stmxcsr %0" : "=m"(settings));
    return settings;
}

TEST(WideRegisters, Are_not_kept_by_a_system_that_does_not_say_so) {
    EXPECT_FALSE(kobrtl::system_keeps(kobrtl::registers_of_avx, features() & ~(1u << 27)));
}

TEST(WideRegisters, Are_left_with_the_settings_of_SSE_as_they_were) {
    if (!has_avx())
        GTEST_SKIP() << "this processor lacks AVX";
    const unsigned before = sse_settings();
    const unsigned upwards = before | 1u << 14; // the rounding mode
    __asm__ volatile("ldmxcsr %0" : : "m"(upwards));
    kobrtl::leave_wide_registers();
    const unsigned after = sse_settings();
    __asm__ volatile("ldmxcsr %0" : : "m"(before));
    EXPECT_EQ(after, upwards);
}

#if defined(__i386__)
// In 64-bit programs VZEROUPPER does all, and nothing is left to do.
TEST(WideRegisters, Are_left_with_their_upper_halves_clear_and_their_lower_ones_untouched) {
    if (!has_avx())
        GTEST_SKIP() << "this processor lacks AVX";
    unsigned halves[8];
    __asm__ volatile("vxorps %%ymm7, %%ymm7, %%ymm7\n\t"
                     "vcmpps $0, %%ymm7, %%ymm7, %%ymm7" // equal: all bits set
                     :
                     :
                     : "xmm7");
    kobrtl::leave_wide_registers();
    __asm__ volatile("vmovups %%ymm7, %0" : "=m"(halves));
    for (unsigned i = 0; i < 8; ++i)
        EXPECT_EQ(halves[i], i < 4 ? ~0u : 0u) << i;
}
#endif

} // namespace

#endif
