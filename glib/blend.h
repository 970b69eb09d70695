// The ways in which a layer mixes with what lies below it.
#pragma once

#include <stdint.h>

#include "glib/module_contract.h"

namespace glib {

constexpr uint32_t blend_code(const char (&text)[5]) {
    return static_cast<uint32_t>(GLIB_CODE(text[0], text[1], text[2], text[3]));
}

// Four-character codes, trailing blanks included; what each does to a colour c below by a colour u of the layer, both
// from 0 to 1.
enum BlendMode : uint32_t {
    blend_norm = blend_code("norm"), // u
    blend_diss = blend_code("diss"), // u in as many pixels as the layer is opaque, a fixed noise, and c in the others
    blend_dark = blend_code("dark"), // the darker
    blend_mul = blend_code("mul "),  // c * u
    blend_scrn = blend_code("scrn"), // 1 - (1 - c)(1 - u)
    blend_over = blend_code("over"), // hLit with the two exchanged
    blend_lite = blend_code("lite"), // the lighter
    blend_diff = blend_code("diff"), // |c - u|
    blend_hue = blend_code("hue "),  // the hue of u, saturation and brightness of c
    blend_sat = blend_code("sat "),  // the saturation of u, hue and brightness of c
    blend_colr = blend_code("colr"), // hue and saturation of u, the brightness of c
    blend_lum = blend_code("lum "),  // the brightness of u, hue and saturation of c
    blend_hLit = blend_code("hLit"), // mul by 2u for a dark u, scrn by 2u - 1 for a light one
    blend_sLit = blend_code("sLit"), // (1 - 2u)c^2 + 2uc
    blend_add = blend_code("add "),  // c + u, at most 1
    blend_sub = blend_code("sub "),  // c - u, at least 0
    blend_div = blend_code("div "),  // c / u, at most 1
    blend_excl = blend_code("excl"), // c + u - 2cu
    blend_smas = blend_code("smas"), // no colour: the brightness of u scales the opacity of what lies below
    blend_gams = blend_code("gams"), // the same, with the brightness to the power of 2.2
};

// Whether the value is one of the modes above.
bool is_blend_mode(uint32_t code);

// Mixes a row of a layer into the row below it. Where the layer is translucent, the outcome is mixed with what was
// there in proportion. x, y: the place of the first pixel on the page, which the noise of "diss" depends on. An
// unknown mode acts as "norm".
void blend_row(BlendMode mode, const RGB32* upper, RGB32* lower, uint32_t count, uint32_t x, uint32_t y) noexcept;

} // namespace glib
