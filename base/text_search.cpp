#include "base/text_search.h"

#include <string.h>

#include "base/base_array.h"

namespace gen {

namespace {

// The first `wanted` in [at, end), or end.
const char* find_character(const char* at, const char* end, char wanted) {
    const void* hit = memchr(at, wanted, static_cast<size_t>(end - at));
    return hit ? static_cast<const char*>(hit) : end;
}

const unsigned short* find_character(const unsigned short* at, const unsigned short* end, unsigned short wanted) {
    while (at != end && *at != wanted)
        ++at;
    return at;
}

size_t measure(const char* text) {
    return strlen(text);
}

size_t measure(const unsigned short* text) {
    const unsigned short* end = text;
    while (*end)
        ++end;
    return static_cast<size_t>(end - text);
}

} // namespace

template <typename T>
unsigned text_length(const T* text) {
    const size_t length = text ? measure(text) : 0;
    if (length >= base_array::max_bytes / sizeof(T))
        throw_out_of_memory();
    return static_cast<unsigned>(length);
}

template <typename T>
int find_text(const T* text, unsigned length, const T* pattern, unsigned pattern_length, unsigned from) {
    if (pattern_length == 0 || pattern_length > length || from > length - pattern_length)
        return -1;
    const T* const end = text + (length - pattern_length) + 1; // of the places where a match can start
    const unsigned last = pattern_length - 1;
    for (const T* at = text + from; (at = find_character(at, end, pattern[0])) != end; ++at) {
        // The last character first: in report texts many words begin alike.
        if (at[last] == pattern[last] && memcmp(at, pattern, pattern_length * sizeof(T)) == 0)
            return static_cast<int>(at - text);
    }
    return -1;
}

template unsigned text_length(const char*);
template unsigned text_length(const unsigned short*);
template int find_text(const char*, unsigned, const char*, unsigned, unsigned);
template int find_text(const unsigned short*, unsigned, const unsigned short*, unsigned, unsigned);

} // namespace gen
