#include "companions/kobrtl/filter.h"

#include <gtest/gtest.h>

#include <numeric>

#include "testing/cxx/reference_scale.h"

namespace {

using kobrtl::AxisWeights;
using kobrtl::PairWeights;
using kobrtl::ReferenceFilter;

struct Sizes {
    unsigned source, destination;
};

const Sizes kSizes[] = {{1, 1},     {1, 7},     {7, 1},      {100, 100}, {2160, 512}, {1080, 512},    {1366, 512},
                        {512, 513}, {513, 512}, {10, 65535}, {65535, 3}, {3840, 512}, {65535, 65521}, {17, 4}};

// The weights as a row of the source's width, from the filter's formula, with the edges continued.
std::vector<double> ideal_weights(const Sizes& sizes, unsigned i) {
    const double ratio = double(sizes.source) / sizes.destination, width = std::max(ratio, 1.0);
    const double centre = (i + 0.5) * ratio - 0.5;
    std::vector<double> weights(sizes.source);
    for (int j = int(floor(centre - 2 * width)); j <= centre + 2 * width; ++j)
        weights[std::min(std::max(j, 0), int(sizes.source) - 1)] +=
            kobrtl::reference_curve(ReferenceFilter::cubic, ratio > 1, (j - centre) / width);
    const double sum = std::accumulate(weights.begin(), weights.end(), 0.0);
    for (double& weight : weights)
        weight /= sum;
    return weights;
}

kobrtl::Filter filter_of(const Sizes& sizes) {
    return sizes.source > sizes.destination ? kobrtl::mitchell() : kobrtl::catmull_rom();
}

// All of a small destination, some of a large one.
template <class Check>
void for_some(const Sizes& sizes, const Check& check) {
    const unsigned step = sizes.destination < 600 ? 1 : sizes.destination / 97;
    for (unsigned i = 0; i < sizes.destination; i += step)
        check(i);
    check(sizes.destination - 1);
}

TEST(AxisWeights, Weights_are_those_of_the_formula_and_name_only_pixels_of_the_source) {
    for (const Sizes& sizes : kSizes) {
        SCOPED_TRACE(testing::Message() << sizes.source << " to " << sizes.destination);
        AxisWeights axis;
        ASSERT_TRUE(axis.build(sizes.source, sizes.destination, filter_of(sizes)));
        for_some(sizes, [&](unsigned i) {
            const AxisWeights::Taps& taps = axis.taps(i);
            ASSERT_LE(taps.first + taps.count, sizes.source);
            ASSERT_LE(taps.count, axis.most_taps());
            std::vector<double> ideal = ideal_weights(sizes, i);
            for (unsigned k = 0; k < taps.count; ++k)
                ideal[taps.first + k] -= axis.weights(taps)[k];
            for (double difference : ideal)
                ASSERT_NEAR(difference, 0, 1e-6) << i;
        });
    }
}

TEST(AxisWeights, Pixels_move_forward_and_the_first_and_last_pixel_of_the_source_are_used) {
    for (const Sizes& sizes : kSizes) {
        AxisWeights axis;
        ASSERT_TRUE(axis.build(sizes.source, sizes.destination, filter_of(sizes)));
        EXPECT_EQ(axis.taps(0).first, 0u);
        const AxisWeights::Taps& last = axis.taps(sizes.destination - 1);
        EXPECT_EQ(last.first + last.count, sizes.source);
        for (unsigned i = 1; i < sizes.destination; ++i) {
            ASSERT_GE(axis.taps(i).first, axis.taps(i - 1).first);
            ASSERT_GE(axis.taps(i).first + axis.taps(i).count, axis.taps(i - 1).first + axis.taps(i - 1).count);
        }
    }
}

TEST(PairWeights, Whole_numbers_times_the_unit_are_the_weights_and_add_up_to_one) {
    for (const Sizes& sizes : kSizes) {
        SCOPED_TRACE(testing::Message() << sizes.source << " to " << sizes.destination);
        AxisWeights axis;
        PairWeights pairs;
        ASSERT_TRUE(axis.build(sizes.source, sizes.destination, filter_of(sizes)));
        ASSERT_TRUE(pairs.build(axis));
        for_some(sizes, [&](unsigned i) {
            const AxisWeights::Taps& taps = axis.taps(i);
            const PairWeights::Set& set = pairs.set(i);
            ASSERT_LE(taps.count + set.lead, 2 * set.pairs);
            ASSERT_LE(set.lead, taps.first);
            double sum = 0, magnitudes = 0;
            for (unsigned k = 0; k < 2 * set.pairs; ++k) {
                const int weight = set.weights[k / 2 * 2 * PairWeights::kCopies + k % 2];
                for (unsigned copy = 1; copy < PairWeights::kCopies; ++copy)
                    ASSERT_EQ(set.weights[(k / 2 * PairWeights::kCopies + copy) * 2 + k % 2], weight);
                const bool is_tap = k >= set.lead && k - set.lead < taps.count;
                ASSERT_NEAR(weight * double(set.unit), is_tap ? axis.weights(taps)[k - set.lead] : 0,
                            set.unit * 1.1 + 1e-6);
                sum += weight;
                magnitudes += abs(weight);
            }
            ASSERT_NEAR(sum * set.unit, 1, 1e-6);
            ASSERT_LT(magnitudes * 255, 2147483648.0) << "the sums would not fit";
        });
    }
}

TEST(PairWeights, Of_so_many_pixels_that_each_weighs_next_to_nothing_add_up_to_one_all_the_same) {
    AxisWeights axis;
    PairWeights pairs;
    ASSERT_TRUE(axis.build(65535, 5, kobrtl::mitchell()));
    ASSERT_TRUE(pairs.build(axis));
    const PairWeights::Set& set = pairs.set(2); // reaches no edge
    double sum = 0, magnitudes = 0;
    for (unsigned k = 0; k < 2 * set.pairs; ++k) {
        const int weight = set.weights[k / 2 * 2 * PairWeights::kCopies + k % 2];
        sum += weight;
        magnitudes += abs(weight);
    }
    EXPECT_NEAR(sum * set.unit, 1, 1e-6);
    EXPECT_LT(magnitudes * 255, 2147483648.0) << "the sums would not fit";
    EXPECT_GT(magnitudes * 255, 1e9) << "the weights are rounded more than they need";
}

TEST(Filter, Is_nothing_from_its_radius_on) {
    for (const kobrtl::Filter& filter : {kobrtl::mitchell(), kobrtl::catmull_rom(), kobrtl::triangle()}) {
        EXPECT_NEAR(filter.value(filter.radius - 1e-9), 0, 1e-8);
        EXPECT_NE(filter.value(filter.radius - 0.25), 0);
        for (double beyond : {0.0, 0.5, 1.0, 100.0})
            EXPECT_EQ(filter.value(filter.radius + beyond), 0);
    }
}

TEST(Block, Of_a_size_that_no_number_of_bytes_can_express_is_refused) {
    kobrtl::Block<double> block;
    ASSERT_TRUE(block.allocate(1));
    EXPECT_FALSE(block.allocate(SIZE_MAX / sizeof(double)));
    EXPECT_EQ(block.data(), nullptr);
}

TEST(PairWeights, A_row_behind_the_picture_is_announced) {
    for (unsigned source = 1; source < 40; ++source)
        for (unsigned destination = 1; destination < 40; ++destination) {
            AxisWeights axis;
            PairWeights pairs;
            ASSERT_TRUE(axis.build(source, destination, filter_of({source, destination})));
            ASSERT_TRUE(pairs.build(axis));
            bool behind = false;
            for (unsigned i = 0; i < destination; ++i)
                behind |= axis.taps(i).first - pairs.set(i).lead + 2 * pairs.set(i).pairs > source;
            EXPECT_EQ(pairs.reads_behind(), behind) << source << " to " << destination;
        }
}

} // namespace
