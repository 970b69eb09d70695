// What the processor offers and the operating system supports, and the functions that are compiled for it.
#pragma once

// WENDAX_TARGET_BEGIN("sse2") ... WENDAX_TARGET_END: the functions between them are compiled for a processor that has
// the named instructions. A compiler flag for the whole file would also reach the inline functions of the headers it
// includes, and the linker could then give those to everybody.
#define WENDAX_PRAGMA(...) _Pragma(#__VA_ARGS__)
#if defined(__clang__)
#define WENDAX_TARGET_BEGIN(instructions)                                                                              \
    WENDAX_PRAGMA(clang attribute push(__attribute__((target(instructions))), apply_to = function))
#define WENDAX_TARGET_END _Pragma("clang attribute pop")
#else
#define WENDAX_TARGET_BEGIN(instructions) _Pragma("GCC push_options") WENDAX_PRAGMA(GCC target(instructions))
#define WENDAX_TARGET_END _Pragma("GCC pop_options")
#endif

namespace kobrtl {

struct Processor {
    bool sse2;
    bool avx2_and_fma;
};

const Processor& processor(); // found out at the first call

} // namespace kobrtl
