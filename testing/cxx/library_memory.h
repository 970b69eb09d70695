// The memory of the Wendax.dll that is loaded: counted, and refused from a moment on.
#pragma once

#include <windows.h>

#include "testing/cxx/import_slot.h"

class LibraryMemory {
public:
    // Gets between the library and its heap; false when it can't.
    static bool watch() {
        HMODULE const library = GetModuleHandleA("Wendax.dll");
        s_alloc = replace_import(library, "kernel32.dll", "HeapAlloc", alloc);
        s_free = replace_import(library, "kernel32.dll", "HeapFree", free);
        return s_alloc && s_free;
    }

    inline static int blocks;     // that the library holds of those from after watch()
    inline static bool exhausted; // the library gets none

private:
    static void* WINAPI alloc(HANDLE heap, DWORD flags, SIZE_T size) {
        void* const block = exhausted ? nullptr : s_alloc(heap, flags, size);
        s_heap = heap; // it allocates from no other one
        blocks += block != nullptr;
        return block;
    }

    static BOOL WINAPI free(HANDLE heap, DWORD flags, void* block) {
        const BOOL freed = s_free(heap, flags, block);
        blocks -= freed && heap == s_heap;
        return freed;
    }

    inline static decltype(HeapAlloc)* s_alloc;
    inline static decltype(HeapFree)* s_free;
    inline static HANDLE s_heap;
};
