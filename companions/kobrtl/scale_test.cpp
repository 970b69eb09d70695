#include "companions/kobrtl/kobrtl.h"

#include <array>

#include <gtest/gtest.h>

#include "testing/cxx/failing_allocator.h"
#include "testing/cxx/test_picture.h"

namespace {

using glib::Scale;
using kobrtl_test::Bitmap;

const uint8_t kPixels[64] = {};

std::vector<uint8_t> grey_palette() {
    std::vector<uint8_t> palette(1024);
    for (unsigned i = 0; i < 256; ++i)
        for (unsigned c = 0; c < 3; ++c)
            palette[4 * i + c] = uint8_t(i);
    return palette;
}

TEST(CalcDestBpp, Nearest_keeps_every_depth) {
    const auto palette = grey_palette();
    for (unsigned bpp : {1u, 4u, 8u, 24u, 32u})
        EXPECT_EQ(Scale(kPixels, 2, 2, 8, bpp, palette.data(), 2).CalcDestBpp(Scale::Nearest), bpp);
}

TEST(CalcDestBpp, Indices_are_raised_to_colours_and_greys_stay) {
    auto palette = grey_palette();
    for (int type : {Scale::Area, Scale::Linear}) {
        EXPECT_EQ(Scale(kPixels, 2, 2, 8, 24, nullptr, 0).CalcDestBpp(type), 24u);
        EXPECT_EQ(Scale(kPixels, 2, 2, 8, 32, nullptr, 0).CalcDestBpp(type), 32u);
        EXPECT_EQ(Scale(kPixels, 2, 2, 8, 8, nullptr, 0).CalcDestBpp(type), 8u);
        EXPECT_EQ(Scale(kPixels, 2, 2, 8, 1, nullptr, 0).CalcDestBpp(type), 8u);
        EXPECT_EQ(Scale(kPixels, 2, 2, 8, 8, palette.data(), 256).CalcDestBpp(type), 8u);
        EXPECT_EQ(Scale(kPixels, 2, 2, 8, 8, palette.data(), 255).CalcDestBpp(type), 24u);
        EXPECT_EQ(Scale(kPixels, 2, 2, 8, 4, palette.data(), 16).CalcDestBpp(type), 24u);
    }
    EXPECT_EQ(Scale(kPixels, 2, 2, 8, 8, nullptr, 256).CalcDestBpp(Scale::Area), 8u) << "no palette";
    EXPECT_EQ(Scale(kPixels, 2, 2, 8, 8, palette.data(), 1000).CalcDestBpp(Scale::Area), 8u) << "256 of them count";
    palette[40] ^= 1;
    EXPECT_EQ(Scale(kPixels, 2, 2, 8, 8, palette.data(), 256).CalcDestBpp(Scale::Area), 24u);
    palette[43] = 255;
    EXPECT_EQ(Scale(kPixels, 2, 2, 8, 8, palette.data(), 256).CalcDestBpp(Scale::Area), 32u) << "has opacities";
}

TEST(CalcDestBpp, A_picture_or_type_that_is_no_good_gives_0) {
    const auto bpp = [](const Scale& scale) { return scale.CalcDestBpp(Scale::Area); };
    EXPECT_EQ(bpp(Scale(nullptr, 2, 2, 8, 24, nullptr, 0)), 0u);
    EXPECT_EQ(bpp(Scale(kPixels, 0, 2, 8, 24, nullptr, 0)), 0u);
    EXPECT_EQ(bpp(Scale(kPixels, 2, 0, 8, 24, nullptr, 0)), 0u);
    EXPECT_EQ(bpp(Scale(kPixels, 65536, 1, 8, 8, nullptr, 0)), 0u);
    EXPECT_EQ(bpp(Scale(kPixels, 2, 2, 8, 16, nullptr, 0)), 0u);
    EXPECT_EQ(bpp(Scale(kPixels, 3, 2, 8, 24, nullptr, 0)), 0u) << "rows overlap";
    EXPECT_EQ(bpp(Scale(kPixels, 3, 2, -8, 24, nullptr, 0)), 0u) << "rows overlap";
    EXPECT_EQ(bpp(Scale(kPixels, 3, 1, 0, 24, nullptr, 0)), 24u) << "one row needs no stride";
    EXPECT_EQ(Scale(kPixels, 2, 2, 8, 24, nullptr, 0).CalcDestBpp(3), 0u);
    EXPECT_EQ(Scale(kPixels, 2, 2, 8, 24, nullptr, 0).CalcDestBpp(-1), 0u);
}

TEST(ScaleTo, A_bad_destination_gives_0_and_is_not_touched) {
    const Scale scale(kPixels, 2, 2, 8, 24, nullptr, 0);
    uint8_t out[64];
    memset(out, 0xEE, sizeof out);
    EXPECT_EQ(scale.ScaleTo(nullptr, 2, 2, 8, Scale::Area), 0);
    EXPECT_EQ(scale.ScaleTo(out, 0, 2, 8, Scale::Area), 0);
    EXPECT_EQ(scale.ScaleTo(out, 2, 0, 8, Scale::Area), 0);
    EXPECT_EQ(scale.ScaleTo(out, 2, 65536, 8, Scale::Area), 0);
    EXPECT_EQ(scale.ScaleTo(out, 3, 2, 8, Scale::Area), 0);
    EXPECT_EQ(scale.ScaleTo(out, 2, 2, 8, 7), 0);
    EXPECT_EQ(Scale(nullptr, 2, 2, 8, 24, nullptr, 0).ScaleTo(out, 2, 2, 8, Scale::Area), 0);
    for (uint8_t byte : out)
        EXPECT_EQ(byte, 0xEE);
}

TEST(ScaleTo, Bytes_between_the_rows_stay_as_they_are) {
    const Bitmap from = kobrtl_test::noise(40, 30, 3);
    for (int type : {Scale::Nearest, Scale::Area, Scale::Linear})
        for (unsigned width = 1; width < 20; ++width) {
            const int stride = int(width) * 3 + 5;
            std::vector<uint8_t> out(size_t(stride) * 9, 0xEE);
            ASSERT_EQ(Scale(from.bytes.data(), 40, 30, 120, 24, nullptr, 0).ScaleTo(out.data(), width, 9, stride, type),
                      1);
            for (unsigned y = 0; y < 9; ++y)
                for (unsigned x = width * 3; x < unsigned(stride); ++x)
                    ASSERT_EQ(out[y * size_t(stride) + x], 0xEE) << type << " width " << width;
        }
}

TEST(ScaleTo, Nearest_takes_the_pixel_at_the_centre) {
    const uint8_t row[6] = {10, 20, 30, 40, 50, 60};
    uint8_t out[3] = {};
    ASSERT_EQ(Scale(row, 6, 1, 6, 8, nullptr, 0).ScaleTo(out, 3, 1, 3, Scale::Nearest), 1);
    EXPECT_EQ(std::vector<uint8_t>(out, out + 3), (std::vector<uint8_t>{20, 40, 60}));
    uint8_t larger[4] = {};
    ASSERT_EQ(Scale(row, 2, 1, 6, 8, nullptr, 0).ScaleTo(larger, 4, 1, 4, Scale::Nearest), 1);
    EXPECT_EQ(std::vector<uint8_t>(larger, larger + 4), (std::vector<uint8_t>{10, 10, 20, 20}));
}

TEST(ScaleTo, Nearest_copies_indices_of_less_than_a_byte) {
    const uint8_t nibbles[2] = {0x12, 0x34};
    uint8_t out[4] = {0xFF, 0xFF, 0xFF, 0xFF};
    ASSERT_EQ(Scale(nibbles, 4, 1, 2, 4, nullptr, 0).ScaleTo(out, 7, 1, 4, Scale::Nearest), 1);
    EXPECT_EQ(std::vector<uint8_t>(out, out + 4), (std::vector<uint8_t>{0x11, 0x23, 0x34, 0x40}));
    const uint8_t bits[1] = {0b10110000};
    uint8_t bit_out[1] = {};
    ASSERT_EQ(Scale(bits, 4, 1, 1, 1, nullptr, 0).ScaleTo(bit_out, 8, 1, 1, Scale::Nearest), 1);
    EXPECT_EQ(bit_out[0], 0b11001111);
}

// The same picture as indices and as colours must come out the same.
TEST(ScaleTo, Indices_scale_like_the_colours_they_stand_for) {
    const struct {
        unsigned height, to_width, to_height;
    } shapes[] = {{45, 31, 17}, {3, 5, 190}};
    for (unsigned i = 0; i < 12; ++i) {
        const auto& [height, to_width, to_height] = shapes[i / 6];
        const unsigned bpp = std::array{1u, 4u, 8u}[i % 3];
        const bool opacities = i % 2;
        SCOPED_TRACE(testing::Message() << bpp << " bits, opacities " << opacities << " to " << to_height);
        const unsigned width = 83, colours = 1u << bpp;
        Bitmap palette = kobrtl_test::noise(colours, 1, 4, 7);
        if (!opacities)
            for (unsigned k = 0; k < colours; ++k)
                palette.at(k, 0, 3) = 9;
        const unsigned stride = (width * bpp + 7) / 8 + 3;
        const Bitmap indices = kobrtl_test::noise(stride, height, 1, 8);
        Bitmap colour(width, height, opacities ? 4 : 3);
        for (unsigned y = 0; y < height; ++y)
            for (unsigned x = 0; x < width; ++x) {
                const unsigned bit = x * bpp;
                const unsigned index = indices.at(bit / 8, y, 0) >> (8 - bpp - bit % 8) & (colours - 1);
                for (unsigned c = 0; c < colour.channels; ++c)
                    colour.at(x, y, c) = palette.at(index, 0, c);
            }
        const Scale scale(indices.bytes.data(), width, height, int(stride), bpp, palette.bytes.data(), colours);
        ASSERT_EQ(scale.CalcDestBpp(Scale::Area), 8 * colour.channels);
        Bitmap out(to_width, to_height, colour.channels), expected(to_width, to_height, colour.channels);
        ASSERT_EQ(scale.ScaleTo(out.bytes.data(), to_width, to_height, out.stride(), Scale::Area), 1);
        ASSERT_EQ(Scale(colour.bytes.data(), width, height, colour.stride(), 8 * colour.channels, nullptr, 0)
                      .ScaleTo(expected.bytes.data(), to_width, to_height, expected.stride(), Scale::Area),
                  1);
        EXPECT_EQ(out.bytes, expected.bytes);
    }
}

TEST(ScaleTo, An_index_beyond_the_palette_is_black) {
    const uint8_t palette[8] = {50, 60, 70, 0, 80, 90, 100, 0};
    const uint8_t indices[4] = {2, 255, 2, 255};
    uint8_t out[3] = {9, 9, 9};
    ASSERT_EQ(Scale(indices, 4, 1, 4, 8, palette, 2).ScaleTo(out, 1, 1, 3, Scale::Area), 1);
    EXPECT_EQ(out[0] | out[1] | out[2], 0);
}

TEST(ScaleTo, Indices_without_a_palette_are_greys_from_black_to_white) {
    const uint8_t indices[1] = {0x0F};
    uint8_t out[2] = {};
    ASSERT_EQ(Scale(indices, 2, 1, 1, 4, nullptr, 0).ScaleTo(out, 2, 1, 2, Scale::Area), 1);
    EXPECT_EQ(out[0], 0);
    EXPECT_EQ(out[1], 255);
}

TEST(ScaleTo, The_linear_type_never_leaves_the_range_of_the_source) {
    Bitmap from = kobrtl_test::blocks(60, 60, 3);
    for (uint8_t& byte : from.bytes)
        byte = byte ? 200 : 50;
    for (unsigned size : {11u, 150u}) {
        Bitmap out(size, size, 3);
        ASSERT_EQ(Scale(from.bytes.data(), 60, 60, 180, 24, nullptr, 0)
                      .ScaleTo(out.bytes.data(), size, size, out.stride(), Scale::Linear),
                  1);
        for (uint8_t byte : out.bytes)
            ASSERT_TRUE(byte >= 50 && byte <= 200);
    }
}

TEST(ScaleTo, The_longest_sides_work) {
    std::vector<uint8_t> row(65535 * 3, 77);
    uint8_t pixel[3] = {};
    ASSERT_EQ(Scale(row.data(), 65535, 1, 65535 * 3, 24, nullptr, 0).ScaleTo(pixel, 1, 1, 3, Scale::Area), 1);
    EXPECT_EQ(pixel[0], 77);
    std::vector<uint8_t> out(65535 * 3);
    ASSERT_EQ(Scale(pixel, 1, 1, 3, 24, nullptr, 0).ScaleTo(out.data(), 1, 65535, 3, Scale::Area), 1);
    EXPECT_EQ(out, row);
    pixel[0] = 0;
    ASSERT_EQ(Scale(row.data(), 1, 65535, 3, 24, nullptr, 0).ScaleTo(pixel, 1, 1, 3, Scale::Area), 1);
    EXPECT_EQ(pixel[0], 77);
}

#ifndef _WIN32
// Upright, turned on its way, and of indices, which are raised to colours.
TEST(ScaleTo, Without_memory_for_any_of_its_blocks_gives_0) {
    const auto palette = grey_palette();
    const struct {
        unsigned width, height, bpp, to_width, to_height;
    } cases[] = {{40, 30, 24, 20, 10}, {40, 30, 32, 20, 10}, {3000, 1, 24, 1, 3000}, {40, 30, 8, 20, 10}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.width << " x " << c.height << ", " << c.bpp << " bits");
        const Bitmap from = kobrtl_test::noise(c.width, c.height, c.bpp / 8);
        const Scale scale(from.bytes.data(), c.width, c.height, from.stride(), c.bpp, palette.data(), 255);
        std::vector<uint8_t> out(size_t{4} * c.to_width * c.to_height);
        unsigned nth = 1;
        for (bool failed = true; failed; ++nth) {
            FailingAllocator allocator(nth);
            const int done = scale.ScaleTo(out.data(), c.to_width, c.to_height, 4 * int(c.to_width), Scale::Area);
            failed = allocator.failed();
            ASSERT_EQ(done, failed ? 0 : 1) << nth;
        }
        EXPECT_GT(nth, 6u) << "it allocates";
    }
}
#endif

} // namespace
