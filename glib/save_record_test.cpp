#include "glib/save_record.h"

#include <cstring>
#include <vector>

#include <gtest/gtest.h>

namespace glib {
namespace {

template <typename T>
T at(const JPGSave& record, size_t offset) {
    T value;
    std::memcpy(&value, reinterpret_cast<const char*>(&record) + offset, sizeof(T));
    return value;
}

// Looked at as a module of another maker sees it: bytes at fixed offsets.
TEST(SaveRecord, The_screenshots_record_has_its_values_in_their_places) {
    const JPGSave record(75);
    EXPECT_EQ(at<uint32_t>(record, 8), 0x044A5047u);
    EXPECT_EQ(at<uint32_t>(record, 12), 0u);
    EXPECT_EQ(at<uint32_t>(record, 16), 0u);
    EXPECT_EQ(at<uint32_t>(record, 20), 24u);
    EXPECT_EQ(at<uint32_t>(record, 24), 1u);
    EXPECT_EQ(at<double>(record, 32), 0.0);
    EXPECT_EQ(at<double>(record, 40), 0.0);
    EXPECT_EQ(at<uint64_t>(record, 48), 0u);
    EXPECT_EQ(at<uint32_t>(record, 56), 0u);
    EXPECT_EQ(at<int32_t>(record, 60), -1);
    EXPECT_EQ(at<uint8_t>(record, 64), 1);
    EXPECT_EQ(at<uint8_t>(record, 65), 0);
    EXPECT_EQ(at<uint8_t>(record, 66), 0);
    EXPECT_EQ(at<uint32_t>(record, 68), 8u);
    EXPECT_EQ(at<uint8_t>(record, 72), 127);
    EXPECT_EQ(at<uint8_t>(record, 73), 1);
    EXPECT_EQ(at<uint8_t>(record, 74), 0);
    EXPECT_EQ(at<uint32_t>(record, 76), 128u);
    EXPECT_EQ(at<uint32_t>(record, 80), 96u);
    for (size_t offset : {88, 92, 96, 100})
        EXPECT_EQ(at<uint32_t>(record, offset), 0u);
    EXPECT_EQ(at<uint8_t>(record, 104), 75);
    EXPECT_EQ(at<uint32_t>(record, 108), 192u);
    for (size_t offset = 112; offset < 120; ++offset)
        EXPECT_EQ(at<uint8_t>(record, offset), 1);
    EXPECT_EQ(at<uint32_t>(record, 120), 0u);
    EXPECT_EQ(at<uint32_t>(record, 124), 1u);
    EXPECT_EQ(at<uint8_t>(record, 128), 1);
}

TEST(SaveRecord, Begins_with_the_table_of_its_own_type) {
    const JPGSave jpg, other(10);
    const ImageSave image(0x24504E47);
    EXPECT_EQ(at<void*>(jpg, 0), at<void*>(other, 0));
    const void *first = &jpg, *second = &image;
    EXPECT_NE(std::memcmp(first, second, sizeof(void*)), 0);
    EXPECT_EQ(static_cast<const void*>(static_cast<const BaseFormatDesc*>(&jpg)), &jpg) << "passed by its base at 0";
    EXPECT_EQ(static_cast<const BaseFormatDesc*>(&jpg)->format, 0x044A5047u);
    EXPECT_EQ(image.format, 0x24504E47u);
}

} // namespace
} // namespace glib
