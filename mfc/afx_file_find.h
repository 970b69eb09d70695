// CFileFind: whether a file of a name exists.
#pragma once

#include "mfc/afx_object.h"

class CFileFind : public CObject {
public:
    CFileFind();
    ~CFileFind() override;

    // Whether anything matches the name; wildcards and folders count. A null or empty name finds nothing.
    BOOL FindFile(LPCSTR pstrName, DWORD dwUnused = 0);
    void Close() noexcept;

private:
    HANDLE m_h_context = INVALID_HANDLE_VALUE; // owned search handle
};
