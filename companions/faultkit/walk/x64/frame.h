#pragma once

#include "companions/faultkit/address.h"
#include "companions/faultkit/walk/trace.h"

namespace faultkit {

// Registers as the processor numbers them, and unwind data with it.
enum RegisterNumber : uint8_t { kRax, kRcx, kRdx, kRbx, kRsp, kRbp, kRsi, kRdi, kR8, kR15 = 15, kRegisterCount };

struct Frame {
    Address pc; // address of the interrupted instruction, or a return address
    Address sp; // stack pointer of the function that holds pc; behind the return address for a caller
    FrameOrigin origin;
    bool interrupted; // pc is an instruction that was not finished: the fault's, or a system's callback's
    Address registers[kRegisterCount]; // those that a function keeps for its caller are right, others may be stale

    // An address inside the instruction that belongs to the frame: a return address may be the next line's, or even the
    // next function's.
    Address instruction() const { return interrupted ? pc : pc - 1; }
};

} // namespace faultkit
