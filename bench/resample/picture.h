// The picture to shrink, and how close a result is to the ideal.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace bench {

struct Closeness {
    double rms, greatest; // of the errors, in levels
};
Closeness compare(const uint8_t* result, const double* ideal, size_t count);

// A picture like a screen: windows, text, a photograph; the same on every run.
void draw_screen(uint8_t* pixels, unsigned width, unsigned height, unsigned bpp);

} // namespace bench
