#include "companions/kobrtl/row_source.h"

#include <string.h>

namespace kobrtl {

namespace {

constexpr uint32_t kNoRow = 0xFFFFFFFF;

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

} // namespace

PixelKind pixel_kind(const Picture& picture) {
    if (picture.bpp >= 24)
        return {picture.bpp / 8};
    if (!picture.palette)
        return {1};
    if (has_opacities(picture))
        return {4};
    return {is_grey_ramp(picture) ? 1u : 3u};
}

bool RowSource::open(const Picture& picture, RowForm form, unsigned together, const RowKernels& kernels) {
    m_picture = picture;
    m_form = form;
    m_kernels = &kernels;
    m_channels = pixel_kind(picture).channels;
    m_indexed = picture.bpp <= 8 && !(picture.bpp == 8 && m_channels == 1);
    m_checked = 0;
    if (m_indexed)
        fill_table();
    if (!m_indexed && form == RowForm::bytes)
        return true;

    const size_t samples = static_cast<size_t>(picture.width) * m_channels;
    m_slot_bytes = ((form == RowForm::weighted ? samples * sizeof(int16_t) : samples) + 15) & ~size_t(15);
    m_slot_count = together;
    if (!m_slots.allocate(m_slot_bytes * together) || !m_holds.allocate(together) || !m_colours.allocate(samples))
        return false;
    for (unsigned i = 0; i < together; ++i)
        m_holds[i] = kNoRow;
    return true;
}

const void* RowSource::row(unsigned y) {
    const uint8_t* row = m_picture.row(y);
    if (m_form == RowForm::bytes && m_picture.bpp == 32 && y >= m_checked) {
        if (!m_kernels->opaque(row, m_picture.width))
            return nullptr;
        m_checked = y + 1;
    }
    if (!m_indexed && m_form == RowForm::bytes)
        return row;

    const unsigned slot = y % m_slot_count;
    uint8_t* out = m_slots.data() + slot * m_slot_bytes;
    if (m_holds[slot] == y)
        return out;
    m_holds[slot] = y;
    if (m_form == RowForm::bytes) {
        expand(row, out);
    } else {
        if (m_indexed)
            expand(row, m_colours.data());
        weigh(m_indexed ? m_colours.data() : row, reinterpret_cast<int16_t*>(out));
    }
    return out;
}

void RowSource::fill_table() {
    const unsigned most = (1u << m_picture.bpp) - 1;
    for (unsigned i = 0; i <= most; ++i) {
        static const uint8_t black[4] = {0, 0, 0, 255};
        if (!m_picture.palette)
            memset(m_table[i], static_cast<int>(i * 255 / most), 4);
        else
            memcpy(m_table[i], i < m_picture.colours ? m_picture.palette + 4 * i : black, 4);
    }
}

void RowSource::expand(const uint8_t* indices, uint8_t* out) const {
    const unsigned bits = m_picture.bpp;
    const unsigned mask = (1u << bits) - 1;
    for (unsigned x = 0; x < m_picture.width; ++x) {
        const size_t bit = static_cast<size_t>(x) * bits;
        const unsigned index = indices[bit / 8] >> (8 - bits - bit % 8) & mask;
        for (unsigned c = 0; c < m_channels; ++c)
            *out++ = m_table[index][c];
    }
}

void RowSource::weigh(const uint8_t* pixels, int16_t* out) const {
    for (unsigned x = 0; x < m_picture.width; ++x, pixels += 4, out += 4) {
        const int opacity = pixels[3];
        for (unsigned c = 0; c < 3; ++c)
            out[c] = static_cast<int16_t>(pixels[c] * opacity - 2 * kWeightedCentre);
        out[3] = static_cast<int16_t>(255 * opacity - 2 * kWeightedCentre);
    }
}

} // namespace kobrtl
