// Searching texts that are given by pointer and length, for both character types of the strings, and comparing them by
// letters.
#pragma once

#include <string.h>

#include "base/base_array.h"

namespace gen {

inline size_t measure(const char* text) {
    return strlen(text);
}
size_t measure(const unsigned short* text);

// The length of a NUL-terminated text; 0 for null. A text longer than a string can hold throws genlib_out_of_memory.
// Here and not in the source, as the length of a literal is known where it stands.
template <typename T>
inline unsigned text_length(const T* text) {
    const size_t length = text ? measure(text) : 0;
    if (length >= base_array::kMaxBytes / sizeof(T))
        throw_out_of_memory();
    return static_cast<unsigned>(length);
}

// The index of the first match of the pattern at or after `from`, or -1. An empty pattern is found nowhere. No byte
// outside the two ranges is read, and NULs inside the text are characters like others.
template <typename T>
int find_text(const T* text, unsigned length, const T* pattern, unsigned pattern_length, unsigned from);

extern template unsigned text_length(const char*);
extern template unsigned text_length(const unsigned short*);
extern template int find_text(const char*, unsigned, const char*, unsigned, unsigned);
extern template int find_text(const unsigned short*, unsigned, const unsigned short*, unsigned, unsigned);

// The letters A to Z without regard to their case: every other byte is itself alone, whatever the locale.

constexpr char ascii_upper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

constexpr bool begins_ignoring_case(const char* text, const char* beginning) noexcept {
    for (; *beginning; ++text, ++beginning)
        if (ascii_upper(*text) != ascii_upper(*beginning))
            return false;
    return true;
}

constexpr bool equal_ignoring_case(const char* left, const char* right) noexcept {
    return begins_ignoring_case(left, right) && begins_ignoring_case(right, left);
}

} // namespace gen
