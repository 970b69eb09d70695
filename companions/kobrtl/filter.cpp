// The distance between a source and a destination pixel is a fraction of small whole numbers. It is computed as such,
// so that the weights are the same in the last row as in the first, whatever precision the host has set for its
// arithmetic.
//
// The pattern of weights repeats after destination / gcd(source, destination) pixels: it is computed and kept only
// once, which for usual sizes (1920 to 512: four different sets) makes it small enough to stay in the first-level
// cache.
#include "companions/kobrtl/filter.h"

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

int64_t floor_divide(int64_t dividend, int64_t divisor) {
    return dividend / divisor - (dividend % divisor < 0 ? 1 : 0);
}

unsigned greatest_common_divisor(unsigned a, unsigned b) {
    while (b) {
        const unsigned rest = a % b;
        a = b;
        b = rest;
    }
    return a;
}

// Whole numbers that add up to `whole`, each within one unit of its share: what one rounding drops, the next one gets.
class SharingRounder {
public:
    int32_t next(double share) {
        m_sum += share;
        const int32_t before = m_given;
        m_given = static_cast<int32_t>(m_sum < 0 ? m_sum - 0.5 : m_sum + 0.5);
        return m_given - before;
    }

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
    double distance(unsigned i, int64_t j) const {
        const int64_t units = centre(i) - (2 * j + 1) * destination;
        return static_cast<double>(units < 0 ? -units : units) / static_cast<double>(scale);
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

bool AxisWeights::build(unsigned source, unsigned destination, const Filter& filter, unsigned most_shift) {
    const Axis axis(source, destination, filter.radius);
    const unsigned divisor = greatest_common_divisor(source, destination);
    const unsigned period = destination / divisor;

    size_t count = 0;
    for (unsigned i = 0; i < period; ++i)
        count += static_cast<size_t>(axis.last(i) - axis.first(i) + 2) & ~size_t(1);
    Block<double> exact;
    if (!exact.allocate(count) || !m_weights.allocate(count * kLanes) || !m_taps.allocate(destination))
        return false;

    double peak = 0;
    double* weight = exact.data();
    for (unsigned i = 0; i < period; ++i) {
        const int64_t first = axis.first(i);
        const unsigned taps = static_cast<unsigned>(axis.last(i) - first + 1);
        double sum = 0;
        for (unsigned k = 0; k < taps; ++k)
            sum += weight[k] = filter.value(axis.distance(i, first + k));
        for (unsigned k = 0; k < taps; ++k) {
            weight[k] /= sum;
            peak = weight[k] > peak ? weight[k] : peak;
        }
        if (taps % 2)
            weight[taps] = 0;
        weight += (taps + 1) & ~1u;
    }

    // The rounding can raise a weight by one unit.
    m_shift = most_shift;
    while (peak * (1 << m_shift) > INT16_MAX - 1)
        --m_shift;

    weight = exact.data();
    int16_t* out = m_weights.data();
    m_most_pairs = 0;
    for (unsigned i = 0; i < period; ++i) {
        const int64_t first = axis.first(i);
        const unsigned pairs = static_cast<unsigned>(axis.last(i) - first + 2) / 2;
        m_taps[i] = {static_cast<int32_t>(first), pairs, static_cast<uint32_t>(out - m_weights.data())};
        m_most_pairs = pairs > m_most_pairs ? pairs : m_most_pairs;
        SharingRounder rounder;
        for (unsigned k = 0; k < pairs; ++k, out += 2 * kLanes) {
            const int16_t even = static_cast<int16_t>(rounder.next(*weight++ * (1 << m_shift)));
            const int16_t odd = static_cast<int16_t>(rounder.next(*weight++ * (1 << m_shift)));
            for (unsigned lane = 0; lane < kLanes; ++lane) {
                out[2 * lane] = even;
                out[2 * lane + 1] = odd;
            }
        }
    }
    for (unsigned i = period; i < destination; ++i) {
        m_taps[i] = m_taps[i - period];
        m_taps[i].first += static_cast<int32_t>(source / divisor);
    }
    m_lowest = m_taps[0].first;
    m_highest = 0;
    for (unsigned i = 0; i < destination; ++i) {
        const int32_t end = m_taps[i].first + static_cast<int32_t>(2 * m_taps[i].pairs);
        m_highest = end > m_highest ? end : m_highest;
    }
    return true;
}

} // namespace kobrtl
