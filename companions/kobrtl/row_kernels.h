// The inner loops of the resampler. The plain and the SSE2 set do the same integer arithmetic and give the same bits.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "companions/kobrtl/filter.h"

namespace kobrtl {

// Between the two passes a sample is a signed 16-bit number with room for what the filters add beyond both ends:
// (value - kCentre) << kMiddleBits for plain colours from 0 to 255, and for colours weighted by their opacity
// colour x opacity / 2 - kWeightedCentre, where opacity itself stands as 255 x opacity.
constexpr int kCentre = 128;
constexpr unsigned kMiddleBits = 7;
constexpr int kWeightedCentre = 16256;

// One run of the vertical pass: `count` columns over 2 x `pairs` rows. A destination row of many taps takes several
// runs, which hand their sums on in `sums`.
struct VerticalRun {
    const void* const* rows; // 2 x pairs pointers, to bytes or to 16-bit samples
    const int16_t* weights;  // as AxisWeights::Taps has them
    unsigned pairs;
    size_t count;
    int32_t start;  // the value that the sums begin with in the first run
    unsigned shift; // by which the last run shifts the sums down
    int32_t* sums;  // null when one run does it all
    bool first, last;
    int16_t* out; // 16-byte aligned
};

// One row of the horizontal pass, for pixels of 1, 3 or 4 samples.
struct HorizontalRun {
    const int16_t* samples; // source pixel 0; pixels from lowest() to highest() can be read, and 16 bytes more
    const AxisWeights* weights;
    unsigned width; // pixels of the destination
    unsigned channels;
};

// A run takes at most this many rows.
constexpr unsigned kMostRows = 64;

struct RowKernels {
    void (*vertical_bytes)(const VerticalRun&);   // rows of bytes
    void (*vertical_samples)(const VerticalRun&); // rows of int16_t
    void (*horizontal)(const HorizontalRun&, uint8_t* out);
    // Four channels of which the last is opacity and the others are weighted by it: gives plain colours.
    void (*horizontal_weighted)(const HorizontalRun&, uint8_t* out);
    bool (*opaque)(const uint8_t* row, size_t pixels); // whether every fourth byte is 255
};

const RowKernels& plain_kernels();
const RowKernels* sse2_kernels(); // null if this processor has no SSE2
const RowKernels& best_kernels();

} // namespace kobrtl
