// Owned memory of one kind of value, uninitialised, at an address that is a multiple of 32.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>

namespace kobrtl {

template <class T>
class Block {
public:
    Block() = default;
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;
    ~Block() { free(m_memory); }

    // False when memory is gone or the size can't be expressed; the block is then empty.
    bool allocate(size_t count) {
        free(m_memory);
        m_memory = count <= (SIZE_MAX - kAlignment) / sizeof(T) ? malloc(count * sizeof(T) + kAlignment) : nullptr;
        const uintptr_t address = reinterpret_cast<uintptr_t>(m_memory);
        m_data = m_memory ? reinterpret_cast<T*>((address + kAlignment - 1) & ~(kAlignment - 1)) : nullptr;
        return m_memory != nullptr;
    }

    T* data() const { return m_data; }
    T& operator[](size_t index) const { return m_data[index]; }

private:
    static constexpr uintptr_t kAlignment = 32;
    void* m_memory = nullptr;
    T* m_data = nullptr;
};

} // namespace kobrtl
