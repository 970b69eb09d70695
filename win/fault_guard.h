// Calls into code of other makers, which may fault or throw: drivers, helpers, whatever the host's process has loaded.
#pragma once

// What the translator throws, as a char*, in place of a fault. Nobody may write to it.
extern const char kExceptionMarker[];

namespace win {

// Calls function(context). True when it returned; false when it ended in a hardware fault or in a C++ exception of
// other makers, which is swallowed; what it held is released on the way out, what such an exception owned is not. Three
// things pass: the library's own exceptions (gen::genlib_error), the translator's marker, and a stack overflow. Inside,
// no exception is caught to be thrown again: what a bare `throw` throws can't be told and counts as foreign. Without
// structured exceptions in the compiler (the mingw ring) it is a plain call.
bool run_guarded(void (*function)(void* context), void* context);

// The same for anything that can be called without arguments.
template <class Callable>
bool run_guarded(Callable callable) {
    return run_guarded([](void* context) { (*static_cast<Callable*>(context))(); }, &callable);
}

} // namespace win
