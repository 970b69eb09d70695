// The translator that turns structured exceptions into C++ exceptions.
#pragma once

#include <windows.h>

#include "win/fault_guard.h"

class CSeException;

// The exception object of the most recent fault on any thread; null before the first, or when there was no memory for
// it. Unguarded: one fault is reported at a time. The objects are never freed.
extern CSeException* last_translated_exception;

// Installed for the calling thread by InitCrushReport, or by the host in a C runtime of its own. Keeps a CSeException
// and throws the marker. Never returns.
extern "C" [[noreturn]] void __cdecl APISeTranslator(unsigned int code, EXCEPTION_POINTERS* pointers);
