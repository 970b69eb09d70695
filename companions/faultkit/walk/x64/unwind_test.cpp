#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "companions/faultkit/walk/x64/frame_walker.h"
#include "companions/faultkit/walk/x64/unwind.h"
#include "testing/cxx/fake_process.h"

namespace {

using faultkit::Address;
using faultkit::FakeMemory;
using faultkit::Frame;
using faultkit::FrameOrigin;
using faultkit::FrameWalker;
using Bytes = FakeMemory::Bytes;
using Path = std::vector<Address>;

constexpr Address kImage = 0x140000000, kStack = 0x200800, kStackEnd = 0x201000;
constexpr std::uint32_t kCode = 0x1000, kCodeEnd = 0x4000, kTable = 0x5000, kUnwind = 0x6000;
constexpr std::uint32_t kInner = 0x1100, kMiddle = 0x1200, kOuter = 0x1300;

// Codes of unwind data: how far into the function the instruction ends, and what it did.
constexpr std::uint8_t kPush = 0, kAllocateLarge = 1, kAllocateSmall = 2, kSetFramePointer = 3, kSave = 4, kSaveFar = 5,
                       kEpilogue = 6, kSaveVector = 8, kSaveVectorFar = 9, kMachineFrame = 10;

std::uint8_t code(std::uint8_t operation, std::uint8_t info = 0) {
    return static_cast<std::uint8_t>(operation | info << 4);
}

// A process whose image has a table of functions, to which a test adds, and whose stack a test builds.
class UnwindTest : public testing::Test {
protected:
    UnwindTest() {
        m_modules.clear();
        faultkit::Module* module = m_modules.next();
        *module = faultkit::Module();
        module->image.base = kImage;
        module->image.size = 0x10000;
        module->image.range_count = 1;
        module->image.code[0] = {kImage + kCode, kImage + kCodeEnd};
        m_modules.commit();
        m_memory.fill(kImage, 0x400, 0);
        m_memory.put(kImage, {0x4D, 0x5A});
        m_memory.put_u32(kImage + 0x3C, 0x80);
        m_memory.put_u32(kImage + 0x80, 0x4550);
        m_memory.put_u32(kImage + 0x80 + 24 + 108, 16);
        m_memory.put_u32(kImage + 0x80 + 24 + 112 + 3 * 8, kTable);
        m_memory.fill(kImage + kCode, kCodeEnd - kCode, 0x90);
        m_memory.fill(kImage + kTable, 0x100, 0);
        m_memory.fill(kImage + kUnwind, 0x1000, 0);
        m_memory.fill(0x200000, kStackEnd - 0x200000, 0);
    }

    // Functions are added in the order of their addresses. `chained`: the table's index of the part it goes on from.
    void add_function(std::uint32_t begin, std::uint32_t end, std::uint8_t prologue_size, const Bytes& codes,
                      std::uint8_t frame = 0, int chained = -1, std::uint8_t version = 1) {
        const std::uint32_t unwind = kUnwind + m_count * 0x80;
        const std::uint8_t flags = chained >= 0 ? 4 << 3 : 0;
        m_memory.put(kImage + unwind, {static_cast<std::uint8_t>(version | flags), prologue_size,
                                       static_cast<std::uint8_t>(codes.size() / 2), frame});
        if (!codes.empty())
            m_memory.put(kImage + unwind + 4, codes);
        if (chained >= 0)
            put_entry(unwind + 4 + (static_cast<std::uint32_t>(codes.size()) + 3) / 4 * 4, chained);
        m_entries.push_back({begin, end, unwind});
        put_entry(kTable + 12 * m_count, static_cast<int>(m_count));
        ++m_count;
        m_memory.put_u32(kImage + 0x80 + 24 + 112 + 3 * 8 + 4, 12 * m_count);
    }
    void put_entry(std::uint32_t offset, int index) {
        const faultkit::FunctionEntry& entry = m_entries[static_cast<unsigned>(index)];
        m_memory.put_u32(kImage + offset, entry.begin);
        m_memory.put_u32(kImage + offset + 4, entry.end);
        m_memory.put_u32(kImage + offset + 8, entry.unwind);
    }
    // "push rbx; sub rsp, 32" as functions of 0x80 bytes.
    void add_plain_functions(std::initializer_list<std::uint32_t> begins) {
        for (const std::uint32_t begin : begins)
            add_function(begin, begin + 0x80, 5, {5, code(kAllocateSmall, 3), 1, code(kPush, faultkit::kRbx)});
    }
    void put_code(std::uint32_t offset, const Bytes& bytes) { m_memory.put(kImage + offset, bytes); }
    // Words of the stack, by how far they lie above kStack.
    void put_stack(std::initializer_list<std::pair<Address, Address>> words) {
        for (const auto& word : words)
            m_memory.put_u64(kStack + word.first, word.second);
    }
    // Writes "call rax" in front of a return address.
    Address return_address(std::uint32_t offset) {
        put_code(offset - 2, {0xFF, 0xD0});
        return kImage + offset;
    }

    // The same of "call target".
    Address direct_call(std::uint32_t offset, std::uint32_t target) {
        put_code(offset - 5, {0xE8});
        m_memory.put_u32(kImage + offset - 4, target - offset);
        return kImage + offset;
    }

    static Frame interrupted(std::uint32_t offset, Address sp = kStack) {
        Frame frame = {kImage + offset, sp, FrameOrigin::kInterrupted, true, {}};
        frame.registers[faultkit::kRsp] = sp;
        return frame;
    }
    static Frame interrupted_with(std::uint32_t offset, unsigned frame_pointer, Address value) {
        Frame frame = interrupted(offset);
        frame.registers[frame_pointer] = value;
        return frame;
    }
    FrameWalker walker() { return FrameWalker(m_memory, m_modules, kStackEnd); }
    bool find_caller(const Frame& frame, Frame* caller) { return walker().find_caller(frame, caller); }
    Frame caller_of(const Frame& frame) {
        Frame caller = {};
        EXPECT_TRUE(find_caller(frame, &caller));
        return caller;
    }

    FakeMemory m_memory;
    faultkit::ModuleTable m_modules;
    std::vector<faultkit::FunctionEntry> m_entries;
    std::uint32_t m_count = 0;
};

TEST_F(UnwindTest, Pushed_registers_and_the_return_address_are_found_above_what_was_allocated) {
    add_plain_functions({kInner});
    put_stack({{32, 0x1234567812345678}, {40, return_address(kMiddle + 0x20)}});
    const Frame caller = caller_of(interrupted(kInner + 0x20));
    EXPECT_EQ(caller.pc, kImage + kMiddle + 0x20);
    EXPECT_EQ(caller.sp, kStack + 48);
    EXPECT_EQ(caller.registers[faultkit::kRbx], 0x1234567812345678u);
    EXPECT_EQ(caller.origin, FrameOrigin::kChecked);
    EXPECT_FALSE(caller.interrupted);
}

TEST_F(UnwindTest, In_the_first_instructions_only_what_they_have_done_is_undone) {
    add_plain_functions({kInner});
    put_stack({{0, return_address(kMiddle + 0x20)}});
    m_memory.put_u64(kStack - 8, 7);
    EXPECT_EQ(caller_of(interrupted(kInner)).sp, kStack + 8);
    const Frame caller = caller_of(interrupted(kInner + 1, kStack - 8));
    EXPECT_EQ(caller.sp, kStack + 8);
    EXPECT_EQ(caller.registers[faultkit::kRbx], 7u);
}

TEST_F(UnwindTest, Allocations_of_every_size_are_undone) {
    const struct {
        Bytes codes;
        Address size;
    } cases[] = {
        {{7, code(kAllocateSmall, 15)}, 128},
        {{7, code(kAllocateLarge), 0x40, 0}, 0x200},
        {{7, code(kAllocateLarge, 1), 0x10, 0x03, 0, 0}, 0x310},
    };
    std::uint32_t begin = kInner;
    for (const auto& one : cases) {
        add_function(begin, begin + 0x80, 7, one.codes);
        put_stack({{one.size, return_address(kOuter + 0x400)}});
        EXPECT_EQ(caller_of(interrupted(begin + 0x20)).sp, kStack + one.size + 8);
        put_stack({{one.size, 0}});
        begin += 0x80;
    }
}

// As where the size of the stack is known at run time alone.
TEST_F(UnwindTest, Frame_pointer_leads_back_whatever_the_stack_pointer_is) {
    // push rbp; sub rsp, 48; lea rbp, [rsp + 32]
    add_function(kInner, kInner + 0x80, 10,
                 {10, code(kSetFramePointer), 5, code(kAllocateSmall, 5), 1, code(kPush, faultkit::kRbp)},
                 static_cast<std::uint8_t>(faultkit::kRbp | 2 << 4));
    const Address back = return_address(kMiddle + 0x20);
    put_stack({{0x100 + 48, 0x2345}, {0x100 + 56, back}});
    const Frame caller = caller_of(interrupted_with(kInner + 0x20, faultkit::kRbp, kStack + 0x100 + 32));
    EXPECT_EQ(caller.pc, back);
    EXPECT_EQ(caller.sp, kStack + 0x100 + 64);
    EXPECT_EQ(caller.registers[faultkit::kRbp], 0x2345u);
    // Not yet set: the stack pointer counts.
    EXPECT_EQ(caller_of(interrupted(kInner + 5, kStack + 0x100)).sp, kStack + 0x100 + 64);
}

TEST_F(UnwindTest, Registers_that_were_stored_are_found_where_they_lie) {
    add_function(kInner, kInner + 0x80, 30,
                 {30, code(kSaveVectorFar, 7),        0x10, 0, 0, 0, 25, code(kSaveVector, 6),        1, 0,
                  20, code(kSaveFar, faultkit::kRdi), 0x18, 0, 0, 0, 10, code(kSave, faultkit::kRsi), 2, 0,
                  4,  code(kAllocateSmall, 7)});
    put_stack({{0x10, 0x51}, {0x18, 0xD1}, {64, return_address(kMiddle + 0x20)}});
    const Frame caller = caller_of(interrupted(kInner + 0x40));
    EXPECT_EQ(caller.registers[faultkit::kRsi], 0x51u);
    EXPECT_EQ(caller.registers[faultkit::kRdi], 0xD1u);
    EXPECT_EQ(caller.sp, kStack + 72);
}

TEST_F(UnwindTest, What_newer_compilers_add_for_epilogues_changes_nothing) {
    add_function(kInner, kInner + 0x80, 4, {6, code(kEpilogue, 1), 0, 0, 0, 7, 0, 0, 0, 0, 4, code(kAllocateSmall, 7)},
                 0, -1, 2);
    put_stack({{64, return_address(kMiddle + 0x20)}});
    EXPECT_EQ(caller_of(interrupted(kInner + 0x40)).sp, kStack + 72);
}

// No compiler does that, but the data can say it.
TEST_F(UnwindTest, Stack_pointer_is_never_taken_from_the_stack) {
    add_function(kInner, kInner + 0x80, 9, {9, code(kSave, faultkit::kRsp), 1, 0, 1, code(kPush, faultkit::kRsp)});
    put_stack({{0, 5}, {8, return_address(kMiddle + 0x20)}});
    EXPECT_EQ(caller_of(interrupted(kInner + 0x20)).sp, kStack + 16);
}

TEST_F(UnwindTest, Stack_that_is_said_to_sink_or_to_lie_askew_is_not_believed) {
    add_function(kInner, kInner + 0x80, 5, {5, code(kSetFramePointer)}, faultkit::kRbp);
    put_stack({{0x10, return_address(kMiddle + 0x20)}});
    m_memory.put_u64(kStack - 0x20, kImage + kMiddle + 0x20);
    for (const Address bp : {kStack - 0x20, kStack + 0x31, kStackEnd - 4, Address(0x50000)})
        EXPECT_EQ(caller_of(interrupted_with(kInner + 0x20, faultkit::kRbp, bp)).origin, FrameOrigin::kGuessed);
}

TEST_F(UnwindTest, Many_return_addresses_that_lead_nowhere_end_the_search) {
    const Address stale = return_address(kOuter + 0x70);
    for (Address place = 0x200008; place < 0x200800; place += 8)
        m_memory.put_u64(place, stale);
    const Frame caller = caller_of(interrupted(kInner + 0x10, 0x200000));
    EXPECT_EQ(caller.sp, 0x200010u);
    EXPECT_EQ(caller.origin, FrameOrigin::kGuessed);
}

TEST_F(UnwindTest, Later_part_of_a_function_is_undone_together_with_its_first) {
    add_plain_functions({kInner});
    add_function(kMiddle, kMiddle + 0x80, 4, {4, code(kSave, faultkit::kRsi), 6, 0}, 0, 0);
    put_stack({{48, 0x51}, {40, return_address(kOuter + 0x20)}});
    const Frame caller = caller_of(interrupted(kMiddle + 0x20));
    EXPECT_EQ(caller.pc, kImage + kOuter + 0x20);
    EXPECT_EQ(caller.registers[faultkit::kRsi], 0x51u);
}

TEST_F(UnwindTest, Table_entry_may_refer_to_another_one) {
    add_plain_functions({kInner, kMiddle});
    m_memory.put_u32(kImage + kTable + 12 + 8, (kTable + 0) | 1);
    put_stack({{40, return_address(kOuter + 0x20)}});
    EXPECT_EQ(caller_of(interrupted(kMiddle + 0x20)).sp, kStack + 48);
}

TEST_F(UnwindTest, Interrupted_code_below_a_machine_frame_is_exact) {
    for (const std::uint8_t with_error_code : {0, 1}) {
        const std::uint32_t begin = kInner + 0x80u * with_error_code;
        add_function(begin, begin + 0x80, 0, {0, code(kMachineFrame, with_error_code)});
        const Address at = 8u * with_error_code;
        put_stack({{at, kImage + kMiddle + 0x33}, {at + 24, kStack + 0x200}}); // the first behind no call
        const Frame caller = caller_of(interrupted(begin + 0x20));
        EXPECT_EQ(caller.pc, kImage + kMiddle + 0x33);
        EXPECT_EQ(caller.sp, kStack + 0x200);
        EXPECT_EQ(caller.instruction(), caller.pc);
    }
}

TEST_F(UnwindTest, Function_without_unwind_data_has_its_return_address_on_top) {
    add_plain_functions({kMiddle});
    const Address back = return_address(kMiddle + 0x20);
    put_stack({{0, back}});
    const Frame caller = caller_of(interrupted(kInner + 0x10));
    EXPECT_EQ(caller.pc, back);
    EXPECT_EQ(caller.origin, FrameOrigin::kChecked);
    // So has a call through a bad pointer.
    Frame frame = interrupted(0);
    frame.pc = 0;
    EXPECT_EQ(caller_of(frame).pc, back);
}

TEST_F(UnwindTest, Code_that_nobody_describes_is_bridged_by_a_marked_guess_that_leads_on) {
    add_plain_functions({kMiddle, kOuter});
    put_stack({{0x10, return_address(kOuter + 0x400)}, // leads nowhere
               {0x18, return_address(kMiddle + 0x20)},
               {0x20 + 40, return_address(kOuter + 0x20)},
               {0x20 + 48 + 40, 0}}); // the thread's first frame
    Frame caller = caller_of(interrupted(kInner + 0x10));
    EXPECT_EQ(caller.pc, kImage + kMiddle + 0x20);
    EXPECT_EQ(caller.origin, FrameOrigin::kGuessed);
    const Frame outer = caller_of(caller);
    EXPECT_EQ(outer.pc, kImage + kOuter + 0x20);
    EXPECT_EQ(outer.origin, FrameOrigin::kChecked);
    EXPECT_FALSE(find_caller(outer, &caller));
}

TEST_F(UnwindTest, Guess_that_leads_nowhere_is_the_lowest) {
    put_stack({{0x10, return_address(kOuter + 0x70)}, {0x18, return_address(kMiddle + 0x20)}});
    EXPECT_EQ(caller_of(interrupted(kInner + 0x10)).pc, kImage + kOuter + 0x70);
}

TEST_F(UnwindTest, Overwritten_return_address_is_bridged) {
    add_plain_functions({kInner, kMiddle});
    put_stack({{40, 0x4141414141414141}, {80, return_address(kMiddle + 0x20)}, {88 + 40, 0}});
    const Frame caller = caller_of(interrupted(kInner + 0x20));
    EXPECT_EQ(caller.pc, kImage + kMiddle + 0x20);
    EXPECT_EQ(caller.origin, FrameOrigin::kGuessed);
}

TEST_F(UnwindTest, Stack_that_cannot_be_read_ends_the_walk) {
    add_plain_functions({kInner});
    Frame caller;
    EXPECT_FALSE(find_caller(interrupted(kInner + 0x20, 0x50000), &caller));
    EXPECT_FALSE(find_caller(interrupted(kInner + 0x20, kStackEnd - 8), &caller));
    EXPECT_FALSE(find_caller(interrupted(kInner + 0x20, ~Address()), &caller));
    EXPECT_FALSE(find_caller(interrupted(kInner + 0x10, kStackEnd), &caller));
}

TEST_F(UnwindTest, Read_that_fails_costs_a_frame_and_no_more) {
    add_plain_functions({kInner});
    add_function(kMiddle, kMiddle + 0x80, 9,
                 {9, code(kSave, faultkit::kRsi), 6, 0, 4, code(kSaveFar, 7), 0x30, 0, 0, 0}, 0, 0);
    add_plain_functions({kOuter});
    put_code(kMiddle + 0x20, {0x48, 0x83, 0xC4, 0x20, 0x5B, 0xC3});
    put_stack({{40, return_address(kOuter + 0x20)}, {88, return_address(kInner + 0x20)}});
    for (unsigned every = 1; every < 60; ++every) {
        m_memory.fail_every(every);
        FrameWalker walker = this->walker();
        Frame frame = interrupted(kMiddle + 0x20), caller;
        for (; walker.find_caller(frame, &caller); frame = caller)
            ASSERT_GT(caller.sp, frame.sp);
    }
}

TEST_F(UnwindTest, Guess_is_one_whose_call_may_have_led_here) {
    add_plain_functions({kMiddle, kOuter});
    // Of earlier calls: to another function, directly, by a stub of the linker's and through an imported address.
    put_code(0x3000, {0xE9, 0xFB, 0xE2, 0xFF, 0xFF}); // to kOuter
    put_code(0x3010, {0xFF, 0x25, 0xEA, 0x0F, 0, 0}); // through 0x4000
    m_memory.fill(kImage + 0x4000, 8, 0);
    m_memory.put_u64(kImage + 0x4000, kImage + kOuter);
    put_code(kMiddle + 0x5A, {0xFF, 0x15, 0xA0, 0x2D, 0, 0}); // through 0x4000
    const Address stale[] = {direct_call(kMiddle + 0x30, kOuter), direct_call(kMiddle + 0x40, 0x3000),
                             direct_call(kMiddle + 0x50, 0x3010), kImage + kMiddle + 0x60};
    const Address right = direct_call(kMiddle + 0x70, kInner);
    for (const Address one : stale) {
        put_stack({{0x10, one}, {0x18, right}, {0x38, 0}});
        EXPECT_EQ(caller_of(interrupted(kInner + 0x10)).pc, right);
    }
}

TEST_F(UnwindTest, Damaged_unwind_data_are_not_believed) {
    const struct {
        const char* name;
        std::uint32_t offset;
        std::uint8_t value;
    } damages[] = {{"version", 0, 3}, {"operation", 5, 11}, {"operand beyond the end", 7, code(kAllocateLarge, 1)}};
    const auto origin = [&] { return caller_of(interrupted(kInner + 0x20)).origin; };
    for (const auto& damage : damages) {
        UnwindTest::m_count = 0;
        m_entries.clear();
        add_plain_functions({kInner});
        m_memory.put(kImage + kUnwind + damage.offset, {damage.value});
        put_stack({{40, return_address(kMiddle + 0x20)}});
        EXPECT_EQ(origin(), FrameOrigin::kGuessed) << damage.name;
    }
    m_memory.put_u32(kImage + kTable + 8, 0xFFFFFFF0); // outside the image
    EXPECT_EQ(origin(), FrameOrigin::kGuessed);
    m_memory.put_u32(kImage + kTable + 8, 0xFFFFFFF1); // another entry, outside
    EXPECT_EQ(origin(), FrameOrigin::kGuessed);
}

TEST_F(UnwindTest, Circle_of_parts_ends) {
    add_function(kInner, kInner + 0x80, 0, {});
    m_memory.put(kImage + kUnwind, {1 | 4 << 3});
    put_entry(kUnwind + 4, 0);
    put_stack({{0x10, return_address(kMiddle + 0x20)}});
    EXPECT_GT(caller_of(interrupted(kInner + 0x20)).sp, kStack);
}

TEST_F(UnwindTest, Unwind_data_that_leave_the_image_are_not_believed) {
    add_plain_functions({kInner});
    m_memory.fill(kImage + 0xFFF0, 0x20, 0);
    put_stack({{0, return_address(kMiddle + 0x20)}});
    m_memory.put_u32(kImage + kTable + 8, 0xFFFC);
    Frame caller;
    ASSERT_TRUE(find_caller(interrupted(kInner + 0x20), &caller)); // of no known version
    m_memory.put(kImage + 0xFFFC, {1, 0, 0, 0});
    ASSERT_TRUE(find_caller(interrupted(kInner + 0x20), &caller));
    EXPECT_EQ(caller.origin, FrameOrigin::kChecked);
    faultkit::FunctionEntry function;
    ASSERT_TRUE(faultkit::find_function(m_memory, m_modules[0].image, kImage + kInner + 0x20, &function));
    const auto unwinds = [&] {
        return faultkit::unwind(m_memory, m_modules[0].image, function, interrupted(kInner + 0x20), &caller);
    };
    EXPECT_TRUE(unwinds());
    m_memory.put(kImage + 0xFFFC, {1, 0, 1, 0}); // with a code behind the end
    EXPECT_FALSE(unwinds());
    m_memory.put(kImage + 0xFFFC, {1 | 4 << 3, 0, 0, 0}); // with a first part behind the end
    EXPECT_FALSE(unwinds());
}

// Its first part has set the frame pointer, however far the later one has come.
TEST_F(UnwindTest, Later_part_has_its_frame_pointer_from_the_start) {
    const auto frame_register = static_cast<std::uint8_t>(faultkit::kRbp | 2 << 4);
    add_function(kInner, kInner + 0x80, 10,
                 {10, code(kSetFramePointer), 5, code(kAllocateSmall, 5), 1, code(kPush, faultkit::kRbp)},
                 frame_register);
    add_function(kMiddle, kMiddle + 0x80, 9,
                 {9, code(kSave, faultkit::kRdi), 3, 0, 4, code(kSave, faultkit::kRsi), 2, 0}, frame_register, 0);
    const Address back = return_address(kOuter + 0x20);
    put_stack({{0x110, 0x51}, {0x118, 0xD1}, {0x100 + 56, back}});
    const Frame caller = caller_of(interrupted_with(kMiddle + 6, faultkit::kRbp, kStack + 0x100 + 32));
    EXPECT_EQ(caller.pc, back);
    EXPECT_EQ(caller.registers[faultkit::kRsi], 0x51u);
    EXPECT_EQ(caller.registers[faultkit::kRdi], 0u); // not saved yet
}

TEST_F(UnwindTest, Stack_beyond_the_threads_is_not_believed) {
    add_function(kInner, kInner + 0x80, 5, {5, code(kSetFramePointer)}, faultkit::kRbp);
    const Address back = return_address(kMiddle + 0x20);
    m_memory.fill(kStackEnd, 0x100, 0);
    m_memory.put_u64(kStackEnd + 8, back);
    put_stack({{0x10, back}});
    const Frame caller = caller_of(interrupted_with(kInner + 0x20, faultkit::kRbp, kStackEnd + 8));
    EXPECT_EQ(caller.sp, kStack + 0x18);
    EXPECT_EQ(caller.origin, FrameOrigin::kGuessed);
}

TEST_F(UnwindTest, Thread_begins_near_the_end_of_its_stack) {
    constexpr Address kDeep = 0x1F0000;
    add_plain_functions({kInner});
    m_memory.fill(kDeep, 0x200, 0);
    m_memory.put_u64(kDeep + 0x100, return_address(kMiddle + 0x20));
    const Frame caller = caller_of(interrupted(kInner + 0x20, kDeep)); // whose caller would be 0
    EXPECT_EQ(caller.sp, kDeep + 0x108);
    EXPECT_EQ(caller.origin, FrameOrigin::kGuessed);
}

TEST_F(UnwindTest, Return_address_on_top_of_a_stack_that_lies_askew_is_a_guess) {
    const Address back = return_address(kMiddle + 0x20);
    put_stack({{4, back}, {0x20, back}});
    const Frame caller = caller_of(interrupted(kInner + 0x10, kStack + 4));
    EXPECT_EQ(caller.sp, kStack + 0x28);
    EXPECT_EQ(caller.origin, FrameOrigin::kGuessed);
}

TEST_F(UnwindTest, Guess_whose_own_caller_lies_behind_no_call_leads_nowhere) {
    add_plain_functions({kMiddle});
    put_stack({{0x10, return_address(kMiddle + 0x20)},
               {0x18 + 40, kImage + kOuter + 0x33},
               {0x60, return_address(kMiddle + 0x30)}});
    EXPECT_EQ(caller_of(interrupted(kInner + 0x10)).pc, kImage + kMiddle + 0x30);
}

TEST_F(UnwindTest, Guess_for_a_call_through_a_bad_pointer_is_one_that_did_not_enter_the_image) {
    add_plain_functions({kMiddle, kOuter});
    put_stack({{0x10, direct_call(kMiddle + 0x30, kOuter)}, {0x18, return_address(kMiddle + 0x50)}});
    Frame frame = interrupted(0);
    frame.pc = 0;
    EXPECT_EQ(caller_of(frame).pc, kImage + kMiddle + 0x50);
}

TEST_F(UnwindTest, Guess_for_a_function_with_unwind_data_is_one_that_entered_it) {
    add_plain_functions({kInner, kMiddle, kOuter});
    put_stack({{40, 0x4141414141414141},
               {0x50, direct_call(kMiddle + 0x30, 0x3000)}, // nobody describes what was called
               {0x58, direct_call(kMiddle + 0x50, kOuter)},
               {0x60, direct_call(kMiddle + 0x70, kInner)}});
    EXPECT_EQ(caller_of(interrupted(kInner + 0x20)).pc, kImage + kMiddle + 0x70);
}

// The last instructions of a function, which unwind data don't describe.
class EpilogueTest : public UnwindTest {
protected:
    EpilogueTest() {
        m_back = return_address(kMiddle + 0x20);
        // push rbx; push r12; sub rsp, 32
        add_function(kInner, kInner + 0x80, 7,
                     {7, code(kAllocateSmall, 3), 3, code(kPush, 12), 1, code(kPush, faultkit::kRbx)});
    }
    // The caller of a function that was interrupted in front of `code`, with what is left on the stack.
    void expect_caller(const Bytes& code, const std::vector<Address>& left) {
        put_code(kInner + 0x40, code);
        Address at = kStack;
        for (const Address word : left) {
            m_memory.put_u64(at, word);
            at += 8;
        }
        const Frame caller = caller_of(interrupted(kInner + 0x40));
        EXPECT_EQ(caller.pc, m_back);
        EXPECT_EQ(caller.sp, at);
        EXPECT_EQ(caller.origin, FrameOrigin::kChecked);
    }
    // The stack pointer of the caller of a function that was interrupted in front of `code`, which is no epilogue.
    Address sp_behind(const Bytes& code) {
        put_code(kInner + 0x40, code);
        return caller_of(interrupted(kInner + 0x40)).sp;
    }
    // "push rbp; sub rsp, 48; mov rbp, rsp", or with another register that it keeps as its frame pointer.
    void add_framed_function(std::uint8_t frame_pointer, std::uint8_t end_of_push) {
        add_function(kMiddle, kMiddle + 0x80, 10,
                     {10, code(kSetFramePointer), 5, code(kAllocateSmall, 5), end_of_push, code(kPush, frame_pointer)},
                     frame_pointer);
    }

    Address m_back;
};

TEST_F(EpilogueTest, Is_carried_out_from_wherever_it_was_interrupted) {
    expect_caller({0x48, 0x83, 0xC4, 0x20, 0x41, 0x5C, 0x5B, 0xC3}, {1, 2, 3, 4, 12, 3, m_back});
    expect_caller({0x48, 0x81, 0xC4, 0x20, 0, 0, 0, 0x41, 0x5C, 0x5B, 0xC2, 8, 0}, {1, 2, 3, 4, 12, 3, m_back});
    expect_caller({0x41, 0x5C, 0x5B, 0xC3}, {12, 3, m_back});
    expect_caller({0x5B, 0xF3, 0xC3}, {3, m_back});
    expect_caller({0x40, 0x5B, 0xC3}, {3, m_back}); // with a prefix that adds nothing
    expect_caller({0xC3}, {m_back});
}

TEST_F(EpilogueTest, May_end_in_a_jump_to_another_function) {
    add_plain_functions({kMiddle});
    expect_caller({0x5B, 0xE9, 0xBB, 0, 0, 0}, {3, m_back});       // to kMiddle
    expect_caller({0x5B, 0xFF, 0x25, 0, 0x10, 0, 0}, {3, m_back}); // through memory
    expect_caller({0x5B, 0x48, 0xFF, 0xE0}, {3, m_back});          // through rax
    expect_caller({0x5B, 0xEB, 0x7D}, {3, m_back});                // to a function behind this one
}

// To its very last byte, too, and not one further.
TEST_F(EpilogueTest, Jump_within_the_function_is_none) {
    put_stack({{0, return_address(kOuter + 0x20)}, {48, m_back}}); // the first of an earlier call
    for (const Bytes& jump : {Bytes{0xEB, 0x10}, Bytes{0xEB, 0x3D}, Bytes{0xEB, 0xBE}, Bytes{0xE9, 0x3A, 0, 0, 0},
                              Bytes{0xE9, 0xBB, 0xFF, 0xFF, 0xFF}}) {
        EXPECT_EQ(sp_behind(jump), kStack + 56);
        EXPECT_EQ(caller_of(interrupted(kInner + 0x40)).pc, m_back);
    }
    for (const Bytes& jump :
         {Bytes{0xEB, 0x3E}, Bytes{0xEB, 0xBD}, Bytes{0xE9, 0x3B, 0, 0, 0}, Bytes{0xE9, 0xBA, 0xFF, 0xFF, 0xFF}})
        EXPECT_EQ(sp_behind(jump), kStack + 8);
}

TEST_F(EpilogueTest, Of_a_function_with_a_frame_pointer_begins_by_it) {
    add_framed_function(faultkit::kRbp, 1);
    const Address back = return_address(kOuter + 0x20);
    put_stack({{0x130, 0x77}, {0x138, back}});
    for (const Bytes& code :
         {Bytes{0x48, 0x8D, 0x65, 0x30, 0x5D, 0xC3}, Bytes{0x48, 0x8D, 0xA5, 0x30, 0, 0, 0, 0x5D, 0xC3}}) {
        put_code(kMiddle + 0x40, code);
        const Frame caller = caller_of(interrupted_with(kMiddle + 0x40, faultkit::kRbp, kStack + 0x100));
        EXPECT_EQ(caller.pc, back);
        EXPECT_EQ(caller.sp, kStack + 0x140);
        EXPECT_EQ(caller.registers[faultkit::kRbp], 0x77u);
    }
}

TEST_F(EpilogueTest, Other_instructions_are_none) {
    const Bytes codes[] = {
        {0x48, 0x83, 0xC0, 0x20, 0xC3}, // add rax
        {0x48, 0x83, 0xEC, 0x20, 0xC3}, // sub rsp
        {0x48, 0x8D, 0x65, 0x30, 0xC3}, // lea rsp, where no frame pointer is kept
        {0x48, 0x8D, 0x60, 0x30, 0xC3}, // the same by rax, whose number is 0
        {0x48, 0x8D, 0x45, 0x30, 0xC3}, // lea rax
        {0x48, 0x8B, 0x65, 0x30, 0xC3}, // mov rsp
        {0x5C, 0xC3},                   // pop rsp
        {0xFF, 0xE0},                   // jmp rax, as a switch has it
        {0x48, 0xFF, 0xD0},             // call rax
        {0xFF, 0xD0},
        {0xF3, 0x90},
        {0x5B, 0x90},
        {0xEB, 0x00},
        {0xE9, 0x00, 0x00, 0x00, 0x00},
    };
    put_stack({{0, 5}, {8, return_address(kOuter + 0x20)}, {48, m_back}}); // the second of an earlier call
    for (const Bytes& one : codes) {
        put_code(kInner + 0x40, {0x90, 0x90, 0x90, 0x90, 0x90, 0x90});
        EXPECT_EQ(sp_behind(one), kStack + 56) << int(one[0]) << ' ' << int(one[1]);
        Frame caller;
        EXPECT_FALSE(
            faultkit::finish_function(m_memory, m_modules[0].image, m_entries[0], interrupted(kInner + 0x40), &caller));
    }
}

TEST_F(EpilogueTest, That_returns_to_where_no_call_was_is_none) {
    put_stack({{0, kImage + kOuter + 0x55}, {48, m_back}});
    EXPECT_EQ(sp_behind({0xC3}), kStack + 56);
}

TEST_F(EpilogueTest, Jump_to_a_later_part_of_the_function_is_none) {
    add_function(kMiddle + 0x40, kMiddle + 0x80, 0, {}, 0, 0);
    put_stack({{0, return_address(kOuter + 0x20)}, {48, m_back}}); // the first of an earlier call
    EXPECT_EQ(sp_behind({0xE9, 0x0B, 1, 0, 0}), kStack + 56);      // to kMiddle + 0x50
}

TEST_F(EpilogueTest, Frame_pointer_that_takes_another_byte_to_name_is_none) {
    add_framed_function(12, 2);
    const Address back = return_address(kOuter + 0x20);
    put_stack({{0x138, back}});
    put_code(kMiddle + 0x40, {0x49, 0x8D, 0x64, 0x24, 0x50, 0xC3}); // lea rsp, [r12 + 80]
    const Frame caller = caller_of(interrupted_with(kMiddle + 0x40, 12, kStack + 0x100));
    EXPECT_EQ(caller.pc, back);
    EXPECT_EQ(caller.sp, kStack + 0x140);
}

TEST_F(EpilogueTest, Pops_up_to_the_functions_end_are_none) {
    put_code(kInner + 0x7E, {0x5B, 0x5B});
    put_stack({{48, m_back}});
    EXPECT_EQ(caller_of(interrupted(kInner + 0x7E)).sp, kStack + 56);
}

TEST_F(EpilogueTest, Frame_pointer_must_be_the_one_that_the_function_keeps) {
    add_framed_function(faultkit::kRbp, 1);
    const Address back = return_address(kOuter + 0x20);
    put_stack({{0x138, back}});
    for (const Bytes& lea : {Bytes{0x48, 0x8D, 0x66, 0x30, 0xC3}, Bytes{0x48, 0x8D, 0x25, 0, 0, 0, 0, 0xC3},
                             Bytes{0x49, 0x8D, 0x65, 0x30, 0xC3}, Bytes{0x48, 0x8D, 0xE5, 0xC3}}) {
        put_code(kMiddle + 0x40, lea);
        const Frame caller = caller_of(interrupted_with(kMiddle + 0x40, faultkit::kRbp, kStack + 0x100));
        EXPECT_EQ(caller.pc, back);
        EXPECT_EQ(caller.sp, kStack + 0x140);
    }
}

// A return address may lie in front of an epilogue, or at the end of a function whose last call never returns.
TEST_F(EpilogueTest, Frame_that_waits_for_a_call_is_not_in_it) {
    put_code(kInner + 0x7E, {0xFF, 0xD0, 0xC3});
    put_stack({{48, m_back}});
    Frame frame = interrupted(kInner + 0x80);
    frame.interrupted = false;
    frame.origin = FrameOrigin::kChecked;
    const Frame caller = caller_of(frame);
    EXPECT_EQ(caller.pc, m_back);
    EXPECT_EQ(caller.sp, kStack + 56);
}

TEST_F(UnwindTest, Any_image_and_any_stack_give_a_walk_that_rises_and_ends) {
    std::mt19937 random(12345);
    for (int round = 0; round < 300; ++round) {
        m_memory.fail_every(0);
        Bytes code(kCodeEnd - kCode), unwind(0x1000);
        for (auto& byte : code)
            byte = static_cast<std::uint8_t>(random() % 3 ? random() : Bytes{0xE8, 0xFF, 0x48, 0xC3}[random() % 4]);
        for (auto& byte : unwind)
            byte = static_cast<std::uint8_t>(random() % 2 ? random() : random() % 16);
        m_memory.put(kImage + kCode, code);
        m_memory.put(kImage + kUnwind, unwind);
        for (std::uint32_t i = 0; i < 20; ++i) {
            m_memory.put_u32(kImage + kTable + 12 * i, kCode + i * 0x200);
            m_memory.put_u32(kImage + kTable + 12 * i + 4, kCode + i * 0x200 + 0x1F0);
            m_memory.put_u32(kImage + kTable + 12 * i + 8, random() % 8 ? kUnwind + random() % 0x1000 : random());
        }
        m_memory.put_u32(kImage + 0x80 + 24 + 112 + 3 * 8 + 4, 240);
        for (Address place = 0x200000; place < kStackEnd; place += 8)
            m_memory.put_u64(place, random() % 2 ? kImage + kCode + random() % 0x3000 : 0x200000 + random() % 0x1000);
        Frame frame = interrupted(kCode + random() % 0x3000, 0x200000 + random() % 0x800 * 8 % 0x1000);
        for (Address& one : frame.registers)
            one = 0x200000 + random() % 0x1000;
        frame.registers[faultkit::kRsp] = frame.sp;
        FrameWalker walker = this->walker();
        Frame caller;
        unsigned count = 0;
        m_memory.fail_every(round % 2 ? 3 + random() % 20 : 0);
        while (walker.find_caller(frame, &caller)) {
            ASSERT_GT(caller.sp, frame.sp);
            ASSERT_LE(++count, 600u);
            frame = caller;
        }
    }
}

} // namespace
