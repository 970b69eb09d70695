// The sums over rows, a part of vector_kernels.h, which says what Vector is and where this is included.

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
