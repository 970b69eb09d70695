// faultkit.dll, the helper library beside the host's executable that describes a fault.
#pragma once

#include <stdint.h>
#include <windows.h>

#include "win/handle.h"

// Loaded for the life of the object. The texts it gives belong to the helper and are good until the next call.
class FaultHelper {
public:
    // Throws gen::genlib_out_of_range when the executable has no path.
    FaultHelper();

    bool loaded() const { return static_cast<bool>(m_library); }
    bool has_reason() const { return m_reason != nullptr; }
    bool has_stack() const { return m_first_line && m_next_line; }

    // The reason in words; may be null.
    const char* reason(EXCEPTION_POINTERS* pointers) const;
    // The stack line by line; null at the end.
    const char* first_stack_line(EXCEPTION_POINTERS* pointers) const;
    const char* next_stack_line(EXCEPTION_POINTERS* pointers) const;

private:
    win::LibraryHandle m_library;
    FARPROC m_reason = nullptr;
    FARPROC m_first_line = nullptr;
    FARPROC m_next_line = nullptr;
};

namespace report {

// Calls an entry of the helper with both arguments, of which it may take fewer, and returns its answer: neither the
// entry's calling convention nor its number of arguments can upset the stack. What it throws or faults with passes
// through.
const char* call_helper(FARPROC entry, uintptr_t first, uintptr_t second);

} // namespace report
