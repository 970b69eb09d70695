// Vector content: a metafile held by GDI+.
#pragma once

#include <windows.h>

#include "glib/gdiplus_image.h"
#include "glib/layer.h"

namespace glib {

// GDI+ must run while it is used; once GDI+ was stopped the drawing is gone, and every operation fails.
class MetafileImage : public VectorImage {
public:
    // Takes the handle over, which goes with the drawing. Null, with the handle deleted, when GDI+ refuses it or
    // doesn't run.
    static MetafileImage* FromHandle(HENHMETAFILE handle);

    uint32_t width() const override { return m_width; }
    uint32_t height() const override { return m_height; }
    MetafileImage* Clone() const override;
    // Records the drawing anew in the other size.
    MetafileImage* Resized(uint32_t width, uint32_t height) const override;
    bool Draw(Canvas& canvas, int32_t left, int32_t top, uint32_t width, uint32_t height) const override;

    // A copy as a handle of the caller's; null on failure.
    HENHMETAFILE CopyHandle() const;
    double resolution_x() const { return m_resolution_x; } // pixels per inch
    double resolution_y() const { return m_resolution_y; }

private:
    MetafileImage() = default;
    bool read_header();

    GdiplusImage m_image;
    PixelRect m_bounds = {0, 0, 0, 0}; // of the drawing, as the metafile has it
    uint32_t m_width = 0;              // as it is shown
    uint32_t m_height = 0;
    double m_resolution_x = 0.0, m_resolution_y = 0.0;
};

} // namespace glib
