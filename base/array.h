// A growable array of plain elements: numbers, characters, enumerators, pointers.
#pragma once

#include <string.h>

#include "base/base_array.h"

namespace gen {

struct unallocated {};

template <typename T>
class array : public base_array {
    static_assert(__is_trivially_copyable(T), "elements are moved as bytes");

public:
    // Takes storage for `hint` elements at once; out of memory if there is none.
    explicit array(unsigned hint = kDefaultHint, unsigned step = kDefaultStep) : array(hint, step, hint) {}
    // Without storage, and so without a failure.
    explicit array(unallocated) noexcept : base_array(0, kDefaultStep) {}
    array(const array& other)
        : array(other.m_hint, other.m_step, other.m_count > other.m_hint ? other.m_count : other.m_hint) {
        copy(other);
    }
    // The source is left empty and without storage, and may be used again.
    array(array&& other) noexcept : base_array(other.m_hint, other.m_step) { take(other); }

    array& operator=(const array& other) {
        if (this != &other) {
            grow(other.m_count);
            copy(other);
        }
        return *this;
    }
    array& operator=(array&& other) noexcept {
        take(other);
        return *this;
    }

    unsigned size() const { return m_count; }
    bool empty() const { return m_count == 0; }

    // The elements, null while the capacity is 0. Valid until the next growth.
    T* data() { return static_cast<T*>(m_data); }
    const T* data() const { return static_cast<const T*>(m_data); }

    // Checked: throws genlib_out_of_range(i, size()).
    T& operator[](unsigned i) {
        check(i, m_count);
        return data()[i];
    }
    const T& operator[](unsigned i) const {
        check(i, m_count);
        return data()[i];
    }

    // Grows to a capacity of exactly n. With n within the capacity it grows nothing but CUTS the array to n elements,
    // so it is no harmless hint on an array in use; grow() is.
    void reserve(unsigned n) {
        if (n > m_capacity)
            grow(n);
        else if (n < m_count)
            m_count = n;
    }
    // Makes the capacity at least n, exactly n if it must grow.
    void grow(unsigned n) { base_array::grow(n, sizeof(T)); }

    // Cuts to n elements, or adds elements of zero bytes up to n; grows exactly.
    void resize(unsigned n) {
        grow(n);
        if (n > m_count)
            memset(static_cast<void*>(data() + m_count), 0, (static_cast<size_t>(n) - m_count) * sizeof(T));
        m_count = n;
    }
    void clear() noexcept { m_count = 0; }

    // Adds an element at the end. A full array grows by the step or by half of itself, whichever is more, so that
    // adding many elements one by one stays linear.
    void add(T value) { insert(m_count, value); }
    // Inserts before element i; i == size() adds at the end, beyond it throws genlib_out_of_range.
    void insert(unsigned i, T value) {
        if (i > m_count)
            throw_out_of_range(i, m_count);
        if (m_count == m_capacity)
            grow(sum(m_capacity, m_step > m_capacity / 2 ? m_step : m_capacity / 2 + 1));
        memmove(static_cast<void*>(data() + i + 1), static_cast<const void*>(data() + i),
                (static_cast<size_t>(m_count) - i) * sizeof(T));
        data()[i] = value;
        ++m_count;
    }
    // Takes element i out; checked.
    void remove(unsigned i) {
        check(i, m_count);
        memmove(static_cast<void*>(data() + i), static_cast<const void*>(data() + i + 1),
                (static_cast<size_t>(m_count) - i - 1) * sizeof(T));
        --m_count;
    }

protected:
    // Without elements, in storage for that many.
    array(unsigned hint, unsigned step, unsigned capacity) : base_array(hint, step, capacity, sizeof(T)) {}

    static void check(unsigned i, unsigned size) {
        if (i >= size)
            throw_out_of_range(i, size);
    }

private:
    void copy(const array& other) {
        if (other.m_count)
            memcpy(m_data, other.m_data, static_cast<size_t>(other.m_count) * sizeof(T));
        m_count = other.m_count;
    }
};

} // namespace gen
