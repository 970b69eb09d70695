#include "companions/faultkit/stack_trace.h"

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

void write_fault(TextBuilder& text, const ModuleTable& modules, const StepFault& fault) {
    if (!fault.code)
        return;
    text.text(": ").hex(fault.code).text(" at ");
    const bool listed = modules.find(fault.address) != nullptr;
    write_place(text, modules, fault.address, SourcePlace(), {listed, false, false, true});
}

void StackTrace::add_lines(const Frame& frame, SymbolSession* session, unsigned most) {
    unsigned count = 1;
    places_[0] = SourcePlace();
    if (session)
        count = session->find_places(frame.instruction(), places_, kMostInlined + 1);
    // Names were looked up one byte before a return address.
    places_[count - 1].displacement += frame.pc - frame.instruction();
    for (unsigned i = 0; i < count && i < most; ++i)
        lines_[count_++] = {frame.pc, frame.origin, places_[i]};
}

void StackTrace::walk(ProcessMemory& memory, const FaultContext& fault, SymbolSession* session) {
    count_ = top_count_ = left_out_ = note_count_ = position_ = written_ = 0;
    unfinished_ = full_ = false;
    Frame frame = fault.interrupted();
    FrameWalker walker(memory, fault.modules, fault.stack_end_for(frame.sp));
    bool more = true;
    while (more && count_ < kTop) {
        add_lines(frame, session, kTop + kMostInlined - count_);
        Frame caller;
        more = fault.has_context && find_caller(walker, session, frame, &caller);
        if (more)
            frame = caller;
    }
    top_count_ = count_;
    if (more)
        walk_on(walker, frame, session);
}

void StackTrace::walk_on(FrameWalker& walker, Frame frame, SymbolSession* session) {
    const DWORD begin = GetTickCount();
    unsigned rest = 0;
    for (bool more = true; more; ++rest) {
        bottom_[rest % kBottom] = frame;
        Frame caller;
        more = walker.find_caller(frame, &caller);
        if (more)
            frame = caller;
        if (more && rest % kClockEvery == 0 && GetTickCount() - begin >= kWalkOnTime) {
            unfinished_ = true;
            left_out_ = rest;
            return;
        }
    }
    left_out_ = rest > kBottom ? rest - kBottom : 0;
    for (unsigned i = left_out_; i < rest && count_ < kTop + kMostInlined + kBottom; ++i)
        add_lines(bottom_[i % kBottom], session, kTop + kMostInlined + kBottom - count_);
}

void StackTrace::add_note(const char* text, const StepFault& fault) {
    if (note_count_ < kMostNotes)
        notes_[note_count_++] = {text, fault};
}

void StackTrace::write_line(const Line& line, const ModuleTable& modules, PlaceOptions options, TextBuilder& text) {
    write_place(text, modules, line.pc, line.place, options);
    if (line.origin == FrameOrigin::kGuessed)
        text.text(" [guessed]");
}

void StackTrace::write_gap(TextBuilder& text) const {
    text.text("... ");
    if (unfinished_)
        text.text("more than ");
    text.decimal(left_out_).text(" more frames");
}

bool StackTrace::write_next_line(const ModuleTable& modules, unsigned options, TextBuilder& text) {
    const unsigned gap = left_out_ ? 1 : 0;
    if (full_ || position_ >= count_ + gap + note_count_)
        return false;
    const unsigned at = position_++;
    if (at >= count_ + gap) {
        const Note& note = notes_[at - count_ - gap];
        text.text("(").text(note.text);
        write_fault(text, modules, note.fault);
        text.character(')');
    } else if (gap && at == top_count_) {
        write_gap(text);
    } else {
        write_line(lines_[at < top_count_ ? at : at - gap], modules, place_options(options), text);
    }
    if (text.overflowed() || written_ + text.length() + 1 + kLastWords > kMostText) {
        text.cut_to(0);
        text.text("... more lines, left out to keep the report short");
        full_ = true;
    }
    written_ += text.length() + 1;
    return true;
}

} // namespace faultkit
