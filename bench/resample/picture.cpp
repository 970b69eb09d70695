// The picture has what screens have: a photograph, text and flat areas.
#include "bench/resample/picture.h"

#include <math.h>

namespace bench {

namespace {

struct Random {
    uint32_t state;
    uint32_t next() { return (state = state * 1664525u + 1013904223u) >> 8; }
};

} // namespace

Closeness compare(const uint8_t* result, const double* ideal, size_t count) {
    Closeness closeness = {};
    for (size_t i = 0; i < count; ++i) {
        const double wanted = ideal[i] < 0 ? 0 : ideal[i] > 255 ? 255 : ideal[i];
        const double error = fabs(result[i] - wanted);
        closeness.greatest = error > closeness.greatest ? error : closeness.greatest;
        closeness.rms += error * error;
    }
    closeness.rms = sqrt(closeness.rms / static_cast<double>(count));
    return closeness;
}

void draw_screen(uint8_t* pixels, unsigned width, unsigned height, unsigned bpp) {
    const unsigned bytes = bpp / 8;
    Random random = {12345};
    for (unsigned y = 0; y < height; ++y)
        for (unsigned x = 0; x < width; ++x) {
            uint8_t* pixel = pixels + (static_cast<size_t>(y) * width + x) * bytes;
            const bool photograph = x < width / 3 && y < height / 2;
            const bool text = !photograph && (y / 9) % 2 && (x / 200 + y / 150) % 3;
            const uint32_t grain = random.next();
            for (unsigned c = 0; c < 3; ++c) {
                int value = static_cast<int>(200 + c * 20);
                if (photograph)
                    value = static_cast<int>(127 + 90 * sin(x * 0.011 * (c + 1)) * cos(y * 0.017)) +
                            static_cast<int>(grain >> (5 * c)) % 31 - 15;
                else if (text)
                    value = grain % 3 ? 255 : static_cast<int>(30 * c);
                else if (y / 40 % 7 == 0)
                    value = static_cast<int>(255 * x / width);
                pixel[c] = static_cast<uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value);
            }
            if (bytes == 4)
                pixel[3] = 255;
        }
}

} // namespace bench
