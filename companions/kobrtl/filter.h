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

// The weights of every destination pixel of one axis. Beyond an edge the edge pixel continues: it has the weights of
// all pixels that would lie there.
class AxisWeights {
public:
    // A destination pixel is the sum of `count` source pixels from `first` on, each times its weight.
    struct Taps {
        uint32_t first;
        uint32_t count;
        uint32_t offset; // of the first weight
    };

    // Sizes are at least 1 and at most 65535. False when memory is gone.
    bool build(unsigned source, unsigned destination, const Filter& filter);

    unsigned size() const { return m_size; } // the destination's
    unsigned source_size() const { return m_source_size; }
    const Taps& taps(unsigned destination) const { return m_taps[destination]; }
    const float* weights(const Taps& taps) const { return m_weights.data() + taps.offset; }
    // The weights of a destination pixel are those of the pixel one period before it, if both offsets are the same.
    unsigned period() const { return m_period; }
    unsigned most_taps() const { return m_most_taps; }

private:
    Block<Taps> m_taps;
    Block<float> m_weights;
    unsigned m_size = 0;
    unsigned m_source_size = 0;
    unsigned m_period = 0;
    unsigned m_most_taps = 0;
};

// The same weights as 16-bit whole numbers for the multiplication with bytes, two and two.
class PairWeights {
public:
    static constexpr unsigned kCopies = 8; // as many as the widest vector has lanes

    struct Set {
        const int16_t* weights; // `pairs` pairs, each standing kCopies times
        unsigned pairs;
        unsigned lead; // 1: the first weight is 0 and belongs to the pixel before the first of the taps
        float unit;    // what the sum of products must be multiplied with
    };

    // False when memory is gone.
    bool build(const AxisWeights& axis);
    const Set& set(unsigned destination) const { return m_sets[destination]; }
    // Whether an odd count was filled up at the other end, so that the pixel behind the last one of the source is read.
    bool reads_behind() const { return m_reads_behind; }

private:
    Block<Set> m_sets;
    Block<int16_t> m_weights;
    bool m_reads_behind = false;
};

} // namespace kobrtl
