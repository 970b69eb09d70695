// The modules that are, and were, in the process.
#pragma once

#include "companions/faultkit/capture/memory.h"
#include "companions/faultkit/capture/module_table.h"

namespace faultkit {

// Fills the table from the address space itself: the loader's own list lies in the heap that may be broken, and behind
// a lock that another thread may hold for ever. No heap, no lock. A module that `known` (null for none) has with its
// name isn't asked for it again.
void list_process_modules(Memory& memory, const ModuleTable* known, ModuleTable* modules);

// A stretch of the loader's record of unloaded modules: the sequence numbers from `begin` up to, not including, `end`.
struct UnloadStretch {
    uint32_t begin, end;
};

// Adds what the loader remembers of modules that are gone, except those in `ignored`; nothing on systems that keep no
// such record.
void list_unloaded_modules(Memory& memory, const UnloadStretch* ignored, unsigned ignored_count, ModuleTable* modules);

// The sequence number that the next unloaded module will get, as far as the record tells.
uint32_t next_unload_sequence(Memory& memory);

// What is at an address, in words ("free memory", "read-only memory of host.exe"...). Constant text.
const char* describe_memory_at(uint32_t address);

} // namespace faultkit
