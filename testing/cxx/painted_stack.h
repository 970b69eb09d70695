// How deep into the stack something goes: what lies below is painted first, and looked at afterwards.
#pragma once

#include <stdint.h>

constexpr unsigned kPaintedStack = 700 * 1024; // bytes; less than the stack has
constexpr unsigned char kStackPaint = 0xA5;

// Says where the lowest painted byte is.
__attribute__((noinline)) inline void paint_stack(uintptr_t* lowest) {
    volatile unsigned char block[kPaintedStack];
    for (unsigned i = kPaintedStack; i-- > 0;) // downwards, as the guard page has to be met
        block[i] = kStackPaint;
    *lowest = reinterpret_cast<uintptr_t>(block);
}

// The bytes that the work takes with all that it calls, the system's own frames included.
template <class Work>
unsigned stack_taken_by(Work work) {
    uintptr_t lowest;
    paint_stack(&lowest);
    work();
    const auto* const painted = reinterpret_cast<const volatile unsigned char*>(lowest);
    unsigned untouched = 0;
    while (untouched < kPaintedStack && painted[untouched] == kStackPaint)
        ++untouched;
    return kPaintedStack - untouched;
}
