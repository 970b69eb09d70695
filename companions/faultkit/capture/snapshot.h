// The caller's exception pointers, copied with care, and the modules around them.
#pragma once

#include <windows.h>

#include "companions/faultkit/walk/x86/frame_walker.h"
#include "companions/faultkit/capture/process_memory.h"
#include "companions/faultkit/capture/module_table.h"
#include "companions/faultkit/walk/symbol_session.h"
#include "win/guard.h"

namespace faultkit {

// In static storage, as it is large. Guarded by the lock that the caller holds (lock.h).
struct FaultContext {
    ModuleTable modules;
    EXCEPTION_RECORD record;
    CONTEXT context;
    bool has_record, has_context; // has_context: with the control registers

    // Copies what can be read behind the pointers, which may be null or wrong, and lists the modules. A fault on the
    // way is kept in *fault (code 0 for none), and what there is by then is used. before: an earlier capture, whose
    // names of modules are taken over, or null.
    void capture(ProcessMemory& memory, const EXCEPTION_POINTERS* pointers, const SymbolSession& session,
                 const FaultContext* before, win::Fault* fault);

    // Whether both are of the same fault, among the same modules.
    bool is_same_as(const FaultContext& other) const;

    // The frame of the faulting instruction.
    Frame interrupted() const;
    // One past the stack that holds the address.
    uint32_t stack_end_for(uint32_t address) const;
};

} // namespace faultkit
