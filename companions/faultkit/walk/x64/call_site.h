#pragma once

#include "companions/faultkit/capture/module_table.h"
#include "companions/faultkit/memory.h"

namespace faultkit {

// Whether a call ends in front of the address, so that it may be a return address. In a module that was unloaded there
// is nothing left to decode, and any address passes.
bool is_behind_call(Memory& memory, const ModuleTable& modules, Address address);

// Where the call in front of a return address went, jump stubs followed; 0 where it was computed, or isn't known any
// more.
Address target_of_call_before(Memory& memory, const ModuleTable& modules, Address address);

} // namespace faultkit
