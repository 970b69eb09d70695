#include "companions/kobrtl/resample.h"

#include <list>
#include <unordered_map>

#include <gtest/gtest.h>

#include "testing/cxx/test_picture.h"

namespace {

using kobrtl::RowKernels;
using kobrtl_test::Bitmap;

const kobrtl::FilterPair kCubic = {kobrtl::mitchell(), kobrtl::catmull_rom()};
const kobrtl::FilterPair kLinear = {kobrtl::triangle(), kobrtl::triangle()};

Bitmap scaled(const Bitmap& from, unsigned width, unsigned height, const RowKernels& kernels,
              const kobrtl::FilterPair& filters = kCubic) {
    Bitmap to(width, height, from.channels);
    const kobrtl::Picture source = {from.bytes.data(), from.stride(), from.width, from.height,
                                    8 * from.channels, nullptr,       0};
    EXPECT_TRUE(kobrtl::resample(source, {to.bytes.data(), to.stride(), width, height}, filters, kernels));
    return to;
}

double greatest_error(const Bitmap& bitmap, const std::vector<double>& ideal) {
    double greatest = 0;
    for (size_t i = 0; i < ideal.size(); ++i)
        greatest = std::max(greatest, fabs(bitmap.bytes[i] - ideal[i]));
    return greatest;
}

struct Case {
    const char* name;
    unsigned width, height, to_width, to_height;
};

void PrintTo(const Case& c, std::ostream* out) {
    *out << c.name;
}

// Rounding alone may be wrong by half a level; the rest is what fixed point costs.
constexpr double kBound = 0.53;

class ResampleSizes : public testing::TestWithParam<Case> {
protected:
    // By the plain kernels, having seen that the others give the same within one level.
    Bitmap scaled_by_all(const Bitmap& from) {
        const Case& c = GetParam();
        const Bitmap plain = scaled(from, c.to_width, c.to_height, kobrtl::plain_kernels());
        for (const RowKernels* kernels : {kobrtl::sse2_kernels(), kobrtl::avx2_kernels()})
            if (kernels) {
                SCOPED_TRACE(kernels->name);
                const Bitmap other = scaled(from, c.to_width, c.to_height, *kernels);
                for (size_t i = 0; i < plain.bytes.size(); ++i)
                    EXPECT_NEAR(other.bytes[i], plain.bytes[i], 1) << i;
            }
        return plain;
    }
};

TEST_P(ResampleSizes, Bytes_are_within_rounding_of_the_ideal_and_all_kernels_agree) {
    const Case& c = GetParam();
    for (unsigned channels : {1u, 3u, 4u}) {
        SCOPED_TRACE(channels);
        for (Bitmap from :
             {kobrtl_test::noise(c.width, c.height, channels), kobrtl_test::blocks(c.width, c.height, channels)}) {
            if (channels == 4)
                kobrtl_test::make_opaque(from);
            EXPECT_LE(greatest_error(scaled_by_all(from), kobrtl_test::ideal(from, c.to_width, c.to_height)), kBound);
        }
    }
}

TEST_P(ResampleSizes, Opacities_are_within_rounding_of_the_ideal_and_all_kernels_agree) {
    const Case& c = GetParam();
    const Bitmap from = kobrtl_test::noise(c.width, c.height, 4);
    const Bitmap to = scaled_by_all(from);
    const auto ideal = kobrtl_test::ideal_weighted(from, c.to_width, c.to_height);
    for (size_t i = 0; i < ideal.size(); i += 4) {
        ASSERT_NEAR(to.bytes[i + 3], ideal[i + 3], kBound) << i;
        if (to.bytes[i + 3] == 0)
            continue;
        // The less opaque a pixel is, the coarser is its colour, and the less it matters.
        const double bound = 0.52 + 3.0 / ideal[i + 3];
        for (size_t k = 0; k < 3; ++k)
            ASSERT_NEAR(to.bytes[i + k], ideal[i + k], bound) << i << " opacity " << ideal[i + 3];
    }
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, ResampleSizes,
    testing::Values(Case{"one_pixel_stays", 1, 1, 1, 1}, Case{"one_pixel_grows", 1, 1, 9, 5},
                    Case{"to_one_pixel", 33, 21, 1, 1}, Case{"one_row", 100, 1, 17, 1},
                    Case{"one_column", 1, 100, 1, 17}, Case{"row_becomes_column", 64, 1, 1, 64},
                    Case{"low_becomes_narrow", 300, 3, 5, 200}, Case{"low_grows_both_ways", 70, 2, 90, 190},
                    Case{"same_size", 37, 23, 37, 23}, Case{"a_little_smaller", 100, 80, 99, 79},
                    Case{"a_little_larger", 100, 80, 101, 81}, Case{"half", 128, 96, 64, 48},
                    Case{"odd_sizes", 131, 97, 53, 41}, Case{"grows", 19, 13, 83, 71},
                    Case{"wider_but_lower", 40, 160, 150, 30}, Case{"narrower_but_higher", 160, 40, 30, 150},
                    Case{"many_rows_to_one", 16, 1000, 16, 2}, Case{"screen_like", 480, 270, 128, 128},
                    Case{"vector_width", 16, 16, 8, 8}, Case{"just_below_vector", 5, 40, 5, 20}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(Resample, A_flat_picture_stays_flat_at_every_level) {
    for (unsigned value = 0; value < 256; ++value)
        for (unsigned size : {3u, 17u, 40u, 131u}) {
            const Bitmap to =
                scaled(kobrtl_test::flat(40, 31, 3, static_cast<uint8_t>(value)), size, size, kobrtl::best_kernels());
            for (uint8_t byte : to.bytes)
                ASSERT_EQ(byte, value) << size;
        }
}

TEST(Resample, The_same_size_gives_the_same_pixels) {
    const Bitmap from = kobrtl_test::noise(61, 47, 3);
    EXPECT_EQ(scaled(from, 61, 47, kobrtl::plain_kernels()).bytes, from.bytes);
    EXPECT_EQ(scaled(from, 61, 47, kobrtl::plain_kernels(), kLinear).bytes, from.bytes);
}

TEST(Resample, The_triangle_filter_is_within_rounding_of_its_ideal) {
    const Bitmap from = kobrtl_test::noise(90, 70, 3);
    for (unsigned size : {20u, 200u}) {
        const Bitmap to = scaled(from, size, size, kobrtl::best_kernels(), kLinear);
        EXPECT_LE(greatest_error(to, kobrtl_test::ideal(from, size, size, kobrtl::ReferenceFilter::linear)), kBound);
    }
}

TEST(Resample, A_lane_may_begin_a_row_above_the_first_lane_of_its_band) {
    const Bitmap from = kobrtl_test::noise(5, 3, 3);
    const std::vector<double> ideal = kobrtl_test::ideal(from, 19, 63, kobrtl::ReferenceFilter::linear);
    for (const RowKernels* kernels : {&kobrtl::plain_kernels(), kobrtl::sse2_kernels(), kobrtl::avx2_kernels()})
        if (kernels) {
            SCOPED_TRACE(kernels->name);
            EXPECT_LE(greatest_error(scaled(from, 19, 63, *kernels, kLinear), ideal), kBound);
        }
}

// As many steps as there are columns, of as many rows as a band has.
size_t g_columns;
void counted_vertical(const kobrtl::VerticalRun& run, float* samples) {
    g_columns += run.columns;
    kobrtl::plain_kernels().vertical_bytes(run, samples);
}

// 65535 x 1 to 1 x 65535 took nearly five seconds, and 11 ms the other way round.
TEST(Resample, A_row_becomes_a_column_with_as_little_work_as_a_column_a_row) {
    RowKernels counted = kobrtl::plain_kernels();
    counted.vertical_bytes = counted_vertical;
    const Bitmap row = kobrtl_test::noise(3000, 1, 3), column = kobrtl_test::noise(1, 3000, 3);
    g_columns = 0;
    scaled(column, 3000, 1, counted);
    const size_t fewest = g_columns;
    g_columns = 0;
    const Bitmap to = scaled(row, 1, 3000, counted);
    EXPECT_LE(g_columns, 40 * fewest + 40 * 3000 * 3) << "rather than 3000 x 3000 x 3";
    EXPECT_LE(greatest_error(to, kobrtl_test::ideal(row, 1, 3000)), kBound);
}

// The source's lines in a cache of half a megabyte, of which the least lately used one goes.
class Cache {
public:
    void touch(size_t line) {
        const auto [found, is_new] = m_places.try_emplace(line);
        if (is_new)
            ++fetched;
        else
            m_order.erase(found->second);
        found->second = m_order.insert(m_order.end(), line);
        if (m_order.size() > 512 * 1024 / kLine) {
            m_places.erase(m_order.front());
            m_order.pop_front();
        }
    }
    static constexpr size_t kLine = 64;
    size_t fetched = 0;

private:
    std::list<size_t> m_order;
    std::unordered_map<size_t, std::list<size_t>::iterator> m_places;
};
Cache* g_cache;

void traced_vertical(const kobrtl::VerticalRun& run, float*) {
    for (unsigned y = 0; y < run.row_count; ++y) {
        const size_t first = reinterpret_cast<size_t>(run.rows + static_cast<ptrdiff_t>(y) * run.stride);
        for (size_t line = first / Cache::kLine; line <= (first + run.columns - 1) / Cache::kLine; ++line)
            g_cache->touch(line);
    }
}

// Bands of eight rows share with the next band a quarter of the rows that they are summed up from. Across a wide
// picture these had left the cache by then, and the loops of eight lanes were slower than those of four.
TEST(Resample, A_wide_picture_comes_from_memory_once_however_many_lanes_a_band_has) {
    for (const unsigned width : {1920u, 6400u, 8192u})
        for (const unsigned lanes : {4u, 8u}) {
            Cache cache;
            g_cache = &cache;
            const unsigned height = width / 16;
            const Bitmap from(width, height, 3);
            const RowKernels traced = {"traced",
                                       lanes,
                                       traced_vertical,
                                       nullptr,
                                       [](const kobrtl::HorizontalRun&, uint8_t* const*) {},
                                       nullptr,
                                       nullptr,
                                       [] {}};
            Bitmap to(512, 64, 3);
            const kobrtl::Picture source = {from.bytes.data(), from.stride(), width, height, 24, nullptr, 0};
            ASSERT_TRUE(kobrtl::resample(source, {to.bytes.data(), to.stride(), 512, 64}, kCubic, traced));
            EXPECT_LE(static_cast<double>(cache.fetched), 1.15 * from.bytes.size() / Cache::kLine)
                << width << " by " << lanes << " lanes";
        }
}

// Columns are done in strips; what lies to both sides of a seam must not show it.
TEST(Resample, A_picture_of_many_strips_is_within_rounding_of_the_ideal) {
    const Bitmap from = kobrtl_test::noise(5000, 120, 3);
    const std::vector<double> ideal = kobrtl_test::ideal(from, 200, 3);
    for (const RowKernels* kernels : {&kobrtl::plain_kernels(), kobrtl::sse2_kernels(), kobrtl::avx2_kernels()})
        if (kernels) {
            SCOPED_TRACE(kernels->name);
            EXPECT_LE(greatest_error(scaled(from, 200, 3, *kernels), ideal), kBound);
        }
}

TEST(Resample, One_pixel_that_is_not_opaque_in_the_last_strip_is_found) {
    Bitmap from = kobrtl_test::flat(5000, 120, 4, 255);
    from.at(4999, 119, 3) = 0;
    const Bitmap to = scaled(from, 200, 3, kobrtl::best_kernels());
    EXPECT_LT(to.at(199, 2, 3), 255);
    EXPECT_EQ(to.at(0, 0, 3), 255);
}

TEST(Resample, Transparent_pixels_lend_their_colour_to_nobody) {
    Bitmap from(32, 32, 4);
    for (unsigned y = 0; y < 32; ++y)
        for (unsigned x = 0; x < 32; ++x) {
            const bool seen = x < 13;
            from.at(x, y, 0) = seen ? 200 : 0;
            from.at(x, y, 1) = seen ? 10 : 255;
            from.at(x, y, 3) = seen ? 255 : 0;
        }
    const Bitmap to = scaled(from, 11, 11, kobrtl::best_kernels());
    bool between = false;
    for (unsigned x = 0; x < 11; ++x) {
        const unsigned opacity = to.at(x, 5, 3);
        between |= opacity > 8 && opacity < 247;
        if (opacity > 8) {
            EXPECT_NEAR(to.at(x, 5, 0), 200, 1) << x;
            EXPECT_NEAR(to.at(x, 5, 1), 10, 1) << x;
        } else if (opacity == 0) {
            EXPECT_EQ(to.at(x, 5, 0) | to.at(x, 5, 1), 0);
        }
    }
    EXPECT_TRUE(between);
}

TEST(Resample, One_pixel_that_is_not_opaque_in_the_last_row_is_found) {
    Bitmap from = kobrtl_test::flat(64, 64, 4, 255);
    from.at(63, 63, 3) = 0;
    const Bitmap to = scaled(from, 16, 16, kobrtl::best_kernels());
    EXPECT_LT(to.at(15, 15, 3), 255);
    EXPECT_EQ(to.at(0, 0, 3), 255);
    EXPECT_EQ(to.at(15, 15, 0), 255);
}

TEST(Resample, Rows_may_lie_bottom_up_on_both_sides) {
    const Bitmap from = kobrtl_test::noise(50, 40, 3);
    Bitmap upturned(50, 40, 3), to(20, 15, 3), righted(20, 15, 3);
    for (unsigned y = 0; y < 40; ++y)
        memcpy(&upturned.at(0, y, 0), &from.bytes[size_t(39 - y) * 150], 150);
    const kobrtl::Picture source = {&upturned.at(0, 39, 0), -150, 50, 40, 24, nullptr, 0};
    ASSERT_TRUE(kobrtl::resample(source, {&to.at(0, 14, 0), -60, 20, 15}, kCubic, kobrtl::best_kernels()));
    for (unsigned y = 0; y < 15; ++y)
        memcpy(&righted.at(0, y, 0), &to.at(0, 14 - y, 0), 60);
    EXPECT_EQ(righted.bytes, scaled(from, 20, 15, kobrtl::best_kernels()).bytes);
}

} // namespace
