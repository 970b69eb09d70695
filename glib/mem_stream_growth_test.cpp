// The growth of memory streams: when memory fails, and against a model.
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "glib/mem_stream.h"
#include "testing/cxx/stream_model.h"
#include "glib/mem_stream.h"

namespace {

using stream_model::contents;
// An allocator that can be told to fail, and that knows what is out.
int g_blocks;
int g_left_to_give;

void* counted_allocate(size_t bytes) {
    if (g_left_to_give-- <= 0)
        return nullptr;
    ++g_blocks;
    return std::malloc(bytes);
}
void counted_release(void* block) {
    if (block)
        --g_blocks;
    std::free(block);
}
void* counted_reallocate(void* block, size_t bytes) {
    if (g_left_to_give-- <= 0)
        return nullptr;
    if (!block)
        ++g_blocks;
    return std::realloc(block, bytes);
}

const VMemStream::Callbacks kCounted = {counted_allocate, counted_release, counted_reallocate};
const VMemStream::Callbacks kWithoutReallocate = {counted_allocate, counted_release, nullptr};

class FailingGrowth : public testing::Test {
protected:
    void SetUp() override {
        g_blocks = 0;
        g_left_to_give = 1000;
    }
    void TearDown() override { EXPECT_EQ(g_blocks, 0); }
};

TEST_F(FailingGrowth, Sets_the_error_flag_and_reports_nothing_of_what_fitted) {
    for (const auto& callbacks : {kCounted, kWithoutReallocate}) {
        g_left_to_give = 1;
        VMemStream stream(16, 10, callbacks);
        EXPECT_EQ(stream.Write("12345", 1, 5), 5u);
        EXPECT_EQ(stream.Write("abcdefgh", 1, 8), 0u);
        EXPECT_EQ(stream.HasError(), 1u);
        EXPECT_EQ(stream.Size(), 10u);
        EXPECT_EQ(stream.Tell(), 10u);
        EXPECT_EQ(contents(stream), "12345abcde");
        g_left_to_give = 1000;
        stream.SetPosition(0);
        EXPECT_EQ(stream.Write("x", 1, 1), 0u) << "until the stream is remade";
        EXPECT_EQ(stream.SetSize(100), 0u);
        EXPECT_EQ(stream.ReadByte(), '1');
    }
}

TEST_F(FailingGrowth, Without_reallocate_data_is_carried_over) {
    VMemStream stream(4, 4, kWithoutReallocate);
    for (int i = 0; i < 100; ++i)
        ASSERT_EQ(stream.WriteFormat("%d,", i), 1u);
    std::string expected;
    for (int i = 0; i < 100; ++i)
        expected += std::to_string(i) + ",";
    EXPECT_EQ(contents(stream), expected);
    EXPECT_EQ(g_blocks, 1);
    VMemStream empty(4, 0, kWithoutReallocate);
    EXPECT_EQ(empty.WriteString("first"), 5u);
    EXPECT_EQ(contents(empty), "first");
}

TEST_F(FailingGrowth, A_stream_without_its_first_buffer_tries_again) {
    g_left_to_give = 0;
    VMemStream stream(16, 10, kCounted);
    EXPECT_EQ(stream.capacity(), 0u);
    g_left_to_give = 1000;
    EXPECT_EQ(stream.WriteString("now"), 3u);
    EXPECT_EQ(contents(stream), "now");
}

TEST_F(FailingGrowth, A_capacity_beyond_the_address_space_is_no_memory) {
    VMemStream stream(16, 0, kCounted);
    EXPECT_EQ(stream.SetSize(uint64_t(1) << 63), 0u);
    EXPECT_EQ(stream.HasError(), 1u);
}

TEST(MemStream, Agrees_with_a_model_over_random_operations) {
    std::mt19937 random(12345);
    for (int run = 0; run < 200; ++run) {
        std::vector<std::uint8_t> bytes(2 + 200 * 3);
        for (std::uint8_t& byte : bytes)
            byte = static_cast<std::uint8_t>(random());
        bytes[0] %= 40; // growth step and first capacity
        bytes[1] %= 40;
        SCOPED_TRACE(run);
        stream_model::run(bytes.data(), bytes.size());
    }
}

} // namespace
