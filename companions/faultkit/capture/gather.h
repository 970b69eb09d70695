// Asks the system for what is known about the process.
#pragma once

#include "companions/faultkit/capture/process_facts.h"
#include "companions/faultkit/memory.h"

namespace faultkit {

// The time now: UTC, in 100 nanoseconds since 1601.
uint64_t system_time();

// Fills *facts but for the address space and the threads. Each of the system's functions is called under a guard of its
// own: where one faults or fails, what it tells is not known, and the rest is. with_private: also path, command line
// and folder.
void gather_process_facts(Memory& memory, bool with_private, ProcessFacts* facts);

} // namespace faultkit
