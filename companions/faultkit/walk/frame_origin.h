#pragma once

#include <stdint.h>

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

} // namespace faultkit
