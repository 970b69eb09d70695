#include "glib/blend.h"

#include <vector>

#include <gtest/gtest.h>

namespace glib {
namespace {

using Pixel = std::vector<int>; // blue, green, red, alpha

Pixel blended(BlendMode mode, RGB32 upper, RGB32 lower) {
    blend_row(mode, &upper, &lower, 1, 0, 0);
    return {lower.blue, lower.green, lower.red, lower.alpha};
}

const BlendMode kAll[] = {blend_norm, blend_diss, blend_dark, blend_mul,  blend_scrn, blend_over, blend_lite,
                          blend_diff, blend_hue,  blend_sat,  blend_colr, blend_lum,  blend_hLit, blend_sLit,
                          blend_add,  blend_sub,  blend_div,  blend_excl, blend_smas, blend_gams};

TEST(BlendMode, There_are_twenty_and_their_codes_keep_their_blanks) {
    EXPECT_EQ(std::size(kAll), 20u);
    for (BlendMode mode : kAll)
        EXPECT_TRUE(is_blend_mode(mode));
    EXPECT_EQ(blend_norm, 0x6E6F726Du);
    EXPECT_EQ(blend_mul, 0x6D756C20u);
    EXPECT_EQ(blend_hLit, 0x684C6974u);
    EXPECT_FALSE(is_blend_mode(0));
    EXPECT_FALSE(is_blend_mode(blend_code("mult")));
}

// Opaque over opaque; expected values from the definition of each mode, worked out by hand for u = 200, c = 100.
TEST(BlendMode, Mixes_opaque_colours_as_defined) {
    const struct {
        BlendMode mode;
        int expected;
    } cases[] = {{blend_norm, 200}, {blend_dark, 100}, {blend_mul, 78},   {blend_scrn, 222}, {blend_lite, 200},
                 {blend_diff, 100}, {blend_add, 255},  {blend_sub, 0},    {blend_div, 128},  {blend_excl, 144},
                 {blend_hLit, 188}, {blend_over, 157}, {blend_sLit, 134}, {blend_diss, 200}};
    for (const auto& c : cases) {
        const Pixel pixel = blended(c.mode, {200, 200, 200, 255}, {100, 100, 100, 255});
        EXPECT_NEAR(pixel[0], c.expected, 1) << std::hex << c.mode;
        EXPECT_EQ(pixel[0], pixel[2]);
        EXPECT_EQ(pixel[3], 255);
    }
}

TEST(BlendMode, A_grey_has_neither_hue_nor_saturation_to_give) {
    const RGB32 grey = {90, 90, 90, 255}, colour = {10, 130, 250, 255};
    for (BlendMode mode : {blend_hue, blend_sat}) {
        const Pixel pixel = blended(mode, grey, colour);
        EXPECT_EQ(pixel[0], pixel[1]) << std::hex << mode;
        EXPECT_EQ(pixel[1], pixel[2]) << std::hex << mode;
    }
    EXPECT_EQ(blended(blend_hue, colour, grey), (Pixel{90, 90, 90, 255}));
    EXPECT_EQ(blended(blend_sat, colour, grey), (Pixel{90, 90, 90, 255}));
}

TEST(BlendMode, The_ends_of_the_range_are_exact) {
    const RGB32 black = {0, 0, 0, 255}, white = {255, 255, 255, 255}, colour = {10, 130, 250, 255};
    const Pixel same = {10, 130, 250, 255}, inverse = {245, 125, 5, 255};
    EXPECT_EQ(blended(blend_mul, white, colour), same);
    EXPECT_EQ(blended(blend_mul, black, colour), (Pixel{0, 0, 0, 255}));
    EXPECT_EQ(blended(blend_scrn, black, colour), same);
    EXPECT_EQ(blended(blend_scrn, white, colour), (Pixel{255, 255, 255, 255}));
    EXPECT_EQ(blended(blend_diff, black, colour), same);
    EXPECT_EQ(blended(blend_diff, white, colour), inverse);
    EXPECT_EQ(blended(blend_excl, white, colour), inverse);
    EXPECT_EQ(blended(blend_div, white, colour), same);
    EXPECT_EQ(blended(blend_div, black, black), (Pixel{0, 0, 0, 255}));
    EXPECT_EQ(blended(blend_div, black, colour), (Pixel{255, 255, 255, 255}));
    EXPECT_EQ(blended(blend_hLit, white, colour), (Pixel{255, 255, 255, 255}));
    EXPECT_EQ(blended(blend_hLit, black, colour), (Pixel{0, 0, 0, 255}));
}

// It used to lose what two divisions cut off, up to more than two levels.
TEST(BlendMode, Soft_light_is_its_formula_to_the_nearest_level) {
    for (int c = 0; c < 256; ++c)
        for (int u = 0; u < 256; ++u) {
            const RGB32 upper = {static_cast<uint8_t>(u), 0, 0, 255}, lower = {static_cast<uint8_t>(c), 0, 0, 255};
            const double below = c / 255.0, above = u / 255.0;
            const double ideal = 255 * ((1 - 2 * above) * below * below + 2 * above * below);
            ASSERT_NEAR(blended(blend_sLit, upper, lower)[0], ideal, 0.501) << c << " below " << u;
        }
}

TEST(BlendMode, Brightness_and_colour_come_apart) {
    const RGB32 red = {0, 0, 255, 255}, grey = {128, 128, 128, 255};
    EXPECT_EQ(blended(blend_lum, grey, grey), (Pixel{128, 128, 128, 255}));
    EXPECT_EQ(blended(blend_sat, grey, red)[0], blended(blend_sat, grey, red)[2]) << "grey has no saturation to give";
    const Pixel tinted = blended(blend_colr, red, grey);
    EXPECT_GT(tinted[2], 200) << "a red as bright as the grey";
    EXPECT_NEAR((29 * tinted[0] + 150 * tinted[1] + 77 * tinted[2]) >> 8, 128, 2);
    EXPECT_EQ(blended(blend_hue, red, grey), (Pixel{128, 128, 128, 255})) << "grey has no saturation to keep";
}

// Worked out by hand: the channels are shifted by as much as the brightness differs, then drawn to it by as much as
// they leave the range.
TEST(BlendMode, Brightness_that_a_colour_cannot_have_makes_it_paler) {
    const RGB32 blue = {250, 130, 10, 255};
    EXPECT_EQ(blended(blend_lum, {220, 220, 220, 255}, blue), (Pixel{255, 225, 196, 255}));
    EXPECT_EQ(blended(blend_lum, {40, 40, 40, 255}, blue), (Pixel{97, 48, 0, 255}));
    const RGB32 red = {10, 130, 250, 255};
    EXPECT_EQ(blended(blend_lum, {220, 220, 220, 255}, red), (Pixel{169, 212, 255, 255}));
}

TEST(BlendMode, A_transparent_layer_changes_nothing) {
    for (BlendMode mode : kAll)
        EXPECT_EQ(blended(mode, {1, 2, 3, 0}, {4, 5, 6, 77}), (Pixel{4, 5, 6, 77})) << std::hex << mode;
}

TEST(BlendMode, Over_nothing_every_colour_mode_shows_the_layer) {
    for (BlendMode mode : kAll) {
        if (mode == blend_smas || mode == blend_gams || mode == blend_diss)
            continue;
        EXPECT_EQ(blended(mode, {10, 20, 30, 99}, {4, 5, 6, 0}), (Pixel{10, 20, 30, 99})) << std::hex << mode;
    }
}

TEST(BlendMode, Translucency_mixes_in_proportion) {
    EXPECT_EQ(blended(blend_norm, {255, 0, 0, 51}, {0, 0, 100, 255}), (Pixel{51, 0, 80, 255}));
    EXPECT_EQ(blended(blend_norm, {200, 200, 200, 128}, {100, 100, 100, 128})[3], 192);
}

TEST(BlendMode, Masks_scale_the_opacity_of_what_lies_below) {
    EXPECT_EQ(blended(blend_smas, {255, 255, 255, 255}, {1, 2, 3, 200}), (Pixel{1, 2, 3, 200}));
    EXPECT_EQ(blended(blend_smas, {0, 0, 0, 255}, {1, 2, 3, 200}), (Pixel{1, 2, 3, 0}));
    EXPECT_EQ(blended(blend_smas, {128, 128, 128, 255}, {1, 2, 3, 255}), (Pixel{1, 2, 3, 128}));
    EXPECT_EQ(blended(blend_gams, {128, 128, 128, 255}, {1, 2, 3, 255}), (Pixel{1, 2, 3, 56})) << "0.502^2.2 = 0.2195";
}

TEST(BlendMode, Dissolving_takes_other_pixels_in_each_row) {
    std::vector<std::vector<uint8_t>> rows;
    for (const uint32_t y : {0, 1, 2}) {
        std::vector<RGB32> upper(100, RGB32{1, 1, 1, 128}), lower(100, RGB32{0, 0, 0, 255});
        blend_row(blend_diss, upper.data(), lower.data(), 100, 0, y);
        std::vector<uint8_t>& row = rows.emplace_back();
        for (const RGB32& pixel : lower)
            row.push_back(pixel.blue);
    }
    EXPECT_NE(rows[0], rows[1]);
    EXPECT_NE(rows[1], rows[2]);
    EXPECT_NE(rows[0], rows[2]);
}

TEST(BlendMode, Dissolving_takes_as_many_pixels_as_the_layer_is_opaque) {
    std::vector<RGB32> upper(10000, RGB32{1, 1, 1, 64}), lower(10000, RGB32{0, 0, 0, 255});
    blend_row(blend_diss, upper.data(), lower.data(), 10000, 0, 7);
    int taken = 0;
    for (const RGB32& pixel : lower) {
        EXPECT_EQ(pixel.alpha, 255);
        taken += pixel.blue;
    }
    EXPECT_NEAR(taken, 10000 * 64 / 255, 150);
    // The same place gives the same noise, whichever part of the row is drawn.
    std::vector<RGB32> part(100, RGB32{0, 0, 0, 255});
    blend_row(blend_diss, upper.data(), part.data(), 100, 500, 7);
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(part[i].blue, lower[500 + i].blue);
}

} // namespace
} // namespace glib
