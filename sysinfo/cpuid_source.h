// Where the processor's own answers come from: the machine, or a recording of another one.
#pragma once

#include <stdint.h>

namespace sysinfo {

struct CpuidRegisters {
    uint32_t eax;
    uint32_t ebx;
    uint32_t ecx;
    uint32_t edx;
};

// `count` bits (fewer than 32) of a register's value, from bit `first` up.
constexpr uint32_t bit_field(uint32_t value, int first, int count) {
    return value >> first & ((1u << count) - 1);
}

class CpuidSource {
public:
    // Whether the processor has the instruction; without it nothing must be read.
    virtual bool available() = 0;
    // What CPUID answers for this leaf and subleaf. What a leaf beyond the processor's highest one answers means
    // nothing: ask leaf 0 or 0x80000000 first.
    virtual CpuidRegisters read(uint32_t leaf, uint32_t subleaf) = 0;

protected:
    ~CpuidSource() = default;
};

} // namespace sysinfo
