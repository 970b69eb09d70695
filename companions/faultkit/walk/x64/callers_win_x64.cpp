// Unwind data need no PDB, so the debugging library is not asked for a walk of its own.
#include "companions/faultkit/walk/stack_walk.h"

namespace faultkit {

Frame frame_of(const CONTEXT& context) {
    Frame frame = {context.Rip, context.Rsp, FrameOrigin::kInterrupted, true, {}};
    // The context has them in the processor's order.
    const DWORD64* const registers = &context.Rax;
    for (unsigned i = 0; i < kRegisterCount; ++i)
        frame.registers[i] = registers[i];
    return frame;
}

bool find_caller(FrameWalker& walker, SymbolSession*, const Frame& frame, Frame* caller) {
    return walker.find_caller(frame, caller);
}

} // namespace faultkit
