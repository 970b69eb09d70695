// The modules of the process in fixed storage: which one holds an address, and whether the address is code.
#pragma once

#include <stdint.h>

#include "companions/faultkit/capture/image.h"

namespace faultkit {

struct Module {
    Image image;
    char name[64];  // file name without folder
    bool of_system; // lies in a folder of the operating system
};

// A module that is gone: what the loader remembers about it.
struct UnloadedModule {
    Address base;
    uint32_t size, time_stamp;
    char name[36];
};

// In static storage; clear() comes first.
class ModuleTable {
public:
    static constexpr unsigned kMostModules = 256;
    static constexpr unsigned kMostUnloaded = 16;

    void clear() { m_count = m_left_out = m_unloaded_count = 0; }

    // Storage for the next module: fill it, then call commit(). Null when the table is full; the module is counted.
    Module* next();
    void commit() { ++m_count; }
    // Keeps the newest when there are more than fit, and one of those that came and went again and again: call in the
    // order of unloading.
    void add_unloaded(const UnloadedModule& module);

    // Drops the module at base if it lies where one was unloaded before: it is younger than the fault then.
    void drop_newcomer(Address base);

    unsigned count() const { return m_count; }
    const Module& operator[](unsigned index) const { return m_modules[index]; }
    unsigned left_out() const { return m_left_out; }
    unsigned unloaded_count() const { return m_unloaded_count; }
    const UnloadedModule& unloaded(unsigned index) const { return m_unloaded[index]; }

    // The module that holds the address, or null.
    const Module* find(Address address) const;
    // The newest unloaded module that held the address, or null. Only for addresses that no loaded module holds.
    const UnloadedModule* find_unloaded(Address address) const;
    // Whether the address is code now, or was before its module was unloaded.
    bool is_or_was_code(Address address) const;
    // The executable section that holds the address, or null.
    const CodeRange* find_code(Address address) const;

private:
    void remove_unloaded(unsigned index);

    Module m_modules[kMostModules];
    UnloadedModule m_unloaded[kMostUnloaded];
    unsigned m_count;
    unsigned m_left_out;
    unsigned m_unloaded_count;
};

} // namespace faultkit
