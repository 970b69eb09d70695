#include <gtest/gtest.h>

#include "companions/faultkit/capture/image.h"
#include "testing/cxx/fake_process.h"

namespace {

constexpr faultkit::Address kBase = 0x7FF612340000;

class WideImageTest : public testing::Test {
protected:
    WideImageTest() {
        m_memory.fill(kBase, 0x1000, 0);
        m_memory.put(kBase, {0x4D, 0x5A});
        m_memory.put_u32(kBase + 0x3C, 0x80);
        m_memory.put_u32(kBase + 0x80, 0x4550);
        m_memory.put(kBase + 0x80 + 6, {1}); // sections
        m_memory.put_u32(kBase + 0x80 + 8, 0x4A5B6C7D);
        m_memory.put(kBase + 0x80 + 20, {0xF0}); // size of the optional header
        m_memory.put(kBase + 0x80 + 24, {0x0B, 0x02});
        m_memory.put_u32(kBase + 0x80 + 24 + 56, 0x8000);
        m_memory.put_u32(kBase + 0x80 + 24 + 108, 16); // directories
        put_directory(3, 0x5000, 0x30);
        m_memory.put_u32(kBase + kSection + 8, 0x800);
        m_memory.put_u32(kBase + kSection + 12, 0x1000);
        m_memory.put_u32(kBase + kSection + 36, 0x60000020);
    }
    void put_directory(std::uint32_t index, std::uint32_t offset, std::uint32_t size) {
        m_memory.put_u32(kBase + 0x80 + 24 + 112 + index * 8, offset);
        m_memory.put_u32(kBase + 0x80 + 24 + 112 + index * 8 + 4, size);
    }
    bool read() { return faultkit::read_image(m_memory, kBase, &m_image); }

    static constexpr std::uint32_t kSection = 0x80 + 24 + 0xF0;
    faultkit::FakeMemory m_memory;
    faultkit::Image m_image;
};

TEST_F(WideImageTest, Size_time_stamp_and_code_are_read_above_4_GB) {
    ASSERT_TRUE(read());
    EXPECT_EQ(m_image.base, kBase);
    EXPECT_EQ(m_image.size, 0x8000u);
    EXPECT_EQ(m_image.time_stamp, 0x4A5B6C7Du);
    ASSERT_EQ(m_image.range_count, 1u);
    EXPECT_EQ(m_image.code[0].begin, kBase + 0x1000);
    EXPECT_EQ(m_image.code[0].end, kBase + 0x1800);
}

TEST_F(WideImageTest, Directory_lies_behind_the_wider_fields) {
    ASSERT_TRUE(read());
    const faultkit::Directory found = faultkit::find_directory(m_memory, m_image, 3);
    EXPECT_EQ(found.offset, 0x5000u);
    EXPECT_EQ(found.size, 0x30u);
    EXPECT_EQ(faultkit::find_directory(m_memory, m_image, 16).size, 0u);
    put_directory(3, 0x7FF0, 0x30); // beyond the image's end
    EXPECT_EQ(faultkit::find_directory(m_memory, m_image, 3).size, 0u);
    m_memory.put_u32(kBase + 0x80, 0);
    EXPECT_EQ(faultkit::find_directory(m_memory, m_image, 3).size, 0u);
}

TEST_F(WideImageTest, Image_of_32_bits_is_another_processes) {
    m_memory.put(kBase + 0x80 + 24, {0x0B, 0x01});
    EXPECT_FALSE(read());
}

} // namespace
