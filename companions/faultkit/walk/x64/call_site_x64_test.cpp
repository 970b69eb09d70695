#include <memory>

#include <gtest/gtest.h>

#include "companions/faultkit/walk/x64/call_site.h"
#include "testing/cxx/fake_process.h"

namespace {

using faultkit::FakeMemory;
using faultkit::FakeProcess;

constexpr faultkit::Address kReturn = FakeProcess::kCode + 0x100;

bool is_behind(const FakeMemory::Bytes& code) {
    FakeProcess process;
    process.memory.put(kReturn - code.size(), code);
    return faultkit::is_behind_call(process.memory, process.modules, kReturn);
}

TEST(WideCallSite, Is_told_from_its_bytes) {
    EXPECT_TRUE(is_behind({0xFF, 0xD0}));                         // rax
    EXPECT_TRUE(is_behind({0x41, 0xFF, 0xD4}));                   // r12
    EXPECT_TRUE(is_behind({0xFF, 0x15, 0x10, 0, 0, 0}));          // through memory near the instruction
    EXPECT_TRUE(is_behind({0xFF, 0x54, 0x24, 0x08}));             // [rsp + 8]
    EXPECT_TRUE(is_behind({0x41, 0xFF, 0x94, 0x24, 0, 1, 0, 0})); // [r12 + 256]
    EXPECT_TRUE(is_behind({0xE8, 0xF0, 0xFF, 0xFF, 0xFF}));       // 16 bytes back
    EXPECT_FALSE(is_behind({0xE8, 0, 0, 0x70, 0}));               // to outside the code
    EXPECT_FALSE(is_behind({0xFF, 0xE0}));                        // a jump
    EXPECT_FALSE(is_behind({0x90, 0x90}));
}

TEST(WideCallSite, Bytes_before_the_section_are_not_read) {
    FakeProcess process;
    process.memory.put(FakeProcess::kCode, {0xFF, 0xD0});
    EXPECT_FALSE(faultkit::is_behind_call(process.memory, process.modules, FakeProcess::kCode));
    EXPECT_TRUE(faultkit::is_behind_call(process.memory, process.modules, FakeProcess::kCode + 2));
}

TEST(WideCallSite, Address_outside_every_module_is_no_return_address_but_one_in_an_unloaded_module_passes) {
    FakeProcess process;
    EXPECT_FALSE(faultkit::is_behind_call(process.memory, process.modules, 0x900000));
    process.modules.add_unloaded({0x900000, 0x4000, 1, "gone.dll"});
    EXPECT_TRUE(faultkit::is_behind_call(process.memory, process.modules, 0x901010));
}

// Where the call in front of kReturn went, with stubs that linkers make: at +0x20 "jmp" to +0x40, and there a jump
// through the place that holds the address of +0x80.
class WideCallTarget : public testing::Test {
protected:
    static constexpr faultkit::Address kPlace = FakeProcess::kModule + 0x5000;

    WideCallTarget() {
        m_process.memory.put(FakeProcess::kCode + 0x20, {0xE9, 0x1B, 0, 0, 0});
        m_process.memory.put(FakeProcess::kCode + 0x40, {0xFF, 0x25});
        m_process.memory.put_u32(FakeProcess::kCode + 0x42, kPlace - (FakeProcess::kCode + 0x46));
        m_process.memory.fill(kPlace, 8, 0);
        m_process.memory.put_u64(kPlace, FakeProcess::kCode + 0x80);
    }
    faultkit::Address target() { return faultkit::target_of_call_before(m_process.memory, m_process.modules, kReturn); }

    FakeProcess m_process;
};

TEST_F(WideCallTarget, Of_a_direct_call_is_found_through_the_linkers_jumps) {
    m_process.put_call(kReturn, FakeProcess::kCode + 0x200);
    EXPECT_EQ(target(), FakeProcess::kCode + 0x200);
    m_process.put_call(kReturn, FakeProcess::kCode + 0x20);
    EXPECT_EQ(target(), FakeProcess::kCode + 0x80);
    m_process.put_call(kReturn, FakeProcess::kCode + 0x40);
    EXPECT_EQ(target(), FakeProcess::kCode + 0x80);
}

TEST_F(WideCallTarget, Of_a_call_through_an_import_is_what_lies_there) {
    m_process.memory.put(kReturn - 6, {0xFF, 0x15});
    m_process.memory.put_u32(kReturn - 4, static_cast<std::uint32_t>(kPlace - kReturn));
    EXPECT_EQ(target(), FakeProcess::kCode + 0x80);
    m_process.memory.put_u64(kPlace, FakeProcess::kCode + 0x20); // to a stub
    m_process.memory.put(FakeProcess::kCode + 0x20, {0xE9, 0x2B, 0, 0, 0});
    EXPECT_EQ(target(), FakeProcess::kCode + 0x50);
    m_process.memory.put_u32(kReturn - 4, 0x10000000); // where nothing can be read
    EXPECT_EQ(target(), 0u);
}

// "FF" ends many an instruction, and "15" follows as many prefixes: only both together are a call.
TEST_F(WideCallTarget, Is_told_by_both_bytes) {
    m_process.put_call(kReturn, FakeProcess::kCode + 0x80);
    m_process.memory.put(kReturn - 6, {0xFF});
    EXPECT_EQ(target(), FakeProcess::kCode + 0x80);
    m_process.memory.put(kReturn - 6, {0x90, 0x15});
    m_process.memory.put_u32(kReturn - 4, static_cast<std::uint32_t>(kPlace - kReturn));
    EXPECT_EQ(target(), 0u);
}

TEST_F(WideCallTarget, Of_a_computed_call_or_one_to_outside_the_code_is_not_known) {
    m_process.memory.put(kReturn - 6, {0x90, 0x90, 0x90, 0x90, 0xFF, 0xD0});
    EXPECT_EQ(target(), 0u);
    m_process.put_call(kReturn, 0x900000);
    EXPECT_EQ(target(), 0u);
}

TEST_F(WideCallTarget, Is_the_last_stub_where_that_leads_nowhere) {
    m_process.put_call(kReturn, FakeProcess::kCode + 0x300);
    const auto stub = [&](const FakeMemory::Bytes& code) { m_process.memory.put(FakeProcess::kCode + 0x300, code); };
    stub({0xE9, 0xFB, 0xFF, 0xFF, 0xFF}); // to itself
    EXPECT_EQ(target(), FakeProcess::kCode + 0x300);
    stub({0xE9, 0xFB, 0, 0x50, 0}); // to outside every module
    EXPECT_EQ(target(), FakeProcess::kCode + 0x500400);
    stub({0xFF, 0x25, 0, 0, 0x50, 0}); // through a place that can't be read
    EXPECT_EQ(target(), FakeProcess::kCode + 0x300);
    stub({0xFF, 0x24, 0, 0, 0, 0});
    EXPECT_EQ(target(), FakeProcess::kCode + 0x300);
    m_process.put_call(kReturn, FakeProcess::kCodeEnd - 2);
    EXPECT_EQ(target(), FakeProcess::kCodeEnd - 2u);
}

} // namespace
