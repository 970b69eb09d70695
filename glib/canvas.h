// A page that is being drawn: colours with alpha, rows from the top.
#pragma once

#include "glib/raster.h"

namespace glib {

class Canvas {
public:
    // All transparent. False, and without pixels, beyond the limits of the module contract or without memory.
    bool Create(uint32_t width, uint32_t height);
    // The raster's colours.
    bool CreateFrom(const Raster& raster);

    uint32_t width() const { return m_width; }
    uint32_t height() const { return m_height; }
    RGB32* row(uint32_t y) { return reinterpret_cast<RGB32*>(m_pixels.data()) + static_cast<size_t>(y) * m_width; }
    const RGB32* row(uint32_t y) const {
        return reinterpret_cast<const RGB32*>(m_pixels.data()) + static_cast<size_t>(y) * m_width;
    }

    bool IsOpaque() const;
    // The picture as a raster of 24 bits, or of 32 if anything is translucent. False without memory.
    bool ToRaster(Raster& raster) const;
    // The picture as a raster of 24 bits on a white ground. False without memory.
    bool ToRasterOnWhite(Raster& raster) const;

private:
    uint32_t m_width = 0;
    uint32_t m_height = 0;
    PixelBuffer m_pixels;
};

// Draws a picture over what is there, pixel for pixel, its top left corner at (left, top). By GDI+, which must be
// running; false if it refuses.
bool draw_picture(Canvas& target, const Canvas& picture, int32_t left, int32_t top);

} // namespace glib
