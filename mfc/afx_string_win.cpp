// Every assignment makes a new block and then lets go of the old, in which the new text may lie. Empty strings share
// one static block, which is neither counted nor freed.
#include "mfc/afx_string.h"

#include <limits.h>
#include <stdlib.h>
#include <string.h>

#include "base/genlib_error.h"

namespace {

struct EmptyBlock {
    CStringData header;
    char nul;
};
EmptyBlock empty_block = {{-1, 0, 0}, '\0'};

LPSTR empty_text() {
    return empty_block.header.data();
}

CStringData* allocate(int length) {
    if (length < 0 || length > INT_MAX - static_cast<int>(sizeof(CStringData)) - 1)
        gen::throw_out_of_memory();
    CStringData* const block = static_cast<CStringData*>(malloc(sizeof(CStringData) + length + 1));
    if (!block)
        gen::throw_out_of_memory();
    block->nRefs = 1;
    block->nDataLength = length;
    block->nAllocLength = length;
    block->data()[length] = '\0';
    return block;
}

int length_of(LPCSTR text) {
    return text ? static_cast<int>(strlen(text)) : 0;
}

} // namespace

CString::CString() : m_pch_data(empty_text()) {}

CString::CString(const CString& other) : m_pch_data(other.m_pch_data) {
    if (m_pch_data != empty_text())
        InterlockedIncrement(&header()->nRefs);
}

CString::CString(CString&& other) noexcept : m_pch_data(other.m_pch_data) {
    other.m_pch_data = empty_text();
}

CString::CString(LPCSTR text) : CString(text, length_of(text)) {}

CString::CString(LPCSTR text, int length) : m_pch_data(empty_text()) {
    assign(text, length);
}

CString::~CString() {
    release();
}

void CString::release() {
    if (m_pch_data != empty_text() && InterlockedDecrement(&header()->nRefs) == 0)
        free(header());
    m_pch_data = empty_text();
}

void CString::assign(LPCSTR text, int length) {
    if (length == 0) {
        release();
        return;
    }
    CStringData* const block = allocate(length);
    memcpy(block->data(), text, length);
    release();
    m_pch_data = block->data();
}

void CString::append(LPCSTR text, int length) {
    if (length == 0)
        return;
    const int old_length = GetLength();
    if (length > INT_MAX - old_length)
        gen::throw_out_of_memory();
    // The old block lives until the new one is full: the text may be a part of it.
    CStringData* const block = allocate(old_length + length);
    memcpy(block->data(), m_pch_data, old_length);
    memcpy(block->data() + old_length, text, length);
    release();
    m_pch_data = block->data();
}

// The copy counts the new block before it takes the old one along, so that a string may be assigned to itself.
const CString& CString::operator=(const CString& other) {
    CString copy(other);
    LPSTR const mine = m_pch_data;
    m_pch_data = copy.m_pch_data;
    copy.m_pch_data = mine;
    return *this;
}

const CString& CString::operator=(LPCSTR text) {
    assign(text, length_of(text));
    return *this;
}

const CString& CString::operator+=(const CString& other) {
    append(other, other.GetLength());
    return *this;
}

const CString& CString::operator+=(LPCSTR text) {
    append(text, length_of(text));
    return *this;
}

void CString::Empty() noexcept {
    release();
}

LPSTR CString::GetBuffer(int minimum) {
    const int length = GetLength();
    if (m_pch_data == empty_text() || header()->nRefs > 1 || header()->nAllocLength < minimum) {
        CStringData* const block = allocate(minimum > length ? minimum : length);
        memcpy(block->data(), m_pch_data, length + 1);
        block->nDataLength = length;
        release();
        m_pch_data = block->data();
    }
    return m_pch_data;
}

void CString::ReleaseBuffer(int length) {
    GetBuffer(0); // a buffer of its own, should it be shared or empty
    if (length == -1)
        length = static_cast<int>(strlen(m_pch_data));
    header()->nDataLength = length;
    m_pch_data[length] = '\0';
}
