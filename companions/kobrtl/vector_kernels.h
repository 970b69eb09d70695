// The loops of row_kernels.h in terms of a vector type, included by the file of each instruction set: in its unnamed
// namespace and after its target switch, so that no other file can share what is compiled for one processor.
//
// Vector::lanes 32-bit lanes, in groups of four that no operation but those at the ends crosses:
//   Ints    load(address), pairs(address of 8 weights, for every group), zero, low/high word pairs, even/odd bytes...
//   Floats  the usual arithmetic
// Its members say what each does where the name doesn't.

#include "companions/kobrtl/vertical_kernels.h"

// Sums up the first `Summed` of a pixel's channels.
template <class Vector, unsigned Channels, unsigned Summed, class Finish>
void for_each_pixel(const HorizontalRun& run, const Finish& finish) {
    for (unsigned x = run.begin; x < run.end; ++x) {
        const AxisWeights::Taps& taps = run.weights->taps(x);
        const float* sample = run.samples + static_cast<size_t>(taps.first - run.origin) * (Channels * Vector::kLanes);
        const float* weight = run.weights->weights(taps);
        typename Vector::Floats sums[Summed];
        for (unsigned c = 0; c < Summed; ++c)
            sums[c] = Vector::all(0);
        for (const float* end = weight + taps.count; weight != end; ++weight, sample += Channels * Vector::kLanes) {
            const typename Vector::Floats all = Vector::all(*weight);
            for (unsigned c = 0; c < Summed; ++c)
                sums[c] = Vector::multiply_add(all, Vector::load(sample + c * Vector::kLanes), sums[c]);
        }
        finish(x, sums);
    }
}

// Four bytes are written for a pixel, whatever its size; the next pixel mends what is too much. Not so the last one.
template <class Vector, unsigned Channels>
void store_pixels(const HorizontalRun& run, unsigned x, const typename Vector::Floats* sums, uint8_t* const* rows) {
    int32_t pixels[Vector::kLanes];
    Vector::to_pixels(sums[0], sums[Channels > 1 ? 1 : 0], sums[Channels > 1 ? 2 : 0], sums[Channels > 3 ? 3 : 0],
                      pixels);
    const size_t at = static_cast<size_t>(x) * Channels;
    if ((run.weights->size() - x) * Channels >= 4)
        for (unsigned lane = 0; lane < Vector::kLanes; ++lane)
            memcpy(rows[lane] + at, &pixels[lane], 4);
    else
        for (unsigned lane = 0; lane < Vector::kLanes; ++lane)
            memcpy(rows[lane] + at, &pixels[lane], Channels);
}

// A fourth channel of bytes is the opacity of a picture that is opaque.
template <class Vector, unsigned Channels>
void horizontal_of(const HorizontalRun& run, uint8_t* const* rows) {
    constexpr unsigned kColours = Channels < 4 ? Channels : 3;
    for_each_pixel<Vector, Channels, kColours>(run, [&](unsigned x, const typename Vector::Floats* sums) {
        typename Vector::Floats pixel[Channels];
        for (unsigned c = 0; c < kColours; ++c)
            pixel[c] = Vector::multiply(sums[c], Vector::load(run.units));
        for (unsigned c = kColours; c < Channels; ++c)
            pixel[c] = Vector::all(255);
        store_pixels<Vector, Channels>(run, x, pixel, rows);
    });
}

template <class Vector>
void horizontal(const HorizontalRun& run, uint8_t* const* rows) {
    if (run.channels == 1)
        horizontal_of<Vector, 1>(run, rows);
    else if (run.channels == 3)
        horizontal_of<Vector, 3>(run, rows);
    else
        horizontal_of<Vector, 4>(run, rows);
}

template <class Vector>
void horizontal_weighted(const HorizontalRun& run, uint8_t* const* rows) {
    for_each_pixel<Vector, 4, 4>(run, [&](unsigned x, const typename Vector::Floats* sums) {
        typename Vector::Floats pixel[4];
        const typename Vector::Floats factor = Vector::divide_or_0(Vector::all(255), sums[3], Vector::all(127.5f));
        for (unsigned c = 0; c < 3; ++c)
            pixel[c] = Vector::multiply(sums[c], factor);
        pixel[3] = Vector::multiply(sums[3], Vector::all(1.0f / 255));
        store_pixels<Vector, 4>(run, x, pixel, rows);
    });
}

template <class Vector>
bool opaque(const uint8_t* row, size_t pixels) {
    constexpr size_t kBytes = 4 * Vector::kLanes;
    const size_t whole = pixels * 4 / (4 * kBytes) * (4 * kBytes);
    typename Vector::Ints all = Vector::all_ones();
    for (size_t at = 0; at < whole; at += 4 * kBytes)
        all = Vector::both(
            all, Vector::both(Vector::both(Vector::load(row + at), Vector::load(row + at + kBytes)),
                              Vector::both(Vector::load(row + at + 2 * kBytes), Vector::load(row + at + 3 * kBytes))));
    return Vector::high_bytes_set(all) && plain_kernels().opaque(row + whole, pixels - whole / 4);
}

template <class Vector>
RowKernels kernels_of(const char* name, void (*leave)()) {
    return {name,
            Vector::kLanes,
            vertical<Vector, ByteSums<Vector>>,
            vertical<Vector, FloatSums<Vector>>,
            horizontal<Vector>,
            horizontal_weighted<Vector>,
            opaque<Vector>,
            leave};
}
