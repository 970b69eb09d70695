// Conversions of whole rows of pixels.
#pragma once

#include <stdint.h>

namespace glib {

// Which bits of a pixel hold which colour.
struct ChannelMasks {
    uint32_t red, green, blue;
};

// What 16 bits per pixel mean unless a bitmap says otherwise.
constexpr ChannelMasks kMasks555 = {0x7C00, 0x03E0, 0x001F};

// Pixels of 16 bits become blue, green, red bytes; full intensity in any number of bits becomes 255. A colour without
// mask bits is 0. `source` may stand at any address; the rows must not overlap.
void convert_16_to_24(const uint8_t* source, uint8_t* target, uint32_t width, const ChannelMasks& masks);

} // namespace glib
