// What gated calls have opened and not closed.
#pragma once

#include <windows.h>

struct Held {
    const char* kind;
    uintptr_t value;
    const void* caller; // where it was opened
};

void opened(const char* kind, uintptr_t value, const void* caller);
void closed(const char* kind, uintptr_t value);

unsigned held_count();
void for_each_held(void (*visit)(const Held& held));

// Forgets what is held: it went with its library. The libraries among it are let go.
void drop_held();
