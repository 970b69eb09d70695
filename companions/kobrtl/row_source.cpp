// Pixels that are colours already are copied; indices go through a table of their colours, which is filled once.
#include "companions/kobrtl/row_source.h"

#include <string.h>

namespace kobrtl {

namespace {

bool has_opacities(const Picture& picture) {
    for (unsigned i = 1; i < picture.colours; ++i)
        if (picture.palette[4 * i + 3] != picture.palette[3])
            return true;
    return false;
}

bool is_grey_ramp(const Picture& picture) {
    if (picture.bpp != 8 || picture.colours != 256)
        return false;
    for (unsigned i = 0; i < 256; ++i)
        for (unsigned c = 0; c < 3; ++c)
            if (picture.palette[4 * i + c] != i)
                return false;
    return true;
}

// Exact: a float holds every product of two bytes.
void weigh(const uint8_t* pixels, unsigned count, float* out) {
    for (unsigned x = 0; x < count; ++x, pixels += 4, out += 4) {
        // NOLINTNEXTLINE(clang-analyzer-core.uninitialized.Assign): only pixels of four channels are weighed
        const int opacity = pixels[3];
        for (unsigned c = 0; c < 3; ++c)
            out[c] = static_cast<float>(pixels[c] * opacity);
        out[3] = static_cast<float>(255 * opacity);
    }
}

} // namespace

unsigned channels_of(const Picture& picture) {
    if (picture.bpp >= 24)
        return picture.bpp / 8;
    if (!picture.palette)
        return 1;
    if (has_opacities(picture))
        return 4;
    return is_grey_ramp(picture) ? 1 : 3;
}

RowSource::RowSource(const Picture& picture, RowForm form, Orientation orientation)
    : m_picture(picture), m_form(form), m_orientation(orientation), m_channels(channels_of(picture)),
      m_indexed(picture.bpp < 8 || (picture.bpp == 8 && m_channels != 1)) {
    if (m_indexed)
        fill_table();
}

void RowSource::convert(unsigned y, unsigned x, unsigned count, void* out) const {
    if (m_orientation == Orientation::upright) {
        convert_upright(y, x, count, out);
        return;
    }
    // Pixel by pixel, as each lies in another row of the picture.
    const size_t pixel = m_channels * sample_size();
    for (unsigned i = 0; i < count; ++i)
        convert_upright(x + i, y, 1, static_cast<uint8_t*>(out) + i * pixel);
}

void RowSource::convert_upright(unsigned y, unsigned x, unsigned count, void* out) const {
    const uint8_t* row = m_picture.row(y);
    if (m_form == RowForm::bytes) {
        if (m_indexed)
            expand(row, x, count, static_cast<uint8_t*>(out));
        else
            memcpy(out, row + static_cast<size_t>(x) * m_channels, static_cast<size_t>(count) * m_channels);
    } else if (m_indexed) {
        uint8_t colours[kColumns * 4];
        for (unsigned done = 0; done < count; done += kColumns) {
            const unsigned part = count - done < kColumns ? count - done : kColumns;
            expand(row, x + done, part, colours);
            weigh(colours, part, static_cast<float*>(out) + static_cast<size_t>(done) * 4);
        }
    } else {
        weigh(row + static_cast<size_t>(x) * 4, count, static_cast<float*>(out));
    }
}

void RowSource::fill_table() {
    const unsigned most = (1u << m_picture.bpp) - 1;
    for (unsigned i = 0; i <= most; ++i) {
        static const uint8_t kBlack[4] = {0, 0, 0, 255};
        if (!m_picture.palette)
            memset(m_table[i], static_cast<int>(i * 255 / most), 4);
        else
            memcpy(m_table[i], i < m_picture.colours ? m_picture.palette + 4 * i : kBlack, 4);
    }
}

void RowSource::expand(const uint8_t* indices, unsigned x, unsigned count, uint8_t* out) const {
    const unsigned bits = m_picture.bpp;
    const unsigned mask = (1u << bits) - 1;
    for (const unsigned end = x + count; x < end; ++x) {
        const size_t bit = static_cast<size_t>(x) * bits;
        const uint8_t* colour = m_table[indices[bit / 8] >> (8 - bits - bit % 8) & mask];
        for (unsigned c = 0; c < m_channels; ++c)
            *out++ = colour[c];
    }
}

} // namespace kobrtl
