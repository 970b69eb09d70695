#pragma once

#include <stdint.h>

namespace faultkit {

// What symbols say about an address. Empty texts where they say nothing.
struct SourcePlace {
    char function[200];
    uint32_t displacement; // bytes from the function's start
    char file[260];
    uint32_t line;
    bool inlined; // the function was inlined into the one of the next place
};

} // namespace faultkit
