#include "sysinfo/instruction_guard.h"

#include <stdint.h>
#include <windows.h>

namespace sysinfo {

namespace {

void ExecuteSse() {
    asm volatile("xorps %%xmm0, %%xmm0" ::: "xmm0");
}

void ReadTimeStamp() {
    asm volatile("rdtsc" ::: "eax", "edx");
}

} // namespace

bool RunsWithoutFault(void (*instruction)()) {
    // Called through a volatile pointer, so that the compiler can't find the call to be harmless and drop the guard.
    void (*volatile const function)() = instruction;
    __try {
        function();
    } __except (EXCEPTION_EXECUTE_HANDLER) {
        return false;
    }
    return true;
}

bool SseRuns() {
    return RunsWithoutFault(ExecuteSse);
}

bool TimeStampCounterRuns() {
    return RunsWithoutFault(ReadTimeStamp);
}

} // namespace sysinfo
