/** @file wendax_cover.h
 * Reports of whatever ends the program: of faults on any thread, by any compiler. Part of wendax.h, for C and C++.
 *
 * The smallest host of all, without a try block:
 *
 * @code
 *     int main(void) {
 *         WendaxCover();
 *         return run_the_program();
 *     }
 * @endcode
 */
#ifndef WENDAX_COVER_H
#define WENDAX_COVER_H

#ifndef WENDAX_H
#error "include wendax.h, which includes this header"
#endif

/** The fault that stands for std::terminate: an exception that nobody catches, or that meets noexcept.
 *
 * Its parameters: the name of the exception's type, its what() (both const char*), the EXCEPTION_POINTERS of the throw;
 * each is 0 where it isn't known. */
#define WENDAX_FAULT_TERMINATE 0xE0575801UL
/** The fault that stands for the call of a pure virtual function. */
#define WENDAX_FAULT_PURE_CALL 0xE0575802UL
/** The fault that stands for an argument that a C function can't take.
 *
 * Its parameters: expression, function and file (const wchar_t*, each 0 where the runtime doesn't tell) and the line.
 */
#define WENDAX_FAULT_INVALID_PARAMETER 0xE0575803UL
/** The fault that stands for abort(), also by an assertion. */
#define WENDAX_FAULT_ABORT 0xE0575804UL

#ifdef __cplusplus
extern "C" {
#endif

/** A filter of unhandled exceptions, as SetUnhandledExceptionFilter() takes it. */
typedef long(__stdcall* WendaxFilter)(struct _EXCEPTION_POINTERS* pointers);

/** Reports a fault that nobody has handled; the program ends when it returns. It throws nothing.
 * @param pointers  the fault, or for an uncaught exception its throw; good until it returns
 * @param context   as given to WendaxCoverProcess() */
typedef void(__cdecl* WendaxReporter)(struct _EXCEPTION_POINTERS* pointers, void* context);

/** Makes the e-mail report of a fault, as OpenCrushReport() does, with all details: for exception filters, vectored
 * handlers and hosts of any compiler. Throws nothing; a fault of its own ends the report and nothing else.
 *
 * @param pointers  the fault, while they are good; null for a report without fault details
 * @return what the dialog answered: 1: open the report, 2: don't, 0: no dialog could be shown */
WENDAX_IMPORT int __cdecl WendaxReportFault(struct _EXCEPTION_POINTERS* pointers);

/** Covers the process: a fault that no handler takes, on any thread, is reported, and the program ends by the fault's
 * code and without a box of the system's.
 *
 * To be called once, at the start; called again it only takes another reporter. Threads that fail while a report is
 * made wait until the program ends; a fault inside the reporter ends it at once. The reporter runs on the thread that
 * has failed, or where that has too little stack left, on a thread that sleeps until then: it, and 128 KB for its
 * stack, are what this function costs. A library that installs a filter of its own afterwards takes the cover away.
 * @param reporter  null: WendaxReportFault()
 * @param context   for the reporter
 * @return the filter that was there before the cover, or null; a reporter may call it */
WENDAX_IMPORT WendaxFilter __cdecl WendaxCoverProcess(WendaxReporter reporter, void* context);

#ifdef __cplusplus
} /* extern "C" */
#endif

#ifndef WENDAX_LIBRARY
#include "wendax_runtime.h"
#endif

#endif
