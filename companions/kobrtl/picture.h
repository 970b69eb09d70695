// The plain values that the resampler works on.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace kobrtl {

// A picture in memory, top row first; the row below lies `stride` bytes further (or before, if negative).
struct Picture {
    const uint8_t* rows;
    ptrdiff_t stride;
    unsigned width, height;
    unsigned bpp;           // 1, 4, 8, 24 or 32
    const uint8_t* palette; // 4 bytes an entry; null: a grey ramp
    unsigned colours;

    const uint8_t* row(unsigned y) const { return rows + static_cast<ptrdiff_t>(y) * stride; }
};

// Where the result goes: its depth follows from the source.
struct Canvas {
    uint8_t* rows;
    ptrdiff_t stride;
    unsigned width, height;

    uint8_t* row(unsigned y) const { return rows + static_cast<ptrdiff_t>(y) * stride; }
};

inline size_t row_length(unsigned width, unsigned bpp) {
    return (static_cast<size_t>(width) * bpp + 7) / 8;
}

} // namespace kobrtl
