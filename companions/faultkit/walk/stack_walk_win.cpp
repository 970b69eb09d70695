// Below the top, frames are counted without symbols for a limited time, and the last of them listed.
#include "companions/faultkit/walk/stack_walk.h"

namespace faultkit {
namespace {

constexpr DWORD kCountingTime = 2000; // milliseconds for the frames that are only counted
constexpr unsigned kClockEvery = 16;

} // namespace

void StackWalk::add_lines(const Frame& frame, SymbolSession* session, unsigned most) {
    unsigned count = 1;
    m_places[0] = SourcePlace();
    if (session)
        count = session->find_places(frame.instruction(), m_places, Trace::kMostInlined + 1);
    // Names were looked up one byte before a return address.
    m_places[count - 1].displacement += static_cast<uint32_t>(frame.pc - frame.instruction());
    for (unsigned i = 0; i < count && i < most; ++i)
        m_trace.lines[m_trace.count++] = {frame.pc, frame.origin, m_places[i]};
}

void StackWalk::walk(ProcessMemory& memory, const Snapshot& snapshot, SymbolSession* session) {
    m_trace.count = m_trace.top_count = m_trace.left_out = 0;
    m_trace.unfinished = false;
    Frame frame = interrupted_frame(snapshot);
    FrameWalker walker(memory, snapshot.modules(), stack_end_for(frame.sp));
    bool more = true;
    while (more && m_trace.count < Trace::kTop) {
        add_lines(frame, session, Trace::kTop + Trace::kMostInlined - m_trace.count);
        Frame caller;
        more = snapshot.context() && find_caller(walker, session, frame, &caller);
        if (more)
            frame = caller;
    }
    m_trace.top_count = m_trace.count;
    if (more)
        walk_on(walker, frame, session);
}

void StackWalk::walk_on(FrameWalker& walker, Frame frame, SymbolSession* session) {
    const DWORD begin = GetTickCount();
    unsigned rest = 0;
    for (bool more = true; more; ++rest) {
        m_bottom[rest % Trace::kBottom] = frame;
        Frame caller;
        more = walker.find_caller(frame, &caller);
        if (more)
            frame = caller;
        if (more && rest % kClockEvery == 0 && GetTickCount() - begin >= kCountingTime) {
            m_trace.unfinished = true;
            m_trace.left_out = rest;
            return;
        }
    }
    m_trace.left_out = rest > Trace::kBottom ? rest - Trace::kBottom : 0;
    for (unsigned i = m_trace.left_out; i < rest && m_trace.count < Trace::kMostLines; ++i)
        add_lines(m_bottom[i % Trace::kBottom], session, Trace::kMostLines - m_trace.count);
}

} // namespace faultkit
