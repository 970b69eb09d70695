// The search looks at a machine word of places at once: where the first and the last character of the pattern both
// stand at their places, and only there, the whole pattern is compared. Texts of many megabytes (encoded attachments)
// are searched for short placeholders that occur once or never, so nearly all time goes into that first look. Plain
// words, not vector instructions: the processor may be too old for those.
#include "base/text_search.h"

namespace gen {

namespace {

// A word that holds 1 in each of its characters.
template <typename T>
constexpr size_t kOnes = ~static_cast<size_t>(0) / ((1ULL << (8 * sizeof(T))) - 1);

size_t spread(char character) {
    return kOnes<char> * static_cast<unsigned char>(character);
}
size_t spread(unsigned short character) {
    return kOnes<unsigned short> * character;
}

template <typename T>
size_t load(const T* at) {
    size_t word;
    memcpy(&word, at, sizeof word);
    return word;
}

// Whether a character of the word is zero. In a zero character, and only there (or above it, through the borrow), the
// highest bit is clear before the subtraction and set after it.
template <typename T>
bool has_zero(size_t word) {
    constexpr size_t kHighest = kOnes<T> << (8 * sizeof(T) - 1);
    const size_t lowered = word - kOnes<T>;
    return (lowered & ~word & kHighest) != 0;
}

} // namespace

size_t measure(const unsigned short* text) {
    const unsigned short* end = text;
    while (*end)
        ++end;
    return static_cast<size_t>(end - text);
}

template <typename T>
int find_text(const T* text, unsigned length, const T* pattern, unsigned pattern_length, unsigned from) {
    if (pattern_length == 0 || pattern_length > length || from > length - pattern_length)
        return -1;
    const T* at = text + from;
    const T* const end = text + (length - pattern_length) + 1; // of the places where a match can start
    const unsigned last = pattern_length - 1;
    const auto is_match = [&](const T* place) {
        return place[0] == pattern[0] && place[last] == pattern[last] &&
               memcmp(place, pattern, pattern_length * sizeof(T)) == 0;
    };

    constexpr unsigned kCharacters = sizeof(size_t) / sizeof(T); // in a word
    const size_t first_wanted = spread(pattern[0]);
    const size_t last_wanted = spread(pattern[last]);
    for (; static_cast<size_t>(end - at) >= kCharacters; at += kCharacters) {
        if (!has_zero<T>((load(at) ^ first_wanted) | (load(at + last) ^ last_wanted)))
            continue;
        for (unsigned i = 0; i < kCharacters; ++i) {
            if (is_match(at + i))
                return static_cast<int>(at + i - text);
        }
    }
    for (; at != end; ++at) {
        if (is_match(at))
            return static_cast<int>(at - text);
    }
    return -1;
}

template unsigned text_length(const char*);
template unsigned text_length(const unsigned short*);
template int find_text(const char*, unsigned, const char*, unsigned, unsigned);
template int find_text(const unsigned short*, unsigned, const unsigned short*, unsigned, unsigned);

} // namespace gen
