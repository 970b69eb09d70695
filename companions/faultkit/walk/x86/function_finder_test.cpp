#include <gtest/gtest.h>

#include "testing/cxx/fake_process.h"
#include "companions/faultkit/walk/x86/function_finder.h"

namespace {

using faultkit::FakeProcess;
using faultkit::FunctionFinder;

constexpr std::uint32_t kFirst = FakeProcess::kCode + 0x100, kSecond = kFirst + 0x37, kCaller = kFirst + 0x800;

// Two functions without a gap between them; the first ends in a return.
struct PackedFunctions : testing::Test {
    PackedFunctions() {
        process.put_frameless_function(kFirst);
        process.put_frameless_function(kSecond);
        process.memory.put(kSecond - 1, {0xC3});
    }

    std::uint32_t start_of(std::uint32_t address) {
        return FunctionFinder(process.memory, process.modules).find(address).start;
    }

    FakeProcess process;
};

TEST_F(PackedFunctions, Second_is_found_by_a_call_of_it_from_further_up_or_further_down) {
    EXPECT_EQ(start_of(kSecond + 0x10), kFirst);
    process.put_call(kCaller, kSecond);
    EXPECT_EQ(start_of(kSecond + 0x10), kSecond);
    process.put_call(kCaller, kFirst);
    process.put_call(kFirst - 0x40, kSecond);
    EXPECT_EQ(start_of(kSecond + 0x10), kSecond);
}

TEST_F(PackedFunctions, First_stays_itself) {
    process.put_call(kCaller, kSecond);
    FunctionFinder finder(process.memory, process.modules);
    EXPECT_EQ(finder.find(kSecond + 0x10).start, kSecond);
    EXPECT_EQ(finder.find(kSecond - 2).start, kFirst);
}

TEST_F(PackedFunctions, Bytes_like_a_call_to_the_middle_of_a_function_start_none) {
    process.put_call(kCaller, kSecond + 8); // nothing ends in front of it
    EXPECT_EQ(start_of(kSecond + 0x10), kFirst);
}

TEST_F(PackedFunctions, Answer_is_remembered) {
    process.put_call(kCaller, kSecond);
    FunctionFinder finder(process.memory, process.modules);
    EXPECT_EQ(finder.find(kSecond + 0x10).start, kSecond);
    process.memory.fill(FakeProcess::kCode, FakeProcess::kCodeEnd - FakeProcess::kCode, 0xCC);
    EXPECT_EQ(finder.find(kSecond + 0x10).start, kSecond);
    EXPECT_EQ(finder.find(kSecond + 0x08).start, kSecond);
}

// A function that is entered in the middle, too, as some are that were written by hand.
TEST_F(PackedFunctions, Highest_start_that_is_called_counts) {
    process.memory.put(kFirst + 0x1F, {0xC3});
    process.put_call(kFirst - 0x40, kSecond);
    process.put_call(kCaller, kFirst + 0x20);
    EXPECT_EQ(start_of(kSecond + 0x10), kSecond);
    EXPECT_EQ(start_of(kFirst + 0x28), kFirst + 0x20);
}

TEST_F(PackedFunctions, More_than_are_remembered_are_found_all_the_same) {
    constexpr std::uint32_t kMany = FakeProcess::kCode + 0x400;
    for (std::uint32_t i = 0; i < 70; ++i)
        process.put_framed_function(kMany + i * 0x40);
    FunctionFinder finder(process.memory, process.modules);
    for (int round = 0; round < 2; ++round)
        for (std::uint32_t i = 0; i < 70; ++i)
            EXPECT_EQ(finder.find(kMany + i * 0x40 + 0x10).start, kMany + i * 0x40);
}

TEST_F(PackedFunctions, Calls_are_looked_for_up_to_the_sections_end) {
    faultkit::Module& module = const_cast<faultkit::Module&>(process.modules[0]);
    process.put_call(kFirst + 0x400, kSecond);
    for (const std::uint32_t behind : {0u, 3u, 5u, 6u}) { // a piece is 1,024 bytes
        module.image.code[0].begin = kFirst;
        module.image.code[0].end = kFirst + 0x400 + behind;
        EXPECT_EQ(start_of(kSecond + 0x10), kSecond) << behind;
    }
    module.image.code[0].end = kFirst + 0x3FF; // in the middle of the call
    EXPECT_EQ(start_of(kSecond + 0x10), kFirst);
    EXPECT_EQ(start_of(0x900000), 0u) << "outside the code";
}

TEST_F(PackedFunctions, Read_that_fails_finds_less_and_nothing_else) {
    process.put_call(kCaller, kSecond);
    for (unsigned every = 1; every < 40; ++every) {
        process.memory.fail_every(every);
        const std::uint32_t start = start_of(kSecond + 0x10);
        EXPECT_TRUE(start == 0 || start == kFirst || start == kSecond) << start;
    }
}

// Far from both ends of a large section, which takes the whole reach to search.
TEST_F(PackedFunctions, Search_for_calls_ends_when_its_budget_is_used_up) {
    faultkit::Module& module = const_cast<faultkit::Module&>(process.modules[0]);
    module.image.size = 0x10000000;
    module.image.code[0].end = 0x10000000;
    process.put_call(kCaller, kSecond);
    FunctionFinder finder(process.memory, process.modules);
    EXPECT_EQ(finder.find(kSecond + 0x10).start, kSecond);
    for (std::uint32_t i = 0; i < 200; ++i)
        EXPECT_EQ(finder.find(0x800000 + i * 0x10000).start, 0u);
    // Of what lies further on than was asked for before, the gap alone tells.
    EXPECT_EQ(finder.find(kSecond + 0x12).start, kFirst);
}

} // namespace
