// Whole groups go through the fastest loops that this processor has (base64_kernels.h). The line break, padding and
// whatever else interrupts the groups are dealt with here, a character at a time.
#include "compose/base64_codec.h"

#include <string.h>

#include "compose/base64_kernels.h"

namespace base64 {

namespace {

constexpr unsigned kGroupsPerLine = kLineLength / 4;

// The bytes behind the last whole group, and the padding that every text ends in.
void encode_rest(const unsigned char* data, unsigned rest, char* text) {
    if (rest > 0) {
        const unsigned bits = data[0] << 16 | (rest > 1 ? data[1] << 8 : 0);
        *text++ = kAlphabet[bits >> 18];
        *text++ = kAlphabet[bits >> 12 & 63];
        *text++ = rest > 1 ? kAlphabet[bits >> 6 & 63] : '=';
    }
    *text = '=';
}

} // namespace

unsigned long long encoded_length(unsigned size, LineBreak line_break) {
    const unsigned groups = size / 3;
    const bool broken = line_break == LineBreak::once && groups >= kGroupsPerLine;
    return groups * 4ull + (broken ? 2 : 0) + (size % 3 ? 4 : 1);
}

void encode(const unsigned char* data, unsigned size, LineBreak line_break, char* text) {
    const auto encode_groups = fastest_kernels().encode;
    unsigned groups = size / 3;
    if (line_break == LineBreak::once && groups >= kGroupsPerLine) {
        encode_groups(data, kGroupsPerLine, text);
        data += kGroupsPerLine * 3;
        text += kLineLength;
        *text++ = '\r';
        *text++ = '\n';
        groups -= kGroupsPerLine;
    }
    encode_groups(data, groups, text);
    encode_rest(data + static_cast<size_t>(groups) * 3, size % 3, text + static_cast<size_t>(groups) * 4);
}

constexpr DecodeTable::DecodeTable() : values() {
    for (unsigned char& value : values)
        value = kOutsideAlphabet;
    for (unsigned char value = 0; value < 64; ++value)
        values[static_cast<unsigned char>(kAlphabet[value])] = value;
    values['\t'] = values['\n'] = values['\r'] = values[' '] = kSkipped;
}
constinit const DecodeTable kDecodeTable;

// Long clean stretches go through the fast loop. What stops it - padding, a character to skip, a foreign one, the end -
// is left to the exact reading of one group, after which the fast loop takes over again.
Decoded decode(const unsigned char table[256], const unsigned char* text, unsigned length, unsigned char* bytes) {
    const unsigned char* const end = text + length;
    unsigned char* out = bytes;
    const bool standard = memcmp(table, kDecodeTable.values, sizeof(kDecodeTable.values)) == 0;
    const bool padding_stops = table['='] > 63; // "=" ends the text even where the table has a value for it
    const auto decode_groups = fastest_kernels().decode;
    const auto written = [&] { return static_cast<unsigned>(out - bytes); };
    while (text != end) {
        const unsigned groups = padding_stops ? static_cast<unsigned>(end - text) / 4 : 0;
        const unsigned clean = standard ? decode_groups(text, groups, out) : decode_by_table(table, text, groups, out);
        text += static_cast<size_t>(clean) * 4;
        out += static_cast<size_t>(clean) * 3;
        if (text == end)
            break;

        unsigned values[4] = {};
        unsigned symbols = 0;
        bool padded = false;
        while (symbols < 4 && !padded) {
            if (text == end)
                return {0, DecodeEnd::malformed};
            const unsigned char character = *text++;
            if (character == '=') {
                padded = true;
            } else if (table[character] == kOutsideAlphabet) {
                return {0, DecodeEnd::malformed};
            } else if (table[character] != kSkipped) {
                values[symbols++] = table[character];
            }
        }
        if (symbols >= 2)
            *out++ = static_cast<unsigned char>(values[0] << 2 | (values[1] >> 4 & 3));
        if (symbols >= 3)
            *out++ = static_cast<unsigned char>(values[1] << 4 | (values[2] >> 2 & 15));
        if (padded)
            return {written(), DecodeEnd::padding};
        *out++ = static_cast<unsigned char>(values[2] << 6 | values[3]);
    }
    return {written(), DecodeEnd::end_of_text};
}

} // namespace base64
