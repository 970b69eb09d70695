// The application framework's collection templates: CArray, the growable array.
#pragma once

#include <new>

#include <stdint.h>

#include "base/genlib_error.h"
#include "mfc/afx_object.h"

// An array that grows by its growth step, or by an eighth of its size (between 4 and 1024 elements) when the step is 0.
// Elements need a default constructor, a copy and an assignment. Exhausted memory throws gen::genlib_out_of_memory,
// like every container of the library, and leaves the array as it was.
template <class TYPE, class ARG_TYPE>
class CArray : public CObject {
public:
    CArray() = default;
    ~CArray() override { delete[] m_p_data; }

    INT_PTR GetSize() const { return m_n_size; }
    const TYPE* GetData() const { return m_p_data; }
    TYPE* GetData() { return m_p_data; }
    const TYPE& operator[](INT_PTR index) const { return m_p_data[index]; }
    TYPE& operator[](INT_PTR index) { return m_p_data[index]; }

    // New elements are as their default constructor leaves them (0 for numbers). A growth step of -1 keeps the one set.
    void SetSize(INT_PTR size, INT_PTR growBy = -1) {
        if (growBy != -1)
            m_n_grow_by = growBy;
        if (size == 0) {
            delete[] m_p_data;
            m_p_data = nullptr;
            m_n_size = m_n_max_size = 0;
            return;
        }
        if (size > m_n_max_size)
            reallocate(m_p_data ? grown_capacity(size) : size);
        for (INT_PTR i = m_n_size; i < size; ++i)
            m_p_data[i] = TYPE();
        m_n_size = size;
    }

    // Appends a copy; returns its index. The element may be one of this array.
    INT_PTR Add(ARG_TYPE element) {
        TYPE copy(element); // first, while the element is where it was and a failure changes nothing
        const INT_PTR index = m_n_size;
        SetSize(index + 1);
        m_p_data[index] = static_cast<TYPE&&>(copy);
        return index;
    }

private:
    INT_PTR grown_capacity(INT_PTR size) const {
        INT_PTR step = m_n_grow_by;
        if (step == 0) {
            step = m_n_size / 8;
            step = step < 4 ? 4 : step > 1024 ? 1024 : step;
        }
        const INT_PTR grown = m_n_max_size > INTPTR_MAX - step ? INTPTR_MAX : m_n_max_size + step;
        return grown < size ? size : grown;
    }

    void reallocate(INT_PTR capacity) {
        if (static_cast<size_t>(capacity) > (INTPTR_MAX - size_t{64}) / sizeof(TYPE))
            gen::throw_out_of_memory();
        TYPE* const data = new (std::nothrow) TYPE[capacity];
        if (!data)
            gen::throw_out_of_memory();
        try {
            for (INT_PTR i = 0; i < m_n_size; ++i)
                data[i] = static_cast<TYPE&&>(m_p_data[i]);
        } catch (...) {
            delete[] data;
            throw;
        }
        delete[] m_p_data;
        m_p_data = data;
        m_n_max_size = capacity;
    }

    TYPE* m_p_data = nullptr;
    INT_PTR m_n_size = 0;
    INT_PTR m_n_max_size = 0;
    INT_PTR m_n_grow_by = 0;
};
