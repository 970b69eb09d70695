#include "mfc/afx_file_find.h"

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
    m_hContext = FindFirstFileA(pstrName, &found);
    return m_hContext != INVALID_HANDLE_VALUE;
}

void CFileFind::Close() noexcept {
    if (m_hContext != INVALID_HANDLE_VALUE)
        win::nothrow(FindClose)(m_hContext);
    m_hContext = INVALID_HANDLE_VALUE;
}
