#include "base/failing_allocator.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<bool> g_watching{false};
std::atomic<unsigned> g_calls{0};
std::atomic<unsigned> g_failing{0};

void* allocate(std::size_t size) {
    return std::malloc(size ? size : 1);
}

void* allocate_counted(std::size_t size) noexcept {
    if (g_watching && ++g_calls == g_failing)
        return nullptr;
    return allocate(size);
}

void* allocate_or_throw(std::size_t size) {
    void* block = allocate(size);
    if (!block)
        throw std::bad_alloc();
    return block;
}

} // namespace

FailingAllocator::FailingAllocator(unsigned nth) {
    g_calls = 0;
    g_failing = nth;
    g_watching = true;
}

FailingAllocator::~FailingAllocator() {
    g_watching = false;
}

unsigned FailingAllocator::calls() const {
    return g_calls;
}

bool FailingAllocator::failed() const {
    return g_failing != 0 && g_calls >= g_failing;
}

void* operator new(std::size_t size) {
    return allocate_or_throw(size);
}
void* operator new[](std::size_t size) {
    return allocate_or_throw(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocate_counted(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return allocate_counted(size);
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete[](void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    std::free(block);
}
// For an object whose constructor throws.
void operator delete(void* block, const std::nothrow_t&) noexcept {
    std::free(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
    std::free(block);
}
