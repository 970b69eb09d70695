// CWaitCursor: the hourglass, for as long as the object lives.
#pragma once

#include "win/handle.h"

class CWaitCursor {
public:
    CWaitCursor() : m_previous(SetCursor(LoadCursorA(nullptr, reinterpret_cast<LPCSTR>(IDC_WAIT)))) {}
    ~CWaitCursor() { win::nothrow(SetCursor)(m_previous); }
    CWaitCursor(const CWaitCursor&) = delete;
    CWaitCursor& operator=(const CWaitCursor&) = delete;

private:
    HCURSOR m_previous; // not owned
};
