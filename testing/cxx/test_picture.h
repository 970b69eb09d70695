// Pictures for the tests, each with a name for what is in it.
#pragma once

#include <random>
#include <string>
#include <vector>

#include "testing/cxx/reference_scale.h"

namespace kobrtl_test {

struct Bitmap {
    unsigned width, height, channels;
    std::vector<uint8_t> bytes; // rows without gaps, top first

    Bitmap(unsigned w, unsigned h, unsigned c) : width(w), height(h), channels(c), bytes(size_t(w) * h * c) {}
    int stride() const { return static_cast<int>(width * channels); }
    uint8_t& at(unsigned x, unsigned y, unsigned c) { return bytes[(size_t(y) * width + x) * channels + c]; }
    uint8_t at(unsigned x, unsigned y, unsigned c) const { return bytes[(size_t(y) * width + x) * channels + c]; }
};

inline Bitmap noise(unsigned width, unsigned height, unsigned channels, unsigned seed = 1) {
    Bitmap bitmap(width, height, channels);
    std::mt19937 random(seed);
    for (uint8_t& byte : bitmap.bytes)
        byte = static_cast<uint8_t>(random());
    return bitmap;
}

// Black and white in blocks: the filters swing below black and above white here.
inline Bitmap blocks(unsigned width, unsigned height, unsigned channels, unsigned side = 7) {
    Bitmap bitmap(width, height, channels);
    for (unsigned y = 0; y < height; ++y)
        for (unsigned x = 0; x < width; ++x)
            for (unsigned c = 0; c < channels; ++c)
                bitmap.at(x, y, c) = (x / side + y / side + c) % 2 ? 255 : 0;
    return bitmap;
}

inline Bitmap flat(unsigned width, unsigned height, unsigned channels, uint8_t value) {
    Bitmap bitmap(width, height, channels);
    for (uint8_t& byte : bitmap.bytes)
        byte = value;
    return bitmap;
}

inline void make_opaque(Bitmap& bitmap) {
    for (size_t i = 3; i < bitmap.bytes.size(); i += 4)
        bitmap.bytes[i] = 255;
}

// The ideal, not rounded, colours and opacity as they are.
inline std::vector<double> ideal(const Bitmap& from, unsigned width, unsigned height,
                                 kobrtl::ReferenceFilter filter = kobrtl::ReferenceFilter::cubic) {
    const std::vector<double> in(from.bytes.begin(), from.bytes.end());
    std::vector<double> out(size_t(width) * height * from.channels);
    kobrtl::reference_scale(filter, in.data(), static_cast<int>(from.width), static_cast<int>(from.height),
                            static_cast<int>(from.channels), out.data(), static_cast<int>(width),
                            static_cast<int>(height));
    for (double& value : out)
        value = value < 0 ? 0 : value > 255 ? 255 : value;
    return out;
}

// The ideal with the colours weighted by opacity.
inline std::vector<double> ideal_weighted(const Bitmap& from, unsigned width, unsigned height) {
    std::vector<double> in(from.bytes.begin(), from.bytes.end());
    for (size_t i = 0; i < in.size(); i += 4)
        for (size_t c = 0; c < 3; ++c)
            in[i + c] *= in[i + 3] / 255;
    std::vector<double> out(size_t(width) * height * 4);
    kobrtl::reference_scale(kobrtl::ReferenceFilter::cubic, in.data(), static_cast<int>(from.width),
                            static_cast<int>(from.height), 4, out.data(), static_cast<int>(width),
                            static_cast<int>(height));
    for (size_t i = 0; i < out.size(); i += 4) {
        for (size_t c = 0; c < 3; ++c)
            out[i + c] = out[i + 3] > 0 ? out[i + c] * 255 / out[i + 3] : 0;
        for (size_t c = 0; c < 4; ++c)
            out[i + c] = out[i + c] < 0 ? 0 : out[i + c] > 255 ? 255 : out[i + c];
    }
    return out;
}

} // namespace kobrtl_test
