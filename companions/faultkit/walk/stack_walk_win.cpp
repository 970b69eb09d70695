// Below the top, frames are counted without symbols for a limited time, and the last of them listed.
#include "companions/faultkit/walk/stack_walk.h"

namespace faultkit {
namespace {

constexpr DWORD kCountingTime = 2000; // milliseconds for the frames that are only counted
constexpr unsigned kClockEvery = 16;

Frame bottom[Trace::kBottom]; // static, as the stack may be short

void walk_on(FrameWalker& walker, Frame frame, FrameSink& sink) {
    const DWORD begin = GetTickCount();
    unsigned rest = 0;
    for (bool more = true; more; ++rest) {
        // A ring, as nobody knows which frames are the last before the end is reached.
        bottom[rest % Trace::kBottom] = frame;
        Frame caller;
        more = walker.find_caller(frame, &caller);
        if (more)
            frame = caller;
        if (more && rest % kClockEvery == 0 && GetTickCount() - begin >= kCountingTime) {
            sink.pass_over(rest, true);
            return;
        }
    }
    const unsigned left_out = rest > Trace::kBottom ? rest - Trace::kBottom : 0;
    sink.pass_over(left_out, false);
    for (unsigned i = left_out; i < rest; ++i)
        sink.add(bottom[i % Trace::kBottom]);
}

} // namespace

bool walk_top(FrameWalker& walker, Frame* frame, SymbolSession* session, FrameSink& sink) {
    bool wanted = true, more = true;
    while (more && wanted) {
        Frame caller;
        wanted = sink.add(*frame);
        more = find_caller(walker, session, *frame, &caller);
        if (more)
            *frame = caller;
    }
    return more;
}

void walk_frames(FrameWalker& walker, Frame frame, SymbolSession* session, FrameSink& sink) {
    if (walk_top(walker, &frame, session, sink))
        walk_on(walker, frame, sink);
}

unsigned name_frame(const Frame& frame, SymbolSession* session, SourcePlace* places, unsigned most) {
    unsigned count = 1;
    places[0] = SourcePlace();
    if (session)
        count = session->find_places(frame.instruction(), places, most);
    // Names were looked up one byte before a return address.
    places[count - 1].displacement += static_cast<uint32_t>(frame.pc - frame.instruction());
    return count;
}

class StackWalk::Lines : public FrameSink {
public:
    Lines(StackWalk& walk, SymbolSession* session)
        : m_trace(walk.m_trace), m_places(walk.m_places), m_session(session) {}

    bool add(const Frame& frame) override {
        const unsigned most = m_at_bottom ? Trace::kMostLines : Trace::kTop + Trace::kMostInlined;
        const unsigned count = name_frame(frame, m_session, m_places, Trace::kMostInlined + 1);
        for (unsigned i = 0; i < count && m_trace.count < most; ++i)
            m_trace.lines[m_trace.count++] = {frame.pc, frame.origin, m_places[i]};
        if (!m_at_bottom)
            m_trace.top_count = m_trace.count;
        return m_trace.count < Trace::kTop;
    }
    void pass_over(unsigned count, bool unfinished) override {
        m_at_bottom = true;
        m_trace.left_out = count;
        m_trace.unfinished = unfinished;
    }

private:
    Trace& m_trace;
    SourcePlace* m_places;
    SymbolSession* m_session;
    bool m_at_bottom = false;
};

void StackWalk::walk(ProcessMemory& memory, const Snapshot& snapshot, SymbolSession* session) {
    m_trace.count = m_trace.top_count = m_trace.left_out = 0;
    m_trace.unfinished = false;
    Lines lines(*this, session);
    if (const CONTEXT* context = snapshot.context()) {
        const Frame frame = frame_of(*context);
        FrameWalker walker(memory, snapshot.modules(), stack_end_for(frame.sp));
        walk_frames(walker, frame, session, lines);
        return;
    }
    Frame instruction = frame_of(CONTEXT());
    instruction.pc = snapshot.facts().address;
    lines.add(instruction);
}

} // namespace faultkit
