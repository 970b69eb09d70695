// CFile: a file handle with the framework's open modes.
#pragma once

#include "mfc/afx_exception.h"

class CFile : public CObject {
public:
    enum OpenFlags {
        modeRead = 0x0000,
        modeWrite = 0x0001,
        modeReadWrite = 0x0002,
        shareCompat = 0x0000,
        shareExclusive = 0x0010,
        shareDenyWrite = 0x0020,
        shareDenyRead = 0x0030,
        shareDenyNone = 0x0040,
        modeNoInherit = 0x0080,
        modeCreate = 0x1000,
        modeNoTruncate = 0x2000,
        typeBinary = 0x8000, // every file is read and written as bytes
    };

    CFile() = default;
    ~CFile() override;

    // Opens the file; FALSE on failure, with GetLastError() in *pError when it is given. Closes an open file first.
    BOOL Open(LPCSTR lpszFileName, UINT nOpenFlags, CFileException* pError = nullptr);

    // Bytes read, fewer than nCount at the end. Throws CFileException*.
    UINT Read(void* lpBuf, UINT nCount);
    // Writes all bytes. Throws CFileException*, also for a full disk.
    void Write(const void* lpBuf, UINT nCount);
    void Close();

    HANDLE m_hFile = INVALID_HANDLE_VALUE; // owned
};
