// A frame of 64-bit code, and one step up the stack by unwind data: what a function's first instructions did is undone.
#pragma once

#include "companions/faultkit/capture/image.h"
#include "companions/faultkit/memory.h"
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

// A part of a function, as the image's own table (.pdata) has it: offsets in the image.
struct FunctionEntry {
    uint32_t begin, end;
    uint32_t unwind; // of the unwind data
};

// False when the table has no entry for the address, as for functions that take no stack and call nothing; or when the
// table can't be read.
bool find_function(Memory& memory, const Image& image, Address address, FunctionEntry* function);

// Undoes what the function has done by frame.pc, or by its end if the frame only waits for a call. Returns false when
// the unwind data are damaged or tell of a stack that can't be read. Nothing is known of what lies at caller->pc.
bool unwind(Memory& memory, const Image& image, const FunctionEntry& function, const Frame& frame, Frame* caller);

// The same for a frame that was interrupted in the function's last instructions, which unwind data don't describe:
// carries them out. Returns false when it wasn't.
bool finish_function(Memory& memory, const Image& image, const FunctionEntry& function, const Frame& frame,
                     Frame* caller);

// The function's own entry, where it lies in parts: that of the part it is entered by.
FunctionEntry first_part(Memory& memory, const Image& image, FunctionEntry function);

// *frame returns to what is on top of its stack.
bool pop_return_address(Memory& memory, Frame* frame);

} // namespace faultkit
