// The memory of report objects, by the operators of both classes. Hosts that were built without these operators make
// theirs in a heap of their runtime's, but to delete one always ends here, in the virtual destructor. So each block of
// the library's has a mark in front; a block without it is looked for in the process's heaps, one after another.
#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>
#include <windows.h>

#include "base/genlib_error.h"
#include "include/wendax.h"

namespace {

// Stands in front of each block of the library's, and tells it from any other.
struct Mark {
    const Mark* library; // the one below
    Mark* allocated;
};
static_assert(sizeof(Mark) == 2 * sizeof(void*), "the block behind it is aligned as the heap's blocks are");

const Mark kOwn = {};

// None of the library's blocks begins a page: of the others that do, nothing may be in front.
bool begins_page(const void* block) {
    return (reinterpret_cast<uintptr_t>(block) & 0xFFF) < sizeof(Mark);
}

// Which heap a runtime has, differs: the process's, or one of its own.
void give_back(void* block) {
    HANDLE heaps[256];
    constexpr DWORD kCapacity = sizeof heaps / sizeof *heaps;
    const DWORD found = GetProcessHeaps(kCapacity, heaps); // if there are more it answers their number and gives none
    for (DWORD i = 0; found <= kCapacity && i < found; ++i) {
        if (HeapValidate(heaps[i], 0, block)) {
            HeapFree(heaps[i], 0, block);
            return;
        }
    }
}

// Memory in the library's heap; null when there is none.
void* allocate(size_t size) noexcept {
    Mark* const allocated = static_cast<Mark*>(malloc(2 * sizeof(Mark) + size));
    if (!allocated)
        return nullptr;
    Mark* const mark = begins_page(allocated + 1) ? allocated + 1 : allocated;
    *mark = {&kOwn, allocated};
    return mark + 1;
}

// Gives a block back to the heap that it came from: the library's, or the first of the process's in which it is a valid
// block. One that is in none of them stays.
void release(void* block) noexcept {
    if (!block)
        return;
    Mark* const mark = static_cast<Mark*>(block) - 1;
    if (!begins_page(block) && mark->library == &kOwn) {
        mark->library = nullptr; // a fault within the freeing frees it no second time
        free(mark->allocated);
    } else {
        give_back(block);
    }
}

} // namespace

#define REPORT_MEMORY(Report)                                                                                          \
    void* Report::operator new(size_t size) {                                                                          \
        if (void* const block = allocate(size))                                                                        \
            return block;                                                                                              \
        gen::throw_out_of_memory();                                                                                    \
    }                                                                                                                  \
    void* Report::operator new(size_t size, const std::nothrow_t&) noexcept {                                          \
        return allocate(size);                                                                                         \
    }                                                                                                                  \
    void* Report::operator new(size_t, void* place) noexcept {                                                         \
        return place;                                                                                                  \
    }                                                                                                                  \
    void Report::operator delete(void* block) noexcept {                                                               \
        release(block);                                                                                                \
    }                                                                                                                  \
    void Report::operator delete(void* block, const std::nothrow_t&) noexcept {                                        \
        release(block);                                                                                                \
    }                                                                                                                  \
    void Report::operator delete(void*, void*) noexcept {}

REPORT_MEMORY(CCrashReport)
REPORT_MEMORY(CCrashReport2)
