// One picture on a page.
#pragma once

#include "base/std_string.h"
#include "glib/blend.h"
#include "glib/raster.h"

namespace glib {

class Canvas;

// A drawing that can be shown in any size. Operations answer null or false on failure and leave the drawing as it was.
class VectorImage {
public:
    virtual ~VectorImage() {}
    virtual uint32_t width() const = 0; // pixels
    virtual uint32_t height() const = 0;
    virtual VectorImage* Clone() const = 0; // the caller deletes it
    virtual VectorImage* Resized(uint32_t width, uint32_t height) const = 0;
    // Draws the whole of it into the rectangle.
    virtual bool Draw(Canvas& canvas, int32_t left, int32_t top, uint32_t width, uint32_t height) const = 0;
};

// A layer shows either pixels or, for vector content, a drawing. Its place is that of its top left corner on the page,
// in page pixels; it may lie outside the page, whole or in part.
class Layer {
public:
    explicit Layer(Raster&& raster) : m_raster(static_cast<Raster&&>(raster)) {}
    explicit Layer(VectorImage* drawing) : m_drawing(drawing) {} // takes the drawing over
    Layer(const Layer&) = delete;
    Layer& operator=(const Layer&) = delete;
    ~Layer() { delete m_drawing; }

    // Another layer that looks the same; the caller deletes it. Without memory null, or gen::genlib_out_of_memory.
    Layer* Clone() const;

    uint32_t width() const { return m_drawing ? m_drawing->width() : m_raster.width(); }
    uint32_t height() const { return m_drawing ? m_drawing->height() : m_raster.height(); }
    uint32_t bits_per_pixel() const { return m_drawing ? 32 : m_raster.bits_per_pixel(); }

    bool is_vector() const { return m_drawing != nullptr; }
    Raster& raster() { return m_raster; } // empty for a vector layer
    const Raster& raster() const { return m_raster; }

    // Mixes the layer into a page. Layers in "norm" mode and drawings need GDI+ running. IERR if it refuses, OMEM.
    ResultCode DrawOn(Canvas& page) const;

    // A layer that shows the same in another size, at the same place. Pixels are resampled by the scale type, drawings
    // redrawn. The caller deletes what is put into `resized`, which is null on failure.
    ResultCode Resized(uint32_t width, uint32_t height, int scale_type, Layer** resized) const;

    CStdString name;
    int32_t left = 0;
    int32_t top = 0;
    bool scales = true; // takes part when its page is stretched
    BlendMode blend_mode = blend_norm;

private:
    void copy_settings(const Layer& other);

    Raster m_raster;
    VectorImage* m_drawing = nullptr; // owned
};

} // namespace glib
