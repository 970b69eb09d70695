// File errors carry the system's error number and take their text from the system. Where there is no memory for the
// exception itself, gen::genlib_out_of_memory is thrown in its place.
#include "mfc/afx_exception.h"

#include <new>

#include "base/genlib_error.h"

IMPLEMENT_DYNAMIC(CException, CObject)
IMPLEMENT_DYNAMIC(CFileException, CException)

void CException::Delete() {
    if (m_bAutoDelete)
        delete this;
}

BOOL CException::GetErrorMessage(LPSTR lpszError, UINT nMaxError, UINT* pnHelpContext) {
    if (pnHelpContext)
        *pnHelpContext = 0;
    if (lpszError && nMaxError)
        lpszError[0] = '\0';
    return FALSE;
}

int CException::ReportError(UINT nType, UINT) {
    char text[256];
    const BOOL known = GetErrorMessage(text, sizeof(text));
    return MessageBoxA(nullptr, known ? text : "An error has occurred.", nullptr, nType);
}

BOOL CFileException::GetErrorMessage(LPSTR lpszError, UINT nMaxError, UINT* pnHelpContext) {
    CException::GetErrorMessage(lpszError, nMaxError, pnHelpContext);
    if (!lpszError || !nMaxError)
        return FALSE;
    return FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                          static_cast<DWORD>(m_lOsError), 0, lpszError, nMaxError, nullptr) != 0;
}

void AfxThrowFileException(LONG lOsError) {
    CFileException* const exception = new (std::nothrow) CFileException(lOsError);
    if (!exception)
        gen::throw_out_of_memory();
    throw exception;
}
