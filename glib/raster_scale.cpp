// A picture with a side that is too long for the resampler is first shrunk in parts, then scaled as a whole.
#include "glib/raster.h"

#include "companions/kobrtl/kobrtl.h"

namespace glib {

namespace {

// A side in parts that the resampler takes. One part becomes what is wanted; of more, all shrink alike, so that
// together they become one that it takes. Parts begin at whole bytes, whatever the depth.
struct Parts {
    static constexpr uint32_t kMost = Scale::MaxSize / 8 * 8;

    uint32_t count, last;               // the length of the last part; the others have `most` pixels
    uint32_t scaled_part, scaled_whole; // what they become

    Parts(uint32_t side, uint32_t wanted)
        : count((side - 1) / kMost + 1), last(side - (count - 1) * kMost), scaled_part(wanted), scaled_whole(wanted) {
        if (count > 1) {
            scaled_part = kMost / count / 8 * 8;
            scaled_whole = scaled_begin(count - 1) + last * scaled_part / kMost + 1;
        }
    }
    uint32_t length(uint32_t i) const { return i + 1 < count ? kMost : last; }
    uint32_t scaled_begin(uint32_t i) const { return i * scaled_part; }
    uint32_t scaled_length(uint32_t i) const { return i + 1 < count ? scaled_part : scaled_whole - scaled_begin(i); }
};

} // namespace

ResultCode scale_raster(const Raster& source, Raster& target, uint32_t width, uint32_t height, int scale_type) {
    target.Clear();
    if (source.empty() || !width || !height)
        return BADA;
    // The resampler knows transparency as an opacity that differs between entries.
    gen::array<RGB32> palette(source.palette());
    for (uint32_t i = 0; i < palette.size(); ++i)
        palette[i].alpha = static_cast<int32_t>(i) == source.transparent_index() ? 0 : 255;

    const uint32_t bits = source.bits_per_pixel();
    const Parts columns(source.width(), width), rows(source.height(), height);
    const bool whole = columns.count == 1 && rows.count == 1;
    for (uint32_t i = 0; i < columns.count * rows.count; ++i) {
        const uint32_t x = i % columns.count, y = i / columns.count;
        const Scale scale(source.row(y * Parts::kMost) + static_cast<size_t>(x) * (Parts::kMost / 8) * bits,
                          columns.length(x), rows.length(y), -static_cast<int>(source.row_bytes()), bits,
                          palette.data(), palette.size());
        const unsigned new_bits = scale.CalcDestBpp(scale_type);
        if (!new_bits)
            return BADA;
        bool done = true;
        if (!i)
            done = whole ? target.Create(width, height, new_bits)
                         : target.CreateUnbounded(columns.scaled_whole, rows.scaled_whole, new_bits);
        if (!done || !scale.ScaleTo(target.row(rows.scaled_begin(y)) +
                                        static_cast<size_t>(columns.scaled_begin(x) / 8) * new_bits,
                                    columns.scaled_length(x), rows.scaled_length(y),
                                    -static_cast<int>(target.row_bytes()), scale_type)) {
            target.Clear();
            return OMEM;
        }
    }
    if (target.bits_per_pixel() == bits) {
        target.SetPalette(source.palette().data(), source.palette().size());
        target.SetTransparentIndex(source.transparent_index());
    }
    if (whole)
        return RCOK;
    const Raster parts(static_cast<Raster&&>(target));
    return scale_raster(parts, target, width, height, scale_type);
}

} // namespace glib
