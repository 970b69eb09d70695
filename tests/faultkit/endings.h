// Ends of programs that are no faults, as the crash-report library raises them; and C++ exceptions that nobody catches.
#pragma once

#include <windows.h>

// Comes to that end; false when there is none of that name. terminate, terminate-bare, terminate-throw, pure-call,
// invalid-parameter, invalid-unknown, abort, of C++ exceptions throw-derived, throw-text; and deep-write, a fault 1,000
// calls deep.
bool commit_ending(const char* name);
