// Lengths of the 32-bit instructions by which functions are found.
#pragma once

#include <stdint.h>

namespace faultkit {

// Length of an instruction that compilers mix into a prologue and that leaves the stack alone; 0 for any other.
uint32_t length_of_neutral(const uint8_t* code);

// Length of the filler instruction at the start of [code, code + size), 0 when it is none: nop in its short and long
// forms, and "mov edi, edi" and "lea reg, [reg + 0]" in the forms that assemblers pad with.
uint32_t length_of_filler(const uint8_t* code, uint32_t size);

} // namespace faultkit
