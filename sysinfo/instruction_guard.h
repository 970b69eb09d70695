// Whether instructions run that the processor has but the operating system may not let through.
#pragma once

namespace sysinfo {

// Runs a function that executes such an instruction; false if it faults instead of returning. Not in a GCC build.
bool runs_without_fault(void (*instruction)());

bool sse_runs();
bool time_stamp_counter_runs();

} // namespace sysinfo
