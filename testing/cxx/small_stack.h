// A stack of any size, as small as Windows gives to threads that ask for little: Wine makes none below 1 MB.
#pragma once

#include <windows.h>

struct SmallStack {
    char* end;  // one past its highest byte
    char* base; // its lowest byte
};

#ifdef _WIN64
#include "testing/cxx/x64/stack_switch.h"
#else
#include "testing/cxx/x86/stack_switch.h"
#endif

inline void call_on_small_stack(unsigned size, void(__cdecl* function)()) {
    char* const base = static_cast<char*>(VirtualAlloc(nullptr, size, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
    const SmallStack stack = {base + size, base};
    call_on(&stack, function);
    VirtualFree(base, 0, MEM_RELEASE);
}
