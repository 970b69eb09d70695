// The lines of a stack trace, found once and then handed out one by one.
#pragma once

#include "companions/faultkit/capture/snapshot.h"
#include "companions/faultkit/describe/place_text.h"
#include "companions/faultkit/walk/symbol_session.h"
#include "companions/faultkit/text_builder.h"
#include "win/guard.h"

namespace faultkit {

// Appends ": C0000005 at 00401234 host.exe+00001234" for a fault of our own; nothing for code 0. The module is named if
// it was there when the modules were listed.
void write_fault(TextBuilder& text, const ModuleTable& modules, const win::Fault& fault);

// In static storage. A deep stack keeps its top, where the fault is, and its bottom, where it all began.
class StackTrace {
public:
    static constexpr unsigned kTop = 96, kBottom = 16; // lines
    static constexpr unsigned kMostText = 14 * 1024;   // characters of all lines, line ends counted

    // Walks the stack of the fault. session may be null, or fail on the way: the rest is then walked and printed
    // without symbols. Takes a bounded time of its own, some seconds at most.
    void walk(ProcessMemory& memory, const FaultContext& fault, SymbolSession* session);

    // A last line that says what went wrong on the way: constant text, and the fault that was met (code 0 for none).
    void add_note(const char* text, const win::Fault& fault);

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
        win::Fault fault;
    };
    static constexpr unsigned kMostInlined = 8, kMostNotes = 3;

    void add_lines(const Frame& frame, SymbolSession* session, unsigned most);
    void walk_on(FrameWalker& walker, Frame frame, SymbolSession* session);
    void write_line(const Line& line, const ModuleTable& modules, PlaceOptions options, TextBuilder& text);
    void write_gap(TextBuilder& text) const;

    Line m_lines[kTop + kBottom + kMostInlined];
    unsigned m_count, m_top_count; // lines in all, and those before the gap
    unsigned m_left_out;           // frames in the gap
    bool m_unfinished;             // the walk was ended before the stack's end
    Note m_notes[kMostNotes];
    unsigned m_note_count;

    unsigned m_position, m_written; // of handing out: next line, and characters so far
    bool m_full;
    SourcePlace m_places[kMostInlined + 1];
    Frame m_bottom[kBottom];
};

} // namespace faultkit
