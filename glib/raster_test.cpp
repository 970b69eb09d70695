#include "glib/raster.h"

#include <algorithm>
#include <vector>

#include <gtest/gtest.h>

#include "glib/canvas.h"
#include "glib/pixel_buffer.h"

namespace glib {

inline bool operator==(const RGB32& a, const RGB32& b) {
    return a.blue == b.blue && a.green == b.green && a.red == b.red && a.alpha == b.alpha;
}
inline void PrintTo(const RGB32& c, std::ostream* out) {
    *out << "{" << int(c.blue) << "," << int(c.green) << "," << int(c.red) << "," << int(c.alpha) << "}";
}

namespace {

TEST(RowLength, Rounds_up_to_whole_words) {
    struct {
        uint32_t bits, width;
        uint64_t length;
    } const cases[] = {{1, 1, 4},  {1, 32, 4},          {1, 33, 8},
                       {4, 8, 4},  {4, 9, 8},           {8, 4, 4},
                       {8, 5, 8},  {16, 2, 4},          {16, 3, 8},
                       {24, 1, 4}, {24, 4, 12},         {24, 5, 16},
                       {32, 1, 4}, {24, 1366, 4100},    {24, 1024, 3072},
                       {24, 0, 0}, {32, 65500, 262000}, {32, 0xFFFFFFFF, 0x3FFFFFFFCull}};
    for (const auto& c : cases)
        EXPECT_EQ(row_length(c.bits, c.width), c.length) << c.bits << " bits, " << c.width;
}

TEST(Raster, Refuses_what_the_contract_does_not_allow) {
    Raster raster;
    for (uint32_t bits : {0u, 2u, 15u, 16u, 31u, 33u, 64u})
        EXPECT_FALSE(raster.Create(1, 1, bits)) << bits;
    EXPECT_FALSE(raster.Create(0, 1, 24));
    EXPECT_FALSE(raster.Create(1, 0, 24));
    EXPECT_FALSE(raster.Create(65501, 1, 24));
    EXPECT_FALSE(raster.Create(20000, 20000, 24));
    EXPECT_TRUE(raster.empty());
    EXPECT_TRUE(raster.Create(65500, 1, 24));
    EXPECT_FALSE(raster.Create(0, 0, 24));
    EXPECT_TRUE(raster.empty()) << "nothing is left of the picture before";
}

TEST(Raster, Beyond_the_contract_memory_is_the_limit) {
    Raster raster;
    ASSERT_TRUE(raster.CreateUnbounded(70000, 3, 24));
    EXPECT_EQ(raster.width(), 70000u);
    raster.row(2)[209999] = 7;
    Raster copy;
    ASSERT_TRUE(copy.CopyFrom(raster));
    EXPECT_EQ(copy.row(2)[209999], 7);
    EXPECT_FALSE(raster.CreateUnbounded(0, 3, 24));
    EXPECT_FALSE(raster.CreateUnbounded(70000, 3, 16));
    EXPECT_FALSE(raster.CreateUnbounded(0xFFFFFFFF, 0xFFFFFFFF, 32)) << "a length that wraps";
    EXPECT_FALSE(raster.CreateUnbounded(0x40000000, 2, 8)) << "half of the address space";
    EXPECT_TRUE(raster.empty());
}

TEST(Raster, Rows_run_from_the_bottom_up) {
    Raster raster;
    ASSERT_TRUE(raster.Create(1, 3, 24));
    for (uint32_t y = 0; y < 3; ++y)
        raster.row(y)[0] = static_cast<uint8_t>(10 + y);
    EXPECT_EQ(raster.pixels()[0], 12);
    EXPECT_EQ(raster.pixels()[4], 11);
    EXPECT_EQ(raster.pixels()[8], 10);
}

TEST(Raster, Reads_every_depth_as_colours) {
    const RGB32 palette[] = {{1, 2, 3, 255}, {4, 5, 6, 0}, {7, 8, 9, 255}};
    const struct {
        uint32_t bits;
        std::vector<uint8_t> bytes;
        int transparent;
        std::vector<RGB32> colours;
    } cases[] = {{1, {0x40}, -1, {{1, 2, 3, 255}, {4, 5, 6, 255}, {1, 2, 3, 255}}},
                 {4, {0x12, 0xF0}, 2, {{4, 5, 6, 255}, {7, 8, 9, 0}, {255, 255, 255, 255}}},
                 {8, {2, 200, 0}, -1, {{7, 8, 9, 255}, {200, 200, 200, 255}, {1, 2, 3, 255}}},
                 {24, {0, 1, 2, 3, 4, 5, 6, 7, 8}, -1, {{0, 1, 2, 255}, {3, 4, 5, 255}, {6, 7, 8, 255}}},
                 {32, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}, -1, {{0, 1, 2, 3}, {4, 5, 6, 7}, {8, 9, 10, 11}}}};
    for (const auto& c : cases) {
        Raster raster;
        ASSERT_TRUE(raster.Create(3, 1, c.bits));
        if (c.bits <= 8)
            raster.SetPalette(palette, 3);
        if (c.transparent >= 0)
            raster.SetTransparentIndex(c.transparent);
        std::copy(c.bytes.begin(), c.bytes.end(), raster.row(0));
        std::vector<RGB32> row(3);
        raster.ReadRow(0, row.data());
        EXPECT_EQ(row, c.colours) << c.bits;
    }
}

TEST(Raster, A_copy_has_everything_and_a_moved_one_nothing) {
    Raster raster;
    ASSERT_TRUE(raster.Create(5, 4, 8));
    const RGB32 colour = {9, 9, 9, 255};
    raster.SetPalette(&colour, 1);
    raster.SetTransparentIndex(7);
    raster.row(3)[4] = 77;
    Raster copy;
    ASSERT_TRUE(copy.CopyFrom(raster));
    EXPECT_EQ(copy.row(3)[4], 77);
    EXPECT_EQ(copy.palette()[0], colour);
    EXPECT_EQ(copy.transparent_index(), 7);
    EXPECT_NE(copy.pixels(), raster.pixels());
    EXPECT_TRUE(copy.CopyFrom(copy));

    const Raster moved(static_cast<Raster&&>(raster));
    EXPECT_EQ(moved.row(3)[4], 77);
    EXPECT_TRUE(raster.empty());
    EXPECT_EQ(raster.palette().size(), 0u);
    EXPECT_FALSE(copy.CopyFrom(raster));
}

TEST(Raster, Moved_to_itself_stays) {
    Raster raster;
    ASSERT_TRUE(raster.Create(2, 2, 24));
    raster.row(0)[0] = 7;
    Raster& itself = raster;
    raster = static_cast<Raster&&>(itself);
    EXPECT_EQ(raster.width(), 2u);
    EXPECT_EQ(raster.row(0)[0], 7);
}

TEST(ScaleRaster, Of_nothing_or_to_nothing_is_a_bad_argument) {
    Raster source, target;
    EXPECT_EQ(scale_raster(source, target, 1, 1, 1), BADA);
    ASSERT_TRUE(source.Create(2, 2, 24));
    ASSERT_TRUE(target.Create(1, 1, 24));
    EXPECT_EQ(scale_raster(source, target, 0, 1, 1), BADA);
    EXPECT_EQ(scale_raster(source, target, 1, 0, 1), BADA);
    EXPECT_EQ(scale_raster(source, target, 1, 1, 99), BADA) << "no such scale type";
    EXPECT_TRUE(target.empty());
}

TEST(ScaleRaster, A_picture_higher_than_the_resampler_takes_shrinks_all_the_same) {
    Raster source, target;
    ASSERT_TRUE(source.CreateUnbounded(1, 140000, 24));
    for (uint32_t y = 70000; y < 140000; ++y)
        source.row(y)[0] = 200;
    ASSERT_EQ(scale_raster(source, target, 1, 4, 2), RCOK); // the type that never swings at an edge
    ASSERT_EQ(target.height(), 4u);
    EXPECT_EQ(target.row(0)[0], 0);
    EXPECT_EQ(target.row(3)[0], 200);
}

// Black and white stripes of 70 pixels each, of which 7 become one: they must not run into each other.
TEST(ScaleRaster, A_picture_wider_than_the_resampler_takes_stays_sharp) {
    constexpr uint32_t kStripe = 70, kStripes = 1000;
    Raster source, target;
    ASSERT_TRUE(source.CreateUnbounded(kStripe * kStripes, 1, 24));
    for (uint32_t x = 0; x < kStripe * kStripes; ++x)
        for (uint32_t channel = 0; channel < 3; ++channel)
            source.row(0)[x * 3 + channel] = x / kStripe % 2 ? 255 : 0;
    ASSERT_EQ(scale_raster(source, target, kStripes * 10, 1, 1), RCOK);
    ASSERT_EQ(target.width(), kStripes * 10);
    for (uint32_t i = 0; i < kStripes; ++i)
        EXPECT_NEAR(target.row(0)[(i * 10 + 5) * 3], i % 2 ? 255 : 0, 16) << i;
}

TEST(ScaleRaster, A_transparent_colour_becomes_an_opacity) {
    Raster source, target;
    ASSERT_TRUE(source.Create(2, 1, 8));
    source.row(0)[0] = 9; // and index 0 beside it
    source.SetTransparentIndex(9);
    ASSERT_EQ(scale_raster(source, target, 4, 1, 2), RCOK);
    EXPECT_EQ(target.bits_per_pixel(), 32u);
    RGB32 row[4];
    target.ReadRow(0, row);
    EXPECT_EQ(row[0].alpha, 0);
    EXPECT_EQ(row[3].alpha, 255);
}

TEST(Canvas, Becomes_24_bits_when_opaque_and_32_when_not) {
    Canvas canvas;
    ASSERT_TRUE(canvas.Create(2, 2));
    for (uint32_t y = 0; y < 2; ++y)
        for (uint32_t x = 0; x < 2; ++x)
            canvas.row(y)[x] = RGB32{1, static_cast<uint8_t>(10 * y), static_cast<uint8_t>(x), 255};
    Raster raster;
    ASSERT_TRUE(canvas.ToRaster(raster));
    EXPECT_EQ(raster.bits_per_pixel(), 24u);
    EXPECT_EQ(raster.row(1)[1], 10) << "upright";
    EXPECT_EQ(raster.row(1)[5], 1);
    canvas.row(1)[0].alpha = 254;
    ASSERT_TRUE(canvas.ToRaster(raster));
    EXPECT_EQ(raster.bits_per_pixel(), 32u);
    EXPECT_EQ(raster.row(1)[3], 254);
}

TEST(Canvas, On_white_transparency_pales) {
    Canvas canvas;
    ASSERT_TRUE(canvas.Create(3, 1));
    canvas.row(0)[0] = {100, 0, 255, 255};
    canvas.row(0)[1] = {100, 0, 255, 0};
    canvas.row(0)[2] = {0, 0, 0, 51};
    Raster raster;
    ASSERT_TRUE(canvas.ToRasterOnWhite(raster));
    const uint8_t* row = raster.row(0);
    EXPECT_EQ(std::vector<int>(row, row + 9), (std::vector<int>{100, 0, 255, 255, 255, 255, 204, 204, 204}));
}

TEST(Canvas, Refuses_pages_beyond_the_limits) {
    Canvas canvas;
    EXPECT_FALSE(canvas.Create(0, 1));
    EXPECT_FALSE(canvas.Create(1, 0));
    EXPECT_FALSE(canvas.Create(65501, 1));
    EXPECT_FALSE(canvas.Create(20000, 20000));
    EXPECT_FALSE(canvas.CreateFrom(Raster()));
}

uint32_t bgr(uint16_t pixel, const ChannelMasks& masks) {
    const uint8_t source[2] = {static_cast<uint8_t>(pixel), static_cast<uint8_t>(pixel >> 8)};
    uint8_t target[3];
    convert_16_to_24(source, target, 1, masks);
    return static_cast<uint32_t>(target[2]) << 16 | target[1] << 8 | target[0];
}

TEST(Convert16To24, Spreads_five_bits_over_the_whole_range) {
    EXPECT_EQ(bgr(0x0000, kMasks555), 0x000000u);
    EXPECT_EQ(bgr(0x7FFF, kMasks555), 0xFFFFFFu);
    EXPECT_EQ(bgr(0x7C00, kMasks555), 0xFF0000u);
    EXPECT_EQ(bgr(0x03E0, kMasks555), 0x00FF00u);
    EXPECT_EQ(bgr(0x001F, kMasks555), 0x0000FFu);
    EXPECT_EQ(bgr(0x8000, kMasks555), 0x000000u) << "the highest bit means nothing";
    EXPECT_EQ(bgr(0x4210, kMasks555), 0x848484u) << "16/31 of 255 is 131.6";
}

TEST(Convert16To24, Takes_the_masks_it_is_given) {
    const ChannelMasks masks_565 = {0xF800, 0x07E0, 0x001F};
    EXPECT_EQ(bgr(0xFFFF, masks_565), 0xFFFFFFu);
    EXPECT_EQ(bgr(0xF800, masks_565), 0xFF0000u);
    EXPECT_EQ(bgr(0x07E0, masks_565), 0x00FF00u);
    EXPECT_EQ(bgr(0x0400, masks_565), 0x008200u) << "32/63 of 255 is 129.5";
    EXPECT_EQ(bgr(0x8000, {0x8000, 0, 0}), 0xFF0000u) << "one bit is full intensity";
    EXPECT_EQ(bgr(0x0001, {0x0001, 0x0002, 0x0004}), 0xFF0000u) << "the lowest, too";
    EXPECT_EQ(bgr(0xFFFF, {0, 0, 0}), 0x000000u);
    EXPECT_EQ(bgr(0x1234, {0xFFFFFFFF, 0, 0}), 0x120000u) << "bits beyond the pixel don't count";
}

TEST(PixelBuffer, Allocating_again_gives_up_what_it_held) {
    PixelBuffer buffer;
    ASSERT_TRUE(buffer.Allocate(100));
    buffer.data()[49] = 1;
    ASSERT_TRUE(buffer.Allocate(50));
    EXPECT_EQ(buffer.data()[49], 0);
}

} // namespace
} // namespace glib
