#include "glib/raster_scale.h"

#include "companions/kobrtl/kobrtl.h"

namespace glib {

ResultCode scale_raster(const Raster& source, Raster& target, uint32_t width, uint32_t height, int scale_type) {
    target.Clear();
    if (source.empty())
        return BADA;
    // The resampler knows transparency as an opacity that differs between entries.
    gen::array<RGB32> palette(source.palette());
    for (uint32_t i = 0; i < palette.size(); ++i)
        palette[i].alpha = static_cast<int32_t>(i) == source.transparent_index() ? 0 : 255;

    const int stride = static_cast<int>(source.row_bytes());
    const Scale scale(source.row(0), source.width(), source.height(), -stride, source.bits_per_pixel(), palette.data(),
                      palette.size());
    const unsigned bits = scale.CalcDestBpp(scale_type);
    if (!bits)
        return BADA;
    if (!target.Create(width, height, bits))
        return width && height ? OMEM : BADA;
    const int target_stride = static_cast<int>(target.row_bytes());
    if (!scale.ScaleTo(target.row(0), width, height, -target_stride, scale_type)) {
        target.Clear();
        return OMEM;
    }
    if (bits == source.bits_per_pixel()) {
        target.SetPalette(source.palette().data(), source.palette().size());
        target.SetTransparentIndex(source.transparent_index());
    }
    return RCOK;
}

} // namespace glib
