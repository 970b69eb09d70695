// A picture and a size from the input, scaled by every set of loops: nothing is written or read outside the buffers,
// every set agrees within a level, and values stay between the source's when the filter has no negative weights.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "companions/kobrtl/kobrtl.h"
#include "companions/kobrtl/resample.h"
#include "companions/kobrtl/row_source.h"
#include "testing/cxx/require.h"

namespace {

struct Input {
    const uint8_t* data;
    size_t size;
    uint8_t byte() { return size ? (--size, *data++) : 0; }
    // Mostly small sides, now and then a long one.
    unsigned side() {
        const unsigned low = byte();
        return low == 255 ? 256 + byte() * 4u : low % 70 + 1;
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input in = {data, size};
    static const unsigned kDepths[] = {1, 4, 8, 24, 32};
    const unsigned bpp = kDepths[in.byte() % 5];
    const int type = in.byte() % 3;
    const unsigned width = in.side(), height = in.side(), to_width = in.side(), to_height = in.side();
    if (static_cast<uint64_t>(width) * height + static_cast<uint64_t>(to_width) * to_height > 200000)
        return 0;
    const unsigned colours = bpp <= 8 ? in.byte() % ((1u << bpp) + 1) : 0;
    const bool upturned = in.byte() % 2, opaque = in.byte() % 2;
    std::vector<uint8_t> palette(colours * 4);
    for (uint8_t& byte : palette)
        byte = in.byte();

    // Rows as tight as can be, so that the sanitizer sees every step beyond one.
    const size_t length = kobrtl::row_length(width, bpp);
    std::vector<uint8_t> pixels(length * height);
    for (size_t i = 0; i < pixels.size(); ++i)
        pixels[i] = in.size ? in.data[i % in.size] : 0;
    if (bpp == 32 && opaque)
        for (size_t i = 3; i < pixels.size(); i += 4)
            pixels[i] = 255;
    const uint8_t* top = pixels.data() + (upturned ? length * (height - 1) : 0);
    const int stride = upturned ? -static_cast<int>(length) : static_cast<int>(length);
    const uint8_t* colour_table = colours ? palette.data() : nullptr;

    const glib::Scale scale(top, width, height, stride, bpp, colour_table, colours);
    const unsigned to_bpp = scale.CalcDestBpp(type);
    require(to_bpp != 0);
    const size_t to_length = kobrtl::row_length(to_width, to_bpp);
    std::vector<uint8_t> out(to_length * to_height, 0xEE);
    require(scale.ScaleTo(out.data(), to_width, to_height, static_cast<int>(to_length), type) == 1);
    if (type == glib::Scale::Nearest)
        return 0;

    const kobrtl::FilterPair filters = type == glib::Scale::Area
                                           ? kobrtl::FilterPair{kobrtl::mitchell(), kobrtl::catmull_rom()}
                                           : kobrtl::FilterPair{kobrtl::triangle(), kobrtl::triangle()};
    const kobrtl::Picture source = {top, stride, width, height, bpp, colour_table, colours};
    for (const kobrtl::RowKernels* kernels : {&kobrtl::plain_kernels(), kobrtl::sse2_kernels()}) {
        if (!kernels)
            continue;
        std::vector<uint8_t> other(out.size());
        require(kobrtl::resample(source, {other.data(), static_cast<ptrdiff_t>(to_length), to_width, to_height},
                                 filters, *kernels));
        // Where hardly anything is opaque, colours are quotients of tiny numbers: a rounding may turn them over.
        const bool weighted = to_bpp == 32 && !(bpp == 32 && opaque);
        for (size_t i = 0; i < out.size(); ++i)
            require(std::abs(out[i] - other[i]) <= 1 || (weighted && out[i | 3] <= 2));
    }
    if (type == glib::Scale::Linear && bpp >= 8 && to_bpp == bpp && !(bpp == 32 && !opaque)) {
        const auto [least, greatest] = std::minmax_element(pixels.begin(), pixels.end());
        for (const uint8_t value : out)
            require(value >= *least && value <= *greatest);
    }
    return 0;
}
