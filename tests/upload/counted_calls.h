// Counts what the transport holds. Linked into a host, these stand in for the C runtime's allocator and for WinINet's
// opening and closing calls, and hand each call on to the real one.
#pragma once

struct HeldCounts {
    int blocks;  // from malloc, calloc or realloc, and not freed
    int handles; // of WinINet, without the call that closes them
};

HeldCounts held_counts();
