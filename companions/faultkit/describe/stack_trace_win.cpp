// Two walks offer a caller for each frame, the debugging library's and our own (frame_walker.h); find_caller chooses.
// Below the top, frames are counted without symbols for a limited time, and the last of them listed.
#include "companions/faultkit/describe/stack_trace.h"

namespace faultkit {
namespace {

constexpr DWORD kWalkOnTime = 2000; // milliseconds for the frames that are only counted
constexpr unsigned kClockEvery = 16;
constexpr unsigned kLastWords = 120; // characters kept free for the line that says that the text is full

// Some versions of the library follow the frame pointers alone even where a PDB says more, and pass over every function
// that keeps none; others know how much stack a function took, but not what its callee removed. So its caller is taken
// unless our own walk finds one closer by, or one that is better founded.
bool find_caller(FrameWalker& walker, SymbolSession* session, const Frame& frame, Frame* caller) {
    const bool found = walker.find_caller(frame, caller);
    Frame other;
    if (!session || !session->find_caller(frame, &other) || !walker.is_sound(frame, other))
        return found;
    if (!found || caller->origin == FrameOrigin::kGuessed || other.sp == caller->sp ||
        (other.sp < caller->sp && walker.may_have_called(frame, other)))
        *caller = other;
    return true;
}

} // namespace

void write_fault(TextBuilder& text, const ModuleTable& modules, const win::Fault& fault) {
    if (!fault.code)
        return;
    text.text(": ").hex(fault.code).text(" at ");
    const bool listed = modules.find(fault.address) != nullptr;
    write_place(text, modules, fault.address, SourcePlace(), {listed, false, false, true});
}

void StackTrace::add_lines(const Frame& frame, SymbolSession* session, unsigned most) {
    unsigned count = 1;
    m_places[0] = SourcePlace();
    if (session)
        count = session->find_places(frame.instruction(), m_places, kMostInlined + 1);
    // Names were looked up one byte before a return address.
    m_places[count - 1].displacement += frame.pc - frame.instruction();
    for (unsigned i = 0; i < count && i < most; ++i)
        m_lines[m_count++] = {frame.pc, frame.origin, m_places[i]};
}

void StackTrace::walk(ProcessMemory& memory, const FaultContext& fault, SymbolSession* session) {
    m_count = m_top_count = m_left_out = m_note_count = m_position = m_written = 0;
    m_unfinished = m_full = false;
    Frame frame = fault.interrupted();
    FrameWalker walker(memory, fault.modules, fault.stack_end_for(frame.sp));
    bool more = true;
    while (more && m_count < kTop) {
        add_lines(frame, session, kTop + kMostInlined - m_count);
        Frame caller;
        more = fault.has_context && find_caller(walker, session, frame, &caller);
        if (more)
            frame = caller;
    }
    m_top_count = m_count;
    if (more)
        walk_on(walker, frame, session);
}

void StackTrace::walk_on(FrameWalker& walker, Frame frame, SymbolSession* session) {
    const DWORD begin = GetTickCount();
    unsigned rest = 0;
    for (bool more = true; more; ++rest) {
        m_bottom[rest % kBottom] = frame;
        Frame caller;
        more = walker.find_caller(frame, &caller);
        if (more)
            frame = caller;
        if (more && rest % kClockEvery == 0 && GetTickCount() - begin >= kWalkOnTime) {
            m_unfinished = true;
            m_left_out = rest;
            return;
        }
    }
    m_left_out = rest > kBottom ? rest - kBottom : 0;
    for (unsigned i = m_left_out; i < rest && m_count < kTop + kMostInlined + kBottom; ++i)
        add_lines(m_bottom[i % kBottom], session, kTop + kMostInlined + kBottom - m_count);
}

void StackTrace::add_note(const char* text, const win::Fault& fault) {
    if (m_note_count < kMostNotes)
        m_notes[m_note_count++] = {text, fault};
}

void StackTrace::write_line(const Line& line, const ModuleTable& modules, PlaceOptions options, TextBuilder& text) {
    write_place(text, modules, line.pc, line.place, options);
    if (line.origin == FrameOrigin::kGuessed)
        text.text(" [guessed]");
}

void StackTrace::write_gap(TextBuilder& text) const {
    text.text("... ");
    if (m_unfinished)
        text.text("more than ");
    text.decimal(m_left_out).text(" more frames");
}

bool StackTrace::write_next_line(const ModuleTable& modules, unsigned options, TextBuilder& text) {
    const unsigned gap = m_left_out ? 1 : 0;
    if (m_full || m_position >= m_count + gap + m_note_count)
        return false;
    const unsigned at = m_position++;
    if (at >= m_count + gap) {
        const Note& note = m_notes[at - m_count - gap];
        text.text("(").text(note.text);
        write_fault(text, modules, note.fault);
        text.character(')');
    } else if (gap && at == m_top_count) {
        write_gap(text);
    } else {
        write_line(m_lines[at < m_top_count ? at : at - gap], modules, place_options(options), text);
    }
    if (text.overflowed() || m_written + text.length() + 1 + kLastWords > kMostText) {
        text.cut_to(0);
        text.text("... more lines, left out to keep the report short");
        m_full = true;
    }
    m_written += text.length() + 1;
    return true;
}

} // namespace faultkit
