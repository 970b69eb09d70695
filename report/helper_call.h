// Calling an entry of the helper so that neither its calling convention nor its number of arguments can upset the
// stack.
#pragma once

#include <stdint.h>
#include <windows.h>

namespace report {

// Calls the entry with both arguments, of which it may take fewer, and returns its answer. What it throws or faults
// with passes through.
const char* call_helper(FARPROC entry, uintptr_t first, uintptr_t second);

} // namespace report
