// The filters, and the weights that a filter gives to the source pixels of one axis.
#pragma once

#include <stdint.h>

#include "companions/kobrtl/block.h"

namespace kobrtl {

// A symmetrical curve around 0 that is 0 from `radius` on.
struct Filter {
    double (*value)(double distance); // distance >= 0, in pixels of the coarser of the two pictures
    unsigned radius;
};

Filter mitchell();    // cubic with B = C = 1/3: neither blurs nor rings much; the usual choice for shrinking
Filter catmull_rom(); // cubic with B = 0, C = 1/2: passes through the pixels; the usual choice for growing
Filter triangle();    // linear interpolation; has no negative weights

// The weights of every destination pixel of one axis, in fixed point, each set adding up to exactly 1.
class AxisWeights {
public:
    // A destination pixel is the sum of `pairs` x 2 source pixels from `first` on, each times its weight. `first` may
    // be negative, and the last one beyond the picture: there the picture's edge pixel continues.
    struct Taps {
        int32_t first;
        uint32_t pairs;
        uint32_t offset; // of the weights, see weights()
    };
    static constexpr unsigned kLanes = 4;

    // Sizes are at least 1 and at most 65535. most_shift bounds shift(). False when memory is gone.
    bool build(unsigned source, unsigned destination, const Filter& filter, unsigned most_shift);

    // A weight of 1 is 1 << shift(): the most that most_shift and 16-bit weights allow.
    unsigned shift() const { return m_shift; }
    const Taps& taps(unsigned destination) const { return m_taps[destination]; }
    // 2 x pairs weights, where each pair stands four times in a row, ready to be multiplied with four lanes.
    const int16_t* weights(const Taps& taps) const { return m_weights.data() + taps.offset; }
    int32_t lowest() const { return m_lowest; }   // the least source pixel that any taps name
    int32_t highest() const { return m_highest; } // one beyond the greatest
    unsigned most_pairs() const { return m_most_pairs; }

private:
    Block<Taps> m_taps;
    Block<int16_t> m_weights;
    unsigned m_shift = 0;
    unsigned m_most_pairs = 0;
    int32_t m_lowest = 0;
    int32_t m_highest = 0;
};

} // namespace kobrtl
