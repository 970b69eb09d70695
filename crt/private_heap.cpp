// malloc and its kin over a heap of this image's own, in place of the runtime's. A report also has to be made where the
// host has run over the records of its own heap, so none of the report's memory may come from there.
#include <stdint.h>
#include <stdlib.h>
#include <windows.h>

namespace {

HANDLE own_heap;

// Made by the first allocation, which comes while the image is loaded, or on the thread that has loaded it.
HANDLE heap() {
    if (!own_heap)
        own_heap = HeapCreate(0, 0, 0);
    return own_heap;
}

struct HeapEnd {
    ~HeapEnd() {
        if (own_heap)
            HeapDestroy(own_heap);
        own_heap = nullptr;
    }
};

// The first of the image's static objects, so that it is the last to go.
#pragma init_seg(lib)
HeapEnd heap_end;

} // namespace

extern "C" {

void* __cdecl malloc(size_t size) {
    return heap() ? HeapAlloc(own_heap, 0, size) : nullptr;
}

void* __cdecl calloc(size_t count, size_t size) {
    if (size && count > SIZE_MAX / size)
        return nullptr;
    return heap() ? HeapAlloc(own_heap, HEAP_ZERO_MEMORY, count * size) : nullptr;
}

void* __cdecl realloc(void* block, size_t size) {
    if (!block)
        return malloc(size);
    if (size)
        return HeapReAlloc(own_heap, 0, block, size);
    free(block);
    return nullptr;
}

void __cdecl free(void* block) {
    if (block)
        HeapFree(own_heap, 0, block);
}
}
