// The end of a stack under Wine, made like that of Windows.
#pragma once

#include <windows.h>

// Puts the guard page of the calling thread's stack so many bytes above its end, where an overflow then begins.
inline void guard_stack_at(ULONG bytes) {
    MEMORY_BASIC_INFORMATION region = {};
    DWORD before;
    VirtualQuery(&region, &region, sizeof region);
    char* const guard = static_cast<char*>(region.AllocationBase) + bytes;
    if (VirtualQuery(guard, &region, sizeof region) && region.State == MEM_COMMIT && region.Protect == PAGE_READWRITE)
        VirtualProtect(guard, 4096, PAGE_READWRITE | PAGE_GUARD, &before);
}

// Puts it in front of what SetThreadStackGuarantee keeps back. Wine commits the whole stack and leaves one guard page
// at its very end, where nothing is left for a handler; on Windows the system does this, and the page isn't committed
// yet. An overflow uses the guard up: call this again before the next one.
inline void guard_stack_reserve() {
    ULONG reserved = 0; // asks for it
    SetThreadStackGuarantee(&reserved);
    guard_stack_at(reserved);
}
