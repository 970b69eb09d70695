// A drawing that can be shown in any size.
#pragma once

#include <stdint.h>

namespace glib {

class Canvas;

// Operations answer null or false on failure and leave the drawing as it was.
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

} // namespace glib
