// Counts what the transport holds, and notes what it asks for. Linked into a host, these stand in for the C runtime's
// allocator and for WinINet's opening and closing calls, and hand each call on to the real one.
#pragma once

struct HeldCounts {
    int blocks;  // from malloc, calloc or realloc, and not freed
    int handles; // of WinINet, without the call that closes them
};

HeldCounts held_counts();

// The opening calls since the last time, in their order, each with its arguments: "-" for null, "" for an empty text,
// flags in hex. The text is good until the next opening call.
const char* opening_calls();
