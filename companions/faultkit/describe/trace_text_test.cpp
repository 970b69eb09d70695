#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "companions/faultkit/describe/trace_text.h"
#include "testing/cxx/fake_process.h"

namespace {

using faultkit::FakeProcess;
using faultkit::FrameOrigin;
using faultkit::Trace;
using faultkit::TraceText;

constexpr unsigned kAll = 15;
// Of a 64-bit process an address has eight digits more.
const std::string kUpper(faultkit::kAddressDigits - 8, '0');

class TraceTextTest : public testing::Test {
protected:
    void add(std::uint32_t pc, FrameOrigin origin = FrameOrigin::kChecked, const char* function = "") {
        faultkit::TraceLine& line = m_trace->lines[m_trace->count++];
        line.pc = pc;
        line.origin = origin;
        std::strcpy(line.place.function, function);
        m_trace->top_count = m_trace->count;
    }
    void begin() { m_text.begin(*m_trace); }
    std::vector<std::string> lines(unsigned options = kAll) {
        std::vector<std::string> all;
        for (;;) {
            char storage[640];
            faultkit::TextBuilder text(storage);
            if (!m_text.write_next_line(m_process.modules, options, text))
                return all;
            all.push_back(text.c_str());
        }
    }

    FakeProcess m_process;
    std::unique_ptr<Trace> m_trace = std::make_unique<Trace>();
    TraceText m_text;
};

using Lines = std::vector<std::string>;

TEST_F(TraceTextTest, Each_frame_is_a_line_and_a_guess_is_marked) {
    add(0x401234, FrameOrigin::kInterrupted, "f");
    add(0x401300, FrameOrigin::kGuessed);
    begin();
    EXPECT_EQ(lines(),
              (Lines{kUpper + "00401234 host.exe+00001234 f+0x0", kUpper + "00401300 host.exe+00001300 [guessed]"}));
}

TEST_F(TraceTextTest, Gap_of_a_deep_stack_lies_between_top_and_bottom) {
    add(0x401000);
    add(0x402000);
    m_trace->top_count = 1;
    m_trace->left_out = 7;
    begin();
    EXPECT_EQ(lines(8), (Lines{kUpper + "00401000", "... 7 more frames", kUpper + "00402000"}));
    m_trace->unfinished = true;
    begin();
    EXPECT_EQ(lines(8)[1], "... more than 7 more frames");
}

TEST_F(TraceTextTest, Notes_are_the_last_lines_and_name_the_fault_that_was_met) {
    add(0x401000);
    begin();
    m_text.add_note({"no symbols", {}});
    m_text.add_note({"met a fault", {0xC0000005, 0x401010}});
    m_text.add_note({"met another", {0xC0000005, 0x10}});
    m_text.add_note({"one more than there is place for", {}});
    EXPECT_EQ(lines(8), (Lines{kUpper + "00401000", "(no symbols)",
                               "(met a fault: C0000005 at " + kUpper + "00401010 host.exe+00001010)",
                               "(met another: C0000005 at " + kUpper + "00000010)"}));
}

TEST_F(TraceTextTest, Text_that_gets_too_long_ends_in_a_line_that_says_so) {
    const std::string longest(150, 'f');
    for (unsigned i = 0; i < Trace::kMostLines; ++i)
        add(0x401000, FrameOrigin::kChecked, longest.c_str());
    begin();
    const Lines all = lines();
    EXPECT_LT(all.size(), Trace::kMostLines);
    EXPECT_EQ(all.back(), "... more lines, left out to keep the report short");
    std::size_t size = 0;
    for (const std::string& line : all)
        size += line.size() + 1;
    EXPECT_LE(size, TraceText::kMostText);
    EXPECT_GT(size, TraceText::kMostText - 400);
}

TEST_F(TraceTextTest, Line_that_does_not_fit_its_storage_ends_the_text) {
    add(0x401000, FrameOrigin::kChecked, "a_function_with_a_name");
    begin();
    char storage[64];
    faultkit::TextBuilder text(storage, 52);
    ASSERT_TRUE(m_text.write_next_line(m_process.modules, kAll, text));
    EXPECT_STREQ(text.c_str(), "... more lines, left out to keep the report short");
}

} // namespace
