#include "report/report_memory.h"

#include <stdlib.h>
#include <windows.h>

#include "report/crash_report.h"
#include "report/crash_report2.h"
#include "win/fault_guard.h"

namespace report {

namespace {

// Stands in front of each block of the library's, and tells it from any other.
struct Mark {
    const Mark* library; // the one below
    void* block;
};
static_assert(sizeof(Mark) == 8, "the block behind it is aligned as the heap's blocks are");

const Mark own = {};

// Which heap a runtime has, differs: the process's, or one of its own.
void give_back(void* block) {
    HANDLE heaps[256];
    constexpr DWORD room = sizeof heaps / sizeof *heaps;
    const DWORD found = GetProcessHeaps(room, heaps); // answers more than the room, and gives none, if there are more
    for (DWORD i = 0; found <= room && i < found; ++i) {
        if (HeapValidate(heaps[i], 0, block)) {
            HeapFree(heaps[i], 0, block);
            return;
        }
    }
}

} // namespace

void* allocate(size_t size) noexcept {
    Mark* const mark = static_cast<Mark*>(malloc(sizeof(Mark) + size));
    if (!mark)
        return nullptr;
    *mark = {&own, mark + 1};
    return mark + 1;
}

void release(void* block) noexcept {
    if (!block)
        return;
    Mark* const mark = static_cast<Mark*>(block) - 1;
    bool of_library = false;
    // A block of others may have nothing in front of it.
    win::run_guarded([&] { of_library = mark->library == &own && mark->block == block; });
    if (of_library) {
        *mark = {}; // a fault within the freeing frees it no second time
        free(mark);
    } else {
        give_back(block);
    }
}

} // namespace report

namespace {

void* allocate_or_throw(size_t size) {
    void* const block = report::allocate(size);
    if (!block)
        gen::throw_out_of_memory();
    return block;
}

} // namespace

void* CCrashReport::operator new(size_t size) {
    return allocate_or_throw(size);
}
void* CCrashReport::operator new(size_t size, const std::nothrow_t&) noexcept {
    return report::allocate(size);
}
void* CCrashReport::operator new(size_t, void* place) noexcept {
    return place;
}
void CCrashReport::operator delete(void* block) noexcept {
    report::release(block);
}
void CCrashReport::operator delete(void* block, const std::nothrow_t&) noexcept {
    report::release(block);
}
void CCrashReport::operator delete(void*, void*) noexcept {}

void* CCrashReport2::operator new(size_t size) {
    return allocate_or_throw(size);
}
void* CCrashReport2::operator new(size_t size, const std::nothrow_t&) noexcept {
    return report::allocate(size);
}
void* CCrashReport2::operator new(size_t, void* place) noexcept {
    return place;
}
void CCrashReport2::operator delete(void* block) noexcept {
    report::release(block);
}
void CCrashReport2::operator delete(void* block, const std::nothrow_t&) noexcept {
    report::release(block);
}
void CCrashReport2::operator delete(void*, void*) noexcept {}
