// The floating-point state of the calling thread, for programs that put it into one that nobody expects.
#pragma once

#include <string.h>

struct FloatingPoint {
    unsigned control, status, tags; // the upper halves are not defined
    unsigned places[4];
    unsigned char registers[80];
    unsigned mxcsr;
};

// Changes nothing, and lets a pending exception stay one.
inline FloatingPoint floating_point() {
    FloatingPoint found = {};
    __asm__ volatile("fnsave %0\n\tfrstor %0\n\tstmxcsr %1" : "+m"(found), "=m"(found.mxcsr));
    return found;
}

inline void set_floating_point(const FloatingPoint& wanted) {
    __asm__ volatile("fninit\n\tfrstor %0\n\tldmxcsr %1" : : "m"(wanted), "m"(wanted.mxcsr));
}

inline void load_control_word(unsigned short word) {
    __asm__ volatile("fldcw %0" : : "m"(word));
}

// What printf and the like expect.
inline void calm_floating_point() {
    const unsigned mxcsr = 0x1F80;
    __asm__ volatile("fninit\n\tldmxcsr %0" : : "m"(mxcsr));
    load_control_word(0x027F);
}

// Whether a call has left the state as it was, with nothing pending.
inline bool same_floating_point(const FloatingPoint& before, const FloatingPoint& after) {
    constexpr unsigned kLow = 0xFFFF, kTopOfStack = 0x3800;
    const unsigned pending = after.status & ~after.control & 0x3F;
    return ((before.control ^ after.control) & kLow) == 0 && ((before.tags ^ after.tags) & kLow) == 0 &&
           ((before.status ^ after.status) & kTopOfStack) == 0 && !pending && before.mxcsr == after.mxcsr &&
           memcmp(before.registers, after.registers, sizeof before.registers) == 0;
}
