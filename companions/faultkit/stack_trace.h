// The lines of a stack trace, found once and then handed out one by one.
#pragma once

#include "companions/faultkit/fault_context.h"
#include "companions/faultkit/place_text.h"
#include "companions/faultkit/symbol_session.h"
#include "companions/faultkit/text_builder.h"

namespace faultkit {

// Appends ": C0000005 at 00401234 host.exe+00001234" for a fault of our own; nothing for code 0. The module is named if
// it was there when the modules were listed.
void write_fault(TextBuilder& text, const ModuleTable& modules, const StepFault& fault);

// In static storage. A deep stack keeps its top, where the fault is, and its bottom, where it all began.
class StackTrace {
public:
    static constexpr unsigned kTop = 96, kBottom = 16; // lines
    static constexpr unsigned kMostText = 14 * 1024;   // characters of all lines, line ends counted

    // Walks the stack of the fault. session may be null, or fail on the way: the rest is then walked and printed
    // without symbols. Takes a bounded time of its own, some seconds at most.
    void walk(ProcessMemory& memory, const FaultContext& fault, SymbolSession* session);

    // A last line that says what went wrong on the way: constant text, and the fault that was met (code 0 for none).
    void add_note(const char* text, const StepFault& fault);

    // Appends the next line and moves on; false at the end.
    bool write_next_line(const ModuleTable& modules, unsigned options, TextBuilder& text);

private:
    struct Line {
        uint32_t pc;
        FrameOrigin origin;
        SourcePlace place;
    };
    struct Note {
        const char* text;
        StepFault fault;
    };
    static constexpr unsigned kMostInlined = 8, kMostNotes = 3;

    void add_lines(const Frame& frame, SymbolSession* session, unsigned most);
    void walk_on(FrameWalker& walker, Frame frame, SymbolSession* session);
    void write_line(const Line& line, const ModuleTable& modules, PlaceOptions options, TextBuilder& text);
    void write_gap(TextBuilder& text) const;

    Line lines_[kTop + kBottom + kMostInlined];
    unsigned count_, top_count_; // lines in all, and those before the gap
    unsigned left_out_;          // frames in the gap
    bool unfinished_;            // the walk was ended before the stack's end
    Note notes_[kMostNotes];
    unsigned note_count_;

    unsigned position_, written_; // of handing out: next line, and characters so far
    bool full_;
    SourcePlace places_[kMostInlined + 1];
    Frame bottom_[kBottom];
};

} // namespace faultkit
