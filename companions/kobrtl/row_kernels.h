// The inner loops of the resampler, in three versions: plain C, SSE2, and AVX2 with fused multiplication and addition.
//
// A band is some neighbouring rows of the destination, as many as a vector has lanes. The vertical pass sums up source
// rows to the band's samples: colours as floats, the samples of one column side by side. The horizontal pass sums up
// columns, each lane a row, and so needs to know nothing of how pixels are put together.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "companions/kobrtl/filter.h"

namespace kobrtl {

constexpr unsigned kMostLanes = 8;
constexpr unsigned kColumns = 32; // the vertical pass works on this many columns at once

// What one row of the band sums up: `count` source rows from the run's row `first` on.
struct RowSum {
    unsigned first;
    unsigned count;
    const void* weights; // floats for rows of floats; for bytes those of PairWeights (count is even then)
};

struct VerticalRun {
    const uint8_t* rows; // the first source row of the band, of bytes or of floats
    ptrdiff_t stride;    // bytes from a row to the next one
    unsigned row_count;
    const RowSum* sums; // one for each lane
    size_t columns;     // a multiple of kColumns
};

struct HorizontalRun {
    const float* samples; // those of source pixel `origin`
    unsigned origin;
    const AxisWeights* weights;
    unsigned begin, end; // pixels of the destination: those whose taps are all there
    unsigned channels;   // 1, 3 or 4 columns make a pixel
    const float* units;  // one for each lane: what its samples must be multiplied with to be colours from 0 to 255
};

struct RowKernels {
    const char* name;
    unsigned lanes;
    // samples: 16-byte aligned, columns x lanes of them.
    void (*vertical_bytes)(const VerticalRun&, float* samples);
    void (*vertical_floats)(const VerticalRun&, float* samples);
    // Of four channels the last is an opacity that is 255 everywhere.
    // rows: the destination's, one for each lane; two may be the same.
    void (*horizontal)(const HorizontalRun&, uint8_t* const* rows);
    // Four channels, of which the last is opacity x 255 and the others are weighted by opacity: gives plain colours,
    // and pixels of four zeros where the opacity is 0.
    void (*horizontal_weighted)(const HorizontalRun&, uint8_t* const* rows);
    bool (*opaque)(const uint8_t* row, size_t pixels); // whether every fourth byte is 255
    void (*leave)();                                   // to be called behind the last of the others
};

const RowKernels& plain_kernels();
const RowKernels* sse2_kernels(); // null if the processor or the system doesn't support it
const RowKernels* avx2_kernels(); // likewise
const RowKernels& best_kernels();

} // namespace kobrtl
