// Where a function of 32-bit code begins, and whether it keeps a frame pointer, found without debugging information.
#pragma once

#include <stdint.h>

#include "companions/faultkit/memory.h"
#include "companions/faultkit/module_table.h"

namespace faultkit {

struct FunctionBounds {
    // 0 when unknown. May be an earlier function's, or some instructions inside a framed one: at its push.
    uint32_t start;
    bool framed;   // keeps its frame pointer in ebp
    uint32_t push; // of a framed function: address of its "push ebp"; 0 when something else sets the frame up
};

// The least number of bytes that the function at `start` has taken of the stack, below its return address, when it
// executes `address`: what its first instructions push and reserve. 0 when nothing can be told.
uint32_t stack_taken(Memory& memory, uint32_t start, uint32_t address);

// Looks back from `address`, at most 64 KB, for the gap between two functions. Reads code of one section only.
FunctionBounds find_function(Memory& memory, const ModuleTable& modules, uint32_t address);

// How many bytes may come before the "push ebp" of a framed function.
constexpr uint32_t kPrologueReach = 12;

// How far find_function looks back.
constexpr uint32_t kLargestFunction = 0x10000;

} // namespace faultkit
