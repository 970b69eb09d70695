// atexit of one image: msvcrt's own would call into a DLL that has already been unloaded.
#include "crt/startup.h"

typedef void(__cdecl* ExitFunction)();

namespace {

constexpr unsigned kMost = 32; // static objects with destructors are few; atexit reports when there are more
ExitFunction exit_functions[kMost];
unsigned exit_count;

} // namespace

extern "C" int __cdecl atexit(ExitFunction function) {
    if (exit_count == kMost)
        return 1;
    exit_functions[exit_count++] = function;
    return 0;
}

namespace crt {

void run_exit_functions() {
    while (exit_count)
        exit_functions[--exit_count]();
}

} // namespace crt
