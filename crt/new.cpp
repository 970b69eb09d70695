// The allocation operators on the C runtime's malloc. None of them throws: the ordinary forms return null too when
// there is no memory, so whoever uses one has to look.
#include <new>
#include <stdlib.h>

namespace std {
const nothrow_t nothrow{};
}

void* operator new(size_t size) {
    return malloc(size ? size : 1);
}
void* operator new[](size_t size) {
    return malloc(size ? size : 1);
}
void* operator new(size_t size, const std::nothrow_t&) noexcept {
    return malloc(size ? size : 1);
}
void* operator new[](size_t size, const std::nothrow_t&) noexcept {
    return malloc(size ? size : 1);
}
void operator delete(void* block) noexcept {
    free(block);
}
void operator delete[](void* block) noexcept {
    free(block);
}
void operator delete(void* block, size_t) noexcept {
    free(block);
}
void operator delete[](void* block, size_t) noexcept {
    free(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
    free(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
    free(block);
}
