// stdin, stdout and stderr: the headers ask a function for them that only newer C runtimes have; msvcrt.dll has an
// array.
#include <stdio.h>

namespace {

extern "C" FILE* const kImportedStreams __asm__("__imp___iob");

FILE* __cdecl stream_of(unsigned index) {
    return kImportedStreams + index;
}

} // namespace

extern "C" FILE*(__cdecl* const kStreamFunction)(unsigned)__asm__("__imp____acrt_iob_func");
extern "C" FILE*(__cdecl* const kStreamFunction)(unsigned) = stream_of;
