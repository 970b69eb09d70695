// Each block of the library's has a mark in front. A block without it is looked for in the process's heaps, one after
// another. The operators of both report classes are below.
#include "report/report_memory.h"

#include <stdint.h>
#include <stdlib.h>
#include <windows.h>

#include "base/genlib_error.h"
#include "include/wendax.h"

namespace report {

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

} // namespace

void* allocate(size_t size) noexcept {
    Mark* const allocated = static_cast<Mark*>(malloc(2 * sizeof(Mark) + size));
    if (!allocated)
        return nullptr;
    Mark* const mark = begins_page(allocated + 1) ? allocated + 1 : allocated;
    *mark = {&kOwn, allocated};
    return mark + 1;
}

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

} // namespace report

#define REPORT_MEMORY(Report)                                                                                          \
    void* Report::operator new(size_t size) {                                                                          \
        if (void* const block = report::allocate(size))                                                                \
            return block;                                                                                              \
        gen::throw_out_of_memory();                                                                                    \
    }                                                                                                                  \
    void* Report::operator new(size_t size, const std::nothrow_t&) noexcept {                                          \
        return report::allocate(size);                                                                                 \
    }                                                                                                                  \
    void* Report::operator new(size_t, void* place) noexcept {                                                         \
        return place;                                                                                                  \
    }                                                                                                                  \
    void Report::operator delete(void* block) noexcept {                                                               \
        report::release(block);                                                                                        \
    }                                                                                                                  \
    void Report::operator delete(void* block, const std::nothrow_t&) noexcept {                                        \
        report::release(block);                                                                                        \
    }                                                                                                                  \
    void Report::operator delete(void*, void*) noexcept {}

REPORT_MEMORY(CCrashReport)
REPORT_MEMORY(CCrashReport2)
