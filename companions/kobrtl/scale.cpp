// The exported scaler: checks all that a caller hands in, as the resampler trusts sizes, strides and palette, and works
// with floating-point settings of its own.
#include "companions/kobrtl/kobrtl.h"

#include "base/floating_point_scope.h"
#include "companions/kobrtl/resample.h"
#include "companions/kobrtl/row_source.h"

namespace glib {

namespace {

// Whether the rows of a picture can all lie in one address space, and none in the next one's place.
bool rows_fit(unsigned width, unsigned height, int stride, unsigned bpp) {
    const uint64_t distance = static_cast<uint64_t>(stride < 0 ? -static_cast<int64_t>(stride) : stride);
    const uint64_t length = kobrtl::row_length(width, bpp);
    return (height == 1 || distance >= length) && distance * (height - 1) + length <= PTRDIFF_MAX;
}

bool size_fits(unsigned width, unsigned height) {
    return width >= 1 && height >= 1 && width <= Scale::MaxSize && height <= Scale::MaxSize;
}

bool is_type(int type) {
    return type == Scale::Nearest || type == Scale::Area || type == Scale::Linear;
}

kobrtl::FilterPair filters_of(int type) {
    if (type == Scale::Linear)
        return {kobrtl::triangle(), kobrtl::triangle()};
    return {kobrtl::mitchell(), kobrtl::catmull_rom()};
}

} // namespace

Scale::Scale(const void* rows, unsigned width, unsigned height, int stride, unsigned bpp, const void* palette,
             unsigned colours)
    : m_rows(static_cast<const unsigned char*>(rows)), m_palette(static_cast<const unsigned char*>(palette)),
      m_width(width), m_height(height), m_stride(stride), m_bpp(bpp), m_colours(colours) {
    const bool depth_fits = bpp == 1 || bpp == 4 || bpp == 8 || bpp == 24 || bpp == 32;
    if (!rows || !depth_fits || !size_fits(width, height) || !rows_fit(width, height, stride, bpp))
        m_bpp = 0;
    if (bpp > 8 || !colours)
        m_palette = nullptr;
    else if (m_palette && colours > 1u << bpp)
        m_colours = 1u << bpp;
}

unsigned Scale::CalcDestBpp(int type) const {
    if (!m_bpp || !is_type(type))
        return 0;
    if (type == Nearest)
        return m_bpp;
    return 8 * kobrtl::channels_of({m_rows, m_stride, m_width, m_height, m_bpp, m_palette, m_colours});
}

int Scale::ScaleTo(void* rows, unsigned width, unsigned height, int stride, int type) const {
    const unsigned bpp = CalcDestBpp(type);
    if (!bpp || !rows || !size_fits(width, height) || !rows_fit(width, height, stride, bpp))
        return 0;
    const kobrtl::Picture source = {m_rows, m_stride, m_width, m_height, m_bpp, m_palette, m_colours};
    const kobrtl::Canvas canvas = {static_cast<uint8_t*>(rows), stride, width, height};
    if (type == Nearest) {
        kobrtl::pick_nearest(source, canvas);
        return 1;
    }
    bool done = false;
    gen::call_with_own_floating_point(
        [&] { done = kobrtl::resample(source, canvas, filters_of(type), kobrtl::best_kernels()); });
    return done;
}

} // namespace glib
