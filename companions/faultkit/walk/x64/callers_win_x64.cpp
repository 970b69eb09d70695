// Unwind data need no PDB, so the debugging library is not asked for a walk of its own.
#include "companions/faultkit/walk/stack_walk.h"

namespace faultkit {

Frame interrupted_frame(const Snapshot& snapshot) {
    Frame frame = {snapshot.facts().address, 0, FrameOrigin::kInterrupted, true, {}};
    if (const CONTEXT* context = snapshot.context()) {
        frame.pc = context->Rip;
        frame.sp = context->Rsp;
        // The context has them in the processor's order.
        const DWORD64* const registers = &context->Rax;
        for (unsigned i = 0; i < kRegisterCount; ++i)
            frame.registers[i] = registers[i];
    }
    return frame;
}

bool find_caller(FrameWalker& walker, SymbolSession*, const Frame& frame, Frame* caller) {
    return walker.find_caller(frame, caller);
}

} // namespace faultkit
