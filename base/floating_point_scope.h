// Floating-point settings of the library's own while it works for a host, whose settings may be any.
#pragma once

#include <stdint.h>

namespace gen {

// From its construction on the thread has the settings that Windows gives to a new one: every exception masked,
// rounding to nearest, 53 bits, nothing pending, an empty x87 stack. Its end brings back the x87 and MMX registers,
// both control words and the status, but for x87 exceptions that were pending: the host's next instruction would fault
// once more. Each entry that a host may call in the middle of a computation works within one. Costs some hundred
// cycles.
class FloatingPointScope {
public:
    FloatingPointScope() noexcept;
    ~FloatingPointScope() { restore(); }
    // What the end does.
    void restore() const noexcept;
    FloatingPointScope(const FloatingPointScope&) = delete;
    FloatingPointScope& operator=(const FloatingPointScope&) = delete;

private:
    struct { // as FNSAVE stores it
        uint32_t control, status, tags, places[4];
        uint8_t registers[80];
    } m_x87;
    uint32_t m_mxcsr;
};

static_assert(sizeof(FloatingPointScope) == 112, "FNSAVE stores 108 bytes");

// Calls function(context) within such a scope, which ends as well where a fault or an exception passes. Entries use
// this and no object of their own: in 64-bit Windows a destructor comes too late for what passes, as unwinding ends
// with the settings that it began with.
void call_with_own_floating_point(void (*function)(void* context), void* context);

template <class Callable>
void call_with_own_floating_point(Callable callable) {
    call_with_own_floating_point([](void* context) { (*static_cast<Callable*>(context))(); }, &callable);
}

} // namespace gen
