// The calendar is computed here: the system's functions for it would be one more thing that may fail.
#include "companions/faultkit/describe/process_text.h"

#include <string.h>

#include "companions/faultkit/faultkit.h"

namespace faultkit {
namespace {

constexpr uint64_t kTicksPerMillisecond = 10000, kTicksPerMinute = 60000 * kTicksPerMillisecond;
constexpr uint32_t kMillisecondsPerDay = 86400000;

uint32_t day_of(uint64_t time) {
    return static_cast<uint32_t>(time / kTicksPerMillisecond / kMillisecondsPerDay);
}

// days: since 1601-01-01, which begins a cycle of 400 years. Years are counted from March, so that a leap day is the
// last one.
void write_date(TextBuilder& text, uint32_t days) {
    constexpr uint32_t kDaysOfCycle = 146097, kMarch = 306; // days from March 1600 to January 1601
    days += kMarch;
    const uint32_t cycle = days / kDaysOfCycle, of_cycle = days % kDaysOfCycle;
    // Takes out the leap days before: one in four years, but for three centuries of the four.
    const uint32_t year = (of_cycle - of_cycle / 1460 + of_cycle / 36524 - of_cycle / 146096) / 365;
    const uint32_t of_year = of_cycle - (365 * year + year / 4 - year / 100);
    // From March on every five months have 153 days, which this spreads over them as the calendar does.
    const uint32_t month = (5 * of_year + 2) / 153, day = of_year - (153 * month + 2) / 5 + 1;
    text.decimal(1600 + cycle * 400 + year + (month >= 10 ? 1 : 0)).character('-');
    text.padded(month < 10 ? month + 3 : month - 9, 2).character('-').padded(day, 2).character(' ');
}

void write_clock(TextBuilder& text, uint64_t time) {
    const uint32_t of_day = static_cast<uint32_t>(time / kTicksPerMillisecond % kMillisecondsPerDay);
    text.padded(of_day / 3600000, 2).character(':').padded(of_day / 60000 % 60, 2).character(':');
    text.padded(of_day / 1000 % 60, 2).character('.').padded(of_day % 1000, 3);
}

void write_duration(TextBuilder& text, uint64_t milliseconds) {
    const uint32_t seconds = static_cast<uint32_t>(milliseconds / 1000);
    text.decimal(seconds / 3600).character(':').padded(seconds / 60 % 60, 2).character(':').padded(seconds % 60, 2);
}

void write_megabytes(TextBuilder& text, uint64_t bytes) {
    text.decimal(static_cast<uint32_t>(bytes >> 20));
}

// Puts what separates the pieces of a line.
class Pieces {
public:
    Pieces(TextBuilder& text, const char* name) : m_text(text), m_name(name) {}

    TextBuilder& next() {
        m_text.text(m_first ? m_name : ", ");
        m_first = false;
        return m_text;
    }

private:
    TextBuilder& m_text;
    const char* m_name;
    bool m_first = true;
};

void write_program(TextBuilder& text, const Image& image, const char* name) {
    text.text("\nProgram: ").name(name, sizeof Module::name);
    for (unsigned i = 0; image.has_version && i < 4; ++i)
        text.character(i ? '.' : ' ').decimal(image.version[i]);
}

void write_windows(TextBuilder& text, const ProcessFacts& facts) {
    Pieces pieces(text, "\nWindows: ");
    if (facts.known & ProcessFacts::kWindows)
        pieces.next()
            .decimal(facts.windows[0])
            .character('.')
            .decimal(facts.windows[1])
            .character('.')
            .decimal(facts.windows[2])
            .text(facts.windows_64 ? " (64 bits)" : " (32 bits)");
    if (facts.code_page)
        pieces.next().text("code page ").decimal(facts.code_page);
    if (facts.language[0])
        pieces.next().text("language ").name(facts.language, sizeof facts.language);
    if (facts.known & ProcessFacts::kElevated)
        pieces.next().text(facts.elevated ? "elevated" : "not elevated");
}

void write_memory(TextBuilder& text, const ProcessFacts& facts) {
    Pieces pieces(text, "\nMemory: ");
    if (facts.known & ProcessFacts::kMemory) {
        write_megabytes(pieces.next(), facts.physical_free);
        write_megabytes(text.text(" of "), facts.physical);
        write_megabytes(text.text(" MB physical free, "), facts.commit_free);
        write_megabytes(text.text(" of "), facts.commit);
        text.text(" MB commit free");
    }
    if (facts.space.free) {
        write_megabytes(pieces.next(), facts.space.free);
        write_megabytes(text.text(" MB address space free, largest block "), facts.space.largest);
        text.text(" MB");
    }
}

void write_objects(TextBuilder& text, const ProcessFacts& facts) {
    Pieces pieces(text, "\nObjects: ");
    if (facts.known & ProcessFacts::kHandles)
        pieces.next().decimal(facts.handles).text(" handles");
    if (facts.known & ProcessFacts::kWindowObjects)
        pieces.next().decimal(facts.gdi_objects).text(" GDI, ").decimal(facts.user_objects).text(" USER");
    if (facts.known & ProcessFacts::kThreads)
        pieces.next().decimal(facts.threads).text(facts.threads == 1 ? " thread" : " threads");
}

void write_note(TextBuilder& text, const FaultNote& note, uint64_t now) {
    text.text("\nNote ");
    if (day_of(note.time) != day_of(now))
        write_date(text, day_of(note.time));
    write_clock(text, note.time);
    text.character(' ').hex(note.thread).text(": ").name(note.text, sizeof note.text);
}

} // namespace

void write_time(TextBuilder& text, const ProcessFacts& facts) {
    if (!(facts.known & ProcessFacts::kTime))
        return;
    const uint64_t local = facts.time + static_cast<uint64_t>(static_cast<int64_t>(facts.zone)) * kTicksPerMinute;
    const uint32_t zone = static_cast<uint32_t>(facts.zone < 0 ? -facts.zone : facts.zone);
    write_date(text.text("\nTime: "), day_of(local));
    write_clock(text, local);
    text.text(facts.zone < 0 ? " -" : " +").padded(zone / 60, 2).character(':').padded(zone % 60, 2).text(" (");
    write_date(text, day_of(facts.time));
    write_clock(text, facts.time);
    text.text(" UTC)");
}

void write_process(TextBuilder& text, const ProcessFacts& facts, const Module* program) {
    if (facts.known & ProcessFacts::kUptime) {
        write_duration(text.text("\nUptime: program "), facts.program_uptime);
        write_duration(text.text(", system "), facts.system_uptime);
    }
    if (program)
        write_program(text, program->image, program->name);
    write_windows(text, facts);
    write_memory(text, facts);
    write_objects(text, facts);
    const struct {
        const char *name, *text;
        unsigned most;
    } asked_for[] = {{"\nPath: ", facts.path, sizeof facts.path},
                     {"\nCommand line: ", facts.command_line, sizeof facts.command_line},
                     {"\nFolder: ", facts.folder, sizeof facts.folder}};
    for (const auto& one : asked_for)
        if (one.text[0])
            text.text(one.name).name(one.text, one.most);
}

void write_values(TextBuilder& text, const FaultValue* values, unsigned count) {
    for (unsigned i = 0; i < count; ++i)
        if (strcmp(values[i].key, FAULTKIT_PRIVATE) != 0)
            text.text("\nValue ").text(values[i].key).text(" = ").name(values[i].text, sizeof values[i].text);
}

void write_notes(TextBuilder& text, const FaultNote* notes, unsigned count, uint32_t before, uint64_t now,
                 unsigned most) {
    constexpr unsigned kFirstLine = 40, kBesideText = 40; // characters: the count, and what a note's line has more
    unsigned first = count;
    for (unsigned used = kFirstLine; first > 0; --first) {
        used += bounded_length(notes[first - 1].text, FaultNote::kMostText) + kBesideText;
        if (used > most)
            break;
    }
    if (first + before)
        text.text("\n... ").decimal(first + before).text(" earlier notes");
    for (unsigned i = first; i < count; ++i)
        write_note(text, notes[i], now);
}

} // namespace faultkit
