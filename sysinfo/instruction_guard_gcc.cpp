// GCC has no structured exceptions, so its build asks Windows what Windows lets through.
#include <windows.h>

#include "sysinfo/instruction_guard.h"

namespace sysinfo {

bool SseRuns() {
    return IsProcessorFeaturePresent(PF_XMMI_INSTRUCTIONS_AVAILABLE);
}

bool TimeStampCounterRuns() {
    return IsProcessorFeaturePresent(PF_RDTSC_INSTRUCTION_AVAILABLE);
}

} // namespace sysinfo
