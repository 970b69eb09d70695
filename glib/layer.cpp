// GDI+ draws layers of the normal mode; those of the other modes are mixed here, row by row.
#include "glib/layer.h"

#include <new>

#include "base/owner.h"
#include "glib/canvas.h"
#include "glib/raster.h"

namespace glib {

namespace {

// Mixes a picture row by row into the part of the page that it covers.
void blend_picture(BlendMode mode, const Canvas& picture, Canvas& page, int32_t left, int32_t top) {
    // In 64 bits, as a layer may lie anywhere outside the page.
    const int64_t from_x = left < 0 ? -static_cast<int64_t>(left) : 0;
    const int64_t from_y = top < 0 ? -static_cast<int64_t>(top) : 0;
    int64_t to_x = static_cast<int64_t>(page.width()) - left;
    int64_t to_y = static_cast<int64_t>(page.height()) - top;
    to_x = to_x < picture.width() ? to_x : picture.width();
    to_y = to_y < picture.height() ? to_y : picture.height();
    for (int64_t y = from_y; y < to_y && from_x < to_x; ++y) {
        const uint32_t page_x = static_cast<uint32_t>(left + from_x), page_y = static_cast<uint32_t>(top + y);
        blend_row(mode, picture.row(static_cast<uint32_t>(y)) + from_x, page.row(page_y) + page_x,
                  static_cast<uint32_t>(to_x - from_x), page_x, page_y);
    }
}

} // namespace

void Layer::copy_settings(const Layer& other) {
    name = other.name;
    left = other.left;
    top = other.top;
    scales = other.scales;
    blend_mode = other.blend_mode;
}

Layer* Layer::Clone() const {
    gen::Owner<Layer> copy;
    if (m_drawing) {
        gen::Owner<VectorImage> drawing(m_drawing->Clone());
        if (drawing)
            copy.reset(new (std::nothrow) Layer(drawing.get()));
        if (copy)
            drawing.release();
    } else {
        Raster raster;
        if (raster.CopyFrom(m_raster))
            copy.reset(new (std::nothrow) Layer(gen::move(raster)));
    }
    if (copy)
        copy->copy_settings(*this);
    return copy.release();
}

ResultCode Layer::DrawOn(Canvas& page) const {
    if (m_drawing && blend_mode == blend_norm)
        return m_drawing->Draw(page, left, top, width(), height()) ? RCOK : IERR;
    Canvas picture;
    if (m_drawing) {
        if (!picture.Create(width(), height()))
            return OMEM;
        if (!m_drawing->Draw(picture, 0, 0, width(), height()))
            return IERR;
    } else if (!picture.CreateFrom(m_raster)) {
        return OMEM;
    }
    if (blend_mode == blend_norm)
        return draw_picture(page, picture, left, top) ? RCOK : IERR;
    blend_picture(blend_mode, picture, page, left, top);
    return RCOK;
}

ResultCode Layer::Resized(uint32_t new_width, uint32_t new_height, int scale_type, Layer** resized) const {
    *resized = nullptr;
    gen::Owner<Layer> layer;
    if (m_drawing) {
        gen::Owner<VectorImage> drawing(m_drawing->Resized(new_width, new_height));
        if (!drawing)
            return IERR;
        layer.reset(new (std::nothrow) Layer(drawing.get()));
        if (layer)
            drawing.release();
    } else {
        Raster raster;
        const ResultCode code = scale_raster(m_raster, raster, new_width, new_height, scale_type);
        if (code != RCOK)
            return code;
        layer.reset(new (std::nothrow) Layer(gen::move(raster)));
    }
    if (!layer)
        return OMEM;
    layer->copy_settings(*this);
    *resized = layer.release();
    return RCOK;
}

} // namespace glib
