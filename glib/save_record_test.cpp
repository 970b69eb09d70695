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
    const struct {
        size_t offset;
        uint32_t value;
    } words[] = {{8, 0x044A5047}, {12, 0},          {16, 0},    {20, 24},  {24, 1},  {48, 0}, {52, 0},
                 {56, 0},         {60, 0xFFFFFFFF}, {68, 8},    {76, 128}, {80, 96}, {88, 0}, {92, 0},
                 {96, 0},         {100, 0},         {108, 192}, {120, 0},  {124, 1}},
      bytes[] = {{64, 1}, {65, 0}, {66, 0}, {72, 127}, {73, 1}, {74, 0}, {104, 75}, {128, 1}};
    for (const auto& word : words)
        EXPECT_EQ(at<uint32_t>(record, word.offset), word.value) << word.offset;
    for (const auto& byte : bytes)
        EXPECT_EQ(at<uint8_t>(record, byte.offset), byte.value) << byte.offset;
    EXPECT_EQ(at<double>(record, 32), 0.0);
    EXPECT_EQ(at<double>(record, 40), 0.0);
    for (size_t offset = 112; offset < 120; ++offset)
        EXPECT_EQ(at<uint8_t>(record, offset), 1);
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
