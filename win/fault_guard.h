// Calls into code of other makers, which may fault: drivers, helpers, whatever the host's process has loaded.
#pragma once

namespace win {

// Calls function(context). True when it returned; false when it ended in a hardware fault, which is swallowed; what it
// held is released on the way out. C++ exceptions pass, and so does a stack overflow. Without structured exceptions in
// the compiler (the mingw ring) it is a plain call.
bool run_guarded(void (*function)(void* context), void* context);

// The same for anything that can be called without arguments.
template <class Callable>
bool run_guarded(Callable callable) {
    return run_guarded([](void* context) { (*static_cast<Callable*>(context))(); }, &callable);
}

} // namespace win
