// The framework's exception classes. The framework throws pointers to them; the catcher calls Delete.
#pragma once

#include "mfc/afx_object.h"

class CException : public CObject {
    DECLARE_DYNAMIC(CException)

public:
    CException() : CException(TRUE) {}
    explicit CException(BOOL bAutoDelete) : m_bAutoDelete(bAutoDelete) {}

    // Deletes the object if it was made on the heap.
    void Delete();

    // Puts a text for the user into lpszError (at most nMaxError bytes with the NUL); FALSE and "" when there is none.
    virtual BOOL GetErrorMessage(LPSTR lpszError, UINT nMaxError, UINT* pnHelpContext = nullptr);
    // Shows the text in a message box; returns the box's answer.
    virtual int ReportError(UINT nType = MB_OK, UINT nMessageID = 0);

    BOOL m_bAutoDelete;
};

// A failed file operation.
class CFileException : public CException {
    DECLARE_DYNAMIC(CFileException)

public:
    explicit CFileException(LONG lOsError = 0) : m_lOsError(lOsError) {}

    // The system's text for the error.
    BOOL GetErrorMessage(LPSTR lpszError, UINT nMaxError, UINT* pnHelpContext = nullptr) override;

    LONG m_lOsError; // GetLastError() of the failed call
};

// Throws a new CFileException*.
[[noreturn]] void AfxThrowFileException(LONG lOsError);
