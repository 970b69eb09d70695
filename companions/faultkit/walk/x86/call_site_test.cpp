#include <string>

#include <gtest/gtest.h>

#include "companions/faultkit/walk/x86/call_site.h"
#include "testing/cxx/fake_process.h"

namespace {

using faultkit::CallSite;
using faultkit::FakeMemory;
using faultkit::FakeProcess;

constexpr std::uint32_t kReturn = FakeProcess::kCode + 0x100;

struct CallSiteTest : testing::Test {
    CallSite before(std::uint32_t address = kReturn) {
        return faultkit::find_call_before(m_process.memory, m_process.modules, address);
    }

    FakeProcess m_process;
};

struct Encoding {
    const char* name;
    FakeMemory::Bytes bytes;
    CallSite::Kind kind;
};

class CallEncoding : public CallSiteTest, public testing::WithParamInterface<Encoding> {};

TEST_P(CallEncoding, Is_told_from_its_bytes) {
    const FakeMemory::Bytes& bytes = GetParam().bytes;
    m_process.memory.put(kReturn - static_cast<std::uint32_t>(bytes.size()), bytes);
    EXPECT_EQ(before().kind, GetParam().kind);
}

INSTANTIATE_TEST_SUITE_P(
    Forms, CallEncoding,
    testing::Values(Encoding{"register", {0xFF, 0xD0}, CallSite::kComputed},
                    Encoding{"at_register", {0xFF, 0x10}, CallSite::kComputed},
                    Encoding{"at_stack_pointer", {0xFF, 0x14, 0x24}, CallSite::kComputed},
                    Encoding{"at_register_plus_byte", {0xFF, 0x52, 0x08}, CallSite::kComputed},
                    Encoding{"at_stack_pointer_plus_byte", {0xFF, 0x54, 0x24, 0x08}, CallSite::kComputed},
                    Encoding{"at_register_plus_word", {0xFF, 0x90, 0x34, 0x12, 0, 0}, CallSite::kComputed},
                    Encoding{"at_stack_pointer_plus_word", {0xFF, 0x94, 0x24, 0x34, 0x12, 0, 0}, CallSite::kComputed},
                    Encoding{"from_table", {0xFF, 0x14, 0x85, 0, 0x50, 0x40, 0}, CallSite::kComputed},
                    Encoding{"from_unreadable_place", {0xFF, 0x15, 0, 0, 0x70, 0}, CallSite::kComputed},
                    Encoding{"to_outside_the_code", {0xE8, 0, 0, 0x70, 0}, CallSite::kNone},
                    Encoding{"jump_by_register", {0xFF, 0xE0}, CallSite::kNone},
                    Encoding{"push_at_register", {0xFF, 0x30}, CallSite::kNone},
                    Encoding{"far_call_at_register", {0xFF, 0x18}, CallSite::kNone},
                    Encoding{"register_form_with_trailing_byte", {0xFF, 0xD0, 0x00}, CallSite::kNone},
                    Encoding{"nothing", {0x90, 0x90}, CallSite::kNone}),
    [](const auto& info) { return info.param.name; });

TEST_F(CallSiteTest, Relative_call_leads_to_its_target) {
    m_process.put_call(kReturn, FakeProcess::kCode + 0x40);
    EXPECT_EQ(before().kind, CallSite::kKnown);
    EXPECT_EQ(before().target, FakeProcess::kCode + 0x40);
}

TEST_F(CallSiteTest, Call_through_an_import_leads_to_the_imported_function) {
    m_process.memory.put(kReturn - 6, {0xFF, 0x15, 0x00, 0x50, 0x40, 0x00});
    m_process.memory.put_u32(0x405000, FakeProcess::kCode + 0x80);
    EXPECT_EQ(before().kind, CallSite::kKnown);
    EXPECT_EQ(before().target, FakeProcess::kCode + 0x80);
    m_process.memory.put_u32(0x405000, 0x12345678);
    EXPECT_EQ(before().kind, CallSite::kComputed) << "it holds no code any more, but was called all the same";
}

TEST_F(CallSiteTest, Jump_stubs_on_the_way_are_followed_and_a_circle_of_them_ends) {
    m_process.put_call(kReturn, FakeProcess::kCode + 0x20);
    m_process.memory.put(FakeProcess::kCode + 0x20, {0xE9, 0x1B, 0, 0, 0});             // to +0x40
    m_process.memory.put(FakeProcess::kCode + 0x40, {0xFF, 0x25, 0x00, 0x50, 0x40, 0}); // through memory
    m_process.memory.put_u32(0x405000, FakeProcess::kCode + 0x80);
    EXPECT_EQ(before().target, FakeProcess::kCode + 0x80);
    m_process.memory.put(FakeProcess::kCode + 0x20, {0xE9, 0xFB, 0xFF, 0xFF, 0xFF}); // to itself
    EXPECT_EQ(before().kind, CallSite::kKnown);
}

TEST_F(CallSiteTest, Target_is_the_last_stub_where_that_leads_nowhere) {
    m_process.put_call(kReturn, FakeProcess::kCode + 0x20);
    const auto target = [&](const FakeMemory::Bytes& stub) {
        m_process.memory.put(FakeProcess::kCode + 0x20, stub);
        return before().target;
    };
    EXPECT_EQ(target({0xE9, 0xDB, 0, 0x50, 0}), FakeProcess::kCode + 0x500100); // outside every module
    EXPECT_EQ(target({0xFF, 0x24, 0, 0, 0, 0}), FakeProcess::kCode + 0x20);
    EXPECT_EQ(target({0xFF, 0x25, 0, 0, 0x70, 0}), FakeProcess::kCode + 0x20); // through a place that can't be read
    m_process.put_call(kReturn, FakeProcess::kCodeEnd - 2);
    EXPECT_EQ(target({0x40}), FakeProcess::kCodeEnd - 2);
}

TEST_F(CallSiteTest, Bytes_before_the_section_are_not_read) {
    m_process.memory.put(FakeProcess::kCode, {0xFF, 0xD0});
    EXPECT_EQ(before(FakeProcess::kCode).kind, CallSite::kNone);
    EXPECT_EQ(before(FakeProcess::kCode + 2).kind, CallSite::kComputed);
}

TEST_F(CallSiteTest, Address_outside_every_module_is_no_return_address_but_one_in_an_unloaded_module_passes) {
    EXPECT_EQ(before(0x900000).kind, CallSite::kNone);
    m_process.modules.add_unloaded({0x900000, 0x4000, 1, "gone.dll"});
    EXPECT_EQ(before(0x901010).kind, CallSite::kComputed);
}

TEST(ArgumentsPushed, Are_counted_back_from_the_call) {
    const struct {
        faultkit::FakeMemory::Bytes code;
        std::uint32_t bytes;
    } cases[] = {
        {{0x40, 0x40}, 0},
        {{0x50, 0x57}, 8},                                        // push eax, edi
        {{0x6A, 0x03, 0x52}, 8},                                  // push 3, edx
        {{0x68, 0x10, 0x20, 0x30, 0x40, 0xFF, 0x75, 0xF8}, 8},    // push value, [ebp - 8]
        {{0xFF, 0x35, 0, 0x10, 0x40, 0, 0xFF, 0x74, 0x24, 8}, 8}, // push [address], [esp + 8]
        {{0x51, 0xFF, 0x35, 0, 0x10, 0x40, 0}, 8},                // push ecx, [address]
    };
    FakeProcess process;
    const std::uint32_t end = FakeProcess::kCode + 0x100;
    for (const auto& one : cases) {
        process.memory.fill(end - 0x40, 0x40, 0x40);
        process.memory.put(end - static_cast<std::uint32_t>(one.code.size()), one.code);
        EXPECT_EQ(faultkit::arguments_pushed_before(process.memory, end), one.bytes);
    }
    EXPECT_EQ(faultkit::arguments_pushed_before(process.memory, 0x50000), 0u);
    process.memory.fill(FakeProcess::kCode, 0x100, 0x50);
    EXPECT_EQ(faultkit::arguments_pushed_before(process.memory, end), 43u * 4) << "as far as is looked";
}

} // namespace
