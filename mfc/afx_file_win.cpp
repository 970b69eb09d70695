// A failure to open is a result; a failure to write is thrown, and bytes that found no space count as a full disk.
#include "mfc/afx_file.h"

#include "win/handle.h"

namespace {

DWORD access_of(UINT flags) {
    switch (flags & 3) {
    case CFile::modeWrite:
        return GENERIC_WRITE;
    case CFile::modeReadWrite:
        return GENERIC_READ | GENERIC_WRITE;
    default:
        return GENERIC_READ;
    }
}

DWORD sharing_of(UINT flags) {
    switch (flags & 0x70) {
    case CFile::shareDenyWrite:
        return FILE_SHARE_READ;
    case CFile::shareDenyRead:
        return FILE_SHARE_WRITE;
    case CFile::shareDenyNone:
        return FILE_SHARE_READ | FILE_SHARE_WRITE;
    default:
        return 0;
    }
}

DWORD creation_of(UINT flags) {
    if (!(flags & CFile::modeCreate))
        return OPEN_EXISTING;
    return flags & CFile::modeNoTruncate ? OPEN_ALWAYS : CREATE_ALWAYS;
}

} // namespace

CFile::~CFile() {
    Close();
}

BOOL CFile::Open(LPCSTR lpszFileName, UINT nOpenFlags, CFileException* pError) {
    Close();
    SECURITY_ATTRIBUTES attributes = {sizeof(attributes), nullptr, TRUE}; // handles are inherited, as the framework's
    m_hFile = CreateFileA(lpszFileName, access_of(nOpenFlags), sharing_of(nOpenFlags), &attributes,
                          creation_of(nOpenFlags), FILE_ATTRIBUTE_NORMAL, nullptr);
    if (m_hFile != INVALID_HANDLE_VALUE)
        return TRUE;
    if (pError)
        pError->m_lOsError = static_cast<LONG>(GetLastError());
    return FALSE;
}

void CFile::Write(const void* lpBuf, UINT nCount) {
    DWORD written = 0;
    if (!WriteFile(m_hFile, lpBuf, nCount, &written, nullptr))
        AfxThrowFileException(static_cast<LONG>(GetLastError()));
    if (written != nCount)
        AfxThrowFileException(ERROR_DISK_FULL);
}

void CFile::Close() noexcept {
    if (m_hFile != INVALID_HANDLE_VALUE)
        win::nothrow(CloseHandle)(m_hFile);
    m_hFile = INVALID_HANDLE_VALUE;
}
