// stdin, stdout and stderr: the headers ask a function for them that only newer C runtimes have; msvcrt.dll has an
// array.
#include <stdio.h>

namespace {

extern "C" FILE* const imported_streams __asm__("__imp___iob");

FILE* __cdecl stream_of(unsigned index) {
    return imported_streams + index;
}

} // namespace

extern "C" FILE*(__cdecl* const stream_function)(unsigned)__asm__("__imp____acrt_iob_func");
extern "C" FILE*(__cdecl* const stream_function)(unsigned) = stream_of;
