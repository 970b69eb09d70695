// What stands before a return address: the call that pushed it, and where that call went.
#pragma once

#include <stdint.h>

#include "companions/faultkit/memory.h"
#include "companions/faultkit/capture/module_table.h"

namespace faultkit {

struct CallSite {
    enum Kind : uint8_t {
        kNone,     // no call ends there: not a return address
        kKnown,    // a call whose target can be told: relative, or through a fixed place in memory
        kComputed, // a call through a register or a table: anything may have been called
    };
    Kind kind;
    uint32_t target;     // of kKnown: the function entered, jump stubs followed
    uint32_t length = 0; // of the call instruction, in bytes
};

// Decodes the call that ends at `address`. In a module that was unloaded there is nothing left to decode, and any
// address passes as behind a computed call.
CallSite find_call_before(Memory& memory, const ModuleTable& modules, uint32_t address);

// The bytes of arguments that are pushed right before the instruction at `address`.
uint32_t arguments_pushed_before(Memory& memory, uint32_t address);

} // namespace faultkit
