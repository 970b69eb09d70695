/* A host in plain C. C has no catch block, so the report is made in an exception filter, where the fault's record is
 * good as well. */
#include <windows.h>

#include "wendax.h"

/* Lets the library keep the fault, so that the report describes it. The translator throws; nothing but a handler of
 * structured exceptions can take that in C. GCC has none, and its reports have no fault details. */
static const char* keep_fault(EXCEPTION_POINTERS* pointers) {
#ifdef _MSC_VER
    __try {
        APISeTranslator(pointers->ExceptionRecord->ExceptionCode, pointers);
    } __except (EXCEPTION_EXECUTE_HANDLER) {
    }
    return WENDAX_MARKER;
#else
    (void)pointers;
    return NULL;
#endif
}

static LONG WINAPI report(EXCEPTION_POINTERS* pointers) {
    OpenCrushReport(keep_fault(pointers));
    return EXCEPTION_EXECUTE_HANDLER; /* ends the program */
}

static int* volatile nowhere = NULL; /* volatile, so that the compiler can't foresee the fault */

int main(void) {
    SetUnhandledExceptionFilter(report);
    *nowhere = 1;
    return 0;
}
