// One FNSAVE and one FRSTOR carry the whole x87 and MMX state. Of SSE only the control word is kept: its registers are
// the caller's to save. On other processors a scope does nothing.
#include "base/floating_point_scope.h"

namespace gen {

#if defined(__i386__) || defined(__x86_64__)

namespace {

constexpr uint16_t kUsualControl = 0x027F;
constexpr uint32_t kUsualMxcsr = 0x1F80;
constexpr uint32_t kExceptions = 0x3F;
constexpr uint32_t kSummary = 0x8080; // says that one of them is pending

} // namespace

FloatingPointScope::FloatingPointScope() noexcept {
    // FNSAVE leaves the unit as FNINIT would. It is one of the few instructions that a pending exception lets pass.
    __asm__ volatile("fnsave %0\n\t"
                     "fldcw %2\n\t"
                     "stmxcsr %1\n\t"
                     "ldmxcsr %3"
                     : "=m"(m_x87), "=m"(m_mxcsr)
                     : "m"(kUsualControl), "m"(kUsualMxcsr)
                     : "st", "st(1)", "st(2)", "st(3)", "st(4)", "st(5)", "st(6)", "st(7)");
    m_x87.status &= ~(kSummary | (kExceptions & ~m_x87.control));
}

void FloatingPointScope::restore() const noexcept {
    __asm__ volatile("fnclex\n\t"
                     "frstor %0\n\t"
                     "ldmxcsr %1"
                     :
                     : "m"(m_x87), "m"(m_mxcsr)
                     : "st", "st(1)", "st(2)", "st(3)", "st(4)", "st(5)", "st(6)", "st(7)");
}

#else

FloatingPointScope::FloatingPointScope() noexcept = default;
void FloatingPointScope::restore() const noexcept {}

#endif

} // namespace gen
