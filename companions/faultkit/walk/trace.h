// A walked stack, in plain values.
#pragma once

#include "companions/faultkit/address.h"

namespace faultkit {

// How a frame was found, from certain to doubtful.
enum class FrameOrigin : uint8_t {
    kInterrupted, // the fault's own registers
    kSymbols,     // the debugging library, from a PDB
    kChecked,     // the call before the return address entered the function below
    kPlausible,   // a call through a pointer, made by a function that leads on
    kChained,     // the chain of frame pointers
    kGuessed,     // the first thing on the stack that looks like a return address
};

// What symbols say about an address. Empty texts where they say nothing.
struct SourcePlace {
    char function[200];
    uint32_t displacement; // bytes from the function's start
    char file[260];
    uint32_t line;
    bool inlined; // the function was inlined into the one of the next place
};

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
