// A dialog's text is in a buffer of fixed size: one that would no longer fit stays as it was.
#include "report/report_texts.h"

#include <string.h>

namespace report {

namespace {

unsigned length_of(const wchar_t* text) {
    unsigned length = 0;
    while (text[length])
        ++length;
    return length;
}

} // namespace

bool replace_word(wchar_t* text, unsigned size, const wchar_t* word, const wchar_t* name) {
    const unsigned length = length_of(text);
    const unsigned word_length = length_of(word);
    unsigned name_length = length_of(name);
    for (const wchar_t* letter = name; *letter; ++letter)
        name_length += *letter == L'&';
    for (unsigned at = 0; at + word_length <= length; ++at) {
        if (memcmp(text + at, word, word_length * sizeof(wchar_t)) != 0)
            continue;
        if (length - word_length + name_length >= size)
            return false;
        memmove(text + at + name_length, text + at + word_length, (length - at - word_length + 1) * sizeof(wchar_t));
        for (wchar_t* to = text + at; *name; *to++ = *name++) {
            if (*name == L'&')
                *to++ = *name;
        }
        return true;
    }
    return false;
}

} // namespace report
