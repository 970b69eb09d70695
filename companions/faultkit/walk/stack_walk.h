// From the fault's own frame down to the thread's first one.
#pragma once

#include "companions/faultkit/capture/snapshot.h"
#include "companions/faultkit/walk/frame_walker.h"
#include "companions/faultkit/walk/symbol_session.h"
#include "companions/faultkit/walk/trace.h"

namespace faultkit {

// In static storage.
class StackWalk {
public:
    // Walks the stack of the fault. session may be null, or fail on the way: the rest is then walked without symbols.
    // Takes a bounded time of its own, some seconds at most.
    void walk(ProcessMemory& memory, const Snapshot& snapshot, SymbolSession* session);

    const Trace& trace() const { return m_trace; }

private:
    void add_lines(const Frame& frame, SymbolSession* session, unsigned most);
    void walk_on(FrameWalker& walker, Frame frame, SymbolSession* session);

    Trace m_trace;
    SourcePlace m_places[Trace::kMostInlined + 1];
    Frame m_bottom[Trace::kBottom];
};

// One source of these for each kind of process:

// The frame of the faulting instruction.
Frame interrupted_frame(const Snapshot& snapshot);

// The caller of a frame by all that is at hand; session may be null.
bool find_caller(FrameWalker& walker, SymbolSession* session, const Frame& frame, Frame* caller);

} // namespace faultkit
