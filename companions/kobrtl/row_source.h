// Hands out the rows of a picture in the form that the vertical pass takes.
#pragma once

#include "companions/kobrtl/block.h"
#include "companions/kobrtl/picture.h"
#include "companions/kobrtl/row_kernels.h"

namespace kobrtl {

enum class RowForm {
    bytes,    // the colours as bytes, one to four a pixel
    weighted, // four 16-bit samples a pixel: colour x opacity - 2 x kWeightedCentre, and 255 x opacity likewise
};

// What a resampled picture needs: how many samples a pixel has and whether opacity can be in it.
struct PixelKind {
    unsigned channels; // 1, 3 or 4; with 4 the last one is opacity
};
PixelKind pixel_kind(const Picture& picture);

class RowSource {
public:
    // Rows of a 32-bit picture are handed out as bytes only as long as all of them are opaque. `together`: how many
    // neighbouring rows must be good at the same time. False when memory is gone.
    bool open(const Picture& picture, RowForm form, unsigned together, const RowKernels& kernels);

    // Row y; good until `together` other rows were asked for. Null if it holds pixels that are not opaque although
    // bytes were asked for.
    const void* row(unsigned y);

private:
    void fill_table();
    void expand(const uint8_t* indices, uint8_t* out) const;
    void weigh(const uint8_t* pixels, int16_t* out) const;

    Picture m_picture = {};
    RowForm m_form = RowForm::bytes;
    const RowKernels* m_kernels = nullptr;
    unsigned m_channels = 0;
    bool m_indexed = false;
    unsigned m_checked = 0; // rows below this one are known to be opaque
    unsigned m_slot_count = 0;
    size_t m_slot_bytes = 0;
    Block<uint8_t> m_slots;   // the rows that are not as they lie in the picture
    Block<uint32_t> m_holds;  // which row is in each slot
    Block<uint8_t> m_colours; // a row of indices made colours, on its way to being weighted
    uint8_t m_table[256][4] = {};
};

} // namespace kobrtl
