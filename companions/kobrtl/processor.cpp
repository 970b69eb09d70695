#include "companions/kobrtl/processor.h"

#if defined(__i386__) || defined(__x86_64__)

#include <cpuid.h>

namespace kobrtl {

namespace {

// Which register sets the operating system saves when it switches threads.
unsigned saved_registers() {
    unsigned low, high;
    __asm__ volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return low;
}

Processor look() {
    constexpr unsigned kSse2 = 1u << 26, kFma = 1u << 12, kSystemUsesXsave = 1u << 27, kAvx2 = 1u << 5;
    constexpr unsigned kXmmAndYmm = 6;
    Processor found = {};
    unsigned a = 0, b = 0, c = 0, d = 0;
    if (!__get_cpuid(1, &a, &b, &c, &d))
        return found;
    found.sse2 = d & kSse2;
    const bool fma = c & kFma;
    if (!(c & kSystemUsesXsave) || (saved_registers() & kXmmAndYmm) != kXmmAndYmm)
        return found;
    found.avx2_and_fma = fma && __get_cpuid_count(7, 0, &a, &b, &c, &d) && (b & kAvx2);
    return found;
}

} // namespace

const Processor& processor() {
    static const Processor found = look();
    return found;
}

} // namespace kobrtl

#else

namespace kobrtl {

const Processor& processor() {
    static const Processor found = {};
    return found;
}

} // namespace kobrtl

#endif
