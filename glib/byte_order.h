// Numbers in a chosen byte order.
#pragma once

#include <stdint.h>

namespace glib {

// The value as it must lie in memory of this (little-endian) machine, so that its bytes come in the wanted order; and
// back.
template <typename T>
T in_order(T value, bool big_endian) {
    if (!big_endian)
        return value;
    T swapped = 0;
    for (unsigned i = 0; i < sizeof(T); ++i) {
        swapped = static_cast<T>(swapped << 8 | (value & 0xFF));
        value = static_cast<T>(value >> 8);
    }
    return swapped;
}

} // namespace glib
