#include "report/report_memory.h"

#include <stdlib.h>

#include "win/library.h"

namespace report {

namespace {

void* own_report;

} // namespace

void* allocate_own(size_t size) {
    own_report = malloc(size);
    return own_report;
}

void release(void* block) noexcept {
    if (!block)
        return;
    if (block == own_report) {
        own_report = nullptr;
        free(block);
        return;
    }
    // Looked up, because the name belongs to the library's own heap here.
    static auto* const runtime_free = win::function_of<void __cdecl(void*)>(GetModuleHandleA("msvcrt.dll"), "free");
    if (runtime_free)
        runtime_free(block);
}

} // namespace report
