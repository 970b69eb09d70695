// Where a function of 32-bit code begins, and whether it keeps a frame pointer, found without debugging information.
#pragma once

#include <stdint.h>

#include "companions/faultkit/memory.h"
#include "companions/faultkit/capture/module_table.h"

namespace faultkit {

struct FunctionBounds {
    // 0 when unknown. May be an earlier function's, or some instructions inside a framed one: at its push.
    uint32_t start;
    bool framed;   // keeps its frame pointer in ebp
    uint32_t push; // of a framed function: address of its "push ebp"; 0 when something else sets the frame up
};

// What a function's first instructions have done to the stack by the time that it executes an address.
struct Prologue {
    uint32_t taken;     // bytes between its return address and its stack pointer, at least
    uint32_t saved_ebp; // how far below the return address it keeps its caller's ebp; 0 when it doesn't
    uint32_t scratch;   // bytes taken beyond that, perhaps, by pushes of registers that needn't be kept
};

Prologue read_prologue(Memory& memory, uint32_t start, uint32_t address);

// The function that starts there.
FunctionBounds bounds_of_function(Memory& memory, uint32_t start);

// Whether something ends in front of the address that may be a function's last instruction, or a gap.
bool may_start_function(Memory& memory, const CodeRange& section, uint32_t address);

// Looks back from `address`, at most 64 KB, for the gap between two functions. Reads code of one section only.
FunctionBounds find_function(Memory& memory, const ModuleTable& modules, uint32_t address);

// Places in (after, address] where a function may begin that nothing tells of but the end of code in front of it,
// highest first: behind a return that padding follows up to an aligned place, or any end of code where no padding is
// used. Returns how many, at most `most`.
unsigned list_possible_starts(Memory& memory, const CodeRange& section, uint32_t after, uint32_t address,
                              uint32_t* places, unsigned most);

// To how many bytes compilers align functions.
constexpr uint32_t kAlignment = 16;

// How many bytes may come before the "push ebp" of a framed function.
constexpr uint32_t kPrologueReach = 12;

// How far find_function looks back.
constexpr uint32_t kLargestFunction = 0x10000;

} // namespace faultkit
