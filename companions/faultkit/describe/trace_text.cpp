// Frames come first, the gap of a deep stack among them, then notes. When the text gets too long, one line says so.
#include "companions/faultkit/describe/trace_text.h"

#include "companions/faultkit/describe/place_text.h"

namespace faultkit {
namespace {

constexpr unsigned kLastWords = 120; // characters kept free for the line that says that the text is full

void write_gap(TextBuilder& text, const Trace& trace) {
    text.text("... ");
    if (trace.unfinished)
        text.text("more than ");
    text.decimal(trace.left_out).text(" more frames");
}

} // namespace

void write_note(TextBuilder& text, const ModuleTable& modules, const Note& note) {
    text.character('(').text(note.text);
    if (note.fault.code) {
        text.text(": ").hex(note.fault.code).text(" at ");
        const Address address = static_cast<Address>(note.fault.address);
        const bool listed = modules.find(address) != nullptr;
        write_place(text, modules, address, SourcePlace(), {listed, false, false, true});
    }
    text.character(')');
}

void TraceText::begin(const Trace& trace) {
    m_trace = &trace;
    m_note_count = m_position = m_written = 0;
    m_full = false;
}

void TraceText::add_note(const Note& note) {
    if (m_note_count < kMostNotes)
        m_notes[m_note_count++] = note;
}

void TraceText::write_line(unsigned index, const ModuleTable& modules, unsigned options, TextBuilder& text) const {
    const TraceLine& line = m_trace->lines[index];
    write_place(text, modules, line.pc, line.place, place_options(options));
    if (line.origin == FrameOrigin::kGuessed)
        text.text(" [guessed]");
}

bool TraceText::write_next_line(const ModuleTable& modules, unsigned options, TextBuilder& text) {
    const unsigned gap = m_trace->left_out ? 1 : 0, place_count = m_trace->count + gap;
    if (m_full || m_position >= place_count + m_note_count)
        return false;
    // The gap has a place of its own among the lines.
    const unsigned at = m_position++;
    if (at >= place_count)
        write_note(text, modules, m_notes[at - place_count]);
    else if (gap && at == m_trace->top_count)
        write_gap(text, *m_trace);
    else
        write_line(at < m_trace->top_count ? at : at - gap, modules, options, text);
    if (text.overflowed() || m_written + text.length() + 1 + kLastWords > kMostText) {
        text.cut_to(0);
        text.text("... more lines, left out to keep the report short");
        m_full = true;
    }
    m_written += text.length() + 1;
    return true;
}

} // namespace faultkit
