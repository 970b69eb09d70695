// CFile and CFileFind: files and their search.
#pragma once

#include "mfc/afx_exception.h"
#include "win/handle.h"

// A file handle with the framework's open modes. Files are made of bytes; there is no text mode.
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

// Whether a file of a name exists.
class CFileFind : public CObject {
public:
    CFileFind();
    ~CFileFind() override;

    // Whether anything matches the name; wildcards and folders count. A null or empty name finds nothing.
    BOOL FindFile(LPCSTR pstrName, DWORD dwUnused = 0);
    void Close() noexcept;

private:
    win::SearchHandle m_h_context;
};
