// The growth of memory streams: when memory fails, and against a model.
#include <cstdlib>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "glib/mem_stream.h"

namespace {

std::string contents(VMemStream& stream) {
    return stream.Size() ? std::string(reinterpret_cast<const char*>(stream.data()), static_cast<size_t>(stream.Size()))
                         : std::string();
}

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

// The same random operations on the stream and on a plain model of it.
TEST(MemStream, Agrees_with_a_model_over_random_operations) {
    std::mt19937 random(12345);
    for (int run = 0; run < 200; ++run) {
        const uint32_t step = random() % 40, capacity = random() % 40;
        VMemStream stream(step, capacity);
        std::string model;
        uint64_t position = 0, model_capacity = capacity;
        for (int i = 0; i < 200; ++i) {
            switch (random() % 5) {
            case 0:
            case 1: {
                std::string bytes(random() % 50, char('a' + random() % 26));
                const uint32_t size = 1 + random() % 4, count = static_cast<uint32_t>(bytes.size()) / size;
                bytes.resize(size * count);
                ASSERT_EQ(stream.Write(bytes.data(), size, count), count);
                if (bytes.empty())
                    break;
                if (position > model_capacity)
                    position = model_capacity;
                if (position + bytes.size() > model_capacity) {
                    const uint64_t rest = position + bytes.size() - model_capacity;
                    model_capacity += rest > step ? rest : step;
                }
                if (model.size() < position + bytes.size())
                    model.resize(position + bytes.size());
                model.replace(position, bytes.size(), bytes);
                position += bytes.size();
                break;
            }
            case 2: {
                const uint32_t wanted = random() % 50;
                std::string bytes(wanted, '?');
                const uint64_t there = position < model.size() ? model.size() - position : 0;
                const uint32_t got = stream.Read(bytes.data(), 1, wanted);
                ASSERT_EQ(got, wanted < there ? wanted : there);
                ASSERT_EQ(bytes.substr(0, got), got ? model.substr(position, got) : "");
                position += got;
                break;
            }
            case 3:
                position = random() % 120;
                ASSERT_EQ(stream.SetPosition(position), 1u);
                break;
            case 4:
                if (random() % 4 == 0) {
                    const unsigned size = random() % 100;
                    if (size > model_capacity)
                        model_capacity = size > model_capacity + step ? size : model_capacity + step;
                    model.resize(size);
                    ASSERT_EQ(stream.SetSize(size), 1u);
                }
                break;
            }
            ASSERT_EQ(stream.Tell(), position);
            ASSERT_EQ(contents(stream), model);
            ASSERT_EQ(stream.capacity(), model_capacity);
        }
    }
}

} // namespace
