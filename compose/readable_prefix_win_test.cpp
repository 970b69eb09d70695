#include "compose/email_tool.h"

#include <vector>

#include <gtest/gtest.h>

#include "testing/cxx/guarded_copy.h"

namespace {

using compose::readable_prefix;
using Bytes = std::vector<unsigned char>;

TEST(ReadablePrefix, Is_all_of_a_readable_block) {
    const Bytes bytes(100000, 1);
    EXPECT_EQ(readable_prefix(bytes.data(), 100000), 100000u);
    EXPECT_EQ(readable_prefix(nullptr, 0), 0u);
}

TEST(ReadablePrefix, Ends_at_the_first_page_that_can_not_be_read) {
    for (unsigned size : {1u, 5u, 4095u, 4096u, 4097u, 20000u}) {
        const GuardedCopy<unsigned char> block(Bytes(size, 1));
        EXPECT_EQ(readable_prefix(block.data(), size), size);
        EXPECT_EQ(readable_prefix(block.data(), size + 1), size);
        EXPECT_EQ(readable_prefix(block.data(), size + 4096), size);
        EXPECT_EQ(readable_prefix(block.data(), size + 20000), size);
    }
}

TEST(ReadablePrefix, Is_empty_when_the_start_can_not_be_read) {
    const GuardedCopy<unsigned char> block(Bytes(4096, 1));
    EXPECT_EQ(readable_prefix(block.data() + 4096, 4096), 0u);
    EXPECT_EQ(readable_prefix(block.data() + 4096, 1), 0u);
}

} // namespace
