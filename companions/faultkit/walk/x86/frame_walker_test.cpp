#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "testing/cxx/fake_process.h"
#include "companions/faultkit/walk/x86/frame_walker.h"

namespace {

using faultkit::FakeMemory;
using faultkit::FakeProcess;
using faultkit::Frame;
using faultkit::FrameOrigin;
using faultkit::FrameWalker;

constexpr std::uint32_t kInner = FakeProcess::kCode + 0x100, kMiddle = kInner + 0x100, kOuter = kInner + 0x200;
constexpr std::uint32_t kStack = FakeProcess::kStack + 0x800;

// A process whose stack a test builds: each return address stands behind a call in one of three functions.
class FrameWalkerTest : public testing::Test {
protected:
    void put_framed(std::initializer_list<std::uint32_t> starts) {
        for (const std::uint32_t start : starts)
            m_process.put_framed_function(start);
    }
    void put_frameless(std::initializer_list<std::uint32_t> starts) {
        for (const std::uint32_t start : starts)
            m_process.put_frameless_function(start);
    }
    // Words of the stack, by how far they lie above kStack.
    void put_stack(std::initializer_list<std::pair<std::uint32_t, std::uint32_t>> words) {
        for (const auto& word : words)
            m_process.memory.put_u32(kStack + word.first, word.second);
    }
    static Frame interrupted(std::uint32_t pc, std::uint32_t sp = kStack, std::uint32_t bp = 0) {
        return {pc, sp, bp, FrameOrigin::kInterrupted};
    }
    FrameWalker walker() { return FrameWalker(m_process.memory, m_process.modules, FakeProcess::kStackEnd); }
    Frame caller_of(const Frame& frame) {
        Frame caller = {};
        EXPECT_TRUE(walker().find_caller(frame, &caller));
        return caller;
    }

    std::vector<std::uint32_t> walk(Frame frame) {
        FrameWalker walker = this->walker();
        std::vector<std::uint32_t> path;
        Frame caller;
        while (path.size() < 100 && walker.find_caller(frame, &caller)) {
            EXPECT_GT(caller.sp, frame.sp);
            path.push_back(caller.pc);
            frame = caller;
        }
        return path;
    }

    FakeProcess m_process;
};

using Path = std::vector<std::uint32_t>;

TEST_F(FrameWalkerTest, Chain_of_frame_pointers_is_followed) {
    put_framed({kInner, kMiddle, kOuter});
    m_process.put_call(kMiddle + 0x20, kInner);
    m_process.put_call(kOuter + 0x20, kMiddle);
    put_stack({{0x40, kStack + 0x80}, {0x44, kMiddle + 0x20}, {0x80, 0}, {0x84, kOuter + 0x20}});
    EXPECT_EQ(walk(interrupted(kInner + 0x10, kStack, kStack + 0x40)), (Path{kMiddle + 0x20, kOuter + 0x20}));
}

TEST_F(FrameWalkerTest, Functions_without_frame_pointer_are_found_below_the_next_link) {
    put_frameless({kInner, kMiddle});
    put_framed({kOuter});
    m_process.put_call(kMiddle + 0x20, kInner);
    m_process.put_call(kOuter + 0x20, kMiddle);
    put_stack({{0x14, kMiddle + 0x20}, {0x2C, kOuter + 0x20}});
    EXPECT_EQ(walk(interrupted(kInner + 0x10, kStack, kStack + 0x80)), (Path{kMiddle + 0x20, kOuter + 0x20}));
}

TEST_F(FrameWalkerTest, Stale_return_address_of_another_function_is_passed_over) {
    put_frameless({kInner, kMiddle, kOuter});
    m_process.put_call(kMiddle + 0x20, kInner);
    m_process.put_call(kOuter + 0x30, kMiddle); // of an earlier call
    put_stack({{0x18, kOuter + 0x30}, {0x20, kMiddle + 0x20}});
    EXPECT_EQ(walk(interrupted(kInner + 0x10)).front(), kMiddle + 0x20);
}

TEST_F(FrameWalkerTest, Stale_return_address_of_a_recursion_inside_the_locals_is_passed_over) {
    put_frameless({kInner});
    m_process.put_call(kInner + 0x20, kInner);
    put_stack({{0x08, kInner + 0x20}, {0x14, kInner + 0x20}}); // the first in the 20 bytes that the function took
    const Frame caller = caller_of(interrupted(kInner + 0x10));
    EXPECT_EQ(caller.sp, kStack + 0x18);
    EXPECT_EQ(caller.origin, FrameOrigin::kChecked);
}

// ebp as a general register may point anywhere, also into what the function itself took.
TEST_F(FrameWalkerTest, Link_inside_the_functions_own_frame_is_stale) {
    put_frameless({kInner});
    m_process.memory.put(kInner, {0x83, 0xEC, 0x28}); // sub esp, 40
    put_framed({kMiddle});
    m_process.put_call(kMiddle + 0x20, kInner);
    m_process.put_call_by_register(kOuter + 0x20);
    put_stack({{0x14, kOuter + 0x20}, {0x28, kMiddle + 0x20}}); // the first of an earlier call
    const Frame caller = caller_of(interrupted(kInner + 0x10, kStack, kStack + 0x10));
    EXPECT_EQ(caller.pc, kMiddle + 0x20);
    EXPECT_EQ(caller.sp, kStack + 0x2C);
    EXPECT_EQ(caller.origin, FrameOrigin::kChecked);
}

TEST_F(FrameWalkerTest, Call_through_a_pointer_is_believed_when_its_maker_leads_on) {
    put_frameless({kInner, kMiddle, kOuter});
    m_process.put_call_by_register(kMiddle + 0x20);
    m_process.put_call(kOuter + 0x20, kMiddle);
    put_stack({{0x14, kMiddle + 0x20}, {0x2C, kOuter + 0x20}});
    const Frame caller = caller_of(interrupted(kInner + 0x10));
    EXPECT_EQ(caller.pc, kMiddle + 0x20);
    EXPECT_EQ(caller.origin, FrameOrigin::kPlausible);
}

TEST_F(FrameWalkerTest, Calls_through_pointers_in_a_row_lead_to_the_chain) {
    put_frameless({kInner, kMiddle});
    put_framed({kOuter, kOuter + 0x80});
    m_process.put_call_by_register(kMiddle + 0x20);
    m_process.put_call_by_register(kOuter + 0x20);
    m_process.put_call(kOuter + 0xA0, kOuter);
    put_stack({{0x14, kMiddle + 0x20}, {0x2C, kOuter + 0x20}, {0x50, 0}, {0x54, kOuter + 0xA0}});
    EXPECT_EQ(walk(interrupted(kInner + 0x10, kStack, kStack + 0x50)),
              (Path{kMiddle + 0x20, kOuter + 0x20, kOuter + 0xA0}));
}

// Nothing calls the function directly, and it takes no stack: only the padding in front of it tells where it begins.
class HiddenFunctionTest : public FrameWalkerTest {
protected:
    static constexpr std::uint32_t kHidden = kInner + 0x40; // behind a function that takes 20 bytes

    HiddenFunctionTest() {
        put_frameless({kInner, kMiddle});
        m_process.memory.put(kHidden - 3, {0xC3, 0x66, 0x90});
        m_process.memory.fill(kHidden, 0x40, 0x40);
        m_process.put_call_by_register(kMiddle + 0x20);
        m_process.put_call(kOuter + 0x30, kInner);
        put_stack({{0x20, kOuter + 0x30}}); // of an earlier call
    }
};

TEST_F(HiddenFunctionTest, Leaf_behind_padding_has_its_return_address_on_top) {
    put_stack({{0, kMiddle + 0x20}});
    const Frame caller = caller_of(interrupted(kHidden + 8));
    EXPECT_EQ(caller.pc, kMiddle + 0x20);
    EXPECT_EQ(caller.sp, kStack + 4);
}

TEST_F(HiddenFunctionTest, Its_arguments_for_a_callee_lie_below_its_return_address) {
    m_process.memory.put(kHidden + 7, {0x6A, 0x05}); // push 5
    m_process.put_call(kHidden + 14, kOuter);
    put_stack({{4, kMiddle + 0x20}});
    EXPECT_EQ(caller_of({kHidden + 14, kStack, 0, FrameOrigin::kChecked}).pc, kMiddle + 0x20);
}

// What is pushed in front of the instruction that faults may be gone from the stack again.
TEST_F(HiddenFunctionTest, Function_that_faults_has_no_arguments_for_a_callee) {
    m_process.memory.put(kHidden + 7, {0x6A, 0x05, 0x59}); // push 5; pop ecx
    m_process.put_call_by_register(kMiddle + 0x30);
    put_stack({{0, kMiddle + 0x20}, {4, kMiddle + 0x30}}); // the second of an earlier call
    const Frame caller = caller_of(interrupted(kHidden + 10));
    EXPECT_EQ(caller.pc, kMiddle + 0x20);
    EXPECT_EQ(caller.sp, kStack + 4);
}

TEST_F(HiddenFunctionTest, Function_in_front_is_believed_where_the_stack_is_just_its_own) {
    put_stack({{0, kMiddle + 0x20}, {0x14, kOuter + 0x30}}); // the first of an earlier call
    EXPECT_EQ(caller_of(interrupted(kInner + 0x30)).pc, kOuter + 0x30);
}

TEST_F(HiddenFunctionTest, Walk_rises_whatever_its_first_instructions_say) {
    m_process.memory.put(kHidden, {0x33, 0xC0, 0x81, 0xEC, 0xF0, 0xFF, 0xFF, 0xFF}); // xor eax, eax; sub esp, -16
    m_process.memory.put_u32(kStack - 0x10, kMiddle + 0x20);
    FrameWalker walker = this->walker();
    Frame caller;
    ASSERT_TRUE(walker.find_caller(interrupted(kHidden + 0x10), &caller));
    EXPECT_GT(caller.sp, kStack);
    m_process.memory.put(kHidden, {0x33, 0xC0, 0x83, 0xEC, 0x10, 0x40, 0x40, 0x40});
    EXPECT_FALSE(walker.find_caller(interrupted(kHidden + 0x10, FakeProcess::kStackEnd - 0x10), &caller));
}

TEST_F(FrameWalkerTest, Function_called_directly_is_found_behind_a_framed_one_that_has_ended) {
    put_framed({kInner, kOuter});
    m_process.memory.put(kInner + 0x2F, {0xC3});
    put_frameless({kInner + 0x30});
    m_process.put_call(kMiddle + 0x20, kInner + 0x30);
    m_process.put_call_by_register(kOuter + 0x20);
    put_stack({{0x14, kMiddle + 0x20}, {0x44, kOuter + 0x20}});
    EXPECT_EQ(walk(interrupted(kInner + 0x40, kStack, kStack + 0x40)).front(), kMiddle + 0x20);
}

TEST_F(FrameWalkerTest, Link_inside_what_a_framed_function_has_taken_is_stale) {
    put_framed({kInner}); // takes 16 bytes
    m_process.put_call_by_register(kOuter + 0x20);
    m_process.put_call(kMiddle + 0x20, kInner);
    put_stack({{0x0C, kOuter + 0x20}, {0x18, kMiddle + 0x20}});
    EXPECT_EQ(walk(interrupted(kInner + 0x10, kStack, kStack + 8)).front(), kMiddle + 0x20);
}

TEST_F(FrameWalkerTest, Call_into_another_module_has_not_led_here) {
    faultkit::Module* other = m_process.modules.next();
    *other = m_process.modules[0];
    other->image.base = 0x800000;
    other->image.code[0] = {0x801000, 0x802000};
    m_process.modules.commit();
    m_process.put_call(kMiddle + 0x20, 0x801100);
    m_process.put_call(kMiddle + 0x30, kOuter);
    m_process.put_call_by_register(kMiddle + 0x40);
    const auto may_have_called = [&](std::uint32_t pc) {
        return walker().may_have_called(interrupted(kInner + 0x10), {pc, kStack + 8, 0, FrameOrigin::kSymbols});
    };
    EXPECT_FALSE(may_have_called(kMiddle + 0x20));
    EXPECT_TRUE(may_have_called(kMiddle + 0x30));
    EXPECT_TRUE(may_have_called(kMiddle + 0x40));
}

// Before its frame is set up it is on top, after the push below that.
TEST_F(FrameWalkerTest, Function_that_faults_before_its_frame_is_set_up_has_its_return_address_near_the_top) {
    put_framed({kInner});
    m_process.put_call(kMiddle + 0x20, kInner);
    for (const std::uint32_t executed : {0u, 1u}) {
        put_stack({{0, 0}, {4 * executed, kMiddle + 0x20}});
        EXPECT_EQ(walk(interrupted(kInner + executed, kStack, kStack + 0x80)), (Path{kMiddle + 0x20})) << executed;
    }
}

TEST_F(FrameWalkerTest, Call_through_a_null_pointer_leads_back_to_its_maker) {
    put_frameless({kMiddle});
    m_process.put_call_by_register(kMiddle + 0x20);
    put_stack({{0, kMiddle + 0x20}});
    EXPECT_EQ(walk(interrupted(0)), (Path{kMiddle + 0x20}));
}

TEST_F(FrameWalkerTest, Link_that_leads_out_of_the_stack_or_4_megabytes_up_is_none) {
    put_framed({kInner});
    m_process.put_call(kMiddle + 0x20, kInner);
    const std::uint32_t end = FakeProcess::kStackEnd;
    m_process.memory.put(end, FakeMemory::Bytes(8));
    m_process.memory.put_u32(end + 4, kMiddle + 0x20);
    EXPECT_EQ(walk(interrupted(kInner + 0x10, kStack, end)), Path());

    constexpr std::uint32_t kMost = 0x400000, kLargeStack = 0x10000000;
    m_process.memory.fill(kLargeStack, kMost + 0x100, 0);
    const auto first_caller = [this](std::uint32_t link) {
        m_process.memory.put_u32(kLargeStack + link + 4, kMiddle + 0x20);
        FrameWalker walker(m_process.memory, m_process.modules, kLargeStack + kMost + 0x100);
        Frame caller = {};
        const Frame frame = interrupted(kInner + 0x10, kLargeStack, kLargeStack + link);
        const bool found = walker.find_caller(frame, &caller);
        m_process.memory.put_u32(kLargeStack + link + 4, 0);
        return found ? caller.pc : 0;
    };
    EXPECT_EQ(first_caller(kMost - 4), kMiddle + 0x20);
    EXPECT_EQ(first_caller(kMost), 0u);
}

TEST_F(FrameWalkerTest, Circular_chain_ends) {
    put_framed({kInner});
    m_process.put_call(kInner + 0x20, kInner);
    put_stack({{0x40, kStack + 0x40}, {0x44, kInner + 0x20}});
    EXPECT_EQ(walk(interrupted(kInner + 0x10, kStack, kStack + 0x40)), (Path{kInner + 0x20}));
}

TEST_F(FrameWalkerTest, Overwritten_return_address_is_bridged_by_a_guess) {
    put_frameless({kInner});
    put_framed({kMiddle, kOuter});
    m_process.put_call(kMiddle + 0x20, kOuter + 0x80);
    m_process.put_call(kOuter + 0x20, kMiddle);
    for (std::uint32_t place = 0; place < 0x20; place += 4)
        put_stack({{place, 0x41414141}});
    put_stack({{0x30, kMiddle + 0x20}, {0x54, kOuter + 0x20}});
    const Frame caller = caller_of(interrupted(kInner + 0x10, kStack, kStack + 0x50));
    EXPECT_EQ(caller.pc, kMiddle + 0x20);
    EXPECT_EQ(caller.origin, FrameOrigin::kGuessed);
}

TEST_F(FrameWalkerTest, Frame_of_an_unloaded_module_is_passed_through) {
    m_process.modules.add_unloaded({0x900000, 0x4000, 1, "gone.dll"});
    put_frameless({kInner});
    put_framed({kOuter});
    m_process.put_call_by_register(kOuter + 0x20);
    put_stack({{0x14, 0x901123}, {0x20, kOuter + 0x20}, {0x50, 0}});
    EXPECT_EQ(walk(interrupted(kInner + 0x10)), (Path{0x901123, kOuter + 0x20}));
}

TEST_F(FrameWalkerTest, Unreadable_stack_ends_the_walk) {
    put_frameless({kInner});
    EXPECT_EQ(walk(interrupted(kInner + 0x10, 0x50000, 0x50040)), Path{});
    EXPECT_EQ(walk(interrupted(kInner + 0x10, 0xFFFFFFFE, 0xFFFFFFFF)), Path{});
}

TEST_F(FrameWalkerTest, Sound_frame_is_higher_and_behind_a_call) {
    m_process.put_call(kMiddle + 0x20, kInner);
    const auto is_sound = [&](std::uint32_t pc, std::uint32_t sp) {
        return walker().is_sound(interrupted(kInner + 0x10), {pc, sp, 0, FrameOrigin::kSymbols});
    };
    EXPECT_TRUE(is_sound(kMiddle + 0x20, kStack + 8));
    EXPECT_FALSE(is_sound(kMiddle + 0x20, kStack));
    EXPECT_FALSE(is_sound(kMiddle + 0x20, FakeProcess::kStackEnd + 4));
    EXPECT_FALSE(is_sound(kMiddle + 0x21, kStack + 8));
}

TEST_F(FrameWalkerTest, Read_that_fails_costs_frames_and_no_more) {
    put_framed({kInner, kOuter});
    put_frameless({kMiddle});
    m_process.put_call(kMiddle + 0x20, kInner);
    m_process.put_call(kOuter + 0x20, kMiddle);
    m_process.put_call_by_register(kOuter + 0x30);
    put_stack({{0x40, kStack + 0x80}, {0x44, kMiddle + 0x20}, {0x5C, kOuter + 0x20}, {0x84, kOuter + 0x30}});
    for (unsigned every = 1; every < 120; ++every) {
        m_process.memory.fail_every(every);
        EXPECT_LE(walk(interrupted(kInner + 0x10, kStack, kStack + 0x40)).size(), 10u);
    }
}

// A call that jumped on elsewhere looks as if it had led to another function.
TEST_F(FrameWalkerTest, Chain_is_believed_although_its_call_went_elsewhere) {
    put_framed({kMiddle, kOuter});
    put_frameless({kInner, kOuter + 0x80});
    m_process.put_call_by_register(kMiddle + 0x20);
    m_process.put_call(kOuter + 0x20, kOuter + 0x80);
    put_stack({{0x14, kMiddle + 0x20}, {0x40, 0}, {0x44, kOuter + 0x20}});
    EXPECT_EQ(caller_of(interrupted(kInner + 0x10, kStack, kStack + 0x40)).pc, kMiddle + 0x20);
}

// At either edge of a function its frame is not there, whatever stale addresses lie further up.
TEST_F(FrameWalkerTest, Function_that_faults_at_its_first_or_last_instruction_has_its_return_address_on_top) {
    put_frameless({kInner});
    m_process.memory.put(kInner + 0x30, {0xC3});
    m_process.memory.put(kInner + 0x31, {0xC2, 0x08, 0x00});
    m_process.put_call(kMiddle + 0x20, kInner);
    m_process.put_call(kMiddle + 0x30, kInner);
    put_stack({{0, kMiddle + 0x20}, {0x14, kMiddle + 0x30}}); // the second of an earlier call
    for (const std::uint32_t pc : {kInner, kInner + 0x30, kInner + 0x31}) {
        const Frame caller = caller_of(interrupted(pc));
        EXPECT_EQ(caller.pc, kMiddle + 0x20);
        EXPECT_EQ(caller.sp, kStack + 4);
        EXPECT_EQ(caller.origin, FrameOrigin::kChecked);
    }
}

// What follows the early return might be a function of its own, whose return address would be on top.
TEST_F(FrameWalkerTest, Framed_function_with_an_early_return_is_believed_where_the_chain_fits) {
    put_framed({kInner, kMiddle});
    m_process.memory.put(kInner + 0x1E, {0xC3});
    m_process.put_call(kMiddle + 0x20, kInner);
    m_process.put_call_by_register(kOuter + 0x20);
    m_process.put_call_by_register(kInner + 0x28);
    put_stack({{0, kOuter + 0x20}, {0x44, kMiddle + 0x20}}); // the first of an earlier call
    for (const FrameOrigin origin : {FrameOrigin::kInterrupted, FrameOrigin::kChecked}) {
        const Frame caller = caller_of({kInner + 0x28, kStack, kStack + 0x40, origin});
        EXPECT_EQ(caller.pc, kMiddle + 0x20);
        EXPECT_EQ(caller.origin, FrameOrigin::kChained);
    }
}

TEST_F(FrameWalkerTest, Frameless_function_with_an_early_return_is_believed_where_the_stack_fits) {
    put_frameless({kInner}); // takes 20 bytes
    m_process.memory.put(kInner + 0x1E, {0xC3});
    m_process.memory.put(kInner + 0x27, {0x6A, 0x05}); // push 5
    m_process.put_call(kInner + 0x2E, kOuter);
    m_process.put_call(kMiddle + 0x20, kInner);
    m_process.put_call_by_register(kOuter + 0x20);
    put_stack({{0, kOuter + 0x20}}); // of an earlier call
    for (const std::uint32_t arguments : {0u, 4u}) {
        put_stack({{0x14, 0}, {0x14 + arguments, kMiddle + 0x20}});
        const Frame caller = caller_of({kInner + 0x2E, kStack, 0, FrameOrigin::kChecked});
        EXPECT_EQ(caller.pc, kMiddle + 0x20);
        EXPECT_EQ(caller.sp, kStack + 0x18 + arguments);
    }
}

TEST_F(FrameWalkerTest, First_instructions_that_take_more_than_any_frame_are_not_believed) {
    put_frameless({kInner});
    m_process.memory.put(kInner, {0x81, 0xEC, 0, 0, 2, 0}); // sub esp, 0x20000
    m_process.put_call(kMiddle + 0x20, kInner);
    put_stack({{8, kMiddle + 0x20}});
    EXPECT_EQ(walk(interrupted(kInner + 0x10)).front(), kMiddle + 0x20);
}

TEST_F(HiddenFunctionTest, That_would_take_more_than_any_frame_is_none) {
    m_process.memory.put(kHidden, {0x81, 0xEC, 0, 0, 2, 0}); // sub esp, 0x20000
    EXPECT_EQ(walk(interrupted(kHidden + 0x10)).front(), kOuter + 0x30);
}

TEST_F(HiddenFunctionTest, Is_not_where_a_call_of_another_function_leads_back_to) {
    m_process.put_call(kMiddle + 0x30, kOuter);
    put_stack({{0, kMiddle + 0x30}});
    EXPECT_EQ(walk(interrupted(kHidden + 8)).front(), kOuter + 0x30);
}

TEST_F(FrameWalkerTest, Chain_of_a_framed_function_is_the_last_resort_where_its_call_went_elsewhere) {
    put_framed({kInner, kMiddle});
    put_frameless({kOuter});
    m_process.put_call(kMiddle + 0x20, kOuter); // which jumped on
    put_stack({{0x44, kMiddle + 0x20}});
    const Frame caller = caller_of(interrupted(kInner + 0x10, kStack, kStack + 0x40));
    EXPECT_EQ(caller.pc, kMiddle + 0x20);
    EXPECT_EQ(caller.origin, FrameOrigin::kChained);
}

TEST_F(FrameWalkerTest, Call_of_the_function_is_found_behind_more_stale_addresses_than_a_search_holds) {
    put_frameless({kInner, kMiddle});
    m_process.put_call_by_register(kMiddle + 0x20);
    m_process.put_call(kOuter + 0x20, kInner);
    for (std::uint32_t i = 0; i < 30; ++i)
        put_stack({{0x14 + i * 4, kMiddle + 0x20}});
    put_stack({{0x14 + 30 * 4, kOuter + 0x20}});
    const Frame caller = caller_of(interrupted(kInner + 0x10));
    EXPECT_EQ(caller.pc, kOuter + 0x20);
    EXPECT_EQ(caller.origin, FrameOrigin::kChecked);
}

TEST_F(FrameWalkerTest, Call_through_a_pointer_is_believed_when_the_chain_ends_in_one_too) {
    put_frameless({kInner, kMiddle});
    put_framed({kOuter});
    m_process.put_call_by_register(kMiddle + 0x20);
    m_process.put_call_by_register(kOuter + 0x20);
    put_stack({{0x14, kMiddle + 0x20}, {0x54, kOuter + 0x20}});
    const Frame caller = caller_of(interrupted(kInner + 0x10, kStack, kStack + 0x50));
    EXPECT_EQ(caller.pc, kMiddle + 0x20);
    EXPECT_EQ(caller.origin, FrameOrigin::kPlausible);
}

TEST_F(FrameWalkerTest, Guess_below_a_link_is_the_framed_function_that_the_links_call_entered) {
    constexpr std::uint32_t kFrameless = kOuter + 0xC0, kOther = kOuter + 0x80;
    put_frameless({kInner, kFrameless});
    put_framed({kMiddle, kMiddle + 0x80, kOuter});
    for (const std::uint32_t from : {kMiddle + 0x20, kMiddle + 0xA0, kFrameless + 0x20})
        m_process.put_call(from, kOther);
    m_process.put_call(kOuter + 0x20, kMiddle);
    put_stack({{0x30, kMiddle + 0x20},
               {0x34, kMiddle + 0xA0},    // framed, but not what was called
               {0x38, kFrameless + 0x20}, // has no link
               {0x54, kOuter + 0x20}});
    const Frame caller = caller_of(interrupted(kInner + 0x10, kStack, kStack + 0x50));
    EXPECT_EQ(caller.pc, kMiddle + 0x20);
    EXPECT_EQ(caller.origin, FrameOrigin::kGuessed);
}

TEST_F(FrameWalkerTest, Any_memory_and_any_registers_give_a_walk_that_rises_and_ends) {
    std::mt19937 random(12345);
    for (int round = 0; round < 200; ++round) {
        faultkit::FakeMemory::Bytes code(0x400);
        for (auto& byte : code)
            byte = random() % 3 ? static_cast<std::uint8_t>(random())
                                : faultkit::FakeMemory::Bytes{0xE8, 0xFF, 0x55, 0xC3}[random() % 4];
        m_process.memory.put(FakeProcess::kCode, code);
        for (std::uint32_t place = FakeProcess::kStack; place < FakeProcess::kStackEnd; place += 4)
            m_process.memory.put_u32(place, random() % 2 ? FakeProcess::kCode + random() % 0x400
                                                         : FakeProcess::kStack + random() % 0x1000);
        const std::uint32_t pc = random() % 4 ? FakeProcess::kCode + random() % 0x400 : random();
        const std::uint32_t bp = random() % 4 ? FakeProcess::kStack + random() % 0x1000 : random();
        m_process.memory.fail_every(round % 2 ? 3 + random() % 40 : 0);
        EXPECT_LE(walk(interrupted(pc, FakeProcess::kStack + random() % 0x800, bp)).size(), 100u);
        m_process.memory.fail_every(0);
    }
}

} // namespace
