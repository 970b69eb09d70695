#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "companions/faultkit/describe/process_text.h"

namespace {

using faultkit::FaultNote;
using faultkit::FaultValue;
using faultkit::Module;
using faultkit::ProcessFacts;

// 100 nanoseconds from 1601 to a time that is given as seconds since 1970.
constexpr std::uint64_t at(std::uint64_t seconds, unsigned milliseconds = 0) {
    return (seconds + 11644473600u) * 10000000u + milliseconds * 10000u;
}
constexpr std::uint64_t kFault = at(1795339451, 123); // 2026-11-22 09:24:11.123 UTC

template <class Write>
std::string written(Write write, unsigned size = 8192) {
    std::string storage(size, '\0');
    faultkit::TextBuilder text(storage.data(), size);
    write(text);
    return text.c_str();
}

std::string time_line(std::uint64_t time, int zone) {
    ProcessFacts facts = {};
    facts.known = ProcessFacts::kTime;
    facts.time = time;
    facts.zone = zone;
    return written([&](faultkit::TextBuilder& text) { faultkit::write_time(text, facts); });
}

TEST(TimeLine, Local_time_stands_beside_utc) {
    EXPECT_EQ(time_line(kFault, 60), "\nTime: 2026-11-22 10:24:11.123 +01:00 (2026-11-22 09:24:11.123 UTC)");
    EXPECT_EQ(time_line(kFault, 0), "\nTime: 2026-11-22 09:24:11.123 +00:00 (2026-11-22 09:24:11.123 UTC)");
}

TEST(TimeLine, Zones_with_half_hours_and_behind_utc_change_the_day) {
    EXPECT_EQ(time_line(kFault, -570), "\nTime: 2026-11-21 23:54:11.123 -09:30 (2026-11-22 09:24:11.123 UTC)");
    EXPECT_EQ(time_line(kFault, 14 * 60 + 45), "\nTime: 2026-11-23 00:09:11.123 +14:45 (2026-11-22 09:24:11.123 UTC)");
}

TEST(TimeLine, Days_at_the_ends_of_months_and_leap_years_are_right) {
    const struct {
        std::uint64_t seconds;
        const char* date;
    } days[] = {{0, "1970-01-01"},          {951782400, "2000-02-29"},  {951868800, "2000-03-01"},
                {978220800, "2000-12-31"},  {1709164800, "2024-02-29"}, {1709251200, "2024-03-01"},
                {1740700800, "2025-02-28"}, {1740787200, "2025-03-01"}, {4107456000, "2100-02-28"},
                {4107542400, "2100-03-01"}, {1767139200, "2025-12-31"}, {1767225600, "2026-01-01"}};
    for (const auto& day : days)
        EXPECT_EQ(time_line(at(day.seconds), 0).substr(7, 10), day.date);
    EXPECT_EQ(time_line(0, 0).substr(7, 23), "1601-01-01 00:00:00.000");
}

TEST(TimeLine, Unknown_time_has_no_line) {
    EXPECT_EQ(written([](faultkit::TextBuilder& text) { faultkit::write_time(text, ProcessFacts()); }), "");
}

std::string process_lines(const ProcessFacts& facts, const Module* program = nullptr) {
    return written([&](faultkit::TextBuilder& text) { faultkit::write_process(text, facts, program); });
}

TEST(ProcessLines, All_that_is_known_is_told) {
    ProcessFacts facts = {};
    facts.known = 0xFF;
    facts.program_uptime = 3723999;
    facts.system_uptime = 360000000;
    facts.windows[0] = 10;
    facts.windows[2] = 19045;
    facts.windows_64 = true;
    facts.code_page = 1251;
    std::strcpy(facts.language, "ru-RU");
    facts.elevated = true;
    facts.physical = std::uint64_t(16) << 30;
    facts.physical_free = (std::uint64_t(3) << 30) + 0xFFFFF;
    facts.commit = std::uint64_t(20) << 30;
    facts.commit_free = std::uint64_t(1) << 20;
    facts.space = {std::uint64_t(1800) << 20, std::uint64_t(1500) << 20};
    facts.handles = 123;
    facts.gdi_objects = 12;
    facts.user_objects = 8;
    facts.threads = 7;
    Module program = {};
    std::strcpy(program.name, "Host.exe");
    program.image.has_version = true;
    program.image.version[0] = 1;
    program.image.version[3] = 412;
    EXPECT_EQ(process_lines(facts, &program),
              "\nUptime: program 1:02:03, system 100:00:00"
              "\nProgram: Host.exe 1.0.0.412"
              "\nWindows: 10.0.19045 (64 bits), code page 1251, language ru-RU, elevated"
              "\nMemory: 3072 of 16384 MB physical free, 1 of 20480 MB commit free, 1800 MB address space free, "
              "largest block 1500 MB"
              "\nObjects: 123 handles, 12 GDI, 8 USER, 7 threads");
}

TEST(ProcessLines, What_is_not_known_is_left_out) {
    EXPECT_EQ(process_lines(ProcessFacts()), "");
    ProcessFacts facts = {};
    facts.known = ProcessFacts::kElevated | ProcessFacts::kThreads;
    facts.threads = 1;
    facts.space = {1 << 20, 1 << 20};
    EXPECT_EQ(process_lines(facts), "\nWindows: not elevated"
                                    "\nMemory: 1 MB address space free, largest block 1 MB"
                                    "\nObjects: 1 thread");
    facts = ProcessFacts();
    facts.known = ProcessFacts::kWindows;
    facts.windows[0] = 6;
    facts.windows[1] = 1;
    facts.windows[2] = 7601;
    EXPECT_EQ(process_lines(facts), "\nWindows: 6.1.7601 (32 bits)");
}

TEST(ProcessLines, Program_without_a_version_has_its_name) {
    Module program = {};
    std::strcpy(program.name, "host.exe");
    EXPECT_EQ(process_lines(ProcessFacts(), &program), "\nProgram: host.exe");
}

TEST(ProcessLines, Private_texts_stand_where_they_were_asked_for) {
    ProcessFacts facts = {};
    std::strcpy(facts.path, "C:\\host.exe");
    std::strcpy(facts.command_line, "host.exe \n x");
    std::strcpy(facts.folder, "C:\\");
    EXPECT_EQ(process_lines(facts), "\nPath: C:\\host.exe\nCommand line: host.exe ? x\nFolder: C:\\");
}

TEST(ValueLines, Each_value_has_a_line_but_the_librarys_own) {
    const FaultValue values[] = {{"build", "nightly-412"}, {"faultkit.private", "1"}, {"skin", "a\tb"}};
    EXPECT_EQ(written([&](faultkit::TextBuilder& text) { faultkit::write_values(text, values, 3); }),
              "\nValue build = nightly-412\nValue skin = a?b");
}

class NoteLines : public testing::Test {
protected:
    void add(std::uint64_t time, const std::string& text) {
        FaultNote note = {time, 0xE0, {}};
        std::strcpy(note.text, text.c_str());
        m_notes.push_back(note);
    }
    std::string lines(std::uint32_t before = 0, unsigned most = 2048) {
        return written([&](faultkit::TextBuilder& text) {
            faultkit::write_notes(text, m_notes.data(), static_cast<unsigned>(m_notes.size()), before, kFault, most);
        });
    }

    std::vector<FaultNote> m_notes;
};

TEST_F(NoteLines, A_note_has_time_thread_and_text) {
    EXPECT_EQ(lines(), "");
    add(kFault - 11220000, "opening a.bmp");
    add(kFault, "line\nend");
    EXPECT_EQ(lines(), "\nNote 09:24:10.001 000000E0: opening a.bmp\nNote 09:24:11.123 000000E0: line?end");
}

TEST_F(NoteLines, A_note_of_another_day_has_its_date) {
    add(kFault - std::uint64_t(86400) * 10000000, "yesterday");
    EXPECT_EQ(lines(), "\nNote 2026-11-21 09:24:11.123 000000E0: yesterday");
}

TEST_F(NoteLines, Earlier_notes_that_are_gone_are_counted) {
    add(kFault, "last");
    EXPECT_EQ(lines(5), "\n... 5 earlier notes\nNote 09:24:11.123 000000E0: last");
}

TEST_F(NoteLines, The_last_notes_that_fit_are_kept) {
    for (int i = 0; i < 64; ++i)
        add(kFault, std::string(200, 'x') + "");
    const std::string text = lines(10);
    EXPECT_LE(text.size(), 2048u);
    EXPECT_GE(text.size(), 2048u - 240);
    EXPECT_EQ(text.substr(0, 21), "\n... 66 earlier notes");
    m_notes.clear();
    add(kFault, "first");
    add(kFault - std::uint64_t(86400) * 10000000, std::string(190, 'y'));
    add(kFault, "third");
    EXPECT_EQ(lines(0, 140), "\n... 2 earlier notes\nNote 09:24:11.123 000000E0: third");
}

TEST_F(NoteLines, As_many_that_are_gone_as_do_not_fit_are_counted_too) {
    add(kFault, "first");
    add(kFault - std::uint64_t(86400) * 10000000, std::string(190, 'y'));
    add(kFault, "third");
    EXPECT_EQ(lines(2, 140), "\n... 4 earlier notes\nNote 09:24:11.123 000000E0: third");
}

TEST_F(NoteLines, All_notes_fit_where_there_is_no_bound) {
    for (int i = 0; i < 64; ++i)
        add(kFault, std::string(100, 'x'));
    EXPECT_EQ(lines(0, 0xFFFF).find("earlier"), std::string::npos);
}

} // namespace
