#include "companions/kobrtl/row_kernels.h"

#include "companions/kobrtl/pixel_end.h"

namespace kobrtl {

namespace {

template <class Sample>
void vertical(const VerticalRun& run) {
    const Sample* const* rows = reinterpret_cast<const Sample* const*>(run.rows);
    for (size_t x = 0; x < run.count; ++x) {
        int32_t sum = run.first ? run.start : run.sums[x];
        const int16_t* weight = run.weights;
        for (unsigned pair = 0; pair < run.pairs; ++pair, weight += 2 * AxisWeights::kLanes)
            sum += rows[2 * pair][x] * weight[0] + rows[2 * pair + 1][x] * weight[1];
        if (run.last)
            run.out[x] = static_cast<int16_t>(sum >> run.shift);
        else
            run.sums[x] = sum;
    }
}

template <unsigned Channels, class Finish>
void horizontal(const HorizontalRun& run, uint8_t* out, Finish finish) {
    for (unsigned x = 0; x < run.width; ++x, out += Channels) {
        const AxisWeights::Taps& taps = run.weights->taps(x);
        const int16_t* sample = run.samples + taps.first * static_cast<ptrdiff_t>(Channels);
        const int16_t* weight = run.weights->weights(taps);
        int32_t sums[Channels] = {};
        for (unsigned pair = 0; pair < taps.pairs; ++pair, weight += 2 * AxisWeights::kLanes, sample += 2 * Channels)
            for (unsigned c = 0; c < Channels; ++c)
                sums[c] += sample[c] * weight[0] + sample[Channels + c] * weight[1];
        finish(sums, out);
    }
}

template <unsigned Channels>
void horizontal_plain(const HorizontalRun& run, uint8_t* out) {
    horizontal<Channels>(run, out, [&run](const int32_t* sums, uint8_t* pixel) {
        for (unsigned c = 0; c < Channels; ++c)
            pixel[c] = plain_value(sums[c], run.weights->shift());
    });
}

void horizontal_any(const HorizontalRun& run, uint8_t* out) {
    if (run.channels == 1)
        horizontal_plain<1>(run, out);
    else if (run.channels == 3)
        horizontal_plain<3>(run, out);
    else
        horizontal_plain<4>(run, out);
}

void horizontal_weighted(const HorizontalRun& run, uint8_t* out) {
    horizontal<4>(run, out,
                  [&run](const int32_t* sums, uint8_t* pixel) { unweighted_pixel(sums, run.weights->shift(), pixel); });
}

bool opaque(const uint8_t* row, size_t pixels) {
    unsigned all = 0xFF;
    for (size_t x = 0; x < pixels; ++x)
        all &= row[4 * x + 3];
    return all == 0xFF;
}

} // namespace

const RowKernels& plain_kernels() {
    static const RowKernels kernels = {vertical<uint8_t>, vertical<int16_t>, horizontal_any, horizontal_weighted,
                                       opaque};
    return kernels;
}

const RowKernels& best_kernels() {
    const RowKernels* sse2 = sse2_kernels();
    return sse2 ? *sse2 : plain_kernels();
}

} // namespace kobrtl
