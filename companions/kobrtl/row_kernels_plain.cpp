// The version in plain C, with bands of one row, for every processor; and the choice of the best version.
#include "companions/kobrtl/row_kernels.h"

#include <string.h>

namespace kobrtl {

namespace {

// To the nearest whole number, by an addition that shifts the fraction out: a conversion would be slow without SSE.
uint8_t to_byte(float value) {
    if (!(value > 0))
        return 0;
    if (value >= 255)
        return 255;
    volatile float shifted = value + 8388608.0f;
    const float rounded = shifted;
    int32_t bits;
    memcpy(&bits, &rounded, sizeof bits);
    return static_cast<uint8_t>(bits);
}

void vertical_bytes(const VerticalRun& run, float* samples) {
    const RowSum& sum = *run.sums;
    for (size_t at = 0; at < run.columns; at += kColumns) {
        int32_t sums[kColumns] = {};
        const int16_t* weight = static_cast<const int16_t*>(sum.weights);
        const uint8_t* row = run.rows + static_cast<ptrdiff_t>(sum.first) * run.stride + at;
        // Two rows at a time: the weights come in pairs, as the vector versions multiply them.
        for (unsigned k = 0; k < sum.count; k += 2, weight += 2 * PairWeights::kCopies, row += 2 * run.stride) {
            const uint8_t* next = row + run.stride;
            const int row_weight = weight[0], next_weight = weight[1];
            for (unsigned x = 0; x < kColumns; ++x)
                sums[x] += row[x] * row_weight + next[x] * next_weight;
        }
        for (unsigned x = 0; x < kColumns; ++x)
            samples[at + x] = static_cast<float>(sums[x]);
    }
}

void vertical_floats(const VerticalRun& run, float* samples) {
    const float* weights = static_cast<const float*>(run.sums->weights);
    for (size_t x = 0; x < run.columns; ++x) {
        float sum = 0;
        const uint8_t* row = run.rows + static_cast<ptrdiff_t>(run.sums->first) * run.stride;
        for (unsigned k = 0; k < run.sums->count; ++k, row += run.stride)
            sum += reinterpret_cast<const float*>(row)[x] * weights[k];
        samples[x] = sum;
    }
}

template <unsigned Channels, class Finish>
void for_each_pixel(const HorizontalRun& run, uint8_t* out, const Finish& finish) {
    out += static_cast<size_t>(run.begin) * Channels;
    for (unsigned x = run.begin; x < run.end; ++x, out += Channels) {
        const AxisWeights::Taps& taps = run.weights->taps(x);
        const float* sample = run.samples + static_cast<size_t>(taps.first - run.origin) * Channels;
        const float* weight = run.weights->weights(taps);
        float sums[Channels] = {};
        for (unsigned k = 0; k < taps.count; ++k, sample += Channels)
            for (unsigned c = 0; c < Channels; ++c)
                sums[c] += sample[c] * weight[k];
        finish(sums, out);
    }
}

template <unsigned Channels>
void horizontal_of(const HorizontalRun& run, uint8_t* out) {
    const float unit = *run.units;
    for_each_pixel<Channels>(run, out, [unit](const float* sums, uint8_t* pixel) {
        for (unsigned c = 0; c < Channels; ++c)
            pixel[c] = to_byte(sums[c] * unit);
    });
}

void horizontal(const HorizontalRun& run, uint8_t* const* rows) {
    if (run.channels == 1)
        horizontal_of<1>(run, *rows);
    else if (run.channels == 3)
        horizontal_of<3>(run, *rows);
    else
        horizontal_of<4>(run, *rows);
}

void horizontal_weighted(const HorizontalRun& run, uint8_t* const* rows) {
    for_each_pixel<4>(run, *rows, [](const float* sums, uint8_t* pixel) {
        pixel[3] = to_byte(sums[3] / 255);
        for (unsigned c = 0; c < 3; ++c)
            pixel[c] = pixel[3] ? to_byte(sums[c] * 255 / sums[3]) : 0;
    });
}

bool opaque(const uint8_t* row, size_t pixels) {
    // Without a branch for each pixel: nearly every row is read to its end.
    unsigned all = 0xFF;
    for (size_t x = 0; x < pixels; ++x)
        all &= row[4 * x + 3];
    return all == 0xFF;
}

void leave() {}

} // namespace

const RowKernels& plain_kernels() {
    static const RowKernels kKernels = {"plain", 1,    vertical_bytes, vertical_floats, horizontal, horizontal_weighted,
                                        opaque,  leave};
    return kKernels;
}

const RowKernels& best_kernels() {
    if (const RowKernels* avx2 = avx2_kernels())
        return *avx2;
    const RowKernels* sse2 = sse2_kernels();
    return sse2 ? *sse2 : plain_kernels();
}

} // namespace kobrtl
