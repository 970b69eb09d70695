/* A host in plain C, by any compiler. C has no catch block, so the report is made in an exception filter. */
#include <windows.h>

#include "wendax.h"

static LONG WINAPI report(EXCEPTION_POINTERS* pointers) {
    WendaxReportFault(pointers);
    return EXCEPTION_EXECUTE_HANDLER; /* ends the program */
}

static int* volatile nowhere = NULL; /* volatile, so that the compiler can't foresee the fault */

int main(void) {
    SetUnhandledExceptionFilter(report);
    *nowhere = 1;
    return 0;
}
