// The letters A to Z without regard to their case. Every other byte is itself alone, whatever the locale.
#pragma once

namespace gen {

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
