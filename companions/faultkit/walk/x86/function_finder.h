// Finds functions by all evidence there is, and remembers them.
#pragma once

#include <stdint.h>

#include "companions/faultkit/walk/x86/function_bounds.h"
#include "companions/faultkit/memory.h"
#include "companions/faultkit/capture/module_table.h"

namespace faultkit {

// Beside the gaps between functions, direct calls tell where functions start: some compilers pack them without gaps.
// For that the code around an address is searched for calls, as long as a budget of bytes lasts; then the gaps must do.
class FunctionFinder {
public:
    static constexpr uint32_t kBudget = 256 * 1024 * 1024; // some tenths of a second

    // Both references must outlive the finder.
    FunctionFinder(Memory& memory, const ModuleTable& modules) : m_memory(memory), m_modules(modules) {}

    FunctionBounds find(uint32_t address);

private:
    struct Known {
        uint32_t last; // highest address asked for in this function
        FunctionBounds bounds;
    };

    uint32_t find_called(const CodeRange& section, uint32_t after, uint32_t address);

    Memory& m_memory;
    const ModuleTable& m_modules;
    uint32_t m_budget = kBudget;
    Known m_known[64];
    unsigned m_known_count = 0; // ever: the oldest is overwritten
};

} // namespace faultkit
