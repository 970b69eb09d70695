// CString: the framework's text. Copies share one counted block until one of them is written to.
#pragma once

#include <string.h>

#include <windows.h>

// Lies in front of the characters of a CString's block.
struct CStringData {
    LONG nRefs;
    int nDataLength;  // characters in use, without the NUL
    int nAllocLength; // characters that fit, without the NUL

    char* data() { return reinterpret_cast<char*>(this + 1); }
};

// One pointer wide, so that classes with a CString member have the framework's layout. Counting is safe across threads;
// one object is used by one thread. Exhausted memory throws gen::genlib_out_of_memory, like every text of the library
// (the genuine framework throws its own memory exception), and leaves the object as it was.
class CString {
public:
    CString();
    CString(const CString& other);
    CString(CString&& other) noexcept;
    CString(LPCSTR text); // null gives the empty text
    CString(LPCSTR text, int length);
    ~CString();

    const CString& operator=(const CString& other);
    const CString& operator=(LPCSTR text);
    const CString& operator+=(const CString& other);
    const CString& operator+=(LPCSTR text);

    operator LPCSTR() const { return m_pch_data; }
    int GetLength() const { return header()->nDataLength; } // bytes
    BOOL IsEmpty() const { return GetLength() == 0; }
    void Empty() noexcept;

    // The buffer for writing, with space for at least minimum characters and a NUL; valid until ReleaseBuffer, which
    // takes the new length (-1: up to the first NUL).
    LPSTR GetBuffer(int minimum);
    void ReleaseBuffer(int length = -1);

private:
    CStringData* header() const { return reinterpret_cast<CStringData*>(m_pch_data) - 1; }
    void release();
    void assign(LPCSTR text, int length);
    void append(LPCSTR text, int length);

    LPSTR m_pch_data;
};

// Byte by byte up to the first NUL, whatever the locale takes for equal; null is the empty text.
inline bool operator==(const CString& a, LPCSTR b) {
    return strcmp(a, b ? b : "") == 0;
}
