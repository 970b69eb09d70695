// The two texts, made with everything at hand: the fault's context, the modules, and the debugging library.
#pragma once

#include <windows.h>

namespace faultkit {

// The caller of any of them holds the lock (lock.h). Texts are in static storage.

// The text of GetFaultReason. Walks the stack too, unless a trace is being read, so that begin_trace needs no symbols
// again.
const char* make_reason(const EXCEPTION_POINTERS* pointers);

// Begins the trace that was walked with the reason of this fault, or walks the stack; false when the pointers lead
// nowhere, so that there is no line.
bool begin_trace(const EXCEPTION_POINTERS* pointers);

// The next line of the walked stack, null at its end or when this thread did not begin it with these pointers.
const char* next_trace_line(unsigned options, const EXCEPTION_POINTERS* pointers);

// Writes a minidump; returns 0 or the system's error code. No file is left behind after an error.
DWORD write_dump(const char* path, EXCEPTION_POINTERS* pointers);

} // namespace faultkit
