#include "testing/cxx/failing_allocator.h"

#include <atomic>
#include <cstdlib>
#include <new>

#ifdef _WIN32
#define __real_malloc std::malloc
#else
// The linker's --wrap sends calls of malloc to __wrap_malloc, and of __real_malloc to malloc.
extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
}
#endif

namespace {

std::atomic<bool> g_watching{false};
std::atomic<unsigned> g_calls{0};
std::atomic<unsigned> g_failing{0};

bool fails() {
    return g_watching && ++g_calls == g_failing;
}

void* allocate(std::size_t size) {
    return __real_malloc(size ? size : 1);
}

void* allocate_counted(std::size_t size) noexcept {
    return fails() ? nullptr : allocate(size);
}

void* allocate_or_throw(std::size_t size) {
    void* block = allocate(size);
    if (!block)
        throw std::bad_alloc();
    return block;
}

} // namespace

#ifndef _WIN32
extern "C" void* __wrap_malloc(std::size_t size) {
    return fails() ? nullptr : __real_malloc(size);
}
extern "C" void* __wrap_calloc(std::size_t count, std::size_t size) {
    return fails() ? nullptr : __real_calloc(count, size);
}
extern "C" void* __wrap_realloc(void* block, std::size_t size) {
    return fails() ? nullptr : __real_realloc(block, size);
}
#endif

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
