// Works in whole numbers, colours and opacities from 0 to 255. Three parts make a pixel: what the layer covers alone,
// what lies below it alone, and the mode's colour where both are.
#include "glib/blend.h"

#include <math.h>

namespace glib {

namespace {

constexpr BlendMode kModes[] = {blend_norm, blend_diss, blend_dark, blend_mul,  blend_scrn, blend_over, blend_lite,
                                blend_diff, blend_hue,  blend_sat,  blend_colr, blend_lum,  blend_hLit, blend_sLit,
                                blend_add,  blend_sub,  blend_div,  blend_excl, blend_smas, blend_gams};

// Of two fractions of 255, to the nearest.
int product(int a, int b) {
    return (a * b + 127) / 255;
}
int smaller(int a, int b) {
    return a < b ? a : b;
}
int larger(int a, int b) {
    return a > b ? a : b;
}

int hard_light(int c, int u) {
    return u < 128 ? product(c, 2 * u) : 255 - product(255 - c, 2 * (255 - u));
}

// The modes that treat each channel on its own.
int blend_channel(BlendMode mode, int c, int u) {
    switch (mode) {
    case blend_dark:
        return smaller(c, u);
    case blend_mul:
        return product(c, u);
    case blend_scrn:
        return 255 - product(255 - c, 255 - u);
    case blend_over:
        return hard_light(u, c);
    case blend_lite:
        return larger(c, u);
    case blend_diff:
        return c > u ? c - u : u - c;
    case blend_hLit:
        return hard_light(c, u);
    case blend_sLit:
        return (c * (255 * c + 2 * u * (255 - c)) + 255 * 255 / 2) / (255 * 255);
    case blend_add:
        return smaller(255, c + u);
    case blend_sub:
        return larger(0, c - u);
    case blend_div:
        return u > c ? (c * 255 + u / 2) / u : (c ? 255 : 0);
    case blend_excl:
        return c + u - 2 * product(c, u);
    default:
        return u;
    }
}

struct Colour {
    int blue, green, red;
};

// 30, 59 and 11 per cent, in 256ths.
int brightness(const Colour& c) {
    return (29 * c.blue + 150 * c.green + 77 * c.red + 128) >> 8;
}
int least(const Colour& c) {
    return smaller(c.blue, smaller(c.green, c.red));
}
int greatest(const Colour& c) {
    return larger(c.blue, larger(c.green, c.red));
}

// Shifts a colour to a brightness and draws it towards grey where it leaves the range.
Colour with_brightness(Colour c, int wanted) {
    const int shift = wanted - brightness(c);
    c = {c.blue + shift, c.green + shift, c.red + shift};
    const int low = least(c), high = greatest(c);
    if (low < 0) {
        const int span = larger(1, wanted - low);
        c = {wanted + (c.blue - wanted) * wanted / span, wanted + (c.green - wanted) * wanted / span,
             wanted + (c.red - wanted) * wanted / span};
    }
    if (high > 255) {
        const int span = larger(1, high - wanted), headroom = 255 - wanted;
        c = {wanted + (c.blue - wanted) * headroom / span, wanted + (c.green - wanted) * headroom / span,
             wanted + (c.red - wanted) * headroom / span};
    }
    return {smaller(255, larger(0, c.blue)), smaller(255, larger(0, c.green)), smaller(255, larger(0, c.red))};
}

// Spreads the channels from 0 to what is wanted; their order and proportions stay.
Colour with_saturation(const Colour& c, int wanted) {
    const int low = least(c), span = greatest(c) - low;
    if (!span)
        return {0, 0, 0};
    return {(c.blue - low) * wanted / span, (c.green - low) * wanted / span, (c.red - low) * wanted / span};
}

int saturation(const Colour& c) {
    return greatest(c) - least(c);
}

Colour blend_colour(BlendMode mode, const Colour& c, const Colour& u) {
    switch (mode) {
    case blend_hue:
        return with_brightness(with_saturation(u, saturation(c)), brightness(c));
    case blend_sat:
        return with_brightness(with_saturation(c, saturation(u)), brightness(c));
    case blend_colr:
        return with_brightness(u, brightness(c));
    case blend_lum:
        return with_brightness(c, brightness(u));
    default:
        return {blend_channel(mode, c.blue, u.blue), blend_channel(mode, c.green, u.green),
                blend_channel(mode, c.red, u.red)};
    }
}

// A fixed noise from 0 to 254, equally often each.
int noise(uint32_t x, uint32_t y) {
    uint32_t hash = x * 0x9E3779B1u ^ y * 0x85EBCA77u;
    hash = (hash ^ hash >> 15) * 0xC2B2AE3Du;
    return static_cast<int>((hash >> 8) % 255);
}

uint8_t mixed(int below, int below_weight, int above, int above_weight, int both, int both_weight, int alpha) {
    // Weights are products of two opacities, so the sum is scaled by 255 twice.
    const int sum = below * below_weight + above * above_weight + both * both_weight;
    return static_cast<uint8_t>(smaller(255, (sum + alpha / 2) / alpha));
}

void blend_pixel(BlendMode mode, const RGB32& upper, RGB32& lower) {
    const int ua = upper.alpha, ca = lower.alpha;
    if (ua == 0)
        return;
    const Colour u = {upper.blue, upper.green, upper.red};
    const Colour c = {lower.blue, lower.green, lower.red};
    const Colour both = blend_colour(mode, c, u);
    const int below = ca * (255 - ua), above = ua * (255 - ca), joint = ua * ca;
    const int alpha = below + above + joint; // 255 times the outcome's opacity
    lower.blue = mixed(c.blue, below, u.blue, above, both.blue, joint, alpha);
    lower.green = mixed(c.green, below, u.green, above, both.green, joint, alpha);
    lower.red = mixed(c.red, below, u.red, above, both.red, joint, alpha);
    lower.alpha = static_cast<uint8_t>((alpha + 127) / 255);
}

// The layer's brightness becomes the opacity of what lies below it.
void mask_pixel(BlendMode mode, const RGB32& upper, RGB32& lower) {
    int kept = brightness({upper.blue, upper.green, upper.red});
    if (mode == blend_gams)
        kept = static_cast<int>(pow(kept / 255.0, 2.2) * 255.0 + 0.5);
    // Where the layer is transparent it hides nothing.
    kept = 255 - product(255 - kept, upper.alpha);
    lower.alpha = static_cast<uint8_t>(product(lower.alpha, kept));
}

} // namespace

bool is_blend_mode(uint32_t code) {
    for (BlendMode mode : kModes)
        if (mode == code)
            return true;
    return false;
}

void blend_row(BlendMode mode, const RGB32* upper, RGB32* lower, uint32_t count, uint32_t x, uint32_t y) noexcept {
    for (uint32_t i = 0; i < count; ++i) {
        if (mode == blend_smas || mode == blend_gams) {
            mask_pixel(mode, upper[i], lower[i]);
        } else if (mode == blend_diss) {
            if (upper[i].alpha > noise(x + i, y))
                lower[i] = RGB32{upper[i].blue, upper[i].green, upper[i].red, 255};
        } else {
            blend_pixel(mode, upper[i], lower[i]);
        }
    }
}

} // namespace glib
