// The lines of a walked stack, handed out one by one.
#pragma once

#include "companions/faultkit/capture/module_table.h"
#include "companions/faultkit/text_builder.h"
#include "companions/faultkit/walk/trace.h"
#include "win/guard.h"

namespace faultkit {

// What went wrong while a fault was described: constant text, and the fault that was met (code 0 for none).
struct Note {
    const char* text;
    win::Fault fault;
};

// Appends "symbols are incomplete: C0000005 at 00401234 host.exe+00001234" in parentheses. The module is named if it
// was there when the modules were listed.
void write_note(TextBuilder& text, const ModuleTable& modules, const Note& note);

class TraceText {
public:
    // Characters of all lines, line ends counted: 14 KB, and what longer addresses add to that.
    static constexpr unsigned kMostText = 14 * 1024 + Trace::kMostLines * (kAddressDigits - 8);

    // Begins at the first line. The trace must outlive its text.
    void begin(const Trace& trace);

    const Trace& trace() const { return *m_trace; }

    // A last line that says what went wrong on the way.
    void add_note(const Note& note);

    // Appends the next line and moves on; false at the end. options: the bits of faultkit.h.
    bool write_next_line(const ModuleTable& modules, unsigned options, TextBuilder& text);

private:
    static constexpr unsigned kMostNotes = 3;

    void write_line(unsigned index, const ModuleTable& modules, unsigned options, TextBuilder& text) const;

    const Trace* m_trace;
    Note m_notes[kMostNotes];
    unsigned m_note_count;
    unsigned m_position, m_written; // next line, and characters so far
    bool m_full;
};

} // namespace faultkit
