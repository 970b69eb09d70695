// Who takes part: each shrinks the same picture to the same size.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace bench {

struct Task {
    const uint8_t* source; // rows without gaps, top first; 32 bits are opaque
    unsigned width, height, bpp;
    uint8_t* result;
    unsigned to_width, to_height;
};

struct Scaler {
    const char* name;
    bool (*run)(const Task&);
    bool scales; // whether `result` holds a picture afterwards
};

extern const Scaler kScalers[];
extern const unsigned kScalerCount;

bool start_gdiplus();
void stop_gdiplus();

} // namespace bench
