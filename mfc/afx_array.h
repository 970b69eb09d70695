// CArray and CByteArray: the framework's growable arrays.
#pragma once

#include <limits.h>
#include <new>

#include "base/genlib_error.h"
#include "mfc/afx_object.h"

// An array that grows by its growth step, or by an eighth of its size (between 4 and 1024 elements) when the step is 0.
// Elements need a default constructor, a copy and an assignment. Exhausted memory throws gen::genlib_out_of_memory,
// like every container of the library, and leaves the array as it was.
template <class TYPE, class ARG_TYPE>
class CArray : public CObject {
public:
    CArray() = default;
    ~CArray() override { delete[] m_pData; }

    int GetSize() const { return m_nSize; }
    const TYPE* GetData() const { return m_pData; }
    TYPE* GetData() { return m_pData; }
    const TYPE& operator[](int index) const { return m_pData[index]; }
    TYPE& operator[](int index) { return m_pData[index]; }

    // New elements are as their default constructor leaves them (0 for numbers). A growth step of -1 keeps the one set.
    void SetSize(int size, int growBy = -1) {
        if (growBy != -1)
            m_nGrowBy = growBy;
        if (size == 0) {
            delete[] m_pData;
            m_pData = nullptr;
            m_nSize = m_nMaxSize = 0;
            return;
        }
        if (size > m_nMaxSize)
            reallocate(m_pData ? grown_capacity(size) : size);
        for (int i = m_nSize; i < size; ++i)
            m_pData[i] = TYPE();
        m_nSize = size;
    }

    // Appends a copy; returns its index. The element may be one of this array.
    int Add(ARG_TYPE element) {
        TYPE copy(element); // first, while the element is where it was and a failure changes nothing
        const int index = m_nSize;
        SetSize(index + 1);
        m_pData[index] = static_cast<TYPE&&>(copy);
        return index;
    }

private:
    int grown_capacity(int size) const {
        int step = m_nGrowBy;
        if (step == 0) {
            step = m_nSize / 8;
            step = step < 4 ? 4 : step > 1024 ? 1024 : step;
        }
        const int grown = m_nMaxSize > INT_MAX - step ? INT_MAX : m_nMaxSize + step;
        return grown < size ? size : grown;
    }

    void reallocate(int capacity) {
        if (static_cast<unsigned>(capacity) > (INT_MAX - 64u) / sizeof(TYPE))
            throw gen::genlib_out_of_memory();
        TYPE* const data = new (std::nothrow) TYPE[capacity];
        if (!data)
            throw gen::genlib_out_of_memory();
        try {
            for (int i = 0; i < m_nSize; ++i)
                data[i] = static_cast<TYPE&&>(m_pData[i]);
        } catch (...) {
            delete[] data;
            throw;
        }
        delete[] m_pData;
        m_pData = data;
        m_nMaxSize = capacity;
    }

    TYPE* m_pData = nullptr;
    int m_nSize = 0;
    int m_nMaxSize = 0;
    int m_nGrowBy = 0;
};

class CByteArray : public CArray<BYTE, BYTE> {};
