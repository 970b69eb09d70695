// stdin, stdout and stderr: the headers ask a function for them that only newer C runtimes have; msvcrt.dll has an
// array.
#include <stdio.h>

// The linker's name of what the import table holds for a name of C, which begins with an underscore in 32 bits.
#define TEXT_OF(prefix) #prefix
#define IMPORTED(prefix, name) "__imp_" TEXT_OF(prefix) name

namespace {

extern "C" FILE* const kImportedStreams __asm__(IMPORTED(__USER_LABEL_PREFIX__, "_iob"));

FILE* __cdecl stream_of(unsigned index) {
    return kImportedStreams + index;
}

} // namespace

extern "C" FILE*(__cdecl* const kStreamFunction)(unsigned)__asm__(IMPORTED(__USER_LABEL_PREFIX__, "__acrt_iob_func"));
extern "C" FILE*(__cdecl* const kStreamFunction)(unsigned) = stream_of;
