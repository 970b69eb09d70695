// A walked stack, in plain values.
#pragma once

#include "companions/faultkit/address.h"
#include "companions/faultkit/walk/frame_origin.h"
#include "companions/faultkit/walk/source_place.h"

namespace faultkit {

struct TraceLine {
    Address pc;
    FrameOrigin origin;
    SourcePlace place;
};

// In static storage. A deep stack keeps its top, where the fault is, and its bottom, where it all began.
struct Trace {
    static constexpr unsigned kTop = 96, kBottom = 16, kMostInlined = 8;
    static constexpr unsigned kMostLines = kTop + kBottom + kMostInlined;

    TraceLine lines[kMostLines];
    unsigned count, top_count; // lines in all, and those before the gap
    unsigned left_out;         // frames in the gap
    bool unfinished;           // the walk was ended before the stack's end
};

} // namespace faultkit
