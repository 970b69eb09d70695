// Calls that must not fault.
#pragma once

namespace glib {

// Calls function(context); true when it returned, false when it ended in a structured exception (a hardware fault or a
// C++ exception alike), which is swallowed. What the function held is not released then. After an overflow of the stack
// its guard page is put back. Where the compiler knows no structured exceptions the call is a plain one.
bool call_guarded(void (*function)(void* context), void* context);

} // namespace glib
