// The resampler: separable filters in fixed point, area-correct when shrinking. Knows nothing of Windows.
#pragma once

#include "companions/kobrtl/filter.h"
#include "companions/kobrtl/picture.h"
#include "companions/kobrtl/row_kernels.h"

namespace kobrtl {

// Which filter an axis gets.
struct FilterPair {
    Filter shrink;
    Filter grow; // also where the size stays as it is
};

// Scales the source to the size of the canvas, which has 8, 24 or 32 bits per pixel for a source of that PixelKind.
// Both are valid, sizes from 1 to 65535. False when memory is gone: the canvas is then undefined.
bool resample(const Picture& source, const Canvas& canvas, const FilterPair& filters, const RowKernels& kernels);

// Takes the pixel nearest to the centre of each destination pixel; any depth, which stays.
void pick_nearest(const Picture& source, const Canvas& canvas);

} // namespace kobrtl
