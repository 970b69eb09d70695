// Hands out the pixels of a picture in the form that the vertical pass takes.
#pragma once

#include "companions/kobrtl/picture.h"
#include "companions/kobrtl/row_kernels.h"

namespace kobrtl {

enum class RowForm {
    bytes,    // the colours as bytes, one to four a pixel
    weighted, // four floats a pixel: each colour x opacity, and 255 x opacity
};

// The samples of a pixel once it is scaled: 1 = grey, 3 = colours, 4 = colours and opacity.
unsigned channels_of(const Picture& picture);

// Whether the rows handed out are the picture's rows or, its columns and rows exchanged, its columns.
enum class Orientation { upright, transposed };

class RowSource {
public:
    RowSource(const Picture& picture, RowForm form, Orientation orientation);

    unsigned channels() const { return m_channels; }
    size_t sample_size() const { return m_form == RowForm::weighted ? sizeof(float) : 1; }

    // Whether rows can be used as they lie in the picture.
    bool is_direct() const { return !m_indexed && m_form == RowForm::bytes && m_orientation == Orientation::upright; }
    // The picture's own, in whichever orientation.
    const uint8_t* row(unsigned y) const { return m_picture.row(y); }
    ptrdiff_t stride() const { return m_picture.stride; }

    // Writes `count` pixels of row y, from x on, to out.
    void convert(unsigned y, unsigned x, unsigned count, void* out) const;

private:
    void convert_upright(unsigned y, unsigned x, unsigned count, void* out) const;
    void expand(const uint8_t* indices, unsigned x, unsigned count, uint8_t* out) const;
    void fill_table();

    Picture m_picture;
    RowForm m_form;
    Orientation m_orientation;
    unsigned m_channels;
    bool m_indexed;
    uint8_t m_table[256][4] = {};
};

} // namespace kobrtl
