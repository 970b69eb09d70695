// An array of pointers that may own what they point to.
#pragma once

#include "base/array.h"
#include "base/owner.h"

namespace gen {

// While the owns flag is set, every element that leaves the array (by remove, set, a cut, or the array's end) is
// deleted, null elements excepted. A pointer handed in belongs to the array only once the call has returned: if add,
// insert or set throws, it is still the caller's.
template <typename T>
class array_ptr : public array<T*> {
    using base = array<T*>;

public:
    explicit array_ptr(bool owns = true) : m_owns(owns) {}
    array_ptr(array_ptr&& other) noexcept : base(static_cast<base&&>(other)), m_owns(other.m_owns) {}
    array_ptr& operator=(array_ptr&& other) noexcept {
        if (this != &other) {
            drop(0, this->m_count);
            this->take(other);
            m_owns = other.m_owns;
        }
        return *this;
    }
    array_ptr(const array_ptr&) = delete;
    array_ptr& operator=(const array_ptr&) = delete;
    ~array_ptr() override { drop(0, this->m_count); }

    bool owns() const { return m_owns != 0; }
    void set_owns(bool owns) { m_owns = owns; }

    // Checked: throws genlib_out_of_range(i, size()).
    T* operator[](unsigned i) const { return base::operator[](i); }

    // As in array. From an owner the array takes the element over, and gives it back for use.
    using base::add;
    T* add(Owner<T>&& element) {
        base::add(element.get());
        return element.release();
    }

    // Replaces element i; checked. Setting an element to itself does nothing.
    void set(unsigned i, T* element) {
        T*& place = base::operator[](i);
        T* old = place;
        place = element;
        if (m_owns && old != element)
            delete old;
    }
    // Takes element i out without deleting it: it is the caller's now. Checked.
    T* detach(unsigned i) {
        T* element = base::operator[](i);
        base::remove(i);
        return element;
    }
    void remove(unsigned i) {
        T* element = detach(i);
        if (m_owns)
            delete element;
    }
    void clear() noexcept { cut(0); }
    // As in array; new elements are null.
    void resize(unsigned n) {
        base::grow(n);
        cut(n);
        base::resize(n);
    }
    // As in array, with its cut.
    void reserve(unsigned n) {
        if (n > this->m_capacity)
            base::grow(n);
        else
            cut(n);
    }

private:
    using base::data; // a pointer written past the array would be lost or deleted twice

    void cut(unsigned n) noexcept {
        const unsigned old_count = this->m_count;
        if (n < old_count) {
            this->m_count = n;
            drop(n, old_count);
        }
    }
    void drop(unsigned from, unsigned to) noexcept {
        static_assert(sizeof(T) > 0, "the element type must be complete where elements are deleted");
        for (unsigned i = from; m_owns && i < to; ++i)
            delete data()[i];
    }

    unsigned m_owns; // 0 or 1
};

static_assert(sizeof(array_ptr<char>) == sizeof(base_array) + sizeof(void*), "base_array and a 32-bit flag, padded");

} // namespace gen
