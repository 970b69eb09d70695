// The ideal result in double precision, which the tests and the benchmark measure against. Slow, and part of no
// library: written straight from the filters' formulas and sharing nothing with the resampler.
#pragma once

#include <math.h>
#include <stdint.h>
#include <stdlib.h>

namespace kobrtl {

enum class ReferenceFilter { cubic, linear }; // cubic: Mitchell where an axis shrinks, Catmull-Rom where it doesn't

// The general cubic filter of two parameters, and the triangle.
inline double reference_curve(ReferenceFilter filter, bool shrinks, double x) {
    x = fabs(x);
    if (filter == ReferenceFilter::linear)
        return x < 1 ? 1 - x : 0;
    const double b = shrinks ? 1.0 / 3 : 0, c = shrinks ? 1.0 / 3 : 0.5;
    if (x < 1)
        return ((12 - 9 * b - 6 * c) * x * x * x + (-18 + 12 * b + 6 * c) * x * x + (6 - 2 * b)) / 6;
    if (x < 2)
        return ((-b - 6 * c) * x * x * x + (6 * b + 30 * c) * x * x + (-12 * b - 48 * c) * x + (8 * b + 24 * c)) / 6;
    return 0;
}

// One line of `from` values, `from_step` apart, to one of `to` values. Beyond the edges the edge value continues.
inline void reference_line(ReferenceFilter filter, const double* in, int from, int from_step, double* out, int to,
                           int to_step) {
    const double ratio = static_cast<double>(from) / to;
    const double width = ratio > 1 ? ratio : 1;
    for (int i = 0; i < to; ++i) {
        const double centre = (i + 0.5) * ratio - 0.5;
        double sum = 0, weights = 0;
        for (int j = static_cast<int>(floor(centre - 2 * width)); j <= centre + 2 * width; ++j) {
            const double weight = reference_curve(filter, from > to, (j - centre) / width);
            const int inside = j < 0 ? 0 : j >= from ? from - 1 : j;
            sum += weight * in[static_cast<ptrdiff_t>(inside) * from_step];
            weights += weight;
        }
        out[static_cast<ptrdiff_t>(i) * to_step] = sum / weights;
    }
}

// channels x width x height values in `in` to the same of the other size in `out`, pixel by pixel; false: no memory.
inline bool reference_scale(ReferenceFilter filter, const double* in, int width, int height, int channels, double* out,
                            int to_width, int to_height) {
    const int middle_step = to_width * channels;
    double* middle = static_cast<double*>(malloc(sizeof(double) * static_cast<size_t>(middle_step) * height));
    if (!middle)
        return false;
    for (int y = 0; y < height; ++y)
        for (int c = 0; c < channels; ++c)
            reference_line(filter, in + static_cast<ptrdiff_t>(y) * width * channels + c, width, channels,
                           middle + static_cast<ptrdiff_t>(y) * middle_step + c, to_width, channels);
    for (int x = 0; x < middle_step; ++x)
        reference_line(filter, middle + x, height, middle_step, out + x, to_height, middle_step);
    free(middle);
    return true;
}

} // namespace kobrtl
