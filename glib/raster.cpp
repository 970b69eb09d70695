// Palettes begin as ramps of grey. Create keeps to the limits of the module contract, CreateUnbounded only to what one
// block of memory can hold.
#include "glib/raster.h"

#include <string.h>

namespace glib {

namespace {

bool is_depth(uint32_t bits) {
    return bits == 1 || bits == 4 || bits == 8 || bits == 24 || bits == 32;
}

uint32_t palette_size(uint32_t bits) {
    return bits <= 8 ? 1u << bits : 0;
}

} // namespace

Raster::Raster(Raster&& other) noexcept {
    *this = static_cast<Raster&&>(other);
}

Raster& Raster::operator=(Raster&& other) noexcept {
    if (this == &other)
        return *this;
    m_width = other.m_width;
    m_height = other.m_height;
    m_bits_per_pixel = other.m_bits_per_pixel;
    m_transparent_index = other.m_transparent_index;
    m_pixels = static_cast<PixelBuffer&&>(other.m_pixels);
    m_palette = static_cast<gen::array<RGB32>&&>(other.m_palette);
    other.Clear();
    return *this;
}

// Takes the measures and makes the palette.
bool Raster::describe(uint32_t width, uint32_t height, uint32_t bits_per_pixel) {
    Clear();
    if (!is_depth(bits_per_pixel) || !picture_length(bits_per_pixel, width, height))
        return false;
    const uint32_t colours = palette_size(bits_per_pixel);
    m_palette.resize(colours);
    for (uint32_t i = 0; i < colours; ++i) {
        const uint8_t grey = static_cast<uint8_t>(i * 255 / (colours - 1));
        m_palette[i] = RGB32{grey, grey, grey, 255};
    }
    m_width = width;
    m_height = height;
    m_bits_per_pixel = bits_per_pixel;
    return true;
}

bool Raster::Create(uint32_t width, uint32_t height, uint32_t bits_per_pixel) {
    if (is_within_contract(width, height, picture_length(bits_per_pixel, width, height)))
        return CreateUnbounded(width, height, bits_per_pixel);
    Clear();
    return false;
}

bool Raster::CreateUnbounded(uint32_t width, uint32_t height, uint32_t bits_per_pixel) {
    if (describe(width, height, bits_per_pixel) && m_pixels.Allocate(static_cast<size_t>(row_bytes()) * height))
        return true;
    Clear();
    return false;
}

bool Raster::Adopt(uint32_t width, uint32_t height, uint32_t bits_per_pixel, PixelBuffer&& pixels) {
    if (!describe(width, height, bits_per_pixel))
        return false;
    m_pixels = static_cast<PixelBuffer&&>(pixels);
    return true;
}

bool Raster::CopyFrom(const Raster& other) {
    if (this == &other)
        return true;
    if (!CreateUnbounded(other.m_width, other.m_height, other.m_bits_per_pixel))
        return false;
    memcpy(pixels(), other.pixels(), static_cast<size_t>(row_bytes()) * m_height);
    m_palette = other.m_palette;
    m_transparent_index = other.m_transparent_index;
    return true;
}

void Raster::Clear() noexcept {
    m_width = m_height = m_bits_per_pixel = 0;
    m_transparent_index = -1;
    m_pixels.Free();
    m_palette.clear();
}

// Entries beyond the depth's count are no part of it, and those not given stay as they were.
void Raster::SetPalette(const RGB32* entries, uint32_t count) {
    for (uint32_t i = 0; i < count && i < m_palette.size(); ++i)
        m_palette[i] = entries[i];
}

void Raster::ReadRow(uint32_t y, RGB32* out) const {
    const uint8_t* source = row(y);
    if (m_bits_per_pixel == 32) {
        memcpy(out, source, static_cast<size_t>(m_width) * sizeof(RGB32));
    } else if (m_bits_per_pixel == 24) {
        for (uint32_t x = 0; x < m_width; ++x, source += 3)
            out[x] = RGB32{source[0], source[1], source[2], 255};
    } else {
        const uint32_t per_byte = 8 / m_bits_per_pixel;
        const uint32_t mask = m_palette.size() - 1;
        const RGB32* colours = m_palette.data();
        for (uint32_t x = 0; x < m_width; ++x) {
            // The leftmost pixel of a byte is in its highest bits.
            const uint32_t shift = 8 - m_bits_per_pixel * (x % per_byte + 1);
            const uint32_t index = source[x / per_byte] >> shift & mask;
            out[x] = colours[index];
            out[x].alpha = static_cast<int32_t>(index) == m_transparent_index ? 0 : 255;
        }
    }
}

IDEPage Raster::AsPage() noexcept {
    IDEPage page = {};
    page.width = m_width;
    page.height = m_height;
    page.bits_per_pixel = m_bits_per_pixel;
    page.row_bytes = row_bytes();
    page.pixels = pixels();
    page.palette = m_palette.data();
    page.palette_count = m_palette.size();
    page.transparent_index = m_transparent_index;
    return page;
}

} // namespace glib
