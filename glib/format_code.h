// The code of an image format: capability bits in the top byte, a short name of up to three letters below it.
#pragma once

#include <stdint.h>

namespace glib {

// Every 32-bit value is a legal code; the named ones are those that this layer itself mentions. A module may name a
// format with any top byte: formats are told apart by their low 24 bits.
enum EFormat : uint32_t {
    EFormat_none = 0,          // no format: let the data decide
    EFormat_JPG = 0x044A5047u, // what the screenshot is written in
};

// Capability bits in the top byte.
enum EFormatCapability : uint32_t {
    capability_movie = 0x01000000u,     // a film with a stream of its own
    capability_animation = 0x02000000u, // pages that follow each other in time
    capability_metadata = 0x04000000u,  // descriptive data beside the pixels
    capability_multipage = 0x10000000u, // several pages in one file
    capability_alpha = 0x20000000u,     // transparent pixels
    capability_layers = 0x40000000u,    // layers kept apart
    capability_vector = 0x80000000u,    // drawings instead of pixels
};

constexpr uint32_t name_bits(EFormat format) {
    return format & 0x00FFFFFFu;
}
constexpr bool same_format(EFormat a, EFormat b) {
    return name_bits(a) == name_bits(b);
}

// The short name as a text; the trailing blank of a two-letter name ("G3 ") is dropped.
struct FormatName {
    char text[4];

    explicit constexpr FormatName(EFormat format)
        : text{static_cast<char>(format >> 16), static_cast<char>(format >> 8), static_cast<char>(format), 0} {
        for (int last = 2; last >= 0 && (text[last] == ' ' || text[last] == 0); --last)
            text[last] = 0;
    }
};

// The code of a name of one to three characters, without capability bits; EFormat_none for any other text or null.
constexpr EFormat format_from_name(const char* name) {
    if (!name || !name[0])
        return EFormat_none;
    uint32_t bits = 0;
    int length = 0;
    for (; name[length]; ++length) {
        if (length == 3)
            return EFormat_none;
        bits = bits << 8 | static_cast<unsigned char>(name[length]);
    }
    for (; length < 3; ++length)
        bits = bits << 8 | ' ';
    return static_cast<EFormat>(bits);
}

} // namespace glib
