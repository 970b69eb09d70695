// Counts what the transport holds, and notes what it asks for. Linked into a host, this is the C runtime's allocator,
// too.
#pragma once

#include <stddef.h>

struct HeldCounts {
    int blocks;  // from malloc, calloc or realloc, and not freed
    int handles; // of WinINet, without the call that closes them
};

// From here on WinINet's opening and closing calls are noted and counted on their way; false when they can't be.
bool watch_wininet();

HeldCounts held_counts();

// From here on blocks of more bytes than this are refused; and so is, once, the nth of all (1 is the next, 0 none).
void refuse_blocks(size_t larger_than, int nth);

// The opening calls since the last time, in their order, each with its arguments: "-" for null, "" for an empty text,
// flags in hex. The text is good until the next opening call.
const char* opening_calls();
