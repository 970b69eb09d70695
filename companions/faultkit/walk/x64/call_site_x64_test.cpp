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

} // namespace
