// A structured exception that was translated, kept so that a report can describe it.
#pragma once

#include <afx.h>

#include "base/std_string.h"

class CSeException : public CException {
    DECLARE_DYNAMIC(CSeException)

public:
    // The pointers are neither copied nor owned: they are good while the host's catch block runs, and not after.
    CSeException(unsigned int code, EXCEPTION_POINTERS* pointers) noexcept;

    // Replaces the text by the fault's reason and stack trace, which faultkit.dll beside the host's executable gives.
    // Where the helper faults, a note stands in place of what it should have said. Throws gen::genlib_error.
    void GetFaultDescription(CStdString& text);

    EXCEPTION_POINTERS* pointers() const { return m_pointers; }

private:
    [[maybe_unused]] unsigned int m_code; // for whoever looks at the object in a debugger
    EXCEPTION_POINTERS* m_pointers;
};

// The object of the most recent fault on any thread; null before the first, or when there was no memory for it.
// Unguarded: one fault is reported at a time. The objects are never freed.
extern CSeException* last_translated_exception;

#ifdef _MSC_VER
static_assert(sizeof(CSeException) == (sizeof(void*) == 8 ? 32 : 16), "hosts know this layout");
#endif
