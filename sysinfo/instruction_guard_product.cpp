// Tries one instruction of each kind in a __try block: CPUID tells what the processor has, but not whether the system
// lets it through.
#include "sysinfo/instruction_guard.h"

#include <stdint.h>
#include <windows.h>

namespace sysinfo {

namespace {

void execute_sse() {
    asm volatile("xorps %%xmm0, %%xmm0" ::: "xmm0");
}

void read_time_stamp() {
    asm volatile("rdtsc" ::: "eax", "edx");
}

} // namespace

bool runs_without_fault(void (*instruction)()) {
    // Called through a volatile pointer, so that the compiler can't find the call to be harmless and drop the guard.
    void (*volatile const function)() = instruction;
    __try {
        function();
    } __except (EXCEPTION_EXECUTE_HANDLER) {
        return false;
    }
    return true;
}

bool sse_runs() {
    return runs_without_fault(execute_sse);
}

bool time_stamp_counter_runs() {
    return runs_without_fault(read_time_stamp);
}

} // namespace sysinfo
