#include "tests/faultkit/guest.h"

#include <windows.h>

namespace {

volatile int zero = 0;
volatile int calls;

__attribute__((noinline)) int fault_inside(int depth) {
    calls = depth;
    *reinterpret_cast<volatile int*>(zero) = depth; // mark: fault_inside
    return depth;
}

} // namespace

extern "C" {

int __cdecl guest_fault() {
    return fault_inside(calls) + 1; // mark: guest_fault
}

int __cdecl guest_call(void(__cdecl* function)()) {
    function(); // mark: guest_call
    calls = calls + 1;
    return calls;
}
}
