// GCC has no structured exceptions, so its build asks Windows what Windows lets through.
#include <windows.h>

#include "sysinfo/instruction_guard.h"

namespace sysinfo {

bool sse_runs() {
    return IsProcessorFeaturePresent(PF_XMMI_INSTRUCTIONS_AVAILABLE);
}

bool time_stamp_counter_runs() {
    return IsProcessorFeaturePresent(PF_RDTSC_INSTRUCTION_AVAILABLE);
}

} // namespace sysinfo
