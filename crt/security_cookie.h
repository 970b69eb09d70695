// The value that guarded functions put between their buffers and their return address, and compare before they return.
#pragma once
#include <stdint.h>

extern "C" uintptr_t __security_cookie;

namespace crt {

// Gives the cookie a value of this process's own, unless the loader has done so. For an image's entry point, before any
// guarded function runs: one that is on the stack meanwhile would find its cookie changed.
void make_security_cookie();

} // namespace crt
