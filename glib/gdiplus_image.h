// Pictures that GDI+ holds, and the fixed way in which the layer draws with it.
#pragma once

#include "glib/canvas.h"

namespace Gdiplus {
class GpImage;
class GpGraphics;
} // namespace Gdiplus

namespace glib {

// A whole-pixel rectangle.
struct PixelRect {
    int32_t left, top, width, height;
};

// Owns a native image of GDI+, held in a small record that GDI+ allocates. When GDI+ was stopped since, both are gone
// already and the owner lets go of them without a call.
class GdiplusImage {
public:
    GdiplusImage() = default;
    GdiplusImage(const GdiplusImage&) = delete;
    GdiplusImage& operator=(const GdiplusImage&) = delete;
    ~GdiplusImage() { Reset(); }

    // Gives up what it held and takes the image over. False when it is null, GDI+ isn't running (an image is gone with
    // its GDI+), or GDI+ has no memory; then the image is disposed of.
    bool Take(Gdiplus::GpImage* native);
    bool TakeCloneOf(const GdiplusImage& other);
    void Reset() noexcept;

    // Null when there is none, or GDI+ was stopped since it was made.
    Gdiplus::GpImage* native() const noexcept;

private:
    struct Record {
        Gdiplus::GpImage* native;
    };

    Record* m_record = nullptr;
    uint32_t m_period = 0; // see gdiplus_period
};

// Sets the drawing modes of the layer; false if GDI+ refuses one.
bool set_drawing_modes(Gdiplus::GpGraphics* graphics);

// Draws the whole image into the rectangle, smoothly.
bool draw_image(Canvas& target, const GdiplusImage& image, const PixelRect& rect);
// Draws a part of one image into a rectangle of another.
bool draw_image_to_scale(const GdiplusImage& target, const GdiplusImage& image, const PixelRect& rect,
                         const PixelRect& source);

} // namespace glib
