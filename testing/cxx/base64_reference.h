// For tests: base64 taken bit by bit and symbol by symbol, as slow and plain as can be.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "compose/base64_codec.h"

namespace base64_reference {

using Bytes = std::vector<unsigned char>;

struct Outcome {
    std::string bytes;
    base64::DecodeEnd end;

    bool operator==(const Outcome&) const = default;
};

inline void PrintTo(const Outcome& outcome, std::ostream* out) {
    *out << "end " << static_cast<int>(outcome.end) << ", bytes:" << std::hex;
    for (unsigned char byte : outcome.bytes)
        *out << ' ' << static_cast<unsigned>(byte);
}

inline const std::string kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

inline std::string encoded(const Bytes& bytes, base64::LineBreak line_break) {
    std::string text;
    unsigned bits = 0, count = 0;
    for (unsigned char byte : bytes) {
        for (int bit = 7; bit >= 0; --bit) {
            bits = bits << 1 | (byte >> bit & 1);
            if (++count == 6) {
                text += kAlphabet[bits];
                bits = count = 0;
            }
        }
    }
    if (count)
        text += kAlphabet[bits << (6 - count)];
    const char* const paddings[] = {"=", "==", "="};
    if (line_break == base64::LineBreak::once && bytes.size() >= 54)
        text.insert(72, "\r\n");
    return text + paddings[bytes.size() % 3];
}

// With a table of the caller's, if one is given, instead of the alphabet.
inline Outcome decoded(const std::string& text, const unsigned char* table = nullptr) {
    using base64::DecodeEnd;
    constexpr int kBlank = 0xFE, kForeign = 0xFF;
    const auto value_of = [table](char character) {
        if (table)
            return static_cast<int>(table[static_cast<unsigned char>(character)]);
        if (std::string(" \t\r\n").find(character) != std::string::npos)
            return kBlank;
        const std::size_t value = kAlphabet.find(character);
        return value == std::string::npos ? kForeign : static_cast<int>(value);
    };
    std::string bytes;
    std::size_t at = 0;
    while (at < text.size()) {
        int symbols[4];
        bool padded = false;
        for (int& symbol : symbols) {
            symbol = -1; // stands for padding
            while (!padded) {
                if (at == text.size())
                    return {"", DecodeEnd::malformed};
                const char character = text[at++];
                if (character == '=') {
                    padded = true;
                } else if (value_of(character) == kForeign) {
                    return {"", DecodeEnd::malformed};
                } else if (value_of(character) != kBlank) {
                    symbol = value_of(character);
                    break;
                }
            }
        }
        if (symbols[0] < 0 || symbols[1] < 0)
            return {bytes, DecodeEnd::padding};
        bytes += static_cast<char>((symbols[0] * 4 & 0xFF) | symbols[1] / 16 % 4);
        if (symbols[2] < 0)
            return {bytes, DecodeEnd::padding};
        bytes += static_cast<char>(symbols[1] % 16 * 16 | symbols[2] / 4 % 16);
        if (symbols[3] < 0)
            return {bytes, DecodeEnd::padding};
        bytes += static_cast<char>(symbols[2] % 4 * 64 | symbols[3]);
    }
    return {bytes, DecodeEnd::end_of_text};
}

} // namespace base64_reference
