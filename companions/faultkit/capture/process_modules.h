// The modules of the process, those that were unloaded, and its memory in words.
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

// The loader's record of modules that were unloaded, in which each has a sequence number (unloaded_modules_win.cpp)

// What the record holds because of this library, which loads and frees the debugging library: nothing of the host's.
class OwnUnloads {
public:
    // The sequence numbers from `begin` up to, not including, `end`; may be none. Consecutive stretches become one;
    // more than four are not made between two faults.
    void add(uint32_t begin, uint32_t end);
    bool contains(uint32_t sequence) const;

private:
    struct Stretch {
        uint32_t begin, end;
    };
    Stretch m_stretches[4];
    unsigned m_count;
};

// Adds what the loader remembers of modules that are gone, but for our own; nothing on systems that keep no such
// record.
void list_unloaded_modules(Memory& memory, const OwnUnloads& own, ModuleTable* modules);

// The sequence number that the next unloaded module will get, as far as the record tells.
uint32_t next_unload_sequence(Memory& memory);

} // namespace faultkit
