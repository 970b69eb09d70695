// What a member that shows something, or reads the library's resources, has around it.
#pragma once

#include <afxwin.h>

// This library's own module.
HINSTANCE library_module();

namespace report {

// Calls function(context) with the library's resources and floating-point settings of its own, and puts back those that
// were current, also where a fault or an exception passes.
void call_as_library(void (*function)(void* context), void* context);

template <class Callable>
void call_as_library(Callable callable) {
    call_as_library([](void* context) { (*static_cast<Callable*>(context))(); }, &callable);
}

} // namespace report
