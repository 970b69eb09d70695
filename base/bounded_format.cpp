#include "base/bounded_format.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

namespace gen {

#ifdef _WIN32

int bounded_format(char* buffer, unsigned limit, const char* format, va_list arguments) {
    return _vsnprintf(buffer, limit, format, arguments);
}

#else

// The C99 formatter always ends the text with a NUL, so a text that fills the buffer or overflows it is made aside.
int bounded_format(char* buffer, unsigned limit, const char* format, va_list arguments) {
    va_list once;
    va_copy(once, arguments);
    const int length = vsnprintf(nullptr, 0, format, once);
    va_end(once);
    if (length < 0)
        return -1;
    const unsigned needed = static_cast<unsigned>(length);
    if (needed < limit)
        return vsnprintf(buffer, limit, format, arguments);
    char* aside = static_cast<char*>(malloc(limit + 1));
    if (!aside)
        return -1;
    vsnprintf(aside, limit + 1, format, arguments);
    memcpy(buffer, aside, limit);
    free(aside);
    return needed == limit ? length : -1;
}

#endif

} // namespace gen
