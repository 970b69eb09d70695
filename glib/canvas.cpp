// On the way back to a raster the alpha goes where every pixel is opaque, or is mixed with white.
#include "glib/canvas.h"

#include <string.h>

#include "glib/blend.h"

namespace glib {

bool Canvas::Create(uint32_t width, uint32_t height) {
    m_width = m_height = 0;
    m_pixels.Free();
    const uint64_t bytes = static_cast<uint64_t>(width) * height * sizeof(RGB32);
    if (!width || !height || !is_within_contract(width, height, bytes) ||
        !m_pixels.Allocate(static_cast<size_t>(bytes)))
        return false;
    m_width = width;
    m_height = height;
    return true;
}

bool Canvas::CreateFrom(const Raster& raster) {
    if (!Create(raster.width(), raster.height()))
        return false;
    for (uint32_t y = 0; y < m_height; ++y)
        raster.ReadRow(y, row(y));
    return true;
}

bool Canvas::IsOpaque() const {
    for (uint32_t y = 0; y < m_height; ++y)
        for (uint32_t x = 0; x < m_width; ++x)
            if (row(y)[x].alpha != 255)
                return false;
    return true;
}

namespace {

void write_24(const RGB32* colours, uint8_t* target, uint32_t count) {
    for (uint32_t x = 0; x < count; ++x, target += 3) {
        target[0] = colours[x].blue;
        target[1] = colours[x].green;
        target[2] = colours[x].red;
    }
}

} // namespace

bool Canvas::ToRaster(Raster& raster) const {
    const bool opaque = IsOpaque();
    if (!raster.Create(m_width, m_height, opaque ? 24 : 32))
        return false;
    for (uint32_t y = 0; y < m_height; ++y) {
        if (opaque)
            write_24(row(y), raster.row(y), m_width);
        else
            memcpy(raster.row(y), row(y), m_width * sizeof(RGB32));
    }
    return true;
}

// For formats without alpha: what a viewer with a white page would show.
bool Canvas::ToRasterOnWhite(Raster& raster) const {
    if (!raster.Create(m_width, m_height, 24))
        return false;
    for (uint32_t y = 0; y < m_height; ++y) {
        for (uint32_t x = 0; x < m_width; ++x) {
            RGB32 colour = {255, 255, 255, 255};
            blend_row(blend_norm, row(y) + x, &colour, 1, x, y);
            write_24(&colour, raster.row(y) + 3 * x, 1);
        }
    }
    return true;
}

} // namespace glib
