// In place of GDI+ where there is none: what drawing a picture pixel for pixel comes to.
#include "glib/blend.h"
#include "glib/canvas.h"

namespace glib {

bool draw_picture(Canvas& target, const Canvas& picture, int32_t left, int32_t top) {
    for (uint32_t y = 0; y < picture.height(); ++y) {
        const int64_t page_y = static_cast<int64_t>(top) + y;
        for (uint32_t x = 0; x < picture.width() && page_y >= 0 && page_y < target.height(); ++x) {
            const int64_t page_x = static_cast<int64_t>(left) + x;
            if (page_x >= 0 && page_x < target.width())
                blend_row(blend_norm, picture.row(y) + x, target.row(static_cast<uint32_t>(page_y)) + page_x, 1, 0, 0);
        }
    }
    return true;
}

} // namespace glib
