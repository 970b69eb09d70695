// From the fault's own frame down to the thread's first one.
#pragma once

#include "companions/faultkit/capture/snapshot.h"
#include "companions/faultkit/walk/frame_walker.h"
#include "companions/faultkit/walk/symbol_session.h"
#include "companions/faultkit/walk/trace.h"

namespace faultkit {

// What is told of the frames of a stack.
class FrameSink {
public:
    // A frame, from the top of the stack on. Returns whether more of the top are wanted.
    virtual bool add(const Frame& frame) = 0;
    // So many frames lie between those told so far and those of the stack's bottom, which are told next; more than that
    // if unfinished, and then there are none.
    virtual void pass_over(unsigned count, bool unfinished) = 0;

protected:
    ~FrameSink() = default;
};

// Walks on from `frame`. session may be null, or fail on the way: the rest is then walked without symbols. Returns
// whether there is more than the top of which the sink wanted no more.
bool walk_top(FrameWalker& walker, Frame* frame, SymbolSession* session, FrameSink& sink);
// The same, and then the bottom. Takes a bounded time of its own, some seconds at most. One at a time.
void walk_frames(FrameWalker& walker, Frame frame, SymbolSession* session, FrameSink& sink);

// Names of a frame, innermost inlined function first. Returns how many there are, 1 at least; session may be null.
unsigned name_frame(const Frame& frame, SymbolSession* session, SourcePlace* places, unsigned most);

// In static storage, where all zeros is a good beginning.
class StackWalk {
public:
    // Walks the stack of the fault.
    void walk(ProcessMemory& memory, const Snapshot& snapshot, SymbolSession* session);

    const Trace& trace() const { return m_trace; }

private:
    class Lines;

    Trace m_trace;
    SourcePlace m_places[Trace::kMostInlined + 1];
};

// One source of these for each kind of process:

// The frame of the instruction that a thread with these registers executes.
Frame frame_of(const CONTEXT& context);

// The caller of a frame by all that is at hand; session may be null.
bool find_caller(FrameWalker& walker, SymbolSession* session, const Frame& frame, Frame* caller);

} // namespace faultkit
