// From the sums of the horizontal pass to bytes. `shift` is that of the weights.
#pragma once

#include <stdint.h>

#include "companions/kobrtl/row_kernels.h"

namespace kobrtl {

inline uint8_t clamp_to_byte(int32_t value) {
    return static_cast<uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value);
}

inline uint8_t plain_value(int32_t sum, unsigned shift) {
    const unsigned all = shift + kMiddleBits;
    return clamp_to_byte(((sum + (1 << (all - 1))) >> all) + kCentre);
}

// Divides the colours by the opacity. Where that is 0 the pixel is 0 as a whole.
inline void unweighted_pixel(const int32_t sums[4], unsigned shift, uint8_t pixel[4]) {
    // 7 fraction bits: colour x 255 then still fits into 32 bits.
    constexpr unsigned kFraction = 7;
    int32_t values[4];
    for (unsigned c = 0; c < 4; ++c) {
        const int32_t value = (sums[c] >> (shift - kFraction)) + (kWeightedCentre << kFraction);
        values[c] = value < 0 ? 0 : value;
    }
    const uint32_t opacity = static_cast<uint32_t>(values[3]);
    constexpr uint32_t kOpaque = 255u << kFraction; // twice the value of one step of opacity
    pixel[3] = clamp_to_byte(static_cast<int32_t>((2 * opacity + kOpaque / 2) / kOpaque));
    for (unsigned c = 0; c < 3; ++c) {
        const uint32_t colour = static_cast<uint32_t>(values[c]);
        pixel[c] = pixel[3] ? clamp_to_byte(static_cast<int32_t>((colour * 255 + opacity / 2) / opacity)) : 0;
    }
}

} // namespace kobrtl
