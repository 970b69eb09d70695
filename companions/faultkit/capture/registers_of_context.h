// The registers in the system's record of them. One source for each kind of process.
#pragma once

#include <windows.h>

#include "companions/faultkit/capture/fault_facts.h"

namespace faultkit {

// How much of a CONTEXT there is at least: the older part, without the extended registers at the end of a 32-bit one.
extern const uint32_t kShortestContext; // bytes

Address instruction_of(const CONTEXT& context);
void copy_registers(const CONTEXT& context, Registers* registers);
// Leaves out what the context doesn't hold.
void copy_float_state(const CONTEXT& context, FloatState* state);

} // namespace faultkit
