// The distance between a source and a destination pixel is a fraction of small whole numbers. It is computed as such,
// so that the weights are the same in the last row as in the first, whatever precision the host has set for its
// arithmetic.
//
// The pattern of weights repeats after destination / gcd(source, destination) pixels: it is computed and kept only
// once, which for usual sizes (1920 to 512: four different sets) makes it small enough to stay in the first-level
// cache.
#include "companions/kobrtl/filter.h"

#include <math.h>

namespace kobrtl {

namespace {

double mitchell_value(double x) {
    if (x < 1)
        return (16 + x * x * (21 * x - 36)) / 18;
    return x < 2 ? (32 + x * (-60 + x * (36 - 7 * x))) / 18 : 0;
}

double catmull_rom_value(double x) {
    if (x < 1)
        return 1 + x * x * (1.5 * x - 2.5);
    return x < 2 ? 2 + x * (-4 + x * (2.5 - 0.5 * x)) : 0;
}

double triangle_value(double x) {
    return x < 1 ? 1 - x : 0;
}

// With a single division, which is a long call in 32-bit code.
int64_t floor_divide(int64_t dividend, int64_t divisor) {
    const int64_t quotient = dividend / divisor;
    return quotient - (dividend < quotient * divisor ? 1 : 0);
}

unsigned greatest_common_divisor(unsigned a, unsigned b) {
    while (b) {
        const unsigned rest = a % b;
        a = b;
        b = rest;
    }
    return a;
}

// Rounds shares of something to whole numbers: what one of them loses, the next one gets. Many small weights in a row
// would otherwise all lose the same.
class SharingRounder {
public:
    int32_t next(double share) {
        m_sum += share;
        const int32_t before = m_given;
        m_given = static_cast<int32_t>(m_sum < 0 ? m_sum - 0.5 : m_sum + 0.5);
        return m_given - before;
    }
    int32_t given() const { return m_given; }

private:
    double m_sum = 0;
    int32_t m_given = 0;
};

// One axis in whole numbers: the centre of destination pixel i lies (2i + 1) x source units from the start, that of
// source pixel j (2j + 1) x destination units.
struct Axis {
    int64_t source, destination, reach, scale;

    Axis(unsigned from, unsigned to, unsigned radius)
        : source(from), destination(to), reach(2 * static_cast<int64_t>(radius) * (from > to ? from : to)),
          scale(2 * static_cast<int64_t>(from > to ? from : to)) {}

    int64_t centre(unsigned i) const { return (2 * static_cast<int64_t>(i) + 1) * source; }
    // The least and the greatest source pixel whose distance is below the reach of the filter.
    int64_t first(unsigned i) const { return floor_divide(centre(i) - reach - destination, 2 * destination) + 1; }
    int64_t last(unsigned i) const { return -floor_divide(destination - centre(i) - reach, 2 * destination) - 1; }
    // The filter's values at the source pixels from `from` to `to`; their sum.
    double evaluate(const Filter& filter, unsigned i, int64_t from, int64_t to, double* values) const {
        double units = static_cast<double>(centre(i) - (2 * from + 1) * destination); // whole, so steps are exact
        double sum = 0;
        for (int64_t j = from; j <= to; ++j) {
            *values = filter.value(fabs(units) / static_cast<double>(scale));
            sum += *values++;
            units -= static_cast<double>(2 * destination);
        }
        return sum;
    }
};

} // namespace

Filter mitchell() {
    return {mitchell_value, 2};
}
Filter catmull_rom() {
    return {catmull_rom_value, 2};
}
Filter triangle() {
    return {triangle_value, 1};
}

bool AxisWeights::build(unsigned source, unsigned destination, const Filter& filter) {
    const Axis axis(source, destination, filter.radius);
    m_size = destination;
    m_source_size = source;
    // NOLINTNEXTLINE(clang-analyzer-core.DivideZero): the sizes are at least 1
    m_period = destination / greatest_common_divisor(source, destination);
    m_most_taps = 0;
    if (!m_taps.allocate(destination))
        return false;

    uint32_t total = 0;
    unsigned before = 0;   // pixels whose filter reaches beyond the beginning
    int64_t most_span = 0; // pixels that a filter reaches, those beyond the edges too
    for (unsigned i = 0; i < destination; ++i) {
        const int64_t first = axis.first(i), last = axis.last(i);
        const bool inside = first >= 0 && last < axis.source;
        before += first < 0 ? 1 : 0;
        most_span = last - first + 1 > most_span ? last - first + 1 : most_span;
        const int64_t begin = first < 0 ? 0 : first, end = last < axis.source ? last + 1 : axis.source;
        Taps& taps = m_taps[i];
        taps = {static_cast<uint32_t>(begin), static_cast<uint32_t>(end - begin), total};
        if (inside && i >= m_period + before)
            taps.offset = m_taps[i - m_period].offset;
        else
            total += taps.count;
        m_most_taps = taps.count > m_most_taps ? taps.count : m_most_taps;
    }

    Block<double> values;
    if (!m_weights.allocate(total) || !values.allocate(static_cast<size_t>(most_span)))
        return false;
    total = 0;
    for (unsigned i = 0; i < destination; ++i) {
        const Taps& taps = m_taps[i];
        if (taps.offset != total)
            continue;
        total += taps.count;
        float* weight = m_weights.data() + taps.offset;
        const int64_t first = axis.first(i), last = axis.last(i);
        const double sum = axis.evaluate(filter, i, first, last, values.data());
        double folded = 0;
        for (int64_t j = first; j <= last; ++j) {
            folded += values[static_cast<size_t>(j - first)];
            if (j < 0 || (j >= axis.source - 1 && j < last)) // no filter ends before the first pixel
                continue;
            *weight++ = static_cast<float>(folded / sum);
            folded = 0;
        }
    }
    return true;
}

// Each set has a unit of its own that brings its greatest weight to the most that 16 bits hold: with one power of two
// for all, the rounding of the weights alone would cost more than everything else together. The sum of the rounded
// weights, not the scale, makes the unit, so that a flat picture stays what it is.
bool PairWeights::build(const AxisWeights& axis) {
    constexpr float kMostWeight = 32766;  // rounding may add 1
    constexpr float kMostScale = 1 << 22; // keeps 255 x the sum of all magnitudes within 32 bits
    const auto is_new = [&axis](unsigned i) {
        return i < axis.period() || axis.taps(i).offset != axis.taps(i - axis.period()).offset;
    };
    size_t pairs = 0;
    for (unsigned i = 0; i < axis.size(); ++i)
        if (is_new(i))
            pairs += (axis.taps(i).count + 1) / 2;
    if (!m_sets.allocate(axis.size()) || !m_weights.allocate(pairs * 2 * kCopies))
        return false;

    m_reads_behind = false;
    int16_t* out = m_weights.data();
    for (unsigned i = 0; i < axis.size(); ++i) {
        if (!is_new(i)) {
            m_sets[i] = m_sets[i - axis.period()];
            continue;
        }
        const AxisWeights::Taps& taps = axis.taps(i);
        const float* weights = axis.weights(taps);
        float peak = 0;
        for (unsigned k = 0; k < taps.count; ++k)
            peak = fabsf(weights[k]) > peak ? fabsf(weights[k]) : peak;
        const float scale = kMostWeight < kMostScale * peak ? kMostWeight / peak : kMostScale;

        const unsigned pairs = (taps.count + 1) / 2;
        const unsigned lead = taps.count % 2 && taps.first > 0 ? 1 : 0;
        SharingRounder rounder;
        for (unsigned k = 0; k < 2 * pairs; ++k) {
            const bool is_tap = k >= lead && k - lead < taps.count;
            const int32_t weight = is_tap ? rounder.next(static_cast<double>(weights[k - lead]) * scale) : 0;
            for (unsigned copy = 0; copy < kCopies; ++copy)
                out[(k / 2 * kCopies + copy) * 2 + k % 2] = static_cast<int16_t>(weight);
        }
        m_sets[i] = {out, pairs, lead, 1.0f / static_cast<float>(rounder.given())};
        out += 2 * kCopies * pairs;
    }
    for (unsigned i = 0; i < axis.size(); ++i)
        m_reads_behind |= axis.taps(i).first - m_sets[i].lead + 2 * m_sets[i].pairs > axis.source_size();
    return true;
}

} // namespace kobrtl
