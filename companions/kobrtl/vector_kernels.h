// The loops of row_kernels.h in terms of a vector type, included by the file of each instruction set: in its unnamed
// namespace and after its target switch, so that no other file can share what is compiled for one processor.
//
// Vector::lanes 32-bit lanes, in groups of four that no operation but those at the ends crosses:
//   Ints    load(address), pairs(address of 8 weights, for every group), zero, low/high word pairs, even/odd bytes...
//   Floats  the usual arithmetic
// Its members say what each does where the name doesn't.

// 4 * Vector::lanes columns of one row of the band. Two source rows are interleaved byte pair by byte pair; the even
// and the odd columns are then cut out as words, which puts the two rows of a column side by side, as the
// multiplication wants them.
template <class Vector>
void sum_bytes(const VerticalRun& run, const RowSum& sum, size_t at, float* out) {
    using Ints = typename Vector::Ints;
    const uint8_t* row = run.rows + static_cast<ptrdiff_t>(sum.first) * run.stride + at;
    const int16_t* weight = static_cast<const int16_t*>(sum.weights);
    Ints even_low = Vector::zero(), odd_low = Vector::zero(), even_high = Vector::zero(), odd_high = Vector::zero();
    for (const int16_t* end = weight + PairWeights::kCopies * sum.count; weight != end;
         weight += 2 * PairWeights::kCopies, row += 2 * run.stride) {
        const Ints a = Vector::load(row);
        const Ints b = Vector::load(row + run.stride);
        const typename Vector::Pairs weights = Vector::pairs(weight);
        const Ints low = Vector::interleave_low(a, b);
        const Ints high = Vector::interleave_high(a, b);
        even_low = Vector::add(even_low, Vector::multiply_pairs(Vector::even_bytes(low), weights));
        odd_low = Vector::add(odd_low, Vector::multiply_pairs(Vector::odd_bytes(low), weights));
        even_high = Vector::add(even_high, Vector::multiply_pairs(Vector::even_bytes(high), weights));
        odd_high = Vector::add(odd_high, Vector::multiply_pairs(Vector::odd_bytes(high), weights));
    }
    const typename Vector::Floats unit = Vector::all(sum.unit);
    Vector::store_columns(
        out, Vector::multiply(Vector::to_floats(even_low), unit), Vector::multiply(Vector::to_floats(odd_low), unit),
        Vector::multiply(Vector::to_floats(even_high), unit), Vector::multiply(Vector::to_floats(odd_high), unit));
}

// As many columns of floats.
template <class Vector>
void sum_floats(const VerticalRun& run, const RowSum& sum, size_t at, float* out) {
    const uint8_t* row = run.rows + static_cast<ptrdiff_t>(sum.first) * run.stride + at * sizeof(float);
    const float* weight = static_cast<const float*>(sum.weights);
    typename Vector::Floats sums[4] = {Vector::all(0), Vector::all(0), Vector::all(0), Vector::all(0)};
    for (unsigned k = 0; k < sum.count; ++k, row += run.stride)
        for (unsigned i = 0; i < 4; ++i)
            sums[i] = Vector::multiply_add(
                Vector::all(weight[k]), Vector::load(reinterpret_cast<const float*>(row) + i * Vector::lanes), sums[i]);
    for (unsigned i = 0; i < 4; ++i)
        Vector::store(out + i * Vector::lanes, sums[i]);
}

// Each step makes a tile of `lanes` rows and lays its columns side by side. Meanwhile the processor is told to fetch
// what will be needed some cache lines further on, since it can't foresee so many rows by itself; little by little,
// since it can't wait for so many at once either.
template <class Vector, void (*Sum)(const VerticalRun&, const RowSum&, size_t, float*)>
void vertical(const VerticalRun& run, float* samples) {
    constexpr unsigned kLanes = Vector::lanes, kStep = 4 * kLanes;
    constexpr unsigned kLine = 64, kAhead = 4 * kLine, kSlices = kLine / kStep * kLanes;
    alignas(32) float tile[kLanes][kStep];
    for (size_t at = 0; at < run.columns; at += kStep) {
        for (unsigned lane = 0; lane < kLanes; ++lane) {
            const unsigned slice = static_cast<unsigned>(at % kLine) / kStep * kLanes + lane;
            for (unsigned i = run.row_count * slice / kSlices; i < run.row_count * (slice + 1) / kSlices; ++i)
                Vector::prefetch(run.rows + static_cast<ptrdiff_t>(i) * run.stride + at + kAhead);
            Sum(run, run.sums[lane], at, tile[lane]);
        }
        for (unsigned x = 0; x < kStep; x += kLanes)
            Vector::transpose(&tile[0][x], kStep, samples + (at + x) * kLanes);
    }
}

template <class Vector>
void vertical_bytes(const VerticalRun& run, float* samples) {
    vertical<Vector, sum_bytes<Vector>>(run, samples);
}

template <class Vector>
void vertical_floats(const VerticalRun& run, float* samples) {
    vertical<Vector, sum_floats<Vector>>(run, samples);
}

template <class Vector, unsigned Channels, class Finish>
void for_each_pixel(const HorizontalRun& run, const Finish& finish) {
    for (unsigned x = run.begin; x < run.end; ++x) {
        const AxisWeights::Taps& taps = run.weights->taps(x);
        const float* sample = run.samples + static_cast<size_t>(taps.first - run.origin) * (Channels * Vector::lanes);
        const float* weight = run.weights->weights(taps);
        typename Vector::Floats sums[Channels];
        for (unsigned c = 0; c < Channels; ++c)
            sums[c] = Vector::all(0);
        for (const float* end = weight + taps.count; weight != end; ++weight, sample += Channels * Vector::lanes) {
            const typename Vector::Floats all = Vector::all(*weight);
            for (unsigned c = 0; c < Channels; ++c)
                sums[c] = Vector::multiply_add(all, Vector::load(sample + c * Vector::lanes), sums[c]);
        }
        finish(x, sums);
    }
}

// Four bytes are written for a pixel, whatever its size; the next pixel mends what is too much. Not so the last one.
template <class Vector, unsigned Channels>
void store_pixels(const HorizontalRun& run, unsigned x, const typename Vector::Floats* sums, uint8_t* const* rows) {
    int32_t pixels[Vector::lanes];
    Vector::to_pixels(sums[0], sums[Channels > 1 ? 1 : 0], sums[Channels > 1 ? 2 : 0], sums[Channels > 3 ? 3 : 0],
                      pixels);
    const size_t at = static_cast<size_t>(x) * Channels;
    if ((run.weights->size() - x) * Channels >= 4)
        for (unsigned lane = 0; lane < Vector::lanes; ++lane)
            memcpy(rows[lane] + at, &pixels[lane], 4);
    else
        for (unsigned lane = 0; lane < Vector::lanes; ++lane)
            memcpy(rows[lane] + at, &pixels[lane], Channels);
}

template <class Vector, unsigned Channels>
void horizontal_of(const HorizontalRun& run, uint8_t* const* rows) {
    for_each_pixel<Vector, Channels>(run, [&](unsigned x, const typename Vector::Floats* sums) {
        store_pixels<Vector, Channels>(run, x, sums, rows);
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
    for_each_pixel<Vector, 4>(run, [&](unsigned x, const typename Vector::Floats* sums) {
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
    constexpr size_t kBytes = 4 * Vector::lanes;
    const size_t whole = pixels * 4 / (4 * kBytes) * (4 * kBytes);
    typename Vector::Ints all = Vector::all_ones();
    for (size_t at = 0; at < whole; at += 4 * kBytes)
        all = Vector::both(
            all, Vector::both(Vector::both(Vector::load(row + at), Vector::load(row + at + kBytes)),
                              Vector::both(Vector::load(row + at + 2 * kBytes), Vector::load(row + at + 3 * kBytes))));
    return Vector::high_bytes_set(all) && plain_kernels().opaque(row + whole, pixels - whole / 4);
}

template <class Vector>
RowKernels kernels_of(const char* name) {
    return {name,
            Vector::lanes,
            vertical_bytes<Vector>,
            vertical_floats<Vector>,
            horizontal<Vector>,
            horizontal_weighted<Vector>,
            opaque<Vector>};
}
