// Lengths of 32-bit instructions, as far as finding functions and calls takes them.
#pragma once

#include <stdint.h>

namespace faultkit {

// A number of four bytes in code.
inline uint32_t four_bytes(const uint8_t* bytes) {
    return bytes[0] | bytes[1] << 8 | bytes[2] << 16 | static_cast<uint32_t>(bytes[3]) << 24;
}

// Length of an instruction with a ModRM byte at `code`, without its immediate operand. Looks at three bytes at most.
uint32_t length_with_modrm(const uint8_t* code);

// Length of an instruction that compilers mix into a prologue and that leaves the stack alone; 0 for any other.
uint32_t length_of_neutral(const uint8_t* code);

// Length of the filler instruction at the start of [code, code + size), 0 when it is none: nop in its short and long
// forms, and "mov edi, edi" and "lea reg, [reg + 0]" in the forms that assemblers pad with.
uint32_t length_of_filler(const uint8_t* code, uint32_t size);

} // namespace faultkit
