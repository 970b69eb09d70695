// Asks by starting a search, not by opening: a file that can't be opened is there all the same.
#include "mfc/afx_file.h"

CFileFind::CFileFind() = default;

CFileFind::~CFileFind() = default;

BOOL CFileFind::FindFile(LPCSTR pstrName, DWORD) {
    Close();
    if (!pstrName || !*pstrName)
        return FALSE;
    WIN32_FIND_DATAA found;
    m_h_context.reset(FindFirstFileA(pstrName, &found));
    return static_cast<bool>(m_h_context);
}

void CFileFind::Close() noexcept {
    m_h_context.reset();
}
