/* The header of mingw-w64 without its inline functions: link-time optimisation keeps those whose names the compiler may
 * call on its own account (sinhf, expf, ...), and with them imports that nothing uses. */
#pragma once

#ifdef __CRT__NO_INLINE
#include_next <math.h>
#else
#define __CRT__NO_INLINE
#include_next <math.h>
#undef __CRT__NO_INLINE
#endif
