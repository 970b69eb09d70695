// Where a dialog goes, and what lies in its way. Pure arithmetic.
#pragma once

namespace report {

// The start of an extent in the middle between two bounds, in pixels. Both halves are rounded towards zero on their
// own.
constexpr int centred(int low, int high, int extent) {
    return (low + high) / 2 - extent / 2;
}

// Whether two rectangles share a pixel. Right and bottom bounds lie outside, as in RECT.
template <class Rect>
constexpr bool overlap(const Rect& one, const Rect& other) {
    return one.left < other.right && other.left < one.right && one.top < other.bottom && other.top < one.bottom;
}

// Whether no pixel of the other rectangle lies outside the one.
template <class Rect>
constexpr bool covers(const Rect& one, const Rect& other) {
    return one.left <= other.left && one.top <= other.top && one.right >= other.right && one.bottom >= other.bottom;
}

} // namespace report
