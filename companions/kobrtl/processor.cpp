// Asks CPUID; AVX2 counts only where the operating system keeps the wide registers, too.
#include "companions/kobrtl/processor.h"

#if defined(__i386__) || defined(__x86_64__)

#include <cpuid.h>

#include "companions/kobrtl/wide_registers.h"

namespace kobrtl {

namespace {

Processor look() {
    constexpr unsigned kSse2 = 1u << 26, kFma = 1u << 12, kAvx2 = 1u << 5;
    Processor found = {};
    unsigned a = 0, b = 0, c = 0, d = 0;
    if (!__get_cpuid(1, &a, &b, &c, &d))
        return found;
    found.sse2 = d & kSse2;
    if (!(c & kFma) || !system_keeps(registers_of_avx, c))
        return found;
    found.avx2_and_fma = __get_cpuid_count(7, 0, &a, &b, &c, &d) && (b & kAvx2);
    return found;
}

} // namespace

const Processor& processor() {
    static const Processor kFound = look();
    return kFound;
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
