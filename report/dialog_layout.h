// Where a dialog goes. Pure arithmetic.
#pragma once

namespace report {

// The start of an extent in the middle between two bounds, in pixels. Both halves are rounded towards zero on their
// own.
constexpr int centred(int low, int high, int extent) {
    return (low + high) / 2 - extent / 2;
}

} // namespace report
