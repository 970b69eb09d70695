#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "testing/cxx/fake_host.h"

namespace {

using namespace fall;
using fall_test::Bytes;

std::uint32_t depth(ImageFormat format, const Bytes& file) {
    glib::ImageFileInfo info;
    EXPECT_EQ(fall_test::info(format, file, info), glib::RCOK);
    return info.bits_per_pixel;
}

// The sample of the format with other bytes at some places.
Bytes patched(ImageFormat format, std::initializer_list<std::pair<std::size_t, std::uint8_t>> places) {
    Bytes file = fall_test::sample(format);
    for (const auto& [at, byte] : places)
        file.at(at) = byte;
    return file;
}

Bytes bytes_of(const std::string& text) {
    return Bytes(text.begin(), text.end());
}

TEST(StoredDepth, Of_each_format_as_a_rule) {
    const std::uint32_t depths[image_format_count] = {24, 24, 24, 3, 24, 32, 8, 24, 24, 24}; // GIF: a palette of 8
    for (ImageFormat format : fall_test::kFormats)
        EXPECT_EQ(depth(format, fall_test::sample(format)), depths[format]) << format;
}

TEST(StoredDepth, Of_a_jpeg_counts_its_components) {
    const Bytes sample = fall_test::sample(image_jpg);
    const Bytes frame = {0xFF, 0xC0, 0, 17, 8, 0, 8, 0, 8, 3};
    const auto found = std::search(sample.begin(), sample.end(), frame.begin(), frame.end()) - sample.begin();
    Bytes grey = sample, four = sample;
    grey[found + 3] = 11;
    grey[found + 9] = 1;
    grey.erase(grey.begin() + found + 13, grey.begin() + found + 19);
    EXPECT_EQ(depth(image_jpg, grey), 8u);
    four[found + 3] = 20;
    four[found + 9] = 4;
    four.insert(four.begin() + found + 19, {4, 0x11, 1});
    EXPECT_EQ(depth(image_jpg, four), 32u);
}

// Before the frame: fill bytes, bytes that belong to no segment, and a table with a number among the frames'.
TEST(StoredDepth, Of_a_jpeg_is_that_of_its_frame_whatever_comes_before) {
    const Bytes sample = fall_test::sample(image_jpg);
    ASSERT_EQ(sample[3], 0xE0);
    const std::size_t behind_the_first_segment = 4u + sample[4] * 256 + sample[5];
    Bytes table = {0xFF, 0xC4, 0, 19};
    table.resize(2 + 19);
    for (const Bytes& inserted : {Bytes{0xFF, 0xFF}, Bytes{0, 1, 2}, table}) {
        Bytes file = sample;
        file.insert(file.begin() + static_cast<std::ptrdiff_t>(behind_the_first_segment), inserted.begin(),
                    inserted.end());
        EXPECT_EQ(depth(image_jpg, file), 24u);
    }
}

// Width and height are 3 and 2; 25 is the kind of colour: 0 grey, 2 colour, 3 palette, 4 and 6 with alpha.
TEST(StoredDepth, Of_a_png_is_that_of_its_header) {
    for (std::uint8_t bits : {1, 2, 4, 8, 16})
        EXPECT_EQ(depth(image_png, patched(image_png, {{24, bits}, {25, 0}})), bits);
    EXPECT_EQ(depth(image_png, patched(image_png, {{24, 16}, {25, 2}})), 48u);
    EXPECT_EQ(depth(image_png, patched(image_png, {{24, 8}, {25, 4}})), 16u);
    EXPECT_EQ(depth(image_png, patched(image_png, {{24, 8}, {25, 6}})), 32u);
    EXPECT_EQ(depth(image_png, patched(image_png, {{24, 16}, {25, 6}})), 64u);
    Bytes palette = patched(image_png, {{24, 4}, {25, 3}});
    const Bytes chunk = {0, 0, 0, 3, 'P', 'L', 'T', 'E', 1, 2, 3, 0, 0, 0, 0};
    palette.insert(palette.begin() + 33, chunk.begin(), chunk.end());
    EXPECT_EQ(depth(image_png, palette), 4u);
}

TEST(StoredDepth, Of_a_png_is_found_behind_the_chunk_that_apple_puts_first) {
    Bytes file = patched(image_png, {{24, 8}, {25, 6}});
    const Bytes chunk = {0, 0, 0, 4, 'C', 'g', 'B', 'I', 1, 2, 3, 4, 0, 0, 0, 0};
    file.insert(file.begin() + 8, chunk.begin(), chunk.end());
    EXPECT_EQ(depth(image_png, file), 32u);
}

TEST(StoredDepth, Of_a_bmp_is_that_of_its_header) {
    for (std::uint8_t bits : {1, 4, 8, 16, 24, 32})
        EXPECT_EQ(depth(image_bmp, patched(image_bmp, {{28, bits}})), bits);
    const Bytes first_version = {'B', 'M', 36, 0, 0, 0, 0, 0, 0, 0, 32, 0, 0, 0, 12, 0, 0, 0,
                                 1,   0,   1,  0, 1, 0, 1, 0, 0, 0, 0,  9, 9, 9, 0,  0, 0, 0};
    EXPECT_EQ(depth(image_bmp, first_version), 1u);
}

TEST(StoredDepth, Of_a_gif_without_a_common_palette_is_the_most) {
    EXPECT_EQ(depth(image_gif, patched(image_gif, {{10, 0x02}})), 8u);
    EXPECT_EQ(depth(image_gif, patched(image_gif, {{10, 0x80}})), 1u);
}

TEST(StoredDepth, Of_a_psd_counts_its_channels) {
    EXPECT_EQ(depth(image_psd, patched(image_psd, {{13, 4}})), 32u);
    EXPECT_EQ(depth(image_psd, patched(image_psd, {{23, 16}})), 48u);
    EXPECT_EQ(depth(image_psd, patched(image_psd, {{13, 9}, {23, 16}})), 64u) << "of more channels those that are seen";
}

TEST(StoredDepth, Of_a_portable_map_depends_on_its_greatest_value) {
    EXPECT_EQ(depth(image_pgm, bytes_of("P5 3 1 1\n123")), 8u);
    EXPECT_EQ(depth(image_pgm, bytes_of("P5 3 1 256\n123456")), 16u);
    EXPECT_EQ(depth(image_ppm, bytes_of("P6 # 255\n1 1 65535\n123456")), 48u);
}

TEST(StoredDepth, Of_a_targa_is_that_of_its_header) {
    EXPECT_EQ(depth(image_tga, patched(image_tga, {{16, 32}})), 32u);
    EXPECT_EQ(depth(image_tga, patched(image_tga, {{16, 16}})), 16u);
    EXPECT_EQ(depth(image_tga, patched(image_tga, {{2, 3}, {16, 8}})), 8u);
    // A palette of two colours of 24 bits.
    EXPECT_EQ(depth(image_tga, patched(image_tga, {{1, 1}, {2, 1}, {5, 2}, {7, 24}, {16, 8}})), 8u);
}

} // namespace
