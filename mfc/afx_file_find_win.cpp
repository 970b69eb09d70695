// Asks by starting a search, not by opening: a file that can't be opened is there all the same.
#include "mfc/afx_file.h"

#include "win/handle.h"

CFileFind::CFileFind() = default;

CFileFind::~CFileFind() {
    Close();
}

BOOL CFileFind::FindFile(LPCSTR pstrName, DWORD) {
    Close();
    if (!pstrName || !*pstrName)
        return FALSE;
    WIN32_FIND_DATAA found;
    m_h_context = FindFirstFileA(pstrName, &found);
    return m_h_context != INVALID_HANDLE_VALUE;
}

void CFileFind::Close() noexcept {
    if (m_h_context != INVALID_HANDLE_VALUE)
        win::nothrow(FindClose)(m_h_context);
    m_h_context = INVALID_HANDLE_VALUE;
}
