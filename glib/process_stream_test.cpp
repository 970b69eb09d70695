#include "glib/mem_stream.h"

#include <string>

#include <gtest/gtest.h>

namespace {

TEST(ProcessStream, Begins_empty_with_its_first_capacity_allocated) {
    VMemStream& stream = glib::process_stream();
    EXPECT_EQ(stream.Size(), 0u);
    EXPECT_EQ(stream.Tell(), 0u);
    EXPECT_EQ(stream.capacity(), 65535u);
    EXPECT_EQ(stream.IsEndOfData(), 0u);
    EXPECT_EQ(stream.HasError(), 0u);
    EXPECT_FALSE(stream.big_endian());
    EXPECT_EQ(&stream, &glib::process_stream());

    const std::string full(65535, 'x');
    stream.Write(full.data(), 1, 65535);
    stream.Write("0123456789", 1, 10);
    EXPECT_EQ(stream.capacity(), 131070u);
}

} // namespace
