// The part of <eh.h> that the product uses; the mingw-w64 header needs a C++ standard library.
#pragma once

struct _EXCEPTION_POINTERS;

typedef void(__cdecl* _se_translator_function)(unsigned int, struct _EXCEPTION_POINTERS*);

// Installs the calling thread's translator of structured exceptions; returns the one before.
_se_translator_function __cdecl _set_se_translator(_se_translator_function translator);

// Installs the calling thread's handler of std::terminate; returns the one before.
typedef void(__cdecl* terminate_function)();
terminate_function __cdecl set_terminate(terminate_function handler);
