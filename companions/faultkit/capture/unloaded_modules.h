// The loader's record of modules that were unloaded, in which each has a sequence number.
#pragma once

#include "companions/faultkit/capture/module_table.h"
#include "companions/faultkit/memory.h"

namespace faultkit {

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
