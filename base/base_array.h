// The untyped core of every container: one block of storage and its book-keeping.
//
// Storage comes from the global allocator and goes back to the global deallocator. It grows to exactly the wanted
// number of elements, allocating before anything changes: whoever catches genlib_out_of_memory finds the container as
// it was before the call. No container is synchronised; each belongs to one thread at a time.
#pragma once

#include <stddef.h>

#include "base/genlib_error.h"

namespace gen {

class base_array {
public:
    static constexpr unsigned kDefaultHint = 64; // elements
    static constexpr unsigned kDefaultStep = 32; // elements

    // One block never exceeds this many bytes, so that sizes and positions fit a signed 32-bit number everywhere.
    // Asking for more is out of memory.
    static constexpr unsigned kMaxBytes = 0x7FFFFFFF;

    virtual ~base_array();

    base_array(const base_array&) = delete;
    base_array& operator=(const base_array&) = delete;

    // Elements in use. For a string that is its length plus the NUL, or 0 as long as nothing was assigned.
    unsigned count() const { return m_count; }
    // Elements allocated, never less than count().
    unsigned capacity() const { return m_capacity; }
    // The capacity taken at construction.
    unsigned reserve_hint() const { return m_hint; }
    // The least growth, in elements, when single elements are added to a full array. Strings don't use it.
    unsigned growth_step() const { return m_step; }

protected:
    base_array(unsigned hint, unsigned step) noexcept;
    // With storage for that many elements, uninitialised; none for 0.
    base_array(unsigned hint, unsigned step, unsigned capacity, unsigned element_size);

    // a + b elements, or out of memory if that is beyond max_bytes. a must be a count or a capacity.
    static unsigned sum(unsigned a, size_t b);
    // Fresh storage for n > 0 elements, uninitialised; the caller owns it until adopt().
    static void* allocate(unsigned n, unsigned element_size);
    // Frees the storage at hand and takes this in its place. The count stays: the caller has filled the new storage.
    void adopt(void* storage, unsigned capacity) noexcept;
    // Makes the capacity at least n, exactly n if it must grow; never touches the count.
    void grow(unsigned n, unsigned element_size);
    // Frees the storage at hand and takes over that of the other, which is left without any (capacity 0).
    void take(base_array& other) noexcept;

    unsigned m_count = 0;
    unsigned m_capacity = 0;
    unsigned m_hint;
    unsigned m_step;
    void* m_data = nullptr; // null while the capacity is 0
};

static_assert(sizeof(base_array) == (sizeof(void*) == 8 ? 32 : 24), "the type table, four numbers and the storage");

} // namespace gen
