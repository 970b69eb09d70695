// Copying texts, most of which are short. By a call instead, an append to a text with space takes twice as long, and
// longer than std::string's (docs/measurements.md).
#pragma once

#include <stddef.h>
#include <string.h>

namespace gen {

constexpr size_t kLongestShortCopy = 32; // bytes; beyond it a call costs little beside the copying

// Copies `size` bytes, without a call where they are few. The two may overlap as they do when a text with its NUL is
// appended to itself: in the last character of the source, which is the first of the target.
inline void short_copy(void* target, const void* source, size_t size) {
    constexpr size_t kWordSize = sizeof(unsigned);
    if (__builtin_constant_p(size) || size < kWordSize || size > kLongestShortCopy) {
        memmove(target, source, size); // a few instructions if the size is known
        return;
    }
    // By words. The last one ends with the source, wherever that makes it begin.
    char* const to = static_cast<char*>(target);
    const char* const from = static_cast<const char*>(source);
    const size_t last_at = size - kWordSize;
    unsigned word, last;
    memcpy(&last, from + last_at, kWordSize);
    for (size_t at = 0; at < last_at; at += kWordSize) {
        memcpy(&word, from + at, kWordSize);
        memcpy(to + at, &word, kWordSize);
    }
    memcpy(to + last_at, &last, kWordSize);
}

} // namespace gen
