#include "mfc/afx_file_find.h"

BOOL CFileFind::FindFile(LPCSTR pstrName, DWORD) {
    Close();
    if (!pstrName || !*pstrName)
        return FALSE;
    WIN32_FIND_DATAA found;
    m_hContext = FindFirstFileA(pstrName, &found);
    return m_hContext != INVALID_HANDLE_VALUE;
}

void CFileFind::Close() {
    if (m_hContext != INVALID_HANDLE_VALUE)
        FindClose(m_hContext);
    m_hContext = INVALID_HANDLE_VALUE;
}
