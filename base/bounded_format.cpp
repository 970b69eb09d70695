// On Windows the runtime's own function; elsewhere C99's, made to behave like it, so that what builds on it can be
// tested and fuzzed natively.
#include "base/bounded_format.h"

#include <stdio.h>
#ifndef _WIN32
#include <string.h>
#include <vector>
#endif

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
    std::vector<char> aside(limit + 1);
    vsnprintf(aside.data(), limit + 1, format, arguments);
    memcpy(buffer, aside.data(), limit);
    return needed == limit ? length : -1;
}

#endif

} // namespace gen
