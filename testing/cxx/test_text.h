// Texts of both character types for the tests of strings.
#pragma once

#include <string>

#include "base/basic_string.h"

// Text literals for both character types: narrow ones widened, kept until the program ends.
template <typename T>
const T* lit(const char* text) {
    static std::basic_string<T> kept[8];
    static unsigned next = 0;
    std::basic_string<T>& place = kept[next++ % 8];
    place.assign(text, text + std::char_traits<char>::length(text));
    return place.c_str();
}

template <typename T>
std::string narrow(const gen::basic_string<T>& text) {
    return std::string(text.c_str(), text.c_str() + text.length());
}
