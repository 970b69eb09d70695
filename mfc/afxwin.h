// The application framework's window header: module state, the file finder and the wait cursor.
#pragma once

#include <afx.h>
#include "mfc/afx_module.h"
#include "win/handle.h"

// The hourglass, for as long as the object lives.
class CWaitCursor {
public:
    CWaitCursor() : m_previous(SetCursor(LoadCursorA(nullptr, reinterpret_cast<LPCSTR>(IDC_WAIT)))) {}
    ~CWaitCursor() { win::nothrow(SetCursor)(m_previous); }
    CWaitCursor(const CWaitCursor&) = delete;
    CWaitCursor& operator=(const CWaitCursor&) = delete;

private:
    HCURSOR m_previous; // not owned
};
