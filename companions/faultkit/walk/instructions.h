// Lengths of instructions, as far as calls and functions are found by them.
#pragma once

#include <stdint.h>

namespace faultkit {

// A number of four bytes in code.
inline uint32_t four_bytes(const uint8_t* bytes) {
    return bytes[0] | bytes[1] << 8 | bytes[2] << 16 | static_cast<uint32_t>(bytes[3]) << 24;
}

// Length of an instruction with a ModRM byte at `code`, without prefix and immediate operand. Looks at three bytes at
// most.
uint32_t length_with_modrm(const uint8_t* code);

constexpr uint32_t kLongestCall = 7; // bytes: FF, ModRM, SIB and four bytes of displacement

// Length of the call through a register or memory that ends at `end`, 0 when there is none. `before` bytes in front of
// end can be looked at, and one behind it.
uint32_t length_of_indirect_call_before(const uint8_t* end, uint32_t before);

// By which functions of 32-bit code are found (x86/instructions.cpp)

// Length of an instruction that compilers mix into a prologue and that leaves the stack alone; 0 for any other.
uint32_t length_of_neutral(const uint8_t* code);

// Length of the filler instruction at the start of [code, code + size), 0 when it is none: nop in its short and long
// forms, and "mov edi, edi" and "lea reg, [reg + 0]" in the forms that assemblers pad with.
uint32_t length_of_filler(const uint8_t* code, uint32_t size);

} // namespace faultkit
