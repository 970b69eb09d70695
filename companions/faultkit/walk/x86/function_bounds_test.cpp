#include <vector>

#include <gtest/gtest.h>

#include "testing/cxx/fake_process.h"
#include "companions/faultkit/walk/x86/function_bounds.h"

namespace {

using faultkit::FakeMemory;
using faultkit::FakeProcess;
using faultkit::FunctionBounds;

constexpr std::uint32_t kFunction = FakeProcess::kCode + 0x100;

struct FunctionBoundsTest : testing::Test {
    FunctionBounds find(std::uint32_t address) {
        return faultkit::find_function(m_process.memory, m_process.modules, address);
    }

    FakeProcess m_process;
};

struct Gap {
    const char* name;
    FakeMemory::Bytes bytes; // in front of the function, behind other code
};

class GapBetweenFunctions : public FunctionBoundsTest, public testing::WithParamInterface<Gap> {};

TEST_P(GapBetweenFunctions, Marks_the_start_of_the_next_one) {
    m_process.memory.fill(kFunction - 0x80, 0x80, 0x40);
    m_process.memory.put(kFunction - static_cast<std::uint32_t>(GetParam().bytes.size()), GetParam().bytes);
    m_process.put_frameless_function(kFunction);
    EXPECT_EQ(find(kFunction).start, kFunction);
    EXPECT_EQ(find(kFunction + 0x20).start, kFunction);
}

INSTANTIATE_TEST_SUITE_P(Kinds, GapBetweenFunctions,
                         testing::Values(Gap{"int3", {0xE9, 0x10, 0, 0, 0, 0xCC}},
                                         Gap{"nops_after_return", {0xC3, 0x90, 0x90}},
                                         Gap{"nop_after_return_with_count", {0xC2, 0x08, 0x00, 0x90}},
                                         Gap{"long_nop", {0xC3, 0x0F, 0x1F, 0x44, 0x00, 0x00}},
                                         Gap{"prefixed_nop", {0xC3, 0x66, 0x2E, 0x0F, 0x1F, 0x84, 0, 0, 0, 0, 0}},
                                         Gap{"lea", {0xC3, 0x8D, 0xB4, 0x26, 0, 0, 0, 0}},
                                         Gap{"lea_and_nop", {0xC3, 0x8D, 0x76, 0x00, 0x90}},
                                         Gap{"move_to_itself", {0xC3, 0x8B, 0xFF}}),
                         [](const auto& info) { return info.param.name; });

TEST_F(FunctionBoundsTest, Function_behind_nops_begins_by_taking_stack) {
    const struct {
        FakeMemory::Bytes code;
        bool begins;
    } cases[] = {{{0x53}, true}, // push of what the callee keeps
                 {{0x55}, true},
                 {{0x57}, true},
                 {{0x52}, false},
                 {{0x54}, false},
                 {{0x83, 0xEC, 0x10}, true}, // sub esp
                 {{0x81, 0xEC, 0, 1, 0, 0}, true},
                 {{0x82, 0xEC, 0x10}, false},
                 {{0x83, 0xED, 0x10}, false}};
    for (const auto& one : cases) {
        m_process.memory.fill(kFunction - 0x80, 0x100, 0x40);
        m_process.memory.put(kFunction - 3, {0xC3, 0x90, 0x90});
        m_process.memory.put(kFunction, one.code);
        EXPECT_EQ(find(kFunction + 0x20).start == kFunction, one.begins) << int(one.code[0]) << ' ' << one.code.size();
    }
}

TEST_F(FunctionBoundsTest, What_only_resembles_a_gap_does_not_split_a_function) {
    m_process.put_frameless_function(kFunction);
    EXPECT_EQ(find(kFunction + 0x20).start, kFunction);
    EXPECT_FALSE(find(kFunction + 0x20).framed);
    const struct {
        const char* what;
        std::uint32_t offset;
        FakeMemory::Bytes code;
    } cases[] = {{"mov eax, 0xCC40BD40", 0x0B, {0xB8, 0x40, 0xBD, 0x40, 0xCC}},
                 {"mov eax, 0xCCCCCCCD, to divide by ten", 0x0B, {0xB8, 0xCD, 0xCC, 0xCC, 0xCC}},
                 {"an early return; what follows is aligned", 0x0F, {0xC3}},
                 {"a return and lea eax, [esi + 8]", 0x0C, {0xC3, 0x8D, 0x46, 0x08}}};
    for (const auto& one : cases) {
        m_process.put_frameless_function(kFunction);
        m_process.memory.put(kFunction + one.offset, one.code);
        EXPECT_EQ(find(kFunction + 0x20).start, kFunction) << one.what;
    }
}

TEST_F(FunctionBoundsTest, Frame_is_recognised_even_where_nothing_is_aligned) {
    m_process.memory.fill(kFunction, 0x80, 0x40);
    m_process.memory.put(kFunction + 0x12, {0xC3});
    m_process.put_framed_function(kFunction + 0x13);
    const FunctionBounds function = find(kFunction + 0x30);
    EXPECT_EQ(function.start, kFunction + 0x13);
    EXPECT_TRUE(function.framed);
    EXPECT_EQ(function.push, kFunction + 0x13);
}

TEST_F(FunctionBoundsTest, Frame_made_by_a_helper_of_the_runtime_is_recognised) {
    m_process.memory.fill(kFunction, 64, 0x40);
    m_process.memory.put(kFunction, {0x6A, 0x10, 0x68, 0, 0x50, 0x40, 0, 0xE8, 1, 2, 3, 4});
    EXPECT_TRUE(find(kFunction + 0x20).framed);
    EXPECT_EQ(find(kFunction + 0x20).push, 0u);
}

TEST_F(FunctionBoundsTest, Frame_is_told_from_the_first_instructions) {
    const struct {
        FakeMemory::Bytes code;
        bool framed;
    } cases[] = {
        {{0x55, 0x8B, 0xEC}, true},
        {{0x55, 0x89, 0xE5}, true}, // the same, as other compilers write it
        {{0x55, 0x8B, 0xE5}, false},
        {{0x55, 0x89, 0xEC}, false},
        {{0x6A, 0x10, 0x68, 0, 0x50, 0x40, 0, 0xE8}, true},
        {{0x6A, 0x10, 0x68, 0, 0x50, 0x40, 0, 0xE9}, false},
        {{0x6A, 0x10, 0x50, 0, 0x50, 0x40, 0, 0xE8}, false},
        {{0x68, 0, 0x10, 0, 0, 0x68, 0, 0x50, 0x40, 0, 0xE8}, true},
        {{0x68, 0, 0x10, 0, 0, 0x68, 0, 0x50, 0x40, 0, 0xE9}, false},
        {{0x68, 0, 0x10, 0, 0, 0x50, 0, 0x50, 0x40, 0, 0xE8}, false},
        {{0xB8, 0, 0x50, 0x40, 0, 0xE8}, true},
        {{0xB8, 0, 0x50, 0x40, 0, 0xE9}, false},
    };
    for (const auto& one : cases) {
        m_process.memory.fill(kFunction, 64, 0x40);
        m_process.memory.put(kFunction, one.code);
        const FunctionBounds function = faultkit::bounds_of_function(m_process.memory, kFunction);
        EXPECT_EQ(function.framed, one.framed) << int(one.code[0]) << ' ' << int(one.code[1]);
        EXPECT_EQ(function.push, one.framed && one.code[0] == 0x55 ? kFunction : 0);
    }
}

TEST_F(FunctionBoundsTest, Function_is_found_from_its_first_byte_to_the_sections_last) {
    EXPECT_EQ(find(FakeProcess::kCode + 0x850).start, 0u) << "a gap with no function in front of it";
    m_process.put_frameless_function(FakeProcess::kCode);
    EXPECT_EQ(find(FakeProcess::kCode + 5).start, FakeProcess::kCode);
    m_process.put_framed_function(FakeProcess::kCodeEnd - 64);
    EXPECT_EQ(find(FakeProcess::kCodeEnd - 1).start, FakeProcess::kCodeEnd - 64);
    EXPECT_EQ(find(FakeProcess::kCodeEnd).start, 0u);
    EXPECT_EQ(find(0x900000).start, 0u);
    m_process.memory.fill(kFunction, 0x1800, 0x40);
    EXPECT_EQ(find(kFunction + 0x17FF).start, kFunction) << "over many pieces";
}

faultkit::Prologue prologue(const FakeMemory::Bytes& code, std::uint32_t reached) {
    FakeProcess process;
    process.memory.put(kFunction, code);
    return faultkit::read_prologue(process.memory, kFunction, kFunction + reached);
}

std::uint32_t taken(const FakeMemory::Bytes& code, std::uint32_t reached) {
    return prologue(code, reached).taken;
}

TEST(Prologue, Counts_what_it_has_pushed_and_taken) {
    const struct {
        const char* what;
        FakeMemory::Bytes code;
        std::uint32_t reached, taken;
    } cases[] = {
        {"push ebx; push esi; push edi; sub esp, 0x40", {0x53, 0x56, 0x57, 0x83, 0xEC, 0x40, 0x40}, 7, 12 + 0x40},
        {"push ebp; sub esp, 0x1234", {0x55, 0x81, 0xEC, 0x34, 0x12, 0, 0, 0x40}, 8, 4 + 0x1234},
        {"nothing was executed", {0x53, 0x56, 0x83, 0xEC, 0x40, 0x40}, 0, 0},
        {"one push was executed", {0x53, 0x56, 0x83, 0xEC, 0x40, 0x40}, 1, 4},
        {"two pushes were executed", {0x53, 0x56, 0x83, 0xEC, 0x40, 0x40}, 2, 8},
        {"mov eax, [esp + 8]; xor ecx, ecx; mov edx, 1; push esi: others are mixed in",
         {0x8B, 0x44, 0x24, 0x08, 0x31, 0xC9, 0xBA, 1, 0, 0, 0, 0x56, 0x40},
         13,
         4},
        {"push esi; push eax: an argument, gone after the call", {0x56, 0x50, 0xE8, 0, 0, 0, 0}, 7, 4},
        {"push esi; push esi: the second is an argument", {0x56, 0x56, 0xE8, 0, 0, 0, 0}, 7, 4},
        {"push ebx; and esp, -16; push esi: the stack is aligned", {0x53, 0x83, 0xE4, 0xF0, 0x56, 0x40}, 6, 8},
        {"push ebx; cmp eax, 1; push esi: resembles an alignment", {0x53, 0x83, 0xF8, 0x01, 0x56, 0x40}, 6, 4},
        {"push ebx; test al, 0xE4; nop; push esi: so does this", {0x53, 0xA8, 0xE4, 0x90, 0x56, 0x40}, 6, 4},
        {"test ecx, ecx; je; push esi: pushed on one way only", {0x85, 0xC9, 0x74, 0x12, 0x56, 0x40}, 6, 0},
    };
    for (const auto& one : cases)
        EXPECT_EQ(taken(one.code, one.reached), one.taken) << one.what;
}

TEST(Prologue, Is_not_followed_beyond_its_reach) {
    FakeMemory::Bytes code;
    while (code.size() < 48)
        code.insert(code.end(), {0x8B, 0x44, 0x24, 0x08}); // mov eax, [esp + 8]
    code.insert(code.end(), {0x56, 0x40});
    EXPECT_EQ(taken(code, 50), 0u);
    code.erase(code.begin(), code.begin() + 4);
    EXPECT_EQ(taken(code, 46), 4u);
}

TEST(Prologue, Tells_where_the_callers_frame_pointer_is_kept) {
    // push edi; push ebp; push esi
    EXPECT_EQ(prologue({0x57, 0x55, 0x56, 0x40}, 3).saved_ebp, 8u);
    EXPECT_EQ(prologue({0x57, 0x55, 0x56, 0x40}, 1).saved_ebp, 0u);
    EXPECT_EQ(prologue({0x57, 0x56, 0x40}, 3).saved_ebp, 0u);
}

TEST_F(FunctionBoundsTest, Possible_starts_lie_behind_returns_and_behind_padding_up_to_an_aligned_place) {
    m_process.memory.fill(kFunction, 0x100, 0x40);
    m_process.memory.put(kFunction + 0x13, {0xC3});
    m_process.memory.put(kFunction + 0x2D, {0xC3, 0x66, 0x90});
    std::uint32_t places[8];
    const faultkit::CodeRange& section = *m_process.modules.find_code(kFunction);
    const unsigned count =
        faultkit::list_possible_starts(m_process.memory, section, kFunction, kFunction + 0x40, places, 8);
    EXPECT_EQ((std::vector<std::uint32_t>(places, places + count)),
              (std::vector<std::uint32_t>{kFunction + 0x30, kFunction + 0x2E, kFunction + 0x14}));
    EXPECT_EQ(faultkit::list_possible_starts(m_process.memory, section, kFunction, kFunction + 0x40, places, 2), 2u);
    EXPECT_EQ(faultkit::list_possible_starts(m_process.memory, section, kFunction + 0x30, kFunction + 0x40, places, 8),
              0u);
}

TEST_F(FunctionBoundsTest, Possible_starts_begin_behind_what_can_be_told_of_the_sections_first_bytes) {
    m_process.memory.fill(FakeProcess::kCode, 0x100, 0x40);
    m_process.memory.put(FakeProcess::kCode + 0x0F, {0xC3}); // there is too little code in front of it to tell
    m_process.memory.put(FakeProcess::kCode + 0x1F, {0xC3});
    std::uint32_t places[8];
    const faultkit::CodeRange& section = *m_process.modules.find_code(FakeProcess::kCode);
    for (const std::uint32_t after : {0u, 0x17u, 0x18u, 0x1Fu})
        EXPECT_EQ(faultkit::list_possible_starts(m_process.memory, section, section.begin + after, section.begin + 0x40,
                                                 places, 8),
                  1u)
            << after;
    EXPECT_EQ(places[0], section.begin + 0x20);
}

// Whether a function may start at kFunction, in front of which these bytes stand.
bool may_start(const FakeMemory::Bytes& in_front, std::uint32_t at = kFunction) {
    FakeProcess process;
    process.memory.fill(at - 0x40, 0x80, 0x40);
    process.memory.put(at - static_cast<std::uint32_t>(in_front.size()), in_front);
    return faultkit::may_start_function(process.memory, *process.modules.find_code(at), at);
}

TEST(MayStartFunction, Behind_what_ends_one) {
    EXPECT_TRUE(may_start({0xC3}));
    EXPECT_TRUE(may_start({0xC2, 0x08, 0x00}));
    EXPECT_TRUE(may_start({0xEB, 0x10}));
    EXPECT_TRUE(may_start({0xE9, 0, 0, 0, 0}));
    EXPECT_TRUE(may_start({0xE8, 0, 0, 0, 0})); // a call that never returns
    EXPECT_TRUE(may_start({0xFF, 0xE0}));
    EXPECT_TRUE(may_start({0xFF, 0x25, 0, 0x50, 0x40, 0}));
    EXPECT_TRUE(may_start({0x0F, 0x0B}));
    EXPECT_TRUE(may_start({0xC3, 0xCC}));
    EXPECT_FALSE(may_start({0xC2, 0x08, 0x01}));
    EXPECT_FALSE(may_start({0xE9, 0, 0, 0, 0x70})); // to outside the section
    EXPECT_FALSE(may_start({0x40}));
}

// Whatever the padding follows: a switch's table, or a jump that can't be told.
TEST(MayStartFunction, Behind_padding_up_to_an_aligned_place) {
    EXPECT_TRUE(may_start({0x90}));
    EXPECT_TRUE(may_start({0x66, 0x90}));
    EXPECT_TRUE(may_start({0x0F, 0x1F, 0x44, 0x00, 0x00}));
    EXPECT_FALSE(may_start({0x66, 0x90}, kFunction + 8));
    EXPECT_FALSE(may_start({0x0F, 0x1F})); // the beginning of one
    EXPECT_FALSE(may_start({0x0F, 0x1F, 0x44, 0x00}));
}

TEST_F(FunctionBoundsTest, May_start_at_the_sections_first_byte_and_not_just_behind_it) {
    m_process.memory.fill(FakeProcess::kCode, 0x100, 0xC3);
    const faultkit::CodeRange& section = *m_process.modules.find_code(FakeProcess::kCode);
    EXPECT_TRUE(faultkit::may_start_function(m_process.memory, section, section.begin));
    EXPECT_FALSE(faultkit::may_start_function(m_process.memory, section, section.begin + 1));
    EXPECT_FALSE(faultkit::may_start_function(m_process.memory, section, section.begin + 23));
    EXPECT_TRUE(faultkit::may_start_function(m_process.memory, section, section.begin + 24));
}

TEST_F(FunctionBoundsTest, Read_that_fails_tells_of_nothing) {
    m_process.put_framed_function(FakeProcess::kCode + 0x100);
    const std::uint32_t address = FakeProcess::kCode + 0x110;
    const faultkit::CodeRange& section = m_process.modules[0].image.code[0];
    for (unsigned every = 1; every < 6; ++every) {
        m_process.memory.fail_every(every);
        const std::uint32_t start = faultkit::find_function(m_process.memory, m_process.modules, address).start;
        EXPECT_TRUE(start == 0 || start == FakeProcess::kCode + 0x100);
    }
    m_process.memory.fail_every(1);
    std::uint32_t places[4];
    EXPECT_EQ(faultkit::list_possible_starts(m_process.memory, section, section.begin, address, places, 4), 0u);
    EXPECT_FALSE(faultkit::may_start_function(m_process.memory, section, address));
    EXPECT_FALSE(faultkit::bounds_of_function(m_process.memory, address).framed);
    EXPECT_EQ(faultkit::read_prologue(m_process.memory, address - 0x10, address).taken, 0u);
}

} // namespace
