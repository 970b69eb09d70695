// The sums over rows, a part of vector_kernels.h, which says what Vector is and where this is included.

// A way to sum up rows has:
//   sum     puts 4 * Vector::lanes columns of one row of the band into places
//   column  the column of a place; four places in a row have columns that are kGap apart

// Rows of bytes. Two source rows are interleaved byte pair by byte pair; the even and the odd columns are then cut out
// as words, which puts the two rows of a column side by side, as the multiplication wants them. The columns stay apart
// like that until they are laid out anyway.
template <class Vector>
struct ByteSums {
    static constexpr unsigned kGap = 2;
    static constexpr unsigned column(unsigned place) {
        constexpr unsigned kFirst[] = {0, 1, 8, 9};
        return kFirst[place / Vector::kLanes] + place % Vector::kLanes / 4 * 16 + place % 4 * kGap;
    }

    static void sum(const VerticalRun& run, const RowSum& sum, size_t at, float* places) {
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
            even_low = Vector::add_products(even_low, Vector::even_bytes(low), weights);
            odd_low = Vector::add_products(odd_low, Vector::odd_bytes(low), weights);
            even_high = Vector::add_products(even_high, Vector::even_bytes(high), weights);
            odd_high = Vector::add_products(odd_high, Vector::odd_bytes(high), weights);
        }
        Vector::store(places, Vector::to_floats(even_low));
        Vector::store(places + Vector::kLanes, Vector::to_floats(odd_low));
        Vector::store(places + 2 * Vector::kLanes, Vector::to_floats(even_high));
        Vector::store(places + 3 * Vector::kLanes, Vector::to_floats(odd_high));
    }
};

// Rows of floats.
template <class Vector>
struct FloatSums {
    static constexpr unsigned kGap = 1;
    static constexpr unsigned column(unsigned place) { return place; }

    static void sum(const VerticalRun& run, const RowSum& sum, size_t at, float* places) {
        const uint8_t* row = run.rows + static_cast<ptrdiff_t>(sum.first) * run.stride + at * sizeof(float);
        const float* weight = static_cast<const float*>(sum.weights);
        typename Vector::Floats sums[4] = {Vector::all(0), Vector::all(0), Vector::all(0), Vector::all(0)};
        for (unsigned k = 0; k < sum.count; ++k, row += run.stride)
            for (unsigned i = 0; i < 4; ++i)
                sums[i] = Vector::multiply_add(Vector::all(weight[k]),
                                               Vector::load(reinterpret_cast<const float*>(row) + i * Vector::kLanes),
                                               sums[i]);
        for (unsigned i = 0; i < 4; ++i)
            Vector::store(places + i * Vector::kLanes, sums[i]);
    }
};

// Each step makes a tile of `lanes` rows and lays its columns side by side. In between, the processor is told to fetch
// what will be needed some cache lines further on, since it can't foresee so many rows by itself; before each sum for a
// few rows, since it can't wait for more than about ten at once either: a band of eight lanes may have a hundred.
template <class Vector, class Sums>
void vertical(const VerticalRun& run, float* samples) {
    constexpr unsigned kLanes = Vector::kLanes, kStep = 4 * kLanes;
    constexpr unsigned kLine = 64, kAhead = 4 * kLine, kSlices = kLine / kStep;
    alignas(32) float tile[kLanes][kStep];
    const unsigned share = run.row_count / (kSlices * kLanes) + 1;
    for (size_t at = 0; at < run.columns; at += kStep) {
        const unsigned first = at / kStep % kSlices * kLanes * share;
        const uint8_t* ahead = run.rows + static_cast<ptrdiff_t>(first) * run.stride + at + kAhead;
        for (unsigned lane = 0; lane < kLanes; ++lane) {
            for (unsigned i = 0; i < share; ++i, ahead += run.stride)
                Vector::prefetch(ahead);
            Sums::sum(run, run.sums[lane], at, tile[lane]);
        }
        for (unsigned place = 0; place < kStep; place += 4)
            Vector::transpose(&tile[0][place], kStep, samples + (at + Sums::column(place)) * kLanes,
                              Sums::kGap * kLanes);
    }
}
