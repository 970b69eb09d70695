// The modules of the process, and its memory in words.
#pragma once

#include "companions/faultkit/capture/module_table.h"
#include "companions/faultkit/capture/process_facts.h"
#include "companions/faultkit/memory.h"

namespace faultkit {

// Fills the table from the address space itself: the loader's own list lies in the heap that may be broken, and behind
// a lock that another thread may hold for ever. No heap, no lock. *space: what is free, of what was walked.
void list_process_modules(Memory& memory, ModuleTable* modules, AddressSpace* space);

// What is at an address, in words ("free memory", "read-only memory of host.exe"...). Constant text.
const char* describe_memory_at(Address address);

// A name of the system's in the ANSI code page, NUL-terminated. One that has no form there is "?", and the answer
// false.
bool to_ansi(const wchar_t* text, unsigned length, char* to, unsigned size);

} // namespace faultkit
