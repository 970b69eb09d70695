// Pixels of 16 bits as colours of 8 bits each, by whatever masks a bitmap names.
#include "glib/raster.h"

namespace glib {

namespace {

// One colour of a 16-bit pixel, ready to be spread over 0 to 255.
struct Channel {
    uint32_t mask;
    uint32_t shift;
    uint32_t full; // the value of full intensity

    explicit Channel(uint32_t bits) : mask(bits & 0xFFFF), shift(0) {
        while (mask && !(mask >> shift & 1))
            ++shift;
        full = mask >> shift;
    }
    uint8_t of(uint32_t pixel) const {
        return full ? static_cast<uint8_t>((((pixel & mask) >> shift) * 255 + full / 2) / full) : 0;
    }
};

} // namespace

void convert_16_to_24(const uint8_t* source, uint8_t* target, uint32_t width, const ChannelMasks& masks) {
    const Channel red(masks.red), green(masks.green), blue(masks.blue);
    for (uint32_t x = 0; x < width; ++x, source += 2, target += 3) {
        const uint32_t pixel = source[0] | static_cast<uint32_t>(source[1]) << 8;
        target[0] = blue.of(pixel);
        target[1] = green.of(pixel);
        target[2] = red.of(pixel);
    }
}

} // namespace glib
