// The sizes of the processor's caches. Pure.
#pragma once

#include <stdint.h>

#include "sysinfo/cpuid_source.h"

namespace sysinfo {

// In kilobytes, -1 where nothing is known. A level is known to be absent with 0. The first level is instruction and
// data cache together; a trace cache, which is measured in micro-operations, doesn't count.
struct CacheSizes {
    int l1 = -1;
    int l2 = -1;
    int l3 = -1;
};

// The descriptor bytes of CPUID leaf 2, collected one by one.
class CacheDescriptors {
public:
    // Family and model as in CPUID leaf 1, raw: one descriptor means another level on one processor.
    CacheDescriptors(uint32_t family, uint32_t model) : m_family(family), m_model(model) {}

    // Adds one descriptor; those that describe no cache, or are not in the published table, change nothing.
    void add(uint8_t descriptor);
    // Adds the descriptors of one read: bytes 1 to 3 of EAX and all bytes of the others, but none of a register whose
    // bit 31 is set.
    void add(const CpuidRegisters& registers);

    CacheSizes sizes() const;
    // Whether descriptor 0xFF was there: leaf 2 tells nothing of caches, leaf 4 does.
    bool refers_to_leaf4() const { return m_refers_to_leaf4; }

private:
    void add_register(uint32_t value, int first_byte);

    uint32_t m_family;
    uint32_t m_model;
    int m_l1_instruction = 0;
    int m_l1_data = 0;
    int m_l2 = -1;
    int m_l3 = -1;
    bool m_last_level_absent = false;
    bool m_refers_to_leaf4 = false;
};

// Every level from the best source that has it: the extended leaves 0x80000005 (first level) and 0x80000006 (second),
// then leaf 2, then, if leaf 2 refers to it, leaf 4. The highest leaves are what leaves 0 and 0x80000000 gave, 0 for
// none.
CacheSizes read_cache_sizes(CpuidSource& cpuid, uint32_t highest_leaf, uint32_t highest_extended_leaf, uint32_t family,
                            uint32_t model);

} // namespace sysinfo
