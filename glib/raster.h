// A picture in memory: pixels, their depth, and the palette where the depth needs one.
#pragma once

#include <stdint.h>

#include "base/array.h"
#include "glib/module_contract.h"
#include "glib/pixel_buffer.h"

namespace glib {

// The bytes of one row of pixels, padded to whole 32-bit words.
constexpr uint64_t row_length(uint32_t bits_per_pixel, uint32_t width) {
    return (static_cast<uint64_t>(bits_per_pixel) * width + 31) / 8 & ~static_cast<uint64_t>(3);
}

// The bytes of a picture's pixels, 0 for more than one block of memory can have in 32 bits, or none.
constexpr uint32_t picture_length(uint32_t bits_per_pixel, uint32_t width, uint32_t height) {
    constexpr uint32_t kMost = 0x7FFFFFFF;
    const uint64_t row = row_length(bits_per_pixel, width);
    return row && row <= kMost && height <= kMost / static_cast<uint32_t>(row) ? static_cast<uint32_t>(row) * height
                                                                               : 0;
}

// Whether a picture is within the limits of the module contract.
constexpr bool is_within_contract(uint32_t width, uint32_t height, uint64_t bytes) {
    return width <= GLIB_MAX_PAGE_SIDE && height <= GLIB_MAX_PAGE_SIDE && bytes <= GLIB_MAX_PAGE_BYTES;
}

// Pixels lie as in IDEPage: rows from the bottom up, blue first. A raster without pixels has width and height 0.
class Raster {
public:
    Raster() = default;
    Raster(Raster&& other) noexcept;
    Raster& operator=(Raster&& other) noexcept; // the source is left without pixels

    // Black pixels (index 0 below 24 bits, transparent in 32) and a palette of greys. False, with no pixels at all, for
    // a depth other than 1, 4, 8, 24 and 32, a side of 0, a picture beyond the limits of the module contract, or too
    // little memory.
    bool Create(uint32_t width, uint32_t height, uint32_t bits_per_pixel);
    // The same as far as memory goes: for pictures that come from no module.
    bool CreateUnbounded(uint32_t width, uint32_t height, uint32_t bits_per_pixel);
    // The same over memory that holds the pixels already, which it takes over on success.
    bool Adopt(uint32_t width, uint32_t height, uint32_t bits_per_pixel, PixelBuffer&& pixels);
    // Takes pixels and palette of the other; false as in CreateUnbounded.
    bool CopyFrom(const Raster& other);
    void Clear() noexcept;

    bool empty() const { return m_width == 0; }
    uint32_t width() const { return m_width; }
    uint32_t height() const { return m_height; }
    uint32_t bits_per_pixel() const { return m_bits_per_pixel; }
    uint32_t row_bytes() const noexcept { return static_cast<uint32_t>(row_length(m_bits_per_pixel, m_width)); }
    uint8_t* pixels() { return m_pixels.data(); }
    const uint8_t* pixels() const { return m_pixels.data(); }

    // Row y counted from the top of the picture; unchecked.
    uint8_t* row(uint32_t y) noexcept { return m_pixels.data() + row_offset(y); }
    const uint8_t* row(uint32_t y) const noexcept { return m_pixels.data() + row_offset(y); }

    // 2, 16 or 256 entries, or none above 8 bits per pixel.
    const gen::array<RGB32>& palette() const { return m_palette; }
    // Takes the first `count` entries and leaves the rest as they are; more than the palette holds are ignored.
    void SetPalette(const RGB32* entries, uint32_t count);

    // The palette index that is transparent as a whole, -1: none.
    int32_t transparent_index() const { return m_transparent_index; }
    void SetTransparentIndex(int32_t index) { m_transparent_index = index; }

    // Whether any pixel may be other than opaque.
    bool HasAlpha() const { return m_bits_per_pixel == 32 || m_transparent_index >= 0; }
    // Row y as colours with alpha, `width` entries; unchecked.
    void ReadRow(uint32_t y, RGB32* out) const;

    // What the module contract calls a page, over the same memory.
    IDEPage AsPage() noexcept;

private:
    bool describe(uint32_t width, uint32_t height, uint32_t bits_per_pixel);
    size_t row_offset(uint32_t y) const noexcept { return static_cast<size_t>(m_height - 1 - y) * row_bytes(); }

    uint32_t m_width = 0;
    uint32_t m_height = 0;
    uint32_t m_bits_per_pixel = 0;
    int32_t m_transparent_index = -1;
    PixelBuffer m_pixels;
    gen::array<RGB32> m_palette{gen::unallocated()};
};

// Makes `target` the source in the new size. `scale_type` goes through to glib::Scale (1 is the best). The depth may
// rise where colours must be mixed: a palette becomes 24 bits, or 32 if one index is transparent. BADA for a type, size
// or source that can't be scaled, OMEM without memory; the target is empty then.
ResultCode scale_raster(const Raster& source, Raster& target, uint32_t width, uint32_t height, int scale_type);

// Conversions of whole rows of pixels

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
