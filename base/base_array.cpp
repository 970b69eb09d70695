// Growth allocates first and lets go of the old storage last, so that what fails changes nothing.
#include "base/base_array.h"

#include <new>
#include <string.h>

namespace gen {

base_array::base_array(unsigned hint, unsigned step) noexcept : m_hint(hint), m_step(step) {}

base_array::base_array(unsigned hint, unsigned step, unsigned capacity, unsigned element_size)
    : m_hint(hint), m_step(step) {
    grow(capacity, element_size);
}

base_array::~base_array() {
    ::operator delete(m_data);
}

unsigned base_array::sum(unsigned a, size_t b) {
    if (b > kMaxBytes - a)
        throw_out_of_memory();
    return a + static_cast<unsigned>(b);
}

void* base_array::allocate(unsigned n, unsigned element_size) {
    if (n > kMaxBytes / element_size)
        throw_out_of_memory();
    void* storage = ::operator new(static_cast<size_t>(n) * element_size, std::nothrow);
    if (!storage)
        throw_out_of_memory();
    return storage;
}

void base_array::adopt(void* storage, unsigned capacity) noexcept {
    ::operator delete(m_data);
    m_data = storage;
    m_capacity = capacity;
}

void base_array::grow(unsigned n, unsigned element_size) {
    if (n <= m_capacity)
        return;
    void* storage = allocate(n, element_size);
    if (m_count)
        memcpy(storage, m_data, static_cast<size_t>(m_count) * element_size);
    adopt(storage, n);
}

void base_array::take(base_array& other) noexcept {
    if (&other == this)
        return;
    adopt(other.m_data, other.m_capacity);
    m_count = other.m_count;
    other.m_data = nullptr;
    other.m_capacity = 0;
    other.m_count = 0;
}

} // namespace gen
