// CFile: a file handle with the framework's open modes. Files are made of bytes; there is no text mode.
#pragma once

#include "mfc/afx_exception.h"

class CFile : public CObject {
public:
    enum OpenFlags {
        modeRead = 0x0000,
        modeWrite = 0x0001,
        modeReadWrite = 0x0002,
        shareExclusive = 0x0010,
        shareDenyWrite = 0x0020,
        shareDenyRead = 0x0030,
        shareDenyNone = 0x0040,
        modeCreate = 0x1000,
        modeNoTruncate = 0x2000,
    };

    CFile() = default;
    ~CFile() override;

    // Opens the file; FALSE on failure, with GetLastError() in *pError when it is given. Closes an open file first.
    BOOL Open(LPCSTR lpszFileName, UINT nOpenFlags, CFileException* pError = nullptr);

    // Writes all bytes. Throws CFileException*, also for a full disk.
    void Write(const void* lpBuf, UINT nCount);
    void Close() noexcept;

    HANDLE m_hFile = INVALID_HANDLE_VALUE; // owned
};
