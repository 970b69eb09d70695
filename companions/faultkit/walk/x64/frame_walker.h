// Walks the stack of 64-bit code by the unwind data that every image carries.
#pragma once

#include "companions/faultkit/capture/module_table.h"
#include "companions/faultkit/memory.h"
#include "companions/faultkit/walk/x64/unwind.h"

namespace faultkit {

class FrameWalker {
public:
    // stack_end: one past the highest address of the stack. Both references must outlive the walker.
    FrameWalker(Memory& memory, const ModuleTable& modules, Address stack_end)
        : m_memory(memory), m_modules(modules), m_stack_end(stack_end) {}

    // The caller of `frame`. Returns false at the end of what can be found. The caller's sp is always above the
    // frame's.
    bool find_caller(const Frame& frame, Frame* caller);

private:
    bool by_unwind_data(const Frame& frame, Frame* caller);
    bool by_top_of_stack(const Frame& frame, Frame* caller);
    bool by_guess(const Frame& frame, Frame* caller);

    bool rises(const Frame& frame, const Frame& caller) const;
    bool leads_on(Frame frame);
    bool may_have_called(const Frame& frame, const Frame& caller);

    Memory& m_memory;
    const ModuleTable& m_modules;
    Address m_stack_end;
};

} // namespace faultkit
